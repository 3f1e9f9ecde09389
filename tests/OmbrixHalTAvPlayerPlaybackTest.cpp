// The AV player over the host's player library (CTest puts its directory on the library search
// path): a "digitalFile" tuner plays FFmpeg's streams through the AV player into the library,
// headless, and what it presents and decodes is FFmpeg's decode of the service's PIDs.
#include <algorithm>
#include <filesystem>
#include <mutex>
#include <thread>
#include <numeric>

#include "OmbrixHalFfmpegProbe.h"
#include "OmbrixHalAudioOut.h"
#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalKeyEvent.h"

namespace ombrixhal::test {
namespace {

struct Case {
  const char* name;
  const char* file;
  OmbrixHalAvPlayerParameter service;
  bool muted = false;
};

const Case kCases[] = {
    {"Mpeg2Mp2", "mpeg2.ts", {0x101, 3, 0x100, 2, 0x100}},
    {"H264Aac", "h264.ts", {0x101, 3, 0x100, 2, 0x100}},
    {"SecondOfTwoServices", "two-services.ts", {0x103, 3, 0x102, 2, 0x102}},
    {"Muted", "mpeg2.ts", {0x101, 3, 0x100, 2, 0x100}, true},
};

class AvPlayerPlaybackTest : public FileTunerTest, public testing::WithParamInterface<Case> {};

TEST_P(AvPlayerPlaybackTest, PlaysTheServiceAsFfmpegDecodesIt) {
  const Case& entry = GetParam();
  const std::string directory = path + ".out";
  std::filesystem::remove_all(directory);
  std::filesystem::create_directory(directory);
  setenv("VOMTP_PLAYER_HEADLESS", directory.c_str(), 1);
  setenv("VOMTP_PLAYER_FRAME_EVERY", "1000", 1);
  // The AV player stages a recording in 48128-byte sends: null packets behind the stream push
  // the last of it out.
  Bytes stream = readBinary(ffmpegStreams() + entry.file);
  for (int packet = 0; packet < 48128 / 188 + 1; ++packet) {
    const Bytes null = {0x47, 0x1F, 0xFF, 0x10};
    stream.insert(stream.end(), null.begin(), null.end());
    stream.insert(stream.end(), 184, 0xFF);
  }
  load(stream);
  OmbrixHalAvPlayerHandle player = OmbrixHalAvPlayerOpen(tuner);
  ASSERT_EQ(sumInOrder({OmbrixHalAvPlayerSetParameter(player, &entry.service), OmbrixHalAvPlayerPlay(player)}), 2);
  ASSERT_EQ(!entry.muted || OmbrixHalAudioOutMute(), 1);
  ASSERT_EQ(OmbrixHalTunerReceive(tuner, uint32_t(stream.size() / kTsPacketSize)), 1);
  OmbrixHalAvPlayerStop(player);
  OmbrixHalAvPlayerClose(player);

  const HeadlessOutput played = readHeadless(directory);
  const std::vector<uint64_t> audio = probeFrames(entry.file, entry.service.AudioPid, "nb_samples");
  EXPECT_EQ(played.pictures, probeFrames(entry.file, entry.service.VideoPid, "pkt_size").size());
  EXPECT_EQ(played.samples, std::accumulate(audio.begin(), audio.end(), uint64_t(0)));
  const Bytes wav = readBinary(directory + "/audio.wav");
  ASSERT_GT(wav.size(), 44u);
  EXPECT_EQ(std::all_of(wav.begin() + 44, wav.end(), [](uint8_t aByte) { return aByte == 0; }), entry.muted);
}

INSTANTIATE_TEST_SUITE_P(Streams, AvPlayerPlaybackTest, testing::ValuesIn(kCases),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

// In the player library's window (under a virtual X server of 1024 x 768), the AV player fills
// the screen that the library reports with the background when play starts, and a new screen
// size places the window at the origin at that size. Keys typed into the window (by the X
// server's test extension) reach the HAL's key handler.
TEST_F(FileTunerTest, WindowTakesTheBackgroundAtTheScreensSizeAndGivesItsKeys) {
  if (!std::getenv("DISPLAY")) {
    GTEST_SKIP() << "no display";
  }
  uintptr_t window = 1;
  OmbrixHalTunerClose(tuner);
  restart(1, reinterpret_cast<uintptr_t>(&window));
  tuner = OmbrixHalTunerOpen("digitalFile");
  load(readBinary(ffmpegStreams() + kCases[2].file));
  OmbrixHalAvPlayerHandle player = OmbrixHalAvPlayerOpen(tuner);
  ASSERT_EQ(sumInOrder({OmbrixHalAvPlayerSetParameter(player, &kCases[2].service),
                        OmbrixHalAvPlayerPlay(player)}), 2);
  const struct { int32_t width, height; } cases[] = {{1024, 768}, {640, 360}};
  for (const auto& entry : cases) {
    ASSERT_TRUE(entry.width == 1024 || (OmbrixHalAvPlayerSetScreen(player, &entry.width, &entry.height) == 1 &&
                                        OmbrixHalAvPlayerPlatformSetFullScreenType(3) == 1));
    const std::vector<uint8_t> screen = grabScreen(1024, 768);
    ASSERT_EQ(screen.size(), 1024u * 768 * 3);
    for (size_t at = 0; at < screen.size(); ++at) {
      const size_t x = at / 3 % 1024, y = at / 3 / 1024;
      ASSERT_EQ(screen[at], x < size_t(entry.width) && y < size_t(entry.height) ? 10 : 0) << entry.width << ": " << x << "," << y;
    }
  }
  using Keys = std::vector<std::pair<uint32_t, uint32_t>>;
  static std::mutex keysMutex;
  Keys keys;
  OmbrixHalKeyEventSetHandler(
      [](void* aKeys, uint32_t aKey, uint32_t aEvent) {
        std::lock_guard lock(keysMutex);
        static_cast<Keys*>(aKeys)->emplace_back(aKey, aEvent);
      },
      &keys);
  runCommand("xdotool mousemove 100 100 key Escape Up");
  const auto received = [&] {
    std::lock_guard lock(keysMutex);
    return keys.size();
  };
  for (int wait = 0; wait < 300 && received() < 4; ++wait) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  OmbrixHalKeyEventSetHandler(nullptr, nullptr);
  EXPECT_EQ(keys, (Keys{{OMBRIX_HAL_KEY_EVENT_KEY_EXIT, OMBRIX_HAL_KEY_EVENT_PRESSED},
                        {OMBRIX_HAL_KEY_EVENT_KEY_EXIT, OMBRIX_HAL_KEY_EVENT_RELEASED},
                        {OMBRIX_HAL_KEY_EVENT_KEY_UP, OMBRIX_HAL_KEY_EVENT_PRESSED},
                        {OMBRIX_HAL_KEY_EVENT_KEY_UP, OMBRIX_HAL_KEY_EVENT_RELEASED}}));
  OmbrixHalAvPlayerStop(player);
  OmbrixHalAvPlayerClose(player);
}

}  // namespace
}  // namespace ombrixhal::test
