// Tests of the version checks: which header versions start the library, and what a caller
// requiring a version and variant is told. The banner in the library file has a check of its own.
#include <cstring>
#include <tuple>
#include <utility>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

TEST(VersionHeaderCheck, OnlyWellFormedVersionsFrom130To13004AreCompatible) {
  for (const char* version :
       {"1.30", "1.30.0", "1.30.04", "1.30.4", "1.30.04-AB", "1.30-", "1.30.1-ABCDEFGHIJ", "01.030.004"}) {
    EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(version), 1) << version;
  }
  for (const char* version : {"1", "1.29", "1.29.99", "1.30.05", "1.31", "0.30.04"}) {
    EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(version), 0) << version;
  }
  // "4294967297.30" would pass as 1.30 if the first number wrapped around.
  for (const char* text : {"1.30.04.1", "1.30.04.", "1.30a", "", "1..30", ".1", "1.", "-AB", "1.30-ABCDEFGHIJK",
                           "1.30-A-B", "1.30 ", " 1.30", "4294967296.0", "4294967297.30", "1.4294967326"}) {
    EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(text), 0) << '"' << text << '"';
  }
  EXPECT_EQ(OmbrixHalVersionCheckHeaderVersion(nullptr), 0);
}

char buffer[96];

// Runs the check with the buffer pre-filled with '#', so untouched bytes stay visible. The
// frame's export forwards to the version module's, so this covers both.
OmbrixHalBool check(const char* aRequired, uint32_t aSize = sizeof buffer) {
  std::memset(buffer, '#', sizeof buffer);
  return OmbrixHalCheckVersion(aRequired, buffer, aSize);
}

TEST(VersionRequirement, SatisfiedVersionsLeaveTheBufferEmptyAndFailuresExplainThemselves) {
  EXPECT_STREQ(OmbrixHalGetVersion(), "1.30.04");
  const std::pair<const char*, const char*> cases[] = {
      {"1.30", ""},
      {"1.30.04-", ""},
      {"1.30.04.1", "OmbrixHal: Version format error '1.30.04.1'"},
      {"1.29.99", "OmbrixHal: Version conflict (required 1.29.99, current 1.30.04)"},
      {"1.30.05-A", "OmbrixHal: Version conflict (required 1.30.05-A, current 1.30.04)"},
      {"1.30.04-AB", "OmbrixHal: Variants do not match (required 1.30.04-AB, current 1.30.04)"},
  };
  for (const auto& [required, message] : cases) {
    EXPECT_EQ(check(required), message[0] == '\0' ? 1 : 0) << required;
    EXPECT_STREQ(buffer, message);
  }
}

TEST(VersionRequirement, MessageStaysWithinTheBufferAndIsAlwaysTerminated) {
  const std::tuple<const char*, uint32_t, std::string> cases[] = {
      {"1.31", 10, {"OmbrixHal\0#", 11}}, {"1.31", 1, {"\0#", 2}}, {"1.31", 0, "#"}, {nullptr, sizeof buffer, "#"}};
  for (const auto& [required, size, start] : cases) {
    EXPECT_EQ(check(required, size), 0) << size;
    EXPECT_EQ(std::string(buffer, start.size()), start) << size;
  }
  EXPECT_EQ(OmbrixHalCheckVersion("1.30", nullptr, 10), 0);
}

}  // namespace
}  // namespace ombrixhal::test
