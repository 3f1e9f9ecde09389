// ombrixhal-genstream: writes the inspector's default inputs, the same bytes on every run: a
// small broadcast-like transport stream, and with --analog a file of analog line records. Two
// services, each with PAT and PMT entries, an SDT with service and provider names (in the
// character table asked for), a network table with the stream's terrestrial delivery, services
// and channel numbers, EIT present/following events, TDT and TOT on PID 0x14, a PCR every
// 40 ms, MPEG-2 video in unbounded PES and MPEG audio in bounded PES; the first service also
// carries EBU teletext whose page headers (pages 100 and 101) show the time, odd-parity encoded
// as broadcast. The packets go out at a constant mux rate, null packets filling the gaps. The
// line records carry the same teletext pages, a field at a time.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <string>
#include <vector>

#include "OmbrixHalToolCrc32.h"
#include "OmbrixHalToolDvbText.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kPacketSize = 188;
constexpr uint32_t kPayloadSize = 184;
constexpr uint32_t kMuxBitsPerSecond = 3000000;
constexpr uint32_t kDefaultSeconds = 20;
constexpr uint32_t kNullPid = 0x1fff;
constexpr uint32_t kMultiplexes = 3;  // of the emulated band; the default stream is the first
constexpr uint16_t kOriginalNetworkId = 0x2114;
constexpr uint16_t kNetworkId = 0x3001;
// 2026-11-22 (a Sunday) 12:00:00 UTC when the stream starts.
constexpr uint32_t kStartMjd = 61366;
constexpr uint32_t kStartHour = 12;
constexpr double kPcrOffsetSeconds = 1.0;  // PCR at the first packet; PTS lead by the same

struct Event {
  const char* name;
  const char* text;
  uint32_t startMinutes;  // minutes after midnight of the start day
  uint32_t durationMinutes;
};

struct ElementaryStream {
  uint32_t pid;
  uint8_t streamType;
  bool teletext;
};

struct Service {
  uint16_t number;
  uint32_t pmtPid;
  uint32_t pcrPid;
  std::vector<ElementaryStream> streams;
  Event present;
  Event following;
};

const char* const kProvider = "Ombrix Lab";

// What the command line changes: the names (given in UTF-8) and the character table they are
// written in, and whether the PAT goes out at all.
struct Settings {
  std::string textTable = "6937";
  std::string serviceName;  // of the first service
  std::string provider;
  std::string eventName;  // the first service's present event
  bool withoutPat = false;
  std::string networkName = "Ombrix Net";
  uint32_t frequencyKhz = 474000;  // where the network table says the stream is broadcast
  uint32_t multiplex = 1;          // the transport stream id; it picks the names and channel numbers
};

// The services' names on each multiplex of the band.
const char* const kMultiplexNames[kMultiplexes][2] = {
    {"Ombrix One", "Ombrix Two"},
    {"Ombrix Sport", "Ombrix Kids"},
    {"Radio Zwei Café", "Ombrix Arte"},
};

const Service kServices[] = {
    {.number = 257,
     .pmtPid = 0x100,
     .pcrPid = 0x101,
     .streams = {{0x101, 0x02, false}, {0x102, 0x03, false}, {0x103, 0x06, true}},
     .present = {"Morning News", "The news of the day.", 11 * 60 + 30, 60},
     .following = {"Weather", "The outlook for the week.", 12 * 60 + 30, 15}},
    {.number = 514,
     .pmtPid = 0x200,
     .pcrPid = 0x201,
     .streams = {{0x201, 0x02, false}, {0x202, 0x03, false}},
     .present = {"Cartoon Hour", "Drawn stories.", 11 * 60 + 45, 60},
     .following = {"Film: The Long Tide", "A drama at sea.", 12 * 60 + 45, 105}},
};

void put16(Bytes& bytes, uint32_t value) {
  bytes.push_back(static_cast<uint8_t>(value >> 8));
  bytes.push_back(static_cast<uint8_t>(value));
}

