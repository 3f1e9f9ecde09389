// Tests of the clock on a fake tick counter: UTC from ticks and overruns, local time,
// daylight time and set handlers.
#include <string>
#include <utility>
#include <vector>

#include "OmbrixHalFakeClock.h"

namespace ombrixhal::test {
namespace {

OmbrixHalDateTime at(uint32_t year, uint32_t month, uint32_t day, uint32_t hour = 0, uint32_t minute = 0,
                     uint32_t second = 0) {
  return OmbrixHalDateTimeSetDateTime(nullptr, year, month, day, hour, minute, second);
}

std::string toString(OmbrixHalDateTime value) {
  char text[OMBRIX_HAL_DATE_TIME_TEXT_SIZE];
  OmbrixHalDateTimeToString(value, text);
  return text;
}

constexpr uint32_t kTwoPow32Seconds = 4294967;  // and 296 ms

using ClockUtc = FakeClockTest;

TEST_F(ClockUtc, BeforeAnySetUtcCountsSecondsSinceTheCounterStarted) {
  FakeClock::setTicks(90500);
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 90u);
}

TEST_F(ClockUtc, EachReadingTruncatesItsOwnMilliseconds) {
  FakeClock::setTicks(1000);
  OmbrixHalClockSetUtcTime(5000);
  FakeClock::advance(500);
  const OmbrixHalDateTime first = OmbrixHalClockGetUtcTime();
  FakeClock::advance(1999);
  EXPECT_EQ(OmbrixHalClockGetUtcTime() - first, 2u) << "1999 ms later may read 2 seconds later";
  FakeClock::setTicks(1000);
  OmbrixHalClockSetUtcTime(5000);
  FakeClock::advance(1999);
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 5001u) << "or only 1";
}

TEST_F(ClockUtc, OverrunIsCountedOnceAndLogged) {
  FakeClock::setTicks(0xfffff000u);
  OmbrixHalClockSetUtcTime(1000);
  FakeClock::setTicks(0x1000);
  log.clear();
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 1008u);  // 0x2000 ms
  EXPECT_EQ(OmbrixHalClockGetLocalTime(), 1008u);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalClockGetUtcTime", "Clock: hardware clock overrun occured", 0x301a)}));
}

TEST_F(ClockUtc, FurtherOverrunsAddExactWrapsOfTheCounter) {
  FakeClock::setTicks(1000);
  OmbrixHalClockSetUtcTime(0);
  FakeClock::setTicks(500);  // first wrap, 2^32 - 500 ms after the set
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 4294966u);
  FakeClock::setTicks(400);  // second wrap: 2 * 2^32 - 600 ms
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 2 * kTwoPow32Seconds - 1);
  FakeClock::setTicks(300);  // third wrap: 3 * 2^32 - 700 ms, and 3 * 296 ms make up the 700
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 3 * kTwoPow32Seconds);
  EXPECT_EQ(log.countContaining("overrun"), 3u);
}

TEST_F(ClockUtc, CounterWithItsOwnWrapValue) {
  FakeClock::setWrap(100000);
  FakeClock::setTicks(90000);
  OmbrixHalClockSetUtcTime(700);
  FakeClock::setTicks(95000);
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 705u);
  FakeClock::setTicks(5000);  // wrapped: 10 s to the wrap and 5 s after it
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 715u);
  FakeClock::setTicks(4000);  // wrapped again: one more full turn of 100 s
  EXPECT_EQ(OmbrixHalClockGetUtcTime(), 814u);
}

TEST_F(ClockUtc, SetUtcTimeLogsSetsTheHardwareClockAndNotifiesTimeThenDaylight) {
  static std::vector<std::pair<void*, uint32_t>> events;
  events.clear();
  int context = 0;
  ASSERT_EQ(OmbrixHalClockRegisterSetHandler([](void* aContext, uint32_t aEvent) { events.emplace_back(aContext, aEvent); },
                                             &context),
            1);
  OmbrixHalClockSetUtcTime(at(2009, 3, 29, 2));
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalClockSetUtcTime", "Clock set UTC time to '2009-03-29T02:00:00'",
                                           0x3016)}));
  EXPECT_EQ(FakeClock::hardwareClockSets, std::vector<uint32_t>{at(2009, 3, 29, 2)});
  EXPECT_EQ(events, (std::vector<std::pair<void*, uint32_t>>{{&context, 0}, {&context, 2}}));
}

