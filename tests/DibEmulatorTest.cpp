// Tests of the receiver emulator on its own: the channel plan and what tuning writes back, the
// channel files and PIDs the driver thread delivers, its modes and pace, and the waits of buffer
// unregistration. Its synchronous delivery, recorded calls and programmed failures are what the
// DVB-T tuner's tests stand on, and are checked there.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <future>
#include <mutex>
#include <thread>
#include <tuple>

#include "DibEmulatorControl.h"
#include "OmbrixHalStreamBuilder.h"

namespace ombrixhal::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Notice {
  uint8_t index;
  const uint8_t* data;
  Bytes bytes;
  Clock::time_point at;
};

// The driver opened on a plan of the test's own, and the filter callback of the test: it notes
// each notice, holds it while `hold` is set, and lends the buffer again unless `keep` is set.
class DibEmulatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    directory = std::string("dibemu-") + ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::create_directories(directory);
    DibEmulatorReset();
    DibEmulatorSetDelivery(DIB_EMULATOR_MANUAL);
    DibEmulatorSetChannelPlan((directory + "/plan.txt").c_str());
    writePlan("");
    ASSERT_EQ(DibOpen(&driver, 7, 0), 0);
  }
  void TearDown() override {
    EXPECT_EQ(DibClose(driver), 0);
    DibEmulatorReset();
    std::filesystem::remove_all(directory);
  }
  void write(const std::string& name, const Bytes& bytes) { writeBytes(directory + "/" + name, bytes); }
  void writePlan(const std::string& text) { write("plan.txt", Bytes(text.begin(), text.end())); }
  // Tunes as the HAL does: every transmission parameter to be detected.
  DibChannelDescription tune(uint32_t frequency, uint32_t bandwidth) {
    DibChannelDescription description{};
    description.FrequencyKHz = frequency;
    description.Bandwidth = bandwidth;
    description.TransmissionMode = description.GuardInterval = description.Constellation = description.CodeRate = -1;
    EXPECT_EQ(DibGetChannel(driver, 0, 0, 0, &description, &channel, 0, 0), 0);
    return description;
  }
  // Tunes to `file` on a channel of its own, to be delivered in `mode`.
  void play(const Bytes& file, uint32_t mode) {
    write("channel.ts", file);
    writePlan("474000 8 channel.ts\n");
    ASSERT_EQ(tune(474000, 80).LockResult, 1);
    DibEmulatorSetDelivery(mode);
  }
  // A filter on the tuned channel for `pids`, lent `count` buffers of `size` bytes; or with
  // `readerBuffers`, a TS reader filter that lends its own.
  void receive(const std::vector<uint16_t>& pids, uint32_t count, uint32_t size, uint32_t readerBuffers = 0) {
    const DibFilterDescription description{2, this, callback, 0};
    if (readerBuffers != 0) {
      ASSERT_EQ(DibEmulatorOpenReader(driver, readerBuffers), 0);
    }
    ASSERT_EQ(readerBuffers != 0 ? DibEmulatorCreateReader(driver, channel, &description, &filter)
                                 : DibCreateFilter(driver, channel, 0, &description, &filter),
              0);
    for (uint16_t pid : pids) {
      DibPidItem item{pid, 0, {}};
      ASSERT_EQ(DibAddToFilter(driver, filter, 1, &item, &itemId), 0);
    }
    buffers.assign(count, Bytes(size));
    for (uint32_t index = 0; index < count; ++index) {
      ASSERT_EQ(DibRegisterBuffer(driver, filter, buffers[index].data(), size, uint8_t(index)), 0);
    }
  }
  // Takes the buffers back, which waits for their callbacks, and deletes the filter.
  void stopReceiving() {
    for (Bytes& buffer : buffers) {
      DibUnregisterBuffer(driver, filter, buffer.data());
    }
    ASSERT_EQ(DibDeleteFilter(driver, filter), 0);
    set(false, keep, true);
  }
  static void callback(void* aContext, const DibBufferInfo* aInfo, uint32_t aEvent) {
    auto& t = *static_cast<DibEmulatorTest*>(aContext);
    std::unique_lock lock(t.mutex);
    const Bytes bytes(aInfo->Data, aInfo->Data + std::max(aInfo->DataSize, 0));
    t.notices.push_back({aInfo->BufferIndex, aInfo->Data, bytes, Clock::now()});
    t.changed.wait(lock, [&] { return !t.hold; });
    if (!t.keep && aEvent == DIB_EMULATOR_EVENT_DATA) {
      const uint32_t size = uint32_t(t.buffers[aInfo->BufferIndex].size());
      DibRegisterBuffer(t.driver, t.filter, aInfo->Data, size, aInfo->BufferIndex);
    }
  }
  // The notices once there are `count` of them, or after `timeout`. Polled: a wake-up per notice
  // would slow the driver thread down on a loaded machine.
  std::vector<Notice> waitFor(size_t count, std::chrono::milliseconds timeout = 5s) {
    for (const auto end = Clock::now() + timeout;; std::this_thread::sleep_for(5ms)) {
      std::lock_guard lock(mutex);
      if (notices.size() >= count || Clock::now() >= end) {
        return notices;
      }
    }
  }
  // Sets what the callback does from its next notice on; forgets the notices so far if told.
  void set(bool aHold, bool aKeep, bool aForget = false) {
    std::lock_guard lock(mutex);
    hold = aHold;
    keep = aKeep;
    notices.resize(aForget ? 0 : notices.size());
    changed.notify_all();
  }

  std::string directory;
  DibDriverHandle driver = nullptr;
  uint8_t channel = 0xEE;
  uint8_t filter = 0xEE;
  uint8_t itemId = 0xEE;
  std::vector<Bytes> buffers;
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Notice> notices;
  bool hold = false;
  bool keep = false;
};

