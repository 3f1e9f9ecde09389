// The PES filter: reassembles the PES packets of one PID from the payloads of its parent's TS
// packets in a 64-KiB buffer, and delivers each whole one.
#include <cstring>

#include "OmbrixHalFilterTsToPes.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTFilterStageKind.h"

namespace {

constexpr uint32_t kBufferSize = OMBRIX_HAL_FILTER_PES_BUFFER_SIZE;
constexpr uint8_t kUnitStartBit = 0x40;    // payload_unit_start_indicator, in byte 1
constexpr uint32_t kPesHeaderSize = 6;     // start code prefix, stream_id, PES_packet_length
constexpr uint32_t kLengthHighOffset = 4;  // PES_packet_length, from the payload start
constexpr uint32_t kLengthLowOffset = 5;

static_assert(kBufferSize == 65536);
static_assert(kTsPacketSize == 188);

struct PesFilter {
  OmbrixHalFilterHead head;
  ombrixhal::FilterStage stage;  // its buffer holds kBufferSize bytes
  // Only the delivery thread assembles; Start, Stop and Reset hold the tuner it delivers under.
  uint32_t expectedLength;  // PES_packet_length + 6; 0 while unbounded
  uint32_t collected;
  uint32_t unbounded;
  uint32_t assembling;
};

PesFilter* asPesFilter(OmbrixHalFilterHandle aThis) noexcept { return ombrixhal::filterKindOf<PesFilter>(aThis); }

void clearAssembly(PesFilter& filter) noexcept {
  filter.expectedLength = 0;
  filter.collected = 0;
  filter.unbounded = 0;
  filter.assembling = 0;
}

// False when the handler stopped, restarted or closed the filter (of run `run`), which ends the
// packet for it.
bool deliver(PesFilter& filter, uint32_t length, uint32_t run) noexcept {
  filter.head.handler(&filter.head, filter.stage.buffer, length, filter.head.context);
  return ombrixhal::isStillRunning(filter.stage, run);
}

bool takeBuffer(PesFilter& filter) noexcept {
  filter.stage.buffer = static_cast<uint8_t*>(OmbrixHalMemoryAllocate(kBufferSize));
  return filter.stage.buffer != nullptr;
}

constexpr OmbrixHalFilterOperations kPesFilterOperations = {
    .Destroy = OmbrixHalFilterTsToPesDestroy,
    .SetFilterHandler = OmbrixHalFilterTsToPesSetFilterHandler,
    .SetParameter = OmbrixHalFilterTsToPesSetParameter,
    .GetParameter = OmbrixHalFilterTsToPesGetParameter,
    .Start = OmbrixHalFilterTsToPesStart,
    .Stop = OmbrixHalFilterTsToPesStop,
    .IsEnabled = OmbrixHalFilterTsToPesIsEnabled,
    .Reset = OmbrixHalFilterTsToPesReset,
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalFilterTsToPesCreate(OmbrixHalFilterHandle aParent) noexcept {
  return ombrixhal::createStageKind<PesFilter>(aParent, OMBRIX_HAL_FILTER_TYPE_TS, OMBRIX_HAL_FILTER_TYPE_PES,
                                               kPesFilterOperations, __FILE__, __LINE__, takeBuffer);
}

OmbrixHalBool OmbrixHalFilterTsToPesDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  PesFilter& filter = *asPesFilter(This);
  // The handler is never NULL once hooked.
  ombrixhal::destroyStageKind(filter, filter.head.handler != nullptr);
  return 1;
}

OmbrixHalBool OmbrixHalFilterTsToPesSetFilterHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                                     void* aContext) noexcept {
  return ombrixhal::hookStageKind<PesFilter>(This, OmbrixHalFilterTsToPesInputHandler, aHandler, aContext);
}

OmbrixHalBool OmbrixHalFilterTsToPesSetParameter(OmbrixHalFilterHandle This,
                                                 const OmbrixHalFilterParameter* aParameter) noexcept {
  return ombrixhal::setStageKindParameter<PesFilter>(This, aParameter);
}

