// The tables and packets a stream delivers, read into the report: the handlers of the filters
// that reception opens, one per kind of table, and those of PES, PCR, teletext and every packet.
#include <algorithm>

#include "OmbrixHalInspect.h"
#include "OmbrixHalToolCrc32.h"
#include "OmbrixHalToolDvbText.h"

namespace {

constexpr uint8_t kNitActualTable = 0x40;
constexpr uint8_t kNetworkNameDescriptor = 0x40;
constexpr uint8_t kServiceListDescriptor = 0x41;
constexpr uint8_t kTerrestrialDeliveryDescriptor = 0x5a;
constexpr uint8_t kLogicalChannelDescriptor = 0x83;
constexpr uint8_t kEitPresentFollowingTable = 0x4e;
constexpr uint8_t kTdtTable = 0x70;
constexpr uint8_t kTotTable = 0x73;
constexpr uint8_t kShortEventDescriptor = 0x4d;
constexpr uint32_t kShortestSection = 8;  // a TDT; every other table read here is longer
constexpr uint32_t kMjdOf1970 = 40587;

using SectionReader = void (*)(Report&, uint32_t pid, const uint8_t* section, uint32_t length);

uint32_t bcd(uint8_t value) {
  return (value >> 4) * 10u + (value & 0x0fu);
}

// A DVB time: modified Julian date, then hours, minutes and seconds in BCD.
OmbrixHalDateTime dvbTime(const uint8_t* bytes) {
  const uint32_t mjd = static_cast<uint32_t>(bytes[0] << 8 | bytes[1]);
  return (mjd - kMjdOf1970) * 86400u + bcd(bytes[2]) * 3600u + bcd(bytes[3]) * 60u + bcd(bytes[4]);
}


int hamming84(uint8_t byte) {
  // Data bits of a Hamming 8/4 byte are bits 1, 3, 5 and 7.
  return (byte >> 1 & 1) | (byte >> 3 & 1) << 1 | (byte >> 5 & 1) << 2 | (byte >> 7 & 1) << 3;
}

void readPat(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kPatTable) {
    return;
  }
  addProgrammes(report.services, section, length);
  report.transportStreamId = numberAt(section + 3);
  report.patSeen.store(true, std::memory_order_release);
}

void readPmt(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kPmtTable) {
    return;
  }
  Service* service = report.service(numberAt(section + 3));
  if (service == nullptr || service->described || length < 16) {
    return;
  }
  service->described = true;
  service->pcrPid = pidAt(section + 8);
  service->streams = readPmtStreams(section, length);
  report.describedServices.fetch_add(1, std::memory_order_release);
}

// The terrestrial delivery descriptor: centre frequency in 10 Hz, then bandwidth, constellation,
// code rate (high priority), guard interval and transmission mode in bit fields.
void readTerrestrialDelivery(NetworkStream& stream, const uint8_t* body, uint32_t size) {
  if (size < 7) {
    return;
  }
  static const char* const bandwidths[] = {"8 MHz", "7 MHz", "6 MHz", "5 MHz"};
  static const char* const constellations[] = {"QPSK", "QAM-16", "QAM-64", "?"};
  static const char* const codeRates[] = {"1/2", "2/3", "3/4", "5/6", "7/8", "?", "?", "?"};
  static const char* const guards[] = {"1/32", "1/16", "1/8", "1/4"};
  static const char* const modes[] = {"2K", "8K", "4K", "?"};
  const uint32_t centre = static_cast<uint32_t>(body[0] << 24 | body[1] << 16 | body[2] << 8 | body[3]);
  stream.frequencyKhz = centre / 100;
  const uint32_t bandwidth = body[4] >> 5;
  char text[128];
  std::snprintf(text, sizeof text, "%u kHz, %s, %s, guard %s, %s, code rate %s", stream.frequencyKhz,
                bandwidth < 4 ? bandwidths[bandwidth] : "?", modes[body[6] >> 1 & 3], guards[body[6] >> 3 & 3],
                constellations[body[5] >> 6], codeRates[body[5] & 7]);
  stream.delivery = text;
}

void readNitStream(NetworkStream& stream, uint8_t tag, const uint8_t* body, uint32_t size) {
  if (tag == kTerrestrialDeliveryDescriptor) {
    readTerrestrialDelivery(stream, body, size);
  } else if (tag == kServiceListDescriptor) {
    for (uint32_t at = 0; at + 3 <= size; at += 3) {
      stream.services.emplace_back(static_cast<uint32_t>(body[at] << 8 | body[at + 1]), body[at + 2]);
    }
  } else if (tag == kLogicalChannelDescriptor) {
    for (uint32_t at = 0; at + 4 <= size; at += 4) {
      stream.channelNumbers[static_cast<uint32_t>(body[at] << 8 | body[at + 1])] =
          static_cast<uint32_t>((body[at + 2] & 0x03) << 8 | body[at + 3]);
    }
  }
}

