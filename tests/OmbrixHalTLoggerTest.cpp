// Tests of the logger: severities by id class, the per-id enable bits, the id texts, the
// small formatter and the 256-character bound, all as the middleware's handler sees them.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

constexpr char kCaller[] = "OmbrixHalCaller";

struct IdClass {
  uint32_t baseId;
  uint32_t count;
  uint32_t severity;
};

constexpr IdClass kIdClasses[] = {{0x1000, 35, 1}, {0x2000, 10, 2}, {0x3000, 40, 3}};

std::vector<uint32_t> idsOfClass(const IdClass& idClass) {
  std::vector<uint32_t> ids;
  for (uint32_t offset = 0; offset < idClass.count; ++offset) {
    ids.push_back(idClass.baseId + offset);
  }
  return ids;
}

std::vector<uint32_t> allValidIds() {
  std::vector<uint32_t> ids;
  for (const IdClass& idClass : kIdClasses) {
    const std::vector<uint32_t> classIds = idsOfClass(idClass);
    ids.insert(ids.end(), classIds.begin(), classIds.end());
  }
  return ids;
}

uint32_t severityOf(uint32_t id) {
  for (const IdClass& idClass : kIdClasses) {
    if (id >= idClass.baseId && id < idClass.baseId + idClass.count) {
      return idClass.severity;
    }
  }
  return 1;
}

// Clears every enable bit; the fixture enables the three classes before each test.
void disableAllClasses() {
  OmbrixHalDisableLog(0x1000);
  OmbrixHalDisableLog(0x2000);
  OmbrixHalDisableLog(0x3000);
}

// Logs one line under every valid id and returns the ids that got through.
std::vector<uint32_t> probeAllIds(const LogCapture& log) {
  const size_t before = log.lines().size();
  for (uint32_t id : allValidIds()) {
    OmbrixHalLoggerPrintf(kCaller, id, "probe");
  }
  std::vector<uint32_t> passed;
  const std::vector<LogLine> lines = log.lines();
  for (size_t index = before; index < lines.size(); ++index) {
    passed.push_back(lines[index].id);
  }
  return passed;
}

// Never dereferenced as long as the logger formats nothing.
const char* const kInvalidString = reinterpret_cast<const char*>(static_cast<uintptr_t>(0x10));

using LoggerSeverity = LoggedTest;

TEST_F(LoggerSeverity, EveryIdArrivesWithItsClassSeverityAndTheCallersName) {
  std::vector<LogLine> expected;
  for (uint32_t id : allValidIds()) {
    OmbrixHalLoggerPrintf(kCaller, id, "free text");
    expected.push_back({kCaller, id, severityOf(id), "free text"});
  }
  EXPECT_EQ(log.lines(), expected);
}

TEST_F(LoggerSeverity, IdsOutsideEveryClassArriveAsErrorsUnderTheirOwnId) {
  const uint32_t outside[] = {0, 0x0fff, 0x1023, 0x1fff, 0x200a, 0x2fff, 0x3028, 0x4000, 0xffffffff};
  std::vector<LogLine> expected;
  for (uint32_t id : outside) {
    OmbrixHalLoggerPrintf(kCaller, id, "text");
    expected.push_back(error(kCaller, "text", id));
  }
  EXPECT_EQ(log.lines(), expected);
}

TEST_F(LoggerSeverity, IdsOutsideEveryClassFollowTheUnsupportedIdBit) {
  disableAllClasses();
  OmbrixHalLoggerPrintf(kCaller, 0x4000, "dropped");
  EXPECT_EQ(OmbrixHalEnableLog(0x1005), 1);
  OmbrixHalLoggerPrintf(kCaller, 0x4000, "passed");
  EXPECT_EQ(log.lines(), (std::vector{error(kCaller, "passed", 0x4000)}));

  log.clear();
  ASSERT_EQ(OmbrixHalEnableLog(0x1000), 1);
  ASSERT_EQ(OmbrixHalDisableLog(0x1005), 1);
  OmbrixHalLoggerPrintf(kCaller, 0x4000, "dropped");
  OmbrixHalLoggerPrintf(kCaller, 0x1023, "dropped");
  OmbrixHalLoggerPrintf(kCaller, 0x1004, "still on");
  EXPECT_EQ(log.lines(), (std::vector{error(kCaller, "still on", 0x1004)}));
  OmbrixHalEnableLog(0x1005);
}

