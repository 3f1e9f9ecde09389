/* The section filter (type 1): assembles the PSI/SI sections carried in the packets of one PID,
 * optionally checks each section's CRC-32, compares its first bytes with the parameter's
 * match/mask pair and hands every section that passes to its handler as (filter, section,
 * length from table_id to the last CRC byte, context). Chains are normally built by the filter
 * framework; these are the kind's operations. */
#ifndef OMBRIX_HAL_FILTER_TS_TO_SECTION_H
#define OMBRIX_HAL_FILTER_TS_TO_SECTION_H

#include "OmbrixHalFilter.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* The largest section: a section_length of 0xFFF plus the three header bytes. */
#define OMBRIX_HAL_FILTER_SECTION_MAX_SIZE 4098u

/* NULL when aParent is NULL or not a TS filter (type 0), or memory runs out. */
OMBRIX_HAL_API OmbrixHalFilterHandle OmbrixHalFilterTsToSectionCreate(OmbrixHalFilterHandle aParent)
    OMBRIX_HAL_NOEXCEPT;
/* Once a handler was hooked, closes the parent too, and with it the chain below. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionDestroy(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Hooks this filter's input handler onto the parent, then takes aHandler; 0 for a NULL handler
 * or when the parent refuses. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionSetFilterHandler(OmbrixHalFilterHandle This,
                                                                       OmbrixHalFilterHandler aHandler,
                                                                       void* aContext) OMBRIX_HAL_NOEXCEPT;
/* Passes the record to the parent, which selects the PID, and keeps a copy. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionSetParameter(
    OmbrixHalFilterHandle This, const OmbrixHalFilterParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
/* 0 until a parameter was set. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionGetParameter(OmbrixHalFilterHandle This,
                                                                   OmbrixHalFilterParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
/* Needs a parameter and a handler; assembly starts afresh. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionStart(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Keeps the partial section; the next Start drops it. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionStop(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionIsEnabled(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* Drops the partial section. */
OMBRIX_HAL_API void OmbrixHalFilterTsToSectionReset(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* The info word (always 1), the sections received (counted before the CRC check) and the CRC
 * errors. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionGetInfo(OmbrixHalFilterHandle This, OmbrixHalFilterInfo* aInfo)
    OMBRIX_HAL_NOEXCEPT;
/* Zeroes both counters. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFilterTsToSectionInfoReset(OmbrixHalFilterHandle This) OMBRIX_HAL_NOEXCEPT;
/* What the parent calls with each 188-byte packet of the PID; aContext is the section filter. */
OMBRIX_HAL_API void OmbrixHalFilterTsToSectionInputHandler(OmbrixHalFilterHandle aParent, const uint8_t* aPacket,
                                                          uint32_t aLength, void* aContext) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
