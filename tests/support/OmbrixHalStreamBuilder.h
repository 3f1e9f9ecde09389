// Transport-stream test data built in code, so that each test shows the bytes it depends on:
// packets, sections, PES and teletext packets and the packets that carry them, files holding
// them, and a recorder of what a filter delivers.
#ifndef OMBRIX_HAL_STREAM_BUILDER_H
#define OMBRIX_HAL_STREAM_BUILDER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OmbrixHalFilter.h"

namespace ombrixhal::test {

inline constexpr uint32_t kTsPacketSize = 188;
inline constexpr uint32_t kTsPayloadSize = 184;

using Bytes = std::vector<uint8_t>;

inline Bytes concat(const std::vector<Bytes>& parts) {
  Bytes joined;
  for (const Bytes& part : parts) {
    joined.insert(joined.end(), part.begin(), part.end());
  }
  return joined;
}

// A packet of `pid` carrying `payload` (at most 184 bytes) behind an adaptation field of
// `adaptationLength` bytes when given, 0xFF to the end. Made at its final size, so that the
// address sanitizer sees any read beyond byte 188.
inline Bytes tsPacketWith(const Bytes& payload, bool unitStart, std::optional<uint8_t> adaptationLength = {},
                          uint32_t pid = 0x100) {
  Bytes packet(kTsPacketSize, 0xff);
  packet[0] = 0x47;
  packet[1] = static_cast<uint8_t>((unitStart ? 0x40 : 0) | (pid >> 8 & 0x1f));
  packet[2] = static_cast<uint8_t>(pid);
  packet[3] = adaptationLength ? 0x30 : 0x10;
  size_t at = 4;
  if (adaptationLength) {
    packet[at++] = *adaptationLength;
    if (*adaptationLength > 0) {
      packet[at] = 0x00;  // no flags
    }
    at += *adaptationLength;
  }
  for (uint8_t byte : payload) {
    packet.at(at++) = byte;
  }
  return packet;
}

// Packet `index` of a stream: a PID and a continuity counter taken from the index, and a
// payload that spells the index, so that any two packets of a stream differ.
inline Bytes tsPacket(uint32_t index) {
  Bytes payload(kTsPayloadSize);
  for (uint32_t i = 4; i < kTsPacketSize; ++i) {
    const auto byte = static_cast<uint8_t>((index >> (8 * (i % 4))) + i);
    payload[i - 4] = byte == 0x47 ? 0x48 : byte;  // the payload must not fake a sync byte where a scan may look
  }
  Bytes packet = tsPacketWith(payload, false, {}, index % 0x1fff);
  packet[3] = static_cast<uint8_t>(0x10 | (index & 0x0f));
  return packet;
}

// `count` packets from packet 0 on, after `prefix`.
inline Bytes tsStream(uint32_t count, const Bytes& prefix = {}) {
  std::vector<Bytes> parts{prefix};
  for (uint32_t index = 0; index < count; ++index) {
    parts.push_back(tsPacket(index));
  }
  return concat(parts);
}

// A packet of `pid` with payload only, every payload byte `marker`.
inline Bytes tsPacketOf(uint32_t pid, uint8_t marker, bool unitStart = false) {
  return tsPacketWith(Bytes(kTsPayloadSize, marker), unitStart, {}, pid);
}

// `bytes` over packets of `pid`: the first with the unit start (and, for sections, a pointer
// field of 0), 184 payload bytes each, the last one padded by its adaptation field so that the
// bytes end where that packet ends.
inline std::vector<Bytes> tsPacketsOf(const Bytes& bytes, bool pointerField = false, uint32_t pid = 0x100) {
  const Bytes payload = pointerField ? concat({{0x00}, bytes}) : bytes;
  std::vector<Bytes> packets;
  for (size_t at = 0; at < payload.size(); at += kTsPayloadSize) {
    const size_t size = std::min<size_t>(kTsPayloadSize, payload.size() - at);
    const Bytes chunk(payload.begin() + static_cast<std::ptrdiff_t>(at),
                      payload.begin() + static_cast<std::ptrdiff_t>(at + size));
    packets.push_back(tsPacketWith(
        chunk, at == 0, size < kTsPayloadSize ? std::optional(static_cast<uint8_t>(183 - size)) : std::nullopt, pid));
  }
  return packets;
}

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

// A section of `bodyLength` bytes after its header (the 4 CRC bytes not included), whose body
// spells `seed`, ending in a correct CRC.
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

// A PES packet of `length` bytes in all: start code prefix, `streamId`, PES_packet_length
// (length - 6, or 0 when unbounded), then bytes that spell their position.
inline Bytes pesPacket(uint32_t length, bool bounded = true, uint8_t streamId = 0xe0) {
  const uint32_t packetLength = bounded ? length - 6 : 0;
  Bytes pes{0x00, 0x00, 0x01, streamId, static_cast<uint8_t>(packetLength >> 8), static_cast<uint8_t>(packetLength)};
  for (uint32_t i = 6; i < length; ++i) {
    pes.push_back(static_cast<uint8_t>(i * 7 + i / 251));
  }
  return pes;
}

// A PES packet of `stream` whose header carries `pts` (33 bits), then `length` payload bytes.
inline Bytes pesWithPts(uint8_t stream, uint64_t pts, uint32_t length) {
  Bytes pes{0x00, 0x00, 0x01, stream, 0, 0, 0x80, 0x80, 5, static_cast<uint8_t>(0x21 | (pts >> 29 & 0x0e)),
            static_cast<uint8_t>(pts >> 22), static_cast<uint8_t>(pts >> 14 | 1), static_cast<uint8_t>(pts >> 7),
            static_cast<uint8_t>(pts << 1 | 1)};
  pes.resize(pes.size() + length, 0x55);
  return pes;
}

// A TS packet of `pid` with an adaptation field only, carrying a PCR whose base's upper 32 bits
// are `pcr`.
inline Bytes pcrPacket(uint32_t pcr, uint32_t pid = 0x100) {
  Bytes packet = tsPacketWith({}, false, 183, pid);
  packet[3] = 0x20;
  // PCR_flag, the base's upper 32 bits, its lowest bit 0 with the reserved bits, extension 0.
  const Bytes field = {0x10, static_cast<uint8_t>(pcr >> 24), static_cast<uint8_t>(pcr >> 16),
                       static_cast<uint8_t>(pcr >> 8), static_cast<uint8_t>(pcr), 0x7e, 0x00};
  std::copy(field.begin(), field.end(), packet.begin() + 5);
  return packet;
}

// A teletext data unit (0x02 or 0x03): id, length 44, field/line, framing code, then 42 bytes
// counting up from `first`.
inline Bytes teletextUnit(uint8_t id, uint8_t first) {
  Bytes unit = {id, 44, 0xe7, 0xe4};
  for (uint8_t i = 0; i < 42; ++i) {
    unit.push_back(static_cast<uint8_t>(first + i));
  }
  return unit;
}

inline Bytes stuffingUnit(uint8_t length) {
  Bytes unit = {0xff, length};
  unit.resize(size_t{length} + 2, 0xff);
  return unit;
}

// A teletext PES packet: the 45-byte header (PES_header_data_length 36), `dataIdentifier`,
// then the units.
inline Bytes teletextPes(uint8_t dataIdentifier, const std::vector<Bytes>& units) {
  Bytes pes = {0x00, 0x00, 0x01, 0xbd, 0x00, 0x00, 0x84, 0x80, 0x24, 0x21, 0x00, 0x01, 0x00, 0x01};
  pes.resize(45, 0xff);
  pes.push_back(dataIdentifier);
  pes = concat({pes, concat(units)});
  pes[4] = static_cast<uint8_t>((pes.size() - 6) >> 8);
  pes[5] = static_cast<uint8_t>(pes.size() - 6);
  return pes;
}

// The PID of each filter kind's stream in multiplex().
inline constexpr uint32_t kSectionPid = 0x100, kPesPid = 0x101, kTeletextPid = 0x102, kPcrPid = 0x103, kTsPid = 0x104;

// `rounds` of what every filter kind delivers: two sections in one packet and one over two, an
// unbounded PES packet (delivered when the next one starts, which goes on into the PES buffer), a
// teletext PES packet of two lines, a PCR and a plain packet.
inline Bytes multiplex(int rounds) {
  std::vector<Bytes> packets;
  for (int round = 0; round < rounds; ++round) {
    const auto seed = static_cast<uint8_t>(round);
    const Bytes sections = concat({section(0x42, 9, seed), section(0x42, 9, seed), section(0x42, 300, seed)});
    const Bytes teletext = teletextPes(0x10, {teletextUnit(0x02, seed), teletextUnit(0x03, seed)});
    for (const auto& carried :
         {tsPacketsOf(sections, true, kSectionPid), tsPacketsOf(pesPacket(400 + round, false), false, kPesPid),
          tsPacketsOf(teletext, false, kTeletextPid), std::vector<Bytes>{pcrPacket(1000 + round, kPcrPid)},
          std::vector<Bytes>{tsPacketOf(kTsPid, seed)}}) {
      packets.insert(packets.end(), carried.begin(), carried.end());
    }
  }
  return concat(packets);
}

inline OmbrixHalFilterParameter pidParameter(uint32_t pid) {
  OmbrixHalFilterParameter parameter{};
  parameter.pid = pid;
  return parameter;
}

inline void writeBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// What one filter handler was given: the delivering filter and the bytes, call by call.
struct Deliveries {
  // A filter handler, or a tuner's packet handler (its source, the tuner, kept as a filter handle).
  template <typename Source>
  static void record(Source aSource, const uint8_t* aData, uint32_t aLength, void* aContext) {
    static_cast<Deliveries*>(aContext)->calls.emplace_back(static_cast<OmbrixHalFilterHandle>(aSource),
                                                           Bytes(aData, aData + aLength));
  }
  std::vector<Bytes> data() const {
    std::vector<Bytes> result;
    for (const auto& call : calls) {
      result.push_back(call.second);
    }
    return result;
  }
  std::vector<OmbrixHalFilterHandle> from() const {
    std::vector<OmbrixHalFilterHandle> result;
    for (const auto& call : calls) {
      result.push_back(call.first);
    }
    return result;
  }

  std::vector<std::pair<OmbrixHalFilterHandle, Bytes>> calls;
};

}  // namespace ombrixhal::test

#endif
