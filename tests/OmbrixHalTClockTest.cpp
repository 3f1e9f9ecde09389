// Tests of the clock on a fake tick counter: UTC from ticks and overruns, local time,
// daylight time and set handlers.
#include <array>
#include <utility>

#include "OmbrixHalFakeClock.h"

namespace ombrixhal::test {
namespace {

OmbrixHalDateTime utcAt(uint32_t ticks) {
  FakeClock::setTicks(ticks);
  return OmbrixHalClockGetUtcTime();
}

// The local time and whether it counts as daylight time, once the clock is set to utc.
std::string localAt(OmbrixHalDateTime utc) {
  OmbrixHalClockSetUtcTime(utc);
  return toString(OmbrixHalClockGetLocalTime()) + " " + std::to_string(OmbrixHalClockIsDaylightTime());
}

// The window's start, end and offset in minutes, then the option and its offset in seconds.
std::string daylightTime() {
  OmbrixHalDateTime start = 0, end = 0;
  int32_t minutes = 0, seconds = 0;
  uint32_t option = 9;
  OmbrixHalClockGetDaylightTime(&start, &end, &minutes);
  OmbrixHalClockGetDaylightTimeOption(&option, &seconds);
  return toString(start) + " " + toString(end) + " " + std::to_string(minutes) + ", " + std::to_string(option) + " " +
         std::to_string(seconds);
}

using Event = std::pair<void*, uint32_t>;
std::vector<Event> events;
void recordEvent(void* aContext, uint32_t aEvent) { events.emplace_back(aContext, aEvent); }
void otherHandler(void*, uint32_t) {}

using ClockUtc = FakeClockTest;

TEST_F(ClockUtc, EachReadingTruncatesItsOwnMillisecondsAndACounterWrapsAtItsOwnValue) {
  FakeClock::setTicks(1000);
  OmbrixHalClockSetUtcTime(5000);
  // 1999 ms apart: 1500 and 3499 read 2 s apart, 2000 and 3999 only 1 s.
  EXPECT_EQ((std::array{utcAt(1500), utcAt(2000), utcAt(3499), utcAt(3999)}),
            (std::array<OmbrixHalDateTime, 4>{5000, 5001, 5002, 5002}));
  FakeClock::setWrap(100000);
  FakeClock::setTicks(90001);
  OmbrixHalClockSetUtcTime(700);
  // 4999 ms; 9999 ms to the wrap and 5000 after it; 1000 ms less, on one more full turn of 100 s.
  EXPECT_EQ((std::array{utcAt(95000), utcAt(5000), utcAt(4000)}), (std::array<OmbrixHalDateTime, 3>{704, 714, 813}));
}

TEST_F(ClockUtc, EachBackwardsStepIsOneOverrunLoggedByTheReaderAndFurtherOnesAddExactWraps) {
  constexpr uint32_t kWrapSeconds = 4294967;  // 2^32 ms are that and 296 ms
  FakeClock::setTicks(1000);
  OmbrixHalClockSetUtcTime(0);
  log.clear();
  EXPECT_EQ(utcAt(500), kWrapSeconds - 1);
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), kWrapSeconds - 1) << "the same ticks again are no overrun";
  FakeClock::setTicks(400);
  EXPECT_EQ(OmbrixHalClockGetLocalTime(), 2 * kWrapSeconds - 1);
  EXPECT_EQ(utcAt(300), 3 * kWrapSeconds);  // 3 * 296 ms make up the 700 ms short of the third wrap
  const auto overrun = [](const char* reader) { return info(reader, "Clock: hardware clock overrun occured", 0x301a); };
  EXPECT_EQ(log.lines(), (std::vector{overrun("OmbrixHalClockGetUtcTime"), overrun("OmbrixHalClockGetLocalTime"),
                                      overrun("OmbrixHalClockGetUtcTime")}));
}

