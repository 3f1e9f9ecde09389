// Tests of the file analog tuner through the tuner front: fields told apart by line, paced play
// on a tick counter the test advances. What it shares with the file digital
// tuner is tested on both with the tuner front.
#include <chrono>
#include <thread>

#include "OmbrixHalFakeClock.h"
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

std::vector<Bytes> records(const std::vector<uint32_t>& lines) {
  std::vector<Bytes> records;
  for (uint32_t line : lines) {
    records.push_back(lineRecord(line));
  }
  return records;
}

// An "analogFile" tuner on the fake clock, whose first handler entry records.
class FileAnalogTunerTest : public FileTunerTest {
 protected:
  FileAnalogTunerTest() : FileTunerTest("analogFile") { FakeClock::setTicks(0); }
  void SetUp() override {
    FileTunerTest::SetUp();
    ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, PacketRecorder::handle, &recorder), 1);
  }
  // What came once `count` records came (in real time), and a little longer; `count` 0 just
  // waits the little longer, to see that nothing more comes.
  std::vector<Bytes> settle(size_t count = 0) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (recorder.seen().size() < count && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    return recorder.seen();
  }

  PacketRecorder recorder;
  ScopedPlatformInterface<OmbrixHalClockPlatformInterface> fakeClock_{seam::clockPlatformGetInterface,
                                                                      FakeClock::getInterface};
};

using FileAnalogPacedPlay = FileAnalogTunerTest;

TEST_F(FileAnalogPacedPlay, DeliversAFieldPerIntervalOnItsOwnThread) {
  // Lines below 263 are field 2, from 263 on field 1.
  ASSERT_EQ(tune(concat(records({10, 20, 512, 522, 15})), ", fieldInterval=20, repetitions=1"), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0);  // the thread owns delivery
  EXPECT_EQ(settle(2), records({10, 20}));
  EXPECT_NE(recorder.thread, OmbrixHalThreadGetId());
  FakeClock::advance(19);
  EXPECT_EQ(settle().size(), 2u);  // a millisecond of the field is left
  FakeClock::advance(1);
  EXPECT_EQ(settle(4), records({10, 20, 512, 522}));
  // The last field ends with the file, and the one play asked for is over. (The thread holds
  // the state lock while it waits out a field, so status calls wait for a tick that moves.)
  FakeClock::advance(20);
  EXPECT_EQ(settle(5), records({10, 20, 512, 522, 15}));
  for (int field = 0; field < 3; ++field) {
    FakeClock::advance(20);
    EXPECT_EQ(settle().size(), 5u);
  }
}

TEST_F(FileAnalogPacedPlay, AnIntervalOfASecondNeverEndsItsFieldYetTheTunerCloses) {
  // The wait is measured on the tick count modulo one second. Closed in TearDown mid-field.
  ASSERT_EQ(tune(concat(records({10, 512})), ", fieldInterval=1000, repetitions=0"), 1);
  EXPECT_EQ(settle(1), records({10}));
  FakeClock::advance(999);
  FakeClock::advance(5000);
  EXPECT_EQ(settle().size(), 1u);
}

TEST_F(FileAnalogPacedPlay, OnlyAGoodSetWithAnIntervalReleasesTheThread) {
  const std::string missing = "analogFile: name=//local/" + path + ".missing";
  EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, missing.c_str()), 0);
  EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_UNKNOWN);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 0);
  EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, (missing + ", fieldInterval=20").c_str()), 0);
  ASSERT_EQ(tune(lineRecord(10)), 1);
  EXPECT_TRUE(settle().empty()) << "nothing flows without Receive";
  ASSERT_EQ(tune(lineRecord(10), ", fieldInterval=20"), 1);
  EXPECT_EQ(settle(1), records({10}));
}

}  // namespace
}  // namespace ombrixhal::test
