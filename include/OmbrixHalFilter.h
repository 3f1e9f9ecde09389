/* Filters: objects that take transport-stream data from a tuner or from another filter and
 * hand a selected part of it (TS packets, sections, PES packets, PCR values, teletext lines)
 * to a handler of the client. */
#ifndef OMBRIX_HAL_FILTER_H
#define OMBRIX_HAL_FILTER_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* An open filter. Opaque; NULL means none. */
typedef struct OmbrixHalFilterHead* OmbrixHalFilterHandle;

typedef uint32_t OmbrixHalFilterType;

enum {
  OMBRIX_HAL_FILTER_TYPE_TS = 0,
  OMBRIX_HAL_FILTER_TYPE_SECTION = 1,
  OMBRIX_HAL_FILTER_TYPE_PCR = 2,
  OMBRIX_HAL_FILTER_TYPE_PES = 3,
  OMBRIX_HAL_FILTER_TYPE_TELETEXT = 4
};

/* Selects every PID on a file tuner's root filter. */
#define OMBRIX_HAL_FILTER_PID_ALL 0xffffffffu
#define OMBRIX_HAL_FILTER_MATCH_SIZE 10

/* The same record for every kind; 40 bytes. */
typedef struct OmbrixHalFilterParameter {
  uint32_t parameterType; /* not read by any filter */
  uint32_t pid;
  uint8_t match[OMBRIX_HAL_FILTER_MATCH_SIZE]; /* section bytes 0 to 9: required bit values */
  uint8_t mask[OMBRIX_HAL_FILTER_MATCH_SIZE];  /* which bits of those bytes are compared */
  uint32_t filterLen;                          /* number of section bytes compared */
  uint32_t value;                              /* PCR filter: the current PCR */
  uint32_t crcCheck;                           /* nonzero: sections must pass the CRC-32 */
} OmbrixHalFilterParameter;

/* Called with the delivering filter, the bytes (valid only during the call), their number and
 * the context given with the handler. */
typedef void (*OmbrixHalFilterHandler)(OmbrixHalFilterHandle aFilter, const uint8_t* aData, uint32_t aLength,
                                       void* aContext);

/* Clears a filter's assembly state. Anything that is not an open filter, NULL included, is
 * ignored, so a tuner may pass every handler context it holds. */
OMBRIX_HAL_API void OmbrixHalFilterReset(OmbrixHalFilterHandle aFilter) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
