// Filters: the generic entry points over every filter kind, the making of filter chains, the
// filter lists, the list of live filters and the end of filters. The entry points that change
// what a delivery reaches hold the filter's tuner, so that they wait for a running delivery.
#include <cstring>
#include <mutex>

#include "OmbrixHalFilter.h"
#include "OmbrixHalFilterDvbTTsToTs.h"
#include "OmbrixHalFilterFileAnalogEpr.h"
#include "OmbrixHalFilterFileDigitalTs.h"
#include "OmbrixHalFilterPesToTtx.h"
#include "OmbrixHalFilterTsToPcr.h"
#include "OmbrixHalFilterTsToPes.h"
#include "OmbrixHalFilterTsToSection.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMapFilter.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerHead.h"

namespace {

using ombrixhal::isGiven;
using ombrixhal::isOperationSupported;
using ombrixhal::kLogError;
using ombrixhal::kLogInfo;

constexpr uint32_t kLogIllegalNull = 0x1003;  // "Illegal value 'NULL' for parameter '%s'"
constexpr uint32_t kLogNoTunerType = 0x100f;   // "Cannot get tuner type"

constexpr const char* kOpenName = "OmbrixHalFilterOpen";
constexpr const char* kCloseName = "OmbrixHalFilterClose";
constexpr const char* kSetParameterName = "OmbrixHalFilterSetParameter";
constexpr const char* kGetParameterName = "OmbrixHalFilterGetParameter";
constexpr const char* kStartName = "OmbrixHalFilterStart";
constexpr const char* kStopName = "OmbrixHalFilterStop";
constexpr const char* kGetTypeName = "OmbrixHalFilterGetType";

constexpr const char* kThisName = "This";
constexpr const char* kParameterName = "aParameter";
constexpr const char* kTunerName = "aTuner";
constexpr const char* kHandlerName = "aHandler";

constexpr const char* kOpened = "Opened filter '%s' successfully";
constexpr const char* kCannotOpen = "Cannot open filter '%s'";

constexpr const char* kClosed = "Closed filter '%s'";
constexpr const char* kCannotClose = "Cannot close filter '%s'";
constexpr const char* kStarted = "Started filter '%s'";
constexpr const char* kCannotStart = "Cannot start filter '%s'";
constexpr const char* kStopped = "Stopped filter '%s'";
constexpr const char* kCannotStop = "Cannot stop filter '%s'";
constexpr const char* kParameterSet = "Filter parameter successfully set for '%s'";
constexpr const char* kCannotSetParameter = "Cannot set filter parameter for '%s'";
constexpr const char* kParameterReturned = "Filter parameter successfully returned for '%s'";
constexpr const char* kCannotReturnParameter = "Cannot return filter parameter for '%s'";
constexpr const char* kRunning = "Filter '%s' is running. Cannot set parameter. Stop filter first.";
constexpr const char* kFilterParam = "FilterParam: pid=0x%x crcCheck=%s filterLen=%d";
constexpr const char* kEnabled = "enabled";
constexpr const char* kDisabled = "disabled";

// The filters alive now. A tuner resets the context of every handler it holds, and a
// middleware may register its own handler with a context that is no filter: only a word found
// here is touched. Creation, destruction and reset are rare, so a list and a lock do.
std::mutex liveFiltersLock;
OmbrixHalFilterHandle liveFilters = nullptr;

// Under liveFiltersLock.
bool isLive(OmbrixHalFilterHandle filter) noexcept {
  for (OmbrixHalFilterHandle live = liveFilters; live != nullptr; live = live->nextLive) {
    if (live == filter) {
      return true;
    }
  }
  return false;
}

// Only a filter the client named reports its outcomes.
void logOutcome(const char* name, bool succeeded, const char* functionName, const char* success,
                const char* failure, const char* failureFunctionName) noexcept {
  if (name[0] == '\0') {
    return;
  }
  if (succeeded) {
    OmbrixHalLoggerPrintf(functionName, kLogInfo, success, name);
  } else {
    OmbrixHalLoggerPrintf(failureFunctionName, kLogError, failure, name);
  }
}

// Start and Stop alike.
OmbrixHalBool switchFilter(OmbrixHalFilterHandle aThis, OmbrixHalBool (*OmbrixHalFilterOperations::*slot)(OmbrixHalFilterHandle),
                           const char* functionName, const char* success, const char* failure) noexcept {
  if (!isGiven(aThis, functionName, kThisName) || !isOperationSupported(aThis->operations.*slot, functionName)) {
    return 0;
  }
  ombrixhal::TunerHold hold(aThis->tuner);
  const OmbrixHalBool result = (aThis->operations.*slot)(aThis);
  logOutcome(aThis->name, result != 0, functionName, success, failure, functionName);
  return result;
}

// A chain's filters as the chain builder made them, for hooking the top and for taking a failed
// chain apart in its fixed order.
struct Chain {
  OmbrixHalFilterHandle tsRoot = nullptr;
  OmbrixHalFilterHandle pes = nullptr;  // made here, or the PES root
  OmbrixHalFilterHandle teletext = nullptr;
  OmbrixHalFilterHandle section = nullptr;
  OmbrixHalFilterHandle pcr = nullptr;
  OmbrixHalFilterHandle top = nullptr;
  bool failed = false;

