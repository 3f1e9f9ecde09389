// Private: what the two file tuners share: the handler entry, the delivery lock that guards their
// state, the pace gate held in matching pairs, and the pacing thread's end.
#ifndef OMBRIX_HAL_T_FILE_TUNER_H
#define OMBRIX_HAL_T_FILE_TUNER_H

#include <atomic>

#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalFile.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerHead.h"
#include "OmbrixHalThread.h"
#include "OmbrixHalTuner.h"

namespace ombrixhal {

// The kind behind the handle given to one of its exports. The exports are also the kind's
// operation slots; called directly, they check their handle.
template <typename Tuner>
Tuner* fileTunerOf(OmbrixHalTunerHandle aThis, const char* functionName) noexcept {
  return isGiven(aThis, functionName, "This") ? tunerKindOf<Tuner>(aThis) : nullptr;
}

// Set parameter's record: given, and of the kind's type. The tuner front passes only such
// records; a direct caller may pass anything.
inline bool isRecordOfType(const OmbrixHalTunerParameter* aTunerParameter, OmbrixHalTunerType type,
                           const char* functionName) noexcept {
  if (!isGiven(aTunerParameter, functionName, "aTunerParameter")) {
    return false;
  }
  if (aTunerParameter->Type != type) {
    OmbrixHalLoggerPrint(functionName, 0x1008);  // "Tuner type and parameter type do not match"
    return false;
  }
  return true;
}

// Under the tuner's hold: LOCKED while a file is open and its repetitions (0: endless) are not used up.
inline OmbrixHalTunerStatus fileStatus(OmbrixHalFileHandle file, uint16_t repetitionsDone,
                                       uint16_t repetitions) noexcept {
  if (file == nullptr || (repetitions != 0 && repetitionsDone >= repetitions)) {
    return OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED;
  }
  return OMBRIX_HAL_TUNER_STATUS_LOCKED;
}

struct FileTunerHandlerEntry {
  OmbrixHalTunerPacketHandler handler;
  void* context;  // NULL: the entry is free
};

// A file tuner kind guards its file, cursor, handlers and status with the head's DeliveryLock,
// and delivers while it holds it; a handler's own calls to register, unregister or status on
// its tuner hold it again without waiting. Create makes the lock here: false when the critical
// section module has none to give.
inline bool createDeliveryLock(OmbrixHalTunerHead& head) noexcept {
  head.DeliveryLock = OmbrixHalCriticalSectionCreate();
  return head.DeliveryLock != nullptr;
}

// The application side enters and leaves PaceGate in matching pairs only: leaving a free gate
// would fail, and a paced play restarted would release it twice.
template <typename Tuner>
void holdPaceGate(Tuner& tuner) noexcept {
  if (!tuner.GateHeld) {
    OmbrixHalCriticalSectionEnter(tuner.PaceGate);
    tuner.GateHeld = true;
  }
}

template <typename Tuner>
void releasePaceGate(Tuner& tuner) noexcept {
  if (tuner.GateHeld) {
    tuner.GateHeld = false;
    OmbrixHalCriticalSectionLeave(tuner.PaceGate);
  }
}

// Create's last step: the pacing thread, held at the gate until a paced play releases it.
template <typename Tuner>
void startPacingThread(Tuner& tuner, OmbrixHalThreadFunction function, uint32_t priority) noexcept {
  constexpr uint32_t kStackSize = 0;  // the platform's default
  holdPaceGate(tuner);
  // Set before the thread exists, so that it cannot find the flag still clear.
  tuner.Running = 1;
  tuner.Thread = OmbrixHalThreadCreate(function, &tuner, priority, 0, kStackSize);
  if (tuner.Thread == nullptr) {
    tuner.Running = 0;
    tuner.ThreadFinished.store(1, std::memory_order_relaxed);
  }
}

// Destroy's wait for the pacing thread: it is told to stop, let through the gate, and polled
// until it has ended. ThreadFinished is the thread's last write, so the tuner may be freed then.
template <typename Tuner>
void stopPacingThread(Tuner& tuner) noexcept {
  constexpr uint32_t kFinishPollMs = 100;
  tuner.Running = 0;
  releasePaceGate(tuner);
  while (!tuner.ThreadFinished.load(std::memory_order_acquire)) {
    OmbrixHalThreadSleep(kFinishPollMs);
  }
}

// The get-parameter export: the whole record as last set.
template <typename Tuner>
OmbrixHalBool copyParameterOut(OmbrixHalTunerHandle aThis, OmbrixHalTunerParameter* aTunerParameter,
                               const char* functionName) noexcept {
  Tuner* tuner = fileTunerOf<Tuner>(aThis, functionName);
  if (tuner == nullptr || !isGiven(aTunerParameter, functionName, "aTunerParameter")) {
    return 0;
  }
  TunerHold hold(&tuner->head);
  *aTunerParameter = tuner->head.Parameter;
  return 1;
}

// The get-type export.
template <typename Tuner>
OmbrixHalTunerType fileTunerType(OmbrixHalTunerHandle aThis, const char* functionName) noexcept {
  const Tuner* tuner = fileTunerOf<Tuner>(aThis, functionName);
  return tuner != nullptr ? tuner->head.ParameterType : OMBRIX_HAL_TUNER_TYPE_UNKNOWN;
}

}  // namespace ombrixhal

#endif
