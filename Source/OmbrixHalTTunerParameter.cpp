// Tuner parameters: the type names, the text tables of the enumerations, the validation of a
// record and its logging in readable lines.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>

#include "OmbrixHalLogger.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerParameter.h"
#include "OmbrixHalTuner.h"

namespace {

using ombrixhal::kLogError;
using ombrixhal::kLogWarning;

constexpr uint32_t kLogIllegalNull = 0x1003;  // "Illegal value 'NULL' for parameter '%s'"
constexpr const char* kParameterName = "aParameter";

constexpr const char* kCannotCheckType = "Cannot check tuner parameter of type '%s'";
constexpr const char* kUnknownType = "Unknown tuner parameter type '%d'";
constexpr const char* kFrequencyOutOfRange = "tuner param: Frequency '%d' is not in valid range [%d,%d]";
constexpr const char* kIllegalBandwidth = "tuner param: illegal bandwidth: '%d'";
constexpr const char* kIllegalCodeRate = "tuner param: illegal code rate: '%d'";
constexpr const char* kIllegalModulation = "tuner param: illegal modulation: '%d'";
constexpr const char* kIllegalGuardInterval = "tuner param: illegal guard interval: '%d'";
constexpr const char* kIllegalTransmissionMode = "tuner param: illegal transmission mode: '%d'";
constexpr const char* kIllegalPolarisation = "tuner param: illegal polarisation: '%d'";
constexpr const char* kIllegalPosition = "tuner param: illegal position: '%d'";
constexpr const char* kIllegalOption = "tuner param: illegal option: '%d'";
constexpr const char* kIllegalModulationSystem = "tuner param: illegal modulation system: '%d'";
constexpr const char* kDvbTLine1 = "DVB-T tune (1): Freq=%d Bandw=%s FEC=%s";
constexpr const char* kDvbTLine2 = "DVB-T tune (2): Mod=%s Guard=%s Transm=%s";
constexpr const char* kDvbSLine1 = "DVB-S tune (1): Freq=%d Symb=%d FEC=%s";
constexpr const char* kDvbSLine2 = "DVB-S tune (2): LofLow=%d LofHigh=%d LofSwitch=%d";
constexpr const char* kDvbSLine3 = "DVB-S tune (3): ModSys=%s Mod=%s Pol=%s Pos=%s Opt=%s";
constexpr const char* kDvbCLine = "DVB-C tune: Freq=%d Symb=%d Mod=%s";

constexpr uint32_t kDvbTLowestFrequency = 50500;
constexpr uint32_t kDvbTHighestFrequency = 858000;
constexpr uint32_t kDvbSLowestFrequency = 3000000;
constexpr uint32_t kDvbSHighestFrequency = 18000000;

// One zero-padded slot per type number; the same table serves parsing and printing.
constexpr size_t kTypeNameSlotSize = 16;
constexpr char kTypeNames[][kTypeNameSlotSize] = {
    "UNKNOWN", "analog", "analogCvbs", "analogFile", "digital", "digitalFile",
    "DVB-C",   "DVB-S",  "DVB-S2",     "DVB-T",      "asi",
};
static_assert(std::size(kTypeNames) == OMBRIX_HAL_TUNER_TYPE_ASI + 1);

// Shared by the tables below.
constexpr char kUnknown[] = "UNKNOWN";
constexpr char kAuto[] = "AUTO";

// The texts of one enumeration, indexed by value; values from lowestValid to the last row are valid.
struct EnumerationTexts {
  std::span<const char* const> texts;
  int32_t lowestValid;
};

constexpr const char* kStatusTexts[] = {kUnknown, "WAIT FOR LOCK", "NOT LOCKED", "LOCKED"};
constexpr const char* kCodeRateTexts[] = {kUnknown, kAuto, "1/2", "1/3", "1/4", "2/3", "2/5", "3/4",
                                          "3/5",    "4/5", "5/6", "6/7", "7/8", "8/9", "9/10"};
constexpr const char* kModulationTexts[] = {kUnknown, kAuto,    "QPSK",    "8PSK",   "QAM-16",
                                            "QAM-32", "QAM-64", "QAM-128", "QAM-256"};
constexpr const char* kModulationSystemTexts[] = {"DVB-S", "DVB-S2"};
constexpr const char* kPolarisationTexts[] = {"H", "V"};
constexpr const char* kSatelliteTexts[] = {"A", "B"};  // position and option alike
constexpr const char* kBandwidthTexts[] = {kUnknown, "5", "6", "7", "8"};
constexpr const char* kGuardIntervalTexts[] = {kUnknown, kAuto, "1/4", "1/8", "1/16", "1/32"};
constexpr const char* kTransmissionModeTexts[] = {kUnknown, kAuto, "2K", "4K", "8K"};

constexpr EnumerationTexts kStatuses{kStatusTexts, OMBRIX_HAL_TUNER_STATUS_UNKNOWN};
constexpr EnumerationTexts kCodeRates{kCodeRateTexts, OMBRIX_HAL_TUNER_CODE_RATE_AUTO};
constexpr EnumerationTexts kModulations{kModulationTexts, OMBRIX_HAL_TUNER_MODULATION_AUTO};
constexpr EnumerationTexts kModulationSystems{kModulationSystemTexts, OMBRIX_HAL_TUNER_MODULATION_SYSTEM_DVB_S};
constexpr EnumerationTexts kPolarisations{kPolarisationTexts, OMBRIX_HAL_TUNER_POLARISATION_HORIZONTAL};
constexpr EnumerationTexts kSatelliteChoices{kSatelliteTexts, OMBRIX_HAL_TUNER_SATELLITE_POSITION_A};
constexpr EnumerationTexts kBandwidths{kBandwidthTexts, OMBRIX_HAL_TUNER_BANDWIDTH_5_MHZ};
constexpr EnumerationTexts kGuardIntervals{kGuardIntervalTexts, OMBRIX_HAL_TUNER_GUARD_INTERVAL_AUTO};
constexpr EnumerationTexts kTransmissionModes{kTransmissionModeTexts, OMBRIX_HAL_TUNER_TRANSMISSION_MODE_AUTO};
static_assert(std::size(kStatusTexts) == OMBRIX_HAL_TUNER_STATUS_LOCKED + 1);
static_assert(std::size(kCodeRateTexts) == OMBRIX_HAL_TUNER_CODE_RATE_9_10 + 1);
static_assert(std::size(kModulationTexts) == OMBRIX_HAL_TUNER_MODULATION_QAM_256 + 1);
static_assert(std::size(kBandwidthTexts) == OMBRIX_HAL_TUNER_BANDWIDTH_8_MHZ + 1);
static_assert(std::size(kGuardIntervalTexts) == OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_32 + 1);
static_assert(std::size(kTransmissionModeTexts) == OMBRIX_HAL_TUNER_TRANSMISSION_MODE_8K + 1);

// The record is the middleware's: no pointers in it, so these sizes hold on every target.
static_assert(sizeof(OmbrixHalTunerParameterDvbT) == 28);
static_assert(sizeof(OmbrixHalTunerParameterDvbS) == 48);
static_assert(sizeof(OmbrixHalTunerParameterDvbC) == 16);
static_assert(sizeof(OmbrixHalTunerParameterAnalog) == 8);
static_assert(sizeof(OmbrixHalTunerParameterAnalogFile) == 264);
static_assert(offsetof(OmbrixHalTunerParameterAnalogFile, FieldInterval) == 260);
static_assert(offsetof(OmbrixHalTunerParameterDigitalFile, SymbolRate) == 260);
static_assert(offsetof(OmbrixHalTunerParameterDigitalFile, Repetitions) == 264);
static_assert(sizeof(OmbrixHalTunerParameter) == 268);

// Printing normally follows a successful validation; a value outside the table still prints safely.
const char* textOf(const EnumerationTexts& table, int32_t value) {
  if (value < 0 || static_cast<size_t>(value) >= table.texts.size()) {
    return kUnknown;
  }
  return table.texts[static_cast<size_t>(value)];
}

bool checkEnumeration(const char* functionName, int32_t value, const EnumerationTexts& table, const char* message) {
  if (value >= table.lowestValid && static_cast<size_t>(value) < table.texts.size()) {
    return true;
  }
  OmbrixHalLoggerPrintf(functionName, kLogError, message, value);
  return false;
}

// Unsigned on purpose: a negative frequency is far above any range.
bool checkFrequency(const char* functionName, uint32_t frequency, uint32_t lowest, uint32_t highest) {
  if (frequency >= lowest && frequency <= highest) {
    return true;
  }
  OmbrixHalLoggerPrintf(functionName, kLogError, kFrequencyOutOfRange, static_cast<int32_t>(frequency),
                        static_cast<int32_t>(lowest), static_cast<int32_t>(highest));
  return false;
}

// One enumeration check of a layout, in the order the log reports them.
template <typename Layout>
struct EnumerationCheck {
  int32_t Layout::*field;
  const EnumerationTexts& texts;
  const char* message;
};

using DvbT = OmbrixHalTunerParameterDvbT;
using DvbS = OmbrixHalTunerParameterDvbS;

constexpr EnumerationCheck<DvbT> kDvbTChecks[] = {
    {&DvbT::Bandwidth, kBandwidths, kIllegalBandwidth},
    {&DvbT::CodeRate, kCodeRates, kIllegalCodeRate},
    {&DvbT::Modulation, kModulations, kIllegalModulation},
    {&DvbT::GuardInterval, kGuardIntervals, kIllegalGuardInterval},
    {&DvbT::TransmissionMode, kTransmissionModes, kIllegalTransmissionMode},
};

constexpr EnumerationCheck<DvbS> kDvbSChecks[] = {
    {&DvbS::Modulation, kModulations, kIllegalModulation},
    {&DvbS::CodeRate, kCodeRates, kIllegalCodeRate},
    {&DvbS::Polarisation, kPolarisations, kIllegalPolarisation},
    {&DvbS::Position, kSatelliteChoices, kIllegalPosition},
    {&DvbS::Option, kSatelliteChoices, kIllegalOption},
    {&DvbS::ModulationSystem, kModulationSystems, kIllegalModulationSystem},
};

// The frequency first, then every enumeration: all checks run, so that the log shows every
// bad field.
template <typename Layout>
bool isValidLayout(const Layout& layout, uint32_t lowestFrequency, uint32_t highestFrequency,
                   std::span<const EnumerationCheck<Layout>> checks, const char* functionName) {
  bool valid = checkFrequency(functionName, layout.Frequency, lowestFrequency, highestFrequency);
  for (const EnumerationCheck<Layout>& check : checks) {
    valid &= checkEnumeration(functionName, layout.*check.field, check.texts, check.message);
  }
  return valid;
}

bool isTypeNumber(OmbrixHalTunerType type) {
  return type >= OMBRIX_HAL_TUNER_TYPE_ANALOG && type <= OMBRIX_HAL_TUNER_TYPE_ASI;
}

}  // namespace

