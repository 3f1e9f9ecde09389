// The receiver emulator on its own, a recording on one emulated channel and every PID filtered:
// paced, the rate it delivers against the rate the file's PCRs give (their first PID's first
// and last PCR, measured here apart from the emulator); unpaced, how fast it hands buffers over.
//   ombrixhal-bench-dibemu FILE [paced|unpaced] [SECONDS]
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

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kPacketSize = 188;
constexpr uint32_t kPidCount = 8192;
constexpr double kPcrHz = 27000000.0;

struct Count {
  DibDriverHandle driver = nullptr;
  uint8_t filter = 0;
  std::atomic<uint64_t> bytes{0};
  std::atomic<uint64_t> buffers{0};
  std::atomic<int64_t> firstNs{0};  // when the first buffer came; its bytes are not counted
  std::atomic<int64_t> lastNs{0};
};

void countBuffer(void* aContext, const DibBufferInfo* aInfo, uint32_t aEvent) {
  auto& count = *static_cast<Count*>(aContext);
  if (aEvent != DIB_EMULATOR_EVENT_DATA) {
    return;
  }
  const int64_t now = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
  if (count.buffers++ == 0) {
    count.firstNs = now;
  } else {
    count.bytes += uint64_t(aInfo->DataSize);
    count.lastNs = now;
  }
  DibRegisterBuffer(count.driver, count.filter, aInfo->Data, DIB_BUFFER_SIZE, aInfo->BufferIndex);
}

// Bytes per second between the first and the last PCR of the first PID that carries PCRs.
double pcrRate(const std::string& aPath) {
  std::ifstream file(aPath, std::ios::binary);
  std::vector<char> chunk(kPacketSize * 4096);
  int64_t pid = -1;
  uint64_t offset = 0;
  uint64_t first[2] = {};  // offset, PCR
  uint64_t last[2] = {};
  while (file.read(chunk.data(), std::streamsize(chunk.size())) || file.gcount() > 0) {
    const size_t length = size_t(file.gcount());
    for (size_t at = 0; at + kPacketSize <= length; at += kPacketSize, offset += kPacketSize) {
      const auto* p = reinterpret_cast<const uint8_t*>(chunk.data() + at);
      const int64_t packetPid = (p[1] & 0x1f) << 8 | p[2];
      if (p[0] != 0x47 || !(p[3] & 0x20) || p[4] < 7 || !(p[5] & 0x10) || (pid >= 0 && packetPid != pid)) {
        continue;
      }
      const uint64_t base =
          uint64_t(p[6]) << 25 | uint64_t(p[7]) << 17 | uint64_t(p[8]) << 9 | uint64_t(p[9]) << 1 | p[10] >> 7;
      const uint64_t pcr = base * 300 + ((p[10] & 1u) << 8 | p[11]);
      if (pid < 0) {
        pid = packetPid;
        first[0] = offset;
        first[1] = pcr;
      }
      last[0] = offset;
      last[1] = pcr;
    }
  }
  return last[1] > first[1] ? double(last[0] - first[0]) * kPcrHz / double(last[1] - first[1]) : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: ombrixhal-bench-dibemu FILE [paced|unpaced] [SECONDS]\n");
    return 2;
  }
  const std::string path = std::filesystem::absolute(argv[1]).string();
  const bool paced = argc < 3 || std::string(argv[2]) != "unpaced";
  const int seconds = argc > 3 ? std::atoi(argv[3]) : 30;
  const std::filesystem::path plan = std::filesystem::temp_directory_path() / "ombrixhal-bench-dibemu-plan.txt";
  std::ofstream(plan) << "474000 8 " << path << "\n";

  DibEmulatorReset();
  DibEmulatorSetChannelPlan(plan.string().c_str());
  DibEmulatorSetDelivery(paced ? DIB_EMULATOR_PACED : DIB_EMULATOR_UNPACED);
  Count count;
  DibChannelDescription channel{};
  channel.FrequencyKHz = 474000;
  channel.Bandwidth = 80;
  uint8_t channelId = 0;
  uint8_t item = 0;
  std::vector<DibPidItem> pids(kPidCount);
  for (uint32_t pid = 0; pid < kPidCount; ++pid) {
    pids[pid].Pid = uint16_t(pid);
  }
  const DibFilterDescription description{2, &count, countBuffer, 0};
  std::vector<uint8_t> buffers(2 * DIB_BUFFER_SIZE);
  if (DibOpen(&count.driver, 7, 0) != 0 || DibGetChannel(count.driver, 0, 0, 0, &channel, &channelId, 0, 0) != 0 ||
      channel.LockResult != 1 || DibCreateFilter(count.driver, channelId, 0, &description, &count.filter) != 0 ||
      DibAddToFilter(count.driver, count.filter, kPidCount, pids.data(), &item) != 0) {
    std::fprintf(stderr, "ombrixhal-bench-dibemu: cannot receive %s\n", path.c_str());
    return 1;
  }
  for (uint8_t index = 0; index < 2; ++index) {
    DibRegisterBuffer(count.driver, count.filter, buffers.data() + index * DIB_BUFFER_SIZE, DIB_BUFFER_SIZE, index);
  }
  while (count.buffers == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  DibClose(count.driver);
  std::filesystem::remove(plan);

  const double elapsed = double(count.lastNs - count.firstNs) / 1e9;
  const double delivered = double(count.bytes) / elapsed;
  if (paced) {
    const double expected = pcrRate(path);
    std::printf("paced, %.1f s: %.3f Mbit/s delivered, %.3f Mbit/s from the PCRs: %+.3f %%\n", elapsed,
                delivered * 8 / 1e6, expected * 8 / 1e6, (delivered / expected - 1) * 100);
  } else {
    std::printf("unpaced, %.1f s: %.1f MB/s, %.0f buffers/s\n", elapsed, delivered / 1e6,
                double(count.buffers - 1) / elapsed);
  }
  return 0;
}
