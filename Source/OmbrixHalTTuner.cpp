// Tuners: the exported front of every tuner kind, with the lock state machine and the step
// that applies a tuning record. The generic part takes no lock; each kind guards its own state.
#include "OmbrixHalLogger.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTestSeams.h"
#include "OmbrixHalTTunerHead.h"
#include "OmbrixHalTTunerParameter.h"
#include "OmbrixHalTimer.h"
#include "OmbrixHalTuner.h"
#include "OmbrixHalTunerDvbT.h"
#include "OmbrixHalTunerFileAnalog.h"
#include "OmbrixHalTunerFileDigital.h"

namespace ombrixhal::seam {
TunerFactoryFunction tunerFactoryCreateTuner = OmbrixHalTunerFactoryCreateTuner;
}

namespace {

using ombrixhal::isGiven;
using ombrixhal::isOperationSupported;
using ombrixhal::kLogError;
using ombrixhal::kLogInfo;

// Ids whose table texts these exports print.
constexpr uint32_t kLogUnknownType = 0x1006;        // "Unknown tuner type in string '%s'"
constexpr uint32_t kLogCannotOpen = 0x1007;         // "Cannot open tuner: '%s'"
constexpr uint32_t kLogTypeMismatch = 0x1008;       // "Tuner type and parameter type do not match"
constexpr uint32_t kLogIllegalString = 0x1009;      // "Illegal tuner parameter string '%s'"
constexpr uint32_t kLogCannotSet = 0x100a;          // "Cannot set tuner parameter"
constexpr uint32_t kLogCannotReturn = 0x100b;       // "Cannot return tuner parameter"
constexpr uint32_t kLogNoMorePackets = 0x3001;      // "No more packets available"
constexpr uint32_t kLogOpened = 0x3002;             // "Opened tuner successfully"
constexpr uint32_t kLogParameterSet = 0x3003;       // "Tuner parameter successfully set"
constexpr uint32_t kLogParameterReturned = 0x3004;  // "Tuner parameter successfully returned"
constexpr uint32_t kLogSignalStrength = 0x3007;     // "Signal strength is '%d%%'"

constexpr const char* kStatusChange = "Tuner: %s -> %s";

constexpr const char* kOpenName = "OmbrixHalTunerOpen";
constexpr const char* kCloseName = "OmbrixHalTunerClose";
constexpr const char* kSetParameterName = "OmbrixHalTunerSetParameter";
constexpr const char* kSetParameterByStringName = "OmbrixHalTunerSetParameterByString";
constexpr const char* kGetParameterName = "OmbrixHalTunerGetParameter";
constexpr const char* kGetTypeName = "OmbrixHalTunerGetType";
constexpr const char* kSetTypeName = "OmbrixHalTunerSetType";
constexpr const char* kGetStatusName = "OmbrixHalTunerGetStatus";
constexpr const char* kReceiveName = "OmbrixHalTunerReceive";
constexpr const char* kGetSignalStrengthName = "OmbrixHalTunerGetSignalStrength";
constexpr const char* kGetSignalQualityName = "OmbrixHalTunerGetSignalQuality";
constexpr const char* kSetAccessCodeName = "OmbrixHalTunerSetAccessCode";
constexpr const char* kGetVersionNumberName = "OmbrixHalTunerGetVersionNumber";

constexpr const char* kThisName = "This";
constexpr const char* kTunerTypeStringName = "aTunerTypeString";
constexpr const char* kTunerParameterName = "aTunerParameter";
constexpr const char* kTunerParameterStringName = "aTunerParameterString";
constexpr const char* kAccessCodeStrName = "aAccessCodeStr";
constexpr const char* kVersionNumberName = "aVersionNumber";

// How long a tuned tuner may wait for lock before it counts as not locked.
constexpr uint32_t kLockTimeoutMs = 2000;
// Statuses below this have a text; a change is logged only between two of them.
constexpr uint32_t kStatusCount = OMBRIX_HAL_TUNER_STATUS_LOCKED + 1;

using CreateFunction = OmbrixHalTunerHandle (*)() noexcept;

// The kinds that Open creates itself, each by its own create function; every other type goes
// to the factory.
struct KindCreation {
  OmbrixHalTunerType type;
  CreateFunction create;
};
constexpr KindCreation kKindCreations[] = {
    {OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE, OmbrixHalTunerFileDigitalCreate},
    {OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE, OmbrixHalTunerFileAnalogCreate},
};

OmbrixHalTunerHandle createTuner(OmbrixHalTunerType type) noexcept {
  for (const KindCreation& kind : kKindCreations) {
    if (kind.type == type) {
      return kind.create();
    }
  }
  return ombrixhal::seam::tunerFactoryCreateTuner(type);
}

// A file tuner is fed from a file whatever is tuned.
bool isFileTuner(const OmbrixHalTunerHead& tuner) noexcept {
  return tuner.ParameterType == OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE ||
         tuner.ParameterType == OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE;
}

OmbrixHalBool applyParameter(OmbrixHalTunerHead& tuner, const OmbrixHalTunerParameter& parameter,
                             const char* functionName) noexcept {
  if (!isOperationSupported(tuner.Operations.SetParameter, functionName)) {
    return 0;
  }
  if (parameter.Type != tuner.ParameterType) {
    // Deliberate: a file tuner accepts a broadcast record and ignores it, so that an
    // application can tune while a file plays.
    if (isFileTuner(tuner)) {
      return 1;
    }
    OmbrixHalLoggerPrint(functionName, kLogTypeMismatch);
    return 0;
  }
  const OmbrixHalBool applied = tuner.Operations.SetParameter(&tuner, &parameter);
  OmbrixHalLoggerPrint(functionName, applied ? kLogParameterSet : kLogCannotSet);
  OmbrixHalTunerParameterPrintLogging(&parameter, applied ? kLogInfo : kLogError, functionName);
  return applied;
}

// Both set-parameter exports begin so: every attempt leaves the tuner untuned until it succeeds.
bool startTuning(OmbrixHalTunerHandle aThis, const void* request, const char* functionName,
                 const char* requestName) noexcept {
  if (!isGiven(aThis, functionName, kThisName)) {
    return false;
  }
  aThis->ParameterSet = 0;
  return isGiven(request, functionName, requestName);
}

// Both set-parameter exports once the request is a record.
OmbrixHalBool setParameter(OmbrixHalTunerHead& tuner, const OmbrixHalTunerParameter& parameter,
                           const char* functionName) noexcept {
  if (!OmbrixHalTunerParameterIsValid(&parameter, functionName)) {
    return 0;
  }
  const OmbrixHalBool applied = applyParameter(tuner, parameter, functionName);
  if (applied) {
    tuner.ParameterSet = 1;
    OmbrixHalTimerReset(tuner.LockTimer, kLockTimeoutMs);
  }
  return applied;
}

OmbrixHalTunerStatus lockStatus(OmbrixHalTunerHead& tuner) noexcept {
  if (!tuner.ParameterSet) {
    return OMBRIX_HAL_TUNER_STATUS_UNKNOWN;
  }
  const OmbrixHalTunerStatus status = tuner.Operations.GetStatus(&tuner);
  if (status == OMBRIX_HAL_TUNER_STATUS_WAIT_FOR_LOCK) {
    return OmbrixHalTimerIsExpired(tuner.LockTimer) ? OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED : status;
  }
  // Kept: any other answer spends the wait, so a tuner that has locked and then waits for
  // lock again is not locked at once.
  OmbrixHalTimerReset(tuner.LockTimer, 0);
  return status;
}

}  // namespace