namespace ombrixhal {

const char* tunerStatusText(OmbrixHalTunerStatus aStatus) noexcept {
  return textOf(kStatuses, aStatus);
}

}  // namespace ombrixhal

OmbrixHalTunerType OmbrixHalTunerParameterGetTunerTypeFromString(const char* aTunerTypeString) noexcept {
  // No NULL check here: the callers check.
  char word[kTypeNameSlotSize + 1] = {};
  for (size_t length = 0; length < kTypeNameSlotSize; ++length) {
    const char character = aTunerTypeString[length];
    if (character == '\0' || character == ':') {
      break;
    }
    word[length] = character;
  }
  for (size_t type = 0; type < std::size(kTypeNames); ++type) {
    if (std::strncmp(word, kTypeNames[type], kTypeNameSlotSize) == 0) {
      return static_cast<OmbrixHalTunerType>(type);
    }
  }
  return OMBRIX_HAL_TUNER_TYPE_UNKNOWN;
}

OmbrixHalBool OmbrixHalTunerParameterIsValid(const OmbrixHalTunerParameter* aParameter,
                                             const char* aFunctionName) noexcept {
  if (aParameter == nullptr) {
    OmbrixHalLoggerPrint(aFunctionName, kLogIllegalNull, kParameterName);
    return 0;
  }
  switch (aParameter->Type) {
    case OMBRIX_HAL_TUNER_TYPE_DVB_S:
      return isValidLayout<DvbS>(aParameter->DvbS, kDvbSLowestFrequency, kDvbSHighestFrequency, kDvbSChecks,
                                 aFunctionName);
    case OMBRIX_HAL_TUNER_TYPE_DVB_T:
      return isValidLayout<DvbT>(aParameter->DvbT, kDvbTLowestFrequency, kDvbTHighestFrequency, kDvbTChecks,
                                 aFunctionName);
    case OMBRIX_HAL_TUNER_TYPE_DVB_C:
      // Frequency and symbol rate are taken as given.
      return checkEnumeration(aFunctionName, aParameter->DvbC.Modulation, kModulations, kIllegalModulation);
    default:
      break;
  }
  if (isTypeNumber(aParameter->Type)) {
    // The file tuners' records among them: accepted unchecked.
    OmbrixHalLoggerPrintf(aFunctionName, kLogWarning, kCannotCheckType, kTypeNames[aParameter->Type]);
    return 1;
  }
  OmbrixHalLoggerPrintf(aFunctionName, kLogError, kUnknownType, aParameter->Type);
  return 0;
}

