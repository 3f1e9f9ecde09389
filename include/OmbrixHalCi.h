/* Common interface: the slots for conditional-access modules. */
#ifndef OMBRIX_HAL_CI_H
#define OMBRIX_HAL_CI_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Slots, addresses, registers and lengths are the middleware's and reach the platform
 * unchanged. */
typedef struct OmbrixHalCiPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  uint32_t (*GetNumberOfSlots)(void);
  void (*ResetModule)(uint32_t aSlot);
  OmbrixHalBool (*IsModuleInserted)(uint32_t aSlot);
  OmbrixHalBool (*EnableTsRouting)(uint32_t aSlot);
  OmbrixHalBool (*DisableTsRouting)(uint32_t aSlot);
  OmbrixHalBool (*ReadAttributeMemory)(uint32_t aSlot, uint32_t aAddress, uint8_t* aBuffer, uint32_t aLength);
  OmbrixHalBool (*WriteAttributeMemory)(uint32_t aSlot, uint32_t aAddress, const uint8_t* aBuffer, uint32_t aLength);
  OmbrixHalBool (*ReadIoRegister)(uint32_t aSlot, uint32_t aRegister, uint32_t* aValue);
  OmbrixHalBool (*WriteIoRegister)(uint32_t aSlot, uint32_t aRegister, uint32_t aValue);
} OmbrixHalCiPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalCiDone(void) OMBRIX_HAL_NOEXCEPT;

/* Each operation returns the platform's answer unchecked and unlogged, 0 when the platform
 * does not support it. This platform has no CI slot, and its answers contradict each other:
 * no slots, yet a module is reported inserted and routing reported switched; every memory
 * and register access fails. */
OMBRIX_HAL_API uint32_t OmbrixHalCiGetNumberOfSlots(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalCiResetModule(uint32_t aSlot) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiIsModuleInserted(uint32_t aSlot) OMBRIX_HAL_NOEXCEPT;
/* Routes the transport stream through the module in aSlot, or past it. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiEnableTsRouting(uint32_t aSlot) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiDisableTsRouting(uint32_t aSlot) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiReadAttributeMemory(uint32_t aSlot, uint32_t aAddress, uint8_t* aBuffer,
                                                           uint32_t aLength) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiWriteAttributeMemory(uint32_t aSlot, uint32_t aAddress,
                                                            const uint8_t* aBuffer,
                                                            uint32_t aLength) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiReadIoRegister(uint32_t aSlot, uint32_t aRegister,
                                                      uint32_t* aValue) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiWriteIoRegister(uint32_t aSlot, uint32_t aRegister,
                                                       uint32_t aValue) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalCiPlatformGetInterface(OmbrixHalCiPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
