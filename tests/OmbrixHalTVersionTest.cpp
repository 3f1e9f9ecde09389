// Tests of the version checks: which header versions start the library, what a caller
// requiring a version and variant is told, and the banner kept in the library file.
#include <cstdint>
#include <cstring>
#include <regex>
#include <string>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

using VersionHeaderCheck = LoggedTest;

TEST_F(VersionHeaderCheck, VersionsFrom130To13004AreCompatible) {
  for (const char* version : {"1.30", "1.30.0", "1.30.00", "1.30.04", "1.30.4", "1.30.04-AB", "1.30-",
                              "1.30.1-ABCDEFGHIJ", "01.030.004"}) {
    EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(version), 1) << version;
  }
}

TEST_F(VersionHeaderCheck, VersionsOutsideTheRangeAreIncompatible) {
  for (const char* version : {"1", "1.29", "1.29.99", "1.30.05", "1.31", "2.0", "0.30.04", "4294967295.0"}) {
    EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(version), 0) << version;
  }
}

TEST_F(VersionHeaderCheck, TextsThatAreNoVersionAreRefused) {
  // "4294967297.30" would pass as 1.30 if the first number wrapped around.
  for (const char* text : {"1.30.04.1", "1.30.04.", "1.30a", "", "1..30", ".1", "1.", "1.30.", "-AB",
                           "1.30-ABCDEFGHIJK", "1.30-AB1", "1.30-A-B", "1.30 ", " 1.30", "4294967296.0",
                           "4294967297.30", "1.4294967326", "v1.30"}) {
    EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(text), 0) << '"' << text << '"';
  }
  EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(nullptr), 0);
}

using CheckVersionFunction = OmbrixHalBool (*)(const char*, char*, uint32_t);

// The version module's own export and the frame's forward must behave alike.
class VersionRequirement : public LoggedTest, public ::testing::WithParamInterface<CheckVersionFunction> {
 protected:
  // Runs the check with a buffer pre-filled with '#', so untouched bytes stay visible.
  OmbrixHalBool check(const char* aRequired, uint32_t aSize = sizeof buffer) {
    std::memset(buffer, '#', sizeof buffer);
    return GetParam()(aRequired, buffer, aSize);
  }

  char buffer[96];
};

TEST_P(VersionRequirement, SatisfiedVersionsReturnOneAndLeaveTheBufferEmpty) {
  for (const char* required : {"1.30", "1.30.0", "1.30.04", "1.30.4", "1.30.04-"}) {
    EXPECT_EQ(check(required), 1) << required;
    EXPECT_STREQ(buffer, "") << required;
  }
}

TEST_P(VersionRequirement, EachFailureIsExplainedInItsOwnWords) {
  struct Case {
    const char* required;
    const char* message;
  };
  const Case cases[] = {
      {"1.30a", "OmbrixHal: Version format error '1.30a'"},
      {"", "OmbrixHal: Version format error ''"},
      {"1.30.04.1", "OmbrixHal: Version format error '1.30.04.1'"},
      {"1.30-ABCDEFGHIJK", "OmbrixHal: Version format error '1.30-ABCDEFGHIJK'"},
      {"1.31", "OmbrixHal: Version conflict (required 1.31, current 1.30.04)"},
      {"1.29.99", "OmbrixHal: Version conflict (required 1.29.99, current 1.30.04)"},
      {"1.30.05-A", "OmbrixHal: Version conflict (required 1.30.05-A, current 1.30.04)"},
      {"1.30-A", "OmbrixHal: Variants do not match (required 1.30-A, current 1.30.04)"},
      {"1.30.04-AB", "OmbrixHal: Variants do not match (required 1.30.04-AB, current 1.30.04)"},
  };
  for (const Case& failing : cases) {
    EXPECT_EQ(check(failing.required), 0) << failing.required;
    EXPECT_STREQ(buffer, failing.message);
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST_P(VersionRequirement, MessageIsCutToTheBufferAndAlwaysTerminated) {
  EXPECT_EQ(check("1.31", 10), 0);
  EXPECT_EQ(std::string(buffer, 11), std::string("OmbrixHal\0#", 11));

  EXPECT_EQ(check("1.31", 1), 0);
  EXPECT_EQ(std::string(buffer, 2), std::string("\0#", 2));

  const std::string message = "OmbrixHal: Version conflict (required 1.31, current 1.30.04)";
  EXPECT_EQ(check("1.31", static_cast<uint32_t>(message.size() + 1)), 0);
  EXPECT_EQ(std::string(buffer, message.size() + 2), message + std::string("\0#", 2));
}

TEST_P(VersionRequirement, MissingArgumentsOrSizeZeroReturnZeroAndWriteNothing) {
  EXPECT_EQ(check(nullptr), 0);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(check("1.30", 0), 0);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(check("1.31", 0), 0);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(GetParam()("1.30", nullptr, 10), 0);
}

INSTANTIATE_TEST_SUITE_P(Exports, VersionRequirement,
                         ::testing::Values(&OmbrixHalVersionCheckVersion, &OmbrixHalCheckVersion),
                         [](const ::testing::TestParamInfo<CheckVersionFunction>& info) {
                           return std::string(info.param == &OmbrixHalCheckVersion ? "Frame" : "Version");
                         });

using VersionIdentity = LoggedTest;

TEST_F(VersionIdentity, BothExportsReportTheLibraryVersion) {
  EXPECT_STREQ(OmbrixHalVersionGetVersion(), "1.30.04");
  EXPECT_STREQ(OmbrixHalGetVersion(), "1.30.04");
}

TEST_F(VersionIdentity, BannerCarriesTheVersionAndTheBuildDate) {
  ASSERT_NE(seam::versionBanner, nullptr);
  const std::regex banner(
      "Ombrix Hal Version 1\\.30\\.04 (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) ( [1-9]|[12][0-9]|3[01]) "
      "[0-9]{4}");
  EXPECT_TRUE(std::regex_match(seam::versionBanner, banner)) << '"' << seam::versionBanner << '"';
}

}  // namespace
}  // namespace ombrixhal::test
