// The fields of MPEG-2 and DVB tables that the tools read alike: PIDs, lengths and numbers, the
// programmes of a PAT, the streams of a PMT, the names of an SDT, and a PID's PCR span.
#ifndef OMBRIX_HAL_TOOL_PSI_H
#define OMBRIX_HAL_TOOL_PSI_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "OmbrixHal.h"

constexpr uint32_t kPacketSize = 188;
constexpr uint32_t kPatPid = 0x0000;
constexpr uint32_t kSdtPid = 0x0011;
constexpr uint8_t kPatTable = 0x00;
constexpr uint8_t kPmtTable = 0x02;
constexpr uint8_t kSdtActualTable = 0x42;
constexpr uint8_t kServiceDescriptor = 0x48;
constexpr uint32_t kPcrUnitsPerSecond = 45000;

inline uint32_t pidAt(const uint8_t* bytes) {
  return static_cast<uint32_t>((bytes[0] & 0x1f) << 8 | bytes[1]);
}
inline uint32_t lengthAt(const uint8_t* bytes) {
  return static_cast<uint32_t>((bytes[0] & 0x0f) << 8 | bytes[1]);
}
inline uint32_t numberAt(const uint8_t* bytes) {
  return static_cast<uint32_t>(bytes[0] << 8 | bytes[1]);
}

// The end of a section's loops: its CRC.
inline uint32_t bodyEnd(uint32_t length) {
  return length - 4;
}

// Calls read(tag, body, size) for each descriptor of the loop from `at` to `end` that fits in
// it, and stops at one that does not: a section may pass its CRC and still be malformed.
template <typename Read>
void forEachDescriptor(const uint8_t* section, uint32_t at, uint32_t end, Read read) {
  while (at + 2 <= end && at + 2 + section[at + 1] <= end) {
    read(section[at], section + at + 2, uint32_t{section[at + 1]});
    at += 2 + section[at + 1];
  }
}

// The programmes of a PAT that `services` lacks (the network PID's entry aside), added in its
// order as services with a `number` and a `pmtPid`.
template <typename Service>
void addProgrammes(std::vector<Service>& services, const uint8_t* section, uint32_t length) {
  for (uint32_t at = 8; at + 4 + 4 <= length; at += 4) {
    const uint32_t number = numberAt(section + at);
    if (number != 0 && std::none_of(services.begin(), services.end(),
                                    [number](const Service& known) { return known.number == number; })) {
      Service service;
      service.number = number;
      service.pmtPid = pidAt(section + at + 2);
      services.push_back(service);
    }
  }
}

struct ElementaryStream {
  uint32_t pid;
  uint8_t type;
  bool teletext;  // private data with a teletext descriptor
};

// A PMT's elementary streams in its order.
std::vector<ElementaryStream> readPmtStreams(const uint8_t* section, uint32_t length);

// What the AV player plays of a service: the first audio and the first video stream, and the PCR.
OmbrixHalAvPlayerParameter avPlayerParameter(uint32_t pcrPid, const std::vector<ElementaryStream>& streams);

// A service descriptor's provider and service names as UTF-8; false when its lengths do not fit.
bool readServiceDescriptor(const uint8_t* body, uint32_t size, std::string& provider, std::string& name);

// Calls read(number, provider, name) for each service descriptor of an SDT's services.
template <typename Read>
void forEachServiceName(const uint8_t* section, uint32_t length, Read read) {
  for (uint32_t at = 11; at + 5 <= bodyEnd(length);) {
    const uint32_t end = at + 5 + lengthAt(section + at + 3);
    const uint32_t number = numberAt(section + at);
    forEachDescriptor(section, at + 5, std::min(end, bodyEnd(length)),
                      [number, &read](uint8_t tag, const uint8_t* body, uint32_t size) {
                        std::string provider;
                        std::string name;
                        if (tag == kServiceDescriptor && readServiceDescriptor(body, size, provider, name)) {
                          read(number, provider, name);
                        }
                      });
    at = end;
  }
}

// Where the PCR of one PID was first and last seen, against the packets of the stream so far.
struct PcrSpan {
  uint32_t first = 0;
  uint32_t last = 0;
  uint64_t firstPacket = 0;
  uint64_t lastPacket = 0;
  uint64_t count = 0;

  // A PCR filter's record (the PCR in its units of 45 kHz) at packet `packet`; a short one is
  // left out.
  void add(const uint8_t* record, uint32_t length, uint64_t packet);
  // Two PCRs apart in time: a rate can be measured.
  bool measured() const { return count >= 2 && last != first; }
  // The packets between the first and the last PCR over the time between them.
  double bytesPerSecond() const;
};

#endif
