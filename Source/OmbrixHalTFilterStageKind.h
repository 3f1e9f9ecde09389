// Private: what the section, PES, PCR and teletext kinds share beyond the stage helpers: making and
// freeing a stage object, and the slots that do nothing kind-specific. A stage kind is a
// standard-layout struct with `OmbrixHalFilterHead head` first and `FilterStage stage` after it.
// Every slot here also serves as an export, so each tolerates a NULL handle.
#ifndef OMBRIX_HAL_T_FILTER_STAGE_KIND_H
#define OMBRIX_HAL_T_FILTER_STAGE_KIND_H

#include "OmbrixHalTFilterHead.h"

namespace ombrixhal {

template <typename Kind>
void destroyStageKind(Kind& kind, bool hooked) noexcept;

template <typename Kind>
void releaseStageKind(OmbrixHalFilterHandle aThis) noexcept {
  Kind* kind = filterKindOf<Kind>(aThis);
  if (kind->stage.buffer != nullptr) {
    OmbrixHalMemoryFree(kind->stage.buffer);
  }
  releaseFilterKind<Kind>(aThis);
}

struct NothingToPrepare {
  template <typename Kind>
  bool operator()(Kind&) const noexcept {
    return true;
  }
};

// Allocates (charged to the kind's `file` and `line`) and zeroes the kind on `parent`, which
// must be of `parentType`, lets `prepare` take the kind's own resources (the stage's buffer),
// and makes it live on the parent's tuner. NULL when any of it fails, with nothing left behind.
template <typename Kind, typename Prepare = NothingToPrepare>
OmbrixHalFilterHandle createStageKind(OmbrixHalFilterHandle parent, OmbrixHalFilterType parentType,
                                      OmbrixHalFilterType type, const OmbrixHalFilterOperations& operations,
                                      const char* file, int line, Prepare prepare = {}) noexcept {
  if (parent == nullptr || parent->type != parentType) {
    return nullptr;
  }
  Kind* kind = newFilterKind<Kind>(operations, type, file, line);
  if (kind == nullptr) {
    return nullptr;
  }
  kind->head.release = releaseStageKind<Kind>;
  kind->head.tuner = parent->tuner;
  kind->stage.parent = parent;
  if (!prepare(*kind)) {
    destroyStageKind(*kind, false);
    return nullptr;
  }
  addLiveFilter(&kind->head);
  return &kind->head;
}

// The end of what createStageKind made: the parent closed first if the stage owns it by then,
// so that no delivery reaches the stage once it is retired. Safe on a kind that never reached
// addLiveFilter.
template <typename Kind>
void destroyStageKind(Kind& kind, bool hooked) noexcept {
  // A delivery under way in this stage ends with the handler that destroyed it.
  kind.stage.running.store(0, std::memory_order_relaxed);
  closeStageParent(kind.stage, hooked);
  retireFilter(&kind.head);
}

// SetFilterHandler of the kinds that need someone to deliver to.
template <typename Kind>
OmbrixHalBool hookStageKind(OmbrixHalFilterHandle aThis, OmbrixHalFilterHandler input, OmbrixHalFilterHandler handler,
                            void* context) noexcept {
  if (aThis == nullptr || handler == nullptr) {
    return 0;
  }
  Kind& kind = *filterKindOf<Kind>(aThis);
  return hookStage(kind.head, kind.stage, input, handler, context);
}

template <typename Kind>
OmbrixHalBool setStageKindParameter(OmbrixHalFilterHandle aThis, const OmbrixHalFilterParameter* parameter) noexcept {
  if (aThis == nullptr || parameter == nullptr) {
    return 0;
  }
  Kind& kind = *filterKindOf<Kind>(aThis);
  return setStageParameter(kind.head, kind.stage, *parameter);
}

template <typename Kind>
OmbrixHalBool getStageKindParameter(OmbrixHalFilterHandle aThis, OmbrixHalFilterParameter* parameter) noexcept {
  if (aThis == nullptr || parameter == nullptr) {
    return 0;
  }
  Kind& kind = *filterKindOf<Kind>(aThis);
  return getStageParameter(kind.head, kind.stage, *parameter);
}

// Start of the kinds that need a parameter and a handler; `clear` resets the kind's assembly
// state before the stage runs.
template <typename Kind, typename Clear>
OmbrixHalBool startStageKind(OmbrixHalFilterHandle aThis, Clear clear) noexcept {
  if (aThis == nullptr) {
    return 0;
  }
  Kind& kind = *filterKindOf<Kind>(aThis);
  if (!kind.stage.parameterSet || kind.head.handler == nullptr) {
    return 0;
  }
  clear(kind);
  return startStage(kind.stage);
}

template <typename Kind>
OmbrixHalBool stopStageKind(OmbrixHalFilterHandle aThis) noexcept {
  return aThis != nullptr ? stopStage(filterKindOf<Kind>(aThis)->stage) : 0;
}

template <typename Kind>
OmbrixHalBool isStageKindEnabled(OmbrixHalFilterHandle aThis) noexcept {
  return aThis != nullptr && isRunning(filterKindOf<Kind>(aThis)->stage) ? 1 : 0;
}

}  // namespace ombrixhal

#endif
