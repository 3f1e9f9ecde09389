// ombrixhal-inspect: what the HAL hands a middleware from a recording or from live reception.
// Plays a transport stream through a "digitalFile" tuner, or receives a channel through the
// "DVB-T" tuner for some seconds, with the filters a middleware opens (sections of the PAT, the
// PMTs, the NIT, the SDT, the EIT present/following and the TDT/TOT; PES of every elementary
// stream; PCR; teletext) and prints the services, network, events, time, counts and teletext
// pages it received, with --play also playing the first service through the AV player into the
// player library; or scans a band of DVB-T frequencies; or plays analog line records through an
// "analogFile" tuner and its teletext filter. Uses the public C API only, as a middleware does.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "OmbrixHal.h"
#include "OmbrixHalToolCrc32.h"
#include "OmbrixHalToolDvbText.h"

namespace {

constexpr uint32_t kPacketSize = 188;
constexpr uint32_t kRecordSize = 64;                // an analog line record
constexpr OmbrixHalFilterType kRecordTeletext = 7;  // the analog file filter's type that delivers
constexpr uint32_t kFieldIntervalMs = 20;           // 50 fields a second
constexpr uint32_t kPatPid = 0x0000;
constexpr uint32_t kNitPid = 0x0010;
constexpr uint32_t kSdtPid = 0x0011;
constexpr uint32_t kEitPid = 0x0012;
constexpr uint32_t kTimePid = 0x0014;  // TDT and TOT
constexpr uint8_t kPatTable = 0x00;
constexpr uint8_t kPmtTable = 0x02;
constexpr uint8_t kNitActualTable = 0x40;
constexpr uint8_t kSdtActualTable = 0x42;
constexpr uint8_t kNetworkNameDescriptor = 0x40;
constexpr uint8_t kServiceListDescriptor = 0x41;
constexpr uint8_t kTerrestrialDeliveryDescriptor = 0x5a;
constexpr uint8_t kLogicalChannelDescriptor = 0x83;
constexpr uint8_t kEitPresentFollowingTable = 0x4e;
constexpr uint8_t kTdtTable = 0x70;
constexpr uint8_t kTotTable = 0x73;
constexpr uint8_t kServiceDescriptor = 0x48;
constexpr uint8_t kShortEventDescriptor = 0x4d;
constexpr uint8_t kTeletextDescriptor = 0x56;
constexpr uint8_t kPrivateDataStreamType = 0x06;
constexpr uint32_t kShortestSection = 8;  // a TDT; every other table read here is longer
constexpr uint32_t kNullPid = 0x1fff;
constexpr uint32_t kDiscoveryPacketLimit = 2000000;
constexpr uint32_t kPullBatch = 20000;
constexpr uint32_t kMjdOf1970 = 40587;
constexpr uint32_t kPcrUnitsPerSecond = 45000;

const char* const kDefaultStream = OMBRIX_HAL_DEFAULT_STREAM;
const char* const kDefaultAnalog = OMBRIX_HAL_DEFAULT_ANALOG;
// The receiver emulator's channel plan that the build writes: the emulated band, the default
// stream on 474000 kHz and two more multiplexes.
const char* const kDefaultChannelPlan = OMBRIX_HAL_DEFAULT_CHANNEL_PLAN;
// Where a scan writes its channel list unless told.
const char* const kDefaultChannelList = OMBRIX_HAL_DEFAULT_CHANNEL_LIST;
constexpr const char* kChannelPlanVariable = "DIB_EMULATOR_CHANNEL_PLAN";
constexpr uint32_t kDefaultLiveSeconds = 5;
constexpr auto kLiveTableWait = std::chrono::seconds(5);  // the PAT and PMTs come several times a second
const std::string kLocalPrefix = "//local/";
constexpr size_t kLongestTunerName = 255;
constexpr const char* kNoPatNote = "no programme association table; the PIDs are all the stream tells";

uint32_t pidAt(const uint8_t* bytes) {
  return static_cast<uint32_t>((bytes[0] & 0x1f) << 8 | bytes[1]);
}
uint32_t lengthAt(const uint8_t* bytes) {
  return static_cast<uint32_t>((bytes[0] & 0x0f) << 8 | bytes[1]);
}
uint32_t bcd(uint8_t value) {
  return (value >> 4) * 10u + (value & 0x0fu);
}

// A DVB time: modified Julian date, then hours, minutes and seconds in BCD.
OmbrixHalDateTime dvbTime(const uint8_t* bytes) {
  const uint32_t mjd = static_cast<uint32_t>(bytes[0] << 8 | bytes[1]);
  return (mjd - kMjdOf1970) * 86400u + bcd(bytes[2]) * 3600u + bcd(bytes[3]) * 60u + bcd(bytes[4]);
}

std::string timeText(OmbrixHalDateTime time) {
  char text[OMBRIX_HAL_DATE_TIME_TEXT_SIZE] = {};
  OmbrixHalDateTimeToString(time, text);
  return text;
}

// A name in a column of `columns` characters: padded, and a line break read as a blank.
std::string column(std::string text, size_t columns) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text + std::string(columns - std::min(columns, textColumns(text)), ' ');
}

int hamming84(uint8_t byte) {
  // Data bits of a Hamming 8/4 byte are bits 1, 3, 5 and 7.
  return (byte >> 1 & 1) | (byte >> 3 & 1) << 1 | (byte >> 5 & 1) << 2 | (byte >> 7 & 1) << 3;
}

struct Stream {
  uint32_t pid;
  uint8_t type;
  bool teletext;
};

struct Event {
  std::string name;
  OmbrixHalDateTime start = 0;
  uint32_t durationSeconds = 0;
};

struct Service {
  uint32_t number = 0;
  uint32_t pmtPid = 0;
  uint32_t pcrPid = kNullPid;
  std::string name;
  std::string provider;
  std::vector<Stream> streams;
  Event present;
  Event following;
  bool described = false;
};

struct PidCounts {
  uint64_t packets = 0;
  uint64_t sections = 0;
  uint64_t pes = 0;
  uint64_t teletextLines = 0;
  uint32_t crcErrors = 0;
  int lastCounter = -1;  // continuity counter of the last packet with payload
};

// What is wrong with a recording, beyond what the filters drop quietly.
struct Damage {
  uint64_t syncErrors = 0;       // packets whose first byte is not 0x47
  uint64_t transportErrors = 0;  // packets the receiver marked as broken
  uint64_t continuityErrors = 0;
  uint64_t crcErrors = 0;
  uint64_t strayBytes = 0;  // bytes before the first or after the last whole packet or record

  // `units`: what the file is cut into.
  std::string describe(const char* units) const {
    std::string text;
    const auto add = [&text](uint64_t count, const char* what) {
      if (count != 0) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
      }
    };
    add(syncErrors, "packets without sync byte");
    add(transportErrors, "packets with transport errors");
    add(continuityErrors, "continuity errors");
    add(crcErrors, "section CRC errors");
    add(strayBytes, ("bytes outside whole " + std::string(units) + " (truncated?)").c_str());
    return text;
  }
};

// Where the PCR of one PID was first and last seen, against the packets of the whole stream.
struct PcrSpan {
  uint32_t first = 0;
  uint32_t last = 0;
  uint64_t firstPacket = 0;
  uint64_t lastPacket = 0;
  uint64_t count = 0;
};

// A transport stream of the network table, with its terrestrial delivery where it has one.
struct NetworkStream {
  uint32_t id = 0;
  uint32_t originalNetworkId = 0;
  uint32_t frequencyKhz = 0;
  std::string delivery;                                 // frequency and parameters as text
  std::vector<std::pair<uint32_t, uint8_t>> services;  // number, type
  std::map<uint32_t, uint32_t> channelNumbers;         // service number, logical channel number
};

struct Network {
  bool seen = false;
  uint32_t id = 0;
  std::string name;
  std::map<uint32_t, NetworkStream> streams;  // by transport stream id
};

