// Tests of the file digital tuner through the tuner front: sync search and chunked play, the pace
// as the thread module's Sleep sees it, and the per-PID dispatch. What it shares with the analog
// file tuner is tested on both with the tuner front.
#include <condition_variable>
#include <optional>
#include <thread>

#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalTTunerHead.h"

namespace ombrixhal::test {
namespace {

// The first `count` packets that a play of `stream` synchronised at `offset` gives: its whole
// packets, then from the start again.
std::vector<Bytes> playOf(const Bytes& stream, size_t count, size_t offset = 0) {
  std::vector<Bytes> packets;
  for (size_t at = offset; packets.size() < count; at += kTsPacketSize) {
    at = at + kTsPacketSize <= stream.size() ? at : offset;
    packets.emplace_back(stream.begin() + at, stream.begin() + at + kTsPacketSize);
  }
  return packets;
}

using Cycles = std::vector<std::pair<uint32_t, size_t>>;  // each: the sleep asked for, the packets by then

// The thread module's Sleep in place of the platform's: each call ends a cycle of the pacing
// thread, noted with the packets the recorder had by then. The third holds its sleeper until the
// test lets go, so that the test sees whole cycles and no time passes.
struct PaceWatch {
  static OmbrixHalBool getInterface(OmbrixHalThreadPlatformInterface* aInterface) noexcept {
    OmbrixHalThreadPlatformGetInterface(aInterface);
    aInterface->Sleep = [](uint32_t aMilliseconds) {
      std::unique_lock lock(mutex);
      cycles.emplace_back(aMilliseconds, recorder->seen().size());
      changed.notify_all();
      changed.wait(lock, [] { return cycles.size() < 3 || letGo; });
    };
    return 1;
  }
  static Cycles firstCycles() {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(10), [] { return cycles.size() >= 3; });
    return cycles;
  }
  static void release() {
    std::lock_guard lock(mutex);
    letGo = true;
    changed.notify_all();
  }

  static inline std::mutex mutex;
  static inline std::condition_variable changed;
  static inline Cycles cycles;
  static inline bool letGo;
  static inline PacketRecorder* recorder;
};

// A "digitalFile" tuner, on the watched Sleep, whose first handler entry records.
class FileDigitalTunerTest : public FileTunerTest {
 protected:
  FileDigitalTunerTest() {
    PaceWatch::cycles.clear();
    PaceWatch::letGo = false;
    PaceWatch::recorder = &first;
  }
  void SetUp() override {
    FileTunerTest::SetUp();
    ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, PacketRecorder::handle, &first), 1);
  }
  void TearDown() override {
    PaceWatch::release();
    FileTunerTest::TearDown();
  }

  PacketRecorder first;
  ScopedPlatformInterface<OmbrixHalThreadPlatformInterface> paceWatch_{seam::threadPlatformGetInterface,
                                                                       PaceWatch::getInterface};
};

using FileDigitalPulledPlay = FileDigitalTunerTest;

TEST_F(FileDigitalPulledPlay, SynchronisesOnTwoSyncBytesOnePacketApartAndPlaysEveryWholePacketOfEveryChunk) {
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0) << "nothing to play yet";
  // The file, what follows its name in the line, where the sync is found (none: refused), and
  // how many whole packets it holds.
  const std::tuple<Bytes, std::string, std::optional<size_t>, uint32_t> cases[] = {
      {tsStream(3), "", 0, 3},
      {tsStream(3, {1, 2, 3, 4, 5}), "", 5, 3},
      // Kept: after a rejected candidate (byte 188 is no sync byte) the scan lags one byte, and
      // plays from one byte late.
      {tsStream(3, {0x47, 0, 0}), "", 4, 2},
      {tsStream(257, {9, 9}), "", 2, 257},  // chunks of 256 packets: the last holds one packet alone
      {{}, "", {}, 0},
      {tsStream(1, Bytes(12, 0)), "", {}, 0},
      {concat({Bytes(10, 0), {0x47}, Bytes(186, 0), {0x47}, Bytes(202, 0)}), "", {}, 0},  // 187 apart
      {Bytes(100000, 0x55), "", {}, 0},
      {tsStream(3), ".missing", {}, 0},  // a name beside the file's
  };
  for (const auto& [stream, afterName, offset, count] : cases) {
    first.packets.clear();
    log.clear();
    EXPECT_EQ(tune(stream, afterName + ", repetitions=0"), offset ? 1 : 0) << count;
    EXPECT_EQ(log.countContaining("Cannot set tuner parameter"), offset ? 0u : 1u);
    EXPECT_EQ(OmbrixHalTunerGetSignalQuality(tuner), offset ? 100u : 0u);
    if (offset) {
      // Endless: the end leads back to the first packet. The kind's own Receive gives one a call.
      EXPECT_EQ(OmbrixHalTunerReceive(tuner, count + 1), 1);
      EXPECT_EQ(OmbrixHalTunerFileDigitalReceive(tuner), 1);
      EXPECT_EQ(first.packets, playOf(stream, count + 2, *offset)) << count;
    }
  }
}

