/* The PES filter (type 3): reassembles the PES packets of one PID from the payloads of a TS
 * filter's packets and hands each whole PES packet to its handler. The chain builder makes
 * it; middleware normally reaches it through OmbrixHalFilterOpen and the OmbrixHalFilter...
 * functions. */
#ifndef OMBRIX_HAL_FILTER_TS_TO_PES_H
#define OMBRIX_HAL_FILTER_TS_TO_PES_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Largest PES packet kept; a longer one is cut short (unbounded) or dropped (bounded). */
#define OMBRIX_HAL_FILTER_PES_BUFFER_SIZE 65536u

/* NULL unless aParent is a TS filter. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterTsToPesCreate(OmbrixHalFilterHandle aParent) OMBRIX_HAL_NOEXCEPT;
/* Closes the parent too once a handler was hooked. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPesDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Refuses a NULL handler; hooks the input handler onto the parent. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPesSetFilterHandler(OmbrixHalFilterHandle This,
                                                                    OmbrixHalFilterHandler aHandler,
                                                                    void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPesSetParameter(OmbrixHalFilterHandle This,
                                                                const OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPesGetParameter(OmbrixHalFilterHandle This,
                                                                OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
/* Needs a parameter and a handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPesStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPesStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToPesIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Drops the PES packet being assembled and waits for the next unit start. */
OMBRIX_HAL_API void OmbrixHalFilterTsToPesReset(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Takes one TS packet from the parent; aContext is the PES filter. */
OMBRIX_HAL_API void OmbrixHalFilterTsToPesInputHandler(OmbrixHalFilterHandle aParent, const uint8_t* aData,
                                                       uint32_t aLength, void* aContext) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