TEST_F(ClockUtc, MissingTickSlotsWarnAndReadZeroAndNullOutParametersAreRefusedWithTheirNames) {
  OfferedPlatformInterface<OmbrixHalClockPlatformInterface> empty(seam::clockPlatformGetInterface);
  restart();
  EXPECT_EQ(sumInOrder({OmbrixHalClockGetTicks(), OmbrixHalClockGetTicksOverflow()}), 0);
  int32_t value = 0;
  OmbrixHalClockGetLocalTimeOffset(nullptr);
  OmbrixHalClockGetDaylightTime(nullptr, nullptr, &value);
  OmbrixHalClockGetDaylightTimeOption(nullptr, &value);
  EXPECT_EQ(log.lines(),
            (std::vector{notSupported("OmbrixHalClockGetTicks"), notSupported("OmbrixHalClockGetTicksOverflow"),
                         nullValue("OmbrixHalClockGetLocalTimeOffset", "aMinutes"),
                         nullValue("OmbrixHalClockGetDaylightTime", "aStart"),
                         nullValue("OmbrixHalClockGetDaylightTimeOption", "aDaylightTimeOption")}));
}

using ClockTimeSet = FakeClockTest;

TEST_F(ClockTimeSet, SetsAreLoggedAndNotifiedAndOnlyUtcReachesTheHardwareClock) {
  int context = 0;
  events.clear();
  ASSERT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, &context), 1);
  OmbrixHalClockSetUtcTime(at(2009, 3, 29, 2));
  OmbrixHalClockSetLocalTimeOffset(-60);
  OmbrixHalClockSetLocalTime(at(2009, 1, 10, 12));
  EXPECT_EQ(toString(OmbrixHalClockGetUtcTime()), "2009-01-10T13:00:00");
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-01-10T12:00:00");
  EXPECT_EQ(FakeClock::hardwareClockSets, std::vector<uint32_t>{at(2009, 3, 29, 2)});
  EXPECT_EQ(events, (std::vector<Event>{{&context, 0}, {&context, 2}, {&context, 1}, {&context, 0}, {&context, 2}}));
  EXPECT_EQ(log.lines(),
            (std::vector{info("OmbrixHalClockSetUtcTime", "Clock set UTC time to '2009-03-29T02:00:00'", 0x3016),
                         info("OmbrixHalClockSetLocalTimeOffset", "Clock set new LTO: -60 minutes", 0x3018),
                         info("OmbrixHalClockSetLocalTime", "Clock set local time to '2009-01-10T12:00:00'", 0x3017)}));
  int32_t minutes = 0;
  OmbrixHalClockGetLocalTimeOffset(&minutes);
  EXPECT_EQ(minutes, static_cast<int32_t>(0xfffff1f0u / 60)) << "a negative offset reads back unsigned, not as -60";
}

using ClockDaylightTime = FakeClockTest;

TEST_F(ClockDaylightTime, ExplicitWindowEndsAnOffsetEarlyAndManualOptionsIgnoreItWhereSetLocalTimeDoesNot) {
  OmbrixHalClockSetDaylightTime(at(2009, 3, 29, 2), at(2009, 10, 25, 3), 60);
  EXPECT_EQ(localAt(at(2009, 7, 1, 12)), "2009-07-01T13:00:00 1");
  EXPECT_EQ(localAt(at(2009, 12, 1, 12)), "2009-12-01T12:00:00 0");
  EXPECT_EQ(localAt(at(2009, 10, 25, 2)), "2009-10-25T02:00:00 0");
  // The offset applies at 01:30; IsDaylightTime then tests 02:30, which is past the end.
  EXPECT_EQ(localAt(at(2009, 10, 25, 1, 30)), "2009-10-25T02:30:00 0");
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON, 60);
  EXPECT_EQ(localAt(at(2009, 12, 1, 12)), "2009-12-01T13:00:00 1");
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_OFF, 60);
  EXPECT_EQ(localAt(at(2009, 7, 1, 12)), "2009-07-01T12:00:00 0");
  // Inside the window the offset comes off, and for a local time the window opens an offset
  // after its start: 02:30 on the first day is still outside.
  const std::pair<OmbrixHalDateTime, const char*> cases[] = {
      {at(2009, 7, 1, 12), "2009-07-01T11:00:00"}, {at(2009, 12, 1, 12), "2009-12-01T12:00:00"},
      {at(2009, 3, 29, 2, 30), "2009-03-29T02:30:00"}, {at(2009, 3, 29, 3), "2009-03-29T02:00:00"}};
  for (const auto& [local, utc] : cases) {
    OmbrixHalClockSetLocalTime(local);
    EXPECT_EQ(toString(OmbrixHalClockGetUtcTime()), utc) << toString(local);
  }
  // A window across the year end.
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_EXPLICIT, 30);
  OmbrixHalClockSetDaylightTime(at(2009, 10, 1), at(2009, 3, 1), 30);
  EXPECT_EQ(localAt(at(2009, 12, 24, 18)), "2009-12-24T18:30:00 1");
  EXPECT_EQ(localAt(at(2009, 6, 24, 18)), "2009-06-24T18:00:00 0");
}

