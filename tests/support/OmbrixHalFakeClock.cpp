// The fake tick counter behind FakeClockTest.
#include "OmbrixHalFakeClock.h"

namespace ombrixhal::test {

std::atomic<uint32_t> FakeClock::ticks_{0};
std::atomic<uint32_t> FakeClock::wrap_{0};
std::vector<uint32_t> FakeClock::hardwareClockSets;

OmbrixHalBool FakeClock::getInterface(OmbrixHalClockPlatformInterface* aInterface) noexcept {
  *aInterface = OmbrixHalClockPlatformInterface{
      .Init = nullptr,
      .Done = nullptr,
      .GetTicks = [] { return ticks_.load(); },
      .GetTicksOverflow = [] { return wrap_.load(); },
      .SetUtcTime = [](OmbrixHalDateTime aUtcTime) { hardwareClockSets.push_back(aUtcTime); },
  };
  return 1;
}

}  // namespace ombrixhal::test
