// Tests of the PES filter on a fake TS parent: assembly of bounded and unbounded PES packets,
// the rules kept for oversized packets and short payloads, and the stage's life on its parent.
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalPesBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

class PesFilterTest : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    parent = createFakeParent();
    filter = OmbrixHalFilterTsToPesCreate(&parent->head);
    ASSERT_NE(filter, nullptr);
    ASSERT_TRUE(OmbrixHalFilterTsToPesSetFilterHandler(filter, Deliveries::record, &deliveries));
    const OmbrixHalFilterParameter parameter = parameterForPid(0x100);
    ASSERT_TRUE(OmbrixHalFilterTsToPesSetParameter(filter, &parameter));
    ASSERT_TRUE(OmbrixHalFilterTsToPesStart(filter));
  }
  void TearDown() override {
    OmbrixHalFilterTsToPesDestroy(filter);
    HalTest::TearDown();
  }
  void deliver(const std::vector<Bytes>& packets) {
    for (const Bytes& packet : packets) {
      parent->deliver(packet);
    }
  }
  // A unit start that ends whatever is being assembled.
  void deliverNextUnitStart() { deliver({tsPacketsOf(pesPacket(100, false)).front()}); }

  FakeParentFilter* parent = nullptr;
  OmbrixHalFilterHandle filter = nullptr;
  Deliveries deliveries;
};

using PesAssembly = PesFilterTest;

TEST_F(PesAssembly, BoundedPacketOverElevenTsPacketsIsDeliveredOnceAtItsEnd) {
  const Bytes pes = pesPacket(2006);
  const std::vector<Bytes> packets = tsPacketsOf(pes);
  ASSERT_EQ(packets.size(), 11u);
  deliver(packets);
  ASSERT_EQ(deliveries.data.size(), 1u);
  EXPECT_EQ(deliveries.data[0], pes);
  EXPECT_EQ(deliveries.from[0], filter);
  deliverNextUnitStart();
  EXPECT_EQ(deliveries.data.size(), 1u);
}

TEST_F(PesAssembly, UnboundedPacketIsDeliveredAtTheNextUnitStart) {
  const Bytes pes = pesPacket(500, false);
  deliver(tsPacketsOf(pes));
  EXPECT_TRUE(deliveries.data.empty());
  deliverNextUnitStart();
  ASSERT_EQ(deliveries.data.size(), 1u);
  EXPECT_EQ(deliveries.data[0], pes);
}

TEST_F(PesAssembly, PacketsBeforeTheFirstUnitStartAreIgnored) {
  const std::vector<Bytes> packets = tsPacketsOf(pesPacket(600));
  deliver({packets.begin() + 1, packets.end()});
  const Bytes pes = pesPacket(300);
  deliver(tsPacketsOf(pes));
  ASSERT_EQ(deliveries.data.size(), 1u);
  EXPECT_EQ(deliveries.data[0], pes);
}

TEST_F(PesAssembly, BoundedPacketEndingInsideAPayloadIsNeverDelivered) {
  Bytes pes = pesPacket(300);
  pes.resize(368, 0xff);  // two full payloads, the PES packet ending in the second
  deliver(tsPacketsOf(pes));
  deliverNextUnitStart();
  EXPECT_TRUE(deliveries.data.empty());
}

TEST_F(PesAssembly, UnboundedPacketBeyond64KiBIsCutAtTheLastPacketThatFitted) {
  const Bytes pes = pesPacket(70000, false);
  deliver(tsPacketsOf(pes));
  deliverNextUnitStart();
  ASSERT_EQ(deliveries.data.size(), 1u);
  // 356 whole payloads of 184 bytes fit in 65536; the 357th overflows.
  const size_t fitted = 356 * kTsPayloadSize;
  EXPECT_EQ(deliveries.data[0], Bytes(pes.begin(), pes.begin() + fitted));
}

TEST_F(PesAssembly, PayloadStartAbove183StopsAssemblyUntilTheNextUnitStart) {
  const Bytes cut = pesPacket(400, false);
  const std::vector<Bytes> cutPackets = tsPacketsOf(cut);
  deliver({cutPackets[0]});
  const Bytes shortStart = {0x00, 0x00, 0x01, 0xe0};
  deliver({tsPacketCarrying(shortStart.data(), 4, true), cutPackets[1], cutPackets[2]});
  const Bytes next = pesPacket(250);
  deliver(tsPacketsOf(next));
  ASSERT_EQ(deliveries.data.size(), 2u);
  EXPECT_EQ(deliveries.data[0], Bytes(cut.begin(), cut.begin() + kTsPayloadSize));
  EXPECT_EQ(deliveries.data[1], next);
}

