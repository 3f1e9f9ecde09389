// Filters: the generic entry points over every filter kind.
#include <mutex>

#include "OmbrixHalFilter.h"
#include "OmbrixHalTFilterHead.h"

namespace {

// The filters alive now. A tuner resets the context of every handler it holds, and a
// middleware may register its own handler with a context that is no filter: only a word found
// here is touched. Creation, destruction and reset are rare, so a list and a lock do.
std::mutex liveFiltersLock;
OmbrixHalFilterHandle liveFilters = nullptr;

}  // namespace

namespace ombrixhal {

void addLiveFilter(OmbrixHalFilterHandle aFilter) noexcept {
  std::lock_guard guard(liveFiltersLock);
  aFilter->nextLive = liveFilters;
  liveFilters = aFilter;
}

void removeLiveFilter(OmbrixHalFilterHandle aFilter) noexcept {
  std::lock_guard guard(liveFiltersLock);
  for (OmbrixHalFilterHandle* link = &liveFilters; *link != nullptr; link = &(*link)->nextLive) {
    if (*link == aFilter) {
      *link = aFilter->nextLive;
      aFilter->nextLive = nullptr;
      return;
    }
  }
}

}  // namespace ombrixhal

void OmbrixHalFilterReset(OmbrixHalFilterHandle aFilter) noexcept {
  if (aFilter == nullptr) {
    return;
  }
  // The lock is held through the call, so the filter cannot be destroyed under it.
  std::lock_guard guard(liveFiltersLock);
  for (OmbrixHalFilterHandle live = liveFilters; live != nullptr; live = live->nextLive) {
    if (live == aFilter) {
      if (live->operations.Reset != nullptr) {
        live->operations.Reset(live);
      }
      return;
    }
  }
}
