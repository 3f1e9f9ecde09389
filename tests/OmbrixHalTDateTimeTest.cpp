// Tests of the date-time arithmetic, against the standard library's civil calendar.
#include <array>
#include <chrono>
#include <cstring>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

// Reads the text through the 16-bit interface: the value as text, or "refused" if the value stayed untouched.
std::string read(const char* text) {
  const std::u16string wide(text, text + std::strlen(text));
  OmbrixHalDateTime value = 12345;
  if (OmbrixHalDateTimeFromString(reinterpret_cast<const uint16_t*>(wide.c_str()), &value) == 0) {
    return value == 12345 ? "refused" : "refused, but the value changed";
  }
  return toString(value);
}

TEST(DateTimeCalendar, EveryDayAgreesWithTheCivilCalendar) {
  using namespace std::chrono;
  for (uint32_t dayNumber = 0; dayNumber <= 0xffffffffu / 86400; ++dayNumber) {
    const OmbrixHalDateTime value = dayNumber * 86400u + 3723u;  // 01:02:03, which the last day still has
    const year_month_day civil{sys_days{days{dayNumber}}};
    const auto year = static_cast<uint32_t>(static_cast<int>(civil.year()));
    const std::array<uint32_t, 6> fields = {year, unsigned{civil.month()}, unsigned{civil.day()}, 1, 2, 3};
    std::array<uint32_t, 6> got{};
    OmbrixHalDateTimeGetDateTime(value, &got[0], &got[1], &got[2], &got[3], &got[4], &got[5]);
    ASSERT_EQ(got, fields) << dayNumber;
    ASSERT_EQ((std::array{OmbrixHalDateTimeGetYear(value), OmbrixHalDateTimeGetMonth(value),
                          OmbrixHalDateTimeGetDay(value), OmbrixHalDateTimeGetHour(value),
                          OmbrixHalDateTimeGetMinute(value), OmbrixHalDateTimeGetSecond(value)}),
              fields)
        << dayNumber;
    ASSERT_EQ((std::array{at(fields[0], fields[1], fields[2], 1, 2, 3), OmbrixHalDateTimeGetDayOfWeek(value),
                          OmbrixHalDateTimeGetDaysOfMonth(value), OmbrixHalDateTimeGetDayOfYear(value)}),
              (std::array{value, weekday{civil}.c_encoding(),
                          static_cast<unsigned>(year_month_day_last{civil.year(), month_day_last{civil.month()}}.day()),
                          static_cast<uint32_t>((sys_days{civil} - sys_days{civil.year() / January / 1}).count() + 1)}))
        << dayNumber;
  }
}

// The days themselves are all checked above; here the text form's ends and the missing 2100-02-29.
TEST(DateTimeFields, SettersWriteTheValueSetTimeKeepsTheDateAndNullPointersAreSkipped) {
  EXPECT_EQ(toString(0), "1970-01-01T00:00:00");
  EXPECT_EQ(toString(4294967295u), "2106-02-07T06:28:15");
  OmbrixHalDateTime value = 0;
  EXPECT_EQ(OmbrixHalDateTimeAddDays(&value, at(2100, 3, 1), -1), &value);
  EXPECT_EQ(toString(value), "2100-02-28T00:00:00");
  EXPECT_EQ(OmbrixHalDateTimeSetDateTime(&value, 2009, 3, 29, 23, 59, 59), 1238371199u);
  EXPECT_EQ(toString(OmbrixHalDateTimeSetTime(&value, 7, 5, 9)), "2009-03-29T07:05:09");
  EXPECT_EQ(toString(value), "2009-03-29T07:05:09");
  EXPECT_EQ(toString(OmbrixHalDateTimeSetDate(&value, 2009, 3, 29)), "2009-03-29T00:00:00");
  EXPECT_EQ(toString(value), "2009-03-29T00:00:00");
  uint32_t second = 0;
  OmbrixHalDateTimeGetDateTime(at(2038, 1, 19, 3, 14, 7), nullptr, nullptr, nullptr, nullptr, nullptr, &second);
  EXPECT_EQ(second, 7u);
  // A month past 12 runs into the next year; the other overruns are read from text below.
  EXPECT_EQ(toString(at(2009, 13, 15)), "2010-01-15T00:00:00");
  EXPECT_EQ(OmbrixHalDateTimeSetTime(nullptr, 1, 2, 3), 0u);
  OmbrixHalDateTimeAddSeconds(nullptr, 1, 1);
  OmbrixHalDateTimeToString(0, nullptr);
}

TEST(DateTimeArithmetic, AddingWrapsAndNegativeCountsSubtractAndCompareIsUnsigned) {
  const OmbrixHalDateTime start = at(2009, 3, 29, 2);
  OmbrixHalDateTime result = 0;
  OmbrixHalDateTimeAddHours(&result, start, -3);
  EXPECT_EQ(toString(result), "2009-03-28T23:00:00");
  OmbrixHalDateTimeAddMinutes(&result, start, 90);
  EXPECT_EQ(toString(result), "2009-03-29T03:30:00");
  OmbrixHalDateTimeAddSeconds(&result, 0, -1);
  EXPECT_EQ(result, 4294967295u);

  const OmbrixHalDateTime after2038 = at(2039, 1, 1);  // beyond INT32_MAX
  EXPECT_EQ(OmbrixHalDateTimeCompare(after2038, start), 1);
  EXPECT_EQ(OmbrixHalDateTimeCompare(start, after2038), -1);
  EXPECT_EQ(OmbrixHalDateTimeCompare(after2038, after2038), 0);
}

TEST(DateTimeFromString, ReadsTheAcceptedFormsWithLaxDayAndMonthBounds) {
  EXPECT_EQ(read("2009-3-5"), "2009-03-05T00:00:00");
  EXPECT_EQ(read("2009-03-05 7:05"), "2009-03-05T07:05:00");
  EXPECT_EQ(read("2009-03-05T07:05:09"), "2009-03-05T07:05:09");
  EXPECT_EQ(read("2106-02-07T06:28:15"), "2106-02-07T06:28:15");
  EXPECT_EQ(read("2009-02-31"), "2009-03-03T00:00:00");
  EXPECT_EQ(read("2009-0-0"), "2008-11-30T00:00:00");
}

TEST(DateTimeFromString, RefusesOtherFormsAndLeavesTheValueAlone) {
  for (const char* text : {"2009-03-05T07:5", "09-03-05", "20090-03-05", "2009-13-05", "2009-03-32", "2009-003-05",
                           "2009-03-05T24:00", "2009-03-05T23:60", "2009-03-05T23:59:60", "2009-03-05T23:59:5",
                           "2009-03-05T", "2009-03-05X07:05", "2009-03-05 07:05:09 ", "2009/03/05", ""}) {
    EXPECT_EQ(read(text), "refused") << '"' << text << '"';
  }
  OmbrixHalDateTime value = 0;
  EXPECT_EQ(OmbrixHalDateTimeFromString(nullptr, &value), 0);
  EXPECT_EQ(OmbrixHalDateTimeFromString(reinterpret_cast<const uint16_t*>(u"2009-03-05"), nullptr), 0);
}

}  // namespace
}  // namespace ombrixhal::test
