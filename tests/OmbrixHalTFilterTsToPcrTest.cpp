// Tests of the PCR filter on a fake TS parent and the fake clock: the reported records, the
// extrapolated PCR that GetParameter gives, and polling while another thread delivers.
#include <atomic>
#include <cstring>

#include "OmbrixHalFakeClock.h"
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalStreamBuilder.h"

namespace ombrixhal::test {
namespace {

struct Record {
  uint32_t value;
  uint32_t packetsSincePcr;
  bool operator==(const Record&) const = default;
};

class PcrReporting : public StageTest<FakeClockTest> {
 protected:
  // The value set must not come back as the PCR.
  void start(OmbrixHalFilterHandler handler) {
    OmbrixHalFilterParameter parameter = pidParameter(0x100);
    parameter.value = 0xdeadbeef;
    makeStage(OmbrixHalFilterTsToPcrCreate, OMBRIX_HAL_FILTER_TYPE_TS, parameter, handler);
  }
  uint32_t currentPcr() {
    OmbrixHalFilterParameter parameter{};
    EXPECT_TRUE(OmbrixHalFilterTsToPcrGetParameter(filter, &parameter));
    EXPECT_EQ(parameter.pid, 0x100u);
    return parameter.value;
  }
  std::vector<Record> records() const {
    std::vector<Record> records;
    for (const Bytes& data : deliveries.data()) {
      EXPECT_EQ(data.size(), sizeof(Record));
      Record record{};
      std::memcpy(&record, data.data(), sizeof record);
      records.push_back(record);
    }
    return records;
  }
};

TEST_F(PcrReporting, CurrentPcrAdvances45UnitsAMillisecond) {
  start(Deliveries::record);
  FakeClock::setTicks(5000);
  parent->deliver(pcrPacket(0x00000100));
  FakeClock::advance(100);
  EXPECT_EQ(currentPcr(), 256u + 4500u);
}

TEST_F(PcrReporting, EachPcrCountsThePacketsSinceThePreviousIncludingItself) {
  start(Deliveries::record);
  parent->deliver(pcrPacket(1000));
  deliver({tsPacket(0), tsPacket(1), tsPacket(2), pcrPacket(2000), tsPacket(3), pcrPacket(3000)});
  EXPECT_EQ(records(), (std::vector<Record>{{1000, 0}, {2000, 4}, {3000, 2}}));
  EXPECT_EQ(deliveries.from(), (std::vector{filter, filter, filter}));
}

TEST_F(PcrReporting, PacketsWithoutAPcrInTheirAdaptationFieldNeverGiveOne) {
  start(Deliveries::record);
  Bytes payloadOnly = pcrPacket(1000);
  payloadOnly[3] = 0x10;  // adaptation_field_control 1: byte 5 is payload
  parent->deliver(payloadOnly);
  parent->deliver(tsPacket(1));
  EXPECT_TRUE(deliveries.calls.empty());
  EXPECT_EQ(currentPcr(), 0u);
}

TEST_F(PcrReporting, ResetAndRestartForgetThePcr) {
  start(Deliveries::record);
  parent->deliver(pcrPacket(1000));
  OmbrixHalFilterTsToPcrReset(filter);
  EXPECT_EQ(currentPcr(), 0u);
  parent->deliver(pcrPacket(1000));
  ASSERT_TRUE(OmbrixHalFilterTsToPcrStop(filter));
  ASSERT_TRUE(OmbrixHalFilterTsToPcrStart(filter));
  EXPECT_EQ(currentPcr(), 0u);
}

// Without a handler, for polling only.
TEST_F(PcrReporting, PollingWhileAnotherThreadDelivers) {
  start(nullptr);
  std::atomic<bool> delivered{false};
  runOnThreads(2, [&](int index) {
    if (index == 0) {
      for (uint32_t pcr = 1; pcr <= 2000; ++pcr) {
        parent->deliver(pcrPacket(pcr));
      }
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
