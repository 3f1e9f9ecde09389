/* Key events: the key mapping of the application window. */
#ifndef OMBRIX_HAL_KEY_EVENT_H
#define OMBRIX_HAL_KEY_EVENT_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

typedef struct OmbrixHalKeyEventPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
} OmbrixHalKeyEventPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalKeyEventInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalKeyEventDone(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalKeyEventPlatformGetInterface(OmbrixHalKeyEventPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
