// Map filters: the clients' filters, mapped onto as few real filter chains as there are
// distinct (type, tuner, PID) triples; each chain's output is fanned out to its started clients.
#include "OmbrixHalLogger.h"
#include "OmbrixHalMapFilter.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTModule.h"

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
// the fan-out with every delivery. The lists are changed on the clients' threads and read on
// the delivery thread without a lock.
OmbrixHalFilterHandle realFilters = nullptr;

// The chain whose output this thread is fanning out, and the chains whose last client closed
// its map filter from inside that fan-out: the chain's own filters are still on the call stack
// then, so they are taken apart only when its root has finished the packet.
thread_local OmbrixHalFilterHandle fanningOut = nullptr;
thread_local OmbrixHalFilterHandle deferredChains = nullptr;

void fanOut(OmbrixHalFilterHandle aRealFilter, const uint8_t* aData, uint32_t aLength, void* aContext) noexcept {
  const OmbrixHalFilterHandle outer = fanningOut;
  fanningOut = aRealFilter;
  for (auto map = static_cast<OmbrixHalFilterHandle>(aContext); map != nullptr;) {
    // A client's handler may close its own map filter.
    const OmbrixHalFilterHandle next = map->next;
    if (asMapFilter(map)->enabled) {
      map->handler(map, aData, aLength, map->context);
    }
    map = next;
  }
  fanningOut = outer;
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

bool attach(MapFilter& map) noexcept {
  if (OmbrixHalFilterHandle shared = findRealFilter(map.head); shared != nullptr) {
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
  realFilters = OmbrixHalFilterAddFilterToList(realFilters, real);
  joinRealFilter(map, real);
  return true;
}

void detach(MapFilter& map) noexcept {
  OmbrixHalFilterHandle real = map.realFilter;
  if (real == nullptr) {
    return;
  }
  const bool wasRunning = real->operations.IsEnabled(real) != 0;
  if (wasRunning) {
    real->operations.Stop(real);
  }
  real->context = OmbrixHalFilterRemoveFilterFromList(static_cast<OmbrixHalFilterHandle>(real->context), &map.head);
  map.realFilter = nullptr;
  if (real->context == nullptr) {
    realFilters = OmbrixHalFilterRemoveFilterFromList(realFilters, real);
    if (real == fanningOut) {
      deferredChains = OmbrixHalFilterAddFilterToList(deferredChains, real);
      ombrixhal::chainsDeferred = true;
    } else {
      real->operations.Destroy(real);
    }
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

namespace ombrixhal {

Relaxed<bool> chainsDeferred{false};

void destroyDeferredChains() noexcept {
  while (deferredChains != nullptr) {
    OmbrixHalFilterHandle real = deferredChains;
    deferredChains = real->next;
    real->next = nullptr;
    real->operations.Destroy(real);
  }
}

}  // namespace ombrixhal

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
  MapFilter* map = asMapFilter(This);
  detach(*map);
  ombrixhal::deleteFilterKind(map, __FILE__, __LINE__);
  return 1;
}

OmbrixHalBool OmbrixHalMapFilterSetParameter(OmbrixHalFilterHandle This,
                                             const OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr) {
    return 0;
  }
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
  if (This == nullptr || asMapFilter(This)->realFilter == nullptr) {
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
  if (This == nullptr || asMapFilter(This)->realFilter == nullptr) {
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
  OmbrixHalFilterHandle real = This != nullptr ? asMapFilter(This)->realFilter : nullptr;
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
