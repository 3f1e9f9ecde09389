// The section filter: assembles PSI/SI sections from the packets of one PID, checks their
// CRC-32 and match/mask, and delivers those that pass.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "OmbrixHalFilterTsToSection.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTCrc32.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTFilterStageKind.h"

namespace {

constexpr uint32_t kSectionBufferSize = OMBRIX_HAL_FILTER_SECTION_MAX_SIZE;
constexpr uint32_t kInfoWord = 1;
constexpr uint8_t kStuffingByte = 0xFF;
constexpr uint64_t kStuffingWord = ~uint64_t{0};
constexpr uint8_t kUnitStartBit = 0x40;
// Beyond any packet: a packet without a unit start has no new-section position.
constexpr uint32_t kNoNewSection = ~0u;

static_assert(kSectionBufferSize == 0xFFF + 3, "the largest section fills the buffer exactly");

// Where the assembler stands in the current section.
enum AssemblyState : uint32_t {
  kAwaitingTableId = 0,
  kAwaitingLengthHigh = 1,
  kAwaitingLengthLow = 2,
  kCollectingBody = 3,
};

// The head's private words.
enum InfoWordIndex { kInfoWordIndex = 0, kSectionsReceivedIndex = 1, kCrcErrorsIndex = 2 };

struct SectionFilter {
  OmbrixHalFilterHead head;
  ombrixhal::FilterStage stage;  // its buffer holds kSectionBufferSize bytes
  uint32_t sectionLength;  // header bytes included
  uint32_t state;
  uint32_t collected;  // may run past the buffer: those bytes are counted, not stored
};
static_assert(std::is_standard_layout_v<SectionFilter>);
static_assert(offsetof(SectionFilter, head) == 0);

SectionFilter* asSectionFilter(OmbrixHalFilterHandle aThis) noexcept {
  return ombrixhal::filterKindOf<SectionFilter>(aThis);
}

// GetInfo may read the statistics from another thread than the one that counts them.
std::atomic_ref<uint32_t> infoWord(SectionFilter& filter, InfoWordIndex index) noexcept {
  return std::atomic_ref<uint32_t>(filter.head.privateWords[index]);
}

void countInfo(SectionFilter& filter, InfoWordIndex index) noexcept {
  auto word = infoWord(filter, index);
  word.store(word.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// The buffer and the statistics slots, at creation.
bool prepare(SectionFilter& filter) noexcept {
  filter.stage.buffer = static_cast<uint8_t*>(OmbrixHalMemoryAllocate(kSectionBufferSize));
  filter.head.ResetInfo = OmbrixHalFilterTsToSectionInfoReset;
  filter.head.GetInfo = OmbrixHalFilterTsToSectionGetInfo;
  filter.head.privateWords[kInfoWordIndex] = kInfoWord;
  return filter.stage.buffer != nullptr;
}

void clearAssembly(SectionFilter& filter) noexcept {
  filter.state = kAwaitingTableId;
}

// Every byte of the first min(filterLen, length) that the mask selects must equal the match;
// the length bytes 1 and 2 take part like any other. The record holds ten pairs, so a longer
// filterLen compares no further.
bool matches(const OmbrixHalFilterParameter& parameter, const uint8_t* section, uint32_t length) noexcept {
  const uint32_t compared = std::min({parameter.filterLen, length, uint32_t{OMBRIX_HAL_FILTER_MATCH_SIZE}});
  for (uint32_t i = 0; i < compared; ++i) {
    if (((section[i] ^ parameter.match[i]) & parameter.mask[i]) != 0) {
      return false;
    }
  }
  return true;
}

// A section reached its full length. False when the handler stopped, restarted or closed the
// filter (of run `run`), which ends the packet for it.
bool completeSection(SectionFilter& filter, uint32_t run) noexcept {
  countInfo(filter, kSectionsReceivedIndex);
  const OmbrixHalFilterParameter& parameter = filter.head.parameter;
  uint8_t* const buffer = filter.stage.buffer;
  if (parameter.crcCheck != 0 && ombrixhal::crc32Mpeg(buffer, filter.sectionLength) != 0) {
    countInfo(filter, kCrcErrorsIndex);
    return true;
  }
  if (!matches(parameter, buffer, filter.sectionLength)) {
    return true;
  }
  filter.head.handler(&filter.head, buffer, filter.sectionLength, filter.head.context);
  return ombrixhal::isStillRunning(filter.stage, run);
}

// Takes the bytes of one packet from `position` on. Byte for byte this is a four-state machine;
// runs of body bytes are copied at once, ending where the packet, the section or the
// new-section position ends them.
void assemble(SectionFilter& filter, const uint8_t* packet, uint32_t position, uint32_t newSectionAt,
              bool unitStart) noexcept {
  const uint32_t stageRun = ombrixhal::runOf(filter.stage);
  uint32_t state = filter.state;
  uint32_t sectionLength = filter.sectionLength;
  uint32_t collected = filter.collected;
  uint8_t* const buffer = filter.stage.buffer;
  while (position < kTsPacketSize) {
    if (position == newSectionAt) {
      state = kAwaitingTableId;  // a section still being assembled is dropped
    }
    if (state == kAwaitingTableId) {
      // Without a unit start no byte can open a section.
      if (!unitStart) {
        break;
      }
      // Stuffing fills the rest of most packets of a PID: skip it a word at a time. The
      // new-section position changes nothing in this state.
      uint64_t word = 0;
      while (position + sizeof word <= kTsPacketSize &&
             (std::memcpy(&word, packet + position, sizeof word), word == kStuffingWord)) {
        position += sizeof word;
      }
      if (position == kTsPacketSize) {
        break;
      }
      const uint8_t byte = packet[position++];
      if (byte != kStuffingByte) {
        buffer[0] = byte;
        collected = 1;
        sectionLength = 0;
        state = kAwaitingLengthHigh;
      }
      continue;
    }
    if (state == kAwaitingLengthHigh) {
      buffer[collected++] = packet[position++];
      state = kAwaitingLengthLow;
      continue;
    }
    if (state == kAwaitingLengthLow) {
      buffer[collected++] = packet[position++];
      state = kCollectingBody;
      sectionLength = (buffer[1] & 0x0Fu) * 256u + buffer[2] + 3u;
      continue;
    }
    // Collecting: the check for completion follows each byte's count, so a section announced
    // with no body (length 3, already collected) only completes when `collected` wraps round.
    uint32_t run = kTsPacketSize - position;
    if (newSectionAt > position) {
      run = std::min(run, newSectionAt - position);
    }
    const uint32_t missing = sectionLength - collected;
    const bool completes = missing != 0 && missing <= run;
    if (completes) {
      run = missing;
    }
    if (collected < kSectionBufferSize) {
      std::memcpy(buffer + collected, packet + position, std::min(run, kSectionBufferSize - collected));
    }
    collected += run;
    position += run;
    if (completes) {
      filter.sectionLength = sectionLength;
      if (!completeSection(filter, stageRun)) {
        return;
      }
      state = kAwaitingTableId;
    }
  }
  filter.state = state;
  filter.sectionLength = sectionLength;
  filter.collected = collected;
}

constexpr OmbrixHalFilterOperations kSectionFilterOperations = {
    .Destroy = OmbrixHalFilterTsToSectionDestroy,
    .SetFilterHandler = OmbrixHalFilterTsToSectionSetFilterHandler,
    .SetParameter = OmbrixHalFilterTsToSectionSetParameter,
    .GetParameter = OmbrixHalFilterTsToSectionGetParameter,
    .Start = OmbrixHalFilterTsToSectionStart,
    .Stop = OmbrixHalFilterTsToSectionStop,
    .IsEnabled = OmbrixHalFilterTsToSectionIsEnabled,
    .Reset = OmbrixHalFilterTsToSectionReset,
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalFilterTsToSectionCreate(OmbrixHalFilterHandle aParent) noexcept {
  return ombrixhal::createStageKind<SectionFilter>(aParent, OMBRIX_HAL_FILTER_TYPE_TS, OMBRIX_HAL_FILTER_TYPE_SECTION,
                                                   kSectionFilterOperations, __FILE__, __LINE__, prepare);
}

OmbrixHalBool OmbrixHalFilterTsToSectionDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  SectionFilter& filter = *asSectionFilter(This);
  // Only a successful hook stores the handler.
  ombrixhal::destroyStageKind(filter, filter.head.handler != nullptr);
  return 1;
}

OmbrixHalBool OmbrixHalFilterTsToSectionSetFilterHandler(OmbrixHalFilterHandle This, OmbrixHalFilterHandler aHandler,
                                                        void* aContext) noexcept {
  return ombrixhal::hookStageKind<SectionFilter>(This, OmbrixHalFilterTsToSectionInputHandler, aHandler, aContext);
}

OmbrixHalBool OmbrixHalFilterTsToSectionSetParameter(OmbrixHalFilterHandle This,
                                                    const OmbrixHalFilterParameter* aParameter) noexcept {
  return ombrixhal::setStageKindParameter<SectionFilter>(This, aParameter);
}

OmbrixHalBool OmbrixHalFilterTsToSectionGetParameter(OmbrixHalFilterHandle This,
                                                    OmbrixHalFilterParameter* aParameter) noexcept {
  return ombrixhal::getStageKindParameter<SectionFilter>(This, aParameter);
}

OmbrixHalBool OmbrixHalFilterTsToSectionStart(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::startStageKind<SectionFilter>(This, clearAssembly);
}

OmbrixHalBool OmbrixHalFilterTsToSectionStop(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::stopStageKind<SectionFilter>(This);
}

OmbrixHalBool OmbrixHalFilterTsToSectionIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return ombrixhal::isStageKindEnabled<SectionFilter>(This);
}

void OmbrixHalFilterTsToSectionReset(OmbrixHalFilterHandle This) noexcept {
  if (This != nullptr) {
    clearAssembly(*asSectionFilter(This));
  }
}

OmbrixHalBool OmbrixHalFilterTsToSectionGetInfo(OmbrixHalFilterHandle This, OmbrixHalFilterInfo* aInfo) noexcept {
  if (This == nullptr || aInfo == nullptr) {
    return 0;
  }
  SectionFilter& filter = *asSectionFilter(This);
  aInfo->infoWord = infoWord(filter, kInfoWordIndex).load(std::memory_order_relaxed);
  aInfo->sectionsReceived = infoWord(filter, kSectionsReceivedIndex).load(std::memory_order_relaxed);
  aInfo->crcErrors = infoWord(filter, kCrcErrorsIndex).load(std::memory_order_relaxed);
  return 1;
}

OmbrixHalBool OmbrixHalFilterTsToSectionInfoReset(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  SectionFilter& filter = *asSectionFilter(This);
  infoWord(filter, kSectionsReceivedIndex).store(0, std::memory_order_relaxed);
  infoWord(filter, kCrcErrorsIndex).store(0, std::memory_order_relaxed);
  return 1;
}

void OmbrixHalFilterTsToSectionInputHandler(OmbrixHalFilterHandle /*aParent*/, const uint8_t* aPacket,
                                            uint32_t aLength, void* aContext) noexcept {
  if (aContext == nullptr || aPacket == nullptr || aLength != kTsPacketSize) {
    return;
  }
  SectionFilter& filter = *asSectionFilter(static_cast<OmbrixHalFilterHandle>(aContext));
  if (!ombrixhal::isRunning(filter.stage)) {
    return;
  }
  uint32_t position = ombrixhal::tsPayloadStart(aPacket);
  if (position == 0) {
    return;
  }
  const bool unitStart = (aPacket[1] & kUnitStartBit) != 0;
  uint32_t newSectionAt = kNoNewSection;
  if (unitStart) {
    newSectionAt = position + 1 + aPacket[position];
    ++position;
  }
  assemble(filter, aPacket, position, newSectionAt, unitStart);
}
