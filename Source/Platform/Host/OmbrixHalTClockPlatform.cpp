// Host clock table: a monotonic millisecond counter cut to 32 bits, so that it wraps at
// 2^32 like the device's tick counter; no hardware clock to set.
#include <chrono>

#include "OmbrixHalClock.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

uint32_t getTicks(void) noexcept {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count());
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
