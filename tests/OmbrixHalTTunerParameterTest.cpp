// Tests of the tuner parameter record: type lookup, validation with its log lines, and the
// readable logging of a tuning request.
#include <cstring>
#include <memory>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

constexpr const char* kCaller = "OmbrixHalTunerSetParameter";

struct TypeLookupCase {
  const char* text;
  OmbrixHalTunerType type;
};

TEST(TunerTypeLookup, ResolvesTheWordBeforeTheColonCaseSensitively) {
  const TypeLookupCase cases[] = {
      {"DVB-T", 9},       {"dvb-t", 0},        {"DVB-T: freq=474000", 9}, {"", 0},
      {"UNKNOWN", 0},     {"asi", 10},         {"DVB-S2:", 8},            {"DVB-T:freq", 9},
      {"DVB-T ", 0},      {"analogFile", 3},   {"digitalFile", 5},        {"digitalFileXXXXXY:", 0},
  };
  for (const TypeLookupCase& lookup : cases) {
    EXPECT_EQ(OmbrixHalTunerParameterGetTunerTypeFromString(lookup.text), lookup.type) << lookup.text;
  }
}

TEST(TunerTypeLookup, ReadsAtMostSixteenCharacters) {
  // No terminator within reach: a read beyond 16 characters lands in the sanitizer's red zone.
  auto unterminated = std::make_unique<char[]>(16);
  std::memcpy(unterminated.get(), "DVB-TDVB-TDVB-T!", 16);
  EXPECT_EQ(OmbrixHalTunerParameterGetTunerTypeFromString(unterminated.get()), 0);
}

OmbrixHalTunerParameter dvbT(uint32_t frequency) {
  OmbrixHalTunerParameter record{};
  record.DvbT = {.Type = 9, .Frequency = frequency, .Bandwidth = 4, .Modulation = 6, .CodeRate = 9,
                 .TransmissionMode = 4, .GuardInterval = 2};
  return record;
}

OmbrixHalTunerParameter dvbS(uint32_t frequency) {
  OmbrixHalTunerParameter record{};
  record.DvbS = {.Type = 7, .Frequency = frequency, .SymbolRate = 27500000, .CodeRate = 7, .ModulationSystem = 1,
                 .Modulation = 3, .LofLow = 9750, .LofHigh = 10600, .LofSwitch = 11700, .Polarisation = 1,
                 .Position = 1, .Option = 0};
  return record;
}

OmbrixHalTunerParameter withType(OmbrixHalTunerParameter record, OmbrixHalTunerType type) {
  record.Type = type;
  return record;
}

OmbrixHalTunerParameter dvbC(OmbrixHalTunerModulation modulation) {
  OmbrixHalTunerParameter record{};
  record.DvbC = {.Type = 6, .Frequency = 0, .SymbolRate = -1, .Modulation = modulation};
  return record;
}

struct ValidationCase {
  OmbrixHalTunerParameter record;
  OmbrixHalBool valid;
  std::vector<LogLine> lines;
};

class TunerParameterValidation : public LoggedTest {
 protected:
  void expectValidation(const std::vector<ValidationCase>& cases) {
    for (const ValidationCase& check : cases) {
      log.clear();
      EXPECT_EQ(OmbrixHalTunerParameterIsValid(&check.record, kCaller), check.valid);
      EXPECT_EQ(log.lines(), check.lines);
    }
  }
};

TEST_F(TunerParameterValidation, FrequencyBoundsAreInclusiveAndReportedWithTheRange) {
  expectValidation({
      {dvbT(50500), 1, {}},
      {dvbT(858000), 1, {}},
      {dvbT(50499), 0, {error(kCaller, "tuner param: Frequency '50499' is not in valid range [50500,858000]")}},
      {dvbT(858001), 0, {error(kCaller, "tuner param: Frequency '858001' is not in valid range [50500,858000]")}},
      {dvbS(3000000), 1, {}},
      {dvbS(18000000), 1, {}},
      {dvbS(2999999), 0, {error(kCaller, "tuner param: Frequency '2999999' is not in valid range [3000000,18000000]")}},
      // Compared unsigned: a negative frequency is out of range.
      {dvbS(static_cast<uint32_t>(-1)), 0,
       {error(kCaller, "tuner param: Frequency '-1' is not in valid range [3000000,18000000]")}},
  });
}

