// The root filter of the chains on a file digital tuner: the tuner's packets, selected by PID in
// software.
#include "OmbrixHalFilterFileDigitalTs.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerHead.h"

namespace {

struct FileDigitalTsFilter {
  OmbrixHalFilterHead head;
  ombrixhal::Relaxed<uint32_t> running;  // read on the tuner's delivery thread
  uint32_t parameterSet;
};

FileDigitalTsFilter* asFileDigitalTsFilter(OmbrixHalFilterHandle aThis) noexcept {
  return ombrixhal::filterKindOf<FileDigitalTsFilter>(aThis);
}

// Tells the tuner which packets this filter acts on, so that it is not called for the others.
void announcePid(const FileDigitalTsFilter& filter) noexcept {
  OmbrixHalTunerHandle tuner = filter.head.tuner;
  if (filter.parameterSet && tuner->SetHandlerPid != nullptr) {
    tuner->SetHandlerPid(tuner, const_cast<OmbrixHalFilterHead*>(&filter.head), filter.head.parameter.pid);
  }
}

constexpr OmbrixHalFilterOperations kFileDigitalTsOperations = {
    .Destroy = OmbrixHalFilterFileDigitalTsDestroy,
    .SetFilterHandler = OmbrixHalFilterFileDigitalTsSetFilterHandler,
    .SetParameter = OmbrixHalFilterFileDigitalTsSetParameter,
    .GetParameter = OmbrixHalFilterFileDigitalTsGetParameter,
    .Start = OmbrixHalFilterFileDigitalTsStart,
    .Stop = OmbrixHalFilterFileDigitalTsStop,
    .IsEnabled = OmbrixHalFilterFileDigitalTsIsEnabled,
    .Reset = nullptr,  // nothing is assembled here
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalFilterFileDigitalTsCreate(OmbrixHalTunerHandle aTuner) noexcept {
  if (aTuner == nullptr) {
    return nullptr;
  }
  auto* filter = ombrixhal::newFilterKind<FileDigitalTsFilter>(kFileDigitalTsOperations, OMBRIX_HAL_FILTER_TYPE_TS,
                                                                __FILE__, __LINE__);
  if (filter == nullptr) {
    return nullptr;
  }
  filter->head.tuner = aTuner;
  ombrixhal::addLiveFilter(&filter->head);
  return &filter->head;
}

OmbrixHalBool OmbrixHalFilterFileDigitalTsDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  OmbrixHalTunerUnregisterPacketHandler(This->tuner, This, nullptr);
  ombrixhal::retireFilter(This);
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileDigitalTsSetFilterHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                                           void* aContext) noexcept {
  if (This == nullptr || aHandler == nullptr ||
      !OmbrixHalTunerRegisterPacketHandler(This->tuner, OmbrixHalFilterFileDigitalTsInputHandler, This)) {
    return 0;
  }
  This->handler = aHandler;
  This->context = aContext;
  announcePid(*asFileDigitalTsFilter(This));
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileDigitalTsSetParameter(OmbrixHalFilterHandle This,
                                                       const OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr) {
    return 0;
  }
  This->parameter = *aParameter;
  asFileDigitalTsFilter(This)->parameterSet = 1;
  announcePid(*asFileDigitalTsFilter(This));
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileDigitalTsGetParameter(OmbrixHalFilterHandle This,
                                                       OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr || !asFileDigitalTsFilter(This)->parameterSet) {
    return 0;
  }
  *aParameter = This->parameter;
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileDigitalTsStart(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr || !asFileDigitalTsFilter(This)->parameterSet || This->handler == nullptr) {
    return 0;
  }
  asFileDigitalTsFilter(This)->running = 1;
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileDigitalTsStop(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  asFileDigitalTsFilter(This)->running = 0;
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileDigitalTsIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return This != nullptr && asFileDigitalTsFilter(This)->running ? 1 : 0;
}

void OmbrixHalFilterFileDigitalTsInputHandler(void* aSource, const uint8_t* aPacket, uint32_t aLength,
                                              void* aContext) noexcept {
  static_cast<void>(aSource);
  auto* filter = static_cast<FileDigitalTsFilter*>(aContext);
  if (filter == nullptr || aLength != kTsPacketSize || !filter->running) {
    return;
  }
  const uint32_t pid = filter->head.parameter.pid;
  if (pid != OMBRIX_HAL_FILTER_PID_ALL && pid != ((aPacket[1] & 0x1fu) << 8 | aPacket[2])) {
    return;
  }
  filter->head.handler(&filter->head, aPacket, kTsPacketSize, filter->head.context);
}
