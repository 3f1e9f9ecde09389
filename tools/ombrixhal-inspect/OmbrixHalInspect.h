// What the inspector's files share: the report that reception fills and the output prints, the
// options, and the steps main calls.
#ifndef OMBRIX_HAL_INSPECT_H
#define OMBRIX_HAL_INSPECT_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "OmbrixHal.h"
#include "OmbrixHalToolPsi.h"

constexpr uint32_t kRecordSize = 64;  // an analog line record
constexpr uint32_t kNullPid = 0x1fff;
constexpr uint32_t kDefaultLiveSeconds = 5;
constexpr const char* kNoPatNote = "no programme association table; the PIDs are all the stream tells";
// Where a scan writes its channel list unless told.
const char* const kDefaultChannelList = OMBRIX_HAL_DEFAULT_CHANNEL_LIST;

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
  std::vector<ElementaryStream> streams;
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


// Filter handlers (OmbrixHalInspectTables.cpp). A section, PES, PCR or teletext filter's context
// is a FilterContext; the context of every-packet and analog record handlers is the report.
struct FilterContext {
  Report* report;
  uint32_t pid;
};
extern const OmbrixHalFilterHandler onPatSection;
extern const OmbrixHalFilterHandler onPmtSection;
extern const OmbrixHalFilterHandler onNitSection;
extern const OmbrixHalFilterHandler onSdtSection;
extern const OmbrixHalFilterHandler onEitSection;
extern const OmbrixHalFilterHandler onTimeSection;  // sets the HAL's clock too
void onPes(OmbrixHalFilterHandle, const uint8_t* aPes, uint32_t aLength, void* aContext);
void onPcr(OmbrixHalFilterHandle, const uint8_t* aRecord, uint32_t aLength, void* aContext);
void onTeletext(OmbrixHalFilterHandle, const uint8_t* aLine, uint32_t aLength, void* aContext);
void onAnalogTeletext(OmbrixHalFilterHandle, const uint8_t* aLine, uint32_t aLength, void* aContext);
void onRecord(void* aSource, const uint8_t* aRecord, uint32_t aLength, void* aContext);
// The PIDs that start PES packets or carry PCRs: all a stream without a PAT tells.
void onDiscoveryPacket(OmbrixHalFilterHandle, const uint8_t* aPacket, uint32_t aLength, void* aContext);
// Counted per PID and checked for damage.
void onPacket(OmbrixHalFilterHandle, const uint8_t* aPacket, uint32_t aLength, void* aContext);

// Reception (OmbrixHalInspectReception.cpp): a recording played once, a DVB-T channel received
// for some seconds, analog line records played once; a locked channel's services and network.
void inspect(Report& report, const Options& options);
void inspectLive(Report& report, const Options& options);
void inspectAnalog(Report& report, const Options& options);
// Live reception: what the tuner detected, and the signal.
void readSignal(OmbrixHalTunerHandle tuner, Report& report);
void readChannelTables(OmbrixHalTunerHandle tuner, Report& report);
// The stream's rate in bits per second from the PCRs received; 0 without two apart.
double bitrate(const Report& report);
std::string timeText(OmbrixHalDateTime time);

// Output (OmbrixHalInspectOutput.cpp): the report as text or JSON, and the pieces the scan's
// report shares.
void printText(const Report& report);
void printJson(const Report& report);
void printAnalogText(const Report& report);
void printAnalogJson(const Report& report);
// A name in a column of `columns` characters: padded, and a line break read as a blank.
std::string column(std::string text, size_t columns);
std::string jsonString(const std::string& text);
std::string networkJson(const Report& report);
std::string parametersText(const OmbrixHalTunerParameterDvbT& reception);
uint32_t channelNumber(const Network& network, uint32_t service);

// Band scan (OmbrixHalInspectScan.cpp): each frequency tuned in turn on the "DVB-T" tuner, as a
// middleware's first installation does.
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

void scanNote(const std::string& text);
std::vector<ScanChannel> planChannels(const std::string& path);
std::vector<ScanChannel> listChannels(const std::string& list, uint32_t bandwidthMhz);
std::vector<ScanResult> scan(const std::vector<ScanChannel>& channels, bool progress);
bool writeChannelList(const std::vector<ScanResult>& results, const std::string& path);
void printScanText(const std::vector<ScanResult>& results, const std::string& channelList, bool listWritten);
void printScanJson(const std::vector<ScanResult>& results, const std::string& channelList, bool listWritten);

#endif