// A DVB string with its length; main has checked that the table holds it.
void putText(Bytes& bytes, const std::string& text, const std::string& table) {
  Bytes encoded;
  utf8ToDvbText(text, table, encoded);
  bytes.push_back(static_cast<uint8_t>(encoded.size()));
  bytes.insert(bytes.end(), encoded.begin(), encoded.end());
}

std::string serviceName(const Settings& settings, const Service& service) {
  const bool first = &service == &kServices[0];
  return first && !settings.serviceName.empty() ? settings.serviceName : kMultiplexNames[settings.multiplex - 1][first ? 0 : 1];
}

uint8_t bcd(uint32_t value) {
  return static_cast<uint8_t>((value / 10) << 4 | value % 10);
}

// A DVB time: modified Julian date, then hours, minutes and seconds in BCD.
void putDvbTime(Bytes& bytes, uint32_t mjd, uint32_t secondsOfDay) {
  put16(bytes, mjd + secondsOfDay / 86400);
  secondsOfDay %= 86400;
  bytes.push_back(bcd(secondsOfDay / 3600));
  bytes.push_back(bcd(secondsOfDay / 60 % 60));
  bytes.push_back(bcd(secondsOfDay % 60));
}

// Patches the section_length field (12 bits after the table_id) and, with a CRC, appends it.
Bytes finishSection(Bytes section, bool withCrc) {
  const size_t length = section.size() - 3 + (withCrc ? 4 : 0);
  section[1] = static_cast<uint8_t>((section[1] & 0xf0) | (length >> 8));
  section[2] = static_cast<uint8_t>(length);
  if (withCrc) {
    const uint32_t crc = sectionCrc32(section.data(), section.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
      section.push_back(static_cast<uint8_t>(crc >> shift));
    }
  }
  return section;
}

// The long-form header: table id, length (patched later), id, version 0 current, section numbers.
Bytes longSectionHeader(uint8_t tableId, uint32_t id, uint8_t sectionNumber, uint8_t lastSectionNumber) {
  Bytes section{tableId, 0xb0, 0x00};
  put16(section, id);
  section.push_back(0xc1);
  section.push_back(sectionNumber);
  section.push_back(lastSectionNumber);
  return section;
}

Bytes pat(const Settings& settings) {
  Bytes section = longSectionHeader(0x00, settings.multiplex, 0, 0);
  for (const Service& service : kServices) {
    put16(section, service.number);
    put16(section, 0xe000 | service.pmtPid);
  }
  return finishSection(section, true);
}

Bytes pmt(const Service& service) {
  Bytes section = longSectionHeader(0x02, service.number, 0, 0);
  put16(section, 0xe000 | service.pcrPid);
  put16(section, 0xf000);  // no programme descriptors
  for (const ElementaryStream& stream : service.streams) {
    section.push_back(stream.streamType);
    put16(section, 0xe000 | stream.pid);
    if (stream.teletext) {
      // Teletext descriptor: English, initial page 100 (magazine 1, page 0x00).
      const Bytes descriptor{0x56, 5, 'e', 'n', 'g', 0x01 << 3 | 1, 0x00};
      put16(section, 0xf000 | descriptor.size());
      section.insert(section.end(), descriptor.begin(), descriptor.end());
    } else {
      put16(section, 0xf000);
    }
  }
  return finishSection(section, true);
}

Bytes sdt(const Settings& settings) {
  Bytes section = longSectionHeader(0x42, settings.multiplex, 0, 0);
  put16(section, kOriginalNetworkId);
  section.push_back(0xff);
  for (const Service& service : kServices) {
    put16(section, service.number);
    section.push_back(0xfd);  // EIT present/following here, no schedule
    Bytes descriptor{0x48, 0, 0x01};  // service descriptor, digital television
    putText(descriptor, settings.provider.empty() ? kProvider : settings.provider, settings.textTable);
    putText(descriptor, serviceName(settings, service), settings.textTable);
    descriptor[1] = static_cast<uint8_t>(descriptor.size() - 2);
    put16(section, 0x8000 | descriptor.size());  // running, free to air
    section.insert(section.end(), descriptor.begin(), descriptor.end());
  }
  return finishSection(section, true);
}

