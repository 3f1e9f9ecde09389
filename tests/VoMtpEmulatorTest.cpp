// Tests of the player library emulator on its own, for what the AV player's tests do not reach:
// calls on a NULL, forgotten or closed decoder and their record, the reset, a stream cut inside
// packets and among bytes that are no packet, the report, the picture size, time stamps only while
// running, programmed failures and the volume.
#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <fstream>

#include "OmbrixHalPlayerLibraryCalls.h"
#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalSumInOrder.h"

namespace ombrixhal::test {
namespace {

constexpr uint32_t kVideo = 0x100, kAudio = 0x101, kOther = 0x102;
constexpr uint32_t kStreamId = kAudio | kVideo << 13;
constexpr uint64_t kPts = 0x1'2345'6789;  // above 32 bits

// What the open callback was given: type, payload words 0, 1, 2 and 4.
std::vector<std::array<uint32_t, 5>> messages;

voMTPHandle open() {
  voMTPHandle decoder = nullptr;
  const voMTPOpenCallback remember = [](int32_t aType, const uint32_t* aPayload) {
    return messages.push_back({uint32_t(aType), aPayload[0], aPayload[1], aPayload[2], aPayload[4]}), 0;
  };
  EXPECT_EQ(voMTPOpen(&decoder, 6, 1, 0, reinterpret_cast<void*>(0x1234), remember), 0);
  return decoder;
}

// Each call on a decoder, voMTPClose last.
using DecoderCall = int32_t (*)(voMTPHandle);
const DecoderCall kDecoderCalls[] = {
    [](auto d) { return voMTPSetDrawRect(d, 0, -2, 800, 480); }, [](auto d) { return voMTPInitStream(d, 3000); },
    [](auto d) { return voMTPSetDrawMode(d, 0); }, [](auto d) { return voMTPSetFullScreenFormat(d, 3); },
    [](auto d) { return voMTPSetParam(d, 1001, 0); }, [](auto d) { return voMTPSetPreloadTime(d, 100); },
    voMTPRun, voMTPPause, voMTPSuspendAudio, voMTPResumeAudio, voMTPSuspendVideo, voMTPResumeVideo, voMTPStop,
    [](auto d) { return voMTPSendData(d, nullptr, 0, kStreamId, 0); }, [](auto d) { return voMTPSetVolume(d, 5); },
    [](auto d) { return voMTPGetVolume(d, std::array<uint32_t, 2>{}.data(), std::array<uint32_t, 2>{}.data()); },
    voMTPClose};

// The reset forgets the decoders and numbers them from 1 again; a closed decoder keeps its number
// and a failed voMTPOpen takes none.
TEST(VoMtpEmulator, EveryDecoderCallFailsOnANullAForgottenOrAClosedDecoderAndIsRecordedWithItsNumber) {
  voMTPHandle stale = open();
  voMTPEmulatorReset();
  voMTPEmulatorFailCall("voMTPOpen", 2, -5);
  voMTPHandle closed = open(), failed = nullptr;
  EXPECT_EQ((std::array{voMTPInit(VOMTP_INIT_MEMORY), voMTPOpen(&failed, 6, 1, 0, nullptr, nullptr),
                        voMTPOpen(nullptr, 6, 1, 0, nullptr, nullptr), voMTPClose(closed)}),
            (std::array{0, -5, -1, 0}));
  voMTPHandle second = open();
  for (DecoderCall call : kDecoderCalls) {
    EXPECT_EQ((std::array{call(nullptr), call(stale), call(closed), call(second)}), (std::array{-1, -1, -1, 0}));
  }
  const std::vector<std::string> recorded = libraryCalls();
  EXPECT_EQ(std::vector(recorded.begin(), recorded.begin() + 10),
            (std::vector<std::string>{"Open#1(6,1,0,4660)", "Init#0(8388608)", "Open#0(6,1)=-5", "Open#0(6,1)=-1", "Close#1",
                                      "Open#2(6,1,0,4660)", "SetDrawRect#0(0,-2,800,480)=-1", "SetDrawRect#0(0,-2,800,480)=-1",
                                      "SetDrawRect#1(0,-2,800,480)=-1", "SetDrawRect#2(0,-2,800,480)"}));
}

// An audio PES, a video PES with a PTS and a sequence header of 1920 x 1080 over two packets, one
// without PTS, packets with a unit start but no PES, a last video PES, and one on a PID that the
// decoders do not play, which ends the stream; bytes that are no packet before and between.
const Bytes kStream = concat(
    {{0x00, 0x12, 0x34}, concat(tsPacketsOf(pesWithPts(0xc0, 90 * 40, 100), false, kAudio)),
     concat(tsPacketsOf(concat({pesWithPts(0xe0, kPts, 0), {0, 0, 1, 0xb3, 0x78, 0x04, 0x38, 0x33}, Bytes(300)}), false, kVideo)),
     {0xff, 0x00}, concat(tsPacketsOf(pesPacket(200), false, kVideo)), tsPacketOf(kOther, 0x11),
     tsPacketOf(kOther, 0x22, true), tsPacketsOf(pesWithPts(0xe0, 5400, 0), false, kVideo)[0], {0x01},
     tsPacketsOf(pesWithPts(0xe0, 2700, 0), false, 0x103)[0]});

// Two running decoders take the stream in chunks that take turns. voMTPUnInit leaves the report
// where VOMTP_EMULATOR_REPORT says (the test's environment).
TEST(VoMtpEmulator, CountsTheSamePacketsPesStartsAndTimestampsWhereverTheStreamIsCutAndReportsThem) {
  const char* path = std::getenv("VOMTP_EMULATOR_REPORT");
  ASSERT_NE(path, nullptr);
  for (size_t chunk : std::array<size_t, 5>{1, 187, 188, 189, kStream.size()}) {
    SCOPED_TRACE(chunk);
    voMTPEmulatorReset();
    const std::array decoders = {open(), open()};
    ASSERT_EQ(sumInOrder({voMTPRun(decoders[0]), voMTPRun(decoders[1])}), 0);
    for (size_t at = 0; at < kStream.size(); at += chunk) {
      for (voMTPHandle decoder : decoders) {
        EXPECT_EQ(voMTPSendData(decoder, kStream.data() + at, uint32_t(std::min(chunk, kStream.size() - at)), kStreamId, 0), 0);
      }
    }
    std::array<voMTPEmulatorPid, 4> pids{};
    EXPECT_EQ(sumInOrder({voMTPEmulatorGetPids(pids.data(), 4), voMTPUnInit()}), 4);
    EXPECT_EQ((std::bit_cast<std::array<uint32_t, 16>>(pids)),
              (std::array<uint32_t, 16>{kVideo, 10, 6, 4, kAudio, 2, 2, 2, kOther, 4, 0, 0, 0x103, 2, 2, 2}));
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}),
              "voMTPSDK emulator: decoders opened 2, bytes received 3396, callback answers 8\n"
              "PID 0x0100: packets 10, PES starts 6, timestamps 4, first PTS 4886718345, last PTS 5400\n"
              "PID 0x0101: packets 2, PES starts 2, timestamps 2, first PTS 3600, last PTS 3600\n"
              "PID 0x0102: packets 4, PES starts 0\n"
              "PID 0x0103: packets 2, PES starts 2, timestamps 2, first PTS 2700, last PTS 2700\n");
  }
}

