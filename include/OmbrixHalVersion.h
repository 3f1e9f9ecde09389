/* Library version and the compatibility checks of version texts. */
#ifndef OMBRIX_HAL_VERSION_H
#define OMBRIX_HAL_VERSION_H

#include "OmbrixHalTypes.h"

/* The version of these headers; OmbrixHalInit() passes it to OmbrixHalInit_. */
#define OMBRIX_HAL_HEADER_VERSION "1.30.04"

OMBRIX_HAL_EXTERN_C_BEGIN

/* "1.30.04" */
OMBRIX_HAL_API const char* OmbrixHalVersionGetVersion(void) OMBRIX_HAL_NOEXCEPT;

/* 1 when a caller built against header version aHeaderVersion may use this library. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVersionCheckHeaderVersion(const char* aHeaderVersion) OMBRIX_HAL_NOEXCEPT;

/* 1 when this library satisfies aRequired ("1.30", "1.30.04-AB", ...); otherwise 0 and
 * the reason in aMessage, cut to aMessageSize - 1 characters and always terminated. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVersionCheckVersion(const char* aRequired, char* aMessage,
                                                         uint32_t aMessageSize) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
