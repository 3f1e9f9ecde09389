// Private: the head that every filter kind begins with, what the stages of a chain share, and
// the list of live filters that makes OmbrixHalFilterReset safe for any word a tuner holds as a
// handler context.
#ifndef OMBRIX_HAL_T_FILTER_HEAD_H
#define OMBRIX_HAL_T_FILTER_HEAD_H

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
  OmbrixHalFilterHandle nextLive;  // link of the live filters, see below
};
static_assert(std::is_standard_layout_v<OmbrixHalFilterHead>);

namespace ombrixhal {

// A kind's Create adds its filter once the head is filled, its Destroy removes it before the
// memory goes. Only filters so known are reset by OmbrixHalFilterReset.
void addLiveFilter(OmbrixHalFilterHandle aFilter) noexcept;
void removeLiveFilter(OmbrixHalFilterHandle aFilter) noexcept;

// A chain whose last map filter was closed by a client's handler during delivery waits for its
// root to finish the packet: a root calls finishDelivery once its handler has returned, and
// touches nothing of itself afterwards. The flag, set once the first chain was ever deferred,
// spares every packet the look into the thread's own list.
extern Relaxed<bool> chainsDeferred;
void destroyDeferredChains() noexcept;

inline void finishDelivery() noexcept {
  if (chainsDeferred) {
    destroyDeferredChains();
  }
}

// The kind behind a handle. Each kind wraps this once, as asSectionFilter(This) and the like.
template <typename Kind>
Kind* filterKindOf(OmbrixHalFilterHandle aThis) noexcept {
  static_assert(std::is_same_v<decltype(Kind::head), OmbrixHalFilterHead>);
  static_assert(std::is_standard_layout_v<Kind>);
  static_assert(offsetof(Kind, head) == 0);
  return reinterpret_cast<Kind*>(aThis);
}

// A new, zeroed filter of kind Kind with its table and type in the head, charged to the kind's
// own `file` and `line`; NULL when out of memory. The kind makes it live once it is whole.
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
  return kind;
}

// The end of what newFilterKind made; safe on a kind that was never made live.
template <typename Kind>
void deleteFilterKind(Kind* kind, const char* file, int line) noexcept {
  removeLiveFilter(&kind->head);
  kind->~Kind();
  OmbrixHalMemoryFree_(kind, file, static_cast<uint32_t>(line));
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
  Relaxed<uint32_t> running;  // read on the delivery thread, written by the client's
  uint32_t parameterSet;
};

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
  stage.running = 1;
  if (!OmbrixHalFilterStart(stage.parent)) {
    stage.running = 0;
  }
  return stage.running;
}

inline OmbrixHalBool stopStage(FilterStage& stage) noexcept {
  OmbrixHalFilterStop(stage.parent);
  stage.running = 0;
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