// The network table (actual): the network's name, and this transport stream with its
// terrestrial delivery (8 MHz, 8K, guard 1/8, QAM-64, code rate 2/3, as the receiver emulator
// detects by default), its services and their logical channel numbers, 1 on.
Bytes nit(const Settings& settings) {
  Bytes section = longSectionHeader(0x40, kNetworkId, 0, 0);
  Bytes name{0x40};
  putText(name, settings.networkName, settings.textTable);
  put16(section, 0xf000 | name.size());
  section.insert(section.end(), name.begin(), name.end());
  const uint32_t centre = settings.frequencyKhz * 100;  // in 10 Hz
  Bytes descriptors{0x5a, 11, static_cast<uint8_t>(centre >> 24), static_cast<uint8_t>(centre >> 16),
                    static_cast<uint8_t>(centre >> 8), static_cast<uint8_t>(centre), 0x1f, 0x81, 0x12, 0xff, 0xff, 0xff, 0xff};
  Bytes serviceList{0x41, static_cast<uint8_t>(3 * std::size(kServices))};
  Bytes channelNumbers{0x83, static_cast<uint8_t>(4 * std::size(kServices))};
  uint32_t channel = 2 * settings.multiplex - 1;
  for (const Service& service : kServices) {
    put16(serviceList, service.number);
    serviceList.push_back(0x01);  // digital television
    put16(channelNumbers, service.number);
    put16(channelNumbers, 0xfc00 | channel++);  // visible
  }
  descriptors.insert(descriptors.end(), serviceList.begin(), serviceList.end());
  descriptors.insert(descriptors.end(), channelNumbers.begin(), channelNumbers.end());
  put16(section, 0xf000 | (6 + descriptors.size()));
  put16(section, settings.multiplex);
  put16(section, kOriginalNetworkId);
  put16(section, 0xf000 | descriptors.size());
  section.insert(section.end(), descriptors.begin(), descriptors.end());
  return finishSection(section, true);
}

Bytes eitPresentFollowing(const Settings& settings, const Service& service, uint8_t sectionNumber) {
  const Event& event = sectionNumber == 0 ? service.present : service.following;
  const bool renamed = sectionNumber == 0 && &service == &kServices[0] && !settings.eventName.empty();
  Bytes section = longSectionHeader(0x4e, service.number, sectionNumber, 1);
  put16(section, settings.multiplex);
  put16(section, kOriginalNetworkId);
  section.push_back(1);     // segment_last_section_number
  section.push_back(0x4e);  // last_table_id
  put16(section, service.number * 16u + sectionNumber);  // event_id
  putDvbTime(section, kStartMjd, event.startMinutes * 60);
  section.push_back(bcd(event.durationMinutes / 60));
  section.push_back(bcd(event.durationMinutes % 60));
  section.push_back(0);
  Bytes descriptor{0x4d, 0, 'e', 'n', 'g'};  // short event descriptor
  putText(descriptor, renamed ? settings.eventName : event.name, settings.textTable);
  putText(descriptor, event.text, settings.textTable);
  descriptor[1] = static_cast<uint8_t>(descriptor.size() - 2);
  const uint8_t runningStatus = sectionNumber == 0 ? 4 : 1;  // running, not yet running
  put16(section, runningStatus << 13 | descriptor.size());
  section.insert(section.end(), descriptor.begin(), descriptor.end());
  return finishSection(section, true);
}

Bytes tdt(uint32_t secondsOfDay) {
  Bytes section{0x70, 0x70, 0x00};
  putDvbTime(section, kStartMjd, secondsOfDay);
  return finishSection(section, false);
}

