// The host player library's decoding speed: a file's service played headless and unpaced through
// the library's calls, against FFmpeg decoding the same streams to nothing (its default threads,
// then one thread per stream as the player uses); or, with "paced", the service played in real
// time, headless, and the process's CPU time over the wall time it took.
// ombrixhal-bench-player [paced] FILE AUDIO_PID VIDEO_PID
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "voMTPSDK.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::time_point aStart) {
  return std::chrono::duration<double>(Clock::now() - aStart).count();
}

// The player's time from Run to the end of Stop, which decodes all that was sent.
// When the last time stamp came, in steady clock ticks.
std::atomic<int64_t> lastStamp{0};

int32_t stamped(int32_t aType, const uint32_t*) {
  if (aType == VOMTP_MESSAGE_TIME_STAMP) {
    lastStamp = Clock::now().time_since_epoch().count();
  }
  return 1;
}

double cpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// The player's time from Run to the end of Stop, which decodes all that was sent; paced, from Run
// to the last presented frame, the process's CPU time over that time goes to aCpuShare.
double playerSeconds(const std::vector<uint8_t>& aStream, uint32_t aStreamId, const std::string& aDirectory,
                     double* aCpuShare = nullptr) {
  setenv("VOMTP_PLAYER_HEADLESS", aDirectory.c_str(), 1);
  setenv("VOMTP_PLAYER_FRAME_EVERY", "1000000", 1);
  setenv("VOMTP_PLAYER_QUEUE_BYTES", std::to_string(aStream.size() + 1).c_str(), 1);
  setenv("VOMTP_PLAYER_PACED", aCpuShare ? "1" : "0", 1);
  voMTPHandle decoder = nullptr;
  voMTPInit(VOMTP_INIT_MEMORY);
  voMTPOpen(&decoder, VOMTP_OPEN_SOURCE, VOMTP_OPEN_MODE, VOMTP_OPEN_FLAGS, nullptr, stamped);
  const double cpuStart = cpuSeconds();
  const Clock::time_point start = Clock::now();
  voMTPRun(decoder);
  for (size_t at = 0; at < aStream.size(); at += 48128) {
    voMTPSendData(decoder, aStream.data() + at, uint32_t(std::min<size_t>(48128, aStream.size() - at)), aStreamId,
                  VOMTP_SEND_FLAG_TS);
  }
  if (aCpuShare) {
    // Played out once no frame has come for half a second.
    lastStamp = start.time_since_epoch().count();
    while (Clock::now() - Clock::time_point(Clock::duration(lastStamp)) < std::chrono::milliseconds(500)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    const double cpu = cpuSeconds() - cpuStart;
    const double wall = std::chrono::duration<double>(Clock::duration(lastStamp) - start.time_since_epoch()).count();
    *aCpuShare = cpu / wall;
    voMTPStop(decoder);
    voMTPClose(decoder);
    voMTPUnInit();
    return wall;
  }
  voMTPStop(decoder);
  const double elapsed = seconds(start);
  voMTPClose(decoder);
  voMTPUnInit();
  return elapsed;
}

double ffmpegSeconds(const std::string& aFile, uint32_t aAudioPid, uint32_t aVideoPid, const std::string& aThreads) {
  const std::string command = "ffmpeg -v error " + aThreads + " -i '" + aFile + "' -map 0:i:" +
                              std::to_string(aVideoPid) + " -map 0:i:" + std::to_string(aAudioPid) + " -f null -";
  const Clock::time_point start = Clock::now();
  if (std::system(command.c_str()) != 0) {
    std::fprintf(stderr, "failed: %s\n", command.c_str());
  }
  return seconds(start);
}

}  // namespace

int main(int argc, char** argv) {
  const bool paced = argc == 5 && std::string(argv[1]) == "paced";
  if (argc != 4 && !paced) {
    std::fprintf(stderr, "usage: ombrixhal-bench-player [paced] FILE AUDIO_PID VIDEO_PID\n");
    return 2;
  }
  argv += paced ? 1 : 0;
  const std::string file = argv[1];
  const uint32_t audio = uint32_t(std::strtoul(argv[2], nullptr, 0)), video = uint32_t(std::strtoul(argv[3], nullptr, 0));
  std::ifstream input(file, std::ios::binary);
  const std::vector<uint8_t> stream{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
  const std::string directory = std::filesystem::temp_directory_path() / "ombrixhal-bench-player";
  std::filesystem::create_directories(directory);
  if (paced) {
    double share = 0;
    const double wall = playerSeconds(stream, audio | video << 13, directory, &share);
    std::filesystem::remove_all(directory);
    std::printf("player, headless paced: %.2f s played, CPU %.1f %% of one core (process CPU time / wall time)\n",
                wall, share * 100);
    return 0;
  }
  const double player = playerSeconds(stream, audio | video << 13, directory);
  std::ifstream timeline(directory + "/timeline.txt");
  size_t pictures = 0;
  for (std::string line; std::getline(timeline, line);) {
    ++pictures;
  }
  std::filesystem::remove_all(directory);
  const double ffmpeg = ffmpegSeconds(file, audio, video, "");
  const double ffmpegOneThread = ffmpegSeconds(file, audio, video, "-threads 1 -filter_threads 1");
  std::printf("player, headless unpaced: %.2f s for %zu pictures (%.0f pictures/s)\n", player, pictures,
              pictures / player);
  std::printf("ffmpeg -f null:           %.2f s (player %.2fx its time)\n", ffmpeg, player / ffmpeg);
  std::printf("ffmpeg -f null, 1 thread: %.2f s (player %.2fx its time)\n", ffmpegOneThread, player / ffmpegOneThread);
  return 0;
}
