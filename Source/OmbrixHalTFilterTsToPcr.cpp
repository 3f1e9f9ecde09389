// The PCR filter: takes the program clock reference from its parent's adaptation fields,
// reports each one, and extrapolates the current one from the tick count on request.
#include "OmbrixHalClock.h"
#include "OmbrixHalFilterTsToPcr.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTFilterStageKind.h"
#include "OmbrixHalTModule.h"

namespace {

constexpr uint8_t kAdaptationFieldBit = 0x20;  // adaptation_field_control bit 1, in byte 3
constexpr uint32_t kFlagsAt = 5;               // the adaptation field's flags
constexpr uint8_t kPcrFlag = 0x10;
constexpr uint32_t kPcrAt = 6;                 // upper 32 bits of program_clock_reference_base
constexpr uint32_t kUnitsPerMs = 45;           // the PCR kept counts 45 kHz

struct PcrRecord {
  uint32_t value;
  uint32_t packetsSincePcr;
};
static_assert(sizeof(PcrRecord) == 8);

struct PcrFilter {
  OmbrixHalFilterHead head;
  ombrixhal::FilterStage stage;
  uint32_t hooked;  // a NULL handler is allowed here, so it cannot tell
  // Written on the delivery thread; GetParameter reads value and tick on a client's thread,
  // possibly a new value with an old tick.
  ombrixhal::Relaxed<uint32_t> pcrTick;
  ombrixhal::Relaxed<uint32_t> pcrSeen;
  ombrixhal::Relaxed<uint32_t> pcrValue;
  ombrixhal::Relaxed<uint32_t> packetsSincePcr;
};

PcrFilter* asPcrFilter(OmbrixHalFilterHandle aThis) noexcept { return ombrixhal::filterKindOf<PcrFilter>(aThis); }

void clearPcr(PcrFilter& filter) noexcept {
  filter.pcrSeen = 0;
  filter.pcrValue = 0;
  filter.packetsSincePcr = 0;
}

// Kept: a PCR of 0 reads as none, the test being on the value rather than on pcrSeen.
uint32_t currentPcr(const PcrFilter& filter) noexcept {
  const uint32_t value = filter.pcrValue;
  if (value == 0) {
    return 0;
  }
  return (OmbrixHalClockGetTicks() - filter.pcrTick) * kUnitsPerMs + value;
}

constexpr OmbrixHalFilterOperations kPcrFilterOperations = {
    .Destroy = OmbrixHalFilterTsToPcrDestroy,
    .SetFilterHandler = OmbrixHalFilterTsToPcrSetFilterHandler,
    .SetParameter = OmbrixHalFilterTsToPcrSetParameter,
    .GetParameter = OmbrixHalFilterTsToPcrGetParameter,
    .Start = OmbrixHalFilterTsToPcrStart,
    .Stop = OmbrixHalFilterTsToPcrStop,
    .IsEnabled = OmbrixHalFilterTsToPcrIsEnabled,
    .Reset = OmbrixHalFilterTsToPcrReset,
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalFilterTsToPcrCreate(OmbrixHalFilterHandle aParent) noexcept {
  return ombrixhal::createStageKind<PcrFilter>(aParent, OMBRIX_HAL_FILTER_TYPE_TS, OMBRIX_HAL_FILTER_TYPE_PCR, kPcrFilterOperations, __FILE__, __LINE__);
}

OmbrixHalBool OmbrixHalFilterTsToPcrDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  PcrFilter& filter = *asPcrFilter(This);
  ombrixhal::destroyStageKind(filter, filter.hooked != 0);
  return 1;
}

OmbrixHalBool OmbrixHalFilterTsToPcrSetFilterHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                                     void* aContext) noexcept {
  if (This == nullptr) {
    return 0;
  }
  PcrFilter& filter = *asPcrFilter(This);
  if (!ombrixhal::hookStage(filter.head, filter.stage, OmbrixHalFilterTsToPcrInputHandler, aHandler, aContext)) {
    return 0;
  }
  filter.hooked = 1;
  return 1;
}

OmbrixHalBool OmbrixHalFilterTsToPcrSetParameter(OmbrixHalFilterHandle This,
                                                 const OmbrixHalFilterParameter* aParameter) noexcept {
  return ombrixhal::setStageKindParameter<PcrFilter>(This, aParameter);
}

OmbrixHalBool OmbrixHalFilterTsToPcrGetParameter(OmbrixHalFilterHandle This,
                                                 OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr) {
    return 0;
  }
  PcrFilter& filter = *asPcrFilter(This);
  if (!filter.stage.parameterSet) {
    return 0;
  }
  filter.head.parameter.value = currentPcr(filter);
  return ombrixhal::getStageParameter(filter.head, filter.stage, *aParameter);
}

// Unlike the other stages, runs without a handler: the PCR may only be polled.
OmbrixHalBool OmbrixHalFilterTsToPcrStart(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  PcrFilter& filter = *asPcrFilter(This);
  if (!filter.stage.parameterSet) {
    return 0;
  }
  clearPcr(filter);
  return ombrixhal::startStage(filter.stage);
}

OmbrixHalBool OmbrixHalFilterTsToPcrStop(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::stopStageKind<PcrFilter>(This);
}

OmbrixHalBool OmbrixHalFilterTsToPcrIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::isStageKindEnabled<PcrFilter>(This);
}

void OmbrixHalFilterTsToPcrReset(OmbrixHalFilterHandle This) noexcept {
  if (This != nullptr) {
    clearPcr(*asPcrFilter(This));
  }
}

void OmbrixHalFilterTsToPcrInputHandler(OmbrixHalFilterHandle /*aParent*/, const uint8_t* aData, uint32_t aLength,
                                        void* aContext) noexcept {
  if (aContext == nullptr || aData == nullptr || aLength != kTsPacketSize) {
    return;
  }
  PcrFilter& filter = *static_cast<PcrFilter*>(aContext);
  if (!ombrixhal::isRunning(filter.stage)) {
    return;
  }
  if (filter.pcrSeen) {
    filter.packetsSincePcr = filter.packetsSincePcr + 1;
  }
  // Kept: the flags byte is read without looking at adaptation_field_length.
  if ((aData[3] & kAdaptationFieldBit) == 0 || (aData[kFlagsAt] & kPcrFlag) == 0) {
    return;
  }
  const uint32_t value = static_cast<uint32_t>(aData[kPcrAt]) << 24 | static_cast<uint32_t>(aData[kPcrAt + 1]) << 16 |
                         static_cast<uint32_t>(aData[kPcrAt + 2]) << 8 | aData[kPcrAt + 3];
  filter.pcrValue = value;
  filter.pcrTick = OmbrixHalClockGetTicks();
  if (filter.head.handler != nullptr) {
    const uint32_t run = ombrixhal::runOf(filter.stage);
    const PcrRecord record = {.value = value, .packetsSincePcr = filter.packetsSincePcr};
    filter.head.handler(&filter.head, reinterpret_cast<const uint8_t*>(&record), sizeof record, filter.head.context);
    // A handler that stopped, restarted or closed the filter has the PCR state to itself.
    if (!ombrixhal::isStillRunning(filter.stage, run)) {
      return;
    }
  }
  filter.pcrSeen = 1;
  filter.packetsSincePcr = 0;
}
