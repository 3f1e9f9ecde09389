// Tests of the local file system, and of the reading contract that it shares with the
// builtin one, through the file layer on scratch files below the working directory.
#include <filesystem>
#include <fstream>
#include <set>
#include <tuple>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

namespace fs = std::filesystem;

const fs::path kScratch = "file-local-scratch";
const uint8_t kDigits[] = "0123456789";
const OmbrixHalFileBuiltinFile kFiles[] = {{10, kDigits, "digits"}, {0, kDigits, "empty"}};
const OmbrixHalFileBuiltinDirectory kDirectory = {"file-local-scratch", 2, kFiles};

// Kept: success is reported exactly when the platform call returns zero, which the device's
// DeleteFileW and MoveFileW do when they fail.
#if defined(_WIN32)
constexpr OmbrixHalBool kDoneResult = 0;
#else
constexpr OmbrixHalBool kDoneResult = 1;
#endif

void writeFile(const fs::path& path, const std::string& contents) { std::ofstream(path, std::ios::binary) << contents; }
std::string local(const std::string& name) { return "//local/" + kScratch.string() + name; }

// What one read of up to `size` bytes gives.
std::string readText(OmbrixHalFileHandle file, uint32_t size) {
  char buffer[16];
  return std::string(buffer, OmbrixHalFileRead(file, buffer, size));
}

// The same files, "digits" and "empty", in the builtin directory and on disk.
class FileSystemTest : public HalTest, public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    fs::remove_all(kScratch);
    fs::create_directories(kScratch / "sub");
    writeFile(kScratch / "digits", "0123456789");
    writeFile(kScratch / "empty", "");
    ASSERT_EQ(OmbrixHalFileBuiltinRegisterDirectory(&kDirectory), 1);
  }
  void TearDown() override {
    fs::remove_all(kScratch);
    HalTest::TearDown();
  }
  std::string path(const std::string& name) const { return GetParam() + kScratch.string() + name; }
};

using FileSystemReading = FileSystemTest;

