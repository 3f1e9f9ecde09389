/* Numbered logging through one handler that the middleware registers. */
#ifndef OMBRIX_HAL_LOGGER_H
#define OMBRIX_HAL_LOGGER_H

#include "OmbrixHalTypes.h"

/* Class base ids. A base id logs free texts of its class, and enabling or
 * disabling it acts on the whole class. */
#define OMBRIX_HAL_LOGGER_ID_ERROR 0x1000u
#define OMBRIX_HAL_LOGGER_ID_WARNING 0x2000u
#define OMBRIX_HAL_LOGGER_ID_INFO 0x3000u

/* Severity handed to the log handler. */
#define OMBRIX_HAL_LOGGER_SEVERITY_ERROR 1u
#define OMBRIX_HAL_LOGGER_SEVERITY_WARNING 2u
#define OMBRIX_HAL_LOGGER_SEVERITY_INFO 3u

/* Longest text a handler receives, without the terminating NUL. */
#define OMBRIX_HAL_LOGGER_TEXT_LENGTH 256

OMBRIX_HAL_EXTERN_C_BEGIN

/* Called on the thread that logs; it must be reentrant. */
typedef void (*OmbrixHalLogHandler)(void* aContext, const char* aFunctionName, uint32_t aLogId,
                                    uint32_t aSeverity, const char* aText);

/* A NULL handler switches all logging off. */
OMBRIX_HAL_API void OmbrixHalLoggerSetLogHandler(OmbrixHalLogHandler aHandler, void* aContext) OMBRIX_HAL_NOEXCEPT;

/* Formats aFormat. Conversions: %s, %w (16-bit characters), %c, %d, %u, %x (4 hex
 * digits), %lx (8 hex digits), %%, %ax (pointer and count: bytes in hex) and %a<letter>
 * (bytes in decimal). Integer arguments are 32 bits wide; "l" changes only %x. */
OMBRIX_HAL_API void OmbrixHalLoggerPrintf(const char* aFunctionName, uint32_t aLogId, const char* aFormat,
                                          ...) OMBRIX_HAL_NOEXCEPT;

/* Formats the table text of aLogId with the arguments. */
OMBRIX_HAL_API void OmbrixHalLoggerPrint(const char* aFunctionName, uint32_t aLogId, ...) OMBRIX_HAL_NOEXCEPT;

/* Sets (aEnable non-zero) or clears the enable bit of aLogId, or of its whole class for a
 * base id. All bits are clear at load. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalLoggerEnableLog(uint32_t aLogId, OmbrixHalBool aEnable,
                                                     const char* aFunctionName) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
