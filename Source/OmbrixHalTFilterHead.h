// Private: the head that every filter kind begins with, what the stages of a chain share, the
// list of live filters that makes OmbrixHalFilterReset safe for any word a tuner holds as a
// handler context, and the end of a filter that a delivery may still stand on.
#ifndef OMBRIX_HAL_T_FILTER_HEAD_H
#define OMBRIX_HAL_T_FILTER_HEAD_H

#include <atomic>
#include <cstddef>
#include <new>
#include <type_traits>

#include "OmbrixHalFilter.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTuner.h"

static_assert(sizeof(OmbrixHalFilterParameter) == 40);

inline constexpr uint32_t kTsPacketSize = 188;

// What a filter kind does, in this slot order; a NULL slot is not supported by the kind.
struct OmbrixHalFilterOperations {
  OmbrixHalBool (*Destroy)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*SetFilterHandler)(OmbrixHalFilterHandle aThis, OmbrixHalFilterHandler aHandler, void* aContext);
  OmbrixHalBool (*SetParameter)(OmbrixHalFilterHandle aThis, const OmbrixHalFilterParameter* aParameter);
  OmbrixHalBool (*GetParameter)(OmbrixHalFilterHandle aThis, OmbrixHalFilterParameter* aParameter);
  OmbrixHalBool (*Start)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*Stop)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*IsEnabled)(OmbrixHalFilterHandle aThis);
  void (*Reset)(OmbrixHalFilterHandle aThis);
};
static_assert(sizeof(OmbrixHalFilterOperations) == 8 * sizeof(void (*)()));

// A kind is a standard-layout struct whose first member is this head, named `head`; the
// public handle points at it.
struct OmbrixHalFilterHead {
  char name[OMBRIX_HAL_FILTER_NAME_SIZE];  // empty for every filter the client did not name
  OmbrixHalFilterOperations operations;
  OmbrixHalFilterType type;
  OmbrixHalFilterHandler handler;  // where this filter delivers
  OmbrixHalBool (*ResetInfo)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*GetInfo)(OmbrixHalFilterHandle aThis, OmbrixHalFilterInfo* aInfo);
  OmbrixHalFilterParameter parameter;
  uint32_t privateWords[3];  // the section filter's statistics
  void* context;
  OmbrixHalFilterHandle next;  // link of the list in which the filter stands
  OmbrixHalTunerHandle tuner;
  OmbrixHalFilterHandle nextLive;  // link of the live filters, then of the retired ones
  void (*release)(OmbrixHalFilterHandle aThis) noexcept;  // frees the kind's memory
};
static_assert(std::is_standard_layout_v<OmbrixHalFilterHead>);