TEST_F(LoggerSeverity, PrintOfAnIdOutsideEveryClassUsesTheUnsupportedIdText) {
  OmbrixHalLoggerPrint(kCaller, 0x4000, uint32_t{0x4000});
  OmbrixHalLoggerPrint(kCaller, 0x3028, uint32_t{0x3028});
  EXPECT_EQ(log.lines(), (std::vector{error(kCaller, "Unsupported log id '0x4000'", 0x4000),
                                      error(kCaller, "Unsupported log id '0x3028'", 0x3028)}));
}

using LoggerEnableBits = LoggedTest;

TEST_F(LoggerEnableBits, EnablingOneIdLetsExactlyThatIdThrough) {
  for (uint32_t id : allValidIds()) {
    if ((id & 0xfff) == 0) {
      continue;  // a base id acts on its whole class
    }
    SCOPED_TRACE(::testing::Message() << "id 0x" << std::hex << id);
    disableAllClasses();
    log.clear();
    EXPECT_EQ(OmbrixHalEnableLog(id), 1);
    EXPECT_EQ(probeAllIds(log), std::vector<uint32_t>{id});
    EXPECT_EQ(OmbrixHalDisableLog(id), 1);
    EXPECT_TRUE(probeAllIds(log).empty()) << "disabled again";
  }
}

TEST_F(LoggerEnableBits, EnablingAClassBaseEnablesExactlyThatClass) {
  for (const IdClass& idClass : kIdClasses) {
    SCOPED_TRACE(::testing::Message() << "class 0x" << std::hex << idClass.baseId);
    disableAllClasses();
    log.clear();
    EXPECT_EQ(OmbrixHalEnableLog(idClass.baseId), 1);
    EXPECT_EQ(probeAllIds(log), idsOfClass(idClass));
  }
}

TEST_F(LoggerEnableBits, DisablingAClassBaseSilencesExactlyThatClass) {
  for (const IdClass& idClass : kIdClasses) {
    SCOPED_TRACE(::testing::Message() << "class 0x" << std::hex << idClass.baseId);
    log.clear();
    EXPECT_EQ(OmbrixHalDisableLog(idClass.baseId), 1);
    std::vector<uint32_t> expected;
    for (uint32_t id : allValidIds()) {
      if (severityOf(id) != idClass.severity) {
        expected.push_back(id);
      }
    }
    EXPECT_EQ(probeAllIds(log), expected);
    OmbrixHalEnableLog(idClass.baseId);
  }
}

TEST_F(LoggerEnableBits, DisablingOneIdOfAnEnabledClassSilencesOnlyThatId) {
  for (uint32_t silenced : {0x1011u, 0x2009u, 0x3027u}) {
    SCOPED_TRACE(::testing::Message() << "id 0x" << std::hex << silenced);
    log.clear();
    EXPECT_EQ(OmbrixHalDisableLog(silenced), 1);
    std::vector<uint32_t> expected;
    for (uint32_t id : allValidIds()) {
      if (id != silenced) {
        expected.push_back(id);
      }
    }
    EXPECT_EQ(probeAllIds(log), expected);
    OmbrixHalEnableLog(silenced);
  }
}