struct Report {
  std::string file;
  uint64_t fileBytes = 0;
  std::vector<Service> services;
  std::map<uint32_t, PidCounts> pids;
  std::map<uint32_t, PcrSpan> pcrs;
  std::map<int, std::string> teletextPages;  // page number, header text
  OmbrixHalDateTime firstUtc = 0;
  OmbrixHalDateTime lastUtc = 0;
  uint32_t tdts = 0;
  uint32_t tots = 0;
  uint32_t totCrcErrors = 0;
  std::string clock;  // what the HAL's clock reads after the stream set it
  bool analog = false;               // a file of analog line records
  std::atomic<uint64_t> packets{0};  // TS packets, or analog line records
  uint64_t recordTeletextLines = 0;
  Damage damage;
  // Set by the delivering thread once the PAT's services, or a PMT's streams, are written.
  std::atomic<bool> patSeen{false};
  std::atomic<size_t> describedServices{0};
  std::atomic<bool> sdtSeen{false};
  std::atomic<bool> nitSeen{false};
  // Live reception: what the tuner detected, and the signal.
  bool live = false;
  OmbrixHalTunerParameterDvbT reception{};
  uint32_t strength = 0;
  uint32_t quality = 0;
  uint32_t seconds = 0;
  std::string played;  // the service that the AV player played, and its PIDs
  // Without a PAT: the PIDs whose packets start PES packets, and those that carry a PCR, as the
  // packets themselves show them.
  std::set<uint32_t> pesPids;
  std::set<uint32_t> pcrCarriers;
  uint32_t transportStreamId = 0;  // the PAT's
  Network network;

  uint32_t unitBytes() const { return analog ? kRecordSize : kPacketSize; }

  Service* service(uint32_t number) {
    for (Service& service : services) {
      if (service.number == number) {
        return &service;
      }
    }
    return nullptr;
  }
};

struct Options {
  std::string file;
  bool analog = false;  // a file of analog line records rather than a transport stream
  bool json = false;
  bool log = false;
  bool realtime = false;
  std::string frequency;  // kHz: receive this DVB-T channel instead of playing a file
  uint32_t bandwidthMhz = 8;
  uint32_t seconds = kDefaultLiveSeconds;
  bool playService = false;  // the first service through the AV player as well
  std::string tuneLine;      // receive the channel this tuning line names
  bool scan = false;
  std::string scanList;  // kHz, comma-separated, or "uhf"; empty: the channels of the plan
  std::string channelList = kDefaultChannelList;
};

// What a filter's handler needs: the report and the PID the filter selects.
struct FilterContext {
  Report* report;
  uint32_t pid;
};

using SectionReader = void (*)(Report&, uint32_t pid, const uint8_t* section, uint32_t length);

// Calls read(tag, body, size) for each descriptor of the loop from `at` to `end` that fits in
// it, and stops at one that does not: a section may pass its CRC and still be malformed.
template <typename Read>
void forEachDescriptor(const uint8_t* section, uint32_t at, uint32_t end, Read read) {
  while (at + 2 <= end && at + 2 + section[at + 1] <= end) {
    read(section[at], section + at + 2, uint32_t{section[at + 1]});
    at += 2 + section[at + 1];
  }
}

// The end of a section's loops: its CRC.
uint32_t bodyEnd(uint32_t length) {
  return length - 4;
}

void readPat(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kPatTable) {
    return;
  }
  for (uint32_t at = 8; at + 4 + 4 <= length; at += 4) {
    const uint32_t number = static_cast<uint32_t>(section[at] << 8 | section[at + 1]);
    if (number != 0 && report.service(number) == nullptr) {
      Service service;
      service.number = number;
      service.pmtPid = pidAt(section + at + 2);
      report.services.push_back(service);
    }
  }
  report.transportStreamId = static_cast<uint32_t>(section[3] << 8 | section[4]);
  report.patSeen.store(true, std::memory_order_release);
}

void readPmt(Report& report, uint32_t, const uint8_t* section, uint32_t length) {
  if (section[0] != kPmtTable) {
    return;
  }
  Service* service = report.service(static_cast<uint32_t>(section[3] << 8 | section[4]));
  if (service == nullptr || service->described || length < 16) {
    return;
  }
  service->described = true;
  service->pcrPid = pidAt(section + 8);
  for (uint32_t at = 12 + lengthAt(section + 10); at + 5 <= bodyEnd(length);) {
    const uint32_t descriptorsEnd = at + 5 + lengthAt(section + at + 3);
    Stream stream{.pid = pidAt(section + at + 1), .type = section[at], .teletext = false};
    forEachDescriptor(section, at + 5, std::min(descriptorsEnd, bodyEnd(length)),
                      [&stream](uint8_t tag, const uint8_t*, uint32_t) {
                        stream.teletext = stream.teletext || (stream.type == kPrivateDataStreamType && tag == kTeletextDescriptor);
                      });
    service->streams.push_back(stream);
    at = descriptorsEnd;
  }
  report.describedServices.fetch_add(1, std::memory_order_release);
}

