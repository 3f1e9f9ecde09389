/* Polled one-shot timers from a pool of 30, read against the clock's millisecond ticks. */
#ifndef OMBRIX_HAL_TIMER_H
#define OMBRIX_HAL_TIMER_H

#include "OmbrixHalTypes.h"

#define OMBRIX_HAL_TIMER_COUNT 30

OMBRIX_HAL_EXTERN_C_BEGIN

/* Opaque; NULL means none. Each timer is meant for one thread. */
typedef struct OmbrixHalTimerObject* OmbrixHalTimerHandle;

/* Both free the whole pool. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTimerInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalTimerDone(void) OMBRIX_HAL_NOEXCEPT;

/* A free timer, or NULL when all are taken. Reset it before use: Open clears nothing. */
OMBRIX_HAL_API OmbrixHalTimerHandle OmbrixHalTimerOpen(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalTimerClose(OmbrixHalTimerHandle aThis) OMBRIX_HAL_NOEXCEPT;

/* Arms the timer to expire aDuration milliseconds from now. */
OMBRIX_HAL_API void OmbrixHalTimerReset(OmbrixHalTimerHandle aThis, uint32_t aDuration) OMBRIX_HAL_NOEXCEPT;

/* 1 once the duration has passed, until the next Reset; also 1 for NULL. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTimerIsExpired(OmbrixHalTimerHandle aThis) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
