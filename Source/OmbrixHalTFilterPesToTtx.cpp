// The teletext filter: splits each PES packet of EBU teletext from its PES parent into data
// units and delivers every teletext line, bit-reversed in the parent's own buffer.
#include <array>

#include "OmbrixHalFilterPesToTtx.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTFilterStageKind.h"

namespace {

// The PES header is taken as exactly 45 bytes (PES_header_data_length 36) and not parsed.
constexpr uint32_t kDataIdentifierAt = 45;
constexpr uint32_t kFirstUnitAt = 46;
constexpr uint8_t kFirstTeletextIdentifier = 0x10;
constexpr uint8_t kLastTeletextIdentifier = 0x1f;
constexpr uint8_t kTeletextUnit = 0x02;
constexpr uint8_t kSubtitleUnit = 0x03;
// A teletext unit is taken as fixed: id, length, field/line, framing code, then the line.
constexpr uint32_t kTeletextUnitSize = 46;
constexpr uint32_t kLineAt = 4;
constexpr uint32_t kLineSize = OMBRIX_HAL_FILTER_TTX_LINE_SIZE;
constexpr uint32_t kUnitHeaderSize = 2;  // data_unit_id, data_unit_length

static_assert(kLineAt + kLineSize == kTeletextUnitSize);

// Entry i is i with its bits in reverse order: lines go out in transmission order.
constexpr std::array<uint8_t, 256> kReversedBits = [] {
  std::array<uint8_t, 256> table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t reversed = 0;
    for (uint32_t bit = 0; bit < 8; ++bit) {
      reversed |= ((i >> bit) & 1u) << (7 - bit);
    }
    table[i] = static_cast<uint8_t>(reversed);
  }
  return table;
}();
static_assert(kReversedBits[0x01] == 0x80 && kReversedBits[0x03] == 0xc0 && kReversedBits[0xe4] == 0x27);

struct TeletextFilter {
  OmbrixHalFilterHead head;
  ombrixhal::FilterStage stage;
};

TeletextFilter* asTeletextFilter(OmbrixHalFilterHandle aThis) noexcept {
  return ombrixhal::filterKindOf<TeletextFilter>(aThis);
}

void reverseBits(uint8_t* bytes, uint32_t count) noexcept {
  for (uint32_t i = 0; i < count; ++i) {
    bytes[i] = kReversedBits[bytes[i]];
  }
}

constexpr OmbrixHalFilterOperations kTeletextFilterOperations = {
    .Destroy = OmbrixHalFilterPesToTtxDestroy,
    .SetFilterHandler = OmbrixHalFilterPesToTtxSetFilterHandler,
    .SetParameter = OmbrixHalFilterPesToTtxSetParameter,
    .GetParameter = OmbrixHalFilterPesToTtxGetParameter,
    .Start = OmbrixHalFilterPesToTtxStart,
    .Stop = OmbrixHalFilterPesToTtxStop,
    .IsEnabled = OmbrixHalFilterPesToTtxIsEnabled,
    .Reset = nullptr,  // nothing is assembled here
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalFilterPesToTtxCreate(OmbrixHalFilterHandle aParent) noexcept {
  return ombrixhal::createStageKind<TeletextFilter>(aParent, OMBRIX_HAL_FILTER_TYPE_PES, OMBRIX_HAL_FILTER_TYPE_TELETEXT, kTeletextFilterOperations, __FILE__, __LINE__);
}

OmbrixHalBool OmbrixHalFilterPesToTtxDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  TeletextFilter& filter = *asTeletextFilter(This);
  // The handler is never NULL once hooked.
  ombrixhal::destroyStageKind(filter, filter.head.handler != nullptr);
  return 1;
}

OmbrixHalBool OmbrixHalFilterPesToTtxSetFilterHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                                      void* aContext) noexcept {
  return ombrixhal::hookStageKind<TeletextFilter>(This, OmbrixHalFilterPesToTtxInputHandler, aHandler, aContext);
}

OmbrixHalBool OmbrixHalFilterPesToTtxSetParameter(OmbrixHalFilterHandle This,
                                                  const OmbrixHalFilterParameter* aParameter) noexcept {
  return ombrixhal::setStageKindParameter<TeletextFilter>(This, aParameter);
}

OmbrixHalBool OmbrixHalFilterPesToTtxGetParameter(OmbrixHalFilterHandle This,
                                                  OmbrixHalFilterParameter* aParameter) noexcept {
  return ombrixhal::getStageKindParameter<TeletextFilter>(This, aParameter);
}

OmbrixHalBool OmbrixHalFilterPesToTtxStart(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::startStageKind<TeletextFilter>(This, [](TeletextFilter&) noexcept {});
}

OmbrixHalBool OmbrixHalFilterPesToTtxStop(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::stopStageKind<TeletextFilter>(This);
}

OmbrixHalBool OmbrixHalFilterPesToTtxIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::isStageKindEnabled<TeletextFilter>(This);
}

void OmbrixHalFilterPesToTtxInputHandler(OmbrixHalFilterHandle /*aParent*/, const uint8_t* aData, uint32_t aLength,
                                         void* aContext) noexcept {
  // A PES packet of 45 bytes has no data_identifier: none is read beyond its end, and none
  // of it could hold a whole unit anyway.
  if (aContext == nullptr || aData == nullptr || aLength <= kDataIdentifierAt) {
    return;
  }
  TeletextFilter& filter = *static_cast<TeletextFilter*>(aContext);
  if (!ombrixhal::isRunning(filter.stage)) {
    return;
  }
  const uint32_t run = ombrixhal::runOf(filter.stage);
  const uint8_t dataIdentifier = aData[kDataIdentifierAt];
  if (dataIdentifier < kFirstTeletextIdentifier || dataIdentifier > kLastTeletextIdentifier) {
    return;
  }
  // The lines are reversed where they stand: the buffer is the PES filter's, reused after the
  // call, and no copy is made.
  auto* pes = const_cast<uint8_t*>(aData);
  uint32_t unitAt = kFirstUnitAt;
  while (unitAt + kTeletextUnitSize <= aLength) {
    const uint8_t unitId = pes[unitAt];
    if (unitId == kTeletextUnit || unitId == kSubtitleUnit) {
      uint8_t* line = pes + unitAt + kLineAt;
      reverseBits(line, kLineSize);
      filter.head.handler(&filter.head, line, kLineSize, filter.head.context);
      if (!ombrixhal::isStillRunning(filter.stage, run)) {
        return;
      }
      unitAt += kTeletextUnitSize;
    } else {
      unitAt += pes[unitAt + 1] + kUnitHeaderSize;
    }
  }
}
