// Transport-stream test data built in code: packets whose bytes show their place in the
// stream, and files holding them.
#ifndef OMBRIX_HAL_STREAM_BUILDER_H
#define OMBRIX_HAL_STREAM_BUILDER_H

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace ombrixhal::test {

inline constexpr uint32_t kTsPacketSize = 188;

using Bytes = std::vector<uint8_t>;

// Packet `index` of a stream: sync byte, a PID and a continuity counter taken from the index,
// and a payload that spells the index, so that any two packets of a stream differ.
inline Bytes tsPacket(uint32_t index) {
  Bytes packet(kTsPacketSize);
  const uint32_t pid = index % 0x1fff;
  packet[0] = 0x47;
  packet[1] = static_cast<uint8_t>(pid >> 8);
  packet[2] = static_cast<uint8_t>(pid);
  packet[3] = static_cast<uint8_t>(0x10 | (index & 0x0f));
  for (uint32_t i = 4; i < kTsPacketSize; ++i) {
    packet[i] = static_cast<uint8_t>((index >> (8 * (i % 4))) + i);
  }
  // The payload must not fake a sync byte where a scan may look.
  for (uint32_t i = 4; i < kTsPacketSize; ++i) {
    if (packet[i] == 0x47) {
      packet[i] = 0x48;
    }
  }
  return packet;
}

// A packet of `pid` with payload only, every payload byte `marker`.
inline Bytes tsPacketOf(uint32_t pid, uint8_t marker, bool unitStart = false) {
  Bytes packet(kTsPacketSize, marker);
  packet[0] = 0x47;
  packet[1] = static_cast<uint8_t>((unitStart ? 0x40 : 0) | (pid >> 8 & 0x1f));
  packet[2] = static_cast<uint8_t>(pid);
  packet[3] = 0x10;
  return packet;
}

// The packets one after the other.
inline Bytes concatenate(const std::vector<Bytes>& parts) {
  Bytes stream;
  for (const Bytes& part : parts) {
    stream.insert(stream.end(), part.begin(), part.end());
  }
  return stream;
}

// `count` packets from packet 0 on, after `prefix`.
inline Bytes tsStream(uint32_t count, const Bytes& prefix = {}) {
  Bytes stream = prefix;
  stream.reserve(prefix.size() + size_t{count} * kTsPacketSize);
  for (uint32_t index = 0; index < count; ++index) {
    const Bytes packet = tsPacket(index);
    stream.insert(stream.end(), packet.begin(), packet.end());
  }
  return stream;
}

inline void writeBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace ombrixhal::test

#endif