  void add(OmbrixHalFilterHandle& slot, OmbrixHalFilterHandle filter) noexcept {
    slot = filter;
    top = filter;
    failed = failed || filter == nullptr;
  }

  void destroy() noexcept {
    for (OmbrixHalFilterHandle filter : {tsRoot, pes, teletext, section, pcr}) {
      if (filter != nullptr && filter->operations.Destroy != nullptr) {
        filter->operations.Destroy(filter);
      }
    }
  }
};

// The stages that turn a TS root's packets into `type`, in their creation order.
void buildOnTsRoot(Chain& chain, OmbrixHalFilterType type) noexcept {
  switch (type) {
    case OMBRIX_HAL_FILTER_TYPE_PES:
      chain.add(chain.pes, OmbrixHalFilterTsToPesCreate(chain.tsRoot));
      break;
    case OMBRIX_HAL_FILTER_TYPE_TELETEXT:
      chain.add(chain.pes, OmbrixHalFilterTsToPesCreate(chain.tsRoot));
      chain.add(chain.teletext, chain.pes != nullptr ? OmbrixHalFilterPesToTtxCreate(chain.pes) : nullptr);
      break;
    case OMBRIX_HAL_FILTER_TYPE_SECTION:
      chain.add(chain.section, OmbrixHalFilterTsToSectionCreate(chain.tsRoot));
      break;
    case OMBRIX_HAL_FILTER_TYPE_PCR:
      chain.add(chain.pcr, OmbrixHalFilterTsToPcrCreate(chain.tsRoot));
      break;
    default:
      chain.failed = true;
      break;
  }
}

// The filter that Open hands a client, or NULL once the reason is logged.
OmbrixHalFilterHandle openFilter(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                 OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  if (!isGiven(aTuner, kOpenName, kTunerName)) {
    return nullptr;
  }
  if (aTuner->Operations.GetType == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kLogNoTunerType, kOpenName);
    return nullptr;
  }
  // Only a PCR filter can do without a handler: its value can be polled.
  if (aType == OMBRIX_HAL_FILTER_TYPE_PCR) {
    return OmbrixHalFilterCreateRealFilter(aTuner, aType, aHandler, aContext);
  }
  if (aHandler == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kLogIllegalNull, kHandlerName);
    return nullptr;
  }
  return OmbrixHalMapFilterOpen(aTuner, aType, aHandler, aContext);
}

}  // namespace

namespace ombrixhal {

void addLiveFilter(OmbrixHalFilterHandle aFilter) noexcept {
  std::lock_guard guard(liveFiltersLock);
  aFilter->nextLive = liveFilters;
  liveFilters = aFilter;
}

void removeLiveFilter(OmbrixHalFilterHandle aFilter) noexcept {
  std::lock_guard guard(liveFiltersLock);
  for (OmbrixHalFilterHandle* link = &liveFilters; *link != nullptr; link = &(*link)->nextLive) {
    if (*link == aFilter) {
      *link = aFilter->nextLive;
      aFilter->nextLive = nullptr;
      return;
    }
  }
}

void retireFilter(OmbrixHalFilterHandle aFilter) noexcept {
  removeLiveFilter(aFilter);
  OmbrixHalTunerHandle tuner = aFilter->tuner;
  if (tuner != nullptr && holdsTuner(*tuner)) {
    aFilter->nextLive = tuner->RetiredFilters;
    tuner->RetiredFilters = aFilter;
  } else {
    aFilter->release(aFilter);
  }
}

void releaseRetiredFilters(OmbrixHalFilterHandle& aRetired) noexcept {
  while (aRetired != nullptr) {
    OmbrixHalFilterHandle filter = aRetired;
    aRetired = filter->nextLive;
    filter->release(filter);
  }
}

}  // namespace ombrixhal

