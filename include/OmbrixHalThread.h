/* Threads: create, end, identify, sleep. */
#ifndef OMBRIX_HAL_THREAD_H
#define OMBRIX_HAL_THREAD_H

#include "OmbrixHalTypes.h"

#define OMBRIX_HAL_THREAD_PRIORITY_MAX 15u

OMBRIX_HAL_EXTERN_C_BEGIN

/* Opaque; NULL means none. */
typedef struct OmbrixHalThreadObject* OmbrixHalThreadHandle;

/* A thread ends by returning from its function. */
typedef uint32_t (*OmbrixHalThreadFunction)(void* aParameter);

typedef struct OmbrixHalThreadPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  OmbrixHalThreadHandle (*Create)(OmbrixHalThreadFunction aFunction, void* aParameter, uint32_t aPriority,
                                  uint32_t aReserved, uint32_t aStackSize);
  OmbrixHalBool (*Destroy)(OmbrixHalThreadHandle aThis);
  void (*Terminate)(OmbrixHalThreadHandle aThis, uint32_t aExitCode);
  void (*Sleep)(uint32_t aMilliseconds);
  uint32_t (*GetId)(void);
} OmbrixHalThreadPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalThreadInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalThreadDone(void) OMBRIX_HAL_NOEXCEPT;

/* Starts aFunction(aParameter) at once. aPriority 0 to 15 is checked but, on this
 * platform, not applied; aReserved is passed on untouched. */
OMBRIX_HAL_API OmbrixHalThreadHandle OmbrixHalThreadCreate(OmbrixHalThreadFunction aFunction, void* aParameter,
                                                          uint32_t aPriority, uint32_t aReserved,
                                                          uint32_t aStackSize) OMBRIX_HAL_NOEXCEPT;

/* Not supported on this platform: warns and returns 0. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalThreadDestroy(OmbrixHalThreadHandle aThis) OMBRIX_HAL_NOEXCEPT;
/* Does nothing on this platform. */
OMBRIX_HAL_API void OmbrixHalThreadTerminate(OmbrixHalThreadHandle aThis, uint32_t aExitCode) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalThreadSleep(uint32_t aMilliseconds) OMBRIX_HAL_NOEXCEPT;
/* The calling thread's id; 0 when not supported. */
OMBRIX_HAL_API uint32_t OmbrixHalThreadGetId(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalThreadPlatformGetInterface(OmbrixHalThreadPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
