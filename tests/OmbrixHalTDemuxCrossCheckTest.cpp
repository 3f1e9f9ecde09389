// Cross-check of the whole demultiplexer against streams that another muxer wrote: FFmpeg's, from
// its own test sources (see GenerateFfmpegStreams.cmake). The tables must arrive whole on the
// PIDs that ffprobe names, and the PES payloads of each elementary stream must be FFmpeg's stream
// copy of it, less only the last unbounded PES of the file, which by design is never delivered.
// Played through the AV player, every PES start with its PTS that ffprobe reports reaches the
// player library, up to what the player still stages at the end.
#include <cstdlib>
#include <fstream>
#include <map>

#include "OmbrixHalFileTunerFixture.h"
#include "voMTPEmulatorControl.h"

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
  const std::string prefix = "programs.program.0.";
  std::map<std::string, std::string> values;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const size_t equals = line.find('=');
    if (line.starts_with(prefix) && equals != std::string::npos) {
      const std::string value = line.substr(equals + 1);
      values[line.substr(prefix.size(), equals - prefix.size())] =
          value.starts_with('"') ? value.substr(1, value.size() - 2) : value;
    }
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

class DemuxCrossCheck : public FileTunerTest, public ::testing::WithParamInterface<const char*> {
 protected:
  ConsoleCapture console;  // the player's messages
};

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
  for (int table = 0; table < 3; ++table) {
    OmbrixHalFilterInfo info{};
    EXPECT_EQ(OmbrixHalFilterGetInfo(filters[table], &info), 1);
    EXPECT_GT(info.sectionsReceived, 0u);
    EXPECT_EQ(info.crcErrors, 0u);
  }
  ASSERT_FALSE(pat.calls.empty() || pmt.calls.empty() || sdt.calls.empty());
  EXPECT_EQ((Bytes{pat.data()[0][0], pmt.data()[0][0], sdt.data()[0][0]}), (Bytes{0x00, 0x02, 0x42}));

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

// The PTS of the PES starts that the player library saw on `pid`, from the `from`th on.
std::vector<uint64_t> timestampsSeen(uint32_t pid, size_t from = 0) {
  std::vector<uint64_t> seen(voMTPEmulatorGetTimestamps(pid, nullptr, 0));
  voMTPEmulatorGetTimestamps(pid, seen.data(), uint32_t(seen.size()));
  return std::vector(seen.begin() + long(std::min(from, seen.size())), seen.end());
}

TEST_P(DemuxCrossCheck, ThePlayerLibraryReceivesThePesStartsAndTimeStampsThatFfprobeReports) {
  const std::string base = streamDirectory() + "/" + GetParam();
  const Bytes ts = readFile(base + ".ts");
  auto probe = readProbe(base + ".probe");
  const uint32_t pids[] = {number(probe["streams.stream.0.id"]), number(probe["streams.stream.1.id"])};
  const OmbrixHalAvPlayerParameter service = {pids[1], 0, pids[0], 0, number(probe["pcr_pid"])};
  OmbrixHalAvPlayerHandle player = OmbrixHalAvPlayerOpen(tuner);
  ASSERT_EQ(sumInOrder({OmbrixHalAvPlayerSetParameter(player, &service), OmbrixHalAvPlayerPlay(player)}), 2);
  // The player keeps what an earlier play left staged: null packets send it on first.
  play(concat(std::vector(255, tsPacketOf(0x1fff, 0))));
  const size_t before[] = {timestampsSeen(pids[0]).size(), timestampsSeen(pids[1]).size()};
  play(ts);
  OmbrixHalAvPlayerStop(player);
  OmbrixHalAvPlayerClose(player);
  // ffprobe's packets that start a PES (a frame cut out of one has no position), and those in
  // all but the last 255 packets, which the player may still hold.
  std::vector<uint64_t> starts[2];
  size_t sent[2] = {};
  std::ifstream file(base + ".packets");
  for (std::string line; std::getline(file, line);) {
    const size_t first = line.find(','), second = line.find(',', first + 1);
    const std::string position = line.substr(second + 1, line.find(',', second + 1) - second - 1);
    if (!line.empty() && position != "N/A") {
      const int stream = std::stoi(line);
      starts[stream].push_back(std::stoull(line.substr(first + 1)));
      sent[stream] += std::stoull(position) + 255 * kTsPacketSize < ts.size() ? 1 : 0;
    }
  }
  for (int stream = 0; stream < 2; ++stream) {
    const std::vector<uint64_t> seen = timestampsSeen(pids[stream], before[stream]);
    EXPECT_GE(seen.size(), std::max<size_t>(sent[stream], 10)) << "stream " << stream;
    EXPECT_EQ(seen, std::vector(starts[stream].begin(), starts[stream].begin() + long(std::min(seen.size(), starts[stream].size()))));
  }
}

INSTANTIATE_TEST_SUITE_P(FfmpegStreams, DemuxCrossCheck, ::testing::Values("mpeg2", "h264"));

}  // namespace
}  // namespace ombrixhal::test
