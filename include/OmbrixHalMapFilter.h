/* Map filters: what OmbrixHalFilterOpen gives a client for every type but PCR. All map filters
 * of one type, tuner and PID share one real filter chain, whose output goes to each of them that
 * is started, most recently attached first. */
#ifndef OMBRIX_HAL_MAP_FILTER_H
#define OMBRIX_HAL_MAP_FILTER_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* No real chain until the parameter is set. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalMapFilterOpen(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                                           OmbrixHalFilterHandler aHandler,
                                                           void* aContext) OMBRIX_HAL_NOEXCEPT;
/* Leaves the shared chain, which ends with its last map filter. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterClose(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Joins the chain of the parameter's PID, made if none exists. A second section client of a PID
 * receives what the first one's match, mask and CRC setting select. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterSetParameter(OmbrixHalFilterHandle This,
                                                           const OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterGetParameter(OmbrixHalFilterHandle This,
                                                           OmbrixHalFilterParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Stopping one client restarts the shared chain for the others still started. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalMapFilterReset(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterGetInfo(OmbrixHalFilterHandle This, OmbrixHalFilterInfo* aInfo)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMapFilterResetInfo(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
