// Map filters: the clients' filters, mapped onto as few real filter chains as there are
// distinct (type, tuner, PID) triples; each chain's output is fanned out to its started clients.
// Clients on several threads open, start, stop and close map filters while the tuner delivers:
// each operation holds the map filter's tuner, so that no delivery runs through the chains and
// lists it changes, and the list of chains, shared by every tuner, has a lock of its own.
#include <mutex>

#include "OmbrixHalLogger.h"
#include "OmbrixHalMapFilter.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerHead.h"

namespace {

constexpr const char* kSetParameterName = "OmbrixHalFilterSetParameter";
constexpr const char* kNotPorted = "Internal error: Filter functions are not ported correctly.";

struct MapFilter {
  OmbrixHalFilterHead head;
  ombrixhal::Relaxed<uint32_t> enabled;  // read by the fan-out on the delivery thread
  uint32_t parameterSet;
  OmbrixHalFilterHandle realFilter;  // the top of the shared chain, or NULL
};

MapFilter* asMapFilter(OmbrixHalFilterHandle aThis) noexcept {
  return ombrixhal::filterKindOf<MapFilter>(aThis);
}

// The tops of every chain that map filters made, linked through their `next`. A chain's own
// `context` word holds the head of its map filters' list, which the chain therefore hands to
// the fan-out with every delivery, and changes only under the chain's tuner hold. The list of
// chains is changed and searched by the clients' threads under realFiltersLock (taken after a
// tuner's hold, never before); the delivery thread never reads it.
std::mutex realFiltersLock;
OmbrixHalFilterHandle realFilters = nullptr;

// Where a fan-out on this thread goes on after the handler it is calling: a handler may close
// the client that comes next, which then takes its successor's place here.
struct FanOutCursor {
  OmbrixHalFilterHandle next;
  FanOutCursor* outer;
};
thread_local FanOutCursor* fanOutCursors = nullptr;

void fanOut(OmbrixHalFilterHandle /*aRealFilter*/, const uint8_t* aData, uint32_t aLength, void* aContext) noexcept {
  FanOutCursor cursor{nullptr, fanOutCursors};
  fanOutCursors = &cursor;
  for (auto map = static_cast<OmbrixHalFilterHandle>(aContext); map != nullptr; map = cursor.next) {
    cursor.next = map->next;
    if (asMapFilter(map)->enabled) {
      map->handler(map, aData, aLength, map->context);
    }
  }
  fanOutCursors = cursor.outer;
}

// Takes `map` out of its chain's list: a fan-out of this thread that was to visit it next
// visits its successor instead.
void leaveMapList(OmbrixHalFilterHandle real, OmbrixHalFilterHandle map) noexcept {
  for (FanOutCursor* cursor = fanOutCursors; cursor != nullptr; cursor = cursor->outer) {
    if (cursor->next == map) {
      cursor->next = map->next;
    }
  }
  real->context = OmbrixHalFilterRemoveFilterFromList(static_cast<OmbrixHalFilterHandle>(real->context), map);
}

bool hasEverySlotAMapFilterUses(const OmbrixHalFilterHead& real) noexcept {
  const OmbrixHalFilterOperations& slots = real.operations;
  return slots.Destroy != nullptr && slots.GetParameter != nullptr && slots.SetParameter != nullptr &&
         slots.IsEnabled != nullptr && slots.Start != nullptr && slots.Stop != nullptr &&
         slots.SetFilterHandler != nullptr;
}

// Only the PID, the type and the tuner decide whether a chain is shared: a second section
// client receives what the first one's match, mask and CRC setting select.
OmbrixHalFilterHandle findRealFilter(const OmbrixHalFilterHead& map) noexcept {
  for (OmbrixHalFilterHandle real = realFilters; real != nullptr; real = real->next) {
    OmbrixHalFilterParameter parameter{};
    if (real->operations.GetParameter != nullptr && real->operations.GetParameter(real, &parameter) &&
        parameter.pid == map.parameter.pid && real->type == map.type && real->tuner == map.tuner) {
      return real;
    }
  }
  return nullptr;
}

void joinRealFilter(MapFilter& map, OmbrixHalFilterHandle real) noexcept {
  real->context = OmbrixHalFilterAddFilterToList(static_cast<OmbrixHalFilterHandle>(real->context), &map.head);
  map.realFilter = real;
}

// Under the map filter's tuner hold, which also keeps any other thread from making a chain of
// this tuner in the meantime.
bool attach(MapFilter& map) noexcept {
  OmbrixHalFilterHandle shared = nullptr;
  {
    std::lock_guard guard(realFiltersLock);
    shared = findRealFilter(map.head);
  }
  if (shared != nullptr) {
    joinRealFilter(map, shared);
    return true;
  }
  OmbrixHalFilterHandle real = OmbrixHalFilterCreateRealFilter(map.head.tuner, map.head.type, fanOut, nullptr);
  if (real == nullptr) {
    return false;
  }
  if (!hasEverySlotAMapFilterUses(*real)) {
    if (real->operations.Destroy != nullptr) {
      real->operations.Destroy(real);
    }
    OmbrixHalLoggerPrintf(kSetParameterName, ombrixhal::kLogError, kNotPorted);
    return false;
  }
  real->tuner = map.head.tuner;
  real->operations.SetParameter(real, &map.head.parameter);
  {
    std::lock_guard guard(realFiltersLock);
    realFilters = OmbrixHalFilterAddFilterToList(realFilters, real);
  }
  joinRealFilter(map, real);
  return true;
}

// Under the map filter's tuner hold. A chain whose last client leaves is destroyed at once,
// even from a handler of its own: what its filters free waits for the delivery to unwind.
void detach(MapFilter& map) noexcept {
  OmbrixHalFilterHandle real = map.realFilter;
  if (real == nullptr) {
    return;
  }
  const bool wasRunning = real->operations.IsEnabled(real) != 0;
  if (wasRunning) {
    real->operations.Stop(real);
  }
  map.realFilter = nullptr;
  leaveMapList(real, &map.head);
  if (real->context == nullptr) {
    {
      std::lock_guard guard(realFiltersLock);
      realFilters = OmbrixHalFilterRemoveFilterFromList(realFilters, real);
    }
    real->operations.Destroy(real);
  } else if (wasRunning) {
    real->operations.Start(real);
  }
}

bool anyStarted(OmbrixHalFilterHandle mapList) noexcept {
  for (OmbrixHalFilterHandle map = mapList; map != nullptr; map = map->next) {
    if (asMapFilter(map)->enabled) {
      return true;
    }
  }
  return false;
}

constexpr OmbrixHalFilterOperations kMapFilterOperations = {
    .Destroy = OmbrixHalMapFilterClose,
    .SetFilterHandler = nullptr,  // the handler is fixed at open
    .SetParameter = OmbrixHalMapFilterSetParameter,
    .GetParameter = OmbrixHalMapFilterGetParameter,
    .Start = OmbrixHalMapFilterStart,
    .Stop = OmbrixHalMapFilterStop,
    .IsEnabled = OmbrixHalMapFilterIsEnabled,
    .Reset = OmbrixHalMapFilterReset,
};

}  // namespace