// The network table of the network this stream belongs to (NIT other shares the PID); each
// transport stream as its latest section describes it.
void readNit(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kNitActualTable || length < 16) {
    return;
  }
  Network& network = report.network;
  network.seen = true;
  network.id = static_cast<uint32_t>(section[3] << 8 | section[4]);
  const uint32_t networkEnd = std::min(10 + lengthAt(section + 8), bodyEnd(length));
  forEachDescriptor(section, 10, networkEnd, [&network](uint8_t tag, const uint8_t* body, uint32_t size) {
    if (tag == kNetworkNameDescriptor) {
      network.name = dvbTextToUtf8(body, size);
    }
  });
  if (networkEnd + 2 > bodyEnd(length)) {
    return;
  }
  const uint32_t loopEnd = std::min(networkEnd + 2 + lengthAt(section + networkEnd), bodyEnd(length));
  for (uint32_t at = networkEnd + 2; at + 6 <= loopEnd;) {
    NetworkStream stream;
    stream.id = static_cast<uint32_t>(section[at] << 8 | section[at + 1]);
    stream.originalNetworkId = static_cast<uint32_t>(section[at + 2] << 8 | section[at + 3]);
    const uint32_t descriptorsEnd = std::min(at + 6 + lengthAt(section + at + 4), loopEnd);
    forEachDescriptor(section, at + 6, descriptorsEnd, [&stream](uint8_t tag, const uint8_t* body, uint32_t size) {
      readNitStream(stream, tag, body, size);
    });
    network.streams[stream.id] = stream;
    at = descriptorsEnd;
  }
  report.nitSeen.store(true, std::memory_order_release);
}

void readSdt(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kSdtActualTable) {
    return;  // SDT other and BAT share the PID
  }
  forEachServiceName(section, length,
                     [&report](uint32_t number, const std::string& provider, const std::string& name) {
                       if (Service* service = report.service(number); service != nullptr) {
                         service->provider = provider;
                         service->name = name;
                       }
                     });
  report.sdtSeen.store(true, std::memory_order_release);
}

void readEit(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kEitPresentFollowingTable) {
    return;  // other transports' events and schedules share the PID
  }
  Service* service = report.service(static_cast<uint32_t>(section[3] << 8 | section[4]));
  if (service == nullptr || length < 14 + 12 + 4) {
    return;
  }
  Event& event = section[6] == 0 ? service->present : service->following;
  const uint8_t* first = section + 14;
  event.start = dvbTime(first + 2);
  event.durationSeconds = bcd(first[7]) * 3600 + bcd(first[8]) * 60 + bcd(first[9]);
  // A short event descriptor: language, then the event's name (and its text).
  forEachDescriptor(section, 14 + 12, std::min(14 + 12 + lengthAt(first + 10), bodyEnd(length)),
                    [&event](uint8_t tag, const uint8_t* body, uint32_t size) {
                      if (tag == kShortEventDescriptor && size >= 4) {
                        event.name = dvbTextToUtf8(body + 4, std::min(uint32_t{body[3]}, size - 4));
                      }
                    });
}

void readTime(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kTdtTable && section[0] != kTotTable) {
    return;
  }
  if (section[0] == kTotTable) {
    ++report.tots;
    // The one table the HAL cannot check here: the TDT beside it has no CRC, and the clients of
    // a PID share the first one's CRC setting.
    if (sectionCrc32(section, length) != 0) {
      ++report.totCrcErrors;
      return;
    }
  } else {
    ++report.tdts;
  }
  const OmbrixHalDateTime utc = dvbTime(section + 3);
  report.firstUtc = report.firstUtc == 0 ? utc : report.firstUtc;
  report.lastUtc = utc;
  OmbrixHalClockSetUtcTime(utc);
}

template <SectionReader read>
void onSection(OmbrixHalFilterHandle, const uint8_t* aSection, uint32_t aLength, void* aContext) {
  auto& context = *static_cast<FilterContext*>(aContext);
  ++context.report->pids[context.pid].sections;
  if (aLength >= kShortestSection) {
    read(*context.report, context.pid, aSection, aLength);
  }
}

