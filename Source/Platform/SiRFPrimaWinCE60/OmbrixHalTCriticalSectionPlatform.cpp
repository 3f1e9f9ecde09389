// Device critical sections: a Win32 semaphore of count 1, so not recursive, and any thread
// may release it.
#include <windows.h>

#include "OmbrixHalCriticalSection.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

HANDLE asSemaphore(OmbrixHalCriticalSectionHandle aThis) {
  return reinterpret_cast<HANDLE>(aThis);
}

OmbrixHalCriticalSectionHandle create(void) noexcept {
  return reinterpret_cast<OmbrixHalCriticalSectionHandle>(CreateSemaphoreW(nullptr, 1, 1, nullptr));
}

OmbrixHalBool destroy(OmbrixHalCriticalSectionHandle aThis) noexcept {
  return aThis != nullptr && CloseHandle(asSemaphore(aThis)) ? 1 : 0;
}

OmbrixHalBool enter(OmbrixHalCriticalSectionHandle aThis) noexcept {
  return aThis != nullptr && WaitForSingleObject(asSemaphore(aThis), INFINITE) == WAIT_OBJECT_0 ? 1 : 0;
}

OmbrixHalBool timedEnter(OmbrixHalCriticalSectionHandle aThis, uint32_t aTimeout) noexcept {
  return aThis != nullptr && WaitForSingleObject(asSemaphore(aThis), aTimeout) == WAIT_OBJECT_0 ? 1 : 0;
}

OmbrixHalBool leave(OmbrixHalCriticalSectionHandle aThis) noexcept {
  return aThis != nullptr && ReleaseSemaphore(asSemaphore(aThis), 1, nullptr) ? 1 : 0;
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
