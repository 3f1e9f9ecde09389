// Tests of the builtin file system through the file layer: directory matching in slot
// order, read-only opens, clamped seeks and the 50 directory slots.
#include <array>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

const uint8_t kDigits[] = "0123456789";
const uint8_t kLetters[] = "abcdefghij";
const OmbrixHalFileBuiltinFile kTtfFiles[] = {{10, kDigits, "a.ttf"}, {0, kDigits, "empty"}};
const OmbrixHalFileBuiltinFile kFontsFiles[] = {{10, kLetters, "ttf/a.ttf"}};
const OmbrixHalFileBuiltinDirectory kTtf = {"fonts/ttf", 2, kTtfFiles};
const OmbrixHalFileBuiltinDirectory kFonts = {"fonts", 1, kFontsFiles};

// The file's whole contents, or "(none)" when it does not open.
std::string readAll(const char* aPath, const char* aMode = "r") {
  OmbrixHalFileHandle file = OmbrixHalFileOpen(aPath, aMode);
  if (file == nullptr) {
    return "(none)";
  }
  char buffer[32];
  const uint32_t count = OmbrixHalFileRead(file, buffer, sizeof buffer);
  OmbrixHalFileClose(file);
  return std::string(buffer, count);
}

using BuiltinDirectoryMatching = HalTest;

TEST_F(BuiltinDirectoryMatching, PathMustReachASlashAndTheFirstMatchingSlotWins) {
  ASSERT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&kTtf), 1);
  // Only reading opens; a write open fails with the reason like a missing file.
  const std::vector<std::array<const char*, 3>> cases = {
      {"//builtin/fonts/ttf/a.ttf", "r", "0123456789"},
      {"//builtin/fonts/ttf/a.ttf", "w", nullptr},
      {"//builtin/fonts/ttf", "r", nullptr},
      {"//builtin/fonts/ttfx/a.ttf", "r", nullptr},
      {"//builtin/fonts/ttf/b.ttf", "r", nullptr},
      {"//builtin/fonts/a.ttf", "r", nullptr},
  };
  for (const auto& [path, mode, contents] : cases) {
    EXPECT_EQ(readAll(path, mode), contents != nullptr ? contents : "(none)") << path << " " << mode;
    const std::string where = std::string(" mode '") + mode + "': '" + path + "'";
    const std::vector<LogLine> expected =
        contents != nullptr ? std::vector{info("OmbrixHalFileOpen", "File opened in" + where, 0x3012),
                                          info("OmbrixHalFileClose", "File closed", 0x3013)}
                            : std::vector{error("OmbrixHalFileOpen", "Cannot open file in" + where, 0x1016)};
    EXPECT_EQ(log.take(), expected) << path << " " << mode;
  }
  // Registration takes the highest free slot, so the later "fonts" sits before "fonts/ttf"
  // and wins, although it is searched for "ttf/a.ttf".
  ASSERT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&kFonts), 1);
  EXPECT_EQ(readAll("//builtin/fonts/ttf/a.ttf"), "abcdefghij");
  ASSERT_EQ(OmbrixHalFileBuiltinUnregisterDirectory(&kFonts), 1);
  EXPECT_EQ(OmbrixHalFileBuiltinUnregisterDirectory(&kFonts), 0);
  EXPECT_EQ(readAll("//builtin/fonts/ttf/a.ttf"), "0123456789");
}

TEST_F(BuiltinDirectoryMatching, FiftySlotsAndOnlyCompleteDirectories) {
  const OmbrixHalFileBuiltinFile noData[] = {{1, nullptr, "x"}};
  const OmbrixHalFileBuiltinFile noName[] = {{1, kDigits, nullptr}};
  const OmbrixHalFileBuiltinDirectory incomplete[] = {{nullptr, 0, nullptr}, {"d", 1, noData}, {"d", 1, noName}};
  for (const OmbrixHalFileBuiltinDirectory& directory : incomplete) {
    EXPECT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&directory), 0);
  }
  EXPECT_EQ(OmbrixHalFileBuiltinRegisterDirectory(nullptr), 0);
  std::vector<OmbrixHalFileBuiltinDirectory> empty(50, OmbrixHalFileBuiltinDirectory{"d", 0, nullptr});
  EXPECT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&empty[0]), 1);
  EXPECT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&empty[0]), 1) << "the same directory takes one slot";
  for (size_t i = 1; i < empty.size(); ++i) {
    EXPECT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&empty[i]), 1) << i;
  }
  EXPECT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&kTtf), 0);
}

// Reading as on every file system is tested with the local one; here what is builtin's own.
TEST_F(BuiltinDirectoryMatching, SeeksAreClampedAndOnlyReadingIsSupported) {
  ASSERT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&kTtf), 1);
  OmbrixHalFileHandle file = OmbrixHalFileOpen("//builtin/fonts/ttf/a.ttf", "r");
  ASSERT_NE(file, nullptr);
  // A seek beyond the end is clamped to it. Kept: with no Eof slot every builtin file reports
  // the end; nothing to write or flush.
  EXPECT_EQ((std::array<int64_t, 5>{OmbrixHalFileSeek(file, 100, 1), OmbrixHalFileTell(file), OmbrixHalFileEof(file),
                                    OmbrixHalFileFlush(file), OmbrixHalFileWrite(file, "x", 1)}),
            (std::array<int64_t, 5>{1, 10, 1, 0, 0}));
  EXPECT_EQ(log.take(),
            (std::vector{info("OmbrixHalFileOpen", "File opened in mode 'r': '//builtin/fonts/ttf/a.ttf'", 0x3012),
                         warning("OmbrixHalFileWrite", "Function not supported: 'OmbrixHalFileWrite'", 0x2001)}));
  EXPECT_EQ(OmbrixHalFileClose(file), 1);
}

}  // namespace
}  // namespace ombrixhal::test
