// Filters closed, stopped and opened by clients while their tuner delivers: from a handler on
// the delivering thread, from other threads while a handler lingers, and from three client
// threads at once against a paced tuner (the soak; OMBRIX_HAL_SOAK_SECONDS sets its length).
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <tuple>

#include "OmbrixHalFileTunerFixture.h"

namespace {

using namespace ombrixhal::test;
using namespace std::chrono_literals;

struct FilterKind {
  const char* name;
  OmbrixHalFilterType type;
  uint32_t pid;
  bool realChain;  // made with OmbrixHalFilterCreateRealFilter rather than opened as a client
};

const FilterKind kKinds[] = {
    {"Section", OMBRIX_HAL_FILTER_TYPE_SECTION, kSectionPid, false},
    {"Pes", OMBRIX_HAL_FILTER_TYPE_PES, kPesPid, false},
    {"Teletext", OMBRIX_HAL_FILTER_TYPE_TELETEXT, kTeletextPid, false},
    {"Pcr", OMBRIX_HAL_FILTER_TYPE_PCR, kPcrPid, false},
    {"PesChain", OMBRIX_HAL_FILTER_TYPE_PES, kPesPid, true},
    {"TeletextChain", OMBRIX_HAL_FILTER_TYPE_TELETEXT, kTeletextPid, true},
    {"SectionChain", OMBRIX_HAL_FILTER_TYPE_SECTION, kSectionPid, true},
};

class FilterConcurrency : public FileTunerTest {
 protected:
  static constexpr int kRounds = 3;