TEST_F(ClockUtc, MissingTickSlotsWarnAndReadZero) {
  ScopedPlatformInterface<OmbrixHalClockPlatformInterface> empty(
      seam::clockPlatformGetInterface, [](OmbrixHalClockPlatformInterface*) noexcept -> OmbrixHalBool { return 1; });
  restart();
  EXPECT_EQ(OmbrixHalClockGetTicks(), 0u);
  EXPECT_EQ(OmbrixHalClockGetTicksOverflow(), 0u);
  EXPECT_EQ(log.lines(), (std::vector{warning("OmbrixHalClockGetTicks", "Function not supported 'OmbrixHalClockGetTicks'"),
                                      warning("OmbrixHalClockGetTicksOverflow",
                                              "Function not supported 'OmbrixHalClockGetTicksOverflow'")}));
}

using ClockLocalTime = FakeClockTest;

TEST_F(ClockLocalTime, OffsetIsAddedToUtcAndLogged) {
  OmbrixHalClockSetUtcTime(at(2009, 1, 10, 12));
  log.clear();
  OmbrixHalClockSetLocalTimeOffset(90);
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-01-10T13:30:00");
  int32_t minutes = 0;
  OmbrixHalClockGetLocalTimeOffset(&minutes);
  EXPECT_EQ(minutes, 90);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalClockSetLocalTimeOffset", "Clock set new LTO: 90 minutes", 0x3018)}));
}

TEST_F(ClockLocalTime, NegativeOffsetDoesNotComeBackAsSet) {
  OmbrixHalClockSetLocalTimeOffset(-60);
  int32_t minutes = 0;
  OmbrixHalClockGetLocalTimeOffset(&minutes);
  EXPECT_NE(minutes, -60);
  EXPECT_EQ(minutes, static_cast<int32_t>(0xfffff1f0u / 60));
  OmbrixHalClockSetUtcTime(at(2009, 1, 10, 12));
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-01-10T11:00:00") << "the offset itself works";
}

TEST_F(ClockLocalTime, SetLocalTimeTakesTheOffsetOffAndLeavesTheHardwareClockAlone) {
  OmbrixHalClockSetLocalTimeOffset(60);
  log.clear();
  OmbrixHalClockSetLocalTime(at(2009, 1, 10, 12));
  EXPECT_EQ(toString(OmbrixHalClockGetUtcTime()), "2009-01-10T11:00:00");
  EXPECT_TRUE(FakeClock::hardwareClockSets.empty());
  EXPECT_EQ(log.lines(),
            (std::vector{info("OmbrixHalClockSetLocalTime", "Clock set local time to '2009-01-10T12:00:00'", 0x3017)}));
}

TEST_F(ClockLocalTime, SetLocalTimeInsideTheWindowTakesTheDaylightOffsetOffWhateverTheOption) {
  OmbrixHalClockSetDaylightTime(at(2009, 3, 29, 2), at(2009, 10, 25, 3), 60);
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_OFF, 60);
  OmbrixHalClockSetLocalTime(at(2009, 7, 1, 12));
  EXPECT_EQ(toString(OmbrixHalClockGetUtcTime()), "2009-07-01T11:00:00");
  OmbrixHalClockSetLocalTime(at(2009, 12, 1, 12));
  EXPECT_EQ(toString(OmbrixHalClockGetUtcTime()), "2009-12-01T12:00:00");
}

TEST_F(ClockLocalTime, ExplicitWindowAppliesTheOffsetInsideOnly) {
  OmbrixHalClockSetDaylightTime(at(2009, 3, 29, 2), at(2009, 10, 25, 3), 60);
  OmbrixHalClockSetUtcTime(at(2009, 7, 1, 12));
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-07-01T13:00:00");
  EXPECT_EQ(OmbrixHalClockIsDaylightTime(), 1);
  OmbrixHalClockSetUtcTime(at(2009, 12, 1, 12));
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-12-01T12:00:00");
  EXPECT_EQ(OmbrixHalClockIsDaylightTime(), 0);
  // The window's end moves back by the offset: 02:00 UTC is already outside.
  OmbrixHalClockSetUtcTime(at(2009, 10, 25, 2));
  EXPECT_EQ(OmbrixHalClockIsDaylightTime(), 0);
}