Bytes tot(uint32_t secondsOfDay) {
  Bytes section{0x73, 0x70, 0x00};
  putDvbTime(section, kStartMjd, secondsOfDay);
  // Local time offset descriptor: the United Kingdom, no offset now or after the next change.
  Bytes descriptor{0x58, 13, 'G', 'B', 'R', 0x02};
  put16(descriptor, 0x0000);
  putDvbTime(descriptor, kStartMjd + 126, 1 * 3600);
  put16(descriptor, 0x0100);
  put16(section, 0xf000 | descriptor.size());
  section.insert(section.end(), descriptor.begin(), descriptor.end());
  return finishSection(section, true);
}

void putTimestamp(Bytes& bytes, uint8_t marker, uint64_t ticks90kHz) {
  bytes.push_back(static_cast<uint8_t>(marker << 4 | (ticks90kHz >> 29 & 0x0e) | 1));
  put16(bytes, static_cast<uint32_t>((ticks90kHz >> 14 & 0xfffe) | 1));
  put16(bytes, static_cast<uint32_t>((ticks90kHz << 1 & 0xfffe) | 1));
}

// A PES packet with a PTS; a bounded one carries its length, an unbounded one (video) 0.
Bytes pes(uint8_t streamId, uint64_t pts, const Bytes& payload, bool bounded, size_t headerStuffing = 0) {
  Bytes packet{0x00, 0x00, 0x01, streamId, 0x00, 0x00, 0x84, 0x80, static_cast<uint8_t>(5 + headerStuffing)};
  putTimestamp(packet, 0x2, pts);
  packet.insert(packet.end(), headerStuffing, 0xff);
  packet.insert(packet.end(), payload.begin(), payload.end());
  if (bounded) {
    packet[4] = static_cast<uint8_t>((packet.size() - 6) >> 8);
    packet[5] = static_cast<uint8_t>(packet.size() - 6);
  }
  return packet;
}

// Deterministic filler for coded pictures and audio frames, free of start code prefixes.
class Noise {
 public:
  uint8_t next() {
    state_ = state_ * 1103515245u + 12345u;
    return static_cast<uint8_t>(state_ >> 16 | 0x01);
  }

 private:
  uint32_t state_ = 0x4f4d4258;
};

Bytes videoFrame(Noise& noise, uint32_t frame) {
  const bool intra = frame % 12 == 0;
  // Picture start code, temporal reference and picture type (I or P); a sequence header first
  // on intra pictures.
  Bytes bytes;
  if (intra) {
    bytes = {0x00, 0x00, 0x01, 0xb3, 0x2d, 0x02, 0x40, 0x33, 0x24, 0x9f, 0x23, 0x81};
  }
  const uint32_t temporalReference = frame % 12;
  const Bytes picture{0x00, 0x00, 0x01, 0x00, static_cast<uint8_t>(temporalReference >> 2),
                      static_cast<uint8_t>((temporalReference & 3) << 6 | (intra ? 1 : 2) << 3), 0xff, 0xf8};
  bytes.insert(bytes.end(), picture.begin(), picture.end());
  const size_t size = intra ? 18000 : 3500;
  while (bytes.size() < size) {
    bytes.push_back(noise.next());
  }
  return bytes;
}

// One MPEG-1 layer II frame header (128 kbit/s, 48 kHz, stereo) and its 384 bytes.
Bytes audioFrame(Noise& noise) {
  Bytes bytes{0xff, 0xfd, 0x84, 0x04};
  while (bytes.size() < 384) {
    bytes.push_back(noise.next());
  }
  return bytes;
}

// Teletext: Hamming 8/4 code words and odd parity, with bits in transmission order (bit 0 first).
constexpr uint8_t kHamming84[16] = {0x15, 0x02, 0x49, 0x5e, 0x64, 0x73, 0x38, 0x2f,
                                    0xd0, 0xc7, 0x8c, 0x9b, 0xa1, 0xb6, 0xfd, 0xea};