TEST_F(DibEmulatorTest, ChannelPlanLocksItsChannelsWithTheirParametersAndSignal) {
  write("a.ts", tsPacketOf(0x100, 1));
  writePlan(
      "# channels\n474000 8 a.ts mode=2 guard=3 constellation=1 coderate=7 gain=30000,20000 power=1000,100000 "
      "value=250000001 status=513 quality=55\n482000 7 missing.ts\n\n490000 8\n498000 8 a.ts guard=x\n"
      "514000 6 ./a.ts mode=-5 # out of the list\n");
  // Tuned to frequency and bandwidth: the lock, mode, guard, constellation and code rate written
  // back, then the gains, noise and signal power, value, status and quality reported.
  using Row = std::tuple<uint32_t, uint32_t, std::vector<int64_t>>;
  const std::vector<int64_t> unlocked{0, -1, -1, -1, -1, 65535, 65535, 0, 0, 0, 0, 0};
  const Row rows[] = {
      {474000, 80, {1, 2, 3, 1, 7, 30000, 20000, 1000, 100000, 250000001, 513, 55}},
      {474000, 70, unlocked},  // another bandwidth
      {482000, 70, unlocked},  // its file is missing
      {490000, 80, unlocked},  // a malformed line
      {514000, 60, {1, -5, 2, 2, 2, 20000, 20000, 1000000, 100000000, 0, 0, 100}},
  };
  ::testing::internal::CaptureStderr();
  for (const auto& [frequency, bandwidth, expected] : rows) {
    SCOPED_TRACE(frequency);
    const DibChannelDescription tuned = tune(frequency, bandwidth);
    DibSignalMonitoring entries[3] = {};
    uint32_t count = 3;
    ASSERT_EQ(DibGetSignalMonitoring(driver, channel, &count, entries, 0, 0), 0);
    EXPECT_EQ(
        std::vector<int64_t>({tuned.LockResult, tuned.TransmissionMode, tuned.GuardInterval, tuned.Constellation,
                              tuned.CodeRate, entries[0].Gain, entries[1].Gain, entries[0].NoisePower,
                              entries[0].SignalPower, entries[0].DriverValue, entries[0].Status, entries[0].Quality}),
        expected);
    EXPECT_EQ(std::make_pair(count, entries[2].Gain), std::make_pair(2u, 0u));  // two chips
    EXPECT_EQ(DibDeleteChannel(driver, channel), 0);
  }
  DibEmulatorSetChannelPlan("no-plan.txt");
  EXPECT_EQ(tune(474000, 80).LockResult, 0);
  const std::string plan = "DibDriverLibrary emulator: " + directory + "/plan.txt:";
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            plan + "5: expected FREQUENCY_KHZ BANDWIDTH_MHZ FILE; line ignored\n" + plan +
                "6: bad value in 'guard=x'; line ignored\n" +
                "DibDriverLibrary emulator: cannot read the channel plan 'no-plan.txt'\n");
}

TEST_F(DibEmulatorTest, DriverThreadDeliversWholePacketsOfTheFiltersPids) {
  const Bytes a = tsPacketOf(0x100, 1), b = tsPacketOf(0x200, 2), c = tsPacketOf(0x300, 3);
  using Row = std::tuple<const char*, Bytes, std::vector<Bytes>>;  // the file, the first packets delivered
  const Row rows[] = {
      {"PIDs in file order, looping", concat({a, b, c, a}), {a, c, a, a, c, a}},
      {"junk before, a partial packet after",
       concat({{0x00, 0x47, 0x00, 0x00, 0x00}, a, c, Bytes(a.begin(), a.begin() + 100)}),
       {a, c, a, c, a, c}},
      {"empty", {}, {}},
      {"not a transport stream", Bytes(2000, 0x11), {}},
  };
  for (const auto& [name, file, expected] : rows) {
    SCOPED_TRACE(name);
    play(file, DIB_EMULATOR_UNPACED);
    receive({0x100, 0x300}, 2, 4 * kTsPacketSize);
    std::vector<Bytes> packets;
    for (const Notice& notice : waitFor(expected.empty() ? 1 : 2, expected.empty() ? 300ms : 5s)) {
      for (size_t at = 0; at < notice.bytes.size(); at += kTsPacketSize) {
        packets.emplace_back(notice.bytes.begin() + at, notice.bytes.begin() + at + kTsPacketSize);
      }
    }
    EXPECT_EQ(packets.empty(), expected.empty());
    packets.resize(std::min(packets.size(), expected.size()));
    EXPECT_EQ(packets, expected);
    stopReceiving();
  }
}

