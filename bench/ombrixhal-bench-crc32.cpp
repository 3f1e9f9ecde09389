// The section CRC's speed: both implementations over a buffer that stays in cache, best of
// several timed passes, in GB/s (10^9 bytes per second).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "OmbrixHalTCrc32.h"

namespace {

using Clock = std::chrono::steady_clock;
using Crc32Function = uint32_t (*)(const uint8_t*, size_t) noexcept;

volatile uint32_t sink;

double gigabytesPerSecond(Crc32Function crc, const std::vector<uint8_t>& buffer, int rounds, int passes) {
  double best = 0;
  for (int pass = 0; pass < passes; ++pass) {
    const auto start = Clock::now();
    uint32_t combined = 0;
    for (int round = 0; round < rounds; ++round) {
      combined ^= crc(buffer.data(), buffer.size());
    }
    const std::chrono::duration<double> seconds = Clock::now() - start;
    sink = combined;
    best = std::max(best, static_cast<double>(buffer.size()) * rounds / seconds.count() / 1e9);
  }
  return best;
}

}  // namespace

// Arguments: buffer size in bytes (65536), rounds per pass (2000), passes (7).
int main(int argc, char** argv) {
  const size_t size = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 65536;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 2000;
  const int passes = argc > 3 ? std::atoi(argv[3]) : 7;
  std::vector<uint8_t> buffer(size);
  for (size_t i = 0; i < size; ++i) {
    buffer[i] = static_cast<uint8_t>(i * 131 + (i >> 8));
  }
  std::printf("buffer %zu bytes, %d rounds, best of %d\n", size, rounds, passes);
  std::printf("%-10s %6.2f GB/s\n", "portable", gigabytesPerSecond(ombrixhal::crc32MpegPortable, buffer, rounds, passes));
  if (ombrixhal::hasClmul()) {
    std::printf("%-10s %6.2f GB/s\n", "clmul", gigabytesPerSecond(ombrixhal::crc32MpegClmul, buffer, rounds, passes));
  } else {
    std::printf("%-10s not on this CPU\n", "clmul");
  }
  return 0;
}
