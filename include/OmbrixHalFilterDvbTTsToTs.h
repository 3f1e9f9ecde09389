/* The root filter of every chain on a DVB-T tuner: registers its PID with the tuner and passes
 * each packet of that PID on to its handler while started. Made by
 * OmbrixHalFilterFactoryCreateFilter. */
#ifndef OMBRIX_HAL_FILTER_DVB_T_TS_TO_TS_H
#define OMBRIX_HAL_FILTER_DVB_T_TS_TO_TS_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterDvbTTsToTsCreate(OmbrixHalTunerHandle aTuner) OMBRIX_HAL_NOEXCEPT;
/* Removes its PID from the tuner and frees the filter. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsToTsDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsToTsSetFilterHandler(OmbrixHalFilterHandle This,
                                                                       OmbrixHalFilterHandler aHandler,
                                                                       void* aContext) OMBRIX_HAL_NOEXCEPT;
/* Registers the record's PID with the tuner; 1 whatever the tuner answers. A second call
 * removes the new PID rather than the old one, which stays registered. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsToTsSetParameter(
    OmbrixHalFilterHandle This, const OmbrixHalFilterParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
/* Zeros before any parameter was set. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsToTsGetParameter(
    OmbrixHalFilterHandle This, OmbrixHalFilterParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsToTsStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Returns once no delivery of the tuner is under way. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsToTsStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterDvbTTsToTsIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* The packet handler it registers with the tuner, aContext being the filter. */
OMBRIX_HAL_API void OmbrixHalFilterDvbTTsToTsInputHandler(void* aSource, const uint8_t* aPacket, uint32_t aLength,
                                                          void* aContext) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
