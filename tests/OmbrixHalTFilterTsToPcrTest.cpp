// Tests of the PCR filter on a "digitalFile" tuner and the fake clock: the reported records, the
// extrapolated PCR that GetParameter gives, and polling while another thread delivers.
#include <atomic>
#include <cstring>

#include "OmbrixHalFakeClock.h"
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

// The 8-byte record of one PCR, in the host's byte order.
Bytes record(uint32_t value, uint32_t packetsSincePcr) {
  const uint32_t words[] = {value, packetsSincePcr};
  Bytes bytes(sizeof words);
  std::memcpy(bytes.data(), words, sizeof words);
  return bytes;
}

const Bytes kOther = tsPacketOf(0x100, 0x00);

class PcrReporting : public FileTunerTest {
 protected:
  // The value set must not come back as the PCR.
  void start(OmbrixHalFilterHandler handler = Deliveries::record) {
    OmbrixHalFilterParameter parameter{};
    parameter.value = 0xdeadbeef;
    filter = openStarted(OMBRIX_HAL_FILTER_TYPE_PCR, 0x100, handler, &deliveries, parameter);
  }
  void TearDown() override {
    EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
    FileTunerTest::TearDown();
  }
  uint32_t currentPcr() {
    OmbrixHalFilterParameter parameter{};
    EXPECT_EQ(OmbrixHalFilterGetParameter(filter, &parameter), 1);
    return parameter.value;
  }

  ScopedPlatformInterface<OmbrixHalClockPlatformInterface> clock{seam::clockPlatformGetInterface,
                                                                 FakeClock::getInterface};
  OmbrixHalFilterHandle filter = nullptr;
  Deliveries deliveries;
};

TEST_F(PcrReporting, CurrentPcrAdvances45UnitsAMillisecondAndIsZeroBeforeTheFirstAndAfterAResetOrRestart) {
  start();
  FakeClock::setTicks(5000);
  EXPECT_EQ(currentPcr(), 0u);
  play(concat({pcrPacket(0x00000100), kOther}));
  FakeClock::advance(100);
  EXPECT_EQ(currentPcr(), 256u + 4500u);
  OmbrixHalFilterReset(filter);
  EXPECT_EQ(currentPcr(), 0u);
  play(concat({pcrPacket(1000), kOther}));
  ASSERT_EQ(sumInOrder({OmbrixHalFilterStop(filter), OmbrixHalFilterStart(filter)}), 2);
  EXPECT_EQ(currentPcr(), 0u);
}

// The third PCR counts from the second: the count starts again at every PCR. A packet without
// an adaptation field never gives one, whatever its byte 5.
TEST_F(PcrReporting, EachPcrCountsThePacketsSinceThePreviousIncludingItself) {
  start();
  Bytes payloadOnly = pcrPacket(500);
  payloadOnly[3] = 0x10;
  play(concat({payloadOnly, pcrPacket(1000), kOther, payloadOnly, kOther, pcrPacket(2000), kOther, pcrPacket(3000)}));
  EXPECT_EQ(deliveries.data(), (std::vector{record(1000, 0), record(2000, 4), record(3000, 2)}));
  EXPECT_EQ(deliveries.from(), (std::vector{filter, filter, filter}));
}

// Without a handler, for polling only.
TEST_F(PcrReporting, PollingWhileAnotherThreadDelivers) {
  // The ticks stand at 0: a new value read with its predecessor's tick cannot pass the last PCR.
  FakeClock::setTicks(0);
  start(nullptr);
  std::vector<Bytes> packets;
  for (uint32_t pcr = 1; pcr <= 2000; ++pcr) {
    packets.push_back(pcrPacket(pcr));
  }
  load(concat(packets));
  std::atomic<bool> delivered{false};
  runOnThreads(2, [&](int index) {
    if (index == 0) {
      EXPECT_EQ(OmbrixHalTunerReceive(tuner, 2000), 1);
      delivered = true;
      return;
    }
    while (!delivered) {
      OmbrixHalFilterParameter parameter{};
      OmbrixHalFilterTsToPcrGetParameter(filter, &parameter);
      EXPECT_LE(parameter.value, 2000u);
    }
  });
  EXPECT_EQ(currentPcr(), 2000u);
}

}  // namespace
}  // namespace ombrixhal::test