TEST_F(LoggerEnableBits, ClassBaseMessagePassesOnlyWhileTheClassBitIsSet) {
  for (const IdClass& idClass : kIdClasses) {
    const uint32_t member = idClass.baseId + 1;
    SCOPED_TRACE(::testing::Message() << "class 0x" << std::hex << idClass.baseId);
    disableAllClasses();
    log.clear();
    ASSERT_EQ(OmbrixHalEnableLog(member), 1);
    OmbrixHalLoggerPrintf(kCaller, idClass.baseId, "base while only a member is on");
    OmbrixHalLoggerPrintf(kCaller, member, "member");
    ASSERT_EQ(OmbrixHalEnableLog(idClass.baseId), 1);
    ASSERT_EQ(OmbrixHalDisableLog(member), 1);
    OmbrixHalLoggerPrintf(kCaller, idClass.baseId, "base with the class bit");
    OmbrixHalLoggerPrintf(kCaller, member, "member after it was disabled");
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{kCaller, member, idClass.severity, "member"},
                                                 {kCaller, idClass.baseId, idClass.severity, "base with the class bit"}}));
  }
}

TEST_F(LoggerEnableBits, IdsInNoRangeAreRefusedUnderTheCallingExportsName) {
  struct Case {
    uint32_t id;
    const char* text;
  };
  const Case cases[] = {
      {0x4000, "Illegal log id '0x4000'"}, {0x1023, "Illegal log id '0x1023'"},
      {0, "Illegal log id '0x0000'"},      {0x0fff, "Illegal log id '0x0fff'"},
      {0x200a, "Illegal log id '0x200a'"}, {0x3028, "Illegal log id '0x3028'"},
  };
  std::vector<LogLine> expected;
  for (const Case& refused : cases) {
    EXPECT_EQ(OmbrixHalEnableLog(refused.id), 0) << refused.text;
    EXPECT_EQ(OmbrixHalDisableLog(refused.id), 0) << refused.text;
    expected.push_back(error("OmbrixHalEnableLog", refused.text, 0x1004));
    expected.push_back(error("OmbrixHalDisableLog", refused.text, 0x1004));
  }
  EXPECT_EQ(log.lines(), expected);

  log.clear();
  EXPECT_EQ(probeAllIds(log), allValidIds()) << "a refused id changes no bit";
  OmbrixHalLoggerPrintf(kCaller, 0x4000, "unsupported id still on");
  EXPECT_EQ(log.lines().back(), error(kCaller, "unsupported id still on", 0x4000));
}

TEST_F(LoggerEnableBits, RefusalOfAnIllegalIdIsSilentWhileItsOwnBitIsClear) {
  ASSERT_EQ(OmbrixHalDisableLog(0x1004), 1);
  EXPECT_EQ(OmbrixHalEnableLog(0x4000), 0);
  EXPECT_TRUE(log.lines().empty());
  OmbrixHalEnableLog(0x1004);
}

using LoggerTableTexts = LoggedTest;

TEST_F(LoggerTableTexts, PrintFormatsTheTextOfTheId) {
  OmbrixHalLoggerPrint(kCaller, 0x1000);
  OmbrixHalLoggerPrint(kCaller, 0x101b);
  OmbrixHalLoggerPrint(kCaller, 0x100c, int32_t{11766}, int32_t{27500}, int32_t{3});
  OmbrixHalLoggerPrint(kCaller, 0x1019, "aVideoPid", uint32_t{0x2000});
  OmbrixHalLoggerPrint(kCaller, 0x2001, "OmbrixHalThreadCreate");
  OmbrixHalLoggerPrint(kCaller, 0x2002);
  OmbrixHalLoggerPrint(kCaller, 0x3007, int32_t{50});
  OmbrixHalLoggerPrint(kCaller, 0x300b, int32_t{1}, int32_t{2}, int32_t{3}, int32_t{4}, int32_t{5});
  OmbrixHalLoggerPrint(kCaller, 0x300e, uint32_t{0x12}, int32_t{1}, int32_t{8});
  OmbrixHalLoggerPrint(kCaller, 0x3012, "rb", "//local/a.ts");
  OmbrixHalLoggerPrint(kCaller, 0x301a);
  OmbrixHalLoggerPrint(kCaller, 0x3020);
  EXPECT_EQ(log.lines(),
            (std::vector{
                error(kCaller, "All errors", 0x1000),
                error(kCaller, "OmbrixHalInit() has not been called, yet!", 0x101b),
                error(kCaller, "DVB-S tune (1): freq=11766 symb=27500 code=3 ", 0x100c),
                error(kCaller, "Illegal PID 'aVideoPid': '0x2000'", 0x1019),
                warning(kCaller, "Function not supported: 'OmbrixHalThreadCreate'", 0x2001),
                warning(kCaller, "AV stream is not decoded.", 0x2002),
                info(kCaller, "Signal strength is '50%'", 0x3007),
                info(kCaller, "DVB-S tune (3): modSys=1 mod=2 pol=3 pos=4 opt=5", 0x300b),
                info(kCaller, "FilterParam: pid=0x0012 crcCheck=1 filterLen=8", 0x300e),
                info(kCaller, "File opened in mode 'rb': '//local/a.ts'", 0x3012),
                info(kCaller, "Clock: hardware clock overrun occured", 0x301a),
                info(kCaller, "AV decoded successfully", 0x3020),
            }));
}

