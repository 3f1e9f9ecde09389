// The filter of the file analog tuner: teletext lines out of its 64-byte line records.
#include <cstring>

#include "OmbrixHalFilterFileAnalogEpr.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTModule.h"

namespace {

constexpr OmbrixHalFilterType kLineRecordType = 7;  // the only type that produces output
constexpr uint8_t kTeletextLineFlags = 0x27;        // all of these set in byte 4 mark a teletext line
constexpr uint32_t kFlagsByte = 4;
constexpr uint32_t kLineStart = 5;

struct FileAnalogEprFilter {
  OmbrixHalFilterHead head;
  ombrixhal::Relaxed<uint32_t> running;  // read on the tuner's delivery thread
};

FileAnalogEprFilter* asFileAnalogEprFilter(OmbrixHalFilterHandle aThis) noexcept {
  return ombrixhal::filterKindOf<FileAnalogEprFilter>(aThis);
}

void handleLineRecord(void* aSource, const uint8_t* aRecord, uint32_t aLength, void* aContext) noexcept {
  auto* filter = static_cast<FileAnalogEprFilter*>(aContext);
  if (filter == nullptr || aLength != OMBRIX_HAL_FILTER_ANALOG_RECORD_SIZE || !filter->running ||
      filter->head.type != kLineRecordType || (aRecord[kFlagsByte] & kTeletextLineFlags) != kTeletextLineFlags) {
    return;
  }
  uint8_t line[OMBRIX_HAL_FILTER_TELETEXT_LINE_SIZE];
  std::memcpy(line, aRecord + kLineStart, sizeof line);
  // Deliberate: the source, when there is one, stands first in place of the filter.
  const auto deliverer = aSource != nullptr ? static_cast<OmbrixHalFilterHandle>(aSource) : &filter->head;
  filter->head.handler(deliverer, line, sizeof line, filter->head.context);
}

constexpr OmbrixHalFilterOperations kFileAnalogEprOperations = {
    .Destroy = OmbrixHalFilterFileAnalogEprDestroy,
    .SetFilterHandler = nullptr,  // the handler is given at creation
    .SetParameter = nullptr,
    .GetParameter = nullptr,
    .Start = OmbrixHalFilterFileAnalogEprStart,
    .Stop = OmbrixHalFilterFileAnalogEprStop,
    .IsEnabled = OmbrixHalFilterFileAnalogEprIsEnabled,
    .Reset = nullptr,
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalFilterFileAnalogEprCreate(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                                         OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  auto* filter =
      ombrixhal::newFilterKind<FileAnalogEprFilter>(kFileAnalogEprOperations, aType, __FILE__, __LINE__);
  if (filter == nullptr) {
    return nullptr;
  }
  filter->head.handler = aHandler;
  filter->head.context = aContext;
  filter->head.tuner = aTuner;
  ombrixhal::addLiveFilter(&filter->head);
  if (!OmbrixHalTunerRegisterPacketHandler(aTuner, handleLineRecord, filter)) {
    OmbrixHalFilterFileAnalogEprDestroy(&filter->head);
    return nullptr;
  }
  return &filter->head;
}

OmbrixHalBool OmbrixHalFilterFileAnalogEprDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  FileAnalogEprFilter* filter = asFileAnalogEprFilter(This);
  filter->running = 0;
  if (This->tuner != nullptr) {
    OmbrixHalTunerUnregisterPacketHandler(This->tuner, This, nullptr);
  }
  ombrixhal::retireFilter(This);
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileAnalogEprStart(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  asFileAnalogEprFilter(This)->running = 1;
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileAnalogEprStop(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  asFileAnalogEprFilter(This)->running = 0;
  return 1;
}

OmbrixHalBool OmbrixHalFilterFileAnalogEprIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return This != nullptr && asFileAnalogEprFilter(This)->running ? 1 : 0;
}