// A teletext line as the HAL hands it: magazine and row, then for a page header the page
// number and, in its last 32 bytes, the header text with odd parity in bit 7.
void readTeletextLine(Report& report, const uint8_t* aLine, uint32_t aLength) {
  if (aLength < 42) {
    return;
  }
  const int address = hamming84(aLine[0]) | hamming84(aLine[1]) << 4;
  const int magazine = (address & 7) == 0 ? 8 : address & 7;
  if (address >> 3 != 0) {
    return;  // only page headers (row 0) name their page
  }
  const int units = hamming84(aLine[2]);
  const int tens = hamming84(aLine[3]);
  if (units > 9 || tens > 9) {
    return;
  }
  std::string header;
  for (int i = 10; i < 42; ++i) {
    const char character = static_cast<char>(aLine[i] & 0x7f);
    header += character >= 0x20 && character < 0x7f ? character : ' ';
  }
  header.erase(header.find_last_not_of(' ') + 1);
  report.teletextPages[magazine * 100 + tens * 10 + units] = header;
}

}  // namespace

const OmbrixHalFilterHandler onPatSection = onSection<readPat>;
const OmbrixHalFilterHandler onPmtSection = onSection<readPmt>;
const OmbrixHalFilterHandler onNitSection = onSection<readNit>;
const OmbrixHalFilterHandler onSdtSection = onSection<readSdt>;
const OmbrixHalFilterHandler onEitSection = onSection<readEit>;
const OmbrixHalFilterHandler onTimeSection = onSection<readTime>;

void onPes(OmbrixHalFilterHandle, const uint8_t*, uint32_t, void* aContext) {
  auto& context = *static_cast<FilterContext*>(aContext);
  ++context.report->pids[context.pid].pes;
}

void onPcr(OmbrixHalFilterHandle, const uint8_t* aRecord, uint32_t aLength, void* aContext) {
  auto& context = *static_cast<FilterContext*>(aContext);
  if (aLength >= 4) {
    context.report->pcrs[context.pid].add(aRecord, aLength, context.report->packets.load(std::memory_order_relaxed));
  }
}

void onTeletext(OmbrixHalFilterHandle, const uint8_t* aLine, uint32_t aLength, void* aContext) {
  auto& context = *static_cast<FilterContext*>(aContext);
  ++context.report->pids[context.pid].teletextLines;
  readTeletextLine(*context.report, aLine, aLength);
}

// The teletext lines of analog line records; the first argument is the record's source.
void onAnalogTeletext(OmbrixHalFilterHandle, const uint8_t* aLine, uint32_t aLength, void* aContext) {
  auto& report = *static_cast<Report*>(aContext);
  ++report.recordTeletextLines;
  readTeletextLine(report, aLine, aLength);
}

// Every analog line record, counted.
void onRecord(void*, const uint8_t*, uint32_t, void* aContext) {
  auto& report = *static_cast<Report*>(aContext);
  report.packets.store(report.packets.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// While the services are looked for: the PIDs that start PES packets or carry PCRs, which are
// all a stream without a PAT tells of its elementary streams.
void onDiscoveryPacket(OmbrixHalFilterHandle, const uint8_t* aPacket, uint32_t, void* aContext) {
  auto& report = *static_cast<Report*>(aContext);
  const uint32_t pid = pidAt(aPacket + 1);
  const bool adaptation = (aPacket[3] & 0x20) != 0;
  const uint32_t payload = adaptation ? 5u + aPacket[4] : 4u;
  if (adaptation && aPacket[4] >= 7 && (aPacket[5] & 0x10) != 0) {
    report.pcrCarriers.insert(pid);
  }
  if ((aPacket[1] & 0x40) != 0 && (aPacket[3] & 0x10) != 0 && payload + 3 <= kPacketSize &&
      aPacket[payload] == 0 && aPacket[payload + 1] == 0 && aPacket[payload + 2] == 1) {
    report.pesPids.insert(pid);
  }
}

// Every packet: counted per PID, and checked for the damage a recording can carry.
void onPacket(OmbrixHalFilterHandle, const uint8_t* aPacket, uint32_t, void* aContext) {
  auto& report = *static_cast<Report*>(aContext);
  const uint32_t pid = pidAt(aPacket + 1);
  PidCounts& counts = report.pids[pid];
  ++counts.packets;
  report.packets.store(report.packets.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  report.damage.syncErrors += aPacket[0] != 0x47;
  report.damage.transportErrors += (aPacket[1] & 0x80) != 0;
  const bool hasPayload = (aPacket[3] & 0x10) != 0;
  const bool discontinuity = (aPacket[3] & 0x20) != 0 && aPacket[4] > 0 && (aPacket[5] & 0x80) != 0;
  const int counter = aPacket[3] & 0x0f;
  if (pid != kNullPid && hasPayload) {
    // One repeated packet is allowed; anything else but the next counter means packets were lost.
    if (counts.lastCounter >= 0 && !discontinuity && counter != counts.lastCounter &&
        counter != ((counts.lastCounter + 1) & 0x0f)) {
      ++report.damage.continuityErrors;
    }
    counts.lastCounter = counter;
  }
}
