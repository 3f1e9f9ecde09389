/* Power: standby of the box. */
#ifndef OMBRIX_HAL_POWER_H
#define OMBRIX_HAL_POWER_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Both do nothing on this platform: the handheld's power state is the operating system's. */
OMBRIX_HAL_API void OmbrixHalPowerEnterStandby(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalPowerLeaveStandby(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
