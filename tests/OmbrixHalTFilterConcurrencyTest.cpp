// Filters closed, stopped and opened by clients while their tuner delivers: from a handler on
// the delivering thread, from other threads while a handler lingers, and from three client
// threads at once against a paced tuner (the soak; OMBRIX_HAL_SOAK_SECONDS sets its length).
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>
#include <tuple>

#include "OmbrixHalFileTunerFixture.h"

namespace {

using namespace ombrixhal::test;

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

// A handler that closes or stops its own filter, or closes the client the fan-out calls next, at
// its first call: what it acted on gets nothing more, the clients around it get everything.
enum class Act { kClose, kStop, kCloseNext };

class HandlerDuringItsDelivery : public FilterConcurrency,
                                 public ::testing::WithParamInterface<std::tuple<FilterKind, Act>> {};

TEST_P(HandlerDuringItsDelivery, EndsTheDeliveryOfWhatItActsOn) {
  const auto& [kind, act] = GetParam();
  load(multiplex(kRounds));
  static struct {
    Act act;
    OmbrixHalFilterHandle next;
    int calls;
  } actor;
  // The fan-out visits the client attached last first: `before`, the actor, `next`, `after`.
  Deliveries after, next, before;
  OmbrixHalFilterHandle afterFilter = openKind(kind, Deliveries::record, &after);
  actor = {act, act == Act::kCloseNext ? openKind(kind, Deliveries::record, &next) : nullptr, 0};
  OmbrixHalFilterHandle filter = openKind(kind, [](OmbrixHalFilterHandle aFilter, const uint8_t*, uint32_t, void*) {
    if (actor.calls++ == 0) {
      EXPECT_EQ(actor.act == Act::kStop ? OmbrixHalFilterStop(aFilter)
                                        : OmbrixHalFilterClose(actor.act == Act::kClose ? aFilter : actor.next),
                1);
    }
  }, nullptr);
  OmbrixHalFilterHandle beforeFilter = openKind(kind, Deliveries::record, &before);
  pull();
  EXPECT_EQ(actor.calls, act == Act::kCloseNext ? static_cast<int>(before.calls.size()) : 1);
  EXPECT_TRUE(next.calls.empty());
  EXPECT_FALSE(before.calls.empty());
  EXPECT_EQ(after.data(), before.data());
  EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(afterFilter), OmbrixHalFilterClose(beforeFilter)}), 2);
  if (act != Act::kClose) {
    EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
  }
}

std::string kindAndAct(const ::testing::TestParamInfo<std::tuple<FilterKind, Act>>& info) {
  static const char* const acts[] = {"Close", "Stop", "CloseNext"};
  return std::string(std::get<0>(info.param).name) + acts[static_cast<int>(std::get<1>(info.param))];
}

INSTANTIATE_TEST_SUITE_P(EveryKind, HandlerDuringItsDelivery,
                         ::testing::Combine(::testing::ValuesIn(kKinds), ::testing::Values(Act::kClose, Act::kStop)),
                         kindAndAct);
// Only clients that share a chain have a next one: PCR clients, like chains, stand alone.
INSTANTIATE_TEST_SUITE_P(
    SharingKinds, HandlerDuringItsDelivery,
    ::testing::Combine(::testing::ValuesIn(kKinds, kKinds + 3), ::testing::Values(Act::kCloseNext)), kindAndAct);

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
