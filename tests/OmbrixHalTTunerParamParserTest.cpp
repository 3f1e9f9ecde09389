// Tests of the tuner parameter text form: the key lookup with its grammar, and the parser of
// each tuner type with its defaults, required keys and kept oddities.
#include <cstring>
#include <tuple>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

TEST(ParamValueLookup, FollowsTheLineGrammar) {
  const std::string longWord(300, 'n');
  // The line, the key, whether it is found and its value.
  const std::tuple<std::string, const char*, OmbrixHalBool, std::string> cases[] = {
      {"asi", ":", 1, "asi"},
      {"DVB-T : freq=1", ":", 0, ""},  // the colon stands where a key belongs
      {"DVB-T : freq=1", "freq", 0, ""},
      {"DVB-T:freq=474000", ":", 0, ""},  // one word "DVB-T:freq"
      {"DVB-T:\tfreq=1", ":", 0, ""},     // only a space or the end makes a colon
      {"DVB-T:\t freq = 474000 ,\tmod=qpsk", "mod", 1, "qpsk"},
      {"DVB-T: freq=1, freq=2", "freq", 1, "1"},
      {"DVB-T: Freq=1", "freq", 0, ""},
      {"DVB-T: bandwidth 8, freq=474000", "freq", 0, ""},        // malformed before the key
      {"DVB-T: freq=474000, bandwidth 8", "freq", 1, "474000"},  // malformed behind it
      {"DVB-T: freq=, mod=qpsk", "mod", 0, ""},
      {"DVB-T: ,freq=474000", "freq", 0, ""},
      {"analogFile: name=C:\\dir\\lines.epr", "name", 1, "C:\\dir\\lines.epr"},
      {"digitalFile: name=\"a b, c=d: e\", repetitions=3", "name", 1, "a b, c=d: e"},
      {"digitalFile: name=\"a b, c=d: e\", repetitions=3", "repetitions", 1, "3"},
      {"digitalFile: na\"me\"=x\"y\"z", "name", 1, "xyz"},
      {"digitalFile: name=\"open to the end, x=1", "name", 1, "open to the end, x=1"},
      // A word keeps its first 256 characters; the rest is scanned past.
      {"digitalFile: name=" + longWord + ", repetitions=3", "name", 1, longWord.substr(0, 256)},
      {"digitalFile: name=" + longWord + ", repetitions=3", "repetitions", 1, "3"},
  };
  for (const auto& [line, key, found, expected] : cases) {
    SCOPED_TRACE(line + " / " + key);
    char value[OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE] = "stale";
    EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue(line.c_str(), key, value), found);
    EXPECT_EQ(value, expected);
    EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue(line.c_str(), key, nullptr), found);
  }
  EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue(nullptr, ":", nullptr), 0);
  EXPECT_EQ(OmbrixHalTunerParamParserGetParamValue("asi:", nullptr, nullptr), 0);
}

// A record filled with a pattern shows what the parser left alone.
OmbrixHalTunerParameter parsed(const std::string& line, OmbrixHalBool expectedResult) {
  OmbrixHalTunerParameter record;
  std::memset(&record, 0x5a, sizeof record);
  EXPECT_EQ(OmbrixHalTunerParamParser(line.c_str(), &record), expectedResult);
  return record;
}

constexpr int32_t kUntouched = 0x5a5a5a5a;

// The record's first 32-bit words, so that a failure prints them all.
std::vector<int32_t> wordsOf(const OmbrixHalTunerParameter& record, size_t count) {
  std::vector<int32_t> words(count);
  std::memcpy(words.data(), &record, count * sizeof(int32_t));
  return words;
}

using ParamParsing = LoggedTest;