TEST_F(DibEmulatorTest, PacedDeliveryHoldsThePcrRateAcrossTheLoopAndFlushesSparsePids) {
  // 1000 packets, a PCR every 100 of them 0.1 s apart: 1000 packets a second, a loop a second.
  std::vector<Bytes> packets;
  for (uint32_t index = 0; index < 1000; ++index) {
    packets.push_back(index % 100 == 0 ? pcrPacket(index / 100 * 4500) : tsPacketOf(index == 50 ? 0 : 0x100, 7));
  }
  play(concat(packets), DIB_EMULATOR_PACED);
  receive({0, 0x100}, 4, kTsPacketSize);
  const std::vector<Notice> notices = waitFor(2100);
  ASSERT_GE(notices.size(), 2100u);
  // Each notice's lead over a packet a millisecond: the least of a hundred is on time whatever
  // the scheduler delayed, so it drifts only with the pace.
  const auto lead = [&](size_t from) {
    double least = 1;
    for (size_t at = from; at < from + 100; ++at) {
      least = std::min(least, std::chrono::duration<double>(notices[at].at - notices[0].at).count() - 0.001 * at);
    }
    return least;
  };
  EXPECT_NEAR(lead(2000) - lead(0), 0, 0.02);  // 1 % of 2 s
  // The PAT alone in a buffer of ten packets, handed over 100 ms after it came.
  stopReceiving();
  receive({0}, 1, 10 * kTsPacketSize);
  const std::vector<Notice> pat = waitFor(1);
  ASSERT_EQ(pat.size(), 1u);
  EXPECT_EQ(pat[0].bytes, tsPacketOf(0, 7));
}

TEST_F(DibEmulatorTest, UnpacedDeliveryOutrunsThePaceIntoLentBuffersOnly) {
  // The reader lends its two buffers to itself again: 40 of them (10240 packets) take 7.7 s at
  // the fallback 2 Mbit/s.
  play(tsPacketOf(0x100, 1), DIB_EMULATOR_UNPACED);
  set(false, true);
  receive({0x100}, 0, 0, 2);
  std::vector<Notice> notices = waitFor(40, 2s);
  ASSERT_GE(notices.size(), 40u);
  for (size_t at = 0; at < 40; ++at) {
    EXPECT_EQ(std::make_tuple(notices[at].index, notices[at].data, notices[at].bytes.size()),
              std::make_tuple(uint8_t(at % 2), notices[at % 2].data, size_t{DIB_BUFFER_SIZE}));
  }
  EXPECT_NE(notices[0].data, notices[1].data);
  ASSERT_EQ(DibEmulatorCloseReader(driver), 0);  // after the reader's callbacks
  // A buffer filter's buffers are filled again only when lent again.
  set(false, true, true);
  receive({0x100}, 2, DIB_BUFFER_SIZE);
  EXPECT_EQ(waitFor(3, 300ms).size(), 2u);
  ASSERT_EQ(DibRegisterBuffer(driver, filter, buffers[1].data(), DIB_BUFFER_SIZE, 1), 0);
  notices = waitFor(4, 300ms);
  ASSERT_EQ(notices.size(), 3u);
  EXPECT_EQ(notices.back().index, 1);
}

TEST_F(DibEmulatorTest, UnregisterWaitsForTheBuffersCallbackButDeleteFilterDoesNot) {
  tune(474000, 80);
  receive({}, 2, kTsPacketSize);
  set(true, true);
  std::thread delivery([&] { DibEmulatorDeliver(filter, 0, 0, tsPacket(1).data(), 188); });
  waitFor(1);
  auto unregister = std::async(std::launch::async, DibUnregisterBuffer, driver, filter, buffers[0].data());
  EXPECT_EQ(unregister.wait_for(100ms), std::future_status::timeout);
  EXPECT_EQ(DibUnregisterBuffer(driver, filter, buffers[1].data()), 0);  // not in a callback
  auto deletion = std::async(std::launch::async, DibDeleteFilter, driver, filter);
  EXPECT_EQ(deletion.wait_for(2s), std::future_status::ready);
  set(false, true);
  delivery.join();
  EXPECT_EQ(unregister.wait_for(2s), std::future_status::ready);
}

}  // namespace
}  // namespace ombrixhal::test
