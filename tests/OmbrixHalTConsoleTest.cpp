// Tests of the console: output goes to the platform's print slot, and without one the
// caller gets -1.
#include <cstdarg>
#include <cstdio>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

std::string printed;

int32_t recordingPrint(const char* aFormat, va_list aArguments) noexcept {
  char text[128];
  const int length = std::vsnprintf(text, sizeof text, aFormat, aArguments);
  printed += text;
  return length;
}

using ConsolePrint = HalTest;

TEST_F(ConsolePrint, ReturnsThePlatformsResultAndMinusOneWithoutAPrintSlot) {
  OfferedPlatformInterface<OmbrixHalConsolePlatformInterface> offered(seam::consolePlatformGetInterface);
  offered.table.Print = recordingPrint;
  restart();
  printed.clear();
  EXPECT_EQ(OmbrixHalConsolePrint("tuner %s at %d kHz\n", "DVB-T", int32_t{650000}), 26);
  EXPECT_EQ(OmbrixHalConsolePrint("%d%%", int32_t{-5}), 3);
  ASSERT_EQ(OmbrixHalDone(), 1);
  EXPECT_EQ(OmbrixHalConsolePrint("after done"), -1);
  offered.table = {};
  restart();
  EXPECT_EQ(OmbrixHalConsolePrint("no slot %d", int32_t{1}), -1);
  EXPECT_EQ(printed, "tuner DVB-T at 650000 kHz\n-5%");
}

}  // namespace
}  // namespace ombrixhal::test
