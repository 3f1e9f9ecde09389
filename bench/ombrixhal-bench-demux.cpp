// The demultiplexer's speed on a multi-service stream: every PID filtered as a middleware would
// (sections of the PAT, each PMT and the SDT; PES of every elementary stream; the PCR of each
// service), the file pulled through a "digitalFile" tuner, or with --dvbt received through the
// "DVB-T" tuner from the receiver emulator, which plays the file unpaced. The services and PIDs
// are found with the library's own section filters first.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "DibEmulatorControl.h"
#include "OmbrixHal.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kPacketSize = 188;
constexpr uint32_t kPatPid = 0x0000;
constexpr uint32_t kSdtPid = 0x0011;

struct Count {
  uint64_t deliveries = 0;
  uint64_t bytes = 0;
};

struct Service {
  uint32_t number;
  uint32_t pmtPid;
  uint32_t pcrPid = 0;
  std::vector<uint32_t> elementaryPids;
  bool described = false;
};

std::vector<Service> services;
// Written by the delivering thread once the services are in, or a service is described.
std::atomic<bool> patSeen{false};
std::atomic<size_t> describedServices{0};
bool live = false;

uint32_t pidAt(const uint8_t* bytes) {
  return static_cast<uint32_t>((bytes[0] & 0x1f) << 8 | bytes[1]);
}

void count(OmbrixHalFilterHandle, const uint8_t*, uint32_t aLength, void* aContext) {
  auto& total = *static_cast<Count*>(aContext);
  ++total.deliveries;
  total.bytes += aLength;
}

void readPat(OmbrixHalFilterHandle, const uint8_t* aSection, uint32_t aLength, void*) {
  if (patSeen) {
    return;
  }
  for (uint32_t at = 8; at + 4 + 4 <= aLength; at += 4) {
    const uint32_t number = static_cast<uint32_t>(aSection[at] << 8 | aSection[at + 1]);
    if (number != 0) {  // 0 names the network PID
      services.push_back({.number = number, .pmtPid = pidAt(aSection + at + 2), .pcrPid = 0, .elementaryPids = {}, .described = false});
    }
  }
  patSeen.store(true, std::memory_order_release);
}

void readPmt(OmbrixHalFilterHandle, const uint8_t* aSection, uint32_t aLength, void* aContext) {
  auto& service = *static_cast<Service*>(aContext);
  if (service.described || aLength < 16) {
    return;
  }
  service.described = true;
  service.pcrPid = pidAt(aSection + 8);
  uint32_t at = 12 + ((aSection[10] & 0x0f) << 8 | aSection[11]);
  while (at + 5 + 4 <= aLength) {
    service.elementaryPids.push_back(pidAt(aSection + at + 1));
    at += 5 + ((aSection[at + 3] & 0x0f) << 8 | aSection[at + 4]);
  }
  describedServices.fetch_add(1, std::memory_order_release);
}

OmbrixHalFilterHandle openStarted(OmbrixHalTunerHandle tuner, OmbrixHalFilterType type, uint32_t pid,
                                  OmbrixHalFilterHandler handler, void* context, int tableId = -1) {
  OmbrixHalFilterHandle filter = OmbrixHalFilterOpen(tuner, type, nullptr, handler, context);
  OmbrixHalFilterParameter parameter{};
  parameter.pid = pid;
  if (tableId >= 0) {
    parameter.crcCheck = 1;
    parameter.filterLen = 1;
    parameter.match[0] = static_cast<uint8_t>(tableId);
    parameter.mask[0] = 0xff;
  }
  if (filter == nullptr || !OmbrixHalFilterSetParameter(filter, &parameter) || !OmbrixHalFilterStart(filter)) {
    std::fprintf(stderr, "ombrixhal-bench-demux: cannot filter PID 0x%x\n", pid);
    std::exit(1);
  }
  return filter;
}

bool play(OmbrixHalTunerHandle tuner, const std::string& path) {
  return OmbrixHalTunerSetParameterByString(tuner, ("digitalFile: name=//local/" + path).c_str()) != 0;
}