uint8_t oddParity(char character) {
  uint8_t byte = static_cast<uint8_t>(character) & 0x7f;
  uint8_t ones = 0;
  for (uint8_t bits = byte; bits != 0; bits >>= 1) {
    ones += bits & 1;
  }
  return ones % 2 == 0 ? byte | 0x80 : byte;
}

// In the PES the bytes of a teletext line stand with their bit order reversed.
uint8_t reversed(uint8_t byte) {
  uint8_t result = 0;
  for (int bit = 0; bit < 8; ++bit) {
    result = static_cast<uint8_t>(result << 1 | (byte >> bit & 1));
  }
  return result;
}

// A teletext line (row `row` of magazine `magazine`) as transmitted: the Hamming-coded address,
// on a header row the eight Hamming-coded bytes of `control`, then the text with odd parity.
Bytes teletextLine(uint32_t magazine, uint32_t row, const Bytes& control, const std::string& text) {
  Bytes line{kHamming84[(magazine & 7) | (row & 1) << 3], kHamming84[row >> 1]};
  line.insert(line.end(), control.begin(), control.end());
  for (size_t i = 0; line.size() < 42; ++i) {
    line.push_back(oddParity(i < text.size() ? text[i] : ' '));
  }
  return line;
}

// The two rows of page `page` that one field carries: the header, which shows the time, and a
// text row.
std::vector<Bytes> teletextRows(uint32_t page, uint32_t secondsOfDay) {
  const uint32_t magazine = page / 100 % 8;
  const Bytes control{kHamming84[page % 10], kHamming84[page / 10 % 10], kHamming84[0], kHamming84[0],
                      kHamming84[0],         kHamming84[0],              kHamming84[0], kHamming84[0]};
  char clock[9];
  std::snprintf(clock, sizeof clock, "%02u:%02u:%02u", secondsOfDay / 3600 % 24, secondsOfDay / 60 % 60,
                secondsOfDay % 60);
  const std::string header = std::string(page == 100 ? "Ombrix Text  " : "Ombrix News  ") + "Sun 22 Nov " + clock;
  const std::string body = page == 100 ? "Welcome to Ombrix teletext" : "Headlines on this page";
  return {teletextLine(magazine, 0, control, header), teletextLine(magazine, 1, {}, body)};
}

// A teletext PES of exactly one TS packet: the 45-byte header the DVB rules prescribe, the
// data identifier, the two rows of page `page` as EBU data units (bits reversed, as they stand
// in PES), and a stuffing unit.
Bytes teletextPes(uint64_t pts, uint32_t page, uint32_t secondsOfDay) {
  Bytes payload{0x10};  // EBU data
  uint8_t videoLine = 7;
  for (const Bytes& row : teletextRows(page, secondsOfDay)) {
    const Bytes unitHeader{0x02, 44, static_cast<uint8_t>(0xe0 | videoLine++), 0xe4};
    payload.insert(payload.end(), unitHeader.begin(), unitHeader.end());
    for (uint8_t byte : row) {
      payload.push_back(reversed(byte));
    }
  }
  payload.push_back(0xff);
  payload.push_back(44);
  payload.insert(payload.end(), 44, 0xff);
  return pes(0xbd, pts, payload, true, 36 - 5);
}

// A packet waiting to be sent; its continuity counter (and PCR) are set when it goes out.
struct Packet {
  uint8_t bytes[kPacketSize];
  bool carriesPcr = false;
};

