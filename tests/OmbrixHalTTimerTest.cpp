// Tests of the polled timers on a fake tick counter.
#include <thread>
#include <vector>

#include "OmbrixHalFakeClock.h"

namespace ombrixhal::test {
namespace {

using TimerPool = FakeClockTest;

TEST_F(TimerPool, ThirtyFirstOpenFails) {
  std::vector<OmbrixHalTimerHandle> timers;
  for (int index = 0; index < OMBRIX_HAL_TIMER_COUNT; ++index) {
    timers.push_back(OmbrixHalTimerOpen());
    ASSERT_NE(timers.back(), nullptr);
  }
  EXPECT_EQ(OmbrixHalTimerOpen(), nullptr);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalTimerOpen", "Cannot open timer.")}));
  OmbrixHalTimerClose(timers[7]);
  EXPECT_EQ(OmbrixHalTimerOpen(), timers[7]) << "the first free entry is taken";
}

TEST_F(TimerPool, OpenClearsNothingOfThePreviousOwner) {
  OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
  OmbrixHalTimerReset(timer, 0);
  ASSERT_EQ(OmbrixHalTimerIsExpired(timer), 1);
  OmbrixHalTimerClose(timer);
  OmbrixHalTimerHandle again = OmbrixHalTimerOpen();
  ASSERT_EQ(again, timer);
  EXPECT_EQ(OmbrixHalTimerIsExpired(again), 1);
  OmbrixHalTimerReset(again, 10);
  EXPECT_EQ(OmbrixHalTimerIsExpired(again), 0);
}

TEST_F(TimerPool, NullHandleCountsAsExpiredAndIsOtherwiseIgnored) {
  EXPECT_EQ(OmbrixHalTimerIsExpired(nullptr), 1);
  OmbrixHalTimerReset(nullptr, 10);
  OmbrixHalTimerClose(nullptr);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalTimerIsExpired", "timer 'This' is NULL --> Timer is expired")}));
}

using TimerExpiry = FakeClockTest;

TEST_F(TimerExpiry, DurationZeroExpiresAtTheFirstLook) {
  OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
  OmbrixHalTimerReset(timer, 0);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);
  OmbrixHalTimerClose(timer);
}

TEST_F(TimerExpiry, ExpiresWhenTheDurationHasPassedAndStaysExpiredUntilReset) {
  FakeClock::setTicks(5000);
  OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
  OmbrixHalTimerReset(timer, 2000);
  FakeClock::advance(1999);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 0);
  FakeClock::advance(1);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);
  FakeClock::setTicks(5000);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);
  OmbrixHalTimerReset(timer, 2000);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 0);
  OmbrixHalTimerClose(timer);
}

TEST_F(TimerExpiry, OneWrapOfThe32BitCounterIsBridged) {
  FakeClock::setTicks(0xffffff00u);
  OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
  OmbrixHalTimerReset(timer, 1024);
  FakeClock::setTicks(0x100);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 0);  // 512 ms
  FakeClock::setTicks(0x300);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);  // 1024 ms
  OmbrixHalTimerClose(timer);
}

TEST_F(TimerExpiry, TwoWrapsOfThe32BitCounterExpireOutright) {
  FakeClock::setTicks(100);
  OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
  OmbrixHalTimerReset(timer, 0xffffffffu);
  FakeClock::setTicks(50);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 0);
  FakeClock::setTicks(20);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);
  OmbrixHalTimerClose(timer);
}

TEST_F(TimerExpiry, CounterWithItsOwnWrapValue) {
  FakeClock::setWrap(10000);
  FakeClock::setTicks(9000);
  OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
  OmbrixHalTimerReset(timer, 2000);
  FakeClock::setTicks(500);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 0);  // 1000 to the wrap, 500 after
  FakeClock::setTicks(1000);
  EXPECT_EQ(OmbrixHalTimerIsExpired(timer), 1);
  OmbrixHalTimerClose(timer);
}

TEST_F(TimerExpiry, TimersOfDifferentThreadsRunIndependently) {
  constexpr uint32_t kThreadCount = 4;
  std::vector<std::thread> threads;
  std::atomic<uint32_t> armedCount{0};
  std::atomic<uint32_t> expiredCount{0};
  for (uint32_t index = 0; index < kThreadCount; ++index) {
    threads.emplace_back([&armedCount, &expiredCount, index] {
      OmbrixHalTimerHandle timer = OmbrixHalTimerOpen();
      OmbrixHalTimerReset(timer, (index + 1) * 1000);
      ++armedCount;
      while (!OmbrixHalTimerIsExpired(timer)) {
        std::this_thread::yield();
      }
      ++expiredCount;
      OmbrixHalTimerClose(timer);
    });
  }
  while (armedCount < kThreadCount) {
    std::this_thread::yield();
  }
  for (uint32_t step = 1; step <= kThreadCount; ++step) {
    FakeClock::advance(1000);
    // Each step expires exactly the timer of one more thread.
    while (expiredCount < step) {
      std::this_thread::yield();
    }
    EXPECT_EQ(expiredCount, step);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
}  // namespace ombrixhal::test