OmbrixHalTunerHandle OmbrixHalTunerOpen(const char* aTunerTypeString) noexcept {
  if (!isGiven(aTunerTypeString, kOpenName, kTunerTypeStringName)) {
    return nullptr;
  }
  const OmbrixHalTunerType type = OmbrixHalTunerParameterGetTunerTypeFromString(aTunerTypeString);
  if (type == OMBRIX_HAL_TUNER_TYPE_UNKNOWN) {
    OmbrixHalLoggerPrint(kOpenName, kLogUnknownType, aTunerTypeString);
    return nullptr;
  }
  // The timer pool logs its own failure.
  OmbrixHalTimerHandle lockTimer = OmbrixHalTimerOpen();
  if (lockTimer == nullptr) {
    return nullptr;
  }
  OmbrixHalTunerHandle tuner = createTuner(type);
  if (tuner == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kLogCannotOpen, aTunerTypeString);
    OmbrixHalTimerClose(lockTimer);
    return nullptr;
  }
  OmbrixHalLoggerPrint(kOpenName, kLogOpened);
  tuner->Type = tuner->ParameterType;
  tuner->LockTimer = lockTimer;
  tuner->LastStatus = OMBRIX_HAL_TUNER_STATUS_UNKNOWN;
  tuner->ParameterSet = 0;
  return tuner;
}