  OmbrixHalFilterHandle openKind(const FilterKind& kind, OmbrixHalFilterHandler handler, void* context) {
    return openStarted(kind.type, kind.pid, handler, context, {}, kind.realChain);
  }
  uint32_t pull() { return OmbrixHalTunerReceive(tuner, 100000); }
};

// A handler that closes or stops its own filter at its first call: none comes after it.
class HandlerOnItsOwnFilter : public FilterConcurrency,
                              public ::testing::WithParamInterface<std::tuple<FilterKind, bool>> {};

TEST_P(HandlerOnItsOwnFilter, EndsTheDeliveryThere) {
  load(multiplex(kRounds));
  static int calls;
  static bool closes;
  calls = 0;
  closes = std::get<1>(GetParam());
  OmbrixHalFilterHandle filter = openKind(std::get<0>(GetParam()), [](OmbrixHalFilterHandle aFilter, const uint8_t*,
                                                                      uint32_t, void*) {
    ++calls;
    EXPECT_EQ(closes ? OmbrixHalFilterClose(aFilter) : OmbrixHalFilterStop(aFilter), 1);
  }, nullptr);
  pull();
  EXPECT_EQ(calls, 1);
  if (!closes) {
    EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
  }
}

std::string kindAndAct(const ::testing::TestParamInfo<std::tuple<FilterKind, bool>>& info) {
  return std::string(std::get<0>(info.param).name) + (std::get<1>(info.param) ? "Close" : "Stop");
}

INSTANTIATE_TEST_SUITE_P(EveryKind, HandlerOnItsOwnFilter,
                         ::testing::Combine(::testing::ValuesIn(kKinds), ::testing::Bool()), kindAndAct);

struct OtherThreadCase {
  const char* name;
  FilterKind kind;
  bool sharedTarget;  // the act is on a second client of the lingering client's chain
  OmbrixHalBool (*act)(OmbrixHalFilterHandle);
};

const OtherThreadCase kOtherThreadCases[] = {
    {"ClosePes", kKinds[1], false, OmbrixHalFilterClose},
    {"StopPes", kKinds[1], false, OmbrixHalFilterStop},
    {"ClosePcr", kKinds[3], false, OmbrixHalFilterClose},
    {"CloseTeletextChain", kKinds[5], false, OmbrixHalFilterClose},
    {"CloseSharingSectionClient", kKinds[0], true, OmbrixHalFilterClose},
    {"StopSharingSectionClient", kKinds[0], true, OmbrixHalFilterStop},
    {"StopSharingTeletextClient", kKinds[2], true, OmbrixHalFilterStop},
};

class OtherThreadDuringDelivery : public FilterConcurrency, public ::testing::WithParamInterface<OtherThreadCase> {};

TEST_P(OtherThreadDuringDelivery, ActReturnsOnlyOnceTheDeliveryIsOver) {
  const OtherThreadCase& c = GetParam();
  load(multiplex(kRounds));
  Lingering lingering;
  Deliveries other;
  // Fan-out visits the client attached last first: the lingering one.
  OmbrixHalFilterHandle target = c.sharedTarget ? openKind(c.kind, Deliveries::record, &other) : nullptr;
  OmbrixHalFilterHandle lingeringFilter = openKind(c.kind, Lingering::handler, &lingering);
  target = c.sharedTarget ? target : lingeringFilter;
  std::thread puller([this] { pull(); });
  EXPECT_EQ(lingering.actDuringDelivery([&] { return c.act(target); }), 1);
  puller.join();
  EXPECT_FALSE(lingering.actedDuringDelivery);

  // Nothing more reaches what was closed or stopped.
  const int callsBefore = lingering.calls;
  const size_t otherBefore = other.calls.size();
  load(multiplex(kRounds));
  pull();
  EXPECT_EQ(lingering.calls > callsBefore, c.sharedTarget);
  EXPECT_EQ(other.calls.size(), otherBefore);
  if (c.act != OmbrixHalFilterClose || c.sharedTarget) {
    EXPECT_EQ(OmbrixHalFilterClose(lingeringFilter), 1);
  }
  if (c.act != OmbrixHalFilterClose && c.sharedTarget) {
    EXPECT_EQ(OmbrixHalFilterClose(target), 1);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryAct, OtherThreadDuringDelivery, ::testing::ValuesIn(kOtherThreadCases),
                         [](const auto& info) { return std::string(info.param.name); });

// One client's filter in the soak: its handler may close it, or its thread does, never both,
// and the handler leaves it alone while the thread stops and starts it.
struct SoakClient {
  enum State { kOpen, kBusy, kClosed };

  static void handler(OmbrixHalFilterHandle aFilter, const uint8_t*, uint32_t, void* aContext) {
    auto& client = *static_cast<SoakClient*>(aContext);
    ++deliveries;
    int open = kOpen;
    if (client.closeInHandler && client.state.compare_exchange_strong(open, kClosed)) {
      OmbrixHalFilterClose(aFilter);
    }
  }
  void restart(OmbrixHalFilterHandle filter) {
    int open = kOpen;
    if (state.compare_exchange_strong(open, kBusy)) {
      OmbrixHalFilterStop(filter);
      OmbrixHalFilterStart(filter);
      state = kOpen;
    }
  }
  void close(OmbrixHalFilterHandle filter) {
    if (state.exchange(kClosed) != kClosed) {
      OmbrixHalFilterClose(filter);
    }
  }

  bool closeInHandler = false;
  std::atomic<int> state{kOpen};
  static inline std::atomic<uint64_t> deliveries{0};
};

TEST_F(FilterConcurrency, ThreeClientsOpenStopAndCloseWhileAPacedTunerPlays) {
  const char* seconds = std::getenv("OMBRIX_HAL_SOAK_SECONDS");
  const auto duration = std::chrono::seconds(seconds != nullptr ? std::atoi(seconds) : 2);
  writeBytes(path, multiplex(20));
  // About 1700 packets every 10 ms, played over and over.
  ASSERT_EQ(OmbrixHalTunerSetParameterByString(
                tuner, ("digitalFile: name=//local/" + path + ", symbolrate=30000, repetitions=0").c_str()),
            1);
  SoakClient::deliveries = 0;
  const auto end = std::chrono::steady_clock::now() + duration;
  runOnThreads(3, [&](int index) {
    std::minstd_rand random(static_cast<unsigned>(index) + 1);
    while (std::chrono::steady_clock::now() < end) {
      // Few kinds and PIDs, so that the clients of the three threads often share a chain.
      const FilterKind& kind = kKinds[random() % std::size(kKinds)];
      SoakClient client;
      client.closeInHandler = random() % 4 == 0;
      OmbrixHalFilterHandle filter = openKind(kind, SoakClient::handler, &client);
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
      if (random() % 2 == 0) {
        // Stopped and started again: the chain restarts under the delivery.
        client.restart(filter);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 1000));
      }
      client.close(filter);
    }
  });
  EXPECT_GT(SoakClient::deliveries.load(), 0u);
}

}  // namespace
