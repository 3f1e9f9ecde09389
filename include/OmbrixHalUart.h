/* UART: a serial port. */
#ifndef OMBRIX_HAL_UART_H
#define OMBRIX_HAL_UART_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Opaque; whatever the platform's open returns. NULL means none. */
typedef struct OmbrixHalUartObject* OmbrixHalUartHandle;

/* aParameter (the port settings) and aOptions are the platform's and reach it unchanged. */
typedef struct OmbrixHalUartPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  OmbrixHalUartHandle (*Open)(const void* aParameter, uint32_t aOptions);
  OmbrixHalBool (*Close)(OmbrixHalUartHandle aThis);
  uint32_t (*Read)(OmbrixHalUartHandle aThis, uint8_t* aBuffer, uint32_t aSize);
  uint32_t (*Write)(OmbrixHalUartHandle aThis, const uint8_t* aBuffer, uint32_t aSize);
} OmbrixHalUartPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalUartInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalUartDone(void) OMBRIX_HAL_NOEXCEPT;

/* This platform has no UART: every operation warns that it is not supported and returns 0. */
OMBRIX_HAL_API OmbrixHalUartHandle OmbrixHalUartOpen(const void* aParameter, uint32_t aOptions) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalUartClose(OmbrixHalUartHandle aThis) OMBRIX_HAL_NOEXCEPT;
/* Read and Write return what the platform returns (the bytes transferred), 0 on failure. */
OMBRIX_HAL_API uint32_t OmbrixHalUartRead(OmbrixHalUartHandle aThis, uint8_t* aBuffer,
                                          uint32_t aSize) OMBRIX_HAL_NOEXCEPT;
/* Write counts as supported when the platform can read. */
OMBRIX_HAL_API uint32_t OmbrixHalUartWrite(OmbrixHalUartHandle aThis, const uint8_t* aBuffer,
                                           uint32_t aSize) OMBRIX_HAL_NOEXCEPT;

/* Returns 0 on this platform, which fills no slot. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalUartPlatformGetInterface(OmbrixHalUartPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
