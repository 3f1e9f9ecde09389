// Tests of the tuner parameter record: type lookup, validation with its log lines, and the
// readable logging of a tuning request.
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

constexpr const char* kCaller = "OmbrixHalTunerSetParameter";

TEST(TunerTypeLookup, ResolvesTheWordBeforeTheColonCaseSensitivelyAndReadsAtMostSixteenCharacters) {
  const std::pair<const char*, OmbrixHalTunerType> cases[] = {
      {"DVB-T", 9},      {"dvb-t", 0},       {"DVB-T: freq=474000", 9},
      {"", 0},           {"UNKNOWN", 0},     {"asi", 10},
      {"DVB-S2:", 8},    {"DVB-T:freq", 9},  {"DVB-T ", 0},
      {"analogFile", 3}, {"digitalFile", 5}, {"digitalFileXXXXXY:", 0},
  };
  for (const auto& [text, type] : cases) {
    EXPECT_EQ(OmbrixHalTunerParameterGetTunerTypeFromString(text), type) << text;
  }
  // No terminator within reach: a read beyond 16 characters lands in the sanitizer's red zone.
  auto unterminated = std::make_unique<char[]>(16);
  std::memcpy(unterminated.get(), "DVB-TDVB-TDVB-T!", 16);
  EXPECT_EQ(OmbrixHalTunerParameterGetTunerTypeFromString(unterminated.get()), 0);
}

// A record from its 32-bit words in layout order, the rest zero.
OmbrixHalTunerParameter record(const std::vector<int32_t>& words) {
  OmbrixHalTunerParameter parameter{};
  std::memcpy(&parameter, words.data(), words.size() * sizeof(int32_t));
  return parameter;
}

// Valid records. DVB-T: Type, Frequency, Bandwidth, Modulation, CodeRate, TransmissionMode,
// GuardInterval. DVB-S: Type, Frequency, SymbolRate, CodeRate, ModulationSystem, Modulation,
// LofLow, LofHigh, LofSwitch, Polarisation, Position, Option. DVB-C: Type, Frequency,
// SymbolRate, Modulation.
OmbrixHalTunerParameter dvbT(int32_t frequency) { return record({9, frequency, 4, 6, 9, 4, 2}); }
OmbrixHalTunerParameter dvbS(int32_t frequency) {
  return record({7, frequency, 27500000, 7, 1, 3, 9750, 10600, 11700, 1, 1, 0});
}

using TunerParameterValidation = LoggedTest;

TEST_F(TunerParameterValidation, ReportsEveryBadFieldInOrderAndChecksOnlyTheTypesItKnows) {
  const auto bad = [](const std::string& text) { return error(kCaller, "tuner param: " + text); };
  const std::tuple<OmbrixHalTunerParameter, OmbrixHalBool, std::vector<LogLine>> cases[] = {
      {dvbT(50500), 1, {}},
      {dvbT(858000), 1, {}},
      {dvbT(50499), 0, {bad("Frequency '50499' is not in valid range [50500,858000]")}},
      {dvbT(858001), 0, {bad("Frequency '858001' is not in valid range [50500,858000]")}},
      {dvbS(3000000), 1, {}},
      {dvbS(18000000), 1, {}},
      {dvbS(2999999), 0, {bad("Frequency '2999999' is not in valid range [3000000,18000000]")}},
      // Frequencies compare unsigned, so -1 is out of range; enumerations compare signed.
      {dvbS(-1), 0, {bad("Frequency '-1' is not in valid range [3000000,18000000]")}},
      {record({9, 0, 0, 9, 15, 5, 6}),
       0,
       {bad("Frequency '0' is not in valid range [50500,858000]"), bad("illegal bandwidth: '0'"),
        bad("illegal code rate: '15'"), bad("illegal modulation: '9'"), bad("illegal guard interval: '6'"),
        bad("illegal transmission mode: '5'")}},
      {record({7, 11000000, 0, 15, -1, 0, 0, 0, 0, 2, -1, 2}),
       0,
       {bad("illegal modulation: '0'"), bad("illegal code rate: '15'"), bad("illegal polarisation: '2'"),
        bad("illegal position: '-1'"), bad("illegal option: '2'"), bad("illegal modulation system: '-1'")}},
      // DVB-C checks its modulation only.
      {record({6, 0, -1, 8}), 1, {}},
      {record({6, 0, -1, 9}), 0, {bad("illegal modulation: '9'")}},
      {record({5}), 1, {warning(kCaller, "Cannot check tuner parameter of type 'digitalFile'")}},
      {record({8}), 1, {warning(kCaller, "Cannot check tuner parameter of type 'DVB-S2'")}},
      {record({10}), 1, {warning(kCaller, "Cannot check tuner parameter of type 'asi'")}},
      {record({11}), 0, {error(kCaller, "Unknown tuner parameter type '11'")}},
      {record({-1}), 0, {error(kCaller, "Unknown tuner parameter type '-1'")}},
  };
  for (const auto& [parameter, valid, lines] : cases) {
    EXPECT_EQ(OmbrixHalTunerParameterIsValid(&parameter, kCaller), valid);
    EXPECT_EQ(log.take(), lines);
  }
  EXPECT_EQ(OmbrixHalTunerParameterIsValid(nullptr, kCaller), 0);
  EXPECT_EQ(log.take(), std::vector{nullValue(kCaller, "aParameter")});
}

using TunerParameterLogging = LoggedTest;

TEST_F(TunerParameterLogging, PrintsTheLinesOfEachTypeThroughTheTextTablesAtTheGivenId) {
  const std::tuple<OmbrixHalTunerParameter, uint32_t, std::vector<LogLine>> cases[] = {
      {dvbT(474000),
       0x3000,
       {info(kCaller, "DVB-T tune (1): Freq=474000 Bandw=8 FEC=4/5"),
        info(kCaller, "DVB-T tune (2): Mod=QAM-64 Guard=1/4 Transm=8K")}},
      {dvbS(11000000),
       0x1000,
       {error(kCaller, "DVB-S tune (1): Freq=11000000 Symb=27500000 FEC=3/4"),
        error(kCaller, "DVB-S tune (2): LofLow=9750 LofHigh=10600 LofSwitch=11700"),
        error(kCaller, "DVB-S tune (3): ModSys=DVB-S2 Mod=8PSK Pol=V Pos=B Opt=A")}},
      {record({6, 346000, 6900, 8}), 0x3000, {info(kCaller, "DVB-C tune: Freq=346000 Symb=6900 Mod=QAM-256")}},
      {record({5}), 0x3000, {}},
      // Printing normally follows validation; a value outside its table still prints safely.
      {record({9, 474000, 5, 6, -1, 4, 2}),
       0x3000,
       {info(kCaller, "DVB-T tune (1): Freq=474000 Bandw=UNKNOWN FEC=UNKNOWN"),
        info(kCaller, "DVB-T tune (2): Mod=QAM-64 Guard=1/4 Transm=8K")}},
  };
  for (const auto& [parameter, id, lines] : cases) {
    OmbrixHalTunerParameterPrintLogging(&parameter, id, kCaller);
    EXPECT_EQ(log.take(), lines);
  }
}

}  // namespace
}  // namespace ombrixhal::test