// Cuts a section (after a pointer field) or a PES packet into packets of one PID; the last one
// is padded by its adaptation field, so the unit ends with the packet. With `pcr` the first
// packet makes room for a PCR in its adaptation field.
std::vector<Packet> packetize(uint32_t pid, const Bytes& unit, bool pointerField, bool pcr) {
  Bytes payload = unit;
  if (pointerField) {
    payload.insert(payload.begin(), 0x00);
  }
  std::vector<Packet> packets;
  size_t at = 0;
  while (at < payload.size()) {
    Packet packet;
    std::memset(packet.bytes, 0xff, kPacketSize);
    const bool first = at == 0;
    const size_t room = kPayloadSize - (first && pcr ? 8 : 0);
    const size_t size = std::min(room, payload.size() - at);
    const size_t adaptationBytes = kPayloadSize - size;  // including its length byte
    packet.bytes[0] = 0x47;
    packet.bytes[1] = static_cast<uint8_t>((first ? 0x40 : 0) | pid >> 8);
    packet.bytes[2] = static_cast<uint8_t>(pid);
    packet.bytes[3] = adaptationBytes > 0 ? 0x30 : 0x10;
    if (adaptationBytes > 0) {
      packet.bytes[4] = static_cast<uint8_t>(adaptationBytes - 1);
      if (adaptationBytes > 1) {
        packet.bytes[5] = first && pcr ? 0x10 : 0x00;
      }
    }
    packet.carriesPcr = first && pcr;
    std::memcpy(packet.bytes + 4 + adaptationBytes, payload.data() + at, size);
    packets.push_back(packet);
    at += size;
  }
  return packets;
}

// A table or stream unit that recurs every `period` seconds from `next` on.
struct Schedule {
  double next;
  double period;

  bool due(double now) {
    if (now < next) {
      return false;
    }
    next += period;
    return true;
  }
};

void enqueue(std::deque<Packet>& queue, const std::vector<Packet>& packets) {
  queue.insert(queue.end(), packets.begin(), packets.end());
}

class Multiplexer {
 public:
  Multiplexer(std::FILE* out, const Settings& settings) : out_(out), settings_(settings) {}

  void run(uint32_t seconds) {
    Schedule psiTimes{0.0, 0.1};
    Schedule sdtTimes{0.0, 1.0};
    Schedule eitTimes{0.0, 2.0};
    Schedule tdtTimes{0.0, 1.0};
    Schedule totTimes{0.5, 5.0};
    Schedule videoTimes{0.0, 0.04};
    Schedule audioTimes{0.0, 0.024};
    Schedule teletextTimes{0.02, 0.04};
    uint32_t videoFrames = 0;
    uint32_t teletextUnits = 0;
    const double packetSeconds = double(kPacketSize) * 8 / kMuxBitsPerSecond;
    const uint64_t packetCount = static_cast<uint64_t>(seconds / packetSeconds);
    for (uint64_t packetIndex = 0; packetIndex < packetCount; ++packetIndex) {
      const double now = packetIndex * packetSeconds;
      const uint32_t secondsOfDay = kStartHour * 3600 + static_cast<uint32_t>(now);
      const uint64_t pts = static_cast<uint64_t>((now + 2 * kPcrOffsetSeconds) * 90000);
      if (psiTimes.due(now)) {
        if (!settings_.withoutPat) {
          enqueue(tables_, packetize(0x0000, pat(settings_), true, false));
        }
        for (const Service& service : kServices) {
          enqueue(tables_, packetize(service.pmtPid, pmt(service), true, false));
        }
      }
      if (sdtTimes.due(now)) {
        enqueue(tables_, packetize(0x0011, sdt(settings_), true, false));
        enqueue(tables_, packetize(0x0010, nit(settings_), true, false));
      }
      if (eitTimes.due(now)) {
        for (const Service& service : kServices) {
          enqueue(tables_, packetize(0x0012, eitPresentFollowing(settings_, service, 0), true, false));
          enqueue(tables_, packetize(0x0012, eitPresentFollowing(settings_, service, 1), true, false));
        }
      }
      if (tdtTimes.due(now)) {
        enqueue(tables_, packetize(0x0014, tdt(secondsOfDay), true, false));
      }
      if (totTimes.due(now)) {
        enqueue(tables_, packetize(0x0014, tot(secondsOfDay), true, false));
      }
      if (videoTimes.due(now)) {
        for (const Service& service : kServices) {
          const Bytes frame = pes(0xe0, pts, videoFrame(noise_, videoFrames), false);
          enqueue(streams_, packetize(service.streams[0].pid, frame, false, service.pcrPid == service.streams[0].pid));
        }
        ++videoFrames;
      }
      if (audioTimes.due(now)) {
        for (const Service& service : kServices) {
          enqueue(streams_, packetize(service.streams[1].pid, pes(0xc0, pts, audioFrame(noise_), true), false, false));
        }
      }
      if (teletextTimes.due(now)) {
        const uint32_t page = teletextUnits++ % 2 == 0 ? 100 : 101;
        enqueue(streams_, packetize(kServices[0].streams[2].pid, teletextPes(pts, page, secondsOfDay), false, false));
      }
      send(now);
    }
  }

