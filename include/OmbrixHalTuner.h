/* Tuners: the tuning record with its type names and enumerations, its validation and
 * logging, and its one-line text form. */
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

OMBRIX_HAL_EXTERN_C_END

#endif
