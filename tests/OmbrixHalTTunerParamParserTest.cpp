// Tests of the tuner parameter text form: the key lookup with its grammar, and the parser of
// each tuner type with its defaults, required keys and kept oddities.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

struct ValueCase {
  const char* line;
  const char* key;
  OmbrixHalBool found;
  const char* value;
};

TEST(ParamValueLookup, FollowsTheLineGrammar) {
  const ValueCase cases[] = {
      {"DVB-T: freq=474000", ":", 1, "DVB-T"},
      {"asi:", ":", 1, "asi"},
      {"asi", ":", 1, "asi"},
      {"DVB-T : freq=1", ":", 0, ""},  // the colon stands where a key belongs
      {"DVB-T : freq=1", "freq", 0, ""},
      {"DVB-T:freq=474000", ":", 0, ""},  // one word "DVB-T:freq"
      {"DVB-T:\tfreq=1", ":", 0, ""},     // only a space or the end makes a colon
      {"DVB-T:\t freq = 474000 ,\tmod=qpsk", "mod", 1, "qpsk"},
      {"DVB-T: freq=1, freq=2", "freq", 1, "1"},
      {"DVB-T: Freq=1", "freq", 0, ""},
      {"DVB-T: bandwidth 8, freq=474000", "freq", 0, ""},  // malformed before the key
      {"DVB-T: freq=474000, bandwidth 8", "freq", 1, "474000"},  // malformed behind it
      {"DVB-T: freq=1 = mod=qpsk", "mod", 0, ""},
      {"DVB-T: freq=1,, mod=qpsk", "mod", 0, ""},
      {"DVB-T: freq=, mod=qpsk", "mod", 0, ""},
      {"DVB-T: freq=474000,", "freq", 1, "474000"},
      {"DVB-T: ,freq=474000", "freq", 0, ""},
      {"DVB-T:", "freq", 0, ""},
      {"analogFile: name=C:\\dir\\lines.epr", "name", 1, "C:\\dir\\lines.epr"},
      {"digitalFile: name=\"a b, c=d: e\", repetitions=3", "name", 1, "a b, c=d: e"},
      {"digitalFile: name=\"a b, c=d: e\", repetitions=3", "repetitions", 1, "3"},
      {"digitalFile: na\"me\"=x\"y\"z", "name", 1, "xyz"},
      {"digitalFile: name=\"open to the end, x=1", "name", 1, "open to the end, x=1"},
      {"digitalFile: name=\"\"", "name", 1, ""},
      {"=DVB-T", ":", 0, ""},
  };
  for (const ValueCase& lookup : cases) {
    char value[OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE] = "stale";
    EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue(lookup.line, lookup.key, value), lookup.found)
        << lookup.line << " / " << lookup.key;
    EXPECT_STREQ(value, lookup.value) << lookup.line << " / " << lookup.key;
    EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue(lookup.line, lookup.key, nullptr), lookup.found);
  }
}

TEST(ParamValueLookup, KeepsTheFirst256CharactersOfAWordAndScansPastTheRest) {
  const std::string longName(300, 'n');
  const std::string line = "digitalFile: name=" + longName + ", repetitions=3";
  char value[OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE];
  ASSERT_EQ(OmbrixHalTunerParamParserGetParamValue(line.c_str(), "name", value), 1);
  EXPECT_EQ(std::string(value), longName.substr(0, 256));
  ASSERT_EQ(OmbrixHalTunerParamParserGetParamValue(line.c_str(), "repetitions", value), 1);
  EXPECT_STREQ(value, "3");
}

// A record filled with a pattern shows what the parser left alone.
constexpr unsigned char kPattern = 0x5a;
constexpr int64_t kUntouched = 0x5a5a5a5a;

OmbrixHalTunerParameter parsed(const char* line, OmbrixHalBool expectedResult) {
  OmbrixHalTunerParameter record;
  std::memset(&record, kPattern, sizeof record);
  EXPECT_EQ(OmbrixHalTunerParamParser(line, &record), expectedResult) << line;
  return record;
}

