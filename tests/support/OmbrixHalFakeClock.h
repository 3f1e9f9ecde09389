// A tick counter that tests set and advance, put in place of the clock's platform table,
// so that timeouts, wraps and overruns cost no real time.
#ifndef OMBRIX_HAL_FAKE_CLOCK_H
#define OMBRIX_HAL_FAKE_CLOCK_H

#include <atomic>
#include <cstdint>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {

class FakeClock {
 public:
  static void setTicks(uint32_t ticks) { ticks_ = ticks; }
  static void advance(uint32_t milliseconds) { ticks_ += milliseconds; }
  static uint32_t ticks() { return ticks_; }
  // Where the counter wraps back to 0; 0 means at 2^32.
  static void setWrap(uint32_t wrap) { wrap_ = wrap; }
  // Values the clock handed to the platform's set UTC time slot.
  static std::vector<uint32_t> hardwareClockSets;

  static OmbrixHalBool getInterface(OmbrixHalClockPlatformInterface* aInterface) noexcept;

 private:
  static std::atomic<uint32_t> ticks_;
  static std::atomic<uint32_t> wrap_;
};

// HalTest on the fake clock, starting at tick 0 with a counter that wraps at 2^32.
class FakeClockTest : public HalTest {
 protected:
  FakeClockTest() {
    FakeClock::setTicks(0);
    FakeClock::setWrap(0);
    FakeClock::hardwareClockSets.clear();
  }

 private:
  ScopedPlatformInterface<OmbrixHalClockPlatformInterface> fakeClock_{seam::clockPlatformGetInterface,
                                                                      FakeClock::getInterface};
};

}  // namespace ombrixhal::test

#endif