OmbrixHalTunerHandle OmbrixHalTunerFactoryCreateTuner(OmbrixHalTunerType aType) noexcept {
  // The only broadcast tuner of this platform.
  return aType == OMBRIX_HAL_TUNER_TYPE_DVB_T ? OmbrixHalTunerDvbTCreate(aType) : nullptr;
}

OmbrixHalBool OmbrixHalTunerClose(OmbrixHalTunerHandle aThis) noexcept {
  if (!isGiven(aThis, kCloseName, kThisName) || !isOperationSupported(aThis->Operations.Destroy, kCloseName)) {
    return 0;
  }
  // The kind's Destroy closes the lock timer too.
  return aThis->Operations.Destroy(aThis);
}

OmbrixHalBool OmbrixHalTunerSetParameter(OmbrixHalTunerHandle aThis,
                                         const OmbrixHalTunerParameter* aTunerParameter) noexcept {
  if (!startTuning(aThis, aTunerParameter, kSetParameterName, kTunerParameterName)) {
    return 0;
  }
  return setParameter(*aThis, *aTunerParameter, kSetParameterName);
}

OmbrixHalBool OmbrixHalTunerSetParameterByString(OmbrixHalTunerHandle aThis,
                                                 const char* aTunerParameterString) noexcept {
  if (!startTuning(aThis, aTunerParameterString, kSetParameterByStringName, kTunerParameterStringName)) {
    return 0;
  }
  OmbrixHalTunerParameter parameter{};
  if (!OmbrixHalTunerParamParser(aTunerParameterString, &parameter)) {
    OmbrixHalLoggerPrint(kSetParameterByStringName, kLogIllegalString, aTunerParameterString);
    return 0;
  }
  return setParameter(*aThis, parameter, kSetParameterByStringName);
}

OmbrixHalBool OmbrixHalTunerGetParameter(OmbrixHalTunerHandle aThis, OmbrixHalTunerParameter* aTunerParameter,
                                         void* aReserved) noexcept {
  if (!isGiven(aThis, kGetParameterName, kThisName) ||
      !isGiven(aTunerParameter, kGetParameterName, kTunerParameterName) ||
      !isOperationSupported(aThis->Operations.GetParameter, kGetParameterName)) {
    return 0;
  }
  if (!aThis->Operations.GetParameter(aThis, aTunerParameter, aReserved)) {
    OmbrixHalLoggerPrint(kGetParameterName, kLogCannotReturn);
    return 0;
  }
  OmbrixHalLoggerPrint(kGetParameterName, kLogParameterReturned);
  aTunerParameter->Type = aThis->ParameterType;
  return 1;
}

OmbrixHalTunerType OmbrixHalTunerGetType(OmbrixHalTunerHandle aThis) noexcept {
  return isGiven(aThis, kGetTypeName, kThisName) ? aThis->Type : OMBRIX_HAL_TUNER_TYPE_UNKNOWN;
}

OmbrixHalBool OmbrixHalTunerSetType(OmbrixHalTunerHandle aThis, OmbrixHalTunerType aType) noexcept {
  if (!isGiven(aThis, kSetTypeName, kThisName)) {
    return 0;
  }
  aThis->Type = aType;
  return 1;
}

OmbrixHalTunerStatus OmbrixHalTunerGetStatus(OmbrixHalTunerHandle aThis) noexcept {
  if (!isGiven(aThis, kGetStatusName, kThisName) || !isOperationSupported(aThis->Operations.GetStatus, kGetStatusName)) {
    return OMBRIX_HAL_TUNER_STATUS_UNKNOWN;
  }
  const OmbrixHalTunerStatus status = lockStatus(*aThis);
  const uint32_t current = static_cast<uint32_t>(status);
  if (current != aThis->LastStatus) {
    if (current < kStatusCount && aThis->LastStatus < kStatusCount) {
      OmbrixHalLoggerPrintf(kGetStatusName, kLogInfo, kStatusChange,
                            ombrixhal::tunerStatusText(static_cast<OmbrixHalTunerStatus>(aThis->LastStatus)),
                            ombrixhal::tunerStatusText(status));
    }
    aThis->LastStatus = current;
  }
  return status;
}