// Service type, provider name, service name.
void readServiceDescriptor(Service& service, const uint8_t* body, uint32_t size) {
  const uint32_t providerLength = size >= 2 ? body[1] : size;
  if (2 + providerLength + 1 > size || 3 + providerLength + body[2 + providerLength] > size) {
    return;
  }
  service.provider = dvbTextToUtf8(body + 2, providerLength);
  service.name = dvbTextToUtf8(body + 3 + providerLength, body[2 + providerLength]);
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
  for (uint32_t at = 11; at + 5 <= bodyEnd(length);) {
    const uint32_t end = at + 5 + lengthAt(section + at + 3);
    Service* service = report.service(static_cast<uint32_t>(section[at] << 8 | section[at + 1]));
    forEachDescriptor(section, at + 5, std::min(end, bodyEnd(length)),
                      [service](uint8_t tag, const uint8_t* body, uint32_t size) {
                        if (service != nullptr && tag == kServiceDescriptor) {
                          readServiceDescriptor(*service, body, size);
                        }
                      });
    at = end;
  }
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

void onPes(OmbrixHalFilterHandle, const uint8_t*, uint32_t, void* aContext) {
  auto& context = *static_cast<FilterContext*>(aContext);
  ++context.report->pids[context.pid].pes;
}

void onPcr(OmbrixHalFilterHandle, const uint8_t* aRecord, uint32_t aLength, void* aContext) {
  auto& context = *static_cast<FilterContext*>(aContext);
  if (aLength < 4) {
    return;
  }
  uint32_t pcr;
  std::memcpy(&pcr, aRecord, sizeof pcr);
  PcrSpan& span = context.report->pcrs[context.pid];
  const uint64_t packet = context.report->packets.load(std::memory_order_relaxed);
  if (span.count++ == 0) {
    span.first = pcr;
    span.firstPacket = packet;
  }
  span.last = pcr;
  span.lastPacket = packet;
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

void printLog(void*, const char* aFunctionName, uint32_t aLogId, uint32_t aSeverity, const char* aText) {
  static const char* const severities[] = {"?", "error", "warning", "info"};
  std::fprintf(stderr, "log %-7s 0x%04x %s: %s\n", severities[aSeverity <= 3 ? aSeverity : 0], aLogId, aFunctionName,
               aText);
}

// Why a file cannot be inspected; thrown so that the filters are closed on the way out.
struct Failure {
  std::string reason;
};

// The filters of one play, closed together.
class Filters {
 public:
  Filters(OmbrixHalTunerHandle tuner, Report& report) : tuner_(tuner), report_(report) {}
  ~Filters() {
    for (OmbrixHalFilterHandle filter : filters_) {
      OmbrixHalFilterClose(filter);
    }
  }
  Filters(const Filters&) = delete;
  Filters& operator=(const Filters&) = delete;

  // A section filter for every table of one PID: the tables are told apart here, since all
  // clients of a PID share the first one's match and mask.
  OmbrixHalFilterHandle sections(uint32_t pid, OmbrixHalFilterHandler handler, bool crcCheck) {
    OmbrixHalFilterParameter parameter{};
    parameter.crcCheck = crcCheck ? 1 : 0;
    return open(OMBRIX_HAL_FILTER_TYPE_SECTION, pid, handler, parameter);
  }
  OmbrixHalFilterHandle open(OmbrixHalFilterType type, uint32_t pid, OmbrixHalFilterHandler handler,
                             OmbrixHalFilterParameter parameter = {}) {
    contexts_.push_back(std::make_unique<FilterContext>(FilterContext{&report_, pid}));
    OmbrixHalFilterHandle filter = OmbrixHalFilterOpen(tuner_, type, nullptr, handler, contexts_.back().get());
    parameter.pid = pid;
    if (filter == nullptr || !OmbrixHalFilterSetParameter(filter, &parameter) || !OmbrixHalFilterStart(filter)) {
      std::fprintf(stderr, "ombrixhal-inspect: cannot filter PID 0x%04x\n", pid);
      OmbrixHalFilterClose(filter);
      return nullptr;
    }
    filters_.push_back(filter);
    if (type == OMBRIX_HAL_FILTER_TYPE_SECTION) {
      sectionPids_[filter] = pid;
    }
    return filter;
  }
  // Every packet, for the per-PID counts and the packet positions of the PCRs (or, while the
  // services are looked for, `handler`'s own reading).
  void everyPacket(OmbrixHalFilterHandler handler = onPacket) {
    OmbrixHalFilterHandle filter = OmbrixHalFilterOpen(tuner_, OMBRIX_HAL_FILTER_TYPE_TS, nullptr, handler, &report_);
    OmbrixHalFilterParameter parameter{};
    parameter.pid = OMBRIX_HAL_FILTER_PID_ALL;
    if (filter != nullptr && OmbrixHalFilterSetParameter(filter, &parameter) && OmbrixHalFilterStart(filter)) {
      filters_.push_back(filter);
    }
  }
  // Afterwards no handler of these filters runs: each Stop waits for a delivery under way.
  void stopAll() {
    for (OmbrixHalFilterHandle filter : filters_) {
      OmbrixHalFilterStop(filter);
    }
  }
  void collectCrcErrors() {
    for (const auto& [filter, pid] : sectionPids_) {
      OmbrixHalFilterInfo info{};
      const auto counts = report_.pids.find(pid);
      if (counts != report_.pids.end() && OmbrixHalFilterGetInfo(filter, &info)) {
        counts->second.crcErrors = info.crcErrors;
        report_.damage.crcErrors += info.crcErrors;
      }
    }
  }

 private:
  OmbrixHalTunerHandle tuner_;
  Report& report_;
  std::vector<OmbrixHalFilterHandle> filters_;
  std::vector<std::unique_ptr<FilterContext>> contexts_;
  std::map<OmbrixHalFilterHandle, uint32_t> sectionPids_;
};

// Plays the file from its start, once; quoted, the name may hold blanks and commas.
void tune(OmbrixHalTunerHandle tuner, const std::string& file, uint32_t symbolRate) {
  const std::string line =
      "digitalFile: name=\"" + kLocalPrefix + file + "\", repetitions=1, symbolrate=" + std::to_string(symbolRate);
  if (!OmbrixHalTunerSetParameterByString(tuner, line.c_str())) {
    throw Failure{"not a transport stream (no packet sync in its first bytes)"};
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  while (OmbrixHalTunerGetStatus(tuner) != OMBRIX_HAL_TUNER_STATUS_LOCKED) {
    if (std::chrono::steady_clock::now() > deadline) {
      throw Failure{"the tuner does not lock"};
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

// Until `done`: pulled packet by packet from a file, or waited for while a live tuner delivers
// on its own thread.
template <typename Done>
void receiveUntil(OmbrixHalTunerHandle tuner, bool live, Done done) {
  if (!live) {
    for (uint32_t n = 0; n < kDiscoveryPacketLimit && !done() && OmbrixHalTunerReceive(tuner, 1); ++n) {
    }
    return;
  }
  const auto deadline = std::chrono::steady_clock::now() + kLiveTableWait;
  while (!done() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

// The services: the PAT, then every PMT, from the start of the file or as they are broadcast.
// Closing a filter waits for its delivery, so the services are read only once their filters
// are closed. A stream without a PAT has no services, only its PIDs.
void discover(OmbrixHalTunerHandle tuner, Report& report) {
  {
    Filters filters(tuner, report);
    filters.sections(kPatPid, onSection<readPat>, true);
    if (!report.live) {
      filters.everyPacket(onDiscoveryPacket);
    }
    receiveUntil(tuner, report.live, [&report] { return report.patSeen.load(std::memory_order_acquire); });
  }
  if (!report.patSeen) {
    return;
  }
  Filters filters(tuner, report);
  for (const Service& service : report.services) {
    filters.sections(service.pmtPid, onSection<readPmt>, true);
  }
  const size_t services = report.services.size();
  receiveUntil(tuner, report.live, [&report, services] {
    return report.describedServices.load(std::memory_order_acquire) >= services;
  });
}

// The stream's rate in bits per second: the packets between the first and the last PCR of a
// PID, over the time between them.
double bitrate(const Report& report) {
  for (const auto& [pid, span] : report.pcrs) {
    const uint32_t units = span.last - span.first;
    if (span.count >= 2 && units != 0) {
      return double(span.lastPacket - span.firstPacket) * kPacketSize * 8 * kPcrUnitsPerSecond / units;
    }
  }
  return 0;
}

// For paced play: the rate from the first PCRs of the first service.
double measureBitrate(OmbrixHalTunerHandle tuner, Report& report) {
  if (report.services.empty() || report.services[0].pcrPid == kNullPid) {
    return 0;
  }
  Filters filters(tuner, report);
  filters.everyPacket();
  filters.open(OMBRIX_HAL_FILTER_TYPE_PCR, report.services[0].pcrPid, onPcr);
  const PcrSpan& span = report.pcrs[report.services[0].pcrPid];
  for (uint32_t n = 0; n < kDiscoveryPacketLimit && span.count < 10 && OmbrixHalTunerReceive(tuner, 1); ++n) {
  }
  const double measured = bitrate(report);
  report.pcrs.clear();
  return measured;
}

void showProgress(const Report& report, std::chrono::steady_clock::time_point start, bool done) {
  const uint64_t total = std::max<uint64_t>(report.fileBytes / report.unitBytes(), 1);
  const uint64_t packets = report.packets.load(std::memory_order_relaxed);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::fprintf(stderr, "\r%5.1f %%  %8.1f MB/s", 100.0 * std::min(packets, total) / total,
               seconds > 0 ? packets * static_cast<double>(report.unitBytes()) / seconds / 1e6 : 0.0);
  if (done) {
    std::fputc('\n', stderr);
  }
}

// Plays the tuned file to its end: paced, until the status turns NOT LOCKED, or pulled, until
// Receive gives nothing more; with the progress line when stderr is a terminal.
void playToEnd(OmbrixHalTunerHandle tuner, const Report& report, const Options& options) {
  const bool progress = isatty(STDERR_FILENO) && !options.json;
  const auto start = std::chrono::steady_clock::now();
  while (options.realtime ? OmbrixHalTunerGetStatus(tuner) == OMBRIX_HAL_TUNER_STATUS_LOCKED
                          : OmbrixHalTunerReceive(tuner, kPullBatch) != 0) {
    if (progress) {
      showProgress(report, start, false);
    }
    if (options.realtime) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
  }
  if (progress) {
    showProgress(report, start, true);
  }
}

// The first service with audio or video, played through the AV player while this lives: its
// audio, video and PCR PIDs, the first of each kind.
class ServicePlayer {
 public:
  ServicePlayer(OmbrixHalTunerHandle tuner, Report& report) {
    for (const Service& service : report.services) {
      OmbrixHalAvPlayerParameter parameter{0, 0, 0, 0, service.pcrPid};
      for (const Stream& stream : service.streams) {
        const bool video = stream.type == 0x01 || stream.type == 0x02 || stream.type == 0x1b || stream.type == 0x24;
        const bool audio = stream.type == 0x03 || stream.type == 0x04 || stream.type == 0x0f || stream.type == 0x81;
        uint32_t& pid = video ? parameter.VideoPid : parameter.AudioPid;
        if ((video || audio) && pid == 0) {
          pid = stream.pid;
          (video ? parameter.VideoType : parameter.AudioType) = stream.type;
        }
      }
      if (parameter.AudioPid == 0 && parameter.VideoPid == 0) {
        continue;
      }
      player_ = OmbrixHalAvPlayerOpen(tuner);
      if (!OmbrixHalAvPlayerSetParameter(player_, &parameter) || !OmbrixHalAvPlayerPlay(player_)) {
        throw Failure{"the AV player cannot play service " + std::to_string(service.number)};
      }
      char text[96];
      std::snprintf(text, sizeof text, "service %u: audio 0x%04x, video 0x%04x, PCR 0x%04x", service.number,
                    parameter.AudioPid, parameter.VideoPid, parameter.PcrPid);
      report.played = text;
      return;
    }
    throw Failure{"no service with audio or video to play"};
  }
  ~ServicePlayer() {
    OmbrixHalAvPlayerStop(player_);
    OmbrixHalAvPlayerClose(player_);
  }
  ServicePlayer(const ServicePlayer&) = delete;
  ServicePlayer& operator=(const ServicePlayer&) = delete;

 private:
  OmbrixHalAvPlayerHandle player_ = nullptr;
};

// `pacedBitrate`: the stream's rate for a paced play, in bits per second. Live reception runs for
// the seconds asked; its tuner hands each PID to one filter chain, so it counts no packets.
void play(OmbrixHalTunerHandle tuner, Report& report, const Options& options, double pacedBitrate) {
  Filters filters(tuner, report);
  if (!report.live) {
    filters.everyPacket();
  }
  filters.sections(kPatPid, onSection<readPat>, true);
  filters.sections(kNitPid, onSection<readNit>, true);
  filters.sections(kSdtPid, onSection<readSdt>, true);
  filters.sections(kEitPid, onSection<readEit>, true);
  filters.sections(kTimePid, onSection<readTime>, false);  // the TDT has no CRC
  std::map<uint32_t, bool> pcrPids;
  for (const Service& service : report.services) {
    filters.sections(service.pmtPid, onSection<readPmt>, true);
    for (const Stream& stream : service.streams) {
      filters.open(stream.teletext ? OMBRIX_HAL_FILTER_TYPE_TELETEXT : OMBRIX_HAL_FILTER_TYPE_PES, stream.pid,
                   stream.teletext ? onTeletext : onPes);
    }
    if (service.pcrPid != kNullPid && !pcrPids[service.pcrPid]) {
      pcrPids[service.pcrPid] = true;
      filters.open(OMBRIX_HAL_FILTER_TYPE_PCR, service.pcrPid, onPcr);
    }
  }
  if (!report.patSeen) {
    for (uint32_t pid : report.pesPids) {
      filters.open(OMBRIX_HAL_FILTER_TYPE_PES, pid, onPes);
    }
    for (uint32_t pid : report.pcrCarriers) {
      filters.open(OMBRIX_HAL_FILTER_TYPE_PCR, pid, onPcr);
    }
  }
  report.packets = 0;
  report.damage = {};
  std::unique_ptr<ServicePlayer> player;
  if (options.playService) {
    player = std::make_unique<ServicePlayer>(tuner, report);
  }
  if (report.live) {
    std::this_thread::sleep_for(std::chrono::seconds(options.seconds));
    report.seconds = options.seconds;
    filters.stopAll();
  } else {
    // Paced by the tuner's own thread at the stream's rate, in units of 1000 bytes per second.
    tune(tuner, report.file, options.realtime ? static_cast<uint32_t>(std::max(pacedBitrate / 8000, 1.0)) : 0);
    playToEnd(tuner, report, options);
  }
  player.reset();
  filters.collectCrcErrors();
  if (report.lastUtc != 0) {
    report.clock = timeText(OmbrixHalClockGetUtcTime());
  }
}

std::string streamTypeText(const Stream& stream) {
  switch (stream.type) {
    case 0x01: return "MPEG-1 video";
    case 0x02: return "MPEG-2 video";
    case 0x03: return "MPEG-1 audio";
    case 0x04: return "MPEG-2 audio";
    case 0x06: return stream.teletext ? "teletext" : "private data";
    case 0x0f: return "AAC audio";
    case 0x1b: return "H.264 video";
    case 0x24: return "HEVC video";
    case 0x81: return "AC-3 audio";
    default: return "type 0x" + [&] { char hex[8]; std::snprintf(hex, sizeof hex, "%02x", stream.type); return std::string(hex); }();
  }
}

std::string eventText(const Event& event) {
  if (event.name.empty()) {
    return "-";
  }
  char minutes[16];
  std::snprintf(minutes, sizeof minutes, " (%u min)", event.durationSeconds / 60);
  return timeText(event.start).substr(11, 5) + " " + column(event.name, 0) + minutes;
}

// A value of the tuning record's enumerations as the tuner's texts name it.
const char* enumerationText(int32_t value, std::initializer_list<std::pair<int32_t, const char*>> texts) {
  for (const auto& [number, text] : texts) {
    if (number == value) {
      return text;
    }
  }
  return "auto";
}

// What the tuner detected: frequency, bandwidth and transmission parameters.
std::string parametersText(const OmbrixHalTunerParameterDvbT& reception) {
  char text[256];
  std::snprintf(text, sizeof text, "%u kHz, %s, %s, guard %s, %s, code rate %s", reception.Frequency,
                enumerationText(reception.Bandwidth, {{1, "5 MHz"}, {2, "6 MHz"}, {3, "7 MHz"}, {4, "8 MHz"}}),
                enumerationText(reception.TransmissionMode, {{2, "2K"}, {3, "4K"}, {4, "8K"}}),
                enumerationText(reception.GuardInterval, {{2, "1/4"}, {3, "1/8"}, {4, "1/16"}, {5, "1/32"}}),
                enumerationText(reception.Modulation, {{2, "QPSK"}, {4, "QAM-16"}, {6, "QAM-64"}}),
                enumerationText(reception.CodeRate, {{2, "1/2"}, {5, "2/3"}, {7, "3/4"}, {10, "5/6"}, {12, "7/8"}}));
  return text;
}

std::string receptionText(const Report& report) {
  char signal[96];
  std::snprintf(signal, sizeof signal, "; signal strength %u %%, quality %u %%; %u s received", report.strength,
                report.quality, report.seconds);
  return parametersText(report.reception) + signal;
}

// Live: where the network table says this transport stream is broadcast, when the tuner is
// elsewhere (a transmitter relaying another's stream, or a wrong table); else nothing.
std::string frequencyNote(const Report& report) {
  const auto stream = report.network.streams.find(report.transportStreamId);
  if (!report.live || stream == report.network.streams.end() || stream->second.frequencyKhz == 0 ||
      stream->second.frequencyKhz == report.reception.Frequency) {
    return {};
  }
  return "the network table puts transport stream " + std::to_string(report.transportStreamId) + " on " +
         std::to_string(stream->second.frequencyKhz) + " kHz, the tuner is on " +
         std::to_string(report.reception.Frequency) + " kHz";
}

// A service's logical channel number from the network table, or 0.
uint32_t channelNumber(const Network& network, uint32_t service) {
  for (const auto& [id, stream] : network.streams) {
    if (const auto found = stream.channelNumbers.find(service); found != stream.channelNumbers.end()) {
      return found->second;
    }
  }
  return 0;
}

void printNetworkText(const Report& report) {
  const Network& network = report.network;
  std::printf("\nNetwork\n");
  if (!network.seen) {
    std::printf("  no network information table\n");
    return;
  }
  std::printf("  %s (network %u)\n", column(network.name, 0).c_str(), network.id);
  for (const auto& [id, stream] : network.streams) {
    std::printf("  transport stream %u (original network %u): %s\n", id, stream.originalNetworkId,
                stream.delivery.empty() ? "no terrestrial delivery" : stream.delivery.c_str());
    std::string services;
    for (const auto& [number, type] : stream.services) {
      const uint32_t channel = channelNumber(network, number);
      services += (services.empty() ? "" : ", ") + std::to_string(number) +
                  (channel != 0 ? " (LCN " + std::to_string(channel) + ")" : "");
    }
    std::printf("    services %s\n", services.empty() ? "none listed" : services.c_str());
  }
  if (const std::string note = frequencyNote(report); !note.empty()) {
    std::printf("  %s\n", note.c_str());
  }
}

void printTeletextPages(const Report& report) {
  std::printf("Teletext pages\n");
  for (const auto& [page, header] : report.teletextPages) {
    std::printf("  %d  \"%s\"\n", page, header.c_str());
  }
  if (report.teletextPages.empty()) {
    std::printf("  none\n");
  }
}

void printText(const Report& report) {
  if (report.live) {
    std::printf("DVB-T %s\n\n", receptionText(report).c_str());
  } else {
    std::printf("%s: %.1f MB, %llu packets\n\n", report.file.c_str(), report.fileBytes / 1e6,
                static_cast<unsigned long long>(report.packets.load()));
  }
  std::printf("Services\n");
  // The columns fit the longest name in characters, so that a name in any table stays aligned.
  size_t nameColumns = 20;
  size_t providerColumns = 16;
  for (const Service& service : report.services) {
    nameColumns = std::max(nameColumns, textColumns(service.name));
    providerColumns = std::max(providerColumns, textColumns(service.provider));
  }
  if (!report.patSeen) {
    std::printf("  none: %s\n", kNoPatNote);
  }
  for (const Service& service : report.services) {
    std::printf("  %-5u %s %s PMT 0x%04x  PCR 0x%04x\n", service.number, column(service.name, nameColumns).c_str(),
                column(service.provider, providerColumns).c_str(), service.pmtPid, service.pcrPid);
    for (const Stream& stream : service.streams) {
      std::printf("        0x%04x  %s\n", stream.pid, streamTypeText(stream).c_str());
    }
    std::printf("        now:  %s\n        next: %s\n", eventText(service.present).c_str(),
                eventText(service.following).c_str());
  }
  printNetworkText(report);
  std::printf("\nTime\n");
  if (report.lastUtc != 0) {
    std::printf("  stream UTC %s to %s (%u TDT, %u TOT, %u TOT CRC errors)\n", timeText(report.firstUtc).c_str(),
                timeText(report.lastUtc).c_str(), report.tdts, report.tots, report.totCrcErrors);
    std::printf("  HAL clock  %s\n", report.clock.c_str());
  } else {
    std::printf("  no TDT or TOT\n");
  }
  if (!report.live) {
    std::printf("  bitrate    %.3f Mbit/s (from PCRs)\n", bitrate(report) / 1e6);
  }
  if (!report.played.empty()) {
    std::printf("\nPlayed\n  %s, through the AV player\n", report.played.c_str());
  }
  std::printf("\nPIDs          packets   sections   CRC errors        PES   teletext lines\n");
  for (const auto& [pid, counts] : report.pids) {
    // Live, the tuner hands each PID to one chain and nothing counts the packets.
    const std::string packets = report.live ? "-" : std::to_string(counts.packets);
    std::printf("  0x%04x %12s %10llu %12u %10llu %16llu\n", pid, packets.c_str(),
                static_cast<unsigned long long>(counts.sections), counts.crcErrors,
                static_cast<unsigned long long>(counts.pes), static_cast<unsigned long long>(counts.teletextLines));
  }
  std::printf("\n");
  printTeletextPages(report);
}

std::string jsonString(const std::string& text) {
  std::string quoted = "\"";
  for (char character : text) {
    if (character == '"' || character == '\\') {
      quoted += '\\';
    }
    if (static_cast<unsigned char>(character) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", character);
      quoted += escaped;
      continue;
    }
    quoted += character;
  }
  return quoted + "\"";
}

std::string networkJson(const Report& report) {
  const Network& network = report.network;
  std::string json = "{\"name\": " + jsonString(network.name) + ", \"id\": " + std::to_string(network.id) +
                     ", \"frequencyNote\": " + jsonString(frequencyNote(report)) + ", \"transportStreams\": [";
  for (const auto& [id, stream] : network.streams) {
    json += (json.back() == '[' ? "" : ", ") + std::string("{\"id\": ") + std::to_string(id) +
            ", \"originalNetworkId\": " + std::to_string(stream.originalNetworkId) +
            ", \"frequency\": " + std::to_string(stream.frequencyKhz) + ", \"delivery\": " + jsonString(stream.delivery) +
            ", \"services\": [";
    for (const auto& [number, type] : stream.services) {
      json += (json.back() == '[' ? "" : ", ") + std::string("{\"number\": ") + std::to_string(number) +
              ", \"type\": " + std::to_string(type) + ", \"lcn\": " + std::to_string(channelNumber(network, number)) + "}";
    }
    json += "]}";
  }
  return json + "]}";
}

// The teletext pages as the last member of a JSON object, without its line end.
void printTeletextJson(const Report& report) {
  std::printf("  \"teletext\": {");
  bool first = true;
  for (const auto& [page, header] : report.teletextPages) {
    std::printf("%s\"%d\": %s", first ? "" : ", ", page, jsonString(header).c_str());
    first = false;
  }
  std::printf("}");
}

void printJson(const Report& report) {
  std::printf("{\n  \"file\": %s,\n  \"bytes\": %llu,\n  \"packets\": %llu,\n", jsonString(report.file).c_str(),
              static_cast<unsigned long long>(report.fileBytes), static_cast<unsigned long long>(report.packets.load()));
  if (report.live) {
    std::printf("  \"reception\": %s,\n", jsonString(receptionText(report)).c_str());
  }
  if (!report.played.empty()) {
    std::printf("  \"played\": %s,\n", jsonString(report.played).c_str());
  }
  if (!report.patSeen) {
    std::printf("  \"note\": %s,\n", jsonString(kNoPatNote).c_str());
  }
  std::printf("  \"services\": [");
  for (size_t i = 0; i < report.services.size(); ++i) {
    const Service& service = report.services[i];
    std::printf("%s\n    {\"number\": %u, \"name\": %s, \"provider\": %s, \"pmtPid\": %u, \"pcrPid\": %u, "
                "\"now\": %s, \"next\": %s, \"streams\": [",
                i == 0 ? "" : ",", service.number, jsonString(service.name).c_str(),
                jsonString(service.provider).c_str(), service.pmtPid, service.pcrPid,
                jsonString(service.present.name).c_str(), jsonString(service.following.name).c_str());
    for (size_t j = 0; j < service.streams.size(); ++j) {
      const Stream& stream = service.streams[j];
      std::printf("%s{\"pid\": %u, \"type\": %u, \"kind\": %s}", j == 0 ? "" : ", ", stream.pid, stream.type,
                  jsonString(streamTypeText(stream)).c_str());
    }
    std::printf("]}");
  }
  std::printf("\n  ],\n  \"network\": %s,", networkJson(report).c_str());
  std::printf("\n  \"time\": {\"first\": %s, \"last\": %s, \"clock\": %s, \"tdt\": %u, \"tot\": %u, "
              "\"totCrcErrors\": %u},\n",
              jsonString(report.lastUtc ? timeText(report.firstUtc) : "").c_str(),
              jsonString(report.lastUtc ? timeText(report.lastUtc) : "").c_str(), jsonString(report.clock).c_str(),
              report.tdts, report.tots, report.totCrcErrors);
  std::printf("  \"bitrate\": %.0f,\n  \"pids\": {", bitrate(report));
  bool first = true;
  for (const auto& [pid, counts] : report.pids) {
    std::printf("%s\n    \"%u\": {\"packets\": %llu, \"sections\": %llu, \"crcErrors\": %u, \"pes\": %llu, "
                "\"teletextLines\": %llu}",
                first ? "" : ",", pid, static_cast<unsigned long long>(counts.packets),
                static_cast<unsigned long long>(counts.sections), counts.crcErrors,
                static_cast<unsigned long long>(counts.pes), static_cast<unsigned long long>(counts.teletextLines));
    first = false;
  }
  std::printf("\n  },\n");
  printTeletextJson(report);
  std::printf("\n}\n");
}

void printAnalogText(const Report& report) {
  std::printf("%s: %.1f MB, %llu line records, %llu teletext lines\n\n", report.file.c_str(), report.fileBytes / 1e6,
              static_cast<unsigned long long>(report.packets.load()),
              static_cast<unsigned long long>(report.recordTeletextLines));
  printTeletextPages(report);
}

void printAnalogJson(const Report& report) {
  std::printf("{\n  \"file\": %s,\n  \"bytes\": %llu,\n  \"records\": %llu,\n  \"teletextLines\": %llu,\n",
              jsonString(report.file).c_str(), static_cast<unsigned long long>(report.fileBytes),
              static_cast<unsigned long long>(report.packets.load()),
              static_cast<unsigned long long>(report.recordTeletextLines));
  printTeletextJson(report);
  std::printf("\n}\n");
}

// A band scan: each frequency tuned in turn on the "DVB-T" tuner, as a middleware's first
// installation does.
constexpr uint32_t kLowestDvbTKhz = 50500;
constexpr uint32_t kHighestDvbTKhz = 858000;
constexpr auto kLockTimer = std::chrono::milliseconds(2000);  // the tuner's own
constexpr auto kLockPoll = std::chrono::milliseconds(50);

struct ScanChannel {
  uint32_t frequencyKhz;
  uint32_t bandwidthMhz;
};

struct ScanResult {
  ScanChannel channel{};
  bool locked = false;
  OmbrixHalTunerDvbTMonitoring monitoring{};
  std::unique_ptr<Report> report;  // a locked channel's reception, services and network
};

// Bad input costs one line and the scan goes on.
void scanNote(const std::string& text) {
  std::fprintf(stderr, "ombrixhal-inspect: scan: %s\n", text.c_str());
}

std::vector<ScanChannel> uhfRaster() {
  std::vector<ScanChannel> channels;
  for (uint32_t frequency = 474000; frequency <= 786000; frequency += 8000) {
    channels.push_back({frequency, 8});
  }
  return channels;
}

// The frequency and bandwidth of each line of a receiver emulator's channel plan. A line whose
// recording is missing is still scanned (it finds no signal), but named, since a plan usually
// points at recordings elsewhere.
std::vector<ScanChannel> planChannels(const std::string& path) {
  std::ifstream plan(path);
  if (!plan) {
    scanNote("channel plan " + path + ": " + std::strerror(errno) + "; scanning the UHF raster instead");
    return uhfRaster();
  }
  const std::string folder = path.find_last_of("/\\") == std::string::npos ? "" : path.substr(0, path.find_last_of("/\\") + 1);
  std::vector<ScanChannel> channels;
  uint32_t lineNumber = 0;
  for (std::string line; std::getline(plan, line);) {
    ++lineNumber;
    std::istringstream fields(line.substr(0, line.find('#')));
    uint32_t frequency = 0;
    uint32_t bandwidth = 0;
    std::string file;
    if (!(fields >> frequency >> bandwidth >> file)) {
      continue;
    }
    const bool absolute = file[0] == '/' || file[0] == '\\' || (file.size() > 1 && file[1] == ':');
    if (!std::ifstream(absolute ? file : folder + file)) {
      scanNote("channel plan " + path + " line " + std::to_string(lineNumber) + ": " + file + " is missing, " +
               std::to_string(frequency) + " kHz will not lock");
    }
    channels.push_back({frequency, bandwidth});
  }
  return channels;
}

// "474000,482000" in kHz, or "uhf".
std::vector<ScanChannel> listChannels(const std::string& list, uint32_t bandwidthMhz) {
  if (list == "uhf") {
    return uhfRaster();
  }
  std::vector<ScanChannel> channels;
  std::istringstream tokens(list);
  for (std::string token; std::getline(tokens, token, ',');) {
    if (token.empty() || token.find_first_not_of("0123456789") != std::string::npos) {
      scanNote("\"" + token + "\" is not a frequency in kHz, left out");
      continue;
    }
    const uint32_t frequency = token.size() > 9 ? 0 : static_cast<uint32_t>(std::stoul(token));
    if (frequency < kLowestDvbTKhz || frequency > kHighestDvbTKhz) {
      scanNote(token + " kHz is outside the DVB-T band (50500 to 858000 kHz), left out");
      continue;
    }
    channels.push_back({frequency, bandwidthMhz});
  }
  return channels;
}

// Status polling, as a middleware waits, for as long as the tuner's lock timer runs.
bool waitForLock(OmbrixHalTunerHandle tuner) {
  const auto deadline = std::chrono::steady_clock::now() + kLockTimer;
  while (OmbrixHalTunerGetStatus(tuner) != OMBRIX_HAL_TUNER_STATUS_LOCKED) {
    if (std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(kLockPoll);
  }
  return true;
}

// A locked channel's services (PAT, PMTs), their names (SDT) and its network (NIT).
void readChannelTables(OmbrixHalTunerHandle tuner, Report& report) {
  discover(tuner, report);
  Filters filters(tuner, report);
  filters.sections(kNitPid, onSection<readNit>, true);
  filters.sections(kSdtPid, onSection<readSdt>, true);
  receiveUntil(tuner, true, [&report] {
    return report.sdtSeen.load(std::memory_order_acquire) && report.nitSeen.load(std::memory_order_acquire);
  });
  filters.stopAll();
}

ScanResult scanChannel(OmbrixHalTunerHandle tuner, const ScanChannel& channel) {
  ScanResult result;
  result.channel = channel;
  result.locked = waitForLock(tuner);
  OmbrixHalTunerDvbTGetMonitoring(tuner, &result.monitoring);
  if (result.locked) {
    result.report = std::make_unique<Report>();
    Report& report = *result.report;
    report.live = true;
    OmbrixHalTunerParameter detected{};
    OmbrixHalTunerGetParameter(tuner, &detected, nullptr);
    report.reception = detected.DvbT;
    report.strength = OmbrixHalTunerGetSignalStrength(tuner);
    report.quality = OmbrixHalTunerGetSignalQuality(tuner);
    readChannelTables(tuner, report);
  }
  return result;
}

std::string tuningLine(const ScanChannel& channel) {
  return "DVB-T: freq=" + std::to_string(channel.frequencyKhz) + ", bandwidth=" + std::to_string(channel.bandwidthMhz);
}

std::vector<ScanResult> scan(const std::vector<ScanChannel>& channels, bool progress) {
  OmbrixHalTunerHandle tuner = OmbrixHalTunerOpen("DVB-T");
  if (tuner == nullptr) {
    throw Failure{"the HAL has no DVB-T tuner (is the receiver driver there?)"};
  }
  std::vector<ScanResult> results;
  try {
    for (size_t i = 0; i < channels.size(); ++i) {
      if (progress) {
        std::fprintf(stderr, "\rscanning %u kHz (%zu of %zu) ", channels[i].frequencyKhz, i + 1, channels.size());
      }
      if (!OmbrixHalTunerSetParameterByString(tuner, tuningLine(channels[i]).c_str())) {
        scanNote(std::to_string(channels[i].frequencyKhz) + " kHz, " + std::to_string(channels[i].bandwidthMhz) +
                 " MHz: not a DVB-T channel, left out");
        continue;
      }
      results.push_back(scanChannel(tuner, channels[i]));
    }
  } catch (const Failure&) {
    OmbrixHalTunerClose(tuner);
    throw;
  }
  OmbrixHalTunerClose(tuner);
  if (progress) {
    std::fprintf(stderr, "\r%40s\r", "");
  }
  return results;
}

// One tuning line per locked channel, as a middleware hands it back to the tuner; false when
// the file cannot be written.
bool writeChannelList(const std::vector<ScanResult>& results, const std::string& path) {
  std::ofstream list(path, std::ios::trunc);
  for (const ScanResult& result : results) {
    if (result.locked) {
      list << tuningLine(result.channel) << '\n';
    }
  }
  list.close();
  return static_cast<bool>(list);
}

std::string monitoringText(const OmbrixHalTunerDvbTMonitoring& monitoring) {
  char ratio[32] = "unknown";
  if (monitoring.PowerRatioDb != -100) {
    std::snprintf(ratio, sizeof ratio, "%d.%04u dB", monitoring.PowerRatioDb, monitoring.PowerRatioFraction);
  }
  char text[160];
  std::snprintf(text, sizeof text, "strength %u %%, quality %u %%, driver status 0x%04x, power ratio %s, driver value %llu",
                monitoring.SignalStrength, monitoring.SignalQuality, monitoring.DriverStatus, ratio,
                static_cast<unsigned long long>(monitoring.DriverValueQuotient) * 100000000ull +
                    monitoring.DriverValueRemainder);
  return text;
}

void printScanText(const std::vector<ScanResult>& results, const std::string& channelList, bool listWritten) {
  const auto locked = std::count_if(results.begin(), results.end(), [](const ScanResult& result) { return result.locked; });
  std::printf("Scan: %zu frequencies, %td locked\n", results.size(), locked);
  for (const ScanResult& result : results) {
    std::printf("\n  %u kHz, %u MHz: %s\n", result.channel.frequencyKhz, result.channel.bandwidthMhz,
                result.locked ? "locked" : "not locked");
    std::printf("    monitoring  %s\n", monitoringText(result.monitoring).c_str());
    if (!result.locked) {
      continue;
    }
    const Report& report = *result.report;
    std::printf("    detected    %s\n", parametersText(report.reception).c_str());
    std::printf("    network     %s, transport stream %u\n",
                report.network.seen ? column(report.network.name, 0).c_str() : "(no network table)", report.transportStreamId);
    size_t nameColumns = 0;
    for (const Service& service : report.services) {
      nameColumns = std::max(nameColumns, textColumns(service.name));
    }
    for (const Service& service : report.services) {
      const uint32_t channel = channelNumber(report.network, service.number);
      std::printf("    %-11s %-5u %s  %s\n", channel != 0 ? ("LCN " + std::to_string(channel)).c_str() : "",
                  service.number, column(service.name, nameColumns).c_str(), column(service.provider, 0).c_str());
    }
  }
  std::printf("\nChannel list: %s (%td channels)%s\n", channelList.c_str(), locked, listWritten ? "" : ", NOT WRITTEN");
}

void printScanJson(const std::vector<ScanResult>& results, const std::string& channelList, bool listWritten) {
  std::printf("{\n  \"scan\": [");
  for (size_t i = 0; i < results.size(); ++i) {
    const ScanResult& result = results[i];
    const OmbrixHalTunerDvbTMonitoring& monitoring = result.monitoring;
    std::printf("%s\n    {\"frequency\": %u, \"bandwidth\": %u, \"locked\": %s, \"monitoring\": {\"signalStrength\": %u, "
                "\"signalQuality\": %u, \"driverStatus\": %u, \"powerRatioDb\": %d, \"powerRatioFraction\": %u, "
                "\"driverValueQuotient\": %u, \"driverValueRemainder\": %u}",
                i == 0 ? "" : ",", result.channel.frequencyKhz, result.channel.bandwidthMhz,
                result.locked ? "true" : "false", monitoring.SignalStrength, monitoring.SignalQuality,
                monitoring.DriverStatus, monitoring.PowerRatioDb, monitoring.PowerRatioFraction,
                monitoring.DriverValueQuotient, monitoring.DriverValueRemainder);
    if (result.locked) {
      const Report& report = *result.report;
      std::printf(",\n     \"reception\": %s, \"strength\": %u, \"quality\": %u, \"transportStreamId\": %u,\n     \"network\": %s,\n     \"services\": [",
                  jsonString(parametersText(report.reception)).c_str(), report.strength, report.quality,
                  report.transportStreamId, networkJson(report).c_str());
      for (size_t j = 0; j < report.services.size(); ++j) {
        const Service& service = report.services[j];
        std::printf("%s{\"number\": %u, \"name\": %s, \"provider\": %s, \"lcn\": %u}", j == 0 ? "" : ", ", service.number,
                    jsonString(service.name).c_str(), jsonString(service.provider).c_str(),
                    channelNumber(report.network, service.number));
      }
      std::printf("]");
    }
    std::printf("}");
  }
  std::printf("\n  ],\n  \"channelList\": %s,\n  \"channelListWritten\": %s\n}\n", jsonString(channelList).c_str(),
              listWritten ? "true" : "false");
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--json") {
      options.json = true;
    } else if (argument == "--log") {
      options.log = true;
    } else if (argument == "--realtime") {
      options.realtime = true;
    } else if (argument == "--analog") {
      options.analog = true;
    } else if (argument == "--play") {
      options.playService = true;
    } else if (argument == "--scan") {
      options.scan = true;
      if (i + 1 < argc && argv[i + 1][0] != '-') {
        options.scanList = argv[++i];
      }
    } else if ((argument == "--channel-list" || argument == "--tune") && i + 1 < argc) {
      (argument == "--tune" ? options.tuneLine : options.channelList) = argv[++i];
    } else if ((argument == "--dvbt" || argument == "--bandwidth" || argument == "--seconds") && i + 1 < argc) {
      const std::string value = argv[++i];
      if (argument == "--dvbt") {
        options.frequency = value;
      } else {
        (argument == "--seconds" ? options.seconds : options.bandwidthMhz) = static_cast<uint32_t>(std::atoi(value.c_str()));
      }
    } else if (argument == "--help" || argument == "-h" || (argument.size() > 1 && argument[0] == '-')) {
      std::fprintf(stderr,
                   "usage: ombrixhal-inspect [--json] [--log] [--realtime] [--play] [FILE]\n"
                   "       ombrixhal-inspect [--json] [--log] --analog [FILE]\n"
                   "       ombrixhal-inspect [--json] [--log] [--play] --dvbt FREQ [--bandwidth MHZ] [--seconds N]\n"
                   "       ombrixhal-inspect [--json] [--log] [--play] --tune LINE [--seconds N]\n"
                   "       ombrixhal-inspect [--json] [--log] --scan [FREQ,FREQ,...|uhf] [--bandwidth MHZ]\n"
                   "                         [--channel-list FILE]\n"
                   "  FILE        a transport stream (default: %s)\n"
                   "  --analog    FILE holds analog line records (default: %s)\n"
                   "  --dvbt      receive the DVB-T channel at FREQ kHz (bandwidth 8 MHz unless given) for N\n"
                   "              seconds (default %u); with the receiver emulator, %s names its channel\n"
                   "              plan (default: %s)\n"
                   "  --tune      receive the channel that a tuning line names (\"DVB-T: freq=474000, bandwidth=8\")\n"
                   "  --scan      tune each frequency (kHz) in turn and report what locks; without a list the\n"
                   "              channels of the receiver emulator's plan, with uhf 474000 to 786000 in 8 MHz\n"
                   "              steps; writes a tuning line per locked channel to FILE (default: %s)\n"
                   "  --json      the report as JSON\n"
                   "  --log       the HAL's log lines on stderr\n"
                   "  --realtime  play at the stream's own rate instead of as fast as it reads\n"
                   "  --play      play the first service through the AV player as well (with the player\n"
                   "              library emulator, VOMTP_EMULATOR_REPORT=FILE writes what it received)\n",
                   kDefaultStream, kDefaultAnalog, kDefaultLiveSeconds, kChannelPlanVariable, kDefaultChannelPlan,
                   kDefaultChannelList);
      std::exit(argument == "--help" || argument == "-h" ? 0 : 2);
    } else {
      options.file = argument;
    }
  }
  if (options.scan) {
    options.file = "scan";
  } else if (!options.tuneLine.empty()) {
    options.file = options.tuneLine;
  } else if (!options.frequency.empty()) {
    options.file = "DVB-T " + options.frequency + " kHz";
  } else if (options.file.empty()) {
    options.file = options.analog ? kDefaultAnalog : kDefaultStream;
  }
  return options;
}

// A missing or unreadable file, a directory, a file too short to hold packets: the reason, or
// an empty text when the file can be played.
std::string checkFile(Report& report, bool analog) {
  struct stat status {};
  if (stat(report.file.c_str(), &status) != 0) {
    return std::strerror(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return "not a regular file";
  }
  if (std::FILE* file = std::fopen(report.file.c_str(), "rb"); file != nullptr) {
    std::fclose(file);
  } else {
    return std::strerror(errno);
  }
  if (kLocalPrefix.size() + report.file.size() > kLongestTunerName) {
    return "the path is too long for the file tuner (at most " +
           std::to_string(kLongestTunerName - kLocalPrefix.size()) + " characters)";
  }
  if (report.file.find('"') != std::string::npos) {
    return "the file tuner cannot take a path with a double quote";
  }
  report.fileBytes = static_cast<uint64_t>(status.st_size);
  if (analog && report.fileBytes < kRecordSize) {
    return "too short for a file of line records (" + std::to_string(report.fileBytes) + " bytes)";
  }
  if (!analog && report.fileBytes < 2 * kPacketSize) {
    return "too short for a transport stream (" + std::to_string(report.fileBytes) + " bytes)";
  }
  return {};
}

void inspect(Report& report, const Options& options) {
  OmbrixHalTunerHandle tuner = OmbrixHalTunerOpen("digitalFile");
  if (tuner == nullptr) {
    throw Failure{"the HAL has no file tuner"};
  }
  try {
    tune(tuner, options.file, 0);
    discover(tuner, report);
    const double pacedBitrate = options.realtime ? measureBitrate(tuner, report) : 0;
    report.pids.clear();
    play(tuner, report, options, pacedBitrate);
  } catch (const Failure&) {
    OmbrixHalTunerClose(tuner);
    throw;
  }
  OmbrixHalTunerClose(tuner);
  // Whatever the tuner could not cut into whole packets: garbage before the first sync byte, or
  // a last packet cut short.
  report.damage.strayBytes = report.fileBytes - std::min(report.fileBytes, report.packets.load() * kPacketSize);
}

// A DVB-T channel: tuned by frequency and bandwidth, the detected parameters and the signal read
// back, then the services and everything they carry for some seconds.
void inspectLive(Report& report, const Options& options) {
  report.live = true;
  OmbrixHalTunerHandle tuner = OmbrixHalTunerOpen("DVB-T");
  if (tuner == nullptr) {
    throw Failure{"the HAL has no DVB-T tuner (is the receiver driver there?)"};
  }
  try {
    const std::string line = !options.tuneLine.empty() ? options.tuneLine
                             : "DVB-T: freq=" + options.frequency + ", bandwidth=" + std::to_string(options.bandwidthMhz);
    if (!OmbrixHalTunerSetParameterByString(tuner, line.c_str())) {
      throw Failure{"not a DVB-T channel (frequencies 50500 to 858000 kHz, bandwidth 6, 7 or 8 MHz)"};
    }
    if (OmbrixHalTunerGetStatus(tuner) != OMBRIX_HAL_TUNER_STATUS_LOCKED) {
      throw Failure{"no reception (NOT LOCKED)"};
    }
    OmbrixHalTunerParameter detected{};
    OmbrixHalTunerGetParameter(tuner, &detected, nullptr);
    report.reception = detected.DvbT;
    report.strength = OmbrixHalTunerGetSignalStrength(tuner);
    report.quality = OmbrixHalTunerGetSignalQuality(tuner);
    discover(tuner, report);
    play(tuner, report, options, 0);
  } catch (const Failure&) {
    OmbrixHalTunerClose(tuner);
    throw;
  }
  OmbrixHalTunerClose(tuner);
}

// Analog line records through an "analogFile" tuner, once, into a counting handler and the
// analog file filter, which a middleware reaches only through the real-filter call.
void inspectAnalog(Report& report, const Options& options) {
  report.analog = true;
  OmbrixHalTunerHandle tuner = OmbrixHalTunerOpen("analogFile");
  if (tuner == nullptr) {
    throw Failure{"the HAL has no analog file tuner"};
  }
  // Both are in place before the parameter: a paced play starts with it.
  OmbrixHalTunerRegisterPacketHandler(tuner, onRecord, &report);
  OmbrixHalFilterHandle filter = OmbrixHalFilterCreateRealFilter(tuner, kRecordTeletext, onAnalogTeletext, &report);
  const std::string line = "analogFile: name=\"" + kLocalPrefix + report.file +
                           "\", repetitions=1, fieldInterval=" + std::to_string(options.realtime ? kFieldIntervalMs : 0);
  const bool played = filter != nullptr && OmbrixHalFilterStart(filter) &&
                      OmbrixHalTunerSetParameterByString(tuner, line.c_str());
  // Paced, each status call waits for the end of the field being played.
  if (played) {
    playToEnd(tuner, report, options);
  }
  OmbrixHalFilterClose(filter);
  OmbrixHalTunerUnregisterPacketHandler(tuner, &report, nullptr);
  OmbrixHalTunerClose(tuner);
  if (!played) {
    throw Failure{"the analog file tuner cannot play it"};
  }
  report.damage.strayBytes = report.fileBytes % kRecordSize;
}

// The HAL's console lines (the receiver's driver prints its versions there) would mix with the
// report on stdout: while the HAL runs they go to stderr with --log, else nowhere.
class ConsoleAside {
 public:
  explicit ConsoleAside(bool show) {
    std::fflush(stdout);
    saved_ = dup(STDOUT_FILENO);
#if defined(_WIN32)
    const int target = show ? dup(STDERR_FILENO) : open("NUL", O_WRONLY);
#else
    const int target = show ? dup(STDERR_FILENO) : open("/dev/null", O_WRONLY);
#endif
    dup2(target, STDOUT_FILENO);
    close(target);
  }
  ~ConsoleAside() {
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
  }
  ConsoleAside(const ConsoleAside&) = delete;
  ConsoleAside& operator=(const ConsoleAside&) = delete;

 private:
  int saved_;
};

void setEnvironment(const char* name, const char* value) {
#if defined(_WIN32)
  _putenv_s(name, value);
#else
  setenv(name, value, 1);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  Options options = parse(argc, argv);
  Report report;
  report.file = options.file;
  const bool live = !options.frequency.empty() || !options.tuneLine.empty() || options.scan;
  if (const std::string reason = live ? std::string{} : checkFile(report, options.analog); !reason.empty()) {
    std::fprintf(stderr, "ombrixhal-inspect: %s: %s\n", report.file.c_str(), reason.c_str());
    return 1;
  }
  // What the emulated antenna receives, unless the user named a plan: the build's default stream.
  if (live && std::getenv(kChannelPlanVariable) == nullptr) {
    setEnvironment(kChannelPlanVariable, kDefaultChannelPlan);
  }
  const std::vector<ScanChannel> channels =
      !options.scan                ? std::vector<ScanChannel>{}
      : options.scanList.empty() ? planChannels(std::getenv(kChannelPlanVariable))
                                 : listChannels(options.scanList, options.bandwidthMhz);
  std::vector<ScanResult> results;
  if (options.log) {
    OmbrixHalSetLogHandler(printLog, nullptr);
    OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_ERROR);
    OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_WARNING);
    OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_INFO);
  }
  std::string failure;
  {
    const ConsoleAside console(options.log);
    static const uintptr_t videoWindow[1] = {0};  // the application's window record: no window
    // The checking allocator: leaks show in --log.
    OmbrixHalInitParameter parameter = {1, reinterpret_cast<uintptr_t>(videoWindow)};
    try {
      if (!OmbrixHalInit(&parameter)) {
        failure = "the HAL did not start";
      } else if (options.scan) {
        results = scan(channels, isatty(STDERR_FILENO) && !options.json);
      } else if (live) {
        inspectLive(report, options);
      } else if (options.analog) {
        inspectAnalog(report, options);
      } else {
        inspect(report, options);
      }
    } catch (const Failure& caught) {
      failure = caught.reason;
    }
    OmbrixHalDone();
  }
  OmbrixHalSetLogHandler(nullptr, nullptr);
  if (!failure.empty()) {
    std::fprintf(stderr, "ombrixhal-inspect: %s: %s\n", report.file.c_str(), failure.c_str());
    return 1;
  }
  if (options.scan) {
    const bool written = writeChannelList(results, options.channelList);
    if (!written) {
      scanNote("channel list " + options.channelList + ": cannot be written");
    }
    options.json ? printScanJson(results, options.channelList, written) : printScanText(results, options.channelList, written);
    return 0;
  }
  if (options.analog) {
    options.json ? printAnalogJson(report) : printAnalogText(report);
  } else {
    options.json ? printJson(report) : printText(report);
  }
  // A damaged recording is still reported in full, then named as such.
  if (const std::string damage = report.damage.describe(report.analog ? "records" : "packets"); !damage.empty()) {
    std::fprintf(stderr, "ombrixhal-inspect: %s: damaged stream: %s\n", report.file.c_str(), damage.c_str());
    return 1;
  }
  return 0;
}
