/* The DVB-T tuner ("DVB-T", type 9): tunes the receiver through its driver library by frequency
 * and bandwidth, writes the transmission parameters the driver detected back into its record,
 * runs one driver PID filter of up to 16 PIDs and hands each received packet, on the driver's
 * thread, to the handler registered for its PID. One DVB-T tuner exists at a time. Middleware
 * normally reaches these through OmbrixHalTunerOpen("DVB-T") and the OmbrixHalTuner...
 * functions, and the PIDs through the DVB-T TS filters. */
#ifndef OMBRIX_HAL_TUNER_DVB_T_H
#define OMBRIX_HAL_TUNER_DVB_T_H

#include "OmbrixHalTuner.h"

OMBRIX_HAL_EXTERN_C_BEGIN

#define OMBRIX_HAL_TUNER_DVB_T_PID_COUNT 16u
/* Flags in the PID given to OmbrixHalTunerDvbTAddPid: the entry takes every whole buffer the
 * driver delivers rather than the packets of one PID; the entry may go without a handler. */
#define OMBRIX_HAL_TUNER_DVB_T_PID_WHOLE_BUFFER 0x10000u
#define OMBRIX_HAL_TUNER_DVB_T_PID_NO_HANDLER 0x20000u
/* The PID that OmbrixHalTunerDvbTRemovePid takes for all of them. */
#define OMBRIX_HAL_TUNER_DVB_T_PID_ALL 0xffffffffu

/* The signal as the driver last reported it. */
typedef struct OmbrixHalTunerDvbTMonitoring {
  uint8_t SignalStrength;        /* percent */
  uint8_t SignalQuality;         /* percent */
  uint32_t DriverStatus;         /* the driver's 16-bit status */
  int32_t PowerRatioDb;          /* whole dB; -100 when unknown */
  uint32_t PowerRatioFraction;   /* ten-thousandths of a dB */
  uint32_t DriverValueQuotient;  /* the driver's value divided by 100000000 */
  uint32_t DriverValueRemainder; /* and the remainder */
} OmbrixHalTunerDvbTMonitoring;

/* Opens the driver (and the TS reader library when the library search finds one); NULL while
 * another DVB-T tuner exists or when the driver fails. Prints the driver's versions. */
OMBRIX_HAL_API OmbrixHalTunerHandle OmbrixHalTunerDvbTCreate(OmbrixHalTunerType aType) OMBRIX_HAL_NOEXCEPT;
/* Takes the buffers back and closes the driver. Not from inside a packet handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTDestroy(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Removes every PID, then tunes to the record's Frequency and Bandwidth, all else detected;
 * 1 whether or not the channel locks. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTSetParameter(
    OmbrixHalTunerHandle This, const OmbrixHalTunerParameter* aTunerParameter) OMBRIX_HAL_NOEXCEPT;
/* The record, with the detected values of the last locked tuning. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTGetParameter(OmbrixHalTunerHandle This,
                                                            OmbrixHalTunerParameter* aTunerParameter,
                                                            void* aReserved) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalTunerType OmbrixHalTunerDvbTGetType(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* LOCKED after a tuning that locked, else NOT LOCKED. */
OMBRIX_HAL_API OmbrixHalTunerStatus OmbrixHalTunerDvbTGetStatus(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Packets reach handlers only through OmbrixHalTunerDvbTAddPid: these three do nothing and
 * return 1. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTReceive(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTRegisterPacketHandler(OmbrixHalTunerHandle This,
                                                                     OmbrixHalTunerPacketHandler aHandler,
                                                                     void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTUnregisterPacketHandler(OmbrixHalTunerHandle This, void* aContext,
                                                                       void* aReserved) OMBRIX_HAL_NOEXCEPT;
/* Percent. Asks the driver while tuned; otherwise the last value (0 after a tuning). */
OMBRIX_HAL_API uint32_t OmbrixHalTunerDvbTGetSignalStrength(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalTunerDvbTGetSignalQuality(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Asks the driver, tuned or not, and copies the block out. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTGetMonitoring(
    OmbrixHalTunerHandle This, OmbrixHalTunerDvbTMonitoring* aMonitoring) OMBRIX_HAL_NOEXCEPT;
/* Packets of aPid go to aHandler(tuner, packet, 188, aContext) on the driver's thread; the
 * first of two entries of one PID takes them. Needs a tuned channel; at most 16 entries. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTAddPid(OmbrixHalTunerHandle This, uint32_t aPid,
                                                      OmbrixHalTunerPacketHandler aHandler,
                                                      void* aContext) OMBRIX_HAL_NOEXCEPT;
/* The first entry of aPid; OMBRIX_HAL_TUNER_DVB_T_PID_ALL removes all and deletes the driver's
 * filter. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTRemovePid(OmbrixHalTunerHandle This, uint32_t aPid) OMBRIX_HAL_NOEXCEPT;
/* Returns once no delivery of the tuner is under way. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerDvbTSynchronize(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* The driver's handle (a DibDriverHandle). */
OMBRIX_HAL_API void* OmbrixHalTunerDvbTGetHandle(OmbrixHalTunerHandle This) OMBRIX_HAL_NOEXCEPT;
/* "major.minor.patch" of the driver last opened. */
OMBRIX_HAL_API const char* OmbrixHalTunerDvbTGetDriverVersionString(void) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