OmbrixHalBool OmbrixHalTunerReceive(OmbrixHalTunerHandle aThis, uint32_t aCount) noexcept {
  if (!isGiven(aThis, kReceiveName, kThisName) || !isOperationSupported(aThis->Operations.Receive, kReceiveName)) {
    return 0;
  }
  bool allCame = true;
  if (aThis->ReceivePackets != nullptr) {
    allCame = aCount == 0 || aThis->ReceivePackets(aThis, aCount) == aCount;
  } else {
    for (uint32_t received = 0; allCame && received < aCount; ++received) {
      allCame = aThis->Operations.Receive(aThis) != 0;
    }
  }
  if (!allCame) {
    OmbrixHalLoggerPrint(kReceiveName, kLogNoMorePackets);
    return 0;
  }
  return 1;
}

// Unlike the other exports, both registration calls fail without a log line.
OmbrixHalBool OmbrixHalTunerRegisterPacketHandler(OmbrixHalTunerHandle aThis, OmbrixHalTunerPacketHandler aHandler,
                                                  void* aContext) noexcept {
  if (aThis == nullptr || aHandler == nullptr || aContext == nullptr ||
      aThis->Operations.RegisterPacketHandler == nullptr) {
    return 0;
  }
  return aThis->Operations.RegisterPacketHandler(aThis, aHandler, aContext);
}

OmbrixHalBool OmbrixHalTunerUnregisterPacketHandler(OmbrixHalTunerHandle aThis, void* aContext,
                                                    void* aReserved) noexcept {
  if (aThis == nullptr || aContext == nullptr || aThis->Operations.UnregisterPacketHandler == nullptr) {
    return 0;
  }
  return aThis->Operations.UnregisterPacketHandler(aThis, aContext, aReserved);
}

uint32_t OmbrixHalTunerGetSignalStrength(OmbrixHalTunerHandle aThis) noexcept {
  if (!isGiven(aThis, kGetSignalStrengthName, kThisName) || !aThis->ParameterSet ||
      !isOperationSupported(aThis->Operations.GetSignalStrength, kGetSignalStrengthName)) {
    return 0;
  }
  const uint32_t strength = aThis->Operations.GetSignalStrength(aThis);
  OmbrixHalLoggerPrint(kGetSignalStrengthName, kLogSignalStrength, strength);
  return strength;
}

uint32_t OmbrixHalTunerGetSignalQuality(OmbrixHalTunerHandle aThis) noexcept {
  if (!isGiven(aThis, kGetSignalQualityName, kThisName) || !aThis->ParameterSet ||
      !isOperationSupported(aThis->Operations.GetSignalQuality, kGetSignalQualityName)) {
    return 0;
  }
  // Kept: unlike the strength, the quality is not logged.
  return aThis->Operations.GetSignalQuality(aThis);
}

OmbrixHalBool OmbrixHalTunerSelectReceiver(OmbrixHalTunerHandle aThis, uint32_t aReceiver) noexcept {
  static_cast<void>(aThis);
  static_cast<void>(aReceiver);
  return 1;
}

OmbrixHalBool OmbrixHalTunerSetAccessCode(OmbrixHalTunerHandle aThis, const char* aAccessCodeStr, void* aReserved1,
                                          void* aReserved2) noexcept {
  if (!isGiven(aThis, kSetAccessCodeName, kThisName) ||
      !isGiven(aAccessCodeStr, kSetAccessCodeName, kAccessCodeStrName) ||
      !isOperationSupported(aThis->Operations.SetAccessCode, kSetAccessCodeName)) {
    return 0;
  }
  return aThis->Operations.SetAccessCode(aThis, aAccessCodeStr, aReserved1, aReserved2);
}

OmbrixHalBool OmbrixHalTunerGetVersionNumber(OmbrixHalTunerHandle aThis, void* aReserved,
                                             uint32_t* aVersionNumber) noexcept {
  if (!isGiven(aThis, kGetVersionNumberName, kThisName) ||
      !isGiven(aVersionNumber, kGetVersionNumberName, kVersionNumberName) ||
      !isOperationSupported(aThis->Operations.GetVersionNumber, kGetVersionNumberName)) {
    return 0;
  }
  return aThis->Operations.GetVersionNumber(aThis, aReserved, aVersionNumber);
}
