// The root filter of the chains on a DVB-T tuner: its PID registered with the tuner, which
// selects the packets in its PID table and calls this filter only with those.
#include "OmbrixHalFilterDvbTTsToTs.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerDvbT.h"
#include "OmbrixHalTunerDvbT.h"

namespace {

struct DvbTTsToTsFilter {
  OmbrixHalFilterHead head;
  uint32_t pidRegistered;
  ombrixhal::Relaxed<uint32_t> running;  // read on the driver's thread
};

DvbTTsToTsFilter* asDvbTTsToTsFilter(OmbrixHalFilterHandle aThis) noexcept {
  return ombrixhal::filterKindOf<DvbTTsToTsFilter>(aThis);
}

constexpr OmbrixHalFilterOperations kDvbTTsToTsOperations = {
    .Destroy = OmbrixHalFilterDvbTTsToTsDestroy,
    .SetFilterHandler = OmbrixHalFilterDvbTTsToTsSetFilterHandler,
    .SetParameter = OmbrixHalFilterDvbTTsToTsSetParameter,
    .GetParameter = OmbrixHalFilterDvbTTsToTsGetParameter,
    .Start = OmbrixHalFilterDvbTTsToTsStart,
    .Stop = OmbrixHalFilterDvbTTsToTsStop,
    .IsEnabled = OmbrixHalFilterDvbTTsToTsIsEnabled,
    .Reset = nullptr,  // nothing is assembled here
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalFilterDvbTTsToTsCreate(OmbrixHalTunerHandle aTuner) noexcept {
  if (aTuner == nullptr) {
    return nullptr;
  }
  auto* filter =
      ombrixhal::newFilterKind<DvbTTsToTsFilter>(kDvbTTsToTsOperations, OMBRIX_HAL_FILTER_TYPE_TS, __FILE__, __LINE__);
  if (filter == nullptr) {
    return nullptr;
  }
  filter->head.tuner = aTuner;
  ombrixhal::addLiveFilter(&filter->head);
  return &filter->head;
}

OmbrixHalBool OmbrixHalFilterDvbTTsToTsDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  if (asDvbTTsToTsFilter(This)->pidRegistered) {
    OmbrixHalTunerDvbTRemovePid(This->tuner, This->parameter.pid);
    // The PID of an earlier parameter stays registered (kept, see SetParameter), but must not
    // outlive the filter it delivers to.
    ombrixhal::removeDvbTPidsOf(This->tuner, This);
  }
  // A delivery on this thread may still stand on the filter.
  ombrixhal::retireFilter(This);
  return 1;
}

OmbrixHalBool OmbrixHalFilterDvbTTsToTsSetFilterHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                                        void* aContext) noexcept {
  if (This == nullptr) {
    return 0;
  }
  This->handler = aHandler;
  This->context = aContext;
  return 1;
}

OmbrixHalBool OmbrixHalFilterDvbTTsToTsSetParameter(OmbrixHalFilterHandle This,
                                                    const OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr) {
    return 0;
  }
  DvbTTsToTsFilter& filter = *asDvbTTsToTsFilter(This);
  // Kept: the record is taken first, so a second parameter removes its own PID, not the one
  // registered before, which stays with the tuner.
  This->parameter = *aParameter;
  if (filter.pidRegistered) {
    OmbrixHalTunerDvbTRemovePid(This->tuner, This->parameter.pid);
  }
  OmbrixHalTunerDvbTAddPid(This->tuner, This->parameter.pid, OmbrixHalFilterDvbTTsToTsInputHandler, This);
  filter.pidRegistered = 1;
  return 1;
}

OmbrixHalBool OmbrixHalFilterDvbTTsToTsGetParameter(OmbrixHalFilterHandle This,
                                                    OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr) {
    return 0;
  }
  *aParameter = This->parameter;
  return 1;
}

OmbrixHalBool OmbrixHalFilterDvbTTsToTsStart(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  asDvbTTsToTsFilter(This)->running = 1;
  return 1;
}

OmbrixHalBool OmbrixHalFilterDvbTTsToTsStop(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  asDvbTTsToTsFilter(This)->running = 0;
  // A caller may free the chain once this returns.
  OmbrixHalTunerDvbTSynchronize(This->tuner);
  return 1;
}

OmbrixHalBool OmbrixHalFilterDvbTTsToTsIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return This != nullptr && asDvbTTsToTsFilter(This)->running ? 1 : 0;
}

void OmbrixHalFilterDvbTTsToTsInputHandler(void* aSource, const uint8_t* aPacket, uint32_t aLength,
                                           void* aContext) noexcept {
  static_cast<void>(aSource);
  auto* filter = static_cast<DvbTTsToTsFilter*>(aContext);
  if (filter == nullptr || !filter->running || filter->head.handler == nullptr) {
    return;
  }
  filter->head.handler(&filter->head, aPacket, aLength, filter->head.context);
}
