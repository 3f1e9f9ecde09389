// Tests of the logger: severities by id class, the per-id enable bits, the id texts, the
// small formatter and the 256-character bound, all as the middleware's handler sees them.
#include <utility>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

constexpr char kCaller[] = "OmbrixHalCaller";

// Each class's base id and how many ids it has.
constexpr std::pair<uint32_t, uint32_t> kIdClasses[] = {{0x1000, 35}, {0x2000, 10}, {0x3000, 40}};

void setAllClasses(OmbrixHalBool enable) {
  for (const auto& [baseId, count] : kIdClasses) {
    OmbrixHalLoggerEnableLog(baseId, enable, kCaller);
  }
}

// Logs a "probe" line under every id of every class and returns the ids that got through.
std::vector<uint32_t> probeAllIds(LogCapture& log) {
  log.clear();
  for (const auto& [baseId, count] : kIdClasses) {
    for (uint32_t id = baseId; id < baseId + count; ++id) {
      OmbrixHalLoggerPrintf(kCaller, id, "probe");
    }
  }
  std::vector<uint32_t> passed;
  for (const LogLine& line : log.lines()) {
    passed.push_back(line.id);
  }
  return passed;
}

// Never dereferenced as long as the logger formats nothing.
const char* const kInvalidString = reinterpret_cast<const char*>(static_cast<uintptr_t>(0x10));

using LoggerSeverity = LoggedTest;

// Off from all on, and on from all off: an id's bit governs exactly that id, and a base id
// exactly its whole class.
TEST_F(LoggerSeverity, ClassIdsArriveWithTheClassSeverityAndEachIdsBitGovernsThatIdAndABaseIdItsWholeClass) {
  const std::vector<uint32_t> all = probeAllIds(log);
  ASSERT_EQ(all.size(), 85u);
  for (const LogLine& line : log.lines()) {
    EXPECT_EQ(line, (LogLine{kCaller, line.id, line.id >> 12, "probe"}));  // 0x1xxx errors are severity 1, ...
  }
  for (uint32_t id : all) {
    SCOPED_TRACE(::testing::Message() << "id 0x" << std::hex << id);
    const auto governed = [id](uint32_t other) { return (id & 0xfff) == 0 ? (other & 0xf000) == id : other == id; };
    std::vector<uint32_t> others = all, governedIds = all;
    std::erase_if(others, governed);
    std::erase_if(governedIds, [&governed](uint32_t other) { return !governed(other); });
    EXPECT_EQ(OmbrixHalLoggerEnableLog(id, 0, kCaller), 1);
    EXPECT_EQ(probeAllIds(log), others);
    setAllClasses(0);
    EXPECT_EQ(OmbrixHalLoggerEnableLog(id, 1, kCaller), 1);
    EXPECT_EQ(probeAllIds(log), governedIds);
    setAllClasses(1);
  }
}

TEST_F(LoggerSeverity, IdsInNoClassArriveAsErrorsUnderTheUnsupportedIdBitAndAreRefusedByEnableLog) {
  setAllClasses(0);
  ASSERT_EQ(sumInOrder({OmbrixHalLoggerEnableLog(0x1004, 1, kCaller),
                        OmbrixHalLoggerEnableLog(0x1005, 1, kCaller)}), 2);
  const std::pair<uint32_t, std::string> cases[] = {{0, "0000"},         {0x0fff, "0fff"}, {0x1023, "1023"},
                                                    {0x200a, "200a"},    {0x3028, "3028"}, {0x4000, "4000"},
                                                    {0xffffffff, "ffff"}};
  for (const auto& [id, hex] : cases) {
    const LogLine refused = error(kCaller, "Illegal log id '0x" + hex + "'", 0x1004);
    OmbrixHalLoggerPrintf(kCaller, id, "probe");
    EXPECT_EQ(OmbrixHalLoggerEnableLog(id, 1, kCaller), 0);
    EXPECT_EQ(OmbrixHalLoggerEnableLog(id, 0, kCaller), 0);
    EXPECT_EQ(log.take(), (std::vector{error(kCaller, "probe", id), refused, refused}));
  }
  EXPECT_EQ(probeAllIds(log), (std::vector<uint32_t>{0x1004, 0x1005})) << "a refused id changes no bit";
  ASSERT_EQ(OmbrixHalLoggerEnableLog(0x1005, 0, kCaller), 1);
  log.clear();
  OmbrixHalLoggerPrintf(kCaller, 0x4000, "dropped with the unsupported id's bit");
  EXPECT_TRUE(log.take().empty());
}

using LoggerTableTexts = LoggedTest;

