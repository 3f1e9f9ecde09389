/* The PCR filter (type 2): takes the program clock reference from the adaptation fields of a
 * TS filter's packets, reports each one to its handler as an 8-byte record (the PCR in 45 kHz
 * units, then the packets since the previous PCR), and lets a client poll the current PCR
 * through GetParameter without any handler. */
#ifndef OMBRIX_HAL_FILTER_TS_TO_PCR_H
#define OMBRIX_HAL_FILTER_TS_TO_PCR_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* NULL unless aParent is a TS filter. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterTsToPcrCreate(OmbrixHalFilterHandle aParent) OMBRIX_HAL_NOEXCEPT;
/* Closes the parent too once a handler was hooked. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPcrDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* A NULL handler is accepted: the PCR can then only be polled. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPcrSetFilterHandler(OmbrixHalFilterHandle This,
                                                                    OmbrixHalFilterHandler aHandler,
                                                                    void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPcrSetParameter(OmbrixHalFilterHandle This,
                                                                const OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
/* The record as set, with the current PCR (45 kHz units, 0 before the first) in its value field.
 * May be called from any thread while the filter runs. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPcrGetParameter(OmbrixHalFilterHandle This,
                                                                OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
/* Needs a parameter, not a handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPcrStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPcrStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPcrIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Forgets the last PCR. */
OMBRIX_HAL_API void OmbrixHalFilterTsToPcrReset(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Takes one TS packet from the parent; aContext is the PCR filter. */
OMBRIX_HAL_API void OmbrixHalFilterTsToPcrInputHandler(OmbrixHalFilterHandle aParent, const uint8_t* aData,
                                                       uint32_t aLength, void* aContext) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
