// Tests of the polled timers on a fake tick counter.
#include <algorithm>
#include <array>

#include "OmbrixHalFakeClock.h"

namespace ombrixhal::test {
namespace {

using TimerPool = FakeClockTest;

TEST_F(TimerPool, ThirtyFirstOpenFailsANullTimerIsExpiredAndAReopenedTimerKeepsItsState) {
  std::vector<OmbrixHalTimerHandle> timers(OMBRIX_HAL_TIMER_COUNT);
  std::generate(timers.begin(), timers.end(), OmbrixHalTimerOpen);
  ASSERT_EQ(std::count(timers.begin(), timers.end(), nullptr), 0);
  EXPECT_TRUE(std::is_sorted(timers.begin(), timers.end(), std::less<>())) << "handed out in pool order";
  EXPECT_EQ(OmbrixHalTimerOpen(), nullptr);
  EXPECT_EQ(OmbrixHalTimerIsExpired(nullptr), 1);
  OmbrixHalTimerReset(nullptr, 10);
  OmbrixHalTimerClose(nullptr);
  EXPECT_EQ(log.take(), (std::vector{error("OmbrixHalTimerOpen", "Cannot open timer."),
                                     info("OmbrixHalTimerIsExpired", "timer 'This' is NULL --> Timer is expired")}));
  OmbrixHalTimerReset(timers[0], 0);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timers[0]), 1) << "duration 0 expires at the first look";
  OmbrixHalTimerReset(timers[7], 10);
  OmbrixHalTimerReset(timers[8], 1000);
  FakeClock::setTicks(10);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timers[7]), 1);
  OmbrixHalTimerClose(timers[8]);
  OmbrixHalTimerClose(timers[7]);
  // The first free entries are taken, in order.
  ASSERT_EQ((std::array{OmbrixHalTimerOpen(), OmbrixHalTimerOpen()}), (std::array{timers[7], timers[8]}));
  // Open clears nothing: judged afresh, the first would not be expired and the second would.
  FakeClock::setTicks(5);
  EXPECT_EQ((std::array{OmbrixHalTimerIsExpired(timers[7]), OmbrixHalTimerIsExpired(timers[8])}), (std::array{1, 0}));
}

using TimerExpiry = FakeClockTest;

TEST_F(TimerExpiry, ExpiresOnceTheDurationHasPassedAndStaysExpiredUntilReset) {
  // {counter wrap (0: at 2^32), ticks at Reset, duration, ticks still short of it, ticks at expiry}
  const uint32_t cases[][5] = {
      {0, 5000, 2000, 6999, 7000},
      {0, 0xffffff00u, 1024, 0x100, 0x300},  // one wrap bridged: 512 ms, then 1024 ms
      {0, 100, 0xffffffffu, 50, 20},         // a second wrap expires it outright
      {10000, 9000, 2000, 500, 1000},        // the counter's own wrap: 1000 ms to it, then 500
  };
  OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
  for (const auto& [wrap, start, duration, shortOfIt, expiry] : cases) {
    SCOPED_TRACE(testing::Message() << "wrap " << wrap << ", start " << start);
    FakeClock::setWrap(wrap);
    FakeClock::setTicks(start);
    OmbrixHalTimerReset(timer, duration);
    FakeClock::setTicks(shortOfIt);
    EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 0);
    FakeClock::setTicks(expiry);
    EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);
    FakeClock::setTicks(shortOfIt);
    EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);
    OmbrixHalTimerReset(timer, duration);
    EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 0);
  }
  OmbrixHalTimerClose(timer);
}

TEST_F(TimerExpiry, TimersPolledOnSeveralThreadsRunIndependently) {
  // Opened and armed here: Open takes no lock, so threads that open at once may share an entry.
  OmbrixHalTimerHandle timers[4];
  for (uint32_t index = 0; index < 4; ++index) {
    timers[index] = OmbrixHalTimerOpen();
    OmbrixHalTimerReset(timers[index], (index + 1) * 1000);
  }
  FakeClock::setTicks(2500);
  OmbrixHalBool expired[4] = {};
  runOnThreads(4, [&](int index) {
    for (int poll = 0; poll < 1000; ++poll) {
      expired[index] = OmbrixHalTimerIsExpired(timers[index]);
    }
  });
  EXPECT_EQ(std::vector(expired, expired + 4), (std::vector<OmbrixHalBool>{1, 1, 0, 0}));
}

}  // namespace
}  // namespace ombrixhal::test