OmbrixHalFilterHandle OmbrixHalMapFilterOpen(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                             OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  auto* map = ombrixhal::newFilterKind<MapFilter>(kMapFilterOperations, aType, __FILE__, __LINE__);
  if (map == nullptr) {
    return nullptr;
  }
  map->head.ResetInfo = OmbrixHalMapFilterResetInfo;
  map->head.GetInfo = OmbrixHalMapFilterGetInfo;
  map->head.handler = aHandler;
  map->head.context = aContext;
  map->head.tuner = aTuner;
  ombrixhal::addLiveFilter(&map->head);
  return &map->head;
}

OmbrixHalBool OmbrixHalMapFilterClose(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  ombrixhal::TunerHold hold(This->tuner);
  detach(*asMapFilter(This));
  ombrixhal::retireFilter(This);
  return 1;
}

OmbrixHalBool OmbrixHalMapFilterSetParameter(OmbrixHalFilterHandle This,
                                             const OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr) {
    return 0;
  }
  ombrixhal::TunerHold hold(This->tuner);
  MapFilter* map = asMapFilter(This);
  map->parameterSet = 0;
  detach(*map);
  This->parameter = *aParameter;
  map->parameterSet = attach(*map) ? 1 : 0;
  return map->parameterSet;
}

OmbrixHalBool OmbrixHalMapFilterGetParameter(OmbrixHalFilterHandle This, OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr || !asMapFilter(This)->parameterSet) {
    return 0;
  }
  *aParameter = This->parameter;
  return 1;
}

OmbrixHalBool OmbrixHalMapFilterStart(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  ombrixhal::TunerHold hold(This->tuner);
  if (asMapFilter(This)->realFilter == nullptr) {
    return 0;
  }
  MapFilter* map = asMapFilter(This);
  OmbrixHalFilterHandle real = map->realFilter;
  if (!real->operations.IsEnabled(real) && !real->operations.Start(real)) {
    return map->enabled;
  }
  map->enabled = 1;
  return 1;
}

OmbrixHalBool OmbrixHalMapFilterStop(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  ombrixhal::TunerHold hold(This->tuner);
  if (asMapFilter(This)->realFilter == nullptr) {
    return 0;
  }
  MapFilter* map = asMapFilter(This);
  OmbrixHalFilterHandle real = map->realFilter;
  map->enabled = 0;
  real->operations.Stop(real);
  // The others still started go on, from a fresh start of the chain's assembly.
  if (anyStarted(static_cast<OmbrixHalFilterHandle>(real->context))) {
    real->operations.Start(real);
  }
  return 1;
}

OmbrixHalBool OmbrixHalMapFilterIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return This != nullptr && asMapFilter(This)->enabled ? 1 : 0;
}

void OmbrixHalMapFilterReset(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return;
  }
  ombrixhal::TunerHold hold(This->tuner);
  OmbrixHalFilterHandle real = asMapFilter(This)->realFilter;
  if (real != nullptr && real->operations.Reset != nullptr) {
    real->operations.Reset(real);
  }
}

OmbrixHalBool OmbrixHalMapFilterGetInfo(OmbrixHalFilterHandle This, OmbrixHalFilterInfo* aInfo) noexcept {
  OmbrixHalFilterHandle real = This != nullptr ? asMapFilter(This)->realFilter : nullptr;
  return real != nullptr && real->GetInfo != nullptr ? real->GetInfo(real, aInfo) : 0;
}

OmbrixHalBool OmbrixHalMapFilterResetInfo(OmbrixHalFilterHandle This) noexcept {
  OmbrixHalFilterHandle real = This != nullptr ? asMapFilter(This)->realFilter : nullptr;
  return real != nullptr && real->ResetInfo != nullptr ? real->ResetInfo(real) : 0;
}
