/* The root filter of every chain on a file digital tuner: takes the TS packets the tuner plays
 * through its packet handler and passes on those of one PID (or of every PID with
 * OMBRIX_HAL_FILTER_PID_ALL). Made by OmbrixHalFilterCreateRealFilter. */
#ifndef OMBRIX_HAL_FILTER_FILE_DIGITAL_TS_H
#define OMBRIX_HAL_FILTER_FILE_DIGITAL_TS_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterFileDigitalTsCreate(OmbrixHalTunerHandle aTuner)
    OMBRIX_HAL_NOEXCEPT;
/* Unregisters from the tuner and frees the filter. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileDigitalTsDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Registers the filter on its tuner; 0 when the tuner's handler table is full. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileDigitalTsSetFilterHandler(OmbrixHalFilterHandle This,
                                                                         OmbrixHalFilterHandler aHandler,
                                                                         void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileDigitalTsSetParameter(OmbrixHalFilterHandle This,
                                                                     const OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileDigitalTsGetParameter(OmbrixHalFilterHandle This,
                                                                     OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
/* Needs a parameter and a handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileDigitalTsStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileDigitalTsStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileDigitalTsIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* The packet handler it registers on the tuner, aContext being the filter. */
OMBRIX_HAL_API void OmbrixHalFilterFileDigitalTsInputHandler(void* aSource, const uint8_t* aPacket, uint32_t aLength,
                                                            void* aContext) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
