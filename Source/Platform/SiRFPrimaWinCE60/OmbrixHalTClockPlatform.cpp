// Device clock table: GetTickCount, which wraps at 2^32; no hardware clock to set.
#include <windows.h>

#include "OmbrixHalClock.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

uint32_t getTicks(void) noexcept {
  return GetTickCount();
}

uint32_t getTicksOverflow(void) noexcept {
  return 0;
}

void setUtcTime(OmbrixHalDateTime /*aUtcTime*/) noexcept {}

constexpr OmbrixHalClockPlatformInterface kClockPlatform = {
    .Init = nullptr,
    .Done = nullptr,
    .GetTicks = getTicks,
    .GetTicksOverflow = getTicksOverflow,
    .SetUtcTime = setUtcTime,
};

}  // namespace

OmbrixHalBool OmbrixHalClockPlatformGetInterface(OmbrixHalClockPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kClockPlatform);
}
