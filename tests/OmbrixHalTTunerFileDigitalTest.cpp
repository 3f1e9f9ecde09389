// Tests of the file digital tuner through the tuner front: sync search, pulled and paced play,
// repetitions, the handler table and the filter reset at every (re)synchronisation.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <thread>

#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

namespace fs = std::filesystem;

const std::string kScratch = "tuner-file-digital-scratch";

// Records what one handler was given, and on which thread.
struct Recorder {
  static void handle(void* aSource, const uint8_t* aPacket, uint32_t aLength, void* aContext) {
    auto& recorder = *static_cast<Recorder*>(aContext);
    std::lock_guard guard(recorder.mutex);
    recorder.sources.push_back(aSource);
    recorder.packets.emplace_back(aPacket, aPacket + aLength);
    recorder.thread = OmbrixHalThreadGetId();
  }
  size_t count() {
    std::lock_guard guard(mutex);
    return packets.size();
  }

  std::mutex mutex;
  std::vector<void*> sources;
  std::vector<Bytes> packets;
  uint32_t thread = 0;
};

// The packets of `stream` from byte `offset` on, as the tuner cuts them.
std::vector<Bytes> packetsOf(const Bytes& stream, size_t offset) {
  std::vector<Bytes> packets;
  for (size_t at = offset; at + kTsPacketSize <= stream.size(); at += kTsPacketSize) {
    packets.emplace_back(stream.begin() + at, stream.begin() + at + kTsPacketSize);
  }
  return packets;
}

class FileDigitalTunerTest : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    fs::remove_all(kScratch);
    fs::create_directories(kScratch + "/directory.ts");
    tuner = OmbrixHalTunerOpen("digitalFile");
    ASSERT_NE(tuner, nullptr);
    log.clear();
  }
  void TearDown() override {
    OmbrixHalTunerClose(tuner);
    fs::remove_all(kScratch);
    HalTest::TearDown();
  }
  // Writes `contents` to the scratch file and plays it with `options` added to the line.
  OmbrixHalBool play(const Bytes& contents, const std::string& options = ", repetitions=0") {
    writeBytes(kScratch + "/stream.ts", contents);
    log.clear();
    return OmbrixHalTunerSetParameterByString(
        tuner, ("digitalFile: name=//local/" + kScratch + "/stream.ts" + options).c_str());
  }
  bool waitFor(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return condition();
  }

  OmbrixHalTunerHandle tuner = nullptr;
  Recorder first;
  Recorder second;
};

using FileDigitalSync = FileDigitalTunerTest;

TEST_F(FileDigitalSync, FindsTheFirstSyncByteWithAnotherOnePacketOnAndSlipsAfterAFalseOne) {
  const Bytes garbage = {1, 2, 3, 4, 5};
  Bytes falseCandidate = tsStream(3, {0x47, 0, 0});  // byte 188 is not a sync byte; the true sync is at 3
  const std::pair<Bytes, size_t> cases[] = {
      {tsStream(3), 0},
      {tsStream(3, garbage), 5},
      // Kept: after a rejected candidate the scan lags one byte, and plays from one byte late.
      {falseCandidate, 4},
  };
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, Recorder::handle, &first), 1);
  for (const auto& [stream, offset] : cases) {
    first.packets.clear();
    ASSERT_EQ(play(stream), 1);
    EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
    EXPECT_EQ(first.packets, std::vector<Bytes>{packetsOf(stream, offset).front()}) << offset;
  }
}

TEST_F(FileDigitalSync, RefusesFilesWithoutTwoSyncBytesOnePacketApart) {
  Bytes apart187(400, 0);
  apart187[10] = apart187[197] = 0x47;
  const std::pair<std::string, Bytes> cases[] = {
      {"empty", {}},
      {"one packet and a part", tsStream(1, Bytes(12, 0))},
      {"sync bytes 187 apart", apart187},
      {"garbage", Bytes(100000, 0x55)},
  };
  for (const auto& [name, stream] : cases) {
    EXPECT_EQ(play(stream), 0) << name;
    EXPECT_EQ(log.countContaining("Cannot set tuner parameter"), 1u) << name;
    EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_UNKNOWN) << name;
  }
  const std::string names[] = {"missing.ts", "directory.ts", std::string(255 - kScratch.size() - 9, 'n')};
  for (const std::string& name : names) {
    log.clear();
    const std::string line = "digitalFile: name=//local/" + kScratch + "/" + name;
    EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, line.c_str()), 0) << name;
    EXPECT_EQ(log.countContaining("Cannot set tuner parameter"), 1u) << name;
  }
  const std::string tooLong = "digitalFile: name=" + std::string(256, 'n');
  log.clear();
  EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, tooLong.c_str()), 0);
  EXPECT_EQ(log.countContaining("Illegal tuner parameter string"), 1u);
}

using FileDigitalPulledPlay = FileDigitalTunerTest;

