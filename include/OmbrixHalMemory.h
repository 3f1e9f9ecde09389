/* One allocator for the library and the middleware, with an optional checking mode
 * that tracks every block with the source position that requested it. */
#ifndef OMBRIX_HAL_MEMORY_H
#define OMBRIX_HAL_MEMORY_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

typedef struct OmbrixHalMemoryPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  void* (*Allocate)(uint32_t aSize, const char* aFile, uint32_t aLine);
  void (*Free)(void* aMemoryPtr);
} OmbrixHalMemoryPlatformInterface;

/* Non-zero aCheck selects the checking mode for the whole run. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalMemoryInit(uint32_t aCheck) OMBRIX_HAL_NOEXCEPT;

/* In checking mode, reports every block still allocated as an error. */
OMBRIX_HAL_API void OmbrixHalMemoryDone(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API void* OmbrixHalMemoryAllocate_(uint32_t aSize, const char* aFile, uint32_t aLine) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalMemoryFree_(void* aMemoryPtr, const char* aFile, uint32_t aLine) OMBRIX_HAL_NOEXCEPT;

/* In checking mode, logs the live blocks and the totals as infos. */
OMBRIX_HAL_API void OmbrixHalMemoryPrintStatistics(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalMemoryPlatformGetInterface(OmbrixHalMemoryPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#define OmbrixHalMemoryAllocate(aSize) OmbrixHalMemoryAllocate_((aSize), __FILE__, __LINE__)
#define OmbrixHalMemoryFree(aMemoryPtr) OmbrixHalMemoryFree_((aMemoryPtr), __FILE__, __LINE__)

#endif