// Option four changes nothing; the option's offset reads back in seconds.
TEST_F(ClockDaylightTime, OptionsAreLoggedByNameAndAutoRunsFromLastSundayOfMarchToLastSundayOfOctoberOfTheYearSet) {
  const std::string name = "OmbrixHalClockSetDaylightTimeOption";
  const std::string names[] = {"explicit", "auto", "manual on", "manual off"};
  for (uint32_t option = 0; option < 4; ++option) {
    OmbrixHalClockSetDaylightTimeOption(option, -90);
    EXPECT_EQ(log.take(), std::vector{info(name, "Clock set daylight time option '" + names[option] + "'", 0x3019)});
  }
  OmbrixHalClockSetDaylightTimeOption(4, 30);
  EXPECT_EQ(log.take(), std::vector{error(name, "Illegal value for parameter 'aDaylightTimeOption'", 0x1002)});
  EXPECT_EQ(daylightTime(), "1970-03-29T02:00:00 1970-10-25T03:00:00 -90, 3 -5400");
  OmbrixHalClockSetUtcTime(at(2009, 6, 1));
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_AUTO, 60);
  EXPECT_EQ(daylightTime(), "2009-03-29T02:00:00 2009-10-25T03:00:00 60, 1 3600");
  EXPECT_EQ(localAt(at(2010, 4, 1, 12)), "2010-04-01T13:00:00 1") << "outside the window of 2009";
  EXPECT_EQ(daylightTime(), "2010-03-28T02:00:00 2010-10-31T03:00:00 60, 1 3600");
}

using ClockSetHandlers = FakeClockTest;

// The state set before the restart (UTC time, offset, manual daylight time) must not survive it:
// the local time counts from the counter's start again.
TEST_F(ClockSetHandlers, TableHoldsTwentyEveryChangeButARefusedOneIsNotifiedAndInitForgetsHandlersAndState) {
  events.clear();
  for (int index = 0; index < OMBRIX_HAL_CLOCK_SET_HANDLER_COUNT; ++index) {
    ASSERT_EQ(OmbrixHalClockRegisterSetHandler(otherHandler, nullptr), 1) << index;
  }
  EXPECT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, nullptr), 0);
  EXPECT_EQ(sumInOrder({OmbrixHalClockUnregisterSetHandler(nullptr),
                        OmbrixHalClockUnregisterSetHandler(recordEvent)}), 0);
  ASSERT_EQ(OmbrixHalClockUnregisterSetHandler(otherHandler), 1);
  ASSERT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, nullptr), 1) << "a freed entry is taken again";
  OmbrixHalClockSetLocalTimeOffset(60);
  OmbrixHalClockSetDaylightTime(1, 2, 60);
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON, 60);
  OmbrixHalClockSetDaylightTimeOption(4, 0);
  ASSERT_EQ(OmbrixHalClockUnregisterSetHandler(recordEvent), 1);
  OmbrixHalClockSetUtcTime(at(2009, 1, 1));
  EXPECT_EQ(events, (std::vector<Event>{{nullptr, 1}, {nullptr, 2}, {nullptr, 2}}));
  ASSERT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, nullptr), 1);
  restart();
  FakeClock::setTicks(90500);
  EXPECT_EQ(OmbrixHalClockGetLocalTime(), 90u);
  OmbrixHalClockSetUtcTime(100);
  EXPECT_EQ(events.size(), 3u);
}

}  // namespace
}  // namespace ombrixhal::test