// The record's first 32-bit words, so that a failure prints them all.
std::vector<int64_t> wordsOf(const OmbrixHalTunerParameter& record, size_t count) {
  std::vector<int64_t> words(count);
  for (size_t index = 0; index < count; ++index) {
    int32_t word;
    std::memcpy(&word, reinterpret_cast<const char*>(&record) + index * sizeof word, sizeof word);
    words[index] = word;
  }
  return words;
}

// The expected words run one past the layout, to show whether the rest was cleared.
struct RecordCase {
  const char* line;
  OmbrixHalBool ok;
  std::vector<int64_t> words;
};

void expectRecords(const std::vector<RecordCase>& cases) {
  for (const RecordCase& parse : cases) {
    EXPECT_EQ(wordsOf(parsed(parse.line, parse.ok), parse.words.size()), parse.words) << parse.line;
  }
}

TEST(TerrestrialParamParsing, FillsAClearedRecordWithDefaultsAndKeptOddities) {
  // Type, Frequency, Bandwidth, Modulation, CodeRate, TransmissionMode, GuardInterval.
  expectRecords({
      {"DVB-T: freq=474000", 1, {9, 474000, 4, 1, 1, 1, 1, 0}},
      {"DVB-T: freq=474000 bandwidth=7,guard=1/32", 1, {9, 474000, 3, 1, 1, 1, 5}},
      {"DVB-T: freq=474000, bandwidth=8, mod=qam64, coderate=2/3, guard=1/4, trans=8k", 1, {9, 474000, 4, 6, 5, 4, 2}},
      {"DVB-T: freq=474000, coderate=3/4", 1, {9, 474000, 4, 1, 9, 1, 1}},  // stored as "4/5", kept
      {"DVB-T: freq=474000, bandwidth=6MHz", 1, {9, 474000, 2, 1, 1, 1, 1}},
      {"DVB-T: freq=474000, bandwidth=5", 0, {9, 474000, 4, 1, 1, 1, 1}},  // no 5 MHz in text, kept
      {"DVB-T: bandwidth=8", 0, {9, 0, 4, 1, 1, 1, 1}},
      {"DVB-T: freq=474000, mod=QAM64, trans=2k, guard=1/64", 0, {9, 474000, 4, 1, 1, 2, 1}},
  });
}

TEST(SatelliteParamParsing, BothGenerationsMakeADvbSRecordWithTheirOwnWords) {
  // Type, Frequency, SymbolRate, CodeRate, ModulationSystem, Modulation, LofLow, LofHigh, LofSwitch,
  // Polarisation, Position, Option.
  expectRecords({
      {"DVB-S: freq=11000000, symbolrate=27500000", 0, {7, 11000000, 27500000, 1, 0, 1, 9750, 10600, 11700, 0, 0, 0}},
      {"DVB-S: freq=11000000, symbolrate=27500000, pol=V", 1, {7, 11000000, 27500000, 1, 0, 1, 9750, 10600, 11700, 1}},
      {"DVB-S: freq=1 symbolrate=2 coderate=3/4 mod=qpsk pol=Vertical pos=B opt=B loflow=3 lofhigh=4 lofswitch=5",
       1, {7, 1, 2, 7, 0, 2, 3, 4, 5, 1, 1, 1, 0}},
      {"DVB-S2: freq=11000000, symbolrate=27500000, pol=H, mod=8psk, coderate=9/10", 1,
       {7, 11000000, 27500000, 14, 0, 3}},
      {"DVB-S: freq=1, symbolrate=2, pol=H, mod=8psk, coderate=9/10", 0, {7, 1, 2, 1, 0, 1}},
      {"DVB-S: freq=1, symbolrate=2, pol=h, opt=C", 0, {7, 1, 2, 1, 0, 1, 9750, 10600, 11700, 0, 0, 0}},
  });
}

TEST(CableAndAnalogParamParsing, FillOnlyTheirOwnFieldsAndKeepTheRest) {
  // Type, Frequency, SymbolRate, Modulation for DVB-C; Type, Frequency for analog.
  expectRecords({
      {"DVB-C: freq=346000, symbolrate=6900", 1, {6, 346000, 6900, 6, kUntouched}},
      {"DVB-C: freq=346000, symbolrate=6900, mod=qam256", 1, {6, 346000, 6900, 8}},
      {"DVB-C: freq=346000, symbolrate=6900, mod=qam512", 0, {6, 346000, 6900, 6}},
      {"DVB-C: symbolrate=6900", 0, {6, kUntouched, 6900, 6}},
      // Text behind the digits is ignored; beyond 32 bits a number saturates.
      {"DVB-C: freq=-346000kHz, symbolrate=99999999999", 1, {6, -346000, INT32_MAX, 6}},
      {"analog: freq=48250, mod=qam64", 1, {1, 48250, kUntouched}},
      {"analog: frequency=48250", 0, {1, kUntouched}},
  });
}