TEST_F(ClockLocalTime, WindowAcrossTheYearEnd) {
  OmbrixHalClockSetDaylightTime(at(2009, 10, 1), at(2009, 3, 1), 30);
  OmbrixHalClockSetUtcTime(at(2009, 12, 24, 18));
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-12-24T18:30:00");
  OmbrixHalClockSetUtcTime(at(2009, 6, 24, 18));
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-06-24T18:00:00");
}

TEST_F(ClockLocalTime, DaylightIsTestedOnTheLocalTimeThatAlreadyCarriesTheOffset) {
  // One hour before the window's end the offset is applied, which then carries the
  // local time past the moved-back end.
  OmbrixHalClockSetDaylightTime(at(2009, 3, 29, 2), at(2009, 10, 25, 3), 60);
  OmbrixHalClockSetUtcTime(at(2009, 10, 25, 1, 30));
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-10-25T02:30:00");
  EXPECT_EQ(OmbrixHalClockIsDaylightTime(), 0);
}

TEST_F(ClockLocalTime, ManualOptionsIgnoreTheWindow) {
  OmbrixHalClockSetUtcTime(at(2009, 12, 1, 12));
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON, 60);
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-12-01T13:00:00");
  EXPECT_EQ(OmbrixHalClockIsDaylightTime(), 1);
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_OFF, 60);
  EXPECT_EQ(toString(OmbrixHalClockGetLocalTime()), "2009-12-01T12:00:00");
  EXPECT_EQ(OmbrixHalClockIsDaylightTime(), 0);
}

using ClockDaylightTime = FakeClockTest;

TEST_F(ClockDaylightTime, AutomaticWindowOf2009RunsFromLastSundayOfMarchToLastSundayOfOctober) {
  OmbrixHalClockSetUtcTime(at(2009, 6, 1));
  log.clear();
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_AUTO, 60);
  OmbrixHalDateTime start = 0;
  OmbrixHalDateTime end = 0;
  int32_t minutes = 0;
  OmbrixHalClockGetDaylightTime(&start, &end, &minutes);
  EXPECT_EQ(toString(start), "2009-03-29T02:00:00");
  EXPECT_EQ(toString(end), "2009-10-25T03:00:00");
  EXPECT_EQ(minutes, 60);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalClockSetDaylightTimeOption",
                                           "Clock set daylight time option 'auto'", 0x3019)}));
}

TEST_F(ClockDaylightTime, AutomaticWindowFollowsTheYearOfEachTimeSet) {
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_AUTO, 60);
  OmbrixHalClockSetUtcTime(at(2010, 1, 1));
  OmbrixHalDateTime start = 0;
  OmbrixHalDateTime end = 0;
  int32_t minutes = 0;
  OmbrixHalClockGetDaylightTime(&start, &end, &minutes);
  EXPECT_EQ(toString(start), "2010-03-28T02:00:00");
  EXPECT_EQ(toString(end), "2010-10-31T03:00:00");
}

TEST_F(ClockDaylightTime, OptionOffsetReadsBackInSecondsAndWindowOffsetInMinutes) {
  OmbrixHalClockSetDaylightTime(at(2009, 3, 29, 2), at(2009, 10, 25, 3), -90);
  int32_t minutes = 0;
  OmbrixHalDateTime start = 0;
  OmbrixHalDateTime end = 0;
  OmbrixHalClockGetDaylightTime(&start, &end, &minutes);
  EXPECT_EQ(minutes, -90);
  uint32_t option = 9;
  int32_t seconds = 0;
  OmbrixHalClockGetDaylightTimeOption(&option, &seconds);
  EXPECT_EQ(option, OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_EXPLICIT) << "setting a window selects the explicit option";
  EXPECT_EQ(seconds, -5400);
}

TEST_F(ClockDaylightTime, OptionNamesAreLogged) {
  const char* const names[] = {"explicit", "auto", "manual on", "manual off"};
  for (uint32_t option = 0; option < 4; ++option) {
    log.clear();
    OmbrixHalClockSetDaylightTimeOption(option, 60);
    EXPECT_EQ(log.texts(), std::vector<std::string>{std::string("Clock set daylight time option '") + names[option] + "'"});
  }
}

