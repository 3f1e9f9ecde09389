// Host critical sections: a binary semaphore with timed acquire on the standard library,
// answering as the device's Win32 semaphore does (non-recursive, any thread may release,
// releasing a free section fails).
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

#include "OmbrixHalCriticalSection.h"
#include "Platform/OmbrixHalTPlatformTable.h"

struct OmbrixHalCriticalSectionObject {
  std::mutex mutex;
  std::condition_variable released;
  bool available = true;
};

namespace {

// The device waits without limit for this time-out.
constexpr uint32_t kInfinite = 0xffffffffu;

OmbrixHalCriticalSectionHandle create(void) noexcept {
  try {
    return new OmbrixHalCriticalSectionObject;
  } catch (...) {
    return nullptr;
  }
}

OmbrixHalBool destroy(OmbrixHalCriticalSectionHandle aThis) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  delete aThis;
  return 1;
}

OmbrixHalBool enter(OmbrixHalCriticalSectionHandle aThis) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  std::unique_lock lock(aThis->mutex);
  aThis->released.wait(lock, [aThis] { return aThis->available; });
  aThis->available = false;
  return 1;
}

OmbrixHalBool timedEnter(OmbrixHalCriticalSectionHandle aThis, uint32_t aTimeout) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  if (aTimeout == kInfinite) {
    return enter(aThis);
  }
  std::unique_lock lock(aThis->mutex);
  if (!aThis->released.wait_for(lock, std::chrono::milliseconds(aTimeout), [aThis] { return aThis->available; })) {
    return 0;
  }
  aThis->available = false;
  return 1;
}

OmbrixHalBool leave(OmbrixHalCriticalSectionHandle aThis) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  {
    std::lock_guard lock(aThis->mutex);
    if (aThis->available) {
      return 0;
    }
    aThis->available = true;
  }
  aThis->released.notify_one();
  return 1;
}

constexpr OmbrixHalCriticalSectionPlatformInterface kCriticalSectionPlatform = {
    .Init = nullptr,
    .Done = nullptr,
    .Create = create,
    .Destroy = destroy,
    .Enter = enter,
    .TimedEnter = timedEnter,
    .Leave = leave,
};

}  // namespace

OmbrixHalBool OmbrixHalCriticalSectionPlatformGetInterface(
    OmbrixHalCriticalSectionPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kCriticalSectionPlatform);
}