void OmbrixHalTunerParameterPrintLogging(const OmbrixHalTunerParameter* aParameter, uint32_t aLogId,
                                         const char* aFunctionName) noexcept {
  if (aParameter == nullptr) {
    OmbrixHalLoggerPrint(aFunctionName, kLogIllegalNull, kParameterName);
    return;
  }
  switch (aParameter->Type) {
    case OMBRIX_HAL_TUNER_TYPE_DVB_T: {
      const OmbrixHalTunerParameterDvbT& dvbT = aParameter->DvbT;
      OmbrixHalLoggerPrintf(aFunctionName, aLogId, kDvbTLine1, static_cast<int32_t>(dvbT.Frequency),
                            textOf(kBandwidths, dvbT.Bandwidth), textOf(kCodeRates, dvbT.CodeRate));
      OmbrixHalLoggerPrintf(aFunctionName, aLogId, kDvbTLine2, textOf(kModulations, dvbT.Modulation),
                            textOf(kGuardIntervals, dvbT.GuardInterval),
                            textOf(kTransmissionModes, dvbT.TransmissionMode));
      break;
    }
    case OMBRIX_HAL_TUNER_TYPE_DVB_S: {
      const OmbrixHalTunerParameterDvbS& dvbS = aParameter->DvbS;
      OmbrixHalLoggerPrintf(aFunctionName, aLogId, kDvbSLine1, static_cast<int32_t>(dvbS.Frequency), dvbS.SymbolRate,
                            textOf(kCodeRates, dvbS.CodeRate));
      OmbrixHalLoggerPrintf(aFunctionName, aLogId, kDvbSLine2, dvbS.LofLow, dvbS.LofHigh, dvbS.LofSwitch);
      OmbrixHalLoggerPrintf(aFunctionName, aLogId, kDvbSLine3, textOf(kModulationSystems, dvbS.ModulationSystem),
                            textOf(kModulations, dvbS.Modulation), textOf(kPolarisations, dvbS.Polarisation),
                            textOf(kSatelliteChoices, dvbS.Position), textOf(kSatelliteChoices, dvbS.Option));
      break;
    }
    case OMBRIX_HAL_TUNER_TYPE_DVB_C: {
      const OmbrixHalTunerParameterDvbC& dvbC = aParameter->DvbC;
      OmbrixHalLoggerPrintf(aFunctionName, aLogId, kDvbCLine, dvbC.Frequency, dvbC.SymbolRate,
                            textOf(kModulations, dvbC.Modulation));
      break;
    }
    default:
      break;
  }
}
