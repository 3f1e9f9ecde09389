/* Calendar arithmetic on date-time values: seconds since 1970-01-01 00:00:00, unsigned
 * 32-bit, for the years 1970 to 2105. Pure computation, no logging. */
#ifndef OMBRIX_HAL_DATE_TIME_H
#define OMBRIX_HAL_DATE_TIME_H

#include "OmbrixHalTypes.h"

/* Text form "YYYY-MM-DDTHH:MM:SS": 19 characters and the NUL. */
#define OMBRIX_HAL_DATE_TIME_TEXT_SIZE 20

OMBRIX_HAL_EXTERN_C_BEGIN

typedef uint32_t OmbrixHalDateTime;

/* Months and days count from 1; a month or day out of range runs into the neighbouring one. */
OMBRIX_HAL_API OmbrixHalDateTime OmbrixHalDateTimeSetDateTime(OmbrixHalDateTime* aThis, uint32_t aYear, uint32_t aMonth,
                                                             uint32_t aDay, uint32_t aHour, uint32_t aMinute,
                                                             uint32_t aSecond) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalDateTime OmbrixHalDateTimeSetDate(OmbrixHalDateTime* aThis, uint32_t aYear, uint32_t aMonth,
                                                         uint32_t aDay) OMBRIX_HAL_NOEXCEPT;
/* Keeps the date of *aThis and replaces its time of day. */
OMBRIX_HAL_API OmbrixHalDateTime OmbrixHalDateTimeSetTime(OmbrixHalDateTime* aThis, uint32_t aHour, uint32_t aMinute,
                                                         uint32_t aSecond) OMBRIX_HAL_NOEXCEPT;

/* Out pointers may be NULL for fields the caller does not want. */
OMBRIX_HAL_API void OmbrixHalDateTimeGetDateTime(OmbrixHalDateTime aThis, uint32_t* aYear, uint32_t* aMonth,
                                                 uint32_t* aDay, uint32_t* aHour, uint32_t* aMinute,
                                                 uint32_t* aSecond) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalDateTimeGetDate(OmbrixHalDateTime aThis, uint32_t* aYear, uint32_t* aMonth,
                                             uint32_t* aDay) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalDateTimeGetTime(OmbrixHalDateTime aThis, uint32_t* aHour, uint32_t* aMinute,
                                             uint32_t* aSecond) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetYear(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetMonth(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetDay(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetHour(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetMinute(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetSecond(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;

/* 0 = Sunday to 6 = Saturday. */
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetDayOfWeek(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;
/* 1 to 366. */
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetDayOfYear(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalDateTimeGetDaysOfMonth(OmbrixHalDateTime aThis) OMBRIX_HAL_NOEXCEPT;

/* -1 when aA is before aB, 0 when equal, 1 when after. */
OMBRIX_HAL_API int32_t OmbrixHalDateTimeCompare(OmbrixHalDateTime aA, OmbrixHalDateTime aB) OMBRIX_HAL_NOEXCEPT;

/* *aResult = aValue + aCount units, modulo 2^32: a negative count subtracts. */
OMBRIX_HAL_API OmbrixHalDateTime* OmbrixHalDateTimeAddDays(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue,
                                                           int32_t aCount) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalDateTimeAddHours(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue,
                                              int32_t aCount) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalDateTimeAddMinutes(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue,
                                                int32_t aCount) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalDateTimeAddSeconds(OmbrixHalDateTime* aResult, OmbrixHalDateTime aValue,
                                                int32_t aCount) OMBRIX_HAL_NOEXCEPT;

/* Writes exactly 19 characters and a NUL to aText (OMBRIX_HAL_DATE_TIME_TEXT_SIZE bytes). */
OMBRIX_HAL_API void OmbrixHalDateTimeToString(OmbrixHalDateTime aThis, char* aText) OMBRIX_HAL_NOEXCEPT;

/* Reads "YYYY-M-D", optionally followed by " " or "T" and "H:MM" or "H:MM:SS", from a
 * NUL-terminated text of 16-bit characters. 0, and *aValue unchanged, when it does not fit. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalDateTimeFromString(const uint16_t* aText,
                                                        OmbrixHalDateTime* aValue) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
