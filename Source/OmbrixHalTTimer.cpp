// Timers: a fixed pool of polled one-shot timers. No lock: each timer belongs to one thread,
// and only the in-use word is shared between threads that open timers.
#include "OmbrixHalClock.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTimer.h"

struct OmbrixHalTimerObject {
  ombrixhal::Relaxed<uint32_t> inUse;
  uint32_t startTicks;
  uint32_t duration;
  uint32_t lastTicks;
  uint32_t wraps;
  uint32_t expired;
};

namespace {

constexpr const char* kOpenName = "OmbrixHalTimerOpen";
constexpr const char* kIsExpiredName = "OmbrixHalTimerIsExpired";
constexpr const char* kCannotOpen = "Cannot open timer.";
constexpr const char* kNullIsExpired = "timer 'This' is NULL --> Timer is expired";

OmbrixHalTimerObject pool[OMBRIX_HAL_TIMER_COUNT];

void clearPool() {
  for (OmbrixHalTimerObject& timer : pool) {
    timer.inUse = 0;
    timer.startTicks = 0;
    timer.duration = 0;
    timer.lastTicks = 0;
    timer.wraps = 0;
    timer.expired = 0;
  }
}

}  // namespace

OmbrixHalBool OmbrixHalTimerInit(void) noexcept {
  clearPool();
  return 1;
}

void OmbrixHalTimerDone(void) noexcept {
  clearPool();
}

OmbrixHalTimerHandle OmbrixHalTimerOpen(void) noexcept {
  for (OmbrixHalTimerObject& timer : pool) {
    if (timer.inUse == 0) {
      timer.inUse = 1;
      return &timer;
    }
  }
  OmbrixHalLoggerPrintf(kOpenName, ombrixhal::kLogError, kCannotOpen);
  return nullptr;
}

void OmbrixHalTimerClose(OmbrixHalTimerHandle aThis) noexcept {
  if (aThis != nullptr) {
    aThis->inUse = 0;
  }
}

void OmbrixHalTimerReset(OmbrixHalTimerHandle aThis, uint32_t aDuration) noexcept {
  if (aThis == nullptr) {
    return;
  }
  const uint32_t now = OmbrixHalClockGetTicks();
  aThis->startTicks = now;
  aThis->lastTicks = now;
  aThis->duration = aDuration;
  aThis->wraps = 0;
  aThis->expired = 0;
}

OmbrixHalBool OmbrixHalTimerIsExpired(OmbrixHalTimerHandle aThis) noexcept {
  if (aThis == nullptr) {
    OmbrixHalLoggerPrintf(kIsExpiredName, ombrixhal::kLogInfo, kNullIsExpired);
    return 1;
  }
  if (aThis->expired) {
    return 1;
  }
  const uint32_t now = OmbrixHalClockGetTicks();
  const uint32_t wrap = OmbrixHalClockGetTicksOverflow();
  if (now < aThis->lastTicks) {
    ++aThis->wraps;
  }
  aThis->lastTicks = now;
  if (wrap != 0) {
    if (aThis->wraps * wrap - aThis->startTicks + now >= aThis->duration) {
      aThis->expired = 1;
    }
  } else if (aThis->wraps > 1) {
    // More than one full turn of a 2^32 counter: far beyond any 32-bit duration.
    aThis->expired = 1;
  } else if (now - aThis->startTicks >= aThis->duration) {
    aThis->expired = 1;
  }
  return aThis->expired;
}