OmbrixHalBool OmbrixHalFilterClose(OmbrixHalFilterHandle This) noexcept {
  if (!isGiven(This, kCloseName, kThisName) || !isOperationSupported(This->operations.Destroy, kCloseName)) {
    return 0;
  }
  // The object is gone after Destroy.
  char name[OMBRIX_HAL_FILTER_NAME_SIZE];
  std::memcpy(name, This->name, sizeof name);
  OmbrixHalBool result = 0;
  {
    ombrixhal::TunerHold hold(This->tuner);
    if (This->operations.Stop != nullptr) {
      This->operations.Stop(This);
    }
    result = This->operations.Destroy(This);
  }
  logOutcome(name, result != 0, kCloseName, kClosed, kCannotClose, kCloseName);
  return result;
}

OmbrixHalBool OmbrixHalFilterSetParameter(OmbrixHalFilterHandle This, const OmbrixHalFilterParameter* aParameter) noexcept {
  if (!isGiven(This, kSetParameterName, kThisName) || !isGiven(aParameter, kSetParameterName, kParameterName) ||
      !isOperationSupported(This->operations.SetParameter, kSetParameterName)) {
    return 0;
  }
  ombrixhal::TunerHold hold(This->tuner);
  if (This->operations.IsEnabled != nullptr && This->operations.IsEnabled(This)) {
    OmbrixHalLoggerPrintf(kSetParameterName, kLogError, kRunning, This->name);
    return 0;
  }
  const OmbrixHalBool result = This->operations.SetParameter(This, aParameter);
  // Kept: the failure line carries the GetParameter name.
  logOutcome(This->name, result != 0, kSetParameterName, kParameterSet, kCannotSetParameter, kGetParameterName);
  if (This->name[0] != '\0') {
    OmbrixHalLoggerPrintf(kSetParameterName, result ? kLogInfo : kLogError, kFilterParam, aParameter->pid,
                          aParameter->crcCheck ? kEnabled : kDisabled, aParameter->filterLen);
  }
  return result;
}

OmbrixHalBool OmbrixHalFilterGetParameter(OmbrixHalFilterHandle This, OmbrixHalFilterParameter* aParameter) noexcept {
  if (!isGiven(This, kGetParameterName, kThisName) || !isGiven(aParameter, kGetParameterName, kParameterName) ||
      !isOperationSupported(This->operations.GetParameter, kGetParameterName)) {
    return 0;
  }
  const OmbrixHalBool result = This->operations.GetParameter(This, aParameter);
  logOutcome(This->name, result != 0, kGetParameterName, kParameterReturned, kCannotReturnParameter,
             kGetParameterName);
  return result;
}

OmbrixHalBool OmbrixHalFilterStart(OmbrixHalFilterHandle This) noexcept {
  return switchFilter(This, &OmbrixHalFilterOperations::Start, kStartName, kStarted, kCannotStart);
}

OmbrixHalBool OmbrixHalFilterStop(OmbrixHalFilterHandle This) noexcept {
  return switchFilter(This, &OmbrixHalFilterOperations::Stop, kStopName, kStopped, kCannotStop);
}

OmbrixHalFilterType OmbrixHalFilterGetType(OmbrixHalFilterHandle This) noexcept {
  return isGiven(This, kGetTypeName, kThisName) ? This->type : OMBRIX_HAL_FILTER_TYPE_NONE;
}

void OmbrixHalFilterReset(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return;
  }
  // The word may be anything: only once it is known as a live filter is its tuner read, and
  // held (a tuner resets under its own hold) before the reset, which the delivery would race.
  OmbrixHalTunerHandle tuner = nullptr;
  {
    std::lock_guard guard(liveFiltersLock);
    if (!isLive(This)) {
      return;
    }
    tuner = This->tuner;
  }
  ombrixhal::TunerHold hold(tuner);
  // The lock is held through the call, so the filter cannot be destroyed under it.
  std::lock_guard guard(liveFiltersLock);
  if (isLive(This) && This->operations.Reset != nullptr) {
    This->operations.Reset(This);
  }
}

OmbrixHalBool OmbrixHalFilterGetInfo(OmbrixHalFilterHandle This, OmbrixHalFilterInfo* aInfo) noexcept {
  if (This == nullptr || aInfo == nullptr || This->GetInfo == nullptr) {
    return 0;
  }
  // Kept: the slot's own answer does not matter.
  This->GetInfo(This, aInfo);
  return 1;
}

void OmbrixHalFilterResetInfo(OmbrixHalFilterHandle This) noexcept {
  if (This != nullptr && This->ResetInfo != nullptr) {
    This->ResetInfo(This);
  }
}

