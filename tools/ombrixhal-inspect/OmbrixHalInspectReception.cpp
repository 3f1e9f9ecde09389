// Reception: the filters a middleware opens, over a recording played once (as fast as it reads or
// at its own rate), a DVB-T channel received for some seconds, or analog line records; the
// services looked for first, then everything they carry; the first service played on request.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

#include "OmbrixHalInspect.h"
#include "OmbrixHalToolReception.h"
#include "OmbrixHalToolSession.h"

namespace {

constexpr OmbrixHalFilterType kRecordTeletext = 7;  // the analog file filter's type that delivers
constexpr uint32_t kFieldIntervalMs = 20;           // 50 fields a second
constexpr uint32_t kNitPid = 0x0010;
constexpr uint32_t kEitPid = 0x0012;
constexpr uint32_t kTimePid = 0x0014;  // TDT and TOT
constexpr uint32_t kDiscoveryPacketLimit = 2000000;
constexpr uint32_t kPullBatch = 20000;

// The filters of one play, closed together, with the contexts their handlers get.
class Filters {
 public:
  Filters(OmbrixHalTunerHandle tuner, Report& report) : filters_(tuner), report_(report) {}

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
    OmbrixHalFilterHandle filter = filters_.open(type, pid, handler, contexts_.back().get(), parameter);
    if (filter == nullptr) {
      std::fprintf(stderr, "ombrixhal-inspect: cannot filter PID 0x%04x\n", pid);
    } else if (type == OMBRIX_HAL_FILTER_TYPE_SECTION) {
      sectionPids_[filter] = pid;
    }
    return filter;
  }
  // Every packet, for the per-PID counts and the packet positions of the PCRs (or, while the
  // services are looked for, `handler`'s own reading).
  void everyPacket(OmbrixHalFilterHandler handler = onPacket) {
    filters_.open(OMBRIX_HAL_FILTER_TYPE_TS, OMBRIX_HAL_FILTER_PID_ALL, handler, &report_);
  }
  void stopAll() { filters_.stopAll(); }
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
  // Before the set: the contexts outlive the filters' last deliveries.
  std::vector<std::unique_ptr<FilterContext>> contexts_;
  FilterSet filters_;
  Report& report_;
  std::map<OmbrixHalFilterHandle, uint32_t> sectionPids_;
};

