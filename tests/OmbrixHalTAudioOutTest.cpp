// Tests of audio output: each operation's lines as the platform answers, refused arguments, mute
// and unmute by the platform or through the volume, and this platform without a decoder.
#include "OmbrixHalModuleOperations.h"

namespace ombrixhal::test {
namespace {

uint8_t volume;
int32_t mode;

const OmbrixHalAudioOutPlatformInterface kSlots = {nullptr, nullptr, slot<2>, slot<3>, slot<4>,
                                                   slot<5>, slot<6>,  slot<7>, slot<8>};

using AudioOutTest = OfferedSlotsTest<OmbrixHalAudioOutPlatformInterface, seam::audioOutPlatformGetInterface, kSlots>;

// GetVolume answers the volume it writes, which the fake slot leaves at 1: the one set with no
// slot is kept all the same, and the refused one is not.
const ModuleOperation kOperations[] = {
    {"SetVolume", [](bool good) { return OmbrixHalAudioOutSetVolume(good ? 100 : 101); }, {2, 100},
     {"AudioOut: Cannot set volume to 100%", "AudioOut: set volume to 100%"}, 0,
     error("", "AudioOut: volume '101' not in range [0,100]")},
    {"GetVolume", [](bool good) { return OmbrixHalAudioOutGetVolume(good ? &(volume = 1) : nullptr) ? volume : 0; },
     {3, (intptr_t)&volume}, {}, 100, nullValue("", "aVolume")},
    {"IsMute", [](bool) { return OmbrixHalAudioOutIsMute(); }, {6}, {}, 0},
    {"SetMode", [](bool good) { return OmbrixHalAudioOutSetMode(good ? 0 : -1); }, {7, 0},
     {"AudioOut: Cannot set mode 'stereo'", "AudioOut: set mode 'stereo'"}, 0, error("", "AudioOut: unknown mode -1")},
    {"SetMode", [](bool) { return OmbrixHalAudioOutSetMode(1); }, {7, 1},
     {"AudioOut: Cannot set mode 'mono right'", "AudioOut: set mode 'mono right'"}, 0},
    {"SetMode", [](bool good) { return OmbrixHalAudioOutSetMode(good ? 2 : 3); }, {7, 2},
     {"AudioOut: Cannot set mode 'mono left'", "AudioOut: set mode 'mono left'"}, 0,
     error("", "AudioOut: unknown mode 3")},
    {"GetMode", [](bool good) { return OmbrixHalAudioOutGetMode(good ? &mode : nullptr); }, {8, (intptr_t)&mode},
     {"AudioOut: Cannot return audio mode", nullptr}, 0, nullValue("", "aMode")},
};

TEST_F(AudioOutTest, OperationsReachTheirSlotsAndLogAsThePlatformAnswersAndRefuseBadArguments) {
  checkOperations(kOperations, "OmbrixHalAudioOut", "AudioOut: function not available");
}

// By the platform's slots, then through the volume alone. Both ways share the muted flag: a failed
// call leaves it, a new start clears it, and a repeated mute warns under the Unmute name.
TEST_F(AudioOutTest, MuteAndUnmuteTakeTurnsByThePlatformOrThroughTheVolumeTillANewStart) {
  const LogLine muted = info("OmbrixHalAudioOutMute", "AudioOut: mute"),
                volume40 = info("OmbrixHalAudioOutSetVolume", "AudioOut: set volume to 40%");
  step(0, OmbrixHalAudioOutMute, 0, {error("OmbrixHalAudioOutMute", "AudioOut: Cannot mute")});
  step(1, OmbrixHalAudioOutMute, 1, {muted});
  step(1, OmbrixHalAudioOutMute, 0, {warning("OmbrixHalAudioOutUnmute", "AudioOut: System is already muted.")});
  step(0, OmbrixHalAudioOutUnmute, 0, {error("OmbrixHalAudioOutUnmute", "AudioOut: Cannot unmute")});
  step(1, OmbrixHalAudioOutUnmute, 1, {info("OmbrixHalAudioOutUnmute", "AudioOut: unmute")});
  step(1, OmbrixHalAudioOutMute, 1, {muted});
  offer({nullptr, nullptr, slot<2>, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr});  // no platform mute
  step(1, OmbrixHalAudioOutUnmute, 0, {warning("OmbrixHalAudioOutUnmute", "AudioOut: System is already unmuted.")});
  step(1, [] { return OmbrixHalAudioOutSetVolume(40); }, 1, {volume40});
  step(1, OmbrixHalAudioOutMute, 1, {info("OmbrixHalAudioOutSetVolume", "AudioOut: set volume to 0%"), muted});
  step(0, OmbrixHalAudioOutIsMute, 1, {});
  step(1, OmbrixHalAudioOutUnmute, 1, {volume40, info("OmbrixHalAudioOutUnmute", "AudioOut: unmute")});
}

// No player here, hence no decoder: the volume is only stored, and neither mute nor unmute works.
TEST_F(AudioOutTest, ThisPlatformStoresTheVolumeButCannotMuteWithoutADecoder) {
  OmbrixHalAudioOutPlatformInterface table;
  ASSERT_EQ(OmbrixHalAudioOutPlatformGetInterface(&table), 1);
  EXPECT_EQ((std::vector<int32_t>{table.SetVolume(250), table.GetVolume(&volume), volume, table.Mute(), table.IsMute(),
                                  table.Unmute(), table.IsMute(), table.SetMode(1)}),
            (std::vector<int32_t>{1, 1, 100, 0, 0, 0, 1, 1}));  // still muted after the failed unmute
  EXPECT_EQ(log.take(), std::vector{info("OmbrixHalAudioOutPlatformSetVolume", "aVolume = 100", 0x3022)});
}

}  // namespace
}  // namespace ombrixhal::test
