// Private: the head that every tuner kind begins with, and what a kind's Create and Destroy
// do with it.
#ifndef OMBRIX_HAL_T_TUNER_HEAD_H
#define OMBRIX_HAL_T_TUNER_HEAD_H

#include <cstddef>
#include <type_traits>

#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalFilter.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTimer.h"
#include "OmbrixHalTuner.h"

// A kind is a standard-layout struct whose first member is this head, named `head`; the
// public handle points at it.
struct OmbrixHalTunerHead {
  OmbrixHalTunerOperations Operations;
  OmbrixHalTunerParameter Parameter;  // the kind copies each accepted record here
  OmbrixHalTunerType ParameterType;   // the record type the kind accepts: 5, 3 or 9
  OmbrixHalTunerType Type;            // what OmbrixHalTunerGetType reports
  OmbrixHalTimerHandle LockTimer;     // bounds the wait for lock
  uint32_t LastStatus;                // the status last returned, for logging its changes
  uint32_t ParameterSet;              // 1 after a successful set-parameter
  // Optional: delivers up to aCount packets exactly as aCount calls of the Receive slot would,
  // and returns how many came; for a kind that can pull a batch more cheaply.
  uint32_t (*ReceivePackets)(OmbrixHalTunerHandle aThis, uint32_t aCount);
  // Optional: the packet handler registered with aContext acts only on packets of aPid (a PID
  // above 0x1fff: on every packet), so a kind may leave it out for the others.
  void (*SetHandlerPid)(OmbrixHalTunerHandle aThis, void* aContext, uint32_t aPid);
  // The kind delivers while it holds this lock, and control calls hold it while they change
  // what a delivery reaches (handlers, filters started, stopped or closed): see holdTuner.
  // NULL for a kind that delivers nothing.
  OmbrixHalCriticalSectionHandle DeliveryLock;
  ombrixhal::Relaxed<const void*> LockOwner;  // the thread that holds DeliveryLock, or NULL
  uint32_t LockDepth;                          // the owner's holds, nested
  // Filters that the owner closed while it held the lock: a delivery may still stand on them,
  // so their memory goes when the outermost hold ends. Linked through their nextLive.
  OmbrixHalFilterHandle RetiredFilters;
};

static_assert(sizeof(OmbrixHalTunerOperations) == 12 * sizeof(void (*)()));
static_assert(std::is_standard_layout_v<OmbrixHalTunerHead>);

namespace ombrixhal {

// A kind's Create: its own copy of the kind's table and the record type it accepts. Open
// fills the rest of the head.
inline void initTunerHead(OmbrixHalTunerHead& head, const OmbrixHalTunerOperations& operations,
                          OmbrixHalTunerType parameterType) noexcept {
  head.Operations = operations;
  head.ParameterType = parameterType;
}

// A kind's Destroy gives the lock timer that Open took back to the pool, which would
// otherwise run dry after 30 opens.
inline void closeTunerHead(OmbrixHalTunerHead& head) noexcept {
  OmbrixHalTimerClose(head.LockTimer);
  head.LockTimer = nullptr;
}

// Tells the calling thread from the others; cheaper than asking the thread module for an id
// on every packet.
inline const void* currentThread() noexcept {
  static thread_local const char marker = 0;
  return &marker;
}

inline bool holdsTuner(const OmbrixHalTunerHead& tuner) noexcept {
  return tuner.LockOwner == currentThread();
}

// Frees the filters retired under a tuner's hold (the filter module's part of its release).
void releaseRetiredFilters(OmbrixHalFilterHandle& aRetired) noexcept;

// Holds the tuner's DeliveryLock for the calling thread: while held, no delivery of this tuner
// runs on another thread. Recursive, so that a handler (whose thread delivers under the lock)
// and a call nested in another may hold it again. Without a tuner or a lock it holds nothing.
// Inline: a tuner pulled a packet at a time takes it for every packet.
inline void holdTuner(OmbrixHalTunerHandle aTuner) noexcept {
  if (aTuner == nullptr || aTuner->DeliveryLock == nullptr) {
    return;
  }
  if (!holdsTuner(*aTuner)) {
    OmbrixHalCriticalSectionEnter(aTuner->DeliveryLock);
    aTuner->LockOwner = currentThread();
  }
  ++aTuner->LockDepth;
}

// Ends one hold; the outermost also frees the filters retired under it.
inline void releaseTuner(OmbrixHalTunerHandle aTuner) noexcept {
  if (aTuner == nullptr || aTuner->DeliveryLock == nullptr || --aTuner->LockDepth != 0) {
    return;
  }
  if (aTuner->RetiredFilters != nullptr) {
    releaseRetiredFilters(aTuner->RetiredFilters);
  }
  aTuner->LockOwner = nullptr;
  OmbrixHalCriticalSectionLeave(aTuner->DeliveryLock);
}

class TunerHold {
 public:
  explicit TunerHold(OmbrixHalTunerHandle tuner) noexcept : tuner_(tuner) { holdTuner(tuner_); }
  ~TunerHold() { releaseTuner(tuner_); }
  TunerHold(const TunerHold&) = delete;
  TunerHold& operator=(const TunerHold&) = delete;

 private:
  OmbrixHalTunerHandle tuner_;
};

// The kind behind a handle. Each kind wraps this once, as asFileDigitalTuner(This) and the like.
template <typename Kind>
Kind* tunerKindOf(OmbrixHalTunerHandle aThis) noexcept {
  static_assert(std::is_same_v<decltype(Kind::head), OmbrixHalTunerHead>);
  static_assert(std::is_standard_layout_v<Kind>);
  static_assert(offsetof(Kind, head) == 0);
  return reinterpret_cast<Kind*>(aThis);
}

}  // namespace ombrixhal

#endif