// The other classes' texts reach the handler from the modules' own tests ("Function not
// supported: '%s'", "Clock: hardware clock overrun occured", ...).
TEST_F(LoggerTableTexts, PrintFormatsTheTextOfTheIdButNotForADisabledIdOrWithoutAHandler) {
  OmbrixHalLoggerPrint(kCaller, 0x100c, int32_t{11766}, int32_t{27500}, int32_t{3});
  OmbrixHalLoggerPrint(kCaller, 0x3007, int32_t{50});
  OmbrixHalLoggerPrint(kCaller, 0x4000, uint32_t{0x4000});
  EXPECT_EQ(log.take(), (std::vector{error(kCaller, "DVB-S tune (1): freq=11766 symb=27500 code=3 ", 0x100c),
                                     info(kCaller, "Signal strength is '50%'", 0x3007),
                                     error(kCaller, "Unsupported log id '0x4000'", 0x4000)}));
  // Nothing is formatted for a disabled id or without a handler.
  ASSERT_EQ(OmbrixHalLoggerEnableLog(0x1002, 0, kCaller), 1);
  OmbrixHalLoggerPrint(kCaller, 0x1002, kInvalidString);
  OmbrixHalSetLogHandler(nullptr, nullptr);
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%s", kInvalidString);
  OmbrixHalLoggerPrintf(kCaller, 0x4000, "%s", kInvalidString);
  EXPECT_TRUE(log.lines().empty());
}

class LoggerFormatting : public LoggedTest {
 protected:
  // Formats one line through the logger and returns the text the handler received.
  template <typename... Arguments>
  std::string formatted(const char* format, Arguments... arguments) {
    log.clear();
    OmbrixHalLoggerPrintf(kCaller, 0x3000, format, arguments...);
    const std::vector<std::string> texts = log.texts();
    return texts.size() == 1 ? texts[0] : std::to_string(texts.size()) + " lines";
  }
};

TEST_F(LoggerFormatting, EachConversionPrintsItsArgumentAndUnknownOnesPrintAndConsumeNothing) {
  const uint16_t wide[] = {0x0048, 0x4169, 0x0121, 0};  // each arrives as its low 8 bits
  const uint8_t bytes[] = {0x00, 0x0f, 0xab, 0xff};
  const uint8_t* const noBytes = nullptr;
  EXPECT_EQ(formatted("'%s' '%s'", "tuner", static_cast<const char*>(nullptr)), "'tuner' 'NULL'");
  EXPECT_EQ(formatted("%w %w", wide, static_cast<const uint16_t*>(nullptr)), "Hi! NULL");
  EXPECT_EQ(formatted("%c%c %d %d %ld", 'O', 'K', int32_t{0}, int32_t{-42}, INT32_MIN), "OK 0 -42 -2147483648");
  EXPECT_EQ(formatted("%u %lu", UINT32_MAX, uint32_t{4000000000u}), "4294967295 4000000000");
  EXPECT_EQ(formatted("%x %x %x %lx", uint32_t{0x12345}, uint32_t{0xa}, uint32_t{0xABCD}, uint32_t{0x12345}),
            "2345 000a abcd 00012345");
  EXPECT_EQ(formatted("[%ax][%ax] %d", bytes, uint32_t{4}, bytes, uint32_t{0}, int32_t{2}), "[00 0f ab ff][] 2");
  EXPECT_EQ(formatted("[%ad][%ab]", bytes, uint32_t{4}, bytes, uint32_t{2}), "[0 15 171 255][0 15]");
  EXPECT_EQ(formatted("[%ax][%ad][%ax]", noBytes, uint32_t{3}, noBytes, uint32_t{1}, noBytes, uint32_t{0}),
            "[NULL][NULL][]");
  EXPECT_EQ(formatted("100%% %q%d %f|%s", int32_t{7}, "next"), "100% 7 |next");
  EXPECT_EQ(formatted("%a %d", int32_t{9}), " 9");
  EXPECT_EQ(formatted("50%"), "50");
  EXPECT_EQ(formatted("end%l"), "end");
}

TEST_F(LoggerFormatting, TextsReaching256CharactersAreCutToEndInDots) {
  const std::string cut = std::string(253, 'x') + "...";
  const std::string prefix(250, 'x');
  EXPECT_EQ(formatted(std::string(255, 'x').c_str()), std::string(255, 'x'));
  EXPECT_EQ(formatted(std::string(256, 'x').c_str()), cut);
  EXPECT_EQ(formatted("%s", std::string(300, 'x').c_str()), cut);
  EXPECT_EQ(formatted((prefix + "%d").c_str(), int32_t{1234567890}), prefix + "123...");
  EXPECT_EQ(formatted((prefix + "%d").c_str(), int32_t{12345}), prefix + "12345");
}

}  // namespace
}  // namespace ombrixhal::test
