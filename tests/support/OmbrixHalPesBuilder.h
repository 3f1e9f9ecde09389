// PES-level test data built in code (PES packets, their split into TS packets, PCR packets,
// teletext PES packets), so that each test shows the bytes it depends on, and a recorder of
// what a stage delivers.
#ifndef OMBRIX_HAL_PES_BUILDER_H
#define OMBRIX_HAL_PES_BUILDER_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "OmbrixHalFilter.h"
#include "OmbrixHalStreamBuilder.h"

namespace ombrixhal::test {

inline constexpr uint32_t kTsPayloadSize = 184;

// A PES packet of `length` bytes in all: start code prefix, `streamId`, PES_packet_length
// (length - 6, or 0 when unbounded), then bytes that spell their position.
inline Bytes pesPacket(uint32_t length, bool bounded = true, uint8_t streamId = 0xe0) {
  Bytes pes(length);
  for (uint32_t i = 6; i < length; ++i) {
    pes[i] = static_cast<uint8_t>(i * 7 + i / 251);
  }
  const uint32_t packetLength = bounded ? length - 6 : 0;
  pes[0] = 0x00;
  pes[1] = 0x00;
  pes[2] = 0x01;
  pes[3] = streamId;
  pes[4] = static_cast<uint8_t>(packetLength >> 8);
  pes[5] = static_cast<uint8_t>(packetLength);
  return pes;
}

// A TS packet of PID 0x100 whose payload is `size` bytes from `payload` (at most 184), behind
// an adaptation field of stuffing that fills the rest.
inline Bytes tsPacketCarrying(const uint8_t* payload, uint32_t size, bool unitStart) {
  Bytes packet(kTsPacketSize, 0xff);
  packet[0] = 0x47;
  packet[1] = unitStart ? 0x41 : 0x01;
  packet[2] = 0x00;
  packet[3] = 0x10;
  uint32_t start = 4;
  if (size < kTsPayloadSize) {
    packet[3] = 0x30;
    packet[4] = static_cast<uint8_t>(kTsPayloadSize - 1 - size);  // adaptation_field_length
    if (packet[4] > 0) {
      packet[5] = 0x00;  // no flags
    }
    start = kTsPacketSize - size;
  }
  std::copy(payload, payload + size, packet.begin() + start);
  return packet;
}

// `pes` over TS packets: the first with the unit start, 184 payload bytes each, the last padded
// by its adaptation field so that the PES packet ends where that packet ends.
inline std::vector<Bytes> tsPacketsOf(const Bytes& pes) {
  std::vector<Bytes> packets;
  for (size_t at = 0; at < pes.size(); at += kTsPayloadSize) {
    const auto size = static_cast<uint32_t>(std::min<size_t>(kTsPayloadSize, pes.size() - at));
    packets.push_back(tsPacketCarrying(pes.data() + at, size, at == 0));
  }
  return packets;
}

// A TS packet with an adaptation field only, carrying a PCR whose base's upper 32 bits are `pcr`.
inline Bytes pcrPacket(uint32_t pcr) {
  Bytes packet(kTsPacketSize, 0xff);
  packet[0] = 0x47;
  packet[1] = 0x01;
  packet[2] = 0x00;
  packet[3] = 0x20;
  packet[4] = 183;
  packet[5] = 0x10;  // PCR_flag
  packet[6] = static_cast<uint8_t>(pcr >> 24);
  packet[7] = static_cast<uint8_t>(pcr >> 16);
  packet[8] = static_cast<uint8_t>(pcr >> 8);
  packet[9] = static_cast<uint8_t>(pcr);
  packet[10] = 0x7e;  // the base's lowest bit 0, reserved bits, extension 0
  packet[11] = 0x00;
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
  for (const Bytes& unit : units) {
    pes.insert(pes.end(), unit.begin(), unit.end());
  }
  pes[4] = static_cast<uint8_t>((pes.size() - 6) >> 8);
  pes[5] = static_cast<uint8_t>(pes.size() - 6);
  return pes;
}

inline OmbrixHalFilterParameter parameterForPid(uint32_t pid) {
  OmbrixHalFilterParameter parameter{};
  parameter.pid = pid;
  return parameter;
}

// A filter handler that keeps a copy of every delivery; the context is the recorder.
struct Deliveries {
  static void record(OmbrixHalFilterHandle aFilter, const uint8_t* aData, uint32_t aLength, void* aContext) {
    auto& deliveries = *static_cast<Deliveries*>(aContext);
    deliveries.from.push_back(aFilter);
    deliveries.data.emplace_back(aData, aData + aLength);
  }

  std::vector<OmbrixHalFilterHandle> from;
  std::vector<Bytes> data;
};

}  // namespace ombrixhal::test

#endif
