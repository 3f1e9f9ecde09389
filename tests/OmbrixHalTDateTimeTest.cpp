// Tests of the date-time arithmetic, against the standard library's civil calendar.
#include <chrono>
#include <string>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

std::string toString(OmbrixHalDateTime value) {
  char text[OMBRIX_HAL_DATE_TIME_TEXT_SIZE];
  OmbrixHalDateTimeToString(value, text);
  return text;
}

std::u16string wide(const char* text) {
  return std::u16string(text, text + std::char_traits<char>::length(text));
}

OmbrixHalBool fromString(const char* text, OmbrixHalDateTime& value) {
  const std::u16string wideText = wide(text);
  return OmbrixHalDateTimeFromString(reinterpret_cast<const uint16_t*>(wideText.c_str()), &value);
}

OmbrixHalDateTime at(uint32_t year, uint32_t month, uint32_t day, uint32_t hour = 0, uint32_t minute = 0,
                     uint32_t second = 0) {
  return OmbrixHalDateTimeSetDateTime(nullptr, year, month, day, hour, minute, second);
}

constexpr uint32_t kLastDay = 0xffffffffu / 86400;

TEST(DateTimeCalendar, EveryDayAgreesWithTheCivilCalendar) {
  using namespace std::chrono;
  uint32_t expectedDayOfYear = 1;
  for (uint32_t dayNumber = 0; dayNumber <= kLastDay; ++dayNumber) {
    const OmbrixHalDateTime value = dayNumber * 86400u + 3661u;  // 01:01:01, which the last day still has
    const year_month_day civil{sys_days{days{dayNumber}}};
    uint32_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    OmbrixHalDateTimeGetDateTime(value, &year, &month, &day, &hour, &minute, &second);
    ASSERT_EQ(year, static_cast<uint32_t>(static_cast<int>(civil.year()))) << dayNumber;
    ASSERT_EQ(month, static_cast<unsigned>(civil.month())) << dayNumber;
    ASSERT_EQ(day, static_cast<unsigned>(civil.day())) << dayNumber;
    ASSERT_EQ(hour * 3600 + minute * 60 + second, 3661u);
    ASSERT_EQ(at(year, month, day, 1, 1, 1), value) << dayNumber;
    ASSERT_EQ(OmbrixHalDateTimeGetDayOfWeek(value), weekday{civil}.c_encoding()) << dayNumber;
    ASSERT_EQ(OmbrixHalDateTimeGetDaysOfMonth(value),
              static_cast<unsigned>(year_month_day_last{civil.year(), month_day_last{civil.month()}}.day()));
    if (month == 1 && day == 1) {
      expectedDayOfYear = 1;
    }
    ASSERT_EQ(OmbrixHalDateTimeGetDayOfYear(value), expectedDayOfYear++) << dayNumber;
  }
}

TEST(DateTimeCalendar, TextOfTheFirstAndTheLastValue) {
  EXPECT_EQ(toString(0), "1970-01-01T00:00:00");
  EXPECT_EQ(toString(4294967295u), "2106-02-07T06:28:15");
  EXPECT_EQ(toString(at(2009, 3, 29, 2)), "2009-03-29T02:00:00");
}

TEST(DateTimeCalendar, LeapDaysOf2000And2004ExistAnd2100HasNone) {
  EXPECT_EQ(toString(at(2000, 2, 29)), "2000-02-29T00:00:00");
  EXPECT_EQ(toString(at(2004, 2, 29)), "2004-02-29T00:00:00");
  OmbrixHalDateTime dayBefore = 0;
  EXPECT_EQ(OmbrixHalDateTimeAddDays(&dayBefore, at(2100, 3, 1), -1), &dayBefore);
  EXPECT_EQ(toString(dayBefore), "2100-02-28T00:00:00");
}

TEST(DateTimeCalendar, FourthOfJanuary1970WasASunday) {
  EXPECT_EQ(OmbrixHalDateTimeGetDayOfWeek(at(1970, 1, 4)), 0u);
  EXPECT_EQ(OmbrixHalDateTimeGetDayOfWeek(at(1970, 1, 1)), 4u);
}

TEST(DateTimeCalendar, SingleFieldGettersSplitTheValue) {
  const OmbrixHalDateTime value = at(2038, 1, 19, 3, 14, 7);
  EXPECT_EQ(OmbrixHalDateTimeGetYear(value), 2038u);
  EXPECT_EQ(OmbrixHalDateTimeGetMonth(value), 1u);
  EXPECT_EQ(OmbrixHalDateTimeGetDay(value), 19u);
  EXPECT_EQ(OmbrixHalDateTimeGetHour(value), 3u);
  EXPECT_EQ(OmbrixHalDateTimeGetMinute(value), 14u);
  EXPECT_EQ(OmbrixHalDateTimeGetSecond(value), 7u);
}

TEST(DateTimeFields, SetDateTimeAndSetDateWriteAndReturnTheValue) {
  OmbrixHalDateTime value = 0;
  EXPECT_EQ(OmbrixHalDateTimeSetDateTime(&value, 2009, 3, 29, 2, 0, 0), 1238292000u);
  EXPECT_EQ(value, 1238292000u);
  EXPECT_EQ(OmbrixHalDateTimeSetDate(&value, 2009, 3, 29), 1238284800u);
  EXPECT_EQ(value, 1238284800u);
}