OmbrixHalBool OmbrixHalFilterTsToPesGetParameter(OmbrixHalFilterHandle This,
                                                 OmbrixHalFilterParameter* aParameter) noexcept {
  return ombrixhal::getStageKindParameter<PesFilter>(This, aParameter);
}

OmbrixHalBool OmbrixHalFilterTsToPesStart(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::startStageKind<PesFilter>(This, clearAssembly);
}

OmbrixHalBool OmbrixHalFilterTsToPesStop(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::stopStageKind<PesFilter>(This);
}

OmbrixHalBool OmbrixHalFilterTsToPesIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::isStageKindEnabled<PesFilter>(This);
}

void OmbrixHalFilterTsToPesReset(OmbrixHalFilterHandle This) noexcept {
  if (This != nullptr) {
    clearAssembly(*asPesFilter(This));
  }
}

void OmbrixHalFilterTsToPesInputHandler(OmbrixHalFilterHandle /*aParent*/, const uint8_t* aData, uint32_t aLength,
                                        void* aContext) noexcept {
  if (aContext == nullptr || aData == nullptr || aLength != kTsPacketSize) {
    return;
  }
  PesFilter& filter = *static_cast<PesFilter*>(aContext);
  if (!ombrixhal::isRunning(filter.stage)) {
    return;
  }
  const uint32_t start = ombrixhal::tsPayloadStart(aData);
  if (start == 0) {
    return;
  }
  const bool unitStart = (aData[1] & kUnitStartBit) != 0;
  if (!filter.assembling && !unitStart) {
    return;
  }
  // Kept in locals and stored only at the end: an overflow leaves the last packet's values.
  uint32_t collected = filter.collected;
  uint32_t expectedLength = filter.expectedLength;
  const uint32_t run = ombrixhal::runOf(filter.stage);
  uint8_t* const buffer = filter.stage.buffer;
  if (unitStart) {
    // An unbounded PES packet ends where the next begins; an incomplete bounded one is dropped.
    if (filter.unbounded) {
      filter.unbounded = 0;
      if (!deliver(filter, collected, run)) {
        return;
      }
    }
    // Kept: a payload starting at byte 183 passes, although its length's low byte would be
    // byte 188. That byte lies outside the packet and is taken as 0.
    if (start + kLengthLowOffset > kTsPacketSize) {
      filter.assembling = 0;
      return;
    }
    const uint32_t lowAt = start + kLengthLowOffset;
    const uint32_t packetLength =
        aData[start + kLengthHighOffset] * 256u + (lowAt < kTsPacketSize ? aData[lowAt] : 0u);
    filter.assembling = 1;
    collected = 0;
    expectedLength = packetLength != 0 ? packetLength + kPesHeaderSize : 0;
    filter.unbounded = packetLength == 0 ? 1 : 0;
  }
  const uint32_t payloadLength = kTsPacketSize - start;
  const uint32_t room = kBufferSize - collected;
  if (payloadLength > room) {
    // What fits is stored; then assembly stops, the stored length still that of the last
    // packet that fitted whole.
    std::memcpy(buffer + collected, aData + start, room);
    filter.assembling = 0;
    return;
  }
  if (payloadLength == kTsPacketSize - 4) {
    // The common packet without adaptation field: a copy of known size is a few vector moves.
    std::memcpy(buffer + collected, aData + 4, kTsPacketSize - 4);
  } else {
    std::memcpy(buffer + collected, aData + start, payloadLength);
  }
  collected += payloadLength;
  // Kept: a bounded PES packet that ends inside a payload overshoots and is never delivered.
  if (!filter.unbounded && collected == expectedLength) {
    filter.assembling = 0;
    if (!deliver(filter, expectedLength, run)) {
      return;
    }
  }
  filter.collected = collected;
  filter.expectedLength = expectedLength;
}