TEST_F(FileDigitalPulledPlay, DeliversEveryWholePacketInOrderToEveryHandlerAndRewinds) {
  // Three chunks and a part, and a partial packet at the end.
  Bytes stream = tsStream(600, {9, 9});
  const std::vector<Bytes> packets = packetsOf(stream, 2);
  stream.insert(stream.end(), 100, 0x47);
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, Recorder::handle, &first), 1);
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, Recorder::handle, &second), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0) << "nothing to play yet";
  ASSERT_EQ(play(stream), 1);
  EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_LOCKED);
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner) + OmbrixHalTunerGetSignalQuality(tuner), 200u);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 600), 1);
  EXPECT_EQ(first.packets, packets);
  EXPECT_EQ(second.packets, packets);
  EXPECT_EQ(first.sources, std::vector<void*>(600, nullptr));
  // Endless: the end of the file leads back to its first packet. The kind's own Receive gives
  // one packet per call.
  EXPECT_EQ(OmbrixHalTunerFileDigitalReceive(tuner), 1);
  EXPECT_EQ(OmbrixHalTunerFileDigitalReceive(tuner), 1);
  EXPECT_EQ(std::vector(first.packets.end() - 2, first.packets.end()),
            std::vector(packets.begin(), packets.begin() + 2));
}

TEST_F(FileDigitalPulledPlay, DeliversInOrderWhileAnotherThreadRegistersAndAsksTheStatus) {
  const Bytes stream = tsStream(1000);
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, Recorder::handle, &first), 1);
  ASSERT_EQ(play(stream, ", repetitions=3"), 1);
  runOnThreads(2, [&](int index) {
    if (index == 0) {
      EXPECT_EQ(OmbrixHalTunerReceive(tuner, 3000), 1);
      return;
    }
    for (int round = 0; round < 200; ++round) {
      EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, Recorder::handle, &second), 1);
      EXPECT_EQ(OmbrixHalTunerFileDigitalGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_LOCKED);
      EXPECT_EQ(OmbrixHalTunerUnregisterPacketHandler(tuner, &second, nullptr), 1);
    }
  });
  ASSERT_EQ(first.packets.size(), 3000u);
  EXPECT_EQ(std::vector(first.packets.begin() + 2000, first.packets.end()), packetsOf(stream, 0));
}

TEST_F(FileDigitalPulledPlay, RepeatsAsOftenAsAskedThenReportsNotLocked) {
  const Bytes stream = tsStream(3);
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, Recorder::handle, &first), 1);
  ASSERT_EQ(play(stream, ", repetitions=2"), 1);
  EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_LOCKED);
  log.clear();
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 7), 0);
  EXPECT_EQ(first.packets.size(), 6u);
  EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED);
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 0u);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalTunerReceive", "No more packets available", 0x3001),
                                      info("OmbrixHalTunerGetStatus", "Tuner: LOCKED -> NOT LOCKED"),
                                      info("OmbrixHalTunerGetSignalStrength", "Signal strength is '0%'", 0x3007)}));
  // A new set starts the play again.
  ASSERT_EQ(play(stream, ", repetitions=2"), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 6), 1);
}

using FileDigitalHandlers = FileDigitalTunerTest;

TEST_F(FileDigitalHandlers, HoldSixtyFourInTableOrderAndMayChangeDuringDelivery) {
  static std::vector<int> calls;
  static OmbrixHalTunerHandle self;
  calls.clear();
  self = tuner;
  int contexts[65];
  // Context 0 takes itself and context 2 out during the walk: 2 is not called.
  const OmbrixHalTunerPacketHandler handler = [](void*, const uint8_t*, uint32_t, void* aContext) {
    const int index = *static_cast<int*>(aContext);
    calls.push_back(index);
    if (index == 0) {
      OmbrixHalTunerUnregisterPacketHandler(self, aContext, nullptr);
      OmbrixHalTunerUnregisterPacketHandler(self, static_cast<int*>(aContext) + 2, nullptr);
    }
  };
  for (int index = 0; index < 65; ++index) {
    contexts[index] = index;
    EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, handler, &contexts[index]), index < 64 ? 1 : 0) << index;
  }
  EXPECT_EQ(OmbrixHalTunerUnregisterPacketHandler(tuner, &contexts[64], nullptr), 0);
  ASSERT_EQ(play(tsStream(2)), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
  std::vector<int> expected = {0, 1};
  for (int index = 3; index < 64; ++index) {
    expected.push_back(index);
  }
  EXPECT_EQ(calls, expected);
  // The freed entries are taken first, and the same context may stand twice.
  calls.clear();
  EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, handler, &contexts[5]), 1);
  EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, handler, &contexts[64]), 1);
  EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, handler, &contexts[64]), 0);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
  EXPECT_EQ(std::vector(calls.begin(), calls.begin() + 4), (std::vector{5, 1, 64, 3}));
}

