// Host threads on std::thread, started detached and at the default priority as on the
// device. There is nothing to destroy or terminate: a thread ends by returning.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "OmbrixHalThread.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

// Handles only name a thread (the host never closes or waits for one), so they are numbers.
std::atomic<uintptr_t> lastThreadNumber{0};
std::atomic<uint32_t> lastThreadId{0};

OmbrixHalThreadHandle create(OmbrixHalThreadFunction aFunction, void* aParameter, uint32_t /*aPriority*/,
                             uint32_t /*aReserved*/, uint32_t /*aStackSize*/) noexcept {
  if (aFunction == nullptr) {
    return nullptr;
  }
  try {
    std::thread(aFunction, aParameter).detach();
  } catch (...) {
    return nullptr;
  }
  return reinterpret_cast<OmbrixHalThreadHandle>(lastThreadNumber.fetch_add(1) + 1);
}

void terminate(OmbrixHalThreadHandle /*aThis*/, uint32_t /*aExitCode*/) noexcept {}

void sleep(uint32_t aMilliseconds) noexcept {
  std::this_thread::sleep_for(std::chrono::milliseconds(aMilliseconds));
}

uint32_t getId(void) noexcept {
  thread_local const uint32_t id = lastThreadId.fetch_add(1) + 1;
  return id;
}

constexpr OmbrixHalThreadPlatformInterface kThreadPlatform = {
    .Init = nullptr,
    .Done = nullptr,
    .Create = create,
    .Destroy = nullptr,
    .Terminate = terminate,
    .Sleep = sleep,
    .GetId = getId,
};

}  // namespace

OmbrixHalBool OmbrixHalThreadPlatformGetInterface(OmbrixHalThreadPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kThreadPlatform);
}
