// Reading a channel's file: the first packet, the PCR rate, and packets in a loop.
#include "DibEmulatorStream.h"

#include <vector>

namespace dibemulator {
namespace {

constexpr uint8_t kSyncByte = 0x47;
constexpr uint32_t kScanPackets = 4096;
constexpr uint32_t kNoPid = 0xFFFFFFFF;
// A file without PCRs plays at 2 Mbit/s.
constexpr double kFallbackBytesPerSecond = 2000000.0 / 8;
constexpr double kPcrHz = 27000000.0;
constexpr uint64_t kPcrWrap = (uint64_t{1} << 33) * 300;

uint32_t pidOf(const uint8_t* aPacket) { return uint32_t(aPacket[1] & 0x1f) << 8 | aPacket[2]; }

bool carriesPcr(const uint8_t* aPacket) {
  return aPacket[0] == kSyncByte && (aPacket[3] & 0x20) != 0 && aPacket[4] >= 7 && (aPacket[5] & 0x10) != 0;
}

uint64_t pcrOf(const uint8_t* aPacket) {
  const uint64_t base = uint64_t{aPacket[6]} << 25 | uint64_t{aPacket[7]} << 17 | uint64_t{aPacket[8]} << 9 |
                        uint64_t{aPacket[9]} << 1 | aPacket[10] >> 7;
  return base * 300 + (uint64_t(aPacket[10] & 1) << 8 | aPacket[11]);
}

// The offset of the first sync byte that a second one follows a packet later (or that starts
// the file's last whole packet), so that a stray 0x47 in leading junk is passed over; -1 when
// there is none in the file's first bytes.
long findFirstPacket(std::FILE* aFile) {
  std::vector<uint8_t> head(kScanPackets * kPacketSize);
  const size_t length = std::fread(head.data(), 1, head.size(), aFile);
  for (size_t at = 0; at + kPacketSize <= length; ++at) {
    if (head[at] == kSyncByte && (at + 2 * kPacketSize > length || head[at + kPacketSize] == kSyncByte)) {
      return long(at);
    }
  }
  return -1;
}

}  // namespace

double measureRate(std::FILE* aFile, double aFallback) {
  std::vector<uint8_t> chunk(kScanPackets * kPacketSize);
  uint32_t pcrPid = kNoPid;
  uint64_t offset = 0;
  uint64_t firstOffset = 0;
  uint64_t firstPcr = 0;
  uint64_t lastOffset = 0;
  uint64_t lastPcr = 0;
  for (size_t length; (length = std::fread(chunk.data(), 1, chunk.size(), aFile)) >= kPacketSize;) {
    for (size_t at = 0; at + kPacketSize <= length; at += kPacketSize, offset += kPacketSize) {
      const uint8_t* packet = chunk.data() + at;
      if (!carriesPcr(packet) || (pcrPid != kNoPid && pidOf(packet) != pcrPid)) {
        continue;
      }
      if (pcrPid == kNoPid) {
        pcrPid = pidOf(packet);
        firstOffset = offset;
        firstPcr = pcrOf(packet);
      }
      lastOffset = offset;
      lastPcr = pcrOf(packet);
    }
  }
  const uint64_t ticks = (lastPcr + kPcrWrap - firstPcr) % kPcrWrap;
  if (ticks == 0 || lastOffset == firstOffset) {
    return aFallback;
  }
  return double(lastOffset - firstOffset) * kPcrHz / double(ticks);
}

bool ChannelStream::open(const std::string& aPath) {
  close();
  file_ = std::fopen(aPath.c_str(), "rb");
  if (file_ == nullptr) {
    return false;
  }
  firstPacket_ = findFirstPacket(file_);
  if (firstPacket_ < 0 || std::fseek(file_, firstPacket_, SEEK_SET) != 0) {
    close();
    return false;
  }
  bytesPerSecond_ = measureRate(file_, kFallbackBytesPerSecond);
  if (std::fseek(file_, firstPacket_, SEEK_SET) != 0) {
    close();
    return false;
  }
  return true;
}

void ChannelStream::close() {
  if (file_ != nullptr) {
    std::fclose(file_);
    file_ = nullptr;
  }
}

uint32_t ChannelStream::read(uint8_t* aPackets, uint32_t aCount) {
  uint32_t count = 0;
  bool rewound = false;
  while (file_ != nullptr && count < aCount) {
    const size_t wanted = size_t{aCount - count} * kPacketSize;
    const size_t length = std::fread(aPackets + size_t{count} * kPacketSize, 1, wanted, file_);
    // A partial packet at the end is not a packet: the next whole one overwrites it.
    count += uint32_t(length / kPacketSize);
    if (length == wanted) {
      rewound = false;
      continue;
    }
    // Nothing from the start on: the file shrank since it was opened; do not loop for ever.
    if (rewound && length < kPacketSize) {
      break;
    }
    std::clearerr(file_);
    std::fseek(file_, firstPacket_, SEEK_SET);
    rewound = true;
  }
  return count;
}

}  // namespace dibemulator