TEST_F(FileDigitalHandlers, ResetTheLiveFiltersAmongTheContextsAtEverySync) {
  CountingFilter filter;
  // A context that is no filter, smaller than a filter head: the reset must not look into it.
  auto* notAFilter = static_cast<uint8_t*>(OmbrixHalMemoryAllocate(1));
  const OmbrixHalTunerPacketHandler ignore = [](void*, const uint8_t*, uint32_t, void*) {};
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, ignore, &filter.head), 1);
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, ignore, notAFilter), 1);
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, ignore, &filter.head), 1);
  ASSERT_EQ(play(tsStream(2)), 1);
  EXPECT_EQ(filter.resets, 2);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 3), 1);  // the rewind synchronises again
  EXPECT_EQ(filter.resets, 4);
  removeLiveFilter(&filter.head);
  OmbrixHalFilterReset(&filter.head);
  OmbrixHalFilterReset(nullptr);
  EXPECT_EQ(filter.resets, 4);
  OmbrixHalMemoryFree(notAFilter);
}

using FileDigitalPacedPlay = FileDigitalTunerTest;

TEST_F(FileDigitalPacedPlay, DeliversFromItsOwnThreadWhileReceiveGivesNothing) {
  const Bytes stream = tsStream(50);
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, Recorder::handle, &first), 1);
  ASSERT_EQ(play(stream, ", symbolrate=1880, repetitions=0"), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0);
  ASSERT_TRUE(waitFor([&] { return first.count() >= 120; }));
  {
    std::lock_guard guard(first.mutex);
    EXPECT_NE(first.thread, OmbrixHalThreadGetId());
    EXPECT_EQ(std::vector(first.packets.begin(), first.packets.begin() + 50), packetsOf(stream, 0));
  }
  // Back to pulling: the thread is held again, and the play starts over.
  ASSERT_EQ(play(stream, ", repetitions=0"), 1);
  const size_t paced = first.count();
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(first.count(), paced);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
  EXPECT_EQ(first.packets.back(), packetsOf(stream, 0).front());
  // Paced again, then closed while it plays (TearDown); a rate whose product wraps to 8 bytes
  // per second still plays, at the fastest pace.
  OmbrixHalTunerParameter record{};
  ASSERT_EQ(OmbrixHalTunerGetParameter(tuner, &record, nullptr), 1);
  record.DigitalFile.SymbolRate = 115964117;
  ASSERT_EQ(OmbrixHalTunerSetParameter(tuner, &record), 1);
  EXPECT_TRUE(waitFor([&] { return first.count() >= paced + 1000; }));
}

using FileDigitalArguments = FileDigitalTunerTest;

TEST_F(FileDigitalArguments, ExportsCalledDirectlyRefuseANullTuner) {
  OmbrixHalTunerParameter record{};
  const std::pair<std::string, int64_t> calls[] = {
      {"OmbrixHalTunerFileDigitalDestroy", OmbrixHalTunerFileDigitalDestroy(nullptr)},
      {"OmbrixHalTunerFileDigitalSetParameter", OmbrixHalTunerFileDigitalSetParameter(nullptr, &record)},
      {"OmbrixHalTunerFileDigitalGetParameter", OmbrixHalTunerFileDigitalGetParameter(nullptr, &record, nullptr)},
      {"OmbrixHalTunerFileDigitalGetType", OmbrixHalTunerFileDigitalGetType(nullptr)},
      {"OmbrixHalTunerFileDigitalGetStatus", OmbrixHalTunerFileDigitalGetStatus(nullptr)},
      {"OmbrixHalTunerFileDigitalReceive", OmbrixHalTunerFileDigitalReceive(nullptr)},
      {"OmbrixHalTunerFileDigitalRegisterPacketHandler",
       OmbrixHalTunerFileDigitalRegisterPacketHandler(nullptr, Recorder::handle, &first)},
      {"OmbrixHalTunerFileDigitalUnregisterPacketHandler",
       OmbrixHalTunerFileDigitalUnregisterPacketHandler(nullptr, &first, nullptr)},
      {"OmbrixHalTunerFileDigitalGetSignalStrength", OmbrixHalTunerFileDigitalGetSignalStrength(nullptr)},
      {"OmbrixHalTunerFileDigitalGetSignalQuality", OmbrixHalTunerFileDigitalGetSignalQuality(nullptr)},
  };
  std::vector<LogLine> expected;
  for (const auto& [function, result] : calls) {
    EXPECT_EQ(result, 0) << function;
    expected.push_back(error(function, "Illegal value 'NULL' for parameter 'This'", 0x1003));
  }
  EXPECT_EQ(log.lines(), expected);
  // Called directly, the kind checks what the tuner front checks for it.
  log.clear();
  record.Type = OMBRIX_HAL_TUNER_TYPE_DVB_T;
  EXPECT_EQ(OmbrixHalTunerFileDigitalSetParameter(tuner, &record), 0);
  EXPECT_EQ(OmbrixHalTunerFileDigitalSetParameter(tuner, nullptr), 0);
  EXPECT_EQ(
      log.lines(),
      (std::vector{error("OmbrixHalTunerFileDigitalSetParameter", "Tuner type and parameter type do not match", 0x1008),
                   error("OmbrixHalTunerFileDigitalSetParameter",
                         "Illegal value 'NULL' for parameter 'aTunerParameter'", 0x1003)}));
}

}  // namespace
}  // namespace ombrixhal::test