TEST_F(PesAssembly, PayloadStartAt183TakesTheLengthByteBeyondThePacketAsZero) {
  // PES_packet_length 0x01?? whose low byte would be packet byte 188: read as 0x0100.
  const Bytes head = {0x00, 0x00, 0x01, 0xe0, 0x01};
  // On the heap and exactly 188 bytes long, so that the address sanitizer sees a stray read.
  const Bytes first = tsPacketCarrying(head.data(), 5, true);
  ASSERT_EQ(first.capacity(), kTsPacketSize);
  parent->deliver(first);
  const Bytes rest(256 + 6 - 5, 0x5a);
  deliver({tsPacketCarrying(rest.data(), kTsPayloadSize, false),
           tsPacketCarrying(rest.data() + kTsPayloadSize, 73, false)});
  ASSERT_EQ(deliveries.data.size(), 1u);
  EXPECT_EQ(deliveries.data[0].size(), 262u);
}

TEST_F(PesAssembly, ResetDropsThePartialPacket) {
  const std::vector<Bytes> packets = tsPacketsOf(pesPacket(600));
  deliver({packets[0], packets[1]});
  OmbrixHalFilterTsToPesReset(filter);
  deliver({packets.begin() + 2, packets.end()});
  EXPECT_TRUE(deliveries.data.empty());
}

class PesFilterLife : public HalTest {};

TEST_F(PesFilterLife, CreateNeedsATsParent) {
  EXPECT_EQ(OmbrixHalFilterTsToPesCreate(nullptr), nullptr);
  FakeParentFilter* pes = createFakeParent(OMBRIX_HAL_FILTER_TYPE_PES);
  EXPECT_EQ(OmbrixHalFilterTsToPesCreate(&pes->head), nullptr);
  delete pes;
}

TEST_F(PesFilterLife, StartNeedsParameterAndHandler) {
  FakeParentFilter* parent = createFakeParent();
  OmbrixHalFilterHandle filter = OmbrixHalFilterTsToPesCreate(&parent->head);
  const OmbrixHalFilterParameter parameter{};
  ASSERT_TRUE(OmbrixHalFilterTsToPesSetParameter(filter, &parameter));
  EXPECT_FALSE(OmbrixHalFilterTsToPesStart(filter));
  EXPECT_FALSE(OmbrixHalFilterTsToPesSetFilterHandler(filter, nullptr, nullptr));
  Deliveries deliveries;
  ASSERT_TRUE(OmbrixHalFilterTsToPesSetFilterHandler(filter, Deliveries::record, &deliveries));
  parent->refuseStart = true;
  EXPECT_FALSE(OmbrixHalFilterTsToPesStart(filter));
  EXPECT_FALSE(OmbrixHalFilterTsToPesIsEnabled(filter));
  parent->refuseStart = false;
  EXPECT_TRUE(OmbrixHalFilterTsToPesStart(filter));
  EXPECT_TRUE(OmbrixHalFilterTsToPesIsEnabled(filter));
  OmbrixHalFilterTsToPesDestroy(filter);
}

TEST_F(PesFilterLife, DestroyClosesTheParentOnlyOnceHooked) {
  const int destroyedBefore = FakeParentFilter::destroyed;
  FakeParentFilter* parent = createFakeParent();
  ASSERT_TRUE(OmbrixHalFilterTsToPesDestroy(OmbrixHalFilterTsToPesCreate(&parent->head)));
  EXPECT_EQ(FakeParentFilter::destroyed, destroyedBefore);
  OmbrixHalFilterHandle filter = OmbrixHalFilterTsToPesCreate(&parent->head);
  Deliveries deliveries;
  ASSERT_TRUE(OmbrixHalFilterTsToPesSetFilterHandler(filter, Deliveries::record, &deliveries));
  ASSERT_TRUE(OmbrixHalFilterClose(filter));
  EXPECT_EQ(FakeParentFilter::destroyed, destroyedBefore + 1);
}

TEST_F(PesFilterLife, EveryOperationToleratesNull) {
  OmbrixHalFilterParameter parameter{};
  EXPECT_EQ(OmbrixHalFilterTsToPesDestroy(nullptr), 0);
  EXPECT_EQ(OmbrixHalFilterTsToPesSetFilterHandler(nullptr, Deliveries::record, nullptr), 0);
  EXPECT_EQ(OmbrixHalFilterTsToPesSetParameter(nullptr, &parameter), 0);
  EXPECT_EQ(OmbrixHalFilterTsToPesGetParameter(nullptr, &parameter), 0);
  EXPECT_EQ(OmbrixHalFilterTsToPesStart(nullptr), 0);
  EXPECT_EQ(OmbrixHalFilterTsToPesStop(nullptr), 0);
  EXPECT_EQ(OmbrixHalFilterTsToPesIsEnabled(nullptr), 0);
  OmbrixHalFilterTsToPesReset(nullptr);
  const Bytes packet = tsPacketsOf(pesPacket(100)).front();
  OmbrixHalFilterTsToPesInputHandler(nullptr, packet.data(), kTsPacketSize, nullptr);
}

}  // namespace
}  // namespace ombrixhal::test