TEST_F(LoggerTableTexts, LastSevenIdsOfEachClassCarryTheModulePrefixes) {
  const char* const prefixes[] = {"AV", "AudioOut", "CI", "File", "Filter", "Tuner", "VideoOut"};
  std::vector<LogLine> expected;
  for (const IdClass& idClass : kIdClasses) {
    const uint32_t firstPrefixed = idClass.baseId + idClass.count - 7;
    for (uint32_t offset = 0; offset < 7; ++offset) {
      OmbrixHalLoggerPrint(kCaller, firstPrefixed + offset, "detail");
      expected.push_back({kCaller, firstPrefixed + offset, idClass.severity, std::string(prefixes[offset]) + ": detail"});
    }
  }
  EXPECT_EQ(log.lines(), expected);
}

using LoggerLazyFormatting = LoggedTest;

TEST_F(LoggerLazyFormatting, NothingIsFormattedOrDeliveredWithoutAHandler) {
  OmbrixHalSetLogHandler(nullptr, nullptr);
  OmbrixHalLoggerPrintf(kCaller, 0x1000, "%s", kInvalidString);
  OmbrixHalLoggerPrint(kCaller, 0x1002, kInvalidString);
  OmbrixHalLoggerPrintf(kCaller, 0x4000, "%s", kInvalidString);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(LoggerLazyFormatting, NothingIsFormattedForADisabledId) {
  ASSERT_EQ(OmbrixHalDisableLog(0x3001), 1);
  ASSERT_EQ(OmbrixHalDisableLog(0x1002), 1);
  OmbrixHalLoggerPrintf(kCaller, 0x3001, "%s", kInvalidString);
  OmbrixHalLoggerPrint(kCaller, 0x1002, kInvalidString);
  EXPECT_TRUE(log.lines().empty());
  OmbrixHalEnableLog(0x3001);
  OmbrixHalEnableLog(0x1002);
}

using LoggerFormatting = LoggedTest;

TEST_F(LoggerFormatting, StringsCharactersAndWideStrings) {
  const uint16_t wide[] = {0x0048, 0x4169, 0x0121, 0};  // each arrives as its low 8 bits
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "name='%s'", "tuner");
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "name='%s'", static_cast<const char*>(nullptr));
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%c%c", 'O', 'K');
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "wide=%w", wide);
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "wide=%w", static_cast<const uint16_t*>(nullptr));
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"name='tuner'", "name='NULL'", "OK", "wide=Hi!", "wide=NULL"}));
}

TEST_F(LoggerFormatting, DecimalNumbersAre32Bits) {
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%d", int32_t{0});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%d", int32_t{-42});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%d", INT32_MIN);
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%d", INT32_MAX);
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%u", UINT32_MAX);
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%ld", int32_t{-7});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%lu", uint32_t{4000000000u});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "a=%d b=%u", int32_t{-1}, uint32_t{2});
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"0", "-42", "-2147483648", "2147483647", "4294967295", "-7",
                                                   "4000000000", "a=-1 b=2"}));
}

