// Tests of the console: output goes to the platform's print slot, and without one the
// caller gets -1.
#include <cstdarg>
#include <cstdio>
#include <string>

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

OmbrixHalBool recordingConsole(OmbrixHalConsolePlatformInterface* aInterface) noexcept {
  aInterface->Print = recordingPrint;
  return 1;
}

OmbrixHalBool consoleWithoutSlots(OmbrixHalConsolePlatformInterface*) noexcept {
  return 1;
}

using ConsolePrint = HalTest;

TEST_F(ConsolePrint, ReturnsThePlatformsResultForTheFormattedText) {
  ScopedPlatformInterface<OmbrixHalConsolePlatformInterface> console(seam::consolePlatformGetInterface,
                                                                     recordingConsole);
  restart();
  printed.clear();
  EXPECT_EQ(OmbrixHalConsolePrint("tuner %s at %d kHz\n", "DVB-T", int32_t{650000}), 26);
  EXPECT_EQ(OmbrixHalConsolePrint("%d%%", int32_t{-5}), 3);
  EXPECT_EQ(printed, "tuner DVB-T at 650000 kHz\n-5%");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ConsolePrint, ReturnsMinusOneWithoutAPrintSlot) {
  ScopedPlatformInterface<OmbrixHalConsolePlatformInterface> console(seam::consolePlatformGetInterface,
                                                                     consoleWithoutSlots);
  restart();
  EXPECT_EQ(OmbrixHalConsolePrint("lost %d", int32_t{1}), -1);
}

using ConsoleLifecycle = LoggedTest;

TEST_F(ConsoleLifecycle, ReturnsMinusOneBeforeInitAndAfterDone) {
  ScopedPlatformInterface<OmbrixHalConsolePlatformInterface> console(seam::consolePlatformGetInterface,
                                                                     recordingConsole);
  printed.clear();
  EXPECT_EQ(OmbrixHalConsolePrint("before"), -1);

  const OmbrixHalInitParameter parameter = {1, 1};
  ASSERT_EQ(OmbrixHalInit(&parameter), 1);
  EXPECT_EQ(OmbrixHalConsolePrint("up"), 2);
  ASSERT_EQ(OmbrixHalDone(), 1);

  EXPECT_EQ(OmbrixHalConsolePrint("after"), -1);
  EXPECT_EQ(printed, "up");
}

}  // namespace
}  // namespace ombrixhal::test
