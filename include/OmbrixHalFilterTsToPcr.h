/* A chain stage; its operations come with the stage itself. */
#ifndef STUB_TsToPcr
#define STUB_TsToPcr
#include "OmbrixHalFilter.h"
OMBRIX_HAL_EXTERN_C_BEGIN
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterTsToPcrCreate(OmbrixHalFilterHandle aParent) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_EXTERN_C_END
#endif
