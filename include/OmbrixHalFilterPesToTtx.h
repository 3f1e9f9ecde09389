/* The teletext filter (type 4): splits each PES packet of DVB-carried EBU teletext from a PES
 * filter into its data units and hands every teletext line to its handler as 42 bytes (address
 * and data) in transmission bit order. It works in the PES filter's buffer. */
#ifndef OMBRIX_HAL_FILTER_PES_TO_TTX_H
#define OMBRIX_HAL_FILTER_PES_TO_TTX_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Bytes in one delivered teletext line. */
#define OMBRIX_HAL_FILTER_TTX_LINE_SIZE 42u

/* NULL unless aParent is a PES filter. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterPesToTtxCreate(OmbrixHalFilterHandle aParent) OMBRIX_HAL_NOEXCEPT;
/* Closes the parent too once a handler was hooked. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterPesToTtxDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Refuses a NULL handler; hooks the input handler onto the parent. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterPesToTtxSetFilterHandler(OmbrixHalFilterHandle This,
                                                                     OmbrixHalFilterHandler aHandler,
                                                                     void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterPesToTtxSetParameter(OmbrixHalFilterHandle This,
                                                                 const OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterPesToTtxGetParameter(OmbrixHalFilterHandle This,
                                                                 OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
/* Needs a parameter and a handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterPesToTtxStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterPesToTtxStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterPesToTtxIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Takes one PES packet from the parent; aContext is the teletext filter. Reverses the bits of
 * each delivered line in place, in the PES packet itself. */
OMBRIX_HAL_API void OmbrixHalFilterPesToTtxInputHandler(OmbrixHalFilterHandle aParent, const uint8_t* aData,
                                                        uint32_t aLength, void* aContext) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