TEST(DateTimeFields, SetTimeKeepsTheDate) {
  OmbrixHalDateTime value = at(2009, 3, 29, 23, 59, 59);
  EXPECT_EQ(OmbrixHalDateTimeSetTime(&value, 7, 5, 9), at(2009, 3, 29, 7, 5, 9));
  EXPECT_EQ(value, at(2009, 3, 29, 7, 5, 9));
}

TEST(DateTimeFields, OutOfRangeFieldsRunIntoTheNeighbours) {
  EXPECT_EQ(toString(at(2009, 2, 31)), "2009-03-03T00:00:00");
  EXPECT_EQ(toString(at(2009, 3, 0)), "2009-02-28T00:00:00");
  EXPECT_EQ(toString(at(2009, 0, 15)), "2008-12-15T00:00:00");
  EXPECT_EQ(toString(at(2009, 13, 15)), "2010-01-15T00:00:00");
}

TEST(DateTimeFields, NullOutPointersAreSkipped) {
  uint32_t year = 0;
  OmbrixHalDateTimeGetDateTime(at(2009, 3, 29), &year, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(year, 2009u);
  EXPECT_EQ(OmbrixHalDateTimeSetTime(nullptr, 1, 2, 3), 0u);
  OmbrixHalDateTimeAddSeconds(nullptr, 1, 1);
  OmbrixHalDateTimeToString(0, nullptr);
}

TEST(DateTimeArithmetic, CompareIsUnsigned) {
  const OmbrixHalDateTime before2038 = at(2038, 1, 1);
  const OmbrixHalDateTime after2038 = at(2039, 1, 1);
  ASSERT_GT(after2038, 0x80000000u);
  EXPECT_EQ(OmbrixHalDateTimeCompare(after2038, before2038), 1);
  EXPECT_EQ(OmbrixHalDateTimeCompare(before2038, after2038), -1);
  EXPECT_EQ(OmbrixHalDateTimeCompare(before2038, before2038), 0);
}

TEST(DateTimeArithmetic, AddingUnitsWrapsAndNegativeCountsSubtract) {
  const OmbrixHalDateTime start = at(2009, 3, 29, 2);
  OmbrixHalDateTime result = 0;
  OmbrixHalDateTimeAddHours(&result, start, -3);
  EXPECT_EQ(toString(result), "2009-03-28T23:00:00");
  OmbrixHalDateTimeAddMinutes(&result, start, 90);
  EXPECT_EQ(toString(result), "2009-03-29T03:30:00");
  OmbrixHalDateTimeAddSeconds(&result, 0, -1);
  EXPECT_EQ(result, 4294967295u);
  OmbrixHalDateTimeAddDays(&result, start, 365);
  EXPECT_EQ(toString(result), "2010-03-29T02:00:00");
}

struct TextCase {
  const char* text;
  const char* expected;  // nullptr: refused
};

class DateTimeFromString : public ::testing::TestWithParam<TextCase> {};

TEST_P(DateTimeFromString, ReadsOrRefusesTheText) {
  const TextCase& textCase = GetParam();
  OmbrixHalDateTime value = 12345;
  const OmbrixHalBool result = fromString(textCase.text, value);
  if (textCase.expected == nullptr) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(value, 12345u) << "a refused text leaves the value alone";
  } else {
    EXPECT_EQ(result, 1);
    EXPECT_EQ(toString(value), textCase.expected);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, DateTimeFromString,
    ::testing::Values(TextCase{"2009-3-5", "2009-03-05T00:00:00"}, TextCase{"2009-03-05 7:05", "2009-03-05T07:05:00"},
                      TextCase{"2009-03-05T07:05:09", "2009-03-05T07:05:09"},
                      TextCase{"2106-02-07T06:28:15", "2106-02-07T06:28:15"},
                      TextCase{"2009-02-31", "2009-03-03T00:00:00"}, TextCase{"2009-0-0", "2008-11-30T00:00:00"},
                      TextCase{"2009-03-05T07:5", nullptr}, TextCase{"09-03-05", nullptr},
                      TextCase{"20090-03-05", nullptr}, TextCase{"2009-13-05", nullptr},
                      TextCase{"2009-03-32", nullptr}, TextCase{"2009-003-05", nullptr},
                      TextCase{"2009-03-05T24:00", nullptr}, TextCase{"2009-03-05T23:60", nullptr},
                      TextCase{"2009-03-05T23:59:60", nullptr}, TextCase{"2009-03-05T23:59:5", nullptr},
                      TextCase{"2009-03-05T", nullptr}, TextCase{"2009-03-05X07:05", nullptr},
                      TextCase{"2009-03-05 07:05:09 ", nullptr}, TextCase{"2009/03/05", nullptr},
                      TextCase{"", nullptr}));

TEST(DateTimeFromStringArguments, NullTextOrValueIsRefused) {
  OmbrixHalDateTime value = 0;
  EXPECT_EQ(OmbrixHalDateTimeFromString(nullptr, &value), 0);
  const std::u16string text = wide("2009-03-05");
  EXPECT_EQ(OmbrixHalDateTimeFromString(reinterpret_cast<const uint16_t*>(text.c_str()), nullptr), 0);
}

}  // namespace
}  // namespace ombrixhal::test
