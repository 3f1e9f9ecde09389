// Threads: argument checks and log lines around the platform's threads.
#include "OmbrixHalLogger.h"
#include "OmbrixHalTTestSeams.h"
#include "OmbrixHalThread.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalThreadPlatformInterface> threadPlatformGetInterface = OmbrixHalThreadPlatformGetInterface;
}

namespace {

using ombrixhal::kLogError;
using ombrixhal::kLogInfo;

constexpr const char* kCreateName = "OmbrixHalThreadCreate";
constexpr const char* kDestroyName = "OmbrixHalThreadDestroy";
constexpr const char* kTerminateName = "OmbrixHalThreadTerminate";
constexpr const char* kSleepName = "OmbrixHalThreadSleep";
constexpr const char* kGetIdName = "OmbrixHalThreadGetId";

constexpr const char* kIllegalNullFunction = "Illegal parameter 'NULL' for 'aFunction'";
constexpr const char* kIllegalPriority = "Illegal parameter '%d' for 'aPriority'";
constexpr const char* kIllegalNullThis = "Illegal parameter 'NULL' for 'This'";
constexpr const char* kCreateNotSupported = "Function not supported 'OmbrixHalThreadCreate'";
constexpr const char* kDestroyNotSupported = "Function not supported 'OmbrixHalThreadDestroy'";
constexpr const char* kTerminateNotSupported = "Function not supported 'OmbrixHalThreadTerminate'";
constexpr const char* kSleepNotSupported = "Function not supported 'OmbrixHalThreadSleep'";
constexpr const char* kGetIdNotSupported = "Function not supported 'OmbrixHalThreadGetId'";
constexpr const char* kCannotCreate = "Cannot create thread";
constexpr const char* kCreated = "Thread created: Prio=%d, StackSize=%d";
constexpr const char* kDestroyed = "Thread destroyed succesfully";
constexpr const char* kCannotDestroy = "Cannot destroy thread";

OmbrixHalThreadPlatformInterface platform{};

}  // namespace

OmbrixHalBool OmbrixHalThreadInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::threadPlatformGetInterface);
}

void OmbrixHalThreadDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

OmbrixHalThreadHandle OmbrixHalThreadCreate(OmbrixHalThreadFunction aFunction, void* aParameter, uint32_t aPriority,
                                            uint32_t aReserved, uint32_t aStackSize) noexcept {
  if (aFunction == nullptr) {
    OmbrixHalLoggerPrintf(kCreateName, kLogError, kIllegalNullFunction);
    return nullptr;
  }
  if (aPriority > OMBRIX_HAL_THREAD_PRIORITY_MAX) {
    OmbrixHalLoggerPrintf(kCreateName, kLogError, kIllegalPriority, aPriority);
    return nullptr;
  }
  if (!ombrixhal::isSupported(platform.Create, kCreateName, kCreateNotSupported)) {
    return nullptr;
  }
  OmbrixHalThreadHandle thread = platform.Create(aFunction, aParameter, aPriority, aReserved, aStackSize);
  if (thread == nullptr) {
    OmbrixHalLoggerPrintf(kCreateName, kLogError, kCannotCreate);
  } else {
    OmbrixHalLoggerPrintf(kCreateName, kLogInfo, kCreated, aPriority, aStackSize);
  }
  return thread;
}

OmbrixHalBool OmbrixHalThreadDestroy(OmbrixHalThreadHandle aThis) noexcept {
  if (aThis == nullptr) {
    OmbrixHalLoggerPrintf(kDestroyName, kLogError, kIllegalNullThis);
    return 0;
  }
  if (!ombrixhal::isSupported(platform.Destroy, kDestroyName, kDestroyNotSupported)) {
    return 0;
  }
  const OmbrixHalBool result = platform.Destroy(aThis);
  if (result) {
    OmbrixHalLoggerPrintf(kDestroyName, kLogInfo, kDestroyed);
  } else {
    OmbrixHalLoggerPrintf(kDestroyName, kLogError, kCannotDestroy);
  }
  return result;
}

void OmbrixHalThreadTerminate(OmbrixHalThreadHandle aThis, uint32_t aExitCode) noexcept {
  if (aThis == nullptr) {
    OmbrixHalLoggerPrintf(kTerminateName, kLogError, kIllegalNullThis);
    return;
  }
  if (!ombrixhal::isSupported(platform.Terminate, kTerminateName, kTerminateNotSupported)) {
    return;
  }
  platform.Terminate(aThis, aExitCode);
}

void OmbrixHalThreadSleep(uint32_t aMilliseconds) noexcept {
  if (!ombrixhal::isSupported(platform.Sleep, kSleepName, kSleepNotSupported)) {
    return;
  }
  platform.Sleep(aMilliseconds);
}

uint32_t OmbrixHalThreadGetId(void) noexcept {
  if (!ombrixhal::isSupported(platform.GetId, kGetIdName, kGetIdNotSupported)) {
    return 0;
  }
  return platform.GetId();
}
