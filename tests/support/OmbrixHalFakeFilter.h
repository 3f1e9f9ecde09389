// A stand-in for the filter a chain stage draws from: it keeps the input handler that the stage
// hooks onto it, refuses the start when told to, and hands packets (or PES packets)
// to the stage as a real parent would.
#ifndef OMBRIX_HAL_FAKE_FILTER_H
#define OMBRIX_HAL_FAKE_FILTER_H

#include <cstdint>
#include <vector>

#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTTunerHead.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {

// A live filter, as the library knows its filters, counting its resets: what a file tuner
// resets at every start of its play.
struct CountingFilter {
  OmbrixHalFilterHead head{};
  int resets = 0;

  CountingFilter() {
    head.operations.Reset = [](OmbrixHalFilterHandle f) { ++reinterpret_cast<CountingFilter*>(f)->resets; };
    addLiveFilter(&head);
  }
  ~CountingFilter() { removeLiveFilter(&head); }
  CountingFilter(const CountingFilter&) = delete;
  CountingFilter& operator=(const CountingFilter&) = delete;
};

struct FakeParentFilter {
  OmbrixHalFilterHead head;
  OmbrixHalFilterHandler input;
  void* inputContext;
  uint32_t running;
  bool refuseStart;

  // Closing the stage closes its parent: this count survives the fake.
  static inline int destroyed = 0;
  // The tuner every fake lives on: it outlives a fake that its stage closes during delivery.
  static inline OmbrixHalTunerHead tuner{};

  static FakeParentFilter* of(OmbrixHalFilterHandle filter) { return reinterpret_cast<FakeParentFilter*>(filter); }
  // Gives the stage one unit of data, as the parent's own delivery would: holding its tuner.
  void deliver(const std::vector<uint8_t>& data) {
    TunerHold hold(&tuner);
    input(&head, data.data(), static_cast<uint32_t>(data.size()), inputContext);
  }
};

// A fake parent of `type` (0 for a TS root, 3 for a PES stage), allocated with new; the stage's
// Destroy frees it through OmbrixHalFilterClose, or the test deletes it.
inline FakeParentFilter* createFakeParent(OmbrixHalFilterType type = OMBRIX_HAL_FILTER_TYPE_TS) {
  auto* parent = new FakeParentFilter{};
  parent->head.type = type;
  // Kept for the life of the process, so the library's restarts between tests keep it too.
  if (FakeParentFilter::tuner.DeliveryLock == nullptr) {
    FakeParentFilter::tuner.DeliveryLock = OmbrixHalCriticalSectionCreate();
  }
  parent->head.tuner = &FakeParentFilter::tuner;
  using Fake = FakeParentFilter;
  parent->head.operations = {
      .Destroy = [](OmbrixHalFilterHandle f) -> OmbrixHalBool { return ++Fake::destroyed, delete Fake::of(f), 1; },
      .SetFilterHandler = [](OmbrixHalFilterHandle f, OmbrixHalFilterHandler h, void* c) -> OmbrixHalBool {
        Fake::of(f)->input = h;
        Fake::of(f)->inputContext = c;
        return 1;
      },
      .SetParameter = [](OmbrixHalFilterHandle f, const OmbrixHalFilterParameter* p) -> OmbrixHalBool {
        return f->parameter = *p, 1;
      },
      .GetParameter = nullptr,
      .Start = [](OmbrixHalFilterHandle f) -> OmbrixHalBool {
        return Fake::of(f)->running = !Fake::of(f)->refuseStart;
      },
      .Stop = [](OmbrixHalFilterHandle f) -> OmbrixHalBool { return Fake::of(f)->running = 0, 1; },
      .IsEnabled = [](OmbrixHalFilterHandle f) -> OmbrixHalBool { return Fake::of(f)->running; },
      .Reset = nullptr,
  };
  return parent;
}

}  // namespace ombrixhal::test

#endif
