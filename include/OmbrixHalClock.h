/* The clock: UTC kept from the millisecond tick counter, the local time offset and daylight
 * time, with handlers told about every change. */
#ifndef OMBRIX_HAL_CLOCK_H
#define OMBRIX_HAL_CLOCK_H

#include "OmbrixHalDateTime.h"
#include "OmbrixHalTypes.h"

/* Daylight time options. */
#define OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_EXPLICIT 0u   /* the window given by OmbrixHalClockSetDaylightTime */
#define OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_AUTO 1u       /* last Sunday of March 02:00 to last Sunday of October 03:00 */
#define OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON 2u  /* offset always applied */
#define OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_OFF 3u /* never applied */

/* Events handed to set handlers. */
#define OMBRIX_HAL_CLOCK_EVENT_TIME_SET 0u
#define OMBRIX_HAL_CLOCK_EVENT_LOCAL_TIME_OFFSET 1u
#define OMBRIX_HAL_CLOCK_EVENT_DAYLIGHT_TIME 2u /* also follows every time set */

#define OMBRIX_HAL_CLOCK_SET_HANDLER_COUNT 20

OMBRIX_HAL_EXTERN_C_BEGIN

typedef struct OmbrixHalClockPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  uint32_t (*GetTicks)(void);
  uint32_t (*GetTicksOverflow)(void); /* where the tick counter wraps; 0 for 2^32 */
  void (*SetUtcTime)(OmbrixHalDateTime aUtcTime);
} OmbrixHalClockPlatformInterface;

/* Called on the thread that changed the clock; it must not register or unregister handlers. */
typedef void (*OmbrixHalClockSetHandler)(void* aContext, uint32_t aEvent);

OMBRIX_HAL_API OmbrixHalBool OmbrixHalClockInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalClockDone(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API uint32_t OmbrixHalClockGetTicks(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalClockGetTicksOverflow(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalDateTime OmbrixHalClockGetUtcTime(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalClockSetUtcTime(OmbrixHalDateTime aUtcTime) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalDateTime OmbrixHalClockGetLocalTime(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalClockSetLocalTime(OmbrixHalDateTime aLocalTime) OMBRIX_HAL_NOEXCEPT;

/* Minutes east of UTC. Read back through an unsigned division: a negative offset does not
 * come back as set. */
OMBRIX_HAL_API void OmbrixHalClockSetLocalTimeOffset(int32_t aMinutes) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalClockGetLocalTimeOffset(int32_t* aMinutes) OMBRIX_HAL_NOEXCEPT;

/* Start and end compare with UTC plus the local time offset; the offset is in minutes.
 * Selects the explicit option. */
OMBRIX_HAL_API void OmbrixHalClockSetDaylightTime(OmbrixHalDateTime aStart, OmbrixHalDateTime aEnd,
                                                  int32_t aMinutes) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalClockGetDaylightTime(OmbrixHalDateTime* aStart, OmbrixHalDateTime* aEnd,
                                                  int32_t* aMinutes) OMBRIX_HAL_NOEXCEPT;

/* The offset is set in minutes but read back in seconds. */
OMBRIX_HAL_API void OmbrixHalClockSetDaylightTimeOption(uint32_t aDaylightTimeOption,
                                                        int32_t aMinutes) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalClockGetDaylightTimeOption(uint32_t* aDaylightTimeOption,
                                                        int32_t* aSeconds) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalClockIsDaylightTime(void) OMBRIX_HAL_NOEXCEPT;

/* 0 when all OMBRIX_HAL_CLOCK_SET_HANDLER_COUNT entries are taken. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalClockRegisterSetHandler(OmbrixHalClockSetHandler aHandler,
                                                             void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalClockUnregisterSetHandler(OmbrixHalClockSetHandler aHandler) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalClockPlatformGetInterface(OmbrixHalClockPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