TEST_F(TunerParameterValidation, EveryBadFieldIsReportedInOrder) {
  OmbrixHalTunerParameter terrestrial{};
  terrestrial.DvbT = {.Type = 9, .Frequency = 0, .Bandwidth = 0, .Modulation = 9, .CodeRate = 15,
                      .TransmissionMode = 5, .GuardInterval = 6};
  OmbrixHalTunerParameter satellite{};
  // Enumerations compare signed: -1 is below the range.
  satellite.DvbS = {.Type = 7, .Frequency = 11000000, .SymbolRate = 0, .CodeRate = 15, .ModulationSystem = -1,
                    .Modulation = 0, .LofLow = 0, .LofHigh = 0, .LofSwitch = 0, .Polarisation = 2, .Position = -1,
                    .Option = 2};
  expectValidation({
      {terrestrial, 0,
       {error(kCaller, "tuner param: Frequency '0' is not in valid range [50500,858000]"),
        error(kCaller, "tuner param: illegal bandwidth: '0'"), error(kCaller, "tuner param: illegal code rate: '15'"),
        error(kCaller, "tuner param: illegal modulation: '9'"),
        error(kCaller, "tuner param: illegal guard interval: '6'"),
        error(kCaller, "tuner param: illegal transmission mode: '5'")}},
      {satellite, 0,
       {error(kCaller, "tuner param: illegal modulation: '0'"), error(kCaller, "tuner param: illegal code rate: '15'"),
        error(kCaller, "tuner param: illegal polarisation: '2'"), error(kCaller, "tuner param: illegal position: '-1'"),
        error(kCaller, "tuner param: illegal option: '2'"),
        error(kCaller, "tuner param: illegal modulation system: '-1'")}},
  });
}

TEST_F(TunerParameterValidation, DvbCChecksOnlyItsModulationAndOtherTypesAreWarnedOrRefused) {
  const OmbrixHalTunerParameter unchecked = dvbC(0);
  expectValidation({
      {dvbC(8), 1, {}},
      {dvbC(9), 0, {error(kCaller, "tuner param: illegal modulation: '9'")}},
      {withType(unchecked, 5), 1, {warning(kCaller, "Cannot check tuner parameter of type 'digitalFile'")}},
      {withType(unchecked, 8), 1, {warning(kCaller, "Cannot check tuner parameter of type 'DVB-S2'")}},
      {withType(unchecked, 10), 1, {warning(kCaller, "Cannot check tuner parameter of type 'asi'")}},
      {withType(unchecked, 11), 0, {error(kCaller, "Unknown tuner parameter type '11'")}},
      {withType(unchecked, 0), 0, {error(kCaller, "Unknown tuner parameter type '0'")}},
      {withType(unchecked, -1), 0, {error(kCaller, "Unknown tuner parameter type '-1'")}},
  });
}

TEST_F(TunerParameterValidation, NullRecordIsReportedAndRefused) {
  EXPECT_EQ(OmbrixHalTunerParameterIsValid(nullptr, kCaller), 0);
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>{error(kCaller, "Illegal value 'NULL' for parameter 'aParameter'", 0x1003)});
}

struct LoggingCase {
  OmbrixHalTunerParameter record;
  uint32_t id;
  std::vector<LogLine> lines;
};

using TunerParameterLogging = LoggedTest;

TEST_F(TunerParameterLogging, PrintsTheLinesOfEachTypeThroughTheTextTablesAtTheGivenId) {
  OmbrixHalTunerParameter cable = dvbC(1);
  cable.DvbC.Frequency = 346000;
  cable.DvbC.SymbolRate = 6900;
  OmbrixHalTunerParameter outOfTable = dvbT(474000);
  outOfTable.DvbT.Bandwidth = 5;
  outOfTable.DvbT.CodeRate = -1;
  const LoggingCase cases[] = {
      {dvbT(474000),
       0x3000,
       {info(kCaller, "DVB-T tune (1): Freq=474000 Bandw=8 FEC=4/5"),
        info(kCaller, "DVB-T tune (2): Mod=QAM-64 Guard=1/4 Transm=8K")}},
      {dvbS(11000000),
       0x1000,
       {error(kCaller, "DVB-S tune (1): Freq=11000000 Symb=27500000 FEC=3/4"),
        error(kCaller, "DVB-S tune (2): LofLow=9750 LofHigh=10600 LofSwitch=11700"),
        error(kCaller, "DVB-S tune (3): ModSys=DVB-S2 Mod=8PSK Pol=V Pos=B Opt=A")}},
      {cable, 0x3000, {info(kCaller, "DVB-C tune: Freq=346000 Symb=6900 Mod=AUTO")}},
      {withType(dvbS(11000000), 8), 0x3000, {}},
      {withType(cable, 5), 0x3000, {}},
      // Printing normally follows validation; a value outside its table still prints safely.
      {outOfTable,
       0x3000,
       {info(kCaller, "DVB-T tune (1): Freq=474000 Bandw=UNKNOWN FEC=UNKNOWN"),
        info(kCaller, "DVB-T tune (2): Mod=QAM-64 Guard=1/4 Transm=8K")}},
  };
  for (const LoggingCase& print : cases) {
    log.clear();
    OmbrixHalTunerParameterPrintLogging(&print.record, print.id, kCaller);
    EXPECT_EQ(log.lines(), print.lines);
  }
}

}  // namespace
}  // namespace ombrixhal::test