OmbrixHalBool OmbrixHalFilterSetHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                        void* aContext) noexcept {
  if (This == nullptr || This->operations.SetFilterHandler == nullptr) {
    return 0;
  }
  return This->operations.SetFilterHandler(This, aHandler, aContext);
}

OmbrixHalFilterHandle OmbrixHalFilterAddFilterToList(OmbrixHalFilterHandle aHead, OmbrixHalFilterHandle aFilter) noexcept {
  if (aFilter == nullptr) {
    return aHead;
  }
  aFilter->next = aHead;
  return aFilter;
}

OmbrixHalFilterHandle OmbrixHalFilterRemoveFilterFromList(OmbrixHalFilterHandle aHead,
                                                          OmbrixHalFilterHandle aFilter) noexcept {
  for (OmbrixHalFilterHandle* link = &aHead; *link != nullptr; link = &(*link)->next) {
    if (*link == aFilter) {
      *link = aFilter->next;
      aFilter->next = nullptr;
      break;
    }
  }
  return aHead;
}

OmbrixHalFilterHandle OmbrixHalFilterOpen(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType, const char* aName,
                                          OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  OmbrixHalFilterHandle filter = openFilter(aTuner, aType, aHandler, aContext);
  if (filter == nullptr) {
    OmbrixHalLoggerPrintf(kOpenName, kLogError, kCannotOpen, aName);
    return nullptr;
  }
  if (aName != nullptr) {
    std::strncpy(filter->name, aName, sizeof filter->name - 1);
    filter->name[sizeof filter->name - 1] = '\0';
  }
  if (filter->name[0] != '\0') {
    OmbrixHalLoggerPrintf(kOpenName, kLogInfo, kOpened, filter->name);
  }
  return filter;
}

OmbrixHalFilterHandle OmbrixHalFilterCreateRealFilter(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                                      OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  if (aTuner == nullptr) {
    return nullptr;
  }
  switch (aTuner->ParameterType) {
    case OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE:
      return OmbrixHalFilterCreateChain(OmbrixHalFilterFileDigitalTsCreate(aTuner), aType, aHandler, aContext);
    case OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE:
      // Its filter takes the tuner's line records itself: no chain.
      return OmbrixHalFilterFileAnalogEprCreate(aTuner, aType, aHandler, aContext);
    default:
      return OmbrixHalFilterCreateChain(OmbrixHalFilterFactoryCreateFilter(aTuner, aType, aHandler, aContext), aType,
                                        aHandler, aContext);
  }
}

OmbrixHalFilterHandle OmbrixHalFilterFactoryCreateFilter(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                                         OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  static_cast<void>(aHandler);
  static_cast<void>(aContext);
  if (aTuner == nullptr || aTuner->Operations.GetType == nullptr ||
      aTuner->Operations.GetType(aTuner) != OMBRIX_HAL_TUNER_TYPE_DVB_T || aType > OMBRIX_HAL_FILTER_TYPE_TELETEXT) {
    return nullptr;
  }
  // Whatever the type asked, the root is a TS filter: the chain builder puts the stages on it.
  return OmbrixHalFilterDvbTTsToTsCreate(aTuner);
}

OmbrixHalFilterHandle OmbrixHalFilterCreateChain(OmbrixHalFilterHandle aRoot, OmbrixHalFilterType aType,
                                                 OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  if (aRoot == nullptr) {
    return nullptr;
  }
  if (aRoot->type == aType) {
    if (aRoot->operations.SetFilterHandler != nullptr && aRoot->operations.SetFilterHandler(aRoot, aHandler, aContext)) {
      return aRoot;
    }
    if (aRoot->operations.Destroy != nullptr) {
      aRoot->operations.Destroy(aRoot);
    }
    return nullptr;
  }
  Chain chain;
  if (aRoot->type == OMBRIX_HAL_FILTER_TYPE_TS) {
    chain.tsRoot = aRoot;
    buildOnTsRoot(chain, aType);
  } else if (aRoot->type == OMBRIX_HAL_FILTER_TYPE_PES && aType == OMBRIX_HAL_FILTER_TYPE_TELETEXT) {
    chain.pes = aRoot;
    chain.add(chain.teletext, OmbrixHalFilterPesToTtxCreate(aRoot));
  } else {
    // Any other root stays as it is.
    return nullptr;
  }
  // Hooking the top makes each stage hook itself onto its parent: the chain is wired top down.
  if (!chain.failed && chain.top->operations.SetFilterHandler != nullptr &&
      chain.top->operations.SetFilterHandler(chain.top, aHandler, aContext)) {
    return chain.top;
  }
  chain.destroy();
  return nullptr;
}