TEST_F(ClockDaylightTime, OptionFourIsRefusedAndChangesNothing) {
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON, 30);
  log.clear();
  OmbrixHalClockSetDaylightTimeOption(4, 60);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalClockSetDaylightTimeOption",
                                            "Illegal value for parameter 'aDaylightTimeOption'", 0x1002)}));
  uint32_t option = 0;
  int32_t seconds = 0;
  OmbrixHalClockGetDaylightTimeOption(&option, &seconds);
  EXPECT_EQ(option, OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON);
  EXPECT_EQ(seconds, 1800);
}

TEST_F(ClockDaylightTime, NullOutParametersAreRefusedWithTheirNames) {
  int32_t value = 0;
  OmbrixHalClockGetLocalTimeOffset(nullptr);
  OmbrixHalClockGetDaylightTime(nullptr, nullptr, &value);
  OmbrixHalClockGetDaylightTimeOption(nullptr, &value);
  EXPECT_EQ(log.lines(),
            (std::vector{error("OmbrixHalClockGetLocalTimeOffset", "Illegal value 'NULL' for parameter 'aMinutes'", 0x1003),
                         error("OmbrixHalClockGetDaylightTime", "Illegal value 'NULL' for parameter 'aStart'", 0x1003),
                         error("OmbrixHalClockGetDaylightTimeOption",
                               "Illegal value 'NULL' for parameter 'aDaylightTimeOption'", 0x1003)}));
}

using ClockSetHandlers = FakeClockTest;

std::vector<uint32_t> eventsSeen;
void recordEvent(void* /*aContext*/, uint32_t aEvent) {
  eventsSeen.push_back(aEvent);
}
void otherHandler(void*, uint32_t) {}

TEST_F(ClockSetHandlers, EveryChangeNotifiesItsEvent) {
  eventsSeen.clear();
  ASSERT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, nullptr), 1);
  OmbrixHalClockSetLocalTime(1000);
  OmbrixHalClockSetLocalTimeOffset(60);
  OmbrixHalClockSetDaylightTime(1, 2, 60);
  OmbrixHalClockSetDaylightTimeOption(OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_OFF, 0);
  OmbrixHalClockSetDaylightTimeOption(4, 0);
  EXPECT_EQ(eventsSeen, (std::vector<uint32_t>{0, 2, 1, 2, 2}));
}

TEST_F(ClockSetHandlers, TwentyOneHandlersDoNotFit) {
  for (int index = 0; index < OMBRIX_HAL_CLOCK_SET_HANDLER_COUNT; ++index) {
    ASSERT_EQ(OmbrixHalClockRegisterSetHandler(otherHandler, nullptr), 1) << index;
  }
  EXPECT_EQ(OmbrixHalClockRegisterSetHandler(otherHandler, nullptr), 0);
  ASSERT_EQ(OmbrixHalClockUnregisterSetHandler(otherHandler), 1);
  EXPECT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, nullptr), 1) << "a freed entry is taken again";
}

TEST_F(ClockSetHandlers, UnregisterFindsOnlyRegisteredFunctions) {
  eventsSeen.clear();
  ASSERT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, nullptr), 1);
  EXPECT_EQ(OmbrixHalClockUnregisterSetHandler(nullptr), 0);
  EXPECT_EQ(OmbrixHalClockUnregisterSetHandler(otherHandler), 0);
  EXPECT_EQ(OmbrixHalClockUnregisterSetHandler(recordEvent), 1);
  EXPECT_EQ(OmbrixHalClockUnregisterSetHandler(recordEvent), 0);
  OmbrixHalClockSetLocalTimeOffset(0);
  EXPECT_TRUE(eventsSeen.empty());
}

TEST_F(ClockSetHandlers, InitForgetsHandlersAndState) {
  eventsSeen.clear();
  ASSERT_EQ(OmbrixHalClockRegisterSetHandler(recordEvent, nullptr), 1);
  OmbrixHalClockSetLocalTimeOffset(60);
  restart();
  OmbrixHalClockSetUtcTime(100);
  int32_t minutes = -1;
  OmbrixHalClockGetLocalTimeOffset(&minutes);
  EXPECT_EQ(minutes, 0);
  EXPECT_EQ(eventsSeen, std::vector<uint32_t>{1});
}

}  // namespace
}  // namespace ombrixhal::test
