// Critical sections: argument checks and log lines around the platform's binary semaphore.
#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalCriticalSectionPlatformInterface> criticalSectionPlatformGetInterface =
    OmbrixHalCriticalSectionPlatformGetInterface;
}

namespace {

using ombrixhal::kLogError;
using ombrixhal::kLogInfo;

constexpr const char* kCreateName = "OmbrixHalCriticalSectionCreate";
constexpr const char* kDestroyName = "OmbrixHalCriticalSectionDestroy";
constexpr const char* kEnterName = "OmbrixHalCriticalSectionEnter";
constexpr const char* kTimedEnterName = "OmbrixHalCriticalSectionTimedEnter";
constexpr const char* kLeaveName = "OmbrixHalCriticalSectionLeave";

constexpr const char* kCreateNotSupported = "Function not supported 'OmbrixHalCriticalSectionCreate'";
constexpr const char* kDestroyNotSupported = "Function not supported 'OmbrixHalThreadDestroy'";
constexpr const char* kEnterNotSupported = "Function not supported 'OmbrixHalCriticalSectionEnter'";
constexpr const char* kTimedEnterNotSupported = "Function not supported 'OmbrixHalCriticalSectionTimedEnter'";
constexpr const char* kLeaveNotSupported = "Function not supported 'OmbrixHalCriticalSectionLeave'";
constexpr const char* kCreated = "Critical section created succesfully";
constexpr const char* kCannotCreate = "Cannot create critical section";
constexpr const char* kIllegalNullThis = "Illegal parameter 'NULL' for 'This'";
constexpr const char* kCannotDestroy = "Cannot destroy critical section";
constexpr const char* kCannotEnter = "Cannot enter critical section";
constexpr const char* kTimedEnterFailed = "Critical section timed enter: failed";
constexpr const char* kCannotLeave = "Cannot leave critical section";

OmbrixHalCriticalSectionPlatformInterface platform{};

}  // namespace

OmbrixHalBool OmbrixHalCriticalSectionInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::criticalSectionPlatformGetInterface);
}

void OmbrixHalCriticalSectionDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

OmbrixHalCriticalSectionHandle OmbrixHalCriticalSectionCreate(void) noexcept {
  if (!ombrixhal::isSupported(platform.Create, kCreateName, kCreateNotSupported)) {
    return nullptr;
  }
  OmbrixHalCriticalSectionHandle section = platform.Create();
  if (section != nullptr) {
    OmbrixHalLoggerPrintf(kCreateName, kLogInfo, kCreated);
  } else {
    OmbrixHalLoggerPrintf(kCreateName, kLogError, kCannotCreate);
  }
  return section;
}

OmbrixHalBool OmbrixHalCriticalSectionDestroy(OmbrixHalCriticalSectionHandle aThis) noexcept {
  if (aThis == nullptr) {
    OmbrixHalLoggerPrintf(kDestroyName, kLogError, kIllegalNullThis);
    return 0;
  }
  // Deliberate: the text names the thread module's export.
  if (!ombrixhal::isSupported(platform.Destroy, kDestroyName, kDestroyNotSupported)) {
    return 0;
  }
  const OmbrixHalBool result = platform.Destroy(aThis);
  if (!result) {
    OmbrixHalLoggerPrintf(kDestroyName, kLogError, kCannotDestroy);
  }
  return result;
}

OmbrixHalBool OmbrixHalCriticalSectionEnter(OmbrixHalCriticalSectionHandle aThis) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  if (!ombrixhal::isSupported(platform.Enter, kEnterName, kEnterNotSupported)) {
    return 0;
  }
  const OmbrixHalBool result = platform.Enter(aThis);
  if (!result) {
    OmbrixHalLoggerPrintf(kEnterName, kLogError, kCannotEnter);
  }
  return result;
}

OmbrixHalBool OmbrixHalCriticalSectionTimedEnter(OmbrixHalCriticalSectionHandle aThis, uint32_t aTimeout) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  if (!ombrixhal::isSupported(platform.TimedEnter, kTimedEnterName, kTimedEnterNotSupported)) {
    return 0;
  }
  const OmbrixHalBool result = platform.TimedEnter(aThis, aTimeout);
  if (!result) {
    OmbrixHalLoggerPrintf(kTimedEnterName, kLogError, kTimedEnterFailed);
  }
  return result;
}

OmbrixHalBool OmbrixHalCriticalSectionLeave(OmbrixHalCriticalSectionHandle aThis) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  // Deliberate: Leave is available when Enter is, and its failure is logged under the Enter name.
  if (!ombrixhal::isSupported(platform.Enter, kLeaveName, kLeaveNotSupported)) {
    return 0;
  }
  const OmbrixHalBool result = platform.Leave != nullptr ? platform.Leave(aThis) : 0;
  if (!result) {
    OmbrixHalLoggerPrintf(kEnterName, kLogError, kCannotLeave);
  }
  return result;
}
