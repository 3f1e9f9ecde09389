// Tests of the file analog tuner through the tuner front: fields told apart by line, paced
// play on a tick counter the test advances, pulled play, repetitions and the handler table.
#include <chrono>
#include <filesystem>
#include <mutex>
#include <thread>

#include "OmbrixHalFakeClock.h"
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalStreamBuilder.h"

namespace ombrixhal::test {
namespace {

namespace fs = std::filesystem;

const std::string kScratch = "tuner-file-analog-scratch";

// A 64-byte record of `line` as the tuner reads it: byte 0 + ((byte 1 & 0x06) << 8).
Bytes lineRecord(uint32_t line) {
  Bytes record(64, static_cast<uint8_t>(line * 3));
  record[0] = static_cast<uint8_t>(line & 0xff);
  record[1] = static_cast<uint8_t>((line >> 8 & 0x06) | 0xf0);  // the other bits are not the line's
  return record;
}

Bytes recordsOf(const std::vector<uint32_t>& lines, size_t trailingBytes = 0) {
  std::vector<Bytes> records;
  for (uint32_t line : lines) {
    records.push_back(lineRecord(line));
  }
  records.push_back(Bytes(trailingBytes, 0x55));
  return concat(records);
}

// The lines of the records a handler was given, and on which thread.
struct LineRecorder {
  static void handle(void* aSource, const uint8_t* aRecord, uint32_t aLength, void* aContext) {
    auto& recorder = *static_cast<LineRecorder*>(aContext);
    std::lock_guard guard(recorder.mutex);
    EXPECT_EQ(aSource, nullptr);
    EXPECT_EQ(aLength, 64u);
    recorder.lines.push_back(aRecord[0] + ((aRecord[1] & 0x06u) << 8));
    recorder.thread = OmbrixHalThreadGetId();
  }
  std::vector<uint32_t> seen() {
    std::lock_guard guard(mutex);
    return lines;
  }

  std::mutex mutex;
  std::vector<uint32_t> lines;
  uint32_t thread = 0;
};

class FileAnalogTunerTest : public FakeClockTest {
 protected:
  void SetUp() override {
    FakeClockTest::SetUp();
    fs::remove_all(kScratch);
    fs::create_directories(kScratch);
    tuner = OmbrixHalTunerOpen("analogFile");
    ASSERT_NE(tuner, nullptr);
    ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, LineRecorder::handle, &recorder), 1);
    log.clear();
  }
  void TearDown() override {
    OmbrixHalTunerClose(tuner);
    fs::remove_all(kScratch);
    FakeClockTest::TearDown();
  }
  OmbrixHalBool play(const Bytes& contents, const std::string& options) {
    writeBytes(kScratch + "/lines.rec", contents);
    return OmbrixHalTunerSetParameterByString(tuner,
                                              ("analogFile: name=//local/" + kScratch + "/lines.rec" + options).c_str());
  }
  // What came once `count` lines came (in real time), and a little longer; `count` 0 just
  // waits the little longer, to see that nothing more comes.
  std::vector<uint32_t> settle(size_t count = 0) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (recorder.seen().size() < count && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    return recorder.seen();
  }

  OmbrixHalTunerHandle tuner = nullptr;
  LineRecorder recorder;
};

using FileAnalogPacedPlay = FileAnalogTunerTest;

TEST_F(FileAnalogPacedPlay, DeliversAFieldPerIntervalOnItsOwnThread) {
  ASSERT_EQ(play(recordsOf({10, 20, 512, 522, 15}), ", fieldInterval=20, repetitions=1"), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0);  // the thread owns delivery
  EXPECT_EQ(settle(2), (std::vector<uint32_t>{10, 20}));
  EXPECT_NE(recorder.thread, OmbrixHalThreadGetId());
  FakeClock::advance(19);
  EXPECT_EQ(settle().size(), 2u);  // a millisecond of the field is left
  FakeClock::advance(1);
  EXPECT_EQ(settle(4), (std::vector<uint32_t>{10, 20, 512, 522}));
  // The last field ends with the file, and the one play asked for is over. (The thread holds
  // the state lock while it waits out a field, so status calls wait for a tick that moves.)
  FakeClock::advance(20);
  EXPECT_EQ(settle(5), (std::vector<uint32_t>{10, 20, 512, 522, 15}));
  for (int field = 0; field < 3; ++field) {
    FakeClock::advance(20);
    EXPECT_EQ(settle().size(), 5u);
  }
}

