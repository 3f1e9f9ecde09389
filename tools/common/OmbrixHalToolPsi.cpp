// The table readers that need more than a few lines; the names go through the DVB text decoder.
#include "OmbrixHalToolPsi.h"

#include <cstring>

#include "OmbrixHalToolDvbText.h"

namespace {

constexpr uint8_t kPrivateDataStreamType = 0x06;
constexpr uint8_t kTeletextDescriptor = 0x56;

bool isVideo(uint32_t type) {
  return type == 0x01 || type == 0x02 || type == 0x1b || type == 0x24;
}
bool isAudio(uint32_t type) {
  return type == 0x03 || type == 0x04 || type == 0x0f || type == 0x11 || type == 0x81;
}

}  // namespace

std::vector<ElementaryStream> readPmtStreams(const uint8_t* section, uint32_t length) {
  std::vector<ElementaryStream> streams;
  for (uint32_t at = 12 + lengthAt(section + 10); at + 5 <= bodyEnd(length);) {
    const uint32_t descriptorsEnd = at + 5 + lengthAt(section + at + 3);
    ElementaryStream stream{.pid = pidAt(section + at + 1), .type = section[at], .teletext = false};
    forEachDescriptor(section, at + 5, std::min(descriptorsEnd, bodyEnd(length)),
                      [&stream](uint8_t tag, const uint8_t*, uint32_t) {
                        stream.teletext = stream.teletext || (stream.type == kPrivateDataStreamType && tag == kTeletextDescriptor);
                      });
    streams.push_back(stream);
    at = descriptorsEnd;
  }
  return streams;
}

OmbrixHalAvPlayerParameter avPlayerParameter(uint32_t pcrPid, const std::vector<ElementaryStream>& streams) {
  OmbrixHalAvPlayerParameter parameter{};
  parameter.PcrPid = pcrPid;
  for (const ElementaryStream& stream : streams) {
    const bool video = isVideo(stream.type);
    uint32_t& pid = video ? parameter.VideoPid : parameter.AudioPid;
    if ((video || isAudio(stream.type)) && pid == 0) {
      pid = stream.pid;
      (video ? parameter.VideoType : parameter.AudioType) = stream.type;
    }
  }
  return parameter;
}

// Service type, provider name, service name: each length inside the descriptor.
bool readServiceDescriptor(const uint8_t* body, uint32_t size, std::string& provider, std::string& name) {
  const uint32_t providerLength = size >= 2 ? body[1] : size;
  if (2 + providerLength + 1 > size || 3 + providerLength + body[2 + providerLength] > size) {
    return false;
  }
  provider = dvbTextToUtf8(body + 2, providerLength);
  name = dvbTextToUtf8(body + 3 + providerLength, body[2 + providerLength]);
  return true;
}

void PcrSpan::add(const uint8_t* record, uint32_t length, uint64_t packet) {
  if (length < sizeof last) {
    return;
  }
  std::memcpy(&last, record, sizeof last);
  lastPacket = packet;
  if (count++ == 0) {
    first = last;
    firstPacket = packet;
  }
}

double PcrSpan::bytesPerSecond() const {
  return double(lastPacket - firstPacket) * kPacketSize * kPcrUnitsPerSecond / (last - first);
}