// The picture size from the first PES on the video PID, running or not; time stamps of the audio
// and video PIDs in milliseconds, only while the decoder runs.
TEST(VoMtpEmulator, SendsTheVideoFormatOnceAndTimeStampsWhileRunning) {
  voMTPEmulatorReset();
  messages.clear();
  voMTPHandle decoder = open();
  for (DecoderCall call : {voMTPStop, voMTPRun, voMTPPause, voMTPRun, voMTPStop}) {
    ASSERT_EQ(call(decoder), 0);
    ASSERT_EQ(voMTPSendData(decoder, kStream.data(), uint32_t(kStream.size()), kStreamId, 0), 0);
  }
  const std::array<uint32_t, 5> audio{102, 40}, video{102, uint32_t(kPts / 90)}, last{102, 60};
  EXPECT_EQ(messages, (std::vector{std::array<uint32_t, 5>{101, 0, 1920, 1080, 1}, audio, video, last, audio, video, last}));
}

// Several failures pending for one function count from when they were programmed; a cancelled one
// never comes, nor one the reset dropped; a failed call does nothing else. The volume is the
// library's, not a decoder's.
TEST(VoMtpEmulator, ProgrammedFailuresAnswerInsteadOfTheCall) {
  voMTPEmulatorReset();
  for (const auto& [function, nth, result] : {std::tuple{"voMTPSetVolume", 1u, 7}, {"voMTPSetVolume", 2u, 8},
                                              {"voMTPSetVolume", 4u, 9}, {"voMTPSendData", 1u, -9}, {"voMTPGetVolume", 2u, 6}}) {
    voMTPEmulatorFailCall(function, nth, result);
  }
  voMTPHandle first = open(), second = open();
  EXPECT_EQ((std::array{voMTPSetVolume(first, 30), voMTPSetVolume(second, 40), voMTPSetVolume(first, 50),
                        voMTPSendData(first, kStream.data(), uint32_t(kStream.size()), kStreamId, 0)}),
            (std::array{7, 8, 0, -9}));
  voMTPEmulatorFailCall("voMTPSetVolume", 0, 0);
  std::array<uint32_t, 2> volume{1, 1};
  EXPECT_EQ((std::array{voMTPSetVolume(second, 60), voMTPGetVolume(first, &volume[0], &volume[1])}), (std::array{0, 0}));
  EXPECT_EQ(volume, (std::array{60u, 0u}));
  EXPECT_EQ(sumInOrder({int64_t(voMTPEmulatorBytesReceived()), voMTPEmulatorGetPids(nullptr, 0)}), 0);
  voMTPEmulatorReset();
  EXPECT_EQ((std::array{uint32_t(voMTPGetVolume(open(), &volume[0], &volume[1])), volume[0]}), (std::array{0u, 0u}));
}

}  // namespace
}  // namespace ombrixhal::test
