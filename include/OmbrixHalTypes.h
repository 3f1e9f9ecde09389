/* Types and the export macro that every public header of the HAL shares. */
#ifndef OMBRIX_HAL_TYPES_H
#define OMBRIX_HAL_TYPES_H

#include <stdint.h>

/* Every API function carries OMBRIX_HAL_API. The library is built with hidden
 * visibility (ELF) or explicit exports (PE), so this macro alone decides what
 * the shared library exports. Define OMBRIX_HAL_STATIC when linking the static
 * library on Windows. */
#if defined(_WIN32)
#  if defined(OMBRIX_HAL_BUILDING)
#    define OMBRIX_HAL_API __declspec(dllexport)
#  elif defined(OMBRIX_HAL_STATIC)
#    define OMBRIX_HAL_API
#  else
#    define OMBRIX_HAL_API __declspec(dllimport)
#  endif
#else
#  define OMBRIX_HAL_API __attribute__((visibility("default")))
#endif

/* No exception may unwind into C: seen from C++, every API function is noexcept. */
#if defined(__cplusplus)
#  define OMBRIX_HAL_NOEXCEPT noexcept
#  define OMBRIX_HAL_EXTERN_C_BEGIN extern "C" {
#  define OMBRIX_HAL_EXTERN_C_END }
#else
#  define OMBRIX_HAL_NOEXCEPT
#  define OMBRIX_HAL_EXTERN_C_BEGIN
#  define OMBRIX_HAL_EXTERN_C_END
#endif

/* 32-bit truth value: 1 success, 0 failure. */
typedef int32_t OmbrixHalBool;

#endif