TEST_F(LoggerFormatting, HexNumbersHaveFixedWidthsInLowerCase) {
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%x", uint32_t{0x12345});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%x", uint32_t{0xa});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%x", uint32_t{0xABCD});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%lx", uint32_t{0x12345});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%lx", uint32_t{0xDEADBEEF});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%lx", uint32_t{0});
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"2345", "000a", "abcd", "00012345", "deadbeef", "00000000"}));
}

TEST_F(LoggerFormatting, ByteArraysInHexOrDecimal) {
  const uint8_t bytes[] = {0x00, 0x0f, 0xab, 0xff};
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%ax]", bytes, uint32_t{4});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%ax]", bytes, uint32_t{1});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%ax]", bytes, uint32_t{0});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%ad]", bytes, uint32_t{4});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%ab]", bytes, uint32_t{2});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%ax n=%d", bytes, uint32_t{2}, int32_t{2});
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"[00 0f ab ff]", "[00]", "[]", "[0 15 171 255]", "[0 15]",
                                                   "00 0f n=2"}));
}

TEST_F(LoggerFormatting, UnknownConversionsPrintAndConsumeNothing) {
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "100%%");
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%q%d", int32_t{7});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%f|%s", "next");
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "%a %d", int32_t{9});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "50%");
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "end%l");
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"100%", "7", "|next", " 9", "50", "end"}));
}

using LoggerTextBound = LoggedTest;

std::string cutTo256(const std::string& text) {
  return text.size() < 256 ? text : text.substr(0, 253) + "...";
}

TEST_F(LoggerTextBound, PlainTextsUpTo255CharactersArriveUnchanged) {
  for (size_t length : {0u, 1u, 254u, 255u}) {
    log.clear();
    const std::string text(length, 'x');
    OmbrixHalLoggerPrintf(kCaller, 0x3000, text.c_str());
    EXPECT_EQ(log.texts(), std::vector<std::string>{text}) << length;
  }
}

TEST_F(LoggerTextBound, TextsOf256CharactersOrMoreAreCutToEndInDots) {
  for (size_t length : {256u, 257u, 300u, 1000u}) {
    log.clear();
    const std::string text(length, 'x');
    OmbrixHalLoggerPrintf(kCaller, 0x3000, text.c_str());
    const std::vector<std::string> texts = log.texts();
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0].size(), 256u) << length;
    EXPECT_EQ(texts[0], std::string(253, 'x') + "...") << length;
  }
}

TEST_F(LoggerTextBound, LongArgumentsAreCutLikeLongFormats) {
  const std::string longString(300, 's');
  std::vector<uint16_t> longWide(300, 0x0077);
  longWide.push_back(0);
  uint8_t bytes[100];
  std::string bytesInHex;
  for (uint32_t index = 0; index < 100; ++index) {
    bytes[index] = static_cast<uint8_t>(index);
    char digits[4];
    std::snprintf(digits, sizeof digits, index == 0 ? "%02x" : " %02x", static_cast<unsigned>(index));
    bytesInHex += digits;
  }
  const std::string prefix(250, '-');

  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%s]", longString.c_str());
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%w]", longWide.data());
  OmbrixHalLoggerPrintf(kCaller, 0x3000, "[%ax]", bytes, uint32_t{100});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, (prefix + "%d").c_str(), int32_t{1234567890});
  OmbrixHalLoggerPrintf(kCaller, 0x3000, (prefix + "%d").c_str(), int32_t{12345});
  EXPECT_EQ(log.texts(), (std::vector<std::string>{
                             cutTo256("[" + longString + "]"),
                             cutTo256("[" + std::string(300, 'w') + "]"),
                             cutTo256("[" + bytesInHex + "]"),
                             prefix + "123...",
                             prefix + "12345",
                         }));
}

}  // namespace
}  // namespace ombrixhal::test
