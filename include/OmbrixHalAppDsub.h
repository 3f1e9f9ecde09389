/* The display subsystem's frame-time hook, under the name its caller looks up. */
#ifndef OMBRIX_HAL_APP_DSUB_H
#define OMBRIX_HAL_APP_DSUB_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Does nothing on this platform and returns 0. */
OMBRIX_HAL_API int32_t AppDsubSetFrameTimeForSync(uint32_t aFrameTime) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
