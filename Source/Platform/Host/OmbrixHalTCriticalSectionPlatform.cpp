// Host critical sections: a binary semaphore with timed acquire on the standard library,
// answering as the device's Win32 semaphore does (non-recursive, any thread may release,
// releasing a free section fails). Uncontended enter and leave are one atomic operation each:
// a pulled tuner takes its lock for every packet.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

#include "OmbrixHalCriticalSection.h"
#include "Platform/OmbrixHalTPlatformTable.h"

struct OmbrixHalCriticalSectionObject {
  std::atomic<bool> available{true};
  // Threads blocked in enter. Counted before they test `available` again and read by leave
  // after it set it (both sequentially consistent), so leave either sees a waiter and wakes it
  // or the waiter sees the section free: no wake-up is lost.
  std::atomic<uint32_t> waiters{0};
  std::mutex mutex;
  std::condition_variable released;
};

namespace {

// The device waits without limit for this time-out.
constexpr uint32_t kInfinite = 0xffffffffu;

bool tryTake(OmbrixHalCriticalSectionObject& section) noexcept {
  bool expected = true;
  return section.available.compare_exchange_strong(expected, false);
}

// Waits until the section is taken or the deadline (none for nullptr) has passed.
bool take(OmbrixHalCriticalSectionObject& section, const std::chrono::steady_clock::time_point* deadline) noexcept {
  if (tryTake(section)) {
    return true;
  }
  std::unique_lock lock(section.mutex);
  ++section.waiters;
  bool taken = tryTake(section);
  while (!taken) {
    if (deadline == nullptr) {
      section.released.wait(lock);
    } else if (section.released.wait_until(lock, *deadline) == std::cv_status::timeout) {
      taken = tryTake(section);
      break;
    }
    taken = tryTake(section);
  }
  --section.waiters;
  return taken;
}

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
  return aThis != nullptr && take(*aThis, nullptr) ? 1 : 0;
}

OmbrixHalBool timedEnter(OmbrixHalCriticalSectionHandle aThis, uint32_t aTimeout) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  if (aTimeout == kInfinite) {
    return enter(aThis);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(aTimeout);
  return take(*aThis, &deadline) ? 1 : 0;
}

OmbrixHalBool leave(OmbrixHalCriticalSectionHandle aThis) noexcept {
  if (aThis == nullptr || aThis->available.exchange(true)) {
    return 0;
  }
  if (aThis->waiters.load() != 0) {
    // Taking the mutex orders this wake-up after a waiter's test, before its wait.
    { std::lock_guard lock(aThis->mutex); }
    aThis->released.notify_one();
  }
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
