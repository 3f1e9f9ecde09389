// Tests of the file layer over a recording fake file system: prefix routing, handle
// wrapping, registration, file history, rename targets, iterators and volumes.
#include <array>
#include <cstdio>
#include <tuple>

#include "OmbrixHalFakeClock.h"

namespace ombrixhal::test {
namespace {

constexpr const char* kOpen = "OmbrixHalFileOpen";
constexpr const char* kRemove = "OmbrixHalFileRemove";
constexpr const char* kRename = "OmbrixHalFileRename";

// The logger cuts a text that reaches 256 characters to 253 and "...".
std::string logged(const std::string& text) { return text.size() < 256 ? text : text.substr(0, 253) + "..."; }

// What the fake file system was asked, in order, and what its next Remove/Rename returns.
std::vector<std::string> calls;
OmbrixHalBool slotResult = 1;

OmbrixHalBool recordCall(const std::string& call) {
  calls.push_back(call);
  return slotResult;
}

OmbrixHalFileInterface fakeInterface(const char* aPrefix) {
  OmbrixHalFileInterface record{};
  std::snprintf(record.Prefix, sizeof record.Prefix, "%s", aPrefix);
  record.Init = [](OmbrixHalFileInterface*) noexcept -> OmbrixHalBool { return 1; };
  record.Open = [](const char* aPath, const char* aMode) noexcept -> void* {
    recordCall(std::string("Open ") + aPath + " " + aMode);
    return std::string(aPath) == "missing" ? nullptr : &calls;
  };
  record.Close = [](void*) noexcept -> OmbrixHalBool { return 7; };
  record.Write = [](void*, const void*, uint32_t aSize) noexcept { return aSize > 2 ? aSize - 1 : aSize; };
  record.Seek = [](void*, int32_t aOffset, int32_t aOrigin) noexcept {
    return recordCall("Seek " + std::to_string(aOffset) + " " + std::to_string(aOrigin));
  };
  record.Remove = [](const char* aPath) noexcept { return recordCall(std::string("Remove ") + aPath); };
  record.Rename = [](const char* aOld, const char* aNew) noexcept {
    return recordCall(std::string("Rename ") + aOld + " " + aNew);
  };
  record.IteratorOpen = [](const char*) noexcept -> void* { return &calls; };
  record.IteratorFirst = [](void*) noexcept -> OmbrixHalBool { return 1; };
  record.VolumeMount = [](const char*) noexcept -> OmbrixHalBool { return 1; };
  return record;
}

class FileTest : public FakeClockTest {
 protected:
  void SetUp() override {
    FakeClockTest::SetUp();
    calls.clear();
    slotResult = 1;
    const OmbrixHalFileInterface fake = fakeInterface("//fake/");
    ASSERT_EQ(OmbrixHalFileRegisterFileInterface(&fake), 1);
  }
};

using FilePrefixRouting = FileTest;

TEST_F(FilePrefixRouting, OpenWithoutAMatchingPrefixFailsWithTheReason) {
  const std::vector<std::pair<const char*, LogLine>> cases = {
      {"//fake", error(kOpen, "Cannot open file: file system not found for '//fake'", 0x1015)},
      {"//other/x", error(kOpen, "Cannot open file: file system not found for '//other/x'", 0x1015)},
      {"/fake/x", error(kOpen, "Cannot open file: missing file prefix for '/fake/x'", 0x1014)},
      {"fake/x", error(kOpen, "Cannot open file: missing file prefix for 'fake/x'", 0x1014)},
      {"//fake/missing", error(kOpen, "Cannot open file in mode 'rb': '//fake/missing'", 0x1016)},
  };
  for (const auto& [path, line] : cases) {
    EXPECT_EQ(OmbrixHalFileOpen(path, "rb"), nullptr) << path;
    EXPECT_EQ(log.take(), std::vector{line}) << path;
  }
}

TEST_F(FilePrefixRouting, FileAndIteratorCallsReachTheOpeningFileSystemAndNullHandlesGiveTheDefaults) {
  OmbrixHalFileHandle file = OmbrixHalFileOpen("//fake/a.ts", "w");
  ASSERT_NE(file, nullptr);
  char buffer[4];
  // Origin 3 is refused before the call, a negative one is passed through; the fake has no Read,
  // Tell, Eof or Flush slot; a handle closed already is ignored, quietly; then NULL handles.
  EXPECT_EQ((std::vector<int64_t>{OmbrixHalFileWrite(file, "abc", 3), OmbrixHalFileSeek(file, 5, 3),
                                  OmbrixHalFileSeek(file, 5, -1), OmbrixHalFileRead(file, buffer, 4),
                                  OmbrixHalFileTell(file), OmbrixHalFileEof(file), OmbrixHalFileFlush(file),
                                  OmbrixHalFileClose(file), OmbrixHalFileClose(file), OmbrixHalFileClose(nullptr),
                                  OmbrixHalFileTell(nullptr), OmbrixHalFileEof(nullptr)}),
            (std::vector<int64_t>{2, 0, 1, 0, -1, 1, 0, 7, 0, 1, -1, 1}));
  EXPECT_EQ(calls, (std::vector<std::string>{"Open a.ts w", "Seek 5 -1"}));
  // Kept: without a close slot an iterator's handle is not freed.
  OmbrixHalFileIteratorHandle iterator = OmbrixHalFileIteratorOpen("//fake/dir");
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ((std::array{OmbrixHalFileIteratorFirst(iterator), OmbrixHalFileIteratorNext(iterator),
                        OmbrixHalFileIteratorClose(iterator), OmbrixHalFileVolumeUnmount("//fake/")}),
            (std::array<OmbrixHalBool, 4>{1, 0, 0, 0}));
  OmbrixHalMemoryFree(iterator);
  EXPECT_EQ(OmbrixHalFileIteratorOpen("//none/dir"), nullptr);
  EXPECT_EQ(OmbrixHalFileOpen("//fake/a", nullptr), nullptr);
  OmbrixHalFileDone();
  EXPECT_EQ(OmbrixHalFileOpen("//fake/a", "r"), nullptr) << "not before Init";
  EXPECT_EQ(log.lines(),
            (std::vector{info(kOpen, "File opened in mode 'w': '//fake/a.ts'", 0x3012),
                         error("OmbrixHalFileWrite", "File write error: 2 of 3 bytes written"),
                         warning("OmbrixHalFileRead", "Function not supported: 'OmbrixHalFileRead'", 0x2001),
                         info("OmbrixHalFileClose", "File closed", 0x3013),
                         nullValue("OmbrixHalFileClose", "This"), nullValue(kOpen, "aMode"),
                         error(kOpen, "OmbrixHalInit() has not been called, yet!", 0x101b)}));
}

using FileRegistration = FileTest;

// Kept: without Init the walk also appends, so two entries share the prefix; history goes
// to the first, while Remove takes the last. The eleventh entry is refused.
TEST_F(FileRegistration, ReRegistrationWithoutInitAppendsAndTenIsTheLimit) {
  OmbrixHalFileInterface record = fakeInterface("//dup/");
  record.Init = nullptr;
  EXPECT_EQ((std::array{OmbrixHalFileRegisterFileInterface(&record), OmbrixHalFileRegisterFileInterface(&record),
                        OmbrixHalFileEnableFileHistory("//dup/x", 1), OmbrixHalFileRemove("//dup/a.ts")}),
            (std::array<OmbrixHalBool, 4>{0, 0, 1, 1}));
  EXPECT_EQ(calls, std::vector<std::string>{"Remove a.ts"});
  // builtin, local, fake and two of dup: five more fit.
  for (int i = 0; i < 6; ++i) {
    const OmbrixHalFileInterface next = fakeInterface(("//f" + std::to_string(i) + "/").c_str());
    EXPECT_EQ(OmbrixHalFileRegisterFileInterface(&next), i < 5 ? 1 : 0) << i;
  }
  EXPECT_EQ((std::array{OmbrixHalFileVolumeMount("//f4/x"), OmbrixHalFileVolumeMount("//f5/x"),
                        OmbrixHalFileRegisterFileInterface(nullptr)}),
            (std::array<OmbrixHalBool, 3>{1, 0, 0}));
}

using FileRemove = FileTest;

// With history on, Remove renames to the name with the UTC time instead: a name too long removes
// nothing, and a failed rename keeps the file. The answer is the fake's; the call succeeds
// exactly when its line is an info.
TEST_F(FileRemove, RemovesOrRenamesToTheUtcTimeStampedNameAndNamesTheReasonOfAFailure) {
  OmbrixHalFileInterface readOnly = fakeInterface("//ro/");
  readOnly.Remove = nullptr;
  readOnly.Rename = nullptr;
  const OmbrixHalFileInterface plain = fakeInterface("//plain/");
  ASSERT_EQ(sumInOrder({OmbrixHalFileRegisterFileInterface(&readOnly),
                        OmbrixHalFileRegisterFileInterface(&plain)}), 2);
  OmbrixHalClockSetUtcTime(1235909109);  // 2009-03-01T12:05:09
  ASSERT_EQ(OmbrixHalFileEnableFileHistory("//fake/", 1), 1);
  log.clear();
  using Case = std::tuple<std::string, OmbrixHalBool, std::string, LogLine>;  // path, the fake's answer, its call
  const auto history = [](const std::string& path, const std::string& name) {
    const std::string text = "Generated file history: '//fake/" + path + "' -> '" + name + "'";
    return Case{"//fake/" + path, 1, "Rename " + path + " " + name, info(kRemove, logged(text))};
  };
  const std::string name230(230, 'n'), name231 = "//fake/" + std::string(231, 'n');
  const Case cases[] = {
      history("rec/a.ts", "rec/a_2009-03-01T12-05-09.ts"),
      history("a.b/file", "a_2009-03-01T12-05-09.b/file"),
      history("noext", "noext_2009-03-01T12-05-09"),
      history(name230, name230 + "_2009-03-01T12-05-09"),
      {name231, 1, "", error(kRemove, logged("Cannot rename instead remove: name too long '" + name231 + "'"))},
      {"//fake/a", 0, "Rename a a_2009-03-01T12-05-09",
       error(kRemove, "Cannot generate file history: '//fake/a' -> 'a_2009-03-01T12-05-09'")},
      {"//plain/a", 1, "Remove a", info(kRemove, "Removed file successfully: '//plain/a'")},
      {"//plain/a", 0, "Remove a", error(kRemove, "Cannot remove file: '//plain/a'")},
      {"a", 1, "", error(kRemove, "Cannot remove file: missing file prefix for 'a'")},
      {"//none/a", 1, "", error(kRemove, "Cannot remove file: function not supported for '//none/a'")},
      {"//ro/a", 1, "", error(kRemove, "Function 'OmbrixHalFileRemove' not supported for: '//ro/a'")},
  };
  for (const auto& [path, answer, call, line] : cases) {
    calls.clear();
    slotResult = answer;
    EXPECT_EQ(OmbrixHalFileRemove(path.c_str()), line.severity == OMBRIX_HAL_LOGGER_SEVERITY_INFO ? 1 : 0) << path;
    EXPECT_EQ(calls, call.empty() ? std::vector<std::string>{} : std::vector{call}) << path;
    EXPECT_EQ(log.take(), std::vector{line}) << path;
  }
  EXPECT_EQ(sumInOrder({OmbrixHalFileEnableFileHistory("a", 1), OmbrixHalFileEnableFileHistory("//ro/a", 1)}), 0);
  const char* kEnable = "OmbrixHalFileEnableFileHistory";
  EXPECT_EQ(log.lines(),
            (std::vector{error(kEnable, "Cannot remove file: missing file prefix for 'a'"),
                         error(kEnable, "Function 'OmbrixHalFileEnableFileHistory' not supported for '//ro/a'")}));
}

TEST_F(FileTest, RenameBuildsTheTargetInTheOldDirectory) {
  // The outcome is the fake's call when the rename goes through, else the logged reason.
  const std::vector<std::array<std::string, 3>> cases = {
      {"//fake/dir/a.ts", "b.ts", "Rename dir/a.ts dir/b.ts"},
      {"//fake/d\\a.ts", "b.ts", "Rename d\\a.ts d\\b.ts"},
      {"//fake/a.ts", "b.ts", "Rename a.ts b.ts"},
      {"//fake/d/a", "e/b", "Rename d/a e/b"},
      {"//fake/d/a", "//fake/e/b", "Rename d/a e/b"},
      {"//fake/d/a", "//fak2/b", "Cannot rename file: file interface prefixes do not match"},
      {"d/a", "b", "Cannot rename file: missing file prefix for 'd/a'"},
      {"//none/a", "b", "Cannot rename file: function not supported for '//none/a'"},
  };
  for (const auto& [oldName, newName, outcome] : cases) {
    calls.clear();
    const bool done = outcome.starts_with("Rename ");
    EXPECT_EQ(OmbrixHalFileRename(oldName.c_str(), newName.c_str()), done ? 1 : 0) << oldName;
    EXPECT_EQ(calls, done ? std::vector{outcome} : std::vector<std::string>{});
    const std::string renamed = "Renamed file successfully: '" + oldName + "' -> '" + newName + "'";
    EXPECT_EQ(log.take(), std::vector{done ? info(kRename, renamed) : error(kRename, outcome)});
  }
  // A file system that refuses, and no new name (which never reaches it).
  calls.clear();
  slotResult = 0;
  EXPECT_EQ(sumInOrder({OmbrixHalFileRename("//fake/a", "b"), OmbrixHalFileRename("//fake/a", nullptr)}), 0);
  EXPECT_EQ(calls, std::vector<std::string>{"Rename a b"});
  EXPECT_EQ(log.take(), (std::vector{error(kRename, "Cannot rename file: '//fake/a' -> 'b'"), nullValue(kRename, "aNewName")}));
}

}  // namespace
}  // namespace ombrixhal::test