namespace ombrixhal {

// A kind's Create adds its filter once the head is filled, its Destroy removes it before the
// memory goes. Only filters so known are reset by OmbrixHalFilterReset.
void addLiveFilter(OmbrixHalFilterHandle aFilter) noexcept;
void removeLiveFilter(OmbrixHalFilterHandle aFilter) noexcept;

// The end of a filter that its Destroy has taken apart (unhooked, its parent closed): its memory
// goes now, or, when the calling thread holds the filter's tuner (a handler closing a filter
// during delivery), once the outermost hold ends, since the delivery may still stand on it.
void retireFilter(OmbrixHalFilterHandle aFilter) noexcept;

// The kind behind a handle. Each kind wraps this once, as asSectionFilter(This) and the like.
template <typename Kind>
Kind* filterKindOf(OmbrixHalFilterHandle aThis) noexcept {
  static_assert(std::is_same_v<decltype(Kind::head), OmbrixHalFilterHead>);
  static_assert(std::is_standard_layout_v<Kind>);
  static_assert(offsetof(Kind, head) == 0);
  return reinterpret_cast<Kind*>(aThis);
}

template <typename Kind>
void releaseFilterKind(OmbrixHalFilterHandle aThis) noexcept {
  Kind* kind = filterKindOf<Kind>(aThis);
  kind->~Kind();
  OmbrixHalMemoryFree(kind);
}

// A new, zeroed filter of kind Kind with its table and type in the head, charged to the kind's
// own `file` and `line`; NULL when out of memory. The kind makes it live once it is whole, and
// hands it to retireFilter at its end.
template <typename Kind>
Kind* newFilterKind(const OmbrixHalFilterOperations& operations, OmbrixHalFilterType type, const char* file,
                    int line) noexcept {
  void* memory = OmbrixHalMemoryAllocate_(sizeof(Kind), file, static_cast<uint32_t>(line));
  if (memory == nullptr) {
    return nullptr;
  }
  auto* kind = new (memory) Kind{};
  kind->head.operations = operations;
  kind->head.type = type;
  kind->head.release = releaseFilterKind<Kind>;
  return kind;
}

// Where a TS packet's payload begins: byte 4, or past the adaptation field. 0 when the packet
// carries none (adaptation_field_control 0 or 2) or its adaptation field fills it.
inline uint32_t tsPayloadStart(const uint8_t* packet) noexcept {
  const uint32_t control = (packet[3] >> 4) & 0x3u;
  if (control == 0 || control == 2) {
    return 0;
  }
  const uint32_t start = control == 3 ? packet[4] + 5u : 4u;
  return start < kTsPacketSize ? start : 0;
}

// What every stage above a chain's root (section, PES, PCR, teletext) keeps after its head: the
// filter it draws from, which it hooks onto, passes its parameter to, starts and stops with
// itself, and closes when it is destroyed.
struct FilterStage {
  OmbrixHalFilterHandle parent;
  // Start clears the kind's assembly state and then sets this with release; the delivery
  // thread reads it with acquire before it touches that state.
  std::atomic<uint32_t> running;
  uint32_t starts;  // counts the Starts, so that a delivery sees a restart by its handler
  uint32_t parameterSet;
  uint8_t* buffer;  // the section or PES buffer, freed with the stage
};

inline bool isRunning(const FilterStage& stage) noexcept {
  return stage.running.load(std::memory_order_acquire) != 0;
}

// What a delivery takes note of before it calls a handler...
inline uint32_t runOf(const FilterStage& stage) noexcept { return stage.starts; }

// ... and asks after the call: false when the handler stopped, restarted or closed the stage,
// and the rest of what was being delivered is no longer the stage's to deliver.
inline bool isStillRunning(const FilterStage& stage, uint32_t run) noexcept {
  return isRunning(stage) && stage.starts == run;
}

// SetFilterHandler: hooks `input` onto the parent (with the stage as its context), then takes
// the handler it is to deliver to.
inline OmbrixHalBool hookStage(OmbrixHalFilterHead& head, FilterStage& stage, OmbrixHalFilterHandler input,
                               OmbrixHalFilterHandler handler, void* context) noexcept {
  if (!OmbrixHalFilterSetHandler(stage.parent, input, &head)) {
    return 0;
  }
  head.handler = handler;
  head.context = context;
  return 1;
}

// SetParameter: the parent selects the PID (its answer does not matter), the stage keeps a copy.
inline OmbrixHalBool setStageParameter(OmbrixHalFilterHead& head, FilterStage& stage,
                                       const OmbrixHalFilterParameter& parameter) noexcept {
  OmbrixHalFilterSetParameter(stage.parent, &parameter);
  head.parameter = parameter;
  stage.parameterSet = 1;
  return 1;
}

inline OmbrixHalBool getStageParameter(const OmbrixHalFilterHead& head, const FilterStage& stage,
                                       OmbrixHalFilterParameter& parameter) noexcept {
  if (!stage.parameterSet) {
    return 0;
  }
  parameter = head.parameter;
  return 1;
}

// Start, once the kind has checked its own conditions and cleared its assembly state.
inline OmbrixHalBool startStage(FilterStage& stage) noexcept {
  ++stage.starts;
  stage.running.store(1, std::memory_order_release);
  if (!OmbrixHalFilterStart(stage.parent)) {
    stage.running.store(0, std::memory_order_relaxed);
  }
  return isRunning(stage) ? 1 : 0;
}

inline OmbrixHalBool stopStage(FilterStage& stage) noexcept {
  OmbrixHalFilterStop(stage.parent);
  stage.running.store(0, std::memory_order_relaxed);
  return 1;
}

// Destroy: once hooked, the stage owns its parent, and closing it closes the chain below.
inline void closeStageParent(FilterStage& stage, bool hooked) noexcept {
  if (hooked) {
    OmbrixHalFilterClose(stage.parent);
  }
  stage.parent = nullptr;
}

}  // namespace ombrixhal

#endif
