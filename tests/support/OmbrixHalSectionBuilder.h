// Sections and the TS packets that carry them, built in code: sections with a good or a broken
// CRC, and packets with a pointer field, an adaptation field and stuffing where a test wants them.
#ifndef OMBRIX_HAL_SECTION_BUILDER_H
#define OMBRIX_HAL_SECTION_BUILDER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <vector>

#include "OmbrixHalStreamBuilder.h"

namespace ombrixhal::test {

// The CRC of sections one bit at a time: the reference the fast ones must equal.
inline uint32_t crc32Bitwise(const uint8_t* data, size_t length, uint32_t crc = 0xFFFFFFFFu) {
  for (size_t i = 0; i < length; ++i) {
    for (int bit = 7; bit >= 0; --bit) {
      const bool feedback = ((crc >> 31) ^ (data[i] >> bit)) & 1u;
      crc = (crc << 1) ^ (feedback ? 0x04C11DB7u : 0u);
    }
  }
  return crc;
}

// A section of `bodyLength` bytes after its header (tables' bytes and the 4 CRC bytes not
// included), whose body spells `seed`, ending in a correct CRC.
inline Bytes section(uint8_t tableId, size_t bodyLength, uint8_t seed = 0) {
  const size_t sectionLength = bodyLength + 4;
  Bytes bytes{tableId, static_cast<uint8_t>(0xB0 | (sectionLength >> 8)), static_cast<uint8_t>(sectionLength)};
  for (size_t i = 0; i < bodyLength; ++i) {
    bytes.push_back(static_cast<uint8_t>(seed + i * 7));
  }
  const uint32_t crc = crc32Bitwise(bytes.data(), bytes.size());
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<uint8_t>(crc >> shift));
  }
  return bytes;
}

inline Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes joined;
  for (const Bytes& part : parts) {
    joined.insert(joined.end(), part.begin(), part.end());
  }
  return joined;
}

// One packet of PID 0x100: `payload` (pointer field included when it has one) after the header
// and an optional adaptation field of `adaptationLength` bytes, then 0xFF to the end.
inline Bytes sectionPacket(bool unitStart, const Bytes& payload, std::optional<uint8_t> adaptationLength = {}) {
  Bytes packet{0x47, static_cast<uint8_t>(unitStart ? 0x41 : 0x01), 0x00,
               static_cast<uint8_t>(adaptationLength ? 0x30 : 0x10)};
  if (adaptationLength) {
    packet.push_back(*adaptationLength);
    packet.insert(packet.end(), *adaptationLength, 0x00);
  }
  packet.insert(packet.end(), payload.begin(), payload.end());
  packet.resize(kTsPacketSize, 0xFF);
  return packet;
}

// `bytes` (a section or several) split over as many packets as they need, the first one with
// the unit start and a pointer field of 0.
inline std::vector<Bytes> sectionPackets(const Bytes& bytes) {
  std::vector<Bytes> packets;
  size_t at = 0;
  do {
    const bool first = at == 0;
    const size_t room = kTsPacketSize - 4 - (first ? 1 : 0);
    const size_t take = std::min(room, bytes.size() - at);
    Bytes payload = first ? Bytes{0x00} : Bytes{};
    payload.insert(payload.end(), bytes.begin() + at, bytes.begin() + at + take);
    packets.push_back(sectionPacket(first, payload));
    at += take;
  } while (at < bytes.size());
  return packets;
}

}  // namespace ombrixhal::test

#endif