// Until `done`: pulled one packet at a time from the file (at most `limit`), or waited for while
// the receiver delivers. Closing the filters afterwards waits for a delivery under way.
template <typename Done>
void receiveUntil(OmbrixHalTunerHandle tuner, uint32_t limit, Done done) {
  if (live) {
    for (int wait = 0; wait < 1000 && !done(); ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return;
  }
  for (uint32_t packet = 0; packet < limit && !done() && OmbrixHalTunerReceive(tuner, 1); ++packet) {
  }
}

void discover(OmbrixHalTunerHandle tuner, const std::string& path) {
  OmbrixHalFilterHandle pat = openStarted(tuner, OMBRIX_HAL_FILTER_TYPE_SECTION, kPatPid, readPat, nullptr, 0x00);
  if (!live) {
    play(tuner, path);
  }
  receiveUntil(tuner, 100000, [] { return patSeen.load(std::memory_order_acquire); });
  OmbrixHalFilterClose(pat);
  std::vector<OmbrixHalFilterHandle> pmts;
  for (Service& service : services) {
    pmts.push_back(openStarted(tuner, OMBRIX_HAL_FILTER_TYPE_SECTION, service.pmtPid, readPmt, &service, 0x02));
  }
  receiveUntil(tuner, 100000, [] { return describedServices.load(std::memory_order_acquire) >= services.size(); });
  for (OmbrixHalFilterHandle pmt : pmts) {
    OmbrixHalFilterClose(pmt);
  }
}

// The receiver emulator's antenna: the file, unpaced, on one frequency.
OmbrixHalTunerHandle openReceiver(const std::string& path) {
  const std::filesystem::path plan = std::filesystem::temp_directory_path() / "ombrixhal-bench-demux-channels.txt";
  std::ofstream(plan) << "474000 8 " << std::filesystem::absolute(path).string() << "\n";
  DibEmulatorSetChannelPlan(plan.string().c_str());
  DibEmulatorSetDelivery(DIB_EMULATOR_UNPACED);
  OmbrixHalTunerHandle tuner = OmbrixHalTunerOpen("DVB-T");
  if (tuner == nullptr || !OmbrixHalTunerSetParameterByString(tuner, "DVB-T: freq=474000, bandwidth=8") ||
      OmbrixHalTunerGetStatus(tuner) != OMBRIX_HAL_TUNER_STATUS_LOCKED) {
    std::fprintf(stderr, "ombrixhal-bench-demux: the emulated receiver does not lock\n");
    std::exit(1);
  }
  return tuner;
}

// The receiver delivers all along, on its own thread: each round waits for `packets` more.
void receive(uint64_t packets) {
  const uint64_t end = DibEmulatorDeliveredPackets() + packets;
  while (DibEmulatorDeliveredPackets() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

__attribute__((noinline)) void playAll(OmbrixHalTunerHandle tuner, uint32_t packets) {
  OmbrixHalTunerReceive(tuner, packets);
}

}  // namespace

int main(int argc, char** argv) {
  live = argc > 1 && std::string(argv[1]) == "--dvbt";
  if (live) {
    --argc;
    ++argv;
  }
  if (argc < 2) {
    std::fprintf(stderr, "usage: ombrixhal-bench-demux [--dvbt] FILE [packets] [rounds]\n");
    return 2;
  }
  const std::string path = argv[1];
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    std::fprintf(stderr, "ombrixhal-bench-demux: cannot read %s\n", path.c_str());
    return 1;
  }
  std::fseek(file, 0, SEEK_END);
  const uint32_t filePackets = static_cast<uint32_t>(std::ftell(file) / kPacketSize);
  std::fclose(file);
  const uint32_t packets = argc > 2 ? std::min<uint32_t>(std::atoi(argv[2]), filePackets) : filePackets;
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 3;

  static const uintptr_t videoWindow[1] = {0};  // no window
  OmbrixHalInitParameter parameter = {0, reinterpret_cast<uintptr_t>(videoWindow)};
  OmbrixHalInit(&parameter);
  OmbrixHalTunerHandle tuner = live ? openReceiver(path) : OmbrixHalTunerOpen("digitalFile");
  discover(tuner, path);

  Count sections, pes, pcr;
  std::vector<OmbrixHalFilterHandle> filters = {
      openStarted(tuner, OMBRIX_HAL_FILTER_TYPE_SECTION, kPatPid, count, &sections, 0x00),
      openStarted(tuner, OMBRIX_HAL_FILTER_TYPE_SECTION, kSdtPid, count, &sections, 0x42),
  };
  size_t elementaryStreams = 0;
  for (const Service& service : services) {
    filters.push_back(openStarted(tuner, OMBRIX_HAL_FILTER_TYPE_SECTION, service.pmtPid, count, &sections, 0x02));
    for (uint32_t pid : service.elementaryPids) {
      filters.push_back(openStarted(tuner, OMBRIX_HAL_FILTER_TYPE_PES, pid, count, &pes));
      ++elementaryStreams;
    }
    // After the PES filters: the DVB-T tuner gives a PID to its first entry only, and the PCR
    // comes on the video PID.
    filters.push_back(openStarted(tuner, OMBRIX_HAL_FILTER_TYPE_PCR, service.pcrPid, count, &pcr));
  }

  double best = 1e9;
  for (int round = 0; round < rounds; ++round) {
    const Clock::time_point start = Clock::now();
    if (live) {
      receive(packets);
    } else {
      sections = pes = pcr = {};
      play(tuner, path);
      playAll(tuner, packets);
    }
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  const double megabytes = packets * double{kPacketSize} / 1e6;
  std::printf("%zu services, %zu elementary streams, %zu filters\n", services.size(), elementaryStreams,
              filters.size());
  std::printf("%u packets (%.1f MB), best of %d rounds: %.3f s, %.1f MB/s, %.2f M packets/s\n", packets, megabytes,
              rounds, best, megabytes / best, packets / best / 1e6);
  // Closed first: a receiver delivers until then. Its counts run from the first filter opened on,
  // and its tuner gives each PID to the first of its 16 entries (the PCR filters share PIDs).
  for (OmbrixHalFilterHandle filter : filters) {
    OmbrixHalFilterClose(filter);
  }
  std::printf("delivered: %llu sections, %llu PES packets (%.1f MB), %llu PCRs\n",
              static_cast<unsigned long long>(sections.deliveries), static_cast<unsigned long long>(pes.deliveries),
              pes.bytes / 1e6, static_cast<unsigned long long>(pcr.deliveries));
  if (live) {
    // What a profile of the receiver's thread divides by.
    std::printf("receiver: %llu packets delivered in all\n",
                static_cast<unsigned long long>(DibEmulatorDeliveredPackets()));
  }
  OmbrixHalTunerClose(tuner);
  OmbrixHalDone();
  return 0;
}
