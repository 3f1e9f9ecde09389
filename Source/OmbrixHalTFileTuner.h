// Private: what the two file tuners share: the handler entry, the state lock that a handler may
// meet again during delivery, the pace gate held in matching pairs, and the pacing thread's end.
#ifndef OMBRIX_HAL_T_FILE_TUNER_H
#define OMBRIX_HAL_T_FILE_TUNER_H

#include <atomic>

#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalThread.h"
#include "OmbrixHalTuner.h"

namespace ombrixhal {

struct FileTunerHandlerEntry {
  OmbrixHalTunerPacketHandler handler;
  void* context;  // NULL: the entry is free
};

// Tells the calling thread from the others; cheaper than asking the thread module for an id
// on every packet.
inline const void* currentThread() noexcept {
  static thread_local const char marker = 0;
  return &marker;
}

// A file tuner kind has StateLock, PaceGate and GateHeld, and DeliveringThread: the thread
// delivering now, or NULL. A handler runs with StateLock held; its own calls to register,
// unregister or status on its tuner must not wait for that lock again.
template <typename Tuner>
bool isDelivering(const Tuner& tuner) noexcept {
  const void* delivering = tuner.DeliveringThread;
  return delivering != nullptr && delivering == currentThread();
}

// StateLock for a call that a handler may make during delivery: the delivering thread holds
// the lock already.
class StateGuard {
 public:
  template <typename Tuner>
  explicit StateGuard(Tuner& tuner) noexcept : lock_(isDelivering(tuner) ? nullptr : tuner.StateLock) {
    if (lock_ != nullptr) {
      OmbrixHalCriticalSectionEnter(lock_);
    }
  }
  ~StateGuard() {
    if (lock_ != nullptr) {
      OmbrixHalCriticalSectionLeave(lock_);
    }
  }
  StateGuard(const StateGuard&) = delete;
  StateGuard& operator=(const StateGuard&) = delete;

 private:
  OmbrixHalCriticalSectionHandle lock_;
};

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

// Destroy's wait for the pacing thread: it is told to stop, let through the gate, and polled
// until it has ended. ThreadFinished is the thread's last write, so the tuner may be freed then.
template <typename Tuner>
void stopPacingThread(Tuner& tuner, uint32_t pollMs) noexcept {
  tuner.Running = 0;
  releasePaceGate(tuner);
  while (!tuner.ThreadFinished.load(std::memory_order_acquire)) {
    OmbrixHalThreadSleep(pollMs);
  }
}

}  // namespace ombrixhal

#endif
