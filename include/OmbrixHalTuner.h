/* Tuners: the tuning record with its type names and enumerations, its validation and
 * logging, and its one-line text form; the tuner object with its operations and packet
 * handlers. */
#ifndef OMBRIX_HAL_TUNER_H
#define OMBRIX_HAL_TUNER_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* Enumerated fields are signed 32-bit numbers, whatever width the compiler gives an enum. */
typedef int32_t OmbrixHalTunerType;
typedef int32_t OmbrixHalTunerStatus;
typedef int32_t OmbrixHalTunerCodeRate;
typedef int32_t OmbrixHalTunerModulation;
typedef int32_t OmbrixHalTunerModulationSystem;
typedef int32_t OmbrixHalTunerPolarisation;
typedef int32_t OmbrixHalTunerSatellitePosition;
typedef int32_t OmbrixHalTunerSatelliteOption;
typedef int32_t OmbrixHalTunerBandwidth;
typedef int32_t OmbrixHalTunerGuardInterval;
typedef int32_t OmbrixHalTunerTransmissionMode;

/* A record of type UNKNOWN is never valid. DVB-S2 requests travel as DVB-S records. */
enum {
  OMBRIX_HAL_TUNER_TYPE_UNKNOWN = 0,
  OMBRIX_HAL_TUNER_TYPE_ANALOG = 1,
  OMBRIX_HAL_TUNER_TYPE_ANALOG_CVBS = 2,
  OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE = 3,
  OMBRIX_HAL_TUNER_TYPE_DIGITAL = 4,
  OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE = 5,
  OMBRIX_HAL_TUNER_TYPE_DVB_C = 6,
  OMBRIX_HAL_TUNER_TYPE_DVB_S = 7,
  OMBRIX_HAL_TUNER_TYPE_DVB_S2 = 8,
  OMBRIX_HAL_TUNER_TYPE_DVB_T = 9,
  OMBRIX_HAL_TUNER_TYPE_ASI = 10
};

enum {
  OMBRIX_HAL_TUNER_STATUS_UNKNOWN = 0,
  OMBRIX_HAL_TUNER_STATUS_WAIT_FOR_LOCK = 1,
  OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED = 2,
  OMBRIX_HAL_TUNER_STATUS_LOCKED = 3
};

enum {
  OMBRIX_HAL_TUNER_CODE_RATE_UNKNOWN = 0,
  OMBRIX_HAL_TUNER_CODE_RATE_AUTO = 1,
  OMBRIX_HAL_TUNER_CODE_RATE_1_2 = 2,
  OMBRIX_HAL_TUNER_CODE_RATE_1_3 = 3,
  OMBRIX_HAL_TUNER_CODE_RATE_1_4 = 4,
  OMBRIX_HAL_TUNER_CODE_RATE_2_3 = 5,
  OMBRIX_HAL_TUNER_CODE_RATE_2_5 = 6,
  OMBRIX_HAL_TUNER_CODE_RATE_3_4 = 7,
  OMBRIX_HAL_TUNER_CODE_RATE_3_5 = 8,
  OMBRIX_HAL_TUNER_CODE_RATE_4_5 = 9,
  OMBRIX_HAL_TUNER_CODE_RATE_5_6 = 10,
  OMBRIX_HAL_TUNER_CODE_RATE_6_7 = 11,
  OMBRIX_HAL_TUNER_CODE_RATE_7_8 = 12,
  OMBRIX_HAL_TUNER_CODE_RATE_8_9 = 13,
  OMBRIX_HAL_TUNER_CODE_RATE_9_10 = 14
};

enum {
  OMBRIX_HAL_TUNER_MODULATION_UNKNOWN = 0,
  OMBRIX_HAL_TUNER_MODULATION_AUTO = 1,
  OMBRIX_HAL_TUNER_MODULATION_QPSK = 2,
  OMBRIX_HAL_TUNER_MODULATION_8PSK = 3,
  OMBRIX_HAL_TUNER_MODULATION_QAM_16 = 4,
  OMBRIX_HAL_TUNER_MODULATION_QAM_32 = 5,
  OMBRIX_HAL_TUNER_MODULATION_QAM_64 = 6,
  OMBRIX_HAL_TUNER_MODULATION_QAM_128 = 7,
  OMBRIX_HAL_TUNER_MODULATION_QAM_256 = 8
};