TEST_F(ParamParsing, FillsEachTypeWithItsDefaultsRequiredKeysAndKeptOdditiesAndLogsNothing) {
  const std::vector<int32_t> untouched(sizeof(OmbrixHalTunerParameter) / sizeof(int32_t), kUntouched);
  // The line, the result and the record's first words: one past the layout where it shows
  // whether the rest was cleared.
  const std::tuple<const char*, OmbrixHalBool, std::vector<int32_t>> cases[] = {
      // DVB-T: Type, Frequency, Bandwidth, Modulation, CodeRate, TransmissionMode, GuardInterval.
      {"DVB-T: freq=474000", 1, {9, 474000, 4, 1, 1, 1, 1, 0}},
      {"DVB-T: freq=474000 bandwidth=7,guard=1/32 coderate=3/4", 1, {9, 474000, 3, 1, 9, 1, 5}},  // "4/5", kept
      {"DVB-T: freq=1, bandwidth=8, mod=qam64, coderate=2/3, guard=1/4, trans=8k", 1, {9, 1, 4, 6, 5, 4, 2}},
      {"DVB-T: freq=474000, bandwidth=5", 0, {9, 474000, 4, 1, 1, 1, 1}},  // no 5 MHz in text, kept
      {"DVB-T: bandwidth=8", 0, {9, 0, 4, 1, 1, 1, 1}},
      {"DVB-T: freq=474000, mod=QAM64, trans=2k, guard=1/64", 0, {9, 474000, 4, 1, 1, 2, 1}},
      // DVB-S and DVB-S2: Type, Frequency, SymbolRate, CodeRate, ModulationSystem, Modulation,
      // LofLow, LofHigh, LofSwitch, Polarisation, Position, Option.
      {"DVB-S: freq=11000000, symbolrate=27500000", 0, {7, 11000000, 27500000, 1, 0, 1, 9750, 10600, 11700, 0, 0, 0}},
      {"DVB-S: freq=11000000, symbolrate=27500000, pol=V", 1, {7, 11000000, 27500000, 1, 0, 1, 9750, 10600, 11700, 1}},
      {"DVB-S: freq=1 symbolrate=2 coderate=3/4 mod=qpsk pol=Vertical pos=B opt=B loflow=3 lofhigh=4 lofswitch=5",
       1,
       {7, 1, 2, 7, 0, 2, 3, 4, 5, 1, 1, 1, 0}},
      {"DVB-S2: freq=1, symbolrate=2, pol=H, mod=8psk, coderate=9/10", 1, {7, 1, 2, 14, 0, 3}},
      {"DVB-S: freq=1, symbolrate=2, pol=H, mod=8psk, coderate=9/10", 0, {7, 1, 2, 1, 0, 1}},
      {"DVB-S: freq=1, symbolrate=2, pol=h, opt=C", 0, {7, 1, 2, 1, 0, 1, 9750, 10600, 11700, 0, 0, 0}},
      // DVB-C: Type, Frequency, SymbolRate, Modulation; analog: Type, Frequency. Not cleared.
      {"DVB-C: freq=346000, symbolrate=6900", 1, {6, 346000, 6900, 6, kUntouched}},
      {"DVB-C: freq=346000, symbolrate=6900, mod=qam512", 0, {6, 346000, 6900, 6}},
      {"DVB-C: symbolrate=6900", 0, {6, kUntouched, 6900, 6}},
      // Text behind the digits is ignored; beyond 32 bits a number saturates.
      {"DVB-C: freq=-346000kHz, symbolrate=99999999999, mod=qam256", 1, {6, -346000, INT32_MAX, 8}},
      {"analog: freq=48250, mod=qam64", 1, {1, 48250, kUntouched}},
      {"analog: frequency=48250", 0, {1, kUntouched}},
      {"digitalFile: repetitions=2", 0, {5, kUntouched}},  // the name is required
      // Types without a text form fail, and "asi" passes, all without a write.
      {"asi:", 1, untouched},
      {"digital: freq=1", 0, untouched},
      {"", 0, untouched},
  };
  for (const auto& [line, ok, words] : cases) {
    EXPECT_EQ(wordsOf(parsed(line, ok), words.size()), words) << line;
  }
  EXPECT_EQ(OmbrixHalTunerParamParser(nullptr, nullptr), 0);
  EXPECT_TRUE(log.lines().empty());
}

TEST(FileParamParsing, ReadsNameRateAndRepetitionsWithTheirOwnRangeRules) {
  const std::string longest(255, 'n');
  // The line, the result, the name, FieldInterval or SymbolRate, and Repetitions.
  const std::tuple<std::string, OmbrixHalBool, std::string, uint32_t, uint16_t> cases[] = {
      {"digitalFile: name=\"//local/my stream.ts\"", 1, "//local/my stream.ts", 0, 1},
      {"digitalFile: name=//local/stream.ts, repetitions=3, symbolrate=1000", 1, "//local/stream.ts", 1000, 3},
      {"digitalFile: name=//local/stream.ts, repetitions=65536", 1, "//local/stream.ts", 0, 1},  // ignored, kept
      {"analogFile: name=//local/lines.epr, fieldInterval=65535, repetitions=0", 1, "//local/lines.epr", 65535, 0},
      {"analogFile: name=//local/lines.epr, repetitions=65536", 0, "//local/lines.epr", 0, 1},  // fails, kept
      {"analogFile: name=//local/lines.epr, fieldInterval=-1", 0, "//local/lines.epr", 0, 1},
      {"analogFile: name=" + longest, 1, longest, 0, 1},
      {"analogFile: name=" + longest + "n", 0, longest, 0, 1},
  };
  for (const auto& [line, ok, name, pacing, repetitions] : cases) {
    SCOPED_TRACE(line);
    const OmbrixHalTunerParameter record = parsed(line, ok);
    const bool digital = record.Type == OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE;
    EXPECT_EQ(std::string(digital ? record.DigitalFile.Name : record.AnalogFile.Name), name);
    EXPECT_EQ(digital ? record.DigitalFile.SymbolRate : record.AnalogFile.FieldInterval, pacing);
    EXPECT_EQ(digital ? record.DigitalFile.Repetitions : record.AnalogFile.Repetitions, repetitions);
  }
}

}  // namespace
}  // namespace ombrixhal::test
