// What FFmpeg's tools say of the streams that GenerateFfmpegStreams.cmake writes, for the tests
// that play them (ffmpeg and ffprobe on the PATH).
#ifndef OMBRIX_HAL_FFMPEG_PROBE_H
#define OMBRIX_HAL_FFMPEG_PROBE_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace ombrixhal::test {

// The directory the generator wrote to, from the environment CTest sets, with a slash.
inline std::string ffmpegStreams() {
  const char* directory = std::getenv("OMBRIX_HAL_FFMPEG_STREAMS");
  return std::string(directory ? directory : "ffmpeg-streams") + "/";
}

// A command's standard output.
inline std::string runCommand(const std::string& aCommand) {
  std::string output;
  if (std::FILE* pipe = popen(aCommand.c_str(), "r")) {
    char buffer[4096];
    for (size_t read; (read = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
      output.append(buffer, read);
    }
    pclose(pipe);
  }
  return output;
}

// ffprobe's value of aEntry ("pkt_size", "nb_samples") for each decoded frame of aPid in the
// stream file aName; none for a PID not there.
inline std::vector<uint64_t> probeFrames(const std::string& aName, uint32_t aPid, const char* aEntry) {
  std::istringstream lines(runCommand("ffprobe -v error -select_streams i:" + std::to_string(aPid) +
                                      " -show_entries frame=" + aEntry + " -of csv=p=0 " + ffmpegStreams() + aName));
  std::vector<uint64_t> values;
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) {
      values.push_back(std::stoull(line));
    }
  }
  return values;
}

inline std::vector<uint8_t> readBinary(const std::string& aPath) {
  std::ifstream file(aPath, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The X display's top-left aWidth x aHeight as RGB pixels, grabbed by FFmpeg.
inline std::vector<uint8_t> grabScreen(int aWidth, int aHeight) {
  runCommand("ffmpeg -v error -f x11grab -draw_mouse 0 -video_size " + std::to_string(aWidth) + "x" +
             std::to_string(aHeight) + " -i " + std::getenv("DISPLAY") + " -frames:v 1 -f rawvideo -pix_fmt rgb24 -y screen.rgb");
  return readBinary("screen.rgb");
}

// A headless play's output directory: pictures presented (the timeline's lines), and the WAV
// file's samples per channel.
struct HeadlessOutput {
  uint64_t pictures = 0;
  uint64_t samples = 0;
};
inline HeadlessOutput readHeadless(const std::string& aDirectory) {
  HeadlessOutput output;
  std::ifstream timeline(aDirectory + "/timeline.txt");
  for (std::string line; std::getline(timeline, line);) {
    ++output.pictures;
  }
  const std::vector<uint8_t> wav = readBinary(aDirectory + "/audio.wav");
  if (wav.size() >= 44 && wav[22] != 0) {
    output.samples = (wav.size() - 44) / 2 / wav[22];
  }
  return output;
}

}  // namespace ombrixhal::test

#endif
