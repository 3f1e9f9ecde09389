/* The file analog tuner ("analogFile"): plays a file of 64-byte line records (analog-broadcast
 * side data such as teletext lines, each tagged with its video line) into the packet handlers
 * registered on it. Paced by its own thread one field per FieldInterval milliseconds, or pulled
 * one record per OmbrixHalTunerReceive when FieldInterval is 0. Middleware normally reaches
 * these through OmbrixHalTunerOpen("analogFile") and the OmbrixHalTuner... functions, and the
 * teletext lines through a filter of type 7 made by OmbrixHalFilterCreateRealFilter. */
#ifndef OMBRIX_HAL_TUNER_FILE_ANALOG_H
#define OMBRIX_HAL_TUNER_FILE_ANALOG_H

#include "OmbrixHalTuner.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* A record: bytes 0 and 1 hold its line, byte 0 + ((byte 1 & 0x06) << 8); lines below 263 belong
 * to field 2, the others to field 1. The rest passes untouched. */
#define OMBRIX_HAL_TUNER_FILE_ANALOG_RECORD_SIZE 64u
#define OMBRIX_HAL_TUNER_FILE_ANALOG_HANDLER_COUNT 10u

/* Its pacing thread waits until a paced record is set. */
OMBRIX_HAL_API OmbrixHalTunerHandle OmbrixHalTunerFileAnalogCreate(void) OMBRIX_HAL_NOEXCEPT;
/* Waits for the pacing thread to end. Not from inside a packet handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileAnalogDestroy(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Opens the record's Name ("rb") and plays it from its start; resets the filter behind each
 * handler context. Waits for the field being played to end. A paced FieldInterval of 1000 ms or
 * more never ends a field (the wait is measured within one second). */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileAnalogSetParameter(
    OmbrixHalTunerHandle This, const OmbrixHalTunerParameter* aTunerParameter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileAnalogGetParameter(OmbrixHalTunerHandle This,
                                                                  OmbrixHalTunerParameter* aTunerParameter,
                                                                  void* aReserved) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalTunerType OmbrixHalTunerFileAnalogGetType(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* LOCKED while a file is open and its repetitions are not used up, else NOT LOCKED. */
OMBRIX_HAL_API OmbrixHalTunerStatus OmbrixHalTunerFileAnalogGetStatus(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Delivers the next record to every handler, rewinding at the end of the file; 0 while paced or
 * when the play has ended. Does not look at fields. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileAnalogReceive(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* 10 handlers at most. A handler may register and unregister on its own tuner during delivery;
 * from other threads these calls wait for the end of the field being played. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileAnalogRegisterPacketHandler(OmbrixHalTunerHandle This,
                                                                           OmbrixHalTunerPacketHandler aHandler,
                                                                           void* aContext) OMBRIX_HAL_NOEXCEPT;
/* Removes the first handler registered with aContext. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileAnalogUnregisterPacketHandler(OmbrixHalTunerHandle This, void* aContext,
                                                                             void* aReserved) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