 private:
  void send(double now) {
    std::deque<Packet>* queue = !tables_.empty() ? &tables_ : !streams_.empty() ? &streams_ : nullptr;
    if (queue == nullptr) {
      Packet null;
      std::memset(null.bytes, 0xff, kPacketSize);
      null.bytes[0] = 0x47;
      null.bytes[1] = kNullPid >> 8;
      null.bytes[2] = kNullPid & 0xff;
      null.bytes[3] = 0x10;
      write(null, now);
      return;
    }
    write(queue->front(), now);
    queue->pop_front();
  }

  void write(Packet& packet, double now) {
    const uint32_t pid = static_cast<uint32_t>((packet.bytes[1] & 0x1f) << 8 | packet.bytes[2]);
    uint8_t& counter = continuity_[pid];
    packet.bytes[3] = static_cast<uint8_t>((packet.bytes[3] & 0xf0) | counter);
    if (pid != kNullPid) {
      counter = (counter + 1) & 0x0f;
    }
    if (packet.carriesPcr) {
      // 27 MHz clock: a 33-bit base at 90 kHz, 6 reserved bits, a 9-bit extension of 0.
      const uint64_t base = static_cast<uint64_t>((now + kPcrOffsetSeconds) * 90000);
      packet.bytes[6] = static_cast<uint8_t>(base >> 25);
      packet.bytes[7] = static_cast<uint8_t>(base >> 17);
      packet.bytes[8] = static_cast<uint8_t>(base >> 9);
      packet.bytes[9] = static_cast<uint8_t>(base >> 1);
      packet.bytes[10] = static_cast<uint8_t>((base & 1) << 7 | 0x7e);
      packet.bytes[11] = 0x00;
    }
    if (std::fwrite(packet.bytes, kPacketSize, 1, out_) != 1) {
      std::perror("ombrixhal-genstream");
      std::exit(1);
    }
  }

  std::FILE* out_;
  const Settings& settings_;
  // Tables go out before stream data; each queue in the order it was filled.
  std::deque<Packet> tables_;
  std::deque<Packet> streams_;
  Noise noise_;
  uint8_t continuity_[kNullPid + 1] = {};
};

// Analog line records, 64 bytes each: the line in bytes 0 and 1 (byte 0 + ((byte 1 & 0x06) << 8)),
// flags in byte 4 (0x27 on a teletext line), the line's 42 bytes from byte 5. Fifty fields a
// second, field 1 first; each carries the two teletext rows of a page (100 and 101 in turn) and
// a record that is no teletext. Lines of field 1 are tagged from 512 on, as the tag can hold.
void writeAnalogRecords(std::FILE* out, uint32_t seconds) {
  constexpr uint32_t kFieldsPerSecond = 50;
  constexpr uint8_t kTeletextFlags = 0x27;
  for (uint32_t field = 0; field < seconds * kFieldsPerSecond; ++field) {
    const uint32_t lineBase = field % 2 == 0 ? 512 : 0;
    const uint32_t page = field / 2 % 2 == 0 ? 100 : 101;
    std::vector<Bytes> lines = teletextRows(page, kStartHour * 3600 + field / kFieldsPerSecond);
    lines.push_back(Bytes(42, 0x00));
    for (size_t index = 0; index < lines.size(); ++index) {
      const bool teletext = index + 1 < lines.size();
      const uint32_t line = lineBase + (teletext ? 7 + static_cast<uint32_t>(index) : 23);
      uint8_t record[64] = {static_cast<uint8_t>(line & 0xff), static_cast<uint8_t>(line >> 8 & 0x06), 0, 0,
                            teletext ? kTeletextFlags : uint8_t{0}};
      std::memcpy(record + 5, lines[index].data(), lines[index].size());
      if (std::fwrite(record, sizeof record, 1, out) != 1) {
        std::perror("ombrixhal-genstream");
        std::exit(1);
      }
    }
  }
}

}  // namespace

