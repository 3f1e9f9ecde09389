// The host's player library through its own calls, headless, on the streams that FFmpeg muxes:
// what it presents and decodes must be what FFmpeg decodes of the same PIDs, picture for picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <functional>
#include <mutex>
#include <numeric>
#include <thread>

#include "OmbrixHalFfmpegProbe.h"
#include "OmbrixHalStreamBuilder.h"
#include "voMTPPlayer.h"

namespace ombrixhal::test {
namespace {

struct Service {
  const char *name, *file;
  uint32_t audioPid, videoPid, width, height;
};

const Service kServices[] = {
    {"Mpeg2Mp2", "mpeg2.ts", 0x101, 0x100, 352, 288},
    {"H264Aac", "h264.ts", 0x101, 0x100, 352, 288},
    {"SecondOfTwoServices", "two-services.ts", 0x103, 0x102, 320, 240},
    {"VideoOnly", "two-services.ts", 0, 0x100, 352, 288},
    {"AudioOnly", "h264.ts", 0x101, 0, 0, 0},
    {"VideoPidMissing", "mpeg2.ts", 0x101, 0x1FF0, 0, 0},
    {"HevcAc3", "hevc-ac3.ts", 0x101, 0x100, 352, 288},
    {"H264Latm", "h264-latm.ts", 0x101, 0x100, 352, 288},
};

using Time = std::chrono::steady_clock::time_point;
struct Message { int32_t type; uint32_t words[5]; Time at; };
std::mutex messagesMutex;
std::vector<Message> messages;

int32_t record(int32_t aType, const uint32_t* aPayload) {
  std::lock_guard lock(messagesMutex);
  messages.push_back({aType, {aPayload[0], aPayload[1], aPayload[2], aPayload[3], aPayload[4]}, std::chrono::steady_clock::now()});
  return 1;
}

uint64_t countMessages(int32_t aType) {
  std::lock_guard lock(messagesMutex);
  return uint64_t(std::count_if(messages.begin(), messages.end(), [&](auto& aMessage) { return aMessage.type == aType; }));
}

void waitForMessages(int32_t aType, uint64_t aCount) {
  for (int wait = 0; wait < 3000 && countMessages(aType) < aCount; ++wait) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

// A decoder of a library just initialised, reporting to record() when asked to.
voMTPHandle openDecoder(voMTPOpenCallback aCallback = record) {
  voMTPHandle decoder = nullptr;
  EXPECT_EQ(voMTPInit(VOMTP_INIT_MEMORY), 0);
  EXPECT_EQ(voMTPOpen(&decoder, VOMTP_OPEN_SOURCE, VOMTP_OPEN_MODE, VOMTP_OPEN_FLAGS, nullptr, aCallback), 0);
  return decoder;
}

void closeDecoder(voMTPHandle aDecoder) {
  EXPECT_EQ(voMTPStop(aDecoder), 0);
  EXPECT_EQ(voMTPClose(aDecoder), 0);
  voMTPUnInit();
}

// FFmpeg's decode of the service's pictures that aSelect picks, as PPM files named by aPattern.
void decodeReference(const Service& aService, const std::string& aSelect, const std::string& aPattern) {
  runCommand("ffmpeg -v error -i " + ffmpegStreams() + aService.file + " -map 0:i:" + std::to_string(aService.videoPid) +
             " -vf \"select=" + aSelect + "\" -vsync passthrough -y " + aPattern);
}

class PlayerTest : public testing::Test {
 protected:
  void SetUp() override { messages.clear(); }
  // Plays the service headless into a directory of its own, with the library's calls in the
  // HAL's order, the data in the chunks that the HAL stages; the output directory.
  std::string play(const Service& aService, const std::string& aEvery = "1", uint32_t aVolume = 100,
                   const std::function<void(voMTPHandle)>& aBeforeStop = [](voMTPHandle) {}) {
    std::string directory = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(directory.begin(), directory.end(), '/', '-');
    std::filesystem::remove_all(directory);
    std::filesystem::create_directory(directory);
    setenv("VOMTP_PLAYER_HEADLESS", directory.c_str(), 1);
    setenv("VOMTP_PLAYER_FRAME_EVERY", aEvery.c_str(), 1);
    voMTPHandle decoder = openDecoder();
    EXPECT_EQ(voMTPSetVolume(decoder, aVolume), 0);
    EXPECT_EQ(voMTPRun(decoder), 0);
    std::vector<uint8_t> stream = readBinary(ffmpegStreams() + aService.file);
    damage(stream);
    for (size_t at = 0; at < stream.size(); at += 48128) {
      voMTPSendData(decoder, stream.data() + at, uint32_t(std::min<size_t>(48128, stream.size() - at)),
                    aService.audioPid | aService.videoPid << 13, VOMTP_SEND_FLAG_TS);
    }
    aBeforeStop(decoder);
    closeDecoder(decoder);
    return directory;
  }
  std::function<void(std::vector<uint8_t>&)> damage = [](std::vector<uint8_t>&) {};
};

class PlayerServiceTest : public PlayerTest, public testing::WithParamInterface<Service> {};

// Every frame of the service's PIDs is presented or decoded, the format message comes first with
// the picture's size, and a time stamp follows each presented frame.
TEST_P(PlayerServiceTest, PresentsWhatFfmpegDecodes) {
  const Service& service = GetParam();
  const HeadlessOutput played = readHeadless(play(service, "1000"));
  const uint64_t pictures = probeFrames(service.file, service.videoPid, "pkt_size").size();
  const std::vector<uint64_t> audio = probeFrames(service.file, service.audioPid, "nb_samples");
  EXPECT_EQ(played.pictures, pictures);
  EXPECT_EQ(played.samples, std::accumulate(audio.begin(), audio.end(), uint64_t(0)));
  EXPECT_EQ(countMessages(VOMTP_MESSAGE_VIDEO_FORMAT), pictures > 0 ? 1u : 0u);
  EXPECT_EQ(countMessages(VOMTP_MESSAGE_TIME_STAMP), service.videoPid != 0 ? pictures : audio.size());
  if (pictures > 0) {
    EXPECT_EQ(messages[0].type, VOMTP_MESSAGE_VIDEO_FORMAT);
    EXPECT_EQ(messages[0].words[1], service.width);
    EXPECT_EQ(messages[0].words[2], service.height);
    EXPECT_EQ(messages[0].words[4], 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(Streams, PlayerServiceTest, testing::ValuesIn(kServices),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

// aLength bytes cut out of aStream at every aEvery bytes of the original.
void cut(Bytes& aStream, size_t aEvery, size_t aLength) {
  for (size_t at = aEvery; at + aLength <= aStream.size(); at += aEvery - aLength) {
    aStream.erase(aStream.begin() + std::ptrdiff_t(at), aStream.begin() + std::ptrdiff_t(at + aLength));
  }
}

// Damaged reception: the library decodes on through it (and the sanitizers watch the decoders'
// error paths), presenting most of the pictures and sound.
TEST_F(PlayerTest, PlaysThroughDamage) {
  const struct { const char* name; void (*damage)(Bytes&); } cases[] = {
      {"flipped payload bytes", [](Bytes& aStream) {
         for (size_t at = 100; at < aStream.size(); at += 61 * 188) aStream[at] ^= 0xFF;
       }},
      {"lost packets", [](Bytes& aStream) { cut(aStream, 400 * 188, 188); }},
      {"bytes lost between packets", [](Bytes& aStream) { cut(aStream, 300 * 188, 5); }},
  };
  for (const Service& service : {kServices[0], kServices[1]}) {
    const uint64_t pictures = probeFrames(service.file, service.videoPid, "pkt_size").size();
    for (const auto& entry : cases) {
      damage = entry.damage;
      const HeadlessOutput played = readHeadless(play(service, "1000"));
      EXPECT_GT(played.pictures, pictures * 3 / 4) << service.name << ", " << entry.name;
      EXPECT_GT(played.samples, 0u) << service.name << ", " << entry.name;
    }
  }
}

// The input queue keeps the newest data within its limit and counts what it dropped; a chunk
// larger than the limit is dropped alone. Close hands on what is left, abort nothing.
TEST(InputQueue, DropsTheOldestAndCountsIt) {
  vomtpplayer::InputQueue queue(1000);
  const auto push = [&](uint8_t aMarker, size_t aLength) { return queue.push(Bytes(aLength, aMarker).data(), aLength); };
  EXPECT_TRUE(push(1, 400));
  EXPECT_TRUE(push(2, 400));
  EXPECT_FALSE(push(3, 400));
  EXPECT_EQ(queue.dropped(), 400u);
  EXPECT_FALSE(push(4, 1001));
  EXPECT_EQ(queue.dropped(), 1401u);
  queue.close();
  EXPECT_TRUE(push(5, 10));  // ignored once closed
  Bytes chunk;
  for (uint8_t marker : {2, 3}) {
    ASSERT_TRUE(queue.pop(chunk));
    EXPECT_EQ(chunk, Bytes(400, marker));
  }
  EXPECT_FALSE(queue.pop(chunk));
  vomtpplayer::InputQueue aborted(1000);
  aborted.push(Bytes(10, 1).data(), 10);
  aborted.abort();
  EXPECT_FALSE(aborted.pop(chunk));
}

// Three PES packets (A and B unbounded on the video PID, C bounded on the audio PID) in five
// packets with continuity counters 0 to 4, damaged in each way a reception can be: which PES
// packets come out whole, in order, before and after ("|") the flush at the end. A comes at B's
// start, C as soon as its length is in, B only at the flush.
TEST(Demultiplexer, HandsOnOnlyWholePesPackets) {
  const Bytes pes[] = {pesWithPts(0xE0, 9000, 300), pesWithPts(0xE0, 12600, 300), pesWithPts(0xC0, 16200, 100)};
  std::vector<Bytes> packets;
  for (size_t index = 0; index < 3; ++index) {
    Bytes bounded = pes[index];
    bounded[5] = index == 2 ? uint8_t(bounded.size() - 6) : 0;
    for (Bytes& packet : tsPacketsOf(bounded, false, index == 2 ? 0x101 : 0x100)) {
      packet[3] = uint8_t(packet[3] | packets.size());
      packets.push_back(std::move(packet));
    }
  }
  Bytes adaptationOnly = tsPacketWith({}, false, 183, 0x100);
  adaptationOnly[3] = 0x20;  // the counter of packet 0: no payload, no step
  const struct {
    const char* name;
    std::string order;  // packets by index; e, s: packet 1 errored, scrambled; a: adaptationOnly
    size_t chunk, garbage;
    std::string whole;
  } cases[] = {
      {"intact", "01234", 188 * 5, 0, "AC|B"},
      {"cut into odd chunks after garbage", "01234", 100, 7, "AC|B"},
      {"repeated packets", "0112234", 188, 0, "AC|B"},
      {"lost end of A", "0234", 188, 0, "C|B"},
      {"lost start of B", "0134", 188, 0, "C|"},
      {"errored", "0e234", 188, 0, "C|B"},
      {"scrambled", "0s234", 188, 0, "C|B"},
      {"adaptation field only between", "0a1234", 188, 0, "AC|B"},
  };
  for (const auto& entry : cases) {
    Bytes stream(entry.garbage, 0x11);
    for (char mark : entry.order) {
      Bytes packet = mark == 'a' ? adaptationOnly : packets[std::isdigit(mark) ? size_t(mark - '0') : 1];
      packet[1] = uint8_t(packet[1] | (mark == 'e' ? 0x80 : 0));
      packet[3] = uint8_t(packet[3] | (mark == 's' ? 0x80 : 0));
      stream.insert(stream.end(), packet.begin(), packet.end());
    }
    std::string whole;
    vomtpplayer::Demultiplexer demultiplexer(0x101, 0x100, [&](bool aVideo, vomtpplayer::Pes&& aPes) {
      const size_t index = aPes.pts == 9000 ? 0 : aPes.pts == 12600 ? 1 : 2;
      EXPECT_EQ(aVideo, index < 2) << entry.name;
      EXPECT_EQ(aPes.data, Bytes(pes[index].begin() + 14, pes[index].end())) << entry.name << " " << index;
      whole += char('A' + index);
    });
    for (size_t at = 0; at < stream.size(); at += entry.chunk) {
      demultiplexer.feed(stream.data() + at, std::min(entry.chunk, stream.size() - at));
    }
    whole += '|';
    demultiplexer.flush();
    EXPECT_EQ(whole, entry.whole) << entry.name;
  }
}

// PPM pixels after the header.
std::vector<uint8_t> pixels(const std::string& aPath) {
  std::vector<uint8_t> file = readBinary(aPath);
  size_t at = 0;
  for (int fields = 0; fields < 4 && at < file.size(); ++at) {
    fields += std::isspace(file[at]) && !std::isspace(file[at - 1]) ? 1 : 0;
  }
  return {file.begin() + std::ptrdiff_t(std::min(at, file.size())), file.end()};
}

// The written pictures are FFmpeg's decode of the same frames: every tenth, by presentation order.
TEST_F(PlayerTest, PicturesMatchFfmpegDecode) {
  for (const Service& service : {kServices[0], kServices[1], kServices[2]}) {
    const std::string directory = play(service, "10");
    decodeReference(service, "not(mod(n\\,10))", directory + "/ref-%06d.ppm");
    const uint64_t pictures = readHeadless(directory).pictures;
    ASSERT_GT(pictures, 90u) << service.name;
    for (uint64_t frame = 0; frame < pictures; frame += 10) {
      char name[64];
      std::snprintf(name, sizeof name, "/frame-%06llu.ppm", (unsigned long long)frame);
      const std::vector<uint8_t> ours = pixels(directory + name);
      std::snprintf(name, sizeof name, "/ref-%06llu.ppm", (unsigned long long)frame / 10 + 1);
      const std::vector<uint8_t> theirs = pixels(directory + name);
      ASSERT_EQ(ours.size(), theirs.size()) << service.name << " frame " << frame;
      double error = 0;
      for (size_t index = 0; index < ours.size(); ++index) {
        error += std::pow(double(ours[index]) - theirs[index], 2);
      }
      const double psnr = error == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * double(ours.size()) / error);
      EXPECT_GT(psnr, 40) << service.name << " frame " << frame;
    }
  }
}

// The volume scales the samples (0 is silence) and reads back as set, clamped to 100.
TEST_F(PlayerTest, VolumeScalesSamples) {
  const struct { uint32_t set, readBack; bool silent; } cases[] = {{0, 0, true}, {37, 37, false}, {150, 100, false}};
  for (const auto& entry : cases) {
    const std::vector<uint8_t> wav = readBinary(play(kServices[0], "1000", entry.set) + "/audio.wav");
    ASSERT_GT(wav.size(), 44u);
    const bool silent = std::all_of(wav.begin() + 44, wav.end(), [](uint8_t aByte) { return aByte == 0; });
    EXPECT_EQ(silent, entry.silent) << entry.set;
    voMTPHandle decoder = openDecoder(nullptr);
    uint32_t volume = 1000, second = 1000;
    voMTPSetVolume(decoder, entry.set);
    EXPECT_EQ(voMTPGetVolume(decoder, &volume, &second), 0);
    EXPECT_EQ(volume, entry.readBack);
    closeDecoder(decoder);
  }
}

// Played in real time, each picture is presented within 40 ms of its time on the clock.
TEST_F(PlayerTest, PacedPlayPresentsEachPictureOnTime) {
  const Service& service = kServices[2];
  const uint64_t pictures = probeFrames(service.file, service.videoPid, "pkt_size").size();
  setenv("VOMTP_PLAYER_PACED", "1", 1);
  // Without a drain at Stop the last pictures stay in the parser and decoder.
  const std::string directory =
      play(service, "1000", 100, [&](voMTPHandle) { waitForMessages(VOMTP_MESSAGE_TIME_STAMP, pictures - 3); });
  unsetenv("VOMTP_PLAYER_PACED");
  std::ifstream timeline(directory + "/timeline.txt");
  uint64_t lines = 0;
  for (std::string line; std::getline(timeline, line); ++lines) {
    long long time = 0, presented = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "frame %*u time %lld presented %lld", &time, &presented), 2) << line;
    EXPECT_LE(std::llabs(presented - time), 40) << line;
  }
  EXPECT_GE(lines + 3, pictures);
}

// Played in real time and held for 600 ms: nothing is presented while held; after a pause the
// clock goes on from where it stood, after a suspension from the time it is now.
TEST_F(PlayerTest, HoldingStopsPresentationAndReleaseContinues) {
  using namespace std::chrono_literals;
  const struct {
    const char* name;
    const Service& service;
    int32_t (*hold)(voMTPHandle), (*release)(voMTPHandle);
    int64_t minimumGap, maximumGap;  // stream time from the last stamp before to the first after
  } cases[] = {
      {"pause", kServices[2], voMTPPause, voMTPRun, 1, 150},
      {"video", kServices[2], voMTPSuspendVideo, voMTPResumeVideo, 550, 800},
      {"audio", kServices[4], voMTPSuspendAudio, voMTPResumeAudio, 550, 800},
  };
  setenv("VOMTP_PLAYER_PACED", "1", 1);
  for (const auto& entry : cases) {
    messages.clear();
    Time held, released, afterAt;
    play(entry.service, "1000", 100, [&](voMTPHandle aDecoder) {
      waitForMessages(VOMTP_MESSAGE_TIME_STAMP, 10);
      held = std::chrono::steady_clock::now();
      EXPECT_EQ(entry.hold(aDecoder), 0);
      std::this_thread::sleep_for(600ms);
      released = std::chrono::steady_clock::now();
      EXPECT_EQ(entry.release(aDecoder), 0);
      waitForMessages(VOMTP_MESSAGE_TIME_STAMP, countMessages(VOMTP_MESSAGE_TIME_STAMP) + 5);
    });
    std::lock_guard lock(messagesMutex);
    int64_t before = vomtpplayer::kNoTime, after = vomtpplayer::kNoTime;
    for (const Message& message : messages) {
      const bool stamp = message.type == VOMTP_MESSAGE_TIME_STAMP;
      // A frame already past its wait when the hold came may still go out.
      EXPECT_FALSE(stamp && message.at > held + 50ms && message.at < released) << entry.name << " " << message.words[0];
      if (stamp && message.at <= held + 50ms) {
        before = message.words[0];
      } else if (stamp && after == vomtpplayer::kNoTime) {
        after = message.words[0];
        afterAt = message.at;
      } else if (stamp) {
        // Paced from there on: a clock that ran on while paused would let the late frames burst.
        EXPECT_NEAR(double(message.words[0] - after), (std::chrono::duration<double, std::milli>(message.at - afterAt).count()), 60)
            << entry.name;
      }
    }
    ASSERT_TRUE(before != vomtpplayer::kNoTime && after != vomtpplayer::kNoTime) << entry.name;
    EXPECT_TRUE(after - before >= entry.minimumGap && after - before <= entry.maximumGap) << entry.name << after - before;
  }
  unsetenv("VOMTP_PLAYER_PACED");
}

// Mean colour of each quarter of the aWidth x aHeight region at aX, aY of an RGB picture aStride
// pixels wide, in reading order.
std::vector<double> quarterMeans(const std::vector<uint8_t>& aRgb, int aStride, int aX, int aY, int aWidth, int aHeight) {
  std::vector<double> means(12, 0);
  for (int y = 0; y < aHeight; ++y) {
    for (int x = 0; x < aWidth; ++x) {
      for (int c = 0; c < 3; ++c) {
        means[size_t((y * 2 / aHeight * 2 + x * 2 / aWidth) * 3 + c)] +=
            aRgb[size_t(((aY + y) * aStride + aX + x) * 3 + c)] * 4.0 / (aWidth * aHeight);
      }
    }
  }
  return means;
}

// In a window (under a virtual X server), a 4:3 picture in a 16:9 draw rectangle with format 1
// stands pillarboxed in the middle of the rectangle, over the background everywhere else.
TEST_F(PlayerTest, WindowShowsThePicturePillarboxedInTheDrawRectangle) {
  if (!std::getenv("DISPLAY")) {
    GTEST_SKIP() << "no display";
  }
  unsetenv("VOMTP_PLAYER_HEADLESS");
  const Service& service = kServices[2];
  const std::vector<uint8_t> stream = readBinary(ffmpegStreams() + service.file);
  voMTPHandle decoder = openDecoder();
  voMTPSetDrawRect(decoder, 0, 60, 640, 360);
  voMTPSetFullScreenFormat(decoder, 1);
  voMTPRun(decoder);
  voMTPSendData(decoder, stream.data(), uint32_t(stream.size()), service.audioPid | service.videoPid << 13, 0);
  waitForMessages(VOMTP_MESSAGE_TIME_STAMP, 25);
  voMTPPause(decoder);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const uint64_t shown = countMessages(VOMTP_MESSAGE_TIME_STAMP) - 1;
  const std::vector<uint8_t> screen = grabScreen(800, 480);
  decodeReference(service, "eq(n\\," + std::to_string(shown) + ")", "-frames:v 1 shown.ppm");
  closeDecoder(decoder);
  const std::vector<uint8_t> picture = pixels("shown.ppm");
  ASSERT_EQ(screen.size(), 800u * 480 * 3);
  ASSERT_EQ(picture.size(), 320u * 240 * 3);
  // The picture fills x 80 to 559, y 60 to 419: 480 x 360.
  for (int y = 0; y < 480; ++y) {
    for (int x = 0; x < 800; ++x) {
      if (x < 80 || x >= 560 || y < 60 || y >= 420) {
        const uint8_t* rgb = &screen[size_t((y * 800 + x) * 3)];
        ASSERT_TRUE(rgb[0] == 10 && rgb[1] == 10 && rgb[2] == 10) << x << "," << y;
      }
    }
  }
  const std::vector<double> ours = quarterMeans(screen, 800, 80, 60, 480, 360);
  const std::vector<double> theirs = quarterMeans(picture, 320, 0, 0, 320, 240);
  for (size_t index = 0; index < ours.size(); ++index) {
    EXPECT_NEAR(ours[index], theirs[index], 8) << index;
  }
}

// A 4:3 picture in a 16:9 area and a 16:9 picture in a 4:3 area, by each full-screen format:
// where it goes and which part of it shows (x, y, width, height, in hundredths).
TEST(PlacePicture, FitsCropsOrStretches) {
  using vomtpplayer::FullScreen;
  const struct {
    double aspect;
    vomtpplayer::Rect area;
    FullScreen format;
    vomtpplayer::Rect placed, shown;
  } cases[] = {
      {4.0 / 3, {0, 60, 640, 360}, FullScreen::Fit, {80, 60, 480, 360}, {0, 0, 100, 100}},
      {16.0 / 9, {10, 0, 400, 300}, FullScreen::Fit, {10, 37, 400, 225}, {0, 0, 100, 100}},
      {16.0 / 9, {0, 0, 400, 300}, FullScreen::Crop, {0, 0, 400, 300}, {12, 0, 75, 100}},
      {4.0 / 3, {0, 0, 640, 360}, FullScreen::Crop, {0, 0, 640, 360}, {0, 12, 100, 75}},
      {4.0 / 3, {0, 60, 640, 360}, FullScreen::Stretch, {0, 60, 640, 360}, {0, 0, 100, 100}},
  };
  for (const auto& entry : cases) {
    double shown[4];
    EXPECT_EQ(vomtpplayer::placePicture(entry.area, entry.aspect, entry.format, shown), entry.placed);
    EXPECT_EQ((vomtpplayer::Rect{int32_t(shown[0] * 100), int32_t(shown[1] * 100), int32_t(shown[2] * 100),
                                 int32_t(shown[3] * 100)}),
              entry.shown);
  }
}

size_t threadCount() {
  return size_t(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

// Stop and Close from another thread while the decoder is busy and data keep coming: every thread
// of the decoder is joined, and the handle is gone.
TEST_F(PlayerTest, StopAndCloseFromAnotherThreadJoinEverything) {
  const size_t before = threadCount();
  std::filesystem::create_directory("stopped");
  setenv("VOMTP_PLAYER_HEADLESS", "stopped", 1);
  setenv("VOMTP_PLAYER_PACED", "1", 1);
  voMTPHandle decoder = openDecoder();
  voMTPRun(decoder);
  const std::vector<uint8_t> stream = readBinary(ffmpegStreams() + kServices[1].file);
  std::atomic<bool> closed = false;
  std::thread sender([&] {
    for (size_t at = 0; !closed; at = (at + 1316) % (stream.size() - 1316)) {
      voMTPSendData(decoder, stream.data() + at, 1316, 0x101 | 0x100 << 13, VOMTP_SEND_FLAG_TS);
    }
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  std::thread([&] {
    EXPECT_EQ(voMTPStop(decoder), 0);
    EXPECT_EQ(voMTPClose(decoder), 0);
    closed = true;
  }).join();
  sender.join();
  unsetenv("VOMTP_PLAYER_PACED");
  EXPECT_EQ(voMTPSendData(decoder, stream.data(), 188, 0x101, VOMTP_SEND_FLAG_TS), -1);
  voMTPUnInit();
  EXPECT_EQ(threadCount(), before);
}

}  // namespace
}  // namespace ombrixhal::test