TEST_F(FileDigitalPulledPlay, DeliversInOrderWhileAnotherThreadRegistersAndAsksTheStatus) {
  const Bytes stream = tsStream(1000);
  PacketRecorder second;
  ASSERT_EQ(tune(stream, ", repetitions=3"), 1);
  runOnThreads(2, [&](int index) {
    if (index == 0) {
      EXPECT_EQ(OmbrixHalTunerReceive(tuner, 3000), 1);
      return;
    }
    for (int round = 0; round < 200; ++round) {
      EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, PacketRecorder::handle, &second), 1);
      EXPECT_EQ(OmbrixHalTunerFileDigitalGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_LOCKED);
      EXPECT_EQ(OmbrixHalTunerUnregisterPacketHandler(tuner, &second, nullptr), 1);
    }
  });
  EXPECT_EQ(first.packets, playOf(stream, 3000));
}

// Packets a second p = symbolrate × 1000 / 188, in 32 bits. Up to 1000 a second a cycle gives
// one packet and sleeps 1000 / p ms; above, it gives 10000 / (1000000 / p) packets and sleeps 10.
struct Pace {
  uint32_t symbolRate;
  uint32_t sleepMs;
  uint32_t packetsPerCycle;
};

class FileDigitalPacedPlay : public FileDigitalTunerTest, public ::testing::WithParamInterface<Pace> {};

TEST_P(FileDigitalPacedPlay, GivesACyclesPacketsFromItsOwnThreadAndSleepsOutTheCycleTillTunedToPull) {
  const auto [symbolRate, sleepMs, perCycle] = GetParam();
  const Bytes stream = tsStream(7);
  ASSERT_EQ(tune(stream, ", repetitions=0, symbolrate=" + std::to_string(symbolRate)), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0) << "the thread owns delivery";
  EXPECT_EQ(PaceWatch::firstCycles(), (Cycles{{sleepMs, perCycle}, {sleepMs, 2 * perCycle}, {sleepMs, 3 * perCycle}}));
  EXPECT_EQ(first.packets, playOf(stream, 3 * perCycle));
  EXPECT_NE(first.thread, OmbrixHalThreadGetId());
  // Pulled again: the thread waits at the gate, and the play starts over.
  ASSERT_EQ(tune(stream, ", repetitions=0"), 1);
  PaceWatch::release();
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
  EXPECT_EQ(first.seen().size(), 3 * perCycle + 1);
  EXPECT_EQ(first.packets.back(), playOf(stream, 1)[0]);
}

INSTANTIATE_TEST_SUITE_P(Rates, FileDigitalPacedPlay,
                         ::testing::Values(Pace{1, 200, 1}, Pace{125, 1, 1}, Pace{188, 1, 1}, Pace{189, 10, 10},
                                           Pace{500, 10, 26}, Pace{1880, 10, 100}, Pace{3750, 10, 200},
                                           Pace{4294968, 333, 1},  // the product wraps to 704 bytes a second
                                           Pace{115964117, 10, 10000}),  // to 8: as fast as the cycles go
                         [](const auto& pace) { return "SymbolRate" + std::to_string(pace.param.symbolRate); });

TEST_F(FileDigitalPulledPlay, GivesAHandlerOnAPidFrom0x1000OnItsPacketsAndOnlyThose) {
  const Bytes high = tsPacketOf(0x1234, 1);
  const Bytes top = tsPacketOf(0x1fff, 2);
  Deliveries atHigh;
  OmbrixHalFilterHandle filter = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x1234, atHigh);
  // The tuner's own dispatch: a handler told to act on one PID is given no other packet.
  tuner->SetHandlerPid(tuner, &first, 0x1fff);
  play(concat({tsPacketOf(0x0234, 3), high, top, tsPacketOf(0x0fff, 4), high, top}));
  EXPECT_EQ(atHigh.data(), (std::vector{high, high}));
  EXPECT_EQ(first.packets, (std::vector{top, top}));
  OmbrixHalFilterClose(filter);
}

}  // namespace
}  // namespace ombrixhal::test
