// Cross-check of the whole demultiplexer against streams that another muxer wrote: FFmpeg's, from
// its own test sources (see GenerateFfmpegStreams.cmake). The tables must arrive whole on the
// PIDs that ffprobe names, and the PES payloads of each elementary stream must be FFmpeg's stream
// copy of it, less only the last unbounded PES of the file, which by design is never delivered.
#include <cstdlib>
#include <fstream>
#include <map>

#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

// The directory the generator wrote to, from the environment CTest sets.
std::string streamDirectory() {
  const char* directory = std::getenv("OMBRIX_HAL_FFMPEG_STREAMS");
  return directory != nullptr ? directory : "ffmpeg-streams";
}

Bytes readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// What ffprobe reported: "programs.program.0.pmt_pid=4096" and the like, keys without the
// program prefix, string values unquoted.
std::map<std::string, std::string> readProbe(const std::string& path) {
  std::map<std::string, std::string> values;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const size_t equals = line.find('=');
    std::string key = line.substr(0, equals);
    std::string value = line.substr(equals + 1);
    if (key.rfind("programs.program.0.", 0) != 0) {
      continue;
    }
    key.erase(0, std::string("programs.program.0.").size());
    if (value.size() >= 2 && value.front() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    values[key] = value;
  }
  return values;
}

uint32_t number(const std::string& text) { return static_cast<uint32_t>(std::stoul(text, nullptr, 0)); }


// The ES bytes of the last PES packet of one PID, found by a plain scan of the file.
Bytes lastPesPayload(const Bytes& ts, uint32_t pid) {
  Bytes pes;
  for (size_t at = 0; at + kTsPacketSize <= ts.size(); at += kTsPacketSize) {
    const uint8_t* packet = ts.data() + at;
    const uint32_t control = packet[3] >> 4 & 3;
    if (((packet[1] & 0x1fu) << 8 | packet[2]) != pid || control == 0 || control == 2) {
      continue;
    }
    if (packet[1] & 0x40) {
      pes.clear();
    }
    pes.insert(pes.end(), packet + (control == 3 ? 5u + packet[4] : 4u), packet + kTsPacketSize);
  }
  return Bytes(pes.begin() + 9 + pes[8], pes.end());
}

// The ES bytes of delivered PES packets: each without its header.
Bytes payloadsOf(const Deliveries& deliveries) {
  Bytes es;
  for (const auto& [filter, pes] : deliveries.calls) {
    es.insert(es.end(), pes.begin() + 9 + pes[8], pes.end());
  }
  return es;
}

class DemuxCrossCheck : public FileTunerTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(DemuxCrossCheck, TablesAndElementaryStreamsAreWhatFfmpegReports) {
  const std::string base = streamDirectory() + "/" + GetParam();
  const Bytes ts = readFile(base + ".ts");
  ASSERT_GT(ts.size(), 100000u) << "run the generator first: " << base;
  auto probe = readProbe(base + ".probe");
  const uint32_t pmtPid = number(probe["pmt_pid"]);
  const uint32_t videoPid = number(probe["streams.stream.0.id"]);
  const uint32_t audioPid = number(probe["streams.stream.1.id"]);
  ASSERT_EQ(probe["streams.stream.0.codec_type"], "video");

  // Sections with the CRC checked, matched by table_id.
  const auto table = [](uint8_t tableId) {
    OmbrixHalFilterParameter parameter{};
    parameter.crcCheck = 1;
    parameter.filterLen = 1;
    parameter.match[0] = tableId;
    parameter.mask[0] = 0xff;
    return parameter;
  };
  Deliveries pat, pmt, sdt, video, audio, pcr;
  OmbrixHalFilterHandle filters[] = {
      openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, 0x0000, pat, table(0x00)),
      openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, pmtPid, pmt, table(0x02)),
      openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, 0x0011, sdt, table(0x42)),
      openStarted(OMBRIX_HAL_FILTER_TYPE_PES, videoPid, video),
      openStarted(OMBRIX_HAL_FILTER_TYPE_PES, audioPid, audio),
      openStarted(OMBRIX_HAL_FILTER_TYPE_PCR, number(probe["pcr_pid"]), pcr),
  };
  play(ts);

  // With the CRC checked, what arrives is each table as the muxer wrote it.
  for (OmbrixHalFilterHandle filter : {filters[0], filters[1], filters[2]}) {
    OmbrixHalFilterInfo info{};
    EXPECT_EQ(OmbrixHalFilterGetInfo(filter, &info), 1);
    EXPECT_GT(info.sectionsReceived, 0u);
    EXPECT_EQ(info.crcErrors, 0u);
  }
  for (const auto& [tables, tableId] : {std::pair{&pat, 0x00}, {&pmt, 0x02}, {&sdt, 0x42}}) {
    ASSERT_FALSE(tables->calls.empty());
    EXPECT_EQ(tables->calls[0].second[0], tableId);
  }

  // Video PES packets are unbounded: the last one of the file is never complete.
  const Bytes videoCopy = readFile(base + ".video.es");
  const Bytes lastVideo = lastPesPayload(ts, videoPid);
  ASSERT_GT(videoCopy.size(), lastVideo.size());
  EXPECT_TRUE(payloadsOf(video) == Bytes(videoCopy.begin(), videoCopy.end() - static_cast<long>(lastVideo.size())));
  EXPECT_TRUE(payloadsOf(audio) == readFile(base + ".audio.es"));
  EXPECT_GT(pcr.calls.size(), 10u);
  for (OmbrixHalFilterHandle filter : filters) {
    OmbrixHalFilterClose(filter);
  }
}

INSTANTIATE_TEST_SUITE_P(FfmpegStreams, DemuxCrossCheck, ::testing::Values("mpeg2", "h264"));

}  // namespace
}  // namespace ombrixhal::test
