/* The file digital tuner ("digitalFile"): plays a transport stream from a file through the
 * file layer, packet by packet, into the packet handlers registered on it. Pulled one packet
 * per OmbrixHalTunerReceive when the record's SymbolRate is 0, otherwise paced by its own
 * thread at SymbolRate x 1000 bytes per second. Middleware normally reaches these through
 * OmbrixHalTunerOpen("digitalFile") and the OmbrixHalTuner... functions. */
#ifndef OMBRIX_HAL_TUNER_FILE_DIGITAL_H
#define OMBRIX_HAL_TUNER_FILE_DIGITAL_H

#include "OmbrixHalTuner.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Bytes read from the file at a time: 256 packets. */
#define OMBRIX_HAL_TUNER_FILE_DIGITAL_CHUNK_SIZE 48128u
#define OMBRIX_HAL_TUNER_FILE_DIGITAL_HANDLER_COUNT 64u

/* Its pacing thread waits until a paced record is set. */
OMBRIX_HAL_API OmbrixHalTunerHandle OmbrixHalTunerFileDigitalCreate(void) OMBRIX_HAL_NOEXCEPT;
/* Waits for the pacing thread to end. Not from inside a packet handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileDigitalDestroy(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Opens the record's Name ("rb") and finds the packet sync; 0 when either fails. Every
 * (re)synchronisation resets the filter behind each handler context. Not from inside a
 * packet handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileDigitalSetParameter(
    OmbrixHalTunerHandle This, const OmbrixHalTunerParameter* aTunerParameter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileDigitalGetParameter(OmbrixHalTunerHandle This,
                                                                   OmbrixHalTunerParameter* aTunerParameter,
                                                                   void* aReserved) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalTunerType OmbrixHalTunerFileDigitalGetType(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* LOCKED while a file is open and its repetitions are not used up, else NOT LOCKED. */
OMBRIX_HAL_API OmbrixHalTunerStatus OmbrixHalTunerFileDigitalGetStatus(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Delivers one packet to every handler, in registration-table order; 0 while paced, when
 * not locked, or when the play has ended. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileDigitalReceive(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* 64 handlers at most; the same context may be registered twice. A handler may register and
 * unregister on its own tuner during delivery. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileDigitalRegisterPacketHandler(OmbrixHalTunerHandle This,
                                                                            OmbrixHalTunerPacketHandler aHandler,
                                                                            void* aContext) OMBRIX_HAL_NOEXCEPT;
/* Removes the first handler registered with aContext. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerFileDigitalUnregisterPacketHandler(OmbrixHalTunerHandle This, void* aContext,
                                                                              void* aReserved) OMBRIX_HAL_NOEXCEPT;
/* 100 while LOCKED, else 0. */
OMBRIX_HAL_API uint32_t OmbrixHalTunerFileDigitalGetSignalStrength(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalTunerFileDigitalGetSignalQuality(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
