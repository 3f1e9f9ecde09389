// Tests of the PES filter on a "digitalFile" tuner: assembly of bounded and unbounded PES
// packets, and the rules kept for oversized packets and short payloads.
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

using PesAssembly = FileTunerTest;

// An unbounded PES packet is delivered only when the next unit start comes: the cases that
// need one end with `nextStart`, whose own PES packet never ends.
TEST_F(PesAssembly, DeliversBoundedPacketsAtTheirEndAndUnboundedOnesAtTheNextUnitStart) {
  const Bytes nextStart = tsPacketsOf(pesPacket(100, false)).front();
  const auto join = [](std::vector<Bytes> packets, const std::vector<Bytes>& more) {
    packets.insert(packets.end(), more.begin(), more.end());
    return packets;
  };
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
  const struct {
    const char* name;
    std::vector<Bytes> packets;
    std::vector<Bytes> delivered;
  } cases[] = {
      {"bounded", tsPacketsOf(bounded), {bounded}},
      {"bounded, filling the 64 KiB exactly", tsPacketsOf(full), {full}},
      {"unbounded", join(tsPacketsOf(unbounded), {nextStart}), {unbounded}},
      {"before the first unit start", join({late.begin() + 1, late.end()}, nextPackets), {next}},
      {"bounded, ending inside a payload", tsPacketsOf(endsInside), {}},
      // 356 whole payloads of 184 bytes fit in 65536; the 357th overflows.
      {"unbounded beyond 64 KiB", join(tsPacketsOf(huge), {nextStart}),
       {Bytes(huge.begin(), huge.begin() + 356 * kTsPayloadSize)}},
      // A payload that starts above byte 183 stops the assembly until the next unit start.
      {"payload start above 183",
       {cutPackets[0], tsPacketWith({0x00, 0x00, 0x01, 0xe0}, true, 179), cutPackets[1], cutPackets[2], nextPackets[0],
        nextPackets[1]},
       {Bytes(cut.begin(), cut.begin() + kTsPayloadSize), next}},
      // Kept: a payload starting at byte 183 passes, and the low byte of PES_packet_length,
      // which would be byte 188, is taken as 0 (the next packet's sync byte is not).
      {"payload start at 183",
       {tsPacketWith({0x00, 0x00, 0x01, 0xe0, 0x01}, true, 178), tsPacketWith(Bytes(kTsPayloadSize, 0x5a), false),
        tsPacketWith(Bytes(73, 0x5a), false, 110)},
       {concat({{0x00, 0x00, 0x01, 0xe0, 0x01}, Bytes(257, 0x5a)})}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(delivered(OMBRIX_HAL_FILTER_TYPE_PES, c.packets), c.delivered);
  }
}

}  // namespace
}  // namespace ombrixhal::test
