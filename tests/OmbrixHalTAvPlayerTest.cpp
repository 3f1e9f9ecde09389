// Tests of the AV player over the player library emulator: the checks and lines of each export,
// the library calls of each step in order, the filters that feed the decoder from a recording and
// from live reception, the staging of a recording, the decoder's messages, the video window, and
// Stop racing the delivery thread.
#include <chrono>
#include <fstream>
#include <thread>

#include "DibEmulatorControl.h"
#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalPlayerLibraryCalls.h"
#include "OmbrixHalTestWindow.h"

namespace ombrixhal::test {
namespace {

constexpr OmbrixHalAvPlayerParameter kService = {0x101, 3, 0x100, 2, 0x100};
constexpr const char* kSet = "OmbrixHalAvPlayerSetParameter";
constexpr const char* kPlay = "OmbrixHalAvPlayerPlay";
constexpr const char* kFilterSet = "OmbrixHalFilterSetParameter";

// The draw rectangle the player gives the decoder: the screen, 800 x 480 where it reads 0.
std::string drawRect() {
  const auto [width, height] = TestWindow::screen()[0] != 0 ? TestWindow::screen() : std::array{800, 480};
  return "SetDrawRect#1(0,0," + std::to_string(width) + "," + std::to_string(height) + ")";
}

class AvPlayerTest : public FileTunerTest {
 protected:
  void SetUp() override {
    FileTunerTest::SetUp();
    voMTPEmulatorReset();
    player = OmbrixHalAvPlayerOpen(tuner);
    ASSERT_NE(player, nullptr);
    console.take();
    log.clear();
  }
  // Close stops a running player only: what a test prepared and did not play is stopped here.
  void TearDown() override {
    OmbrixHalAvPlayerStop(player);
    OmbrixHalAvPlayerClose(player);
    FileTunerTest::TearDown();
  }
  // Sets the service and plays it; the sum of both answers.
  OmbrixHalBool setAndPlay() {
    return OmbrixHalBool(sumInOrder({OmbrixHalAvPlayerSetParameter(player, &kService), OmbrixHalAvPlayerPlay(player)}));
  }
  // The lines of the AV player's exports, and the PIDs that the filters were set to, since the last take.
  std::vector<LogLine> avLines() {
    std::vector<LogLine> lines = log.take();
    std::erase_if(lines, [](const LogLine& line) {
      return !line.function.starts_with("OmbrixHalAvPlayer") && !line.text.starts_with("FilterParam");
    });
    return lines;
  }