struct FileCase {
  const char* line;
  OmbrixHalBool ok;
  const char* name;
  uint32_t pacing;  // FieldInterval or SymbolRate
  uint16_t repetitions;
};

TEST(FileParamParsing, ReadsNameRateAndRepetitionsWithTheirOwnRangeRules) {
  const FileCase cases[] = {
      {"digitalFile: name=\"//local/my stream.ts\"", 1, "//local/my stream.ts", 0, 1},
      {"digitalFile: name=//local/stream.ts, repetitions=3, symbolrate=1000", 1, "//local/stream.ts", 1000, 3},
      {"digitalFile: name=//local/stream.ts, repetitions=65536", 1, "//local/stream.ts", 0, 1},  // ignored, kept
      {"analogFile: name=//local/lines.epr, fieldInterval=65535, repetitions=0", 1, "//local/lines.epr", 65535, 0},
      {"analogFile: name=//local/lines.epr, repetitions=65536", 0, "//local/lines.epr", 0, 1},  // fails, kept
      {"analogFile: name=//local/lines.epr, fieldInterval=-1", 0, "//local/lines.epr", 0, 1},
  };
  for (const FileCase& parse : cases) {
    const OmbrixHalTunerParameter record = parsed(parse.line, parse.ok);
    if (record.Type == OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE) {
      EXPECT_STREQ(record.DigitalFile.Name, parse.name);
      EXPECT_EQ(record.DigitalFile.SymbolRate, parse.pacing) << parse.line;
      EXPECT_EQ(record.DigitalFile.Repetitions, parse.repetitions) << parse.line;
    } else {
      EXPECT_STREQ(record.AnalogFile.Name, parse.name);
      EXPECT_EQ(record.AnalogFile.FieldInterval, parse.pacing) << parse.line;
      EXPECT_EQ(record.AnalogFile.Repetitions, parse.repetitions) << parse.line;
    }
  }
}

TEST(FileParamParsing, NameIsRequiredAndAtMost255Characters) {
  const struct {
    size_t length;
    OmbrixHalBool ok;
  } cases[] = {{255, 1}, {256, 0}, {300, 0}};
  for (const auto& check : cases) {
    const std::string name(check.length, 'n');
    const std::string line = "analogFile: name=" + name;
    EXPECT_EQ(std::string(parsed(line.c_str(), check.ok).AnalogFile.Name), name.substr(0, 255));
  }
  parsed("digitalFile: repetitions=2", 0);
}

using ParamParserDispatch = LoggedTest;

TEST_F(ParamParserDispatch, LinesWithoutATunableTypeLeaveTheRecordAloneAndLogNothing) {
  const struct {
    const char* line;
    OmbrixHalBool ok;
  } cases[] = {
      {"asi:", 1},  // accepted without a write, kept
      {"asi: freq=1", 1},
      {"digital: freq=1", 0},
      {"analogCvbs: freq=1", 0},
      {"UNKNOWN: freq=1", 0},
      {"dvb-t: freq=1", 0},
      {"DVB-T:freq=474000", 0},
      {"DVB-T : freq=474000", 0},
      {"", 0},
  };
  for (const auto& parse : cases) {
    const OmbrixHalTunerParameter record = parsed(parse.line, parse.ok);
    constexpr size_t kRecordWords = sizeof record / sizeof(int32_t);
    EXPECT_EQ(wordsOf(record, kRecordWords), std::vector<int64_t>(kRecordWords, kUntouched)) << parse.line;
  }
  EXPECT_EQ(OmbrixHalTunerParamParser(nullptr, nullptr), 0);
  EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue(nullptr, ":", nullptr), 0);
  EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue("asi:", nullptr, nullptr), 0);
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace ombrixhal::test