// The services: the PAT, then every PMT, from the start of the file or as they are broadcast.
// Closing a filter waits for its delivery, so the services are read only once their filters
// are closed. A stream without a PAT has no services, only its PIDs.
void discover(OmbrixHalTunerHandle tuner, Report& report) {
  {
    Filters filters(tuner, report);
    filters.sections(kPatPid, onPatSection, true);
    if (!report.live) {
      filters.everyPacket(onDiscoveryPacket);
    }
    receiveUntil(tuner, report.live, kDiscoveryPacketLimit, [&report] { return report.patSeen.load(std::memory_order_acquire); });
  }
  if (!report.patSeen) {
    return;
  }
  Filters filters(tuner, report);
  for (const Service& service : report.services) {
    filters.sections(service.pmtPid, onPmtSection, true);
  }
  const size_t services = report.services.size();
  receiveUntil(tuner, report.live, kDiscoveryPacketLimit, [&report, services] {
    return report.describedServices.load(std::memory_order_acquire) >= services;
  });
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

// The first service with audio or video, played through the AV player while the player lives:
// its audio, video and PCR PIDs, the first of each kind.
std::unique_ptr<AvPlayer> playFirstService(OmbrixHalTunerHandle tuner, Report& report) {
  for (const Service& service : report.services) {
    const OmbrixHalAvPlayerParameter parameter = avPlayerParameter(service.pcrPid, service.streams);
    if (parameter.AudioPid == 0 && parameter.VideoPid == 0) {
      continue;
    }
    auto player = std::make_unique<AvPlayer>(tuner);
    player->play(parameter, service.number);
    char text[96];
    std::snprintf(text, sizeof text, "service %u: audio 0x%04x, video 0x%04x, PCR 0x%04x", service.number,
                  parameter.AudioPid, parameter.VideoPid, parameter.PcrPid);
    report.played = text;
    return player;
  }
  throw Failure{"no service with audio or video to play"};
}

// `pacedBitrate`: the stream's rate for a paced play, in bits per second. Live reception runs for
// the seconds asked; its tuner hands each PID to one filter chain, so it counts no packets.
void play(OmbrixHalTunerHandle tuner, Report& report, const Options& options, double pacedBitrate) {
  Filters filters(tuner, report);
  if (!report.live) {
    filters.everyPacket();
  }
  filters.sections(kPatPid, onPatSection, true);
  filters.sections(kNitPid, onNitSection, true);
  filters.sections(kSdtPid, onSdtSection, true);
  filters.sections(kEitPid, onEitSection, true);
  filters.sections(kTimePid, onTimeSection, false);  // the TDT has no CRC
  std::map<uint32_t, bool> pcrPids;
  for (const Service& service : report.services) {
    filters.sections(service.pmtPid, onPmtSection, true);
    for (const ElementaryStream& stream : service.streams) {
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
  std::unique_ptr<AvPlayer> player;
  if (options.playService) {
    player = playFirstService(tuner, report);
  }
  if (report.live) {
    std::this_thread::sleep_for(std::chrono::seconds(options.seconds));
    report.seconds = options.seconds;
    filters.stopAll();
  } else {
    // Paced by the tuner's own thread at the stream's rate, in units of 1000 bytes per second.
    tuneFile(tuner, report.file, 1, options.realtime ? static_cast<uint32_t>(std::max(pacedBitrate / 8000, 1.0)) : 0);
    playToEnd(tuner, report, options);
  }
  player.reset();
  filters.collectCrcErrors();
  if (report.lastUtc != 0) {
    report.clock = timeText(OmbrixHalClockGetUtcTime());
  }
}

}  // namespace

std::string timeText(OmbrixHalDateTime time) {
  char text[OMBRIX_HAL_DATE_TIME_TEXT_SIZE] = {};
  OmbrixHalDateTimeToString(time, text);
  return text;
}

// The stream's rate in bits per second: the packets between the first and the last PCR of a
// PID, over the time between them.
double bitrate(const Report& report) {
  for (const auto& [pid, span] : report.pcrs) {
    if (span.measured()) {
      return span.bytesPerSecond() * 8;
    }
  }
  return 0;
}

void readSignal(OmbrixHalTunerHandle tuner, Report& report) {
  report.live = true;
  OmbrixHalTunerParameter detected{};
  OmbrixHalTunerGetParameter(tuner, &detected, nullptr);
  report.reception = detected.DvbT;
  report.strength = OmbrixHalTunerGetSignalStrength(tuner);
  report.quality = OmbrixHalTunerGetSignalQuality(tuner);
}

// A locked channel's services (PAT, PMTs), their names (SDT) and its network (NIT).
void readChannelTables(OmbrixHalTunerHandle tuner, Report& report) {
  discover(tuner, report);
  Filters filters(tuner, report);
  filters.sections(kNitPid, onNitSection, true);
  filters.sections(kSdtPid, onSdtSection, true);
  receiveUntil(tuner, true, kDiscoveryPacketLimit, [&report] {
    return report.sdtSeen.load(std::memory_order_acquire) && report.nitSeen.load(std::memory_order_acquire);
  });
  filters.stopAll();
}

void inspect(Report& report, const Options& options) {
  {
    const Tuner tuner("digitalFile");
    tuneFile(tuner, options.file, 1, 0);
    discover(tuner, report);
    const double pacedBitrate = options.realtime ? measureBitrate(tuner, report) : 0;
    report.pids.clear();
    play(tuner, report, options, pacedBitrate);
  }
  // Whatever the tuner could not cut into whole packets: garbage before the first sync byte, or
  // a last packet cut short.
  report.damage.strayBytes = report.fileBytes - std::min(report.fileBytes, report.packets.load() * kPacketSize);
}

// A DVB-T channel: tuned by frequency and bandwidth, the detected parameters and the signal read
// back, then the services and everything they carry for some seconds.
void inspectLive(Report& report, const Options& options) {
  const Tuner tuner("DVB-T");
  tuneDvbT(tuner, !options.tuneLine.empty() ? options.tuneLine : dvbTLine(options.frequency, options.bandwidthMhz));
  readSignal(tuner, report);
  discover(tuner, report);
  play(tuner, report, options, 0);
}

// Analog line records through an "analogFile" tuner, once, into a counting handler and the
// analog file filter, which a middleware reaches only through the real-filter call.
void inspectAnalog(Report& report, const Options& options) {
  report.analog = true;
  const Tuner tuner("analogFile");
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
  if (!played) {
    throw Failure{"the analog file tuner cannot play it"};
  }
  report.damage.strayBytes = report.fileBytes % kRecordSize;
}