  ConsoleCapture console;
  OmbrixHalAvPlayerHandle player = nullptr;
};

using AvPlayerArguments = AvPlayerTest;

TEST_F(AvPlayerArguments, NullsAreRefusedNamingTheParameterAndTheFirstPidOf8192OrMoreIsNamed) {
  OmbrixHalAvPlayerParameter read{};
  const int32_t size = 100;
  // PIDs checked audio, video, PCR: the first of 0x2000 or more is named; the last is accepted.
  const OmbrixHalAvPlayerParameter pids[] = {{0x2000, 0, 0x2000, 0, 0x2000}, {0x1fff, 0, 0x2000, 0, 0x2001},
                                             {0x1fff, 0, 0x1fff, 0, 0x12345}, {0x1fff, 1, 0x1fff, 2, 0x1fff}};
  EXPECT_EQ(OmbrixHalAvPlayerOpen(nullptr), nullptr);
  OmbrixHalAvPlayerClose(nullptr);
  OmbrixHalAvPlayerStop(nullptr);
  EXPECT_EQ(sumInOrder({OmbrixHalAvPlayerSetParameter(nullptr, &kService),
                        OmbrixHalAvPlayerSetParameter(player, nullptr),
                        OmbrixHalAvPlayerGetParameter(player, nullptr),
                        OmbrixHalAvPlayerGetAudioStreamInfo(player, nullptr),
                        OmbrixHalAvPlayerGetVideoStreamInfo(nullptr, &read), OmbrixHalAvPlayerPlay(nullptr),
                        OmbrixHalAvPlayerSetScreen(nullptr, &size, &size), OmbrixHalAvPlayerSuspendAudio(nullptr),
                        OmbrixHalAvPlayerResumeVideo(nullptr), OmbrixHalAvPlayerRun(nullptr),
                        OmbrixHalAvPlayerPause(nullptr), OmbrixHalAvPlayerIsStreamDecoded(nullptr),
                        OmbrixHalAvPlayerSetParameter(player, &pids[0]),
                        OmbrixHalAvPlayerSetParameter(player, &pids[1]),
                        OmbrixHalAvPlayerSetParameter(player, &pids[2])}),
            0);
  const auto null = [](const std::string& name, const char* parameter = "This") {
    return nullValue("OmbrixHalAvPlayer" + name, parameter);
  };
  EXPECT_EQ(log.take(), (std::vector{null("Open", "aTuner"), null("Close"), null("Stop"), null("SetParameter"),
                                     null("SetParameter", "aParameter"), null("GetParameter", "aParameter"),
                                     null("GetAudioStreamInfo", "aAudioStreamInfo"), null("GetVideoStreamInfo"), null("Play"),
                                     null("SetScreen"), null("SuspendAudio"), null("ResumeVideo"), null("Run"), null("Pause"),
                                     error("OmbrixHalAvPlayerIsStreamDecoded", "Illegal value 'NULL' for parameter 'This'"),
                                     error(kSet, "Illegal PID 'aParameter->AudioPid': '0x2000'", 0x1019),
                                     error(kSet, "Illegal PID 'aParameter->VideoPid': '0x2000'", 0x1019),
                                     error(kSet, "Illegal PID 'aParameter->PcrPid': '0x2345'", 0x1019)}));  // the logger's 4 digits
  EXPECT_EQ(sumInOrder({OmbrixHalAvPlayerSetParameter(player, &pids[3]),
                        OmbrixHalAvPlayerGetParameter(player, &read)}), 2);
}

using AvPlayerOnARecording = AvPlayerTest;

TEST_F(AvPlayerOnARecording, EachStepCallsTheLibraryInOrderThroughOneFilterOfEveryPid) {
  // Play refused while nothing is set; the fixed answers: always decoded, no stream information.
  uint32_t out = 0;
  EXPECT_EQ((std::array{OmbrixHalAvPlayerPlay(player), setAndPlay(), OmbrixHalAvPlayerRun(player), OmbrixHalAvPlayerPause(player),
                        OmbrixHalAvPlayerSuspendVideo(player), OmbrixHalAvPlayerIsStreamDecoded(player),
                        OmbrixHalAvPlayerGetAudioStreamInfo(player, &out), OmbrixHalAvPlayerGetVideoStreamInfo(player, &out)}),
            (std::array{0, 2, 1, 1, 1, 1, 0, 0}));
  OmbrixHalAvPlayerStop(player);
  OmbrixHalAvPlayerStop(player);
  EXPECT_EQ(OmbrixHalAvPlayerPlay(player), 0) << "the decoder is gone";
  OmbrixHalAvPlayerClose(player);
  EXPECT_EQ(libraryCalls(),
            (std::vector<std::string>{"Open#1(6,1)", "InitStream#1(3000)", "SetDrawMode#1", "SetFullScreenFormat#1(3)",
                                      "SetParam#1(1001)", "SetPreloadTime#1(100)", drawRect(), "Run#1", "Run#1", "Pause#1",
                                      "SuspendVideo#1", "Stop#1", "Close#1", "InitStream#0(3000)=-1"}));
  EXPECT_EQ(console.take(), "Player Init Stream fail: 0xffffffff\n");
  const auto called = [](const char* function) { return info(function, "AV play called", 0x301E); };
  const LogLine stopped = info("OmbrixHalAvPlayerStop", "AV stopped", 0x301F), failed = error(kPlay, "AV play failed", 0x101A);
  EXPECT_EQ(avLines(), (std::vector{failed, info(kFilterSet, "FilterParam: pid=0xffff crcCheck=disabled filterLen=0"),
                                    info(kSet, "AV set parameter succeeded: aPid=257 aType=3 vPid=256 vType=2 pcrPid=256", 0x301D),
                                    called(kPlay), called("OmbrixHalAvPlayerPlatformRun"), called("OmbrixHalAvPlayerPlatformPause"),
                                    called("OmbrixHalAvPlayerSuspendVideo"), stopped, stopped, failed,
                                    info("OmbrixHalAvPlayerClose", "AV closed player", 0x301C)}));
}

TEST_F(AvPlayerOnARecording, StagesWhileRunningAndSendsWhenTheNextPacketWouldFillTheBuffer) {
  // Chunks of 255 packets, stream id 0x101 | 0x100 << 13; none before the Play, 90 packets staged
  // at the Stop, sent first to the next decoder.
  const std::string chunk = "SendData#1(47940,2097409,2147483648)";
  ASSERT_EQ(OmbrixHalAvPlayerSetParameter(player, &kService), 1);
  play(tsStream(300));
  ASSERT_EQ(OmbrixHalAvPlayerPlay(player), 1);
  play(tsStream(600));
  OmbrixHalAvPlayerStop(player);
  ASSERT_EQ(setAndPlay(), 2);
  play(tsStream(166));
  EXPECT_EQ(libraryCalls("SendData"), (std::vector<std::string>{chunk, chunk, "SendData#2(47940,2097409,2147483648)"}));
}

// Audio and video output act on the decoder: the volume, mute by volume 0, and the full-screen
// format that the first pair's aspect ratio selects (type 1 for pillarbox, 2 for vertical cut).
TEST_F(AvPlayerOnARecording, OutputsReachTheDecoder) {
  ASSERT_EQ(setAndPlay(), 2);
  uint8_t volume = 0;
  EXPECT_EQ(sumInOrder({OmbrixHalAudioOutSetVolume(55), OmbrixHalAudioOutMute(), OmbrixHalAudioOutUnmute(),
                        OmbrixHalAudioOutGetVolume(&volume)}), 4);
  EXPECT_EQ(volume, 55);
  for (int32_t ratio : {7, 8, 6}) {
    const OmbrixHalVideoOutDeviceValue pairs[] = {{OMBRIX_HAL_VIDEO_OUT_DEVICE_HDMI, ratio}, {0, 7}};
    EXPECT_EQ(OmbrixHalVideoOutSetAspectRatio(pairs, 2), 1);
  }
  const std::vector<std::string> calls = libraryCalls();
  EXPECT_EQ(std::vector(calls.begin() + 8, calls.end()),
            (std::vector<std::string>{"SetVolume#1(55)", "SetVolume#1", "SetVolume#1(55)", "GetVolume#1", "SetFullScreenFormat#1(1)",
                                      drawRect(), "SetFullScreenFormat#1(2)", drawRect(), "SetFullScreenFormat#1(3)", drawRect()}));
}

// The decoder's messages: the picture format asks for full screen on the default panel only, and
// time stamps print in milliseconds and 90 kHz ticks, wrapping.
TEST_F(AvPlayerOnARecording, AnswersTheDecodersMessages) {
  const Bytes pes = concat(tsPacketsOf(pesWithPts(0xe0, 90ull * 50'000'000, 300), false, 0x100));
  const Bytes stream = concat({pes, pes, tsStream(300)});
  for (const auto& [width, height, answer] : {std::array{800, 480, 3}, {801, 480, 2}, {800, 479, 2}}) {
    voMTPEmulatorReset();
    ASSERT_EQ(sumInOrder({setAndPlay(), OmbrixHalAvPlayerSetScreen(player, &width, &height)}), 3);
    play(stream);
    OmbrixHalAvPlayerStop(player);
    voMTPEmulatorAnswer answers[3] = {};
    ASSERT_EQ(voMTPEmulatorGetAnswers(answers, 3), 3u);
    EXPECT_EQ((std::vector{answers[0].MessageType, answers[0].Answer, answers[1].Answer}), (std::vector{101, answer, 1}));
  }
  const std::string expected =
      "Player Open callback Notify VOMTPMSGTYPE 101 \nPlayer Open callback Notify 0701 VOMTPMSGTYPE 101 interlacing "
      "flag 1  \nPlayer Open callback Notify width 720 height 576  \nPlayer Open callback Notify VOMTPMSGTYPE 102 \n"
      "Player Open callback Notify VOMTPMSGTYPE 102 nTS 50000000 ,nTS*90 205032704  \n";
  EXPECT_EQ(console.take().substr(0, expected.size()), expected);
}

// Live reception: the receiver selects the PIDs, and the decoder takes each buffer as it comes.
TEST_F(AvPlayerTest, OnADvbTTunerTwoFiltersSelectAudioAndVideoAndEachBufferGoesOutAtOnce) {
  writeBytes(path, tsStream(10));
  const std::string plan = "plan-" + path + ".txt";
  std::ofstream(plan) << "474000 8 " << path << "\n";
  DibEmulatorReset();
  DibEmulatorSetDelivery(DIB_EMULATOR_MANUAL);
  DibEmulatorSetChannelPlan(plan.c_str());
  // In the file tuner's place; a second Open resets the one player.
  OmbrixHalTunerClose(tuner);
  tuner = OmbrixHalTunerOpen("DVB-T");
  ASSERT_EQ(OmbrixHalTunerSetParameterByString(tuner, "DVB-T: freq=474000"), 1);
  player = OmbrixHalAvPlayerOpen(tuner);
  log.clear();
  // The second SetParameter fails at the fourth filter, the table's last.
  EXPECT_EQ(sumInOrder({OmbrixHalAvPlayerSetParameter(player, &kService),
                        OmbrixHalAvPlayerSetParameter(player, &kService)}), 1);
  const LogLine audio = info(kFilterSet, "FilterParam: pid=0x0101 crcCheck=disabled filterLen=0");
  const LogLine video = info(kFilterSet, "FilterParam: pid=0x0100 crcCheck=disabled filterLen=0");
  EXPECT_EQ(avLines(),
            (std::vector{audio, video, info(kSet, "AV set parameter succeeded: aPid=257 aType=3 vPid=256 vType=2 pcrPid=256", 0x301D),
                         audio, video, error(kSet, "AV set parameter failed: aPid=257 aType=3 vPid=256 vType=2 pcrPid=256", 0x1018)}));
  const Bytes buffer = tsStream(4);
  EXPECT_EQ(DibEmulatorDeliver(0, 0, DIB_EMULATOR_EVENT_DATA, buffer.data(), int32_t(buffer.size())), 0);
  // The whole buffer, once for each audio filter, to the last decoder, though it does not run; the
  // first decoder is not closed.
  EXPECT_EQ(libraryCalls("SendData"), std::vector<std::string>(2, "SendData#2(752,2097409,2147483648)"));
  EXPECT_EQ(voMTPEmulatorCountCalls("voMTPClose"), 0u);
  std::remove(plan.c_str());
}

using AvPlayerWindow = AvPlayerTest;

// The screen size is the windowing system's, 800 x 480 where it reads 0.
TEST_F(AvPlayerWindow, PlayFillsTheBackgroundAndSetScreenPutsTheWindowOnTopWithItsSize) {
  TestWindow window;
  ASSERT_EQ(OmbrixHalAvPlayerPlatformInit(window.record()), 1);
  ASSERT_EQ(setAndPlay(), 2);
  EXPECT_EQ(window.pixel(5, 5), 0x0A0A0Au);
  const int32_t newWidth = 640, newHeight = 360;
  EXPECT_EQ(OmbrixHalAvPlayerSetScreen(player, &newWidth, &newHeight), 1);
  EXPECT_EQ(window.rectangle(), (std::array{0, 0, 640, 360}));
  EXPECT_TRUE(window.topmost());
  OmbrixHalAvPlayerStop(player);
}

// Threaded: Stop and Close on the middleware's thread while a paced tuner delivers; no delivery
// reaches a closed filter (the sanitizers) or a closed decoder (the emulator's answer).
TEST_F(AvPlayerTest, StopAndCloseWhileAPacedTunerDeliversLeaveNothingBehind) {
  ASSERT_EQ(tune(tsStream(5000), ", symbolrate=30000, repetitions=0"), 1);
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(setAndPlay(), 2);
    std::this_thread::sleep_for(std::chrono::milliseconds(round % 5 * 3));
    round % 2 == 0 ? OmbrixHalAvPlayerStop(player) : OmbrixHalAvPlayerClose(player);
  }
  const std::vector<std::string> calls = libraryCalls();
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(), [](const std::string& call) { return call.find('=') != call.npos; }), 0);
  EXPECT_GT(voMTPEmulatorBytesReceived(), 0u);
}

}  // namespace
}  // namespace ombrixhal::test