TEST_P(FileSystemReading, ReadsSeeksAndTellsAlikeAndMissingFilesAndDirectoriesDoNotOpen) {
  OmbrixHalFileHandle file = OmbrixHalFileOpen(path("/digits").c_str(), "rb");
  ASSERT_NE(file, nullptr);
  // Four read, two skipped, a seek before the start refused; three left from the end, then none.
  EXPECT_EQ((std::tuple{readText(file, 4), OmbrixHalFileSeek(file, 2, 1), OmbrixHalFileTell(file),
                        OmbrixHalFileSeek(file, -1, 0), OmbrixHalFileSeek(file, -3, 2), readText(file, 8),
                        readText(file, 8), OmbrixHalFileEof(file) != 0, OmbrixHalFileClose(file)}),
            (std::tuple{"0123", 1, 6, 0, 1, "789", "", true, 1}));
  file = OmbrixHalFileOpen(path("/empty").c_str(), "r");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(readText(file, 8), "");
  EXPECT_EQ(OmbrixHalFileClose(file), 1);
  for (const std::string& name : {std::string("/missing"), std::string("/sub"), "/" + std::string(256, 'n')}) {
    EXPECT_EQ(OmbrixHalFileOpen(path(name).c_str(), "r"), nullptr) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(BothFileSystems, FileSystemReading, ::testing::Values("//builtin/", "//local/"),
                         [](const auto& info) { return std::string(info.param[2] == 'b' ? "Builtin" : "Local"); });

using LocalFileSystem = FileSystemTest;

TEST_F(LocalFileSystem, StandardPairIsRegisteredOpensAreLoggedAndRemoveAndRenameReportTheirPlatformCallsZero) {
  OmbrixHalFileDone();
  EXPECT_EQ(OmbrixHalFileInit(), 0) << "kept: the local file system has no Init";
  // The longest name a file may have, relative to the working directory.
  const std::string longName(255, 'n');
  OmbrixHalFileHandle file = OmbrixHalFileOpen(("//local/" + longName).c_str(), "wb");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(log.lines().front(),
            info("OmbrixHalFileLocalOpen", "Open file: " + longName.substr(0, 242) + "...", 0x3012));
  EXPECT_EQ(OmbrixHalFileWrite(file, "abc", 3), 3u);
  EXPECT_EQ(OmbrixHalFileFlush(file), 1);
  EXPECT_EQ(OmbrixHalFileClose(file), 1);
  EXPECT_EQ(fs::file_size(longName), 3u);
  fs::remove(longName);
  EXPECT_EQ(OmbrixHalFileVolumeMount("//local/"), 1);
  EXPECT_EQ(OmbrixHalFileRename(local("/digits").c_str(), "moved"), kDoneResult);
  EXPECT_TRUE(fs::exists(kScratch / "moved"));
  EXPECT_EQ(OmbrixHalFileRemove(local("/moved").c_str()), kDoneResult);
  EXPECT_FALSE(fs::exists(kScratch / "moved"));
  EXPECT_EQ(OmbrixHalFileRemove(local("/moved").c_str()), 1 - kDoneResult);
}

// Kept: past the last file Next finds it again, so callers stop on their own. Only plain
// files here: a step that ends on a directory would be stepped past without end. First skips
// dots and directories, and finds nothing in a missing directory.
TEST_F(LocalFileSystem, IteratorFindsPlainFilesThenRepeatsTheLastAndFirstSkipsDotsAndDirectories) {
  // A directory path is cut to 195 characters before "/*.*".
  const std::string deep = (kScratch / std::string(176, 'd')).generic_string();
  ASSERT_EQ(deep.size(), 195u);
  fs::create_directory(deep);
  writeFile(deep + "/digits", "0123456789");
  writeFile(deep + "/empty", "");
  OmbrixHalFileIteratorHandle iterator = OmbrixHalFileIteratorOpen(("//local/" + deep + "/ignored").c_str());
  ASSERT_EQ(OmbrixHalFileIteratorFirst(iterator), 1);
  std::vector<std::string> seen;
  for (int step = 0; step < 4; ++step) {
    char name[256];
    OmbrixHalFileSize size{};
    ASSERT_EQ(OmbrixHalFileIteratorGetFileName(iterator, name, sizeof name), 1);
    ASSERT_EQ(OmbrixHalFileIteratorGetFileSize(iterator, &size), 1);
    EXPECT_EQ(size.Low, std::string(name) == "digits" ? 10u : 0u) << name;
    seen.emplace_back(name);
    EXPECT_EQ(OmbrixHalFileIteratorNext(iterator), 1);
  }
  EXPECT_EQ((std::set<std::string>{seen[0], seen[1]}), (std::set<std::string>{"digits", "empty"}));
  EXPECT_EQ((std::vector{seen[2], seen[3]}), (std::vector{seen[1], seen[1]})) << "the last repeats";
  EXPECT_EQ(OmbrixHalFileIteratorClose(iterator), 1);
  // Removed by name: under Wine a listing fails once the absolute path passes 260 characters,
  // and how deep the working directory lies is the checkout's choice.
  for (const char* name : {"/digits", "/empty", ""}) fs::remove(deep + name);
  writeFile(kScratch / "sub" / "inner", "x");
  fs::create_directory(kScratch / "sub" / "deeper");
  for (const auto& [directory, name] : {std::pair{"/sub", "inner"}, std::pair{"/missing", ""}}) {
    iterator = OmbrixHalFileIteratorOpen(local(directory).c_str());
    char found[256] = "";
    EXPECT_EQ(OmbrixHalFileIteratorFirst(iterator), *name != '\0' ? 1 : 0) << directory;
    EXPECT_EQ(OmbrixHalFileIteratorGetFileName(iterator, found, sizeof found), 1);
    EXPECT_STREQ(found, name);
    EXPECT_EQ(OmbrixHalFileIteratorClose(iterator), 1);
  }
}

}  // namespace
}  // namespace ombrixhal::test