enum {
  OMBRIX_HAL_TUNER_MODULATION_SYSTEM_DVB_S = 0,
  OMBRIX_HAL_TUNER_MODULATION_SYSTEM_DVB_S2 = 1
};

enum {
  OMBRIX_HAL_TUNER_POLARISATION_HORIZONTAL = 0,
  OMBRIX_HAL_TUNER_POLARISATION_VERTICAL = 1
};

enum {
  OMBRIX_HAL_TUNER_SATELLITE_POSITION_A = 0,
  OMBRIX_HAL_TUNER_SATELLITE_POSITION_B = 1
};

enum {
  OMBRIX_HAL_TUNER_SATELLITE_OPTION_A = 0,
  OMBRIX_HAL_TUNER_SATELLITE_OPTION_B = 1
};

/* No AUTO here, unlike the other DVB-T enumerations. */
enum {
  OMBRIX_HAL_TUNER_BANDWIDTH_UNKNOWN = 0,
  OMBRIX_HAL_TUNER_BANDWIDTH_5_MHZ = 1,
  OMBRIX_HAL_TUNER_BANDWIDTH_6_MHZ = 2,
  OMBRIX_HAL_TUNER_BANDWIDTH_7_MHZ = 3,
  OMBRIX_HAL_TUNER_BANDWIDTH_8_MHZ = 4
};

enum {
  OMBRIX_HAL_TUNER_GUARD_INTERVAL_UNKNOWN = 0,
  OMBRIX_HAL_TUNER_GUARD_INTERVAL_AUTO = 1,
  OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_4 = 2,
  OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_8 = 3,
  OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_16 = 4,
  OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_32 = 5
};

enum {
  OMBRIX_HAL_TUNER_TRANSMISSION_MODE_UNKNOWN = 0,
  OMBRIX_HAL_TUNER_TRANSMISSION_MODE_AUTO = 1,
  OMBRIX_HAL_TUNER_TRANSMISSION_MODE_2K = 2,
  OMBRIX_HAL_TUNER_TRANSMISSION_MODE_4K = 3,
  OMBRIX_HAL_TUNER_TRANSMISSION_MODE_8K = 4
};

/* A file name of at most 255 characters and its terminator. */
#define OMBRIX_HAL_TUNER_FILE_NAME_SIZE 256

/* The least size of the value buffer of OmbrixHalTunerParamParserGetParamValue: a word of
 * at most 256 characters and its terminator. */
#define OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE 257

/* Type 9. Frequency in kHz. */
typedef struct OmbrixHalTunerParameterDvbT {
  OmbrixHalTunerType Type;
  uint32_t Frequency;
  OmbrixHalTunerBandwidth Bandwidth;
  OmbrixHalTunerModulation Modulation;
  OmbrixHalTunerCodeRate CodeRate;
  OmbrixHalTunerTransmissionMode TransmissionMode;
  OmbrixHalTunerGuardInterval GuardInterval;
} OmbrixHalTunerParameterDvbT;

/* Type 7, for DVB-S and DVB-S2. Frequency in kHz, the LNB frequencies in MHz. */
typedef struct OmbrixHalTunerParameterDvbS {
  OmbrixHalTunerType Type;
  uint32_t Frequency;
  int32_t SymbolRate;
  OmbrixHalTunerCodeRate CodeRate;
  OmbrixHalTunerModulationSystem ModulationSystem;
  OmbrixHalTunerModulation Modulation;
  int32_t LofLow;
  int32_t LofHigh;
  int32_t LofSwitch;
  OmbrixHalTunerPolarisation Polarisation;
  OmbrixHalTunerSatellitePosition Position;
  OmbrixHalTunerSatelliteOption Option;
} OmbrixHalTunerParameterDvbS;

/* Type 6. */
typedef struct OmbrixHalTunerParameterDvbC {
  OmbrixHalTunerType Type;
  int32_t Frequency;
  int32_t SymbolRate;
  OmbrixHalTunerModulation Modulation;
} OmbrixHalTunerParameterDvbC;

/* Type 1. */
typedef struct OmbrixHalTunerParameterAnalog {
  OmbrixHalTunerType Type;
  int32_t Frequency;
} OmbrixHalTunerParameterAnalog;

/* Type 3. */
typedef struct OmbrixHalTunerParameterAnalogFile {
  OmbrixHalTunerType Type;
  char Name[OMBRIX_HAL_TUNER_FILE_NAME_SIZE];
  uint16_t FieldInterval;
  uint16_t Repetitions;
} OmbrixHalTunerParameterAnalogFile;

