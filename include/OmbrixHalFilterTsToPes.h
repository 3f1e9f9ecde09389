/* A chain stage; its operations come with the stage itself. */
#ifndef STUB_TsToPes
#define STUB_TsToPes
#include "OmbrixHalFilter.h"
OMBRIX_HAL_EXTERN_C_BEGIN
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterTsToPesCreate(OmbrixHalFilterHandle aParent) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_EXTERN_C_END
#endif
