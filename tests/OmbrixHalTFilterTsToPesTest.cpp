// Tests of the PES filter on a fake TS parent: assembly of bounded and unbounded PES packets, and
// the rules kept for oversized packets and short payloads.
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

class PesAssembly : public StageTest<HalTest> {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    makeStage(OmbrixHalFilterTsToPesCreate, OMBRIX_HAL_FILTER_TYPE_TS);
  }
};

TEST_F(PesAssembly, DeliversBoundedPacketsAtTheirEndAndUnboundedOnesAtTheNextUnitStart) {
  const Bytes bounded = pesPacket(2006);  // over eleven TS packets
  const Bytes unbounded = pesPacket(500, false);
  const Bytes huge = pesPacket(70000, false);
  const Bytes full = pesPacket(65536);
  const std::vector<Bytes> late = tsPacketsOf(pesPacket(600));
  Bytes endsInside = pesPacket(300);
  endsInside.resize(368, 0xff);  // two full payloads, the PES packet ending in the second
  const Bytes cut = pesPacket(400, false);
  const std::vector<Bytes> cutPackets = tsPacketsOf(cut);
  const Bytes next = pesPacket(250);
  const std::vector<Bytes> nextPackets = tsPacketsOf(next);
  std::vector<Bytes> lateThenNext(late.begin() + 1, late.end());
  lateThenNext.insert(lateThenNext.end(), nextPackets.begin(), nextPackets.end());
  const struct {
    const char* name;
    std::vector<Bytes> packets;
    std::vector<Bytes> delivered;  // by the time the next unit start has come
    size_t deliveredBeforeIt;
  } cases[] = {
      {"bounded", tsPacketsOf(bounded), {bounded}, 1},
      {"bounded, filling the 64 KiB exactly", tsPacketsOf(full), {full}, 1},
      {"unbounded", tsPacketsOf(unbounded), {unbounded}, 0},
      {"before the first unit start", lateThenNext,
       {next}, 1},
      {"bounded, ending inside a payload", tsPacketsOf(endsInside), {}, 0},
      // 356 whole payloads of 184 bytes fit in 65536; the 357th overflows.
      {"unbounded beyond 64 KiB", tsPacketsOf(huge), {Bytes(huge.begin(), huge.begin() + 356 * kTsPayloadSize)}, 0},
      // A payload that starts above byte 183 stops the assembly until the next unit start.
      {"payload start above 183",
       {cutPackets[0], tsPacketWith({0x00, 0x00, 0x01, 0xe0}, true, 179), cutPackets[1], cutPackets[2],
        nextPackets[0], nextPackets[1]},
       {Bytes(cut.begin(), cut.begin() + kTsPayloadSize), next}, 2},
  };
  const Bytes nextUnitStart = tsPacketsOf(pesPacket(100, false)).front();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    OmbrixHalFilterTsToPesReset(filter);
    deliveries.calls.clear();
    deliver(c.packets);
    EXPECT_EQ(deliveries.calls.size(), c.deliveredBeforeIt);
    parent->deliver(nextUnitStart);
    EXPECT_EQ(deliveries.data(), c.delivered);
    EXPECT_EQ(deliveries.from(), std::vector(c.delivered.size(), filter));
  }
}

TEST_F(PesAssembly, PayloadStartAt183TakesTheLengthByteBeyondThePacketAsZero) {
  // PES_packet_length 0x01?? whose low byte would be packet byte 188: read as 0x0100.
  const Bytes first = tsPacketWith({0x00, 0x00, 0x01, 0xe0, 0x01}, true, 178);
  // On the heap and exactly 188 bytes long, so that the address sanitizer sees a stray read.
  ASSERT_EQ(first.capacity(), kTsPacketSize);
  parent->deliver(first);
  deliver({tsPacketWith(Bytes(kTsPayloadSize, 0x5a), false), tsPacketWith(Bytes(73, 0x5a), false, 110)});
  ASSERT_EQ(deliveries.calls.size(), 1u);
  EXPECT_EQ(deliveries.calls[0].second.size(), 262u);
}

TEST_F(PesAssembly, ResetDropsThePartialPacket) {
  const std::vector<Bytes> packets = tsPacketsOf(pesPacket(600));
  deliver({packets[0], packets[1]});
  OmbrixHalFilterTsToPesReset(filter);
  deliver({packets.begin() + 2, packets.end()});
  EXPECT_TRUE(deliveries.calls.empty());
}

}  // namespace
}  // namespace ombrixhal::test