/* Type 5. */
typedef struct OmbrixHalTunerParameterDigitalFile {
  OmbrixHalTunerType Type;
  char Name[OMBRIX_HAL_TUNER_FILE_NAME_SIZE];
  uint32_t SymbolRate;
  uint16_t Repetitions;
} OmbrixHalTunerParameterDigitalFile;

/* The tuning record: Type selects the layout. Types without fields of their own carry
 * Type only. A plain value, copied by the tuner. */
typedef union OmbrixHalTunerParameter {
  OmbrixHalTunerType Type;
  OmbrixHalTunerParameterDvbT DvbT;
  OmbrixHalTunerParameterDvbS DvbS;
  OmbrixHalTunerParameterDvbC DvbC;
  OmbrixHalTunerParameterAnalog Analog;
  OmbrixHalTunerParameterAnalogFile AnalogFile;
  OmbrixHalTunerParameterDigitalFile DigitalFile;
} OmbrixHalTunerParameter;

/* The type named at the start of aTunerTypeString, up to the first ':' and at most 16
 * characters, compared case-sensitively; 0 for none. aTunerTypeString must not be NULL. */
OMBRIX_HAL_API OmbrixHalTunerType OmbrixHalTunerParameterGetTunerTypeFromString(const char* aTunerTypeString)
    OMBRIX_HAL_NOEXCEPT;

/* 1 when the record may be passed to a tuner. Every fault is logged, under aFunctionName. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerParameterIsValid(const OmbrixHalTunerParameter* aParameter,
                                                           const char* aFunctionName) OMBRIX_HAL_NOEXCEPT;

/* Logs a DVB-T, DVB-S or DVB-C record in readable lines at aLogId, under aFunctionName;
 * other types print nothing. */
OMBRIX_HAL_API void OmbrixHalTunerParameterPrintLogging(const OmbrixHalTunerParameter* aParameter, uint32_t aLogId,
                                                       const char* aFunctionName) OMBRIX_HAL_NOEXCEPT;

/* Fills aParameter from a line such as "DVB-T: freq=474000, bandwidth=8". Logs nothing. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerParamParser(const char* aString, OmbrixHalTunerParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;

/* 1 when aKey occurs in the line, its value then in aValue (NULL, or at least
 * OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE bytes, always set to the empty string first). The key
 * ":" asks for the tuner type word. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerParamParserGetParamValue(const char* aString, const char* aKey,
                                                                   char* aValue) OMBRIX_HAL_NOEXCEPT;

/* An open tuner. Opaque; NULL means none. */
typedef struct OmbrixHalTunerHead* OmbrixHalTunerHandle;

/* Called once per packet: 188 bytes (64-byte records from the analog file tuner). aSource is
 * NULL from the file tuners and the tuner from the DVB-T tuner. The packet belongs to the tuner
 * and is valid only during the call. The filter handler has the same signature, so a TS-level
 * filter's input handler can be registered on a tuner directly. */
typedef void (*OmbrixHalTunerPacketHandler)(void* aSource, const uint8_t* aPacket, uint32_t aLength, void* aContext);

/* What a tuner kind does, in this slot order; a NULL slot is not supported by the kind. The
 * void* words are passed through unchanged for the kind. */
typedef struct OmbrixHalTunerOperations {
  /* Frees the tuner. */
  OmbrixHalBool (*Destroy)(OmbrixHalTunerHandle aThis);
  OmbrixHalBool (*SetParameter)(OmbrixHalTunerHandle aThis, const OmbrixHalTunerParameter* aTunerParameter);
  OmbrixHalBool (*GetParameter)(OmbrixHalTunerHandle aThis, OmbrixHalTunerParameter* aTunerParameter,
                                void* aReserved);
  OmbrixHalTunerType (*GetType)(OmbrixHalTunerHandle aThis);
  /* The raw lock status, 0..3. */
  OmbrixHalTunerStatus (*GetStatus)(OmbrixHalTunerHandle aThis);
  /* 1 when a packet was delivered, 0 when none is available. */
  OmbrixHalBool (*Receive)(OmbrixHalTunerHandle aThis);
  OmbrixHalBool (*RegisterPacketHandler)(OmbrixHalTunerHandle aThis, OmbrixHalTunerPacketHandler aHandler,
                                         void* aContext);
  /* 1 when a handler with this context was found. */
  OmbrixHalBool (*UnregisterPacketHandler)(OmbrixHalTunerHandle aThis, void* aContext, void* aReserved);
  /* Percent, 0..100. */
  uint32_t (*GetSignalStrength)(OmbrixHalTunerHandle aThis);
  uint32_t (*GetSignalQuality)(OmbrixHalTunerHandle aThis);
  OmbrixHalBool (*SetAccessCode)(OmbrixHalTunerHandle aThis, const char* aAccessCodeStr, void* aReserved1,
                                 void* aReserved2);
  OmbrixHalBool (*GetVersionNumber)(OmbrixHalTunerHandle aThis, void* aReserved, uint32_t* aVersionNumber);
} OmbrixHalTunerOperations;

