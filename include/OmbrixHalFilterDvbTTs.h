/* A TS filter (type 0) of the DVB-T tuner that drives a PID filter of the receiver's driver
 * directly, one packet at a time, from a pool of 30 that is made once and never freed. No
 * filter chain makes it; nothing here logs. */
#ifndef OMBRIX_HAL_FILTER_DVB_T_TS_H
#define OMBRIX_HAL_FILTER_DVB_T_TS_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

#define OMBRIX_HAL_FILTER_DVB_T_TS_POOL_SIZE 30u

/* Makes the pool: 1 the first time in the process, 0 after that or when memory runs out (the
 * next call then tries again). */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsInit(void) OMBRIX_HAL_NOEXCEPT;
/* A free filter of the pool on a DVB-T tuner; NULL unless aType is 0, or when all are taken. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterDvbTTsCreate(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                                                 OmbrixHalFilterHandler aHandler,
                                                                 void* aContext) OMBRIX_HAL_NOEXCEPT;
/* Gives the filter back to the pool and deletes its driver filter; 0 when the driver refuses. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Makes a driver filter of the record's PID (not every PID); 0 while running. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsSetParameter(
    OmbrixHalFilterHandle This, const OmbrixHalFilterParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
/* Always 0: the record is not kept. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsGetParameter(OmbrixHalFilterHandle This,
                                                              OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
/* Only a configured filter starts, only a running one stops. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
