/* The filter of the file analog tuner: takes its 64-byte line records and hands the 42 data
 * bytes of each teletext line to its handler. Made by OmbrixHalFilterCreateRealFilter; delivers
 * only when made for type 7. */
#ifndef OMBRIX_HAL_FILTER_FILE_ANALOG_EPR_H
#define OMBRIX_HAL_FILTER_FILE_ANALOG_EPR_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* The line record handed to the tuner's packet handlers, and the teletext line taken from it. */
#define OMBRIX_HAL_FILTER_ANALOG_RECORD_SIZE 64u
#define OMBRIX_HAL_FILTER_TELETEXT_LINE_SIZE 42u

/* Registered on aTuner at once; NULL when that fails. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterFileAnalogEprCreate(OmbrixHalTunerHandle aTuner,
                                                                       OmbrixHalFilterType aType,
                                                                       OmbrixHalFilterHandler aHandler,
                                                                       void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileAnalogEprDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileAnalogEprStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileAnalogEprStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterFileAnalogEprIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
