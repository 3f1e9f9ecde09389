// Private: the module platform-table convention and the log ids every module uses.
#ifndef OMBRIX_HAL_T_MODULE_H
#define OMBRIX_HAL_T_MODULE_H

#include <atomic>
#include <cstdint>

#include "OmbrixHalLogger.h"
#include "OmbrixHalTypes.h"

namespace ombrixhal {

// Class base ids; a message under a base id brings its own text.
inline constexpr uint32_t kLogError = 0x1000;
inline constexpr uint32_t kLogWarning = 0x2000;
inline constexpr uint32_t kLogInfo = 0x3000;

// A word that one thread writes and others read without a lock: relaxed, as the
// documented lock-free behaviour needs no ordering, but never a data race.
template <typename T>
class Relaxed {
 public:
  constexpr Relaxed(T value = T{}) noexcept : value_(value) {}
  Relaxed(const Relaxed&) = delete;
  Relaxed& operator=(const Relaxed&) = delete;

  operator T() const noexcept { return value_.load(std::memory_order_relaxed); }
  Relaxed& operator=(T value) noexcept {
    value_.store(value, std::memory_order_relaxed);
    return *this;
  }

 private:
  std::atomic<T> value_;
};

// Object convention (tuners, filters): a NULL argument is logged as an error naming the
// parameter ("Illegal value 'NULL' for parameter '%s'").
inline bool isGiven(const void* argument, const char* functionName, const char* parameterName) noexcept {
  if (argument == nullptr) {
    OmbrixHalLoggerPrint(functionName, 0x1003, parameterName);
    return false;
  }
  return true;
}

// Object convention: an operation the object's kind leaves empty warns "Function not
// supported: '%s'" with the export's own name.
template <typename Slot>
bool isOperationSupported(Slot slot, const char* functionName) noexcept {
  if (slot == nullptr) {
    OmbrixHalLoggerPrint(functionName, 0x2001, functionName);
    return false;
  }
  return true;
}

// Module convention: an operation whose platform slot is empty warns, naming the export in
// the module's own words, and fails.
template <typename Slot>
bool isSupported(Slot slot, const char* functionName, const char* notSupportedText) noexcept {
  if (slot == nullptr) {
    OmbrixHalLoggerPrintf(functionName, kLogWarning, "%s", notSupportedText);
    return false;
  }
  return true;
}

// Module convention: a bad argument is logged as an error in the module's own words (the
// arguments fill the text's conversions), and the operation fails.
template <typename... Arguments>
bool isLegal(bool legal, const char* functionName, const char* illegalText, Arguments... arguments) noexcept {
  if (!legal) {
    OmbrixHalLoggerPrintf(functionName, kLogError, illegalText, arguments...);
  }
  return legal;
}

// Module convention: what an operation that changes something did, as an info on success and
// an error on failure; the arguments fill either text's conversions.
template <typename... Arguments>
OmbrixHalBool reportOutcome(OmbrixHalBool result, const char* functionName, const char* succeededText,
                            const char* failedText, Arguments... arguments) noexcept {
  OmbrixHalLoggerPrintf(functionName, result ? kLogInfo : kLogError, result ? succeededText : failedText,
                        arguments...);
  return result;
}

template <typename Interface>
using GetInterfaceFunction = OmbrixHalBool (*)(Interface*) noexcept;

// Module Init: a module whose platform gives no table or no init slot counts as initialised.
template <typename Interface>
OmbrixHalBool initPlatformInterface(Interface& platform, GetInterfaceFunction<Interface> getInterface) noexcept {
  platform = Interface{};
  if (!getInterface(&platform) || platform.Init == nullptr) {
    return 1;
  }
  return platform.Init();
}

// Module Done: the done slot if there is one, then nothing is supported any more.
template <typename Interface>
void donePlatformInterface(Interface& platform) noexcept {
  if (platform.Done != nullptr) {
    platform.Done();
  }
  platform = Interface{};
}

}  // namespace ombrixhal

#endif
