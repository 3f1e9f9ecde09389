/* Filters: objects that take transport-stream data from a tuner or from another filter and
 * hand a selected part of it (TS packets, sections, PES packets, PCR values, teletext lines)
 * to a handler of the client. A client opens a filter on a tuner with OmbrixHalFilterOpen, sets
 * its parameter, starts it, and closes it; clients of one PID, type and tuner share the work. */
#ifndef OMBRIX_HAL_FILTER_H
#define OMBRIX_HAL_FILTER_H

#include "OmbrixHalTuner.h"
#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* An open filter. Opaque; NULL means none. */
typedef struct OmbrixHalFilterHead* OmbrixHalFilterHandle;

typedef uint32_t OmbrixHalFilterType;

enum {
  OMBRIX_HAL_FILTER_TYPE_TS = 0,       /* whole TS packets of one PID */
  OMBRIX_HAL_FILTER_TYPE_SECTION = 1,  /* PSI/SI sections */
  OMBRIX_HAL_FILTER_TYPE_PCR = 2,      /* program clock references */
  OMBRIX_HAL_FILTER_TYPE_PES = 3,      /* PES packets */
  OMBRIX_HAL_FILTER_TYPE_TELETEXT = 4  /* teletext lines from PES */
};

/* What OmbrixHalFilterGetType answers for NULL. */
#define OMBRIX_HAL_FILTER_TYPE_NONE 11u

/* Selects every PID on a file tuner's root filter. */
#define OMBRIX_HAL_FILTER_PID_ALL 0xffffffffu
#define OMBRIX_HAL_FILTER_MATCH_SIZE 10
/* A filter name keeps at most 15 characters. */
#define OMBRIX_HAL_FILTER_NAME_SIZE 16

/* The same record for every kind; 40 bytes. */
typedef struct OmbrixHalFilterParameter {
  uint32_t parameterType; /* not read by any filter */
  uint32_t pid;
  uint8_t match[OMBRIX_HAL_FILTER_MATCH_SIZE]; /* section bytes 0 to 9: required bit values */
  uint8_t mask[OMBRIX_HAL_FILTER_MATCH_SIZE];  /* which bits of those bytes are compared */
  uint32_t filterLen;                          /* number of section bytes compared */
  uint32_t value;                              /* PCR filter: the current PCR, 45 kHz units */
  uint32_t crcCheck;                           /* nonzero: sections must pass the CRC-32 */
} OmbrixHalFilterParameter;

/* A section filter's statistics. */
typedef struct OmbrixHalFilterInfo {
  uint32_t infoWord; /* always 1 */
  uint32_t sectionsReceived;
  uint32_t crcErrors;
} OmbrixHalFilterInfo;

/* Called with the delivering filter, the bytes (valid only during the call), their number and
 * the context given with the handler. TS filters deliver 188-byte packets, section filters whole
 * sections, PES filters whole PES packets, PCR filters an 8-byte record (the PCR in 45 kHz units,
 * then the packets since the previous PCR), teletext filters 42-byte lines. */
typedef void (*OmbrixHalFilterHandler)(OmbrixHalFilterHandle aFilter, const uint8_t* aData, uint32_t aLength,
                                       void* aContext);

/* A filter of aType on aTuner. aHandler may be NULL only for PCR filters, which can be polled
 * with OmbrixHalFilterGetParameter. aName (at most 15 characters kept; may be NULL) makes the
 * generic calls log their outcome. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterOpen(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                                        const char* aName, OmbrixHalFilterHandler aHandler,
                                                        void* aContext) OMBRIX_HAL_NOEXCEPT;
/* Stops and frees the filter; closing the top of a chain closes the chain. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterClose(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Refused while the filter runs. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterSetParameter(OmbrixHalFilterHandle This,
                                                        const OmbrixHalFilterParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterGetParameter(OmbrixHalFilterHandle This,
                                                        OmbrixHalFilterParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* OMBRIX_HAL_FILTER_TYPE_NONE for NULL. */
OMBRIX_HAL_API OmbrixHalFilterType OmbrixHalFilterGetType(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Clears a filter's assembly state. Anything that is not an open filter, NULL included, is
 * ignored, so a tuner may pass every handler context it holds. */
OMBRIX_HAL_API void OmbrixHalFilterReset(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* 1 when the filter keeps statistics (section filters), which are then in aInfo. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterGetInfo(OmbrixHalFilterHandle This, OmbrixHalFilterInfo* aInfo)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalFilterResetInfo(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Hooks aHandler onto the filter: how a chain's stages feed one another. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterSetHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                                      void* aContext) OMBRIX_HAL_NOEXCEPT;

/* A singly linked list through the filters' own link: push in front, and unlink. Both return
 * the new head. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterAddFilterToList(OmbrixHalFilterHandle aHead,
                                                                   OmbrixHalFilterHandle aFilter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterRemoveFilterFromList(OmbrixHalFilterHandle aHead,
                                                                        OmbrixHalFilterHandle aFilter)
    OMBRIX_HAL_NOEXCEPT;

/* A real filter chain on aTuner whose top delivers aType to aHandler, chosen by the tuner's kind. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterCreateRealFilter(OmbrixHalTunerHandle aTuner,
                                                                    OmbrixHalFilterType aType,
                                                                    OmbrixHalFilterHandler aHandler,
                                                                    void* aContext) OMBRIX_HAL_NOEXCEPT;
/* The platform's TS root for broadcast tuners; NULL for every other tuner. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterFactoryCreateFilter(OmbrixHalTunerHandle aTuner,
                                                                       OmbrixHalFilterType aType,
                                                                       OmbrixHalFilterHandler aHandler,
                                                                       void* aContext) OMBRIX_HAL_NOEXCEPT;
/* The stages that turn aRoot's output into aType, hooked from the top down; NULL (and nothing
 * left of what was made) on failure. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterCreateChain(OmbrixHalFilterHandle aRoot, OmbrixHalFilterType aType,
                                                               OmbrixHalFilterHandler aHandler,
                                                               void* aContext) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
