/* Critical sections: binary semaphores, deliberately not recursive, that any thread may leave. */
#ifndef OMBRIX_HAL_CRITICAL_SECTION_H
#define OMBRIX_HAL_CRITICAL_SECTION_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Opaque; NULL means none. */
typedef struct OmbrixHalCriticalSectionObject* OmbrixHalCriticalSectionHandle;

typedef struct OmbrixHalCriticalSectionPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  OmbrixHalCriticalSectionHandle (*Create)(void);
  OmbrixHalBool (*Destroy)(OmbrixHalCriticalSectionHandle aThis);
  OmbrixHalBool (*Enter)(OmbrixHalCriticalSectionHandle aThis);
  OmbrixHalBool (*TimedEnter)(OmbrixHalCriticalSectionHandle aThis, uint32_t aTimeout);
  OmbrixHalBool (*Leave)(OmbrixHalCriticalSectionHandle aThis);
} OmbrixHalCriticalSectionPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalCriticalSectionInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalCriticalSectionDone(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalCriticalSectionHandle OmbrixHalCriticalSectionCreate(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCriticalSectionDestroy(OmbrixHalCriticalSectionHandle aThis) OMBRIX_HAL_NOEXCEPT;

/* Blocks without limit. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCriticalSectionEnter(OmbrixHalCriticalSectionHandle aThis) OMBRIX_HAL_NOEXCEPT;

/* Gives up after aTimeout milliseconds; 0 only tries. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCriticalSectionTimedEnter(OmbrixHalCriticalSectionHandle aThis,
                                                               uint32_t aTimeout) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalCriticalSectionLeave(OmbrixHalCriticalSectionHandle aThis) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalCriticalSectionPlatformGetInterface(
    OmbrixHalCriticalSectionPlatformInterface* aInterface) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
