/* Console output, separate from the logger. */
#ifndef OMBRIX_HAL_CONSOLE_H
#define OMBRIX_HAL_CONSOLE_H

#include <stdarg.h>

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

typedef struct OmbrixHalConsolePlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  int32_t (*Print)(const char* aFormat, va_list aArguments);
} OmbrixHalConsolePlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalConsoleInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalConsoleDone(void) OMBRIX_HAL_NOEXCEPT;

/* printf-style; returns the platform's result, -1 without a print slot. */
OMBRIX_HAL_API int32_t OmbrixHalConsolePrint(const char* aFormat, ...) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalConsolePlatformGetInterface(OmbrixHalConsolePlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