/* A tuner of the type named at the start of aTunerTypeString: a bare type name or a whole
 * parameter line. NULL when the type is unknown or cannot be opened on this platform. */
OMBRIX_HAL_API OmbrixHalTunerHandle OmbrixHalTunerOpen(const char* aTunerTypeString) OMBRIX_HAL_NOEXCEPT;

/* The kinds that OmbrixHalTunerOpen does not create itself; NULL for a type without one. */
OMBRIX_HAL_API OmbrixHalTunerHandle OmbrixHalTunerFactoryCreateTuner(OmbrixHalTunerType aType) OMBRIX_HAL_NOEXCEPT;

/* The handle is dead afterwards. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerClose(OmbrixHalTunerHandle aThis) OMBRIX_HAL_NOEXCEPT;

/* Tunes; the tuner then has 2000 ms to lock. A file tuner accepts a broadcast record, and
 * ignores it. A failed attempt leaves the tuner untuned. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerSetParameter(OmbrixHalTunerHandle aThis,
                                                       const OmbrixHalTunerParameter* aTunerParameter)
    OMBRIX_HAL_NOEXCEPT;

/* The same, from a line such as "DVB-T: freq=474000, bandwidth=8". */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerSetParameterByString(OmbrixHalTunerHandle aThis,
                                                               const char* aTunerParameterString)
    OMBRIX_HAL_NOEXCEPT;

/* The tuner's current record, its Type set to the record type the tuner accepts. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerGetParameter(OmbrixHalTunerHandle aThis,
                                                       OmbrixHalTunerParameter* aTunerParameter,
                                                       void* aReserved) OMBRIX_HAL_NOEXCEPT;

/* The type stored at open or by OmbrixHalTunerSetType, which stores any value. */
OMBRIX_HAL_API OmbrixHalTunerType OmbrixHalTunerGetType(OmbrixHalTunerHandle aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerSetType(OmbrixHalTunerHandle aThis, OmbrixHalTunerType aType)
    OMBRIX_HAL_NOEXCEPT;

/* UNKNOWN until tuned; WAIT FOR LOCK for at most 2000 ms, then NOT LOCKED. */
OMBRIX_HAL_API OmbrixHalTunerStatus OmbrixHalTunerGetStatus(OmbrixHalTunerHandle aThis) OMBRIX_HAL_NOEXCEPT;

/* Delivers up to aCount packets to the packet handlers on the calling thread; 1 when all came. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerReceive(OmbrixHalTunerHandle aThis, uint32_t aCount) OMBRIX_HAL_NOEXCEPT;

/* Handlers are known by their context, which must not be NULL. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerRegisterPacketHandler(OmbrixHalTunerHandle aThis,
                                                                OmbrixHalTunerPacketHandler aHandler,
                                                                void* aContext) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerUnregisterPacketHandler(OmbrixHalTunerHandle aThis, void* aContext,
                                                                  void* aReserved) OMBRIX_HAL_NOEXCEPT;

/* Percent; 0 until tuned. */
OMBRIX_HAL_API uint32_t OmbrixHalTunerGetSignalStrength(OmbrixHalTunerHandle aThis) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalTunerGetSignalQuality(OmbrixHalTunerHandle aThis) OMBRIX_HAL_NOEXCEPT;

/* This platform has one receiver: does nothing and returns 1. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerSelectReceiver(OmbrixHalTunerHandle aThis, uint32_t aReceiver)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerSetAccessCode(OmbrixHalTunerHandle aThis, const char* aAccessCodeStr,
                                                        void* aReserved1, void* aReserved2) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalTunerGetVersionNumber(OmbrixHalTunerHandle aThis, void* aReserved,
                                                           uint32_t* aVersionNumber) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
