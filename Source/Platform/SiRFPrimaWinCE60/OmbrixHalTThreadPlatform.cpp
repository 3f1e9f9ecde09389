// Device threads: CreateThread at the default priority. Handles are never closed and
// threads end by returning, so destroy is not supported and terminate does nothing.
#include <windows.h>

#include "OmbrixHalThread.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

OmbrixHalThreadHandle create(OmbrixHalThreadFunction aFunction, void* aParameter, uint32_t /*aPriority*/,
                             uint32_t /*aReserved*/, uint32_t aStackSize) noexcept {
  if (aFunction == nullptr) {
    return nullptr;
  }
  // The thread function has the start routine's shape (one pointer in, a 32-bit word out);
  // the detour through void (*)() only tells the compiler that this cast is meant.
  const auto startRoutine = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void (*)()>(aFunction));
  return reinterpret_cast<OmbrixHalThreadHandle>(CreateThread(nullptr, aStackSize, startRoutine, aParameter, 0, nullptr));
}

void terminate(OmbrixHalThreadHandle /*aThis*/, uint32_t /*aExitCode*/) noexcept {}

void sleep(uint32_t aMilliseconds) noexcept {
  Sleep(aMilliseconds);
}

uint32_t getId(void) noexcept {
  return GetCurrentThreadId();
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