int usage() {
  std::fprintf(stderr,
               "usage: ombrixhal-genstream [--without-pat] [--text-table TABLE] [--service-name NAME]\n"
               "                           [--provider NAME] [--event NAME] [--network-name NAME]\n"
               "                           [--frequency KHZ] [--multiplex N] OUTPUT [SECONDS]\n"
               "       ombrixhal-genstream --analog OUTPUT [SECONDS]\n"
               "  a transport stream, or with --analog a file of analog line records\n"
               "  --without-pat   no programme association table\n"
               "  --text-table    the table of the names: 6937 (the default table), 8859-1 to 8859-15,\n"
               "                  ucs-2 or utf-8\n"
               "  --service-name  the first service's name, --provider every service's provider, --event\n"
               "                  the first service's present event, --network-name the network's (in\n"
               "                  UTF-8)\n"
               "  --frequency     where the network table says the stream is (default 474000 kHz)\n"
               "  --multiplex     which of the band's three multiplexes (default 1): its transport stream\n"
               "                  id, service names and channel numbers\n");
  return 2;
}

int main(int argc, char** argv) {
  bool analog = false;
  Settings settings;
  std::vector<const char*> positional;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    std::string* text = argument == "--text-table"     ? &settings.textTable
                        : argument == "--service-name" ? &settings.serviceName
                        : argument == "--provider"     ? &settings.provider
                        : argument == "--event"        ? &settings.eventName
                        : argument == "--network-name" ? &settings.networkName
                                                       : nullptr;
    if (text != nullptr && i + 1 < argc) {
      *text = argv[++i];
    } else if ((argument == "--frequency" || argument == "--multiplex") && i + 1 < argc) {
      (argument == "--frequency" ? settings.frequencyKhz : settings.multiplex) =
          static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (argument == "--analog" || argument == "--without-pat") {
      (argument == "--analog" ? analog : settings.withoutPat) = true;
    } else if (argument.size() > 1 && argument[0] == '-') {
      return usage();
    } else {
      positional.push_back(argv[i]);
    }
  }
  if (positional.empty() || positional.size() > 2 || settings.multiplex < 1 || settings.multiplex > kMultiplexes) {
    return usage();
  }
  for (const std::string& text : {serviceName(settings, kServices[0]), serviceName(settings, kServices[1]),
                                  settings.provider, settings.eventName, settings.networkName}) {
    Bytes encoded;
    if (!utf8ToDvbText(text, settings.textTable, encoded) || encoded.size() > 255) {
      std::fprintf(stderr, "ombrixhal-genstream: \"%s\" cannot be written in table %s\n", text.c_str(),
                   settings.textTable.c_str());
      return 2;
    }
  }
  const char* path = positional[0];
  const uint32_t seconds =
      positional.size() == 2 ? static_cast<uint32_t>(std::strtoul(positional[1], nullptr, 10)) : kDefaultSeconds;
  std::FILE* out = std::fopen(path, "wb");
  if (out == nullptr) {
    std::perror(path);
    return 1;
  }
  if (analog) {
    writeAnalogRecords(out, seconds);
  } else {
    Multiplexer(out, settings).run(seconds);
  }
  if (std::fclose(out) != 0) {
    std::perror(path);
    return 1;
  }
  return 0;
}