TEST_F(FileAnalogPacedPlay, AnIntervalOfASecondNeverEndsItsFieldYetTheTunerCloses) {
  // The wait is measured on the tick count modulo one second. Closed in TearDown mid-field.
  ASSERT_EQ(play(recordsOf({10, 512}), ", fieldInterval=1000, repetitions=0"), 1);
  EXPECT_EQ(settle(1), (std::vector<uint32_t>{10}));
  FakeClock::advance(999);
  FakeClock::advance(5000);
  EXPECT_EQ(settle().size(), 1u);
}

using FileAnalogPulledPlay = FileAnalogTunerTest;

TEST_F(FileAnalogPulledPlay, GivesARecordPerReceiveAcrossFieldsAndLosesThePartialRecordAtEveryPass) {
  ASSERT_EQ(play(recordsOf({10, 512, 15}, 40), ", repetitions=2"), 1);
  EXPECT_TRUE(settle().empty());  // nothing flows without Receive
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 6), 1);
  EXPECT_EQ(recorder.seen(), (std::vector<uint32_t>{10, 512, 15, 10, 512, 15}));
  EXPECT_EQ(recorder.thread, OmbrixHalThreadGetId());
  EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_LOCKED);
  log.clear();
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0);
  EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED);
  EXPECT_EQ(recorder.seen().size(), 6u);
  // A file tuner reports no signal: the slots are empty.
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 0u);
  EXPECT_EQ(log.countContaining("Function not supported: 'OmbrixHalTunerGetSignalStrength'"), 1u);
}

TEST_F(FileAnalogPulledPlay, ResetsTheLiveFiltersAmongTheContextsAtSetAndAtEveryRewind) {
  CountingFilter filter;
  const OmbrixHalTunerPacketHandler ignore = [](void*, const uint8_t*, uint32_t, void*) {};
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, ignore, &filter.head), 1);
  ASSERT_EQ(play(recordsOf({10}), ", repetitions=0"), 1);
  EXPECT_EQ(filter.resets, 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 3), 1);
  EXPECT_EQ(filter.resets, 3);
}

TEST_F(FileAnalogPulledPlay, AMissingFileFailsAndNothingPlays) {
  EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, ("analogFile: name=//local/" + kScratch + "/none.rec").c_str()),
            0);
  EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_UNKNOWN);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0);
  // A paced record that fails keeps the thread held; a good one after it plays.
  EXPECT_EQ(OmbrixHalTunerSetParameterByString(
                tuner, ("analogFile: name=//local/" + kScratch + "/none.rec, fieldInterval=20").c_str()),
            0);
  ASSERT_EQ(play(recordsOf({10}), ", fieldInterval=20"), 1);
  EXPECT_EQ(settle(1), (std::vector<uint32_t>{10}));
}

using FileAnalogHandlers = FileAnalogTunerTest;

TEST_F(FileAnalogHandlers, HoldTenAndAHandlerMayUnregisterItselfDuringDelivery) {
  static OmbrixHalTunerHandle current;
  current = tuner;
  int contexts[10];
  std::vector<int> calls;
  static std::vector<int>* callLog;
  callLog = &calls;
  const OmbrixHalTunerPacketHandler leaveAfterOne = [](void*, const uint8_t*, uint32_t, void* c) {
    callLog->push_back(1);
    EXPECT_EQ(OmbrixHalTunerUnregisterPacketHandler(current, c, nullptr), 1);
  };
  for (int index = 0; index < 9; ++index) {  // the recorder holds the first entry
    ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, leaveAfterOne, &contexts[index]), 1);
  }
  EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, leaveAfterOne, &calls), 0);
  ASSERT_EQ(play(recordsOf({10, 20}), ", repetitions=1"), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 2), 1);
  EXPECT_EQ(calls.size(), 9u);
  EXPECT_EQ(recorder.seen(), (std::vector<uint32_t>{10, 20}));
  EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, leaveAfterOne, &calls), 1);
}

}  // namespace
}  // namespace ombrixhal::test
