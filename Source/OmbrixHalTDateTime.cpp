// Date-time: calendar arithmetic on unsigned 32-bit seconds since 1970, in 32-bit
// arithmetic that wraps outside 1970 to 2105.
#include <cstdint>

#include "OmbrixHalDateTime.h"

namespace {

constexpr uint32_t kSecondsPerDay = 86400;
constexpr uint32_t kDaysPerFourYears = 1461;
// Days from 1969-01-01 to 2100-03-01, where the four-year rule would count a 29 February.
constexpr uint32_t kFirstDayAfterMissingLeapDay = 48213;

constexpr uint32_t kDaysPerMonth[2][12] = {
    {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
    {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
};
constexpr uint32_t kDaysBeforeMonth[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
};

bool isLeapYear(uint32_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

OmbrixHalDateTime fromFields(uint32_t year, uint32_t month, uint32_t day, uint32_t hour, uint32_t minute,
                             uint32_t second) {
  // A month outside 1 to 12 runs into the neighbouring years, as a day past the month's end runs into the next month.
  if (month == 0) {
    month = 12;
    --year;
  } else if (month > 12) {
    year += (month - 1) / 12;
    month = (month - 1) % 12 + 1;
  }
  const uint32_t days = (year - 1969) / 4 - (year - 1701) / 400 + (year - 1970) * 365 +
                        kDaysBeforeMonth[isLeapYear(year)][month - 1] + day - 1;
  return ((days * 24 + hour) * 60 + minute) * 60 + second;
}

struct CalendarDay {
  uint32_t fourYearCycle;  // since 1969
  uint32_t dayInCycle;
};

CalendarDay calendarDayOf(OmbrixHalDateTime value) {
  uint32_t daysSince1969 = value / kSecondsPerDay + 365;
  if (daysSince1969 >= kFirstDayAfterMissingLeapDay) {
    ++daysSince1969;
  }
  return {daysSince1969 / kDaysPerFourYears, daysSince1969 % kDaysPerFourYears};
}

struct Date {
  uint32_t year;
  uint32_t monthIndex;  // 0 = January
  uint32_t day;
};

Date dateOf(OmbrixHalDateTime value) {
  const CalendarDay calendarDay = calendarDayOf(value);
  uint32_t yearInCycle = calendarDay.dayInCycle / 365;
  if (yearInCycle > 3) {
    // The cycle's last day: the leap year's 31 December, except across the missing 29 February of 2100.
    if (calendarDay.fourYearCycle == 7) {
      yearInCycle = 3;
    } else {
      yearInCycle = calendarDay.fourYearCycle % 25 == 7 ? 4 : 3;
    }
  }
  const uint32_t year = 1969 + 4 * calendarDay.fourYearCycle + yearInCycle;
  const uint32_t dayInYear = calendarDay.dayInCycle - 365 * yearInCycle;
  const uint32_t(&daysBefore)[13] = kDaysBeforeMonth[isLeapYear(year)];
  uint32_t monthIndex = dayInYear / 32;
  if (dayInYear >= daysBefore[monthIndex + 1]) {
    ++monthIndex;
  }
  return {year, monthIndex, dayInYear - daysBefore[monthIndex] + 1};
}

void store(uint32_t* target, uint32_t value) {
  if (target != nullptr) {
    *target = value;
  }
}

void addUnits(OmbrixHalDateTime* result, OmbrixHalDateTime value, int32_t count, uint32_t secondsPerUnit) {
  if (result != nullptr) {
    *result = value + static_cast<uint32_t>(count) * secondsPerUnit;
  }
}

void putDigits(char*& text, uint32_t value, int digitCount) {
  for (int index = digitCount - 1; index >= 0; --index) {
    text[index] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
  text += digitCount;
}

// Reads a run of decimal digits; false unless its length lies within [minDigits, maxDigits].
bool readNumber(const uint16_t*& text, int minDigits, int maxDigits, uint32_t& value) {
  value = 0;
  int digitCount = 0;
  for (; *text >= '0' && *text <= '9'; ++text, ++digitCount) {
    if (digitCount < maxDigits) {
      value = value * 10 + (*text - '0');
    }
  }
  return digitCount >= minDigits && digitCount <= maxDigits;
}

bool readField(const uint16_t*& text, int minDigits, int maxDigits, uint32_t maximum, uint32_t& value) {
  return readNumber(text, minDigits, maxDigits, value) && value <= maximum;
}

bool readSeparator(const uint16_t*& text, char separator) {
  if (*text != separator) {
    return false;
  }
  ++text;
  return true;
}

}  // namespace

OmbrixHalDateTime OmbrixHalDateTimeSetDateTime(OmbrixHalDateTime* aThis, uint32_t aYear, uint32_t aMonth, uint32_t aDay,
                                               uint32_t aHour, uint32_t aMinute, uint32_t aSecond) noexcept {
  const OmbrixHalDateTime value = fromFields(aYear, aMonth, aDay, aHour, aMinute, aSecond);
  if (aThis != nullptr) {
    *aThis = value;
  }
  return value;
}

OmbrixHalDateTime OmbrixHalDateTimeSetDate(OmbrixHalDateTime* aThis, uint32_t aYear, uint32_t aMonth,
                                           uint32_t aDay) noexcept {
  return OmbrixHalDateTimeSetDateTime(aThis, aYear, aMonth, aDay, 0, 0, 0);
}

OmbrixHalDateTime OmbrixHalDateTimeSetTime(OmbrixHalDateTime* aThis, uint32_t aHour, uint32_t aMinute,
                                           uint32_t aSecond) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  *aThis = *aThis - *aThis % kSecondsPerDay + (aHour * 60 + aMinute) * 60 + aSecond;
  return *aThis;
}

void OmbrixHalDateTimeGetDateTime(OmbrixHalDateTime aThis, uint32_t* aYear, uint32_t* aMonth, uint32_t* aDay,
                                  uint32_t* aHour, uint32_t* aMinute, uint32_t* aSecond) noexcept {
  OmbrixHalDateTimeGetDate(aThis, aYear, aMonth, aDay);
  OmbrixHalDateTimeGetTime(aThis, aHour, aMinute, aSecond);
}

void OmbrixHalDateTimeGetDate(OmbrixHalDateTime aThis, uint32_t* aYear, uint32_t* aMonth, uint32_t* aDay) noexcept {
  const Date date = dateOf(aThis);
  store(aYear, date.year);
  store(aMonth, date.monthIndex + 1);
  store(aDay, date.day);
}

void OmbrixHalDateTimeGetTime(OmbrixHalDateTime aThis, uint32_t* aHour, uint32_t* aMinute, uint32_t* aSecond) noexcept {
  store(aHour, OmbrixHalDateTimeGetHour(aThis));
  store(aMinute, OmbrixHalDateTimeGetMinute(aThis));
  store(aSecond, OmbrixHalDateTimeGetSecond(aThis));
}

uint32_t OmbrixHalDateTimeGetYear(OmbrixHalDateTime aThis) noexcept {
  return dateOf(aThis).year;
}

uint32_t OmbrixHalDateTimeGetMonth(OmbrixHalDateTime aThis) noexcept {
  return dateOf(aThis).monthIndex + 1;
}

uint32_t OmbrixHalDateTimeGetDay(OmbrixHalDateTime aThis) noexcept {
  return dateOf(aThis).day;
}

uint32_t OmbrixHalDateTimeGetHour(OmbrixHalDateTime aThis) noexcept {
  return aThis / 3600 % 24;
}

uint32_t OmbrixHalDateTimeGetMinute(OmbrixHalDateTime aThis) noexcept {
  return aThis / 60 % 60;
}

uint32_t OmbrixHalDateTimeGetSecond(OmbrixHalDateTime aThis) noexcept {
  return aThis % 60;
}

uint32_t OmbrixHalDateTimeGetDayOfWeek(OmbrixHalDateTime aThis) noexcept {
  return (aThis / kSecondsPerDay + 4) % 7;  // 1970-01-01 was a Thursday
}

uint32_t OmbrixHalDateTimeGetDayOfYear(OmbrixHalDateTime aThis) noexcept {
  const CalendarDay calendarDay = calendarDayOf(aThis);
  const uint32_t dayInCycle = calendarDay.dayInCycle;
  if (dayInCycle / 365 < 4) {
    return dayInCycle % 365 + 1;
  }
  if (calendarDay.fourYearCycle == 7) {
    return dayInCycle - 1094;
  }
  return calendarDay.fourYearCycle % 25 == 7 ? dayInCycle - 1460 + 1 : dayInCycle - 1095 + 1;
}

uint32_t OmbrixHalDateTimeGetDaysOfMonth(OmbrixHalDateTime aThis) noexcept {
  const Date date = dateOf(aThis);
  return kDaysPerMonth[isLeapYear(date.year)][date.monthIndex];
}

int32_t OmbrixHalDateTimeCompare(OmbrixHalDateTime aA, OmbrixHalDateTime aB) noexcept {
  return aA < aB ? -1 : (aA > aB ? 1 : 0);
}

OmbrixHalDateTime* OmbrixHalDateTimeAddDays(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue,
                                            int32_t aCount) noexcept {
  addUnits(aResult, aValue, aCount, kSecondsPerDay);
  return aResult;
}

void OmbrixHalDateTimeAddHours(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue, int32_t aCount) noexcept {
  addUnits(aResult, aValue, aCount, 3600);
}

void OmbrixHalDateTimeAddMinutes(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue, int32_t aCount) noexcept {
  addUnits(aResult, aValue, aCount, 60);
}

void OmbrixHalDateTimeAddSeconds(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue, int32_t aCount) noexcept {
  addUnits(aResult, aValue, aCount, 1);
}

void OmbrixHalDateTimeToString(OmbrixHalDateTime aThis, char* aText) noexcept {
  if (aText == nullptr) {
    return;
  }
  const Date date = dateOf(aThis);
  char* next = aText;
  putDigits(next, date.year, 4);
  *next++ = '-';
  putDigits(next, date.monthIndex + 1, 2);
  *next++ = '-';
  putDigits(next, date.day, 2);
  *next++ = 'T';
  putDigits(next, OmbrixHalDateTimeGetHour(aThis), 2);
  *next++ = ':';
  putDigits(next, OmbrixHalDateTimeGetMinute(aThis), 2);
  *next++ = ':';
  putDigits(next, OmbrixHalDateTimeGetSecond(aThis), 2);
  *next = '\0';
}

OmbrixHalBool OmbrixHalDateTimeFromString(const uint16_t* aText, OmbrixHalDateTime* aValue) noexcept {
  if (aText == nullptr || aValue == nullptr) {
    return 0;
  }
  const uint16_t* next = aText;
  uint32_t year = 0;
  uint32_t month = 0;
  uint32_t day = 0;
  uint32_t hour = 0;
  uint32_t minute = 0;
  uint32_t second = 0;
  // Month 0, day 0 and days past the month's end pass: they run into the neighbouring month.
  if (!readField(next, 4, 4, UINT32_MAX, year) || !readSeparator(next, '-') || !readField(next, 1, 2, 12, month) ||
      !readSeparator(next, '-') || !readField(next, 1, 2, 31, day)) {
    return 0;
  }
  if (*next != 0) {
    if (*next != ' ' && *next != 'T') {
      return 0;
    }
    ++next;
    if (!readField(next, 1, 2, 23, hour) || !readSeparator(next, ':') || !readField(next, 2, 2, 59, minute)) {
      return 0;
    }
    if (*next != 0 && (!readSeparator(next, ':') || !readField(next, 2, 2, 59, second) || *next != 0)) {
      return 0;
    }
  }
  *aValue = fromFields(year, month, day, hour, minute, second);
  return 1;
}
