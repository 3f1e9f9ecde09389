// The file digital tuner's speed: pulled play against a plain read loop over the same file,
// and paced play's delivered rate against the requested one.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "OmbrixHal.h"
#include "OmbrixHalStreamBuilder.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kStreamPath = "bench-file-digital.ts";
constexpr uint32_t kChunkSize = OMBRIX_HAL_TUNER_FILE_DIGITAL_CHUNK_SIZE;

struct Count {
  std::atomic<uint64_t> packets{0};
  uint64_t pidSum = 0;  // touched only by the delivering thread
};

uint32_t pidOf(const uint8_t* packet) { return static_cast<uint32_t>((packet[1] & 0x1f) << 8 | packet[2]); }

void countPacket(void*, const uint8_t* aPacket, uint32_t, void* aContext) {
  auto& count = *static_cast<Count*>(aContext);
  count.pidSum += pidOf(aPacket);
  count.packets.store(count.packets.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

volatile uint64_t sink;

// What reading the file costs without the tuner: the same chunks, each packet's PID touched.
__attribute__((noinline)) uint64_t playPlain(const char* path) {
  static uint8_t buffer[kChunkSize];
  std::FILE* file = std::fopen(path, "rb");
  if (file == nullptr) {
    return 0;
  }
  uint64_t packets = 0;
  uint64_t pidSum = 0;
  size_t read = 0;
  while ((read = std::fread(buffer, 1, sizeof buffer, file)) >= ombrixhal::test::kTsPacketSize) {
    for (size_t at = 0; at + ombrixhal::test::kTsPacketSize <= read; at += ombrixhal::test::kTsPacketSize) {
      pidSum += pidOf(buffer + at);
      ++packets;
    }
  }
  std::fclose(file);
  sink = pidSum;
  return packets;
}

__attribute__((noinline)) uint64_t playPulled(OmbrixHalTunerHandle tuner, uint32_t packets, Count& count) {
  count.packets = 0;
  OmbrixHalTunerReceive(tuner, packets);
  sink = count.pidSum;
  return count.packets;
}

// The same, one Receive call per packet, as a middleware loop may pull.
__attribute__((noinline)) uint64_t playPulledSingly(OmbrixHalTunerHandle tuner, uint32_t packets, Count& count) {
  count.packets = 0;
  for (uint32_t packet = 0; packet < packets && OmbrixHalTunerReceive(tuner, 1); ++packet) {
  }
  sink = count.pidSum;
  return count.packets;
}

double seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

void report(const char* what, uint64_t packets, double bestSeconds) {
  std::printf("%-28s %10.0f packets/s %9.1f MB/s\n", what, packets / bestSeconds,
              packets * ombrixhal::test::kTsPacketSize / bestSeconds / 1e6);
}

OmbrixHalTunerHandle openTuner(Count& count) {
  OmbrixHalTunerHandle tuner = OmbrixHalTunerOpen("digitalFile");
  if (tuner == nullptr || !OmbrixHalTunerRegisterPacketHandler(tuner, countPacket, &count)) {
    std::fprintf(stderr, "ombrixhal-bench-file-digital: no tuner\n");
    std::exit(1);
  }
  return tuner;
}

bool play(OmbrixHalTunerHandle tuner, const std::string& options) {
  const std::string line = std::string("digitalFile: name=//local/") + kStreamPath + options;
  return OmbrixHalTunerSetParameterByString(tuner, line.c_str()) != 0;
}

// pull [packets] [rounds] [plain|pulled|single|all]
int benchPulled(uint32_t packets, int rounds, const std::string& which) {
  ombrixhal::test::writeBytes(kStreamPath, ombrixhal::test::tsStream(packets));
  Count count;
  OmbrixHalTunerHandle tuner = openTuner(count);
  const bool all = which == "all";
  double bestPlain = 1e9;
  double bestPulled = 1e9;
  double bestSingle = 1e9;
  for (int round = 0; round < rounds; ++round) {
    if (all || which == "plain") {
      const Clock::time_point start = Clock::now();
      if (playPlain(kStreamPath) != packets) {
        std::fprintf(stderr, "ombrixhal-bench-file-digital: the plain loop lost packets\n");
        return 1;
      }
      bestPlain = std::min(bestPlain, seconds(Clock::now() - start));
    }
    for (const bool singly : {false, true}) {
      if (!all && which != (singly ? "single" : "pulled")) {
        continue;
      }
      if (!play(tuner, ", repetitions=1")) {
        return 1;
      }
      const Clock::time_point start = Clock::now();
      if ((singly ? playPulledSingly : playPulled)(tuner, packets, count) != packets) {
        std::fprintf(stderr, "ombrixhal-bench-file-digital: the tuner lost packets\n");
        return 1;
      }
      double& best = singly ? bestSingle : bestPulled;
      best = std::min(best, seconds(Clock::now() - start));
    }
  }
  std::printf("%u packets (%.1f MB), best of %d rounds\n", packets, packets * 188.0 / 1e6, rounds);
  if (all || which == "plain") {
    report("plain read loop", packets, bestPlain);
  }
  if (all || which == "pulled") {
    report("tuner, Receive(all)", packets, bestPulled);
  }
  if (all || which == "single") {
    report("tuner, Receive(1) per packet", packets, bestSingle);
  }
  if (all) {
    std::printf("%-28s %10.2f\n", "Receive(all) / plain", bestPlain / bestPulled);
    std::printf("%-28s %10.2f\n", "Receive(1) / plain", bestPlain / bestSingle);
  }
  OmbrixHalTunerClose(tuner);
  std::remove(kStreamPath);
  return 0;
}

// paced [seconds]: 1, 4 and 30 Mbit/s.
int benchPaced(double windowSeconds) {
  ombrixhal::test::writeBytes(kStreamPath, ombrixhal::test::tsStream(20000));
  Count count;
  OmbrixHalTunerHandle tuner = openTuner(count);
  std::printf("%-10s %-10s %-14s %-12s %-14s %s\n", "requested", "symbolrate", "packets/cycle", "cycle (ms)",
              "arithmetic", "delivered");
  for (const uint32_t megabits : {1u, 4u, 30u}) {
    const uint32_t symbolRate = megabits * 125;  // units of 1000 bytes per second
    const uint32_t packetsPerSecond = symbolRate * 1000 / 188;
    const uint32_t millisecondsPerPacket = 1000 / packetsPerSecond;
    const uint32_t microsecondsPerPacket = std::max(1000000 / packetsPerSecond, 1u);
    const uint32_t perCycle = millisecondsPerPacket != 0 ? 1 : 10000 / microsecondsPerPacket;
    const uint32_t cycleMs = millisecondsPerPacket != 0 ? millisecondsPerPacket : 10;
    const double arithmetic = perCycle * 1000.0 / cycleMs * 188 * 8 / 1e6;
    if (!play(tuner, ", symbolrate=" + std::to_string(symbolRate) + ", repetitions=0")) {
      return 1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // past the first cycles
    const uint64_t first = count.packets;
    const Clock::time_point start = Clock::now();
    std::this_thread::sleep_for(std::chrono::duration<double>(windowSeconds));
    const uint64_t delivered = count.packets - first;
    const double elapsed = seconds(Clock::now() - start);
    std::printf("%4u Mbit/s %-10u %-14u %-12u %7.2f Mbit/s %7.2f Mbit/s\n", megabits, symbolRate, perCycle, cycleMs,
                arithmetic, delivered * 188 * 8 / elapsed / 1e6);
  }
  OmbrixHalTunerClose(tuner);
  std::remove(kStreamPath);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "pull";
  static const uintptr_t videoWindow[1] = {0};  // no window
  // The plain allocator, as a release build runs.
  OmbrixHalInitParameter parameter = {0, reinterpret_cast<uintptr_t>(videoWindow)};
  if (!OmbrixHalInit(&parameter)) {
    std::fprintf(stderr, "ombrixhal-bench-file-digital: the HAL did not start\n");
    return 1;
  }
  int result = 2;
  if (mode == "pull") {
    result = benchPulled(argc > 2 ? static_cast<uint32_t>(std::atoi(argv[2])) : 500000,
                         argc > 3 ? std::atoi(argv[3]) : 5, argc > 4 ? argv[4] : "all");
  } else if (mode == "paced") {
    result = benchPaced(argc > 2 ? std::atof(argv[2]) : 3.0);
  } else {
    std::fprintf(stderr,
                 "usage: ombrixhal-bench-file-digital pull [packets] [rounds] [plain|pulled|single|all]\n"
                 "       ombrixhal-bench-file-digital paced [seconds]\n");
  }
  OmbrixHalDone();
  return result;
}
