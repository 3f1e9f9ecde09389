/* Start-up and shut-down of the whole HAL, and the frame's own small services. */
#ifndef OMBRIX_HAL_FRAME_H
#define OMBRIX_HAL_FRAME_H

#include "OmbrixHalLogger.h"
#include "OmbrixHalTypes.h"
#include "OmbrixHalVersion.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Start record, copied by OmbrixHalInit_. */
typedef struct OmbrixHalInitParameter {
  uint32_t MemoryCheck; /* non-zero selects the checking allocator */
  /* For the platform's init; 0 makes it fail. Here: the address of the application's video
   * window record, whose first word is the window handle. */
  uintptr_t PlatformArgument;
} OmbrixHalInitParameter;

typedef struct OmbrixHalPlatformInterface {
  OmbrixHalBool (*Init)(uintptr_t aPlatformArgument);
  OmbrixHalBool (*PostInit)(uintptr_t aPlatformArgument);
  void (*Done)(void);
  const char* (*GetHardwareVersion)(void);
} OmbrixHalPlatformInterface;

typedef int32_t (*OmbrixHalPlatformStartFunction)(uint32_t aReserved, uint32_t aA, uint32_t aB);

/* Brings every module up in the fixed order. aParameter may be NULL. Returns 0 when
 * aHeaderVersion does not fit this library (nothing is initialised then) or when the
 * platform init fails (the modules are up all the same). A second call returns 1. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalInit_(const OmbrixHalInitParameter* aParameter,
                                           const char* aHeaderVersion) OMBRIX_HAL_NOEXCEPT;

/* Takes the modules down in the reverse order; 0 when not initialised. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalDone(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API const char* OmbrixHalGetVersion(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCheckVersion(const char* aRequired, char* aMessage,
                                                  uint32_t aMessageSize) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API const char* OmbrixHalGetHardwareVersion(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API void OmbrixHalSetLogHandler(OmbrixHalLogHandler aHandler, void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalEnableLog(uint32_t aLogId) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalDisableLog(uint32_t aLogId) OMBRIX_HAL_NOEXCEPT;

/* Calls aStart(0, aA, aB) and returns its result. */
OMBRIX_HAL_API int32_t OmbrixHalPlatformStart(OmbrixHalPlatformStartFunction aStart, uint32_t aA,
                                              uint32_t aB) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalPlatformGetInterface(OmbrixHalPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

/* Init with the version of the headers the caller was compiled against. */
#define OmbrixHalInit(aParameter) OmbrixHalInit_((aParameter), OMBRIX_HAL_HEADER_VERSION)

#endif
