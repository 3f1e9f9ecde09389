// Tests of video output: each operation's lines as the platform answers, refused arguments, the
// aspect ratio and format of each device remembered pair by pair, and this platform's table.
#include "OmbrixHalModuleOperations.h"

namespace ombrixhal::test {
namespace {

// Of each kind, two known pairs, and unknown devices and values on either side.
const OmbrixHalVideoOutDeviceValue kRatios[] = {{0, 9}, {6, 1}, {5, 10}, {4, 1}, {-1, 2}, {3, -1}};
const OmbrixHalVideoOutDeviceValue kFormats[] = {{0, 8}, {6, 1}, {5, 9}, {4, 1}, {-1, 2}, {3, -1}};
OmbrixHalVideoOutDeviceValue got[2];  // where the getters' slots are seen to look

const OmbrixHalVideoOutPlatformInterface kSlots = {nullptr, nullptr, slot<2>, slot<3>, slot<4>,  slot<5>,
                                                   slot<6>, slot<7>, slot<8>, slot<9>, slot<10>, slot<11>};
// Setters only: the module answers the getters.
const OmbrixHalVideoOutPlatformInterface kSetters = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                     nullptr, slot<7>, nullptr, slot<9>, nullptr, nullptr};
const LogLine kPercentRefused = error("", "Illegal value '101' for parameter 'aPercent'");

using VideoOutTest = OfferedSlotsTest<OmbrixHalVideoOutPlatformInterface, seam::videoOutPlatformGetInterface, kSlots>;

const ModuleOperation kOperations[] = {
    {"Blank", [](bool) { return OmbrixHalVideoOutBlank(); }, {2},
     {"VideoOut: Cannot blank video", "VideoOut: video blanked"}, 0},
    {"Unblank", [](bool) { return OmbrixHalVideoOutUnblank(); }, {3},
     {"VideoOut: Cannot unblank video", "VideoOut: video unblanked"}, 0},
    {"SetBrightness", [](bool good) { return OmbrixHalVideoOutSetBrightness(good ? 100 : 101); }, {4, 100},
     {"VideoOut: Cannot set brightness to 100%", "VideoOut: brightness set to 100%"}, 0, kPercentRefused},
    {"SetContrast", [](bool good) { return OmbrixHalVideoOutSetContrast(good ? 0 : 101); }, {5, 0},
     {"VideoOut: Cannot set contrast to 0%", "VideoOut: contrast set to 0%"}, 0, kPercentRefused},
    {"SetSaturation", [](bool good) { return OmbrixHalVideoOutSetSaturation(good ? 100 : 101); }, {6, 100},
     {"VideoOut: Cannot set saturation to 100%", "VideoOut: saturation set to 100%"}, 0, kPercentRefused},
    {"SetWindow", [](bool) { return OmbrixHalVideoOutSetWindow(-8, 16, 720, 576); }, {11, -8, 16, 720, 576},
     {"VideoOut: Cannot set window to <-8,16,720,576>", "VideoOut: window set to <-8,16,720,576>"}, 0},
    {"SetAspectRatio", [](bool good) { return OmbrixHalVideoOutSetAspectRatio(good ? kRatios : nullptr, 6); },
     {7, (intptr_t)kRatios, 6}, {"Cannot set aspect ratio", "Aspect ratio set successfully"}, 0,
     nullValue("", "aDeviceAspectRatios"), "SetAspectRatio: ", {"ScartTv to 16:9 TV - zoom", "Unknown device: 6",
     "Unknown aspect ratio: 10", "HDMI to 4:3 TV - full screen", "Unknown device: -1", "Unknown aspect ratio: -1"}},
    {"GetAspectRatio", [](bool good) { return OmbrixHalVideoOutGetAspectRatio(good ? got : nullptr, 2); },
     {8, (intptr_t)got, 2}, {}, 1, nullValue("", "aDeviceAspectRatios")},
    {"SetDeviceFormats", [](bool good) { return OmbrixHalVideoOutSetDeviceFormats(good ? kFormats : nullptr, 6); },
     {9, (intptr_t)kFormats, 6}, {"Cannot set device format", "Device format set successfully"}, 0,
     nullValue("", "aDeviceFormats"), "SetDeviceFormat: ", {"ScartTv to 1080i", "Unknown device: 6",
     "Unknown format: 9", "HDMI to Disabled", "Unknown device: -1", "Unknown format: -1"}},
    {"GetDeviceFormats", [](bool good) { return OmbrixHalVideoOutGetDeviceFormats(good ? got : nullptr, 2); },
     {10, (intptr_t)got, 2}, {}, 1, nullValue("", "aDeviceFormats")},
};

TEST_F(VideoOutTest, OperationsReachTheirSlotsAndLogAsThePlatformAnswersAndRefuseBadArguments) {
  checkOperations(kOperations, "OmbrixHalVideoOut", "VideoOut: function not supported");
}

// The values `get` gives devices 0, 4, 5, 3, 6 and -1.
std::vector<int32_t> valuesFrom(OmbrixHalBool (*get)(OmbrixHalVideoOutDeviceValue*, uint32_t)) {
  OmbrixHalVideoOutDeviceValue pairs[] = {{0, 7}, {4, 7}, {5, 7}, {3, 7}, {6, 7}, {-1, 7}};
  get(pairs, 6);
  return {pairs[0].Value, pairs[1].Value, pairs[2].Value, pairs[3].Value, pairs[4].Value, pairs[5].Value};
}

// The pairs of a known device and value are kept, each kind apart, whatever the platform answers,
// but not without a platform slot; that last start also shows that a start forgets them.
TEST_F(VideoOutTest, KnownPairsAreKeptWhateverThePlatformAnswersTillTheNextStart) {
  for (const auto& [answer, kept] : {std::pair{1, 1}, {0, 1}, {-1, 0}}) {
    offer(answer != -1 ? kSetters : OmbrixHalVideoOutPlatformInterface{});
    slotAnswer = answer;
    OmbrixHalVideoOutSetAspectRatio(kRatios, 6);
    OmbrixHalVideoOutSetDeviceFormats(kFormats, 6);
    EXPECT_EQ(valuesFrom(OmbrixHalVideoOutGetAspectRatio), (std::vector{9 * kept, kept, 0, 0, 0, 0})) << answer;
    EXPECT_EQ(valuesFrom(OmbrixHalVideoOutGetDeviceFormats), (std::vector{8 * kept, kept, 0, 0, 0, 0})) << answer;
  }
}

// Only the aspect ratio has an effect here, through the player; device formats are taken.
TEST_F(VideoOutTest, ThisPlatformTakesAspectRatiosAndFormatsAndSupportsNothingElse) {
  OmbrixHalVideoOutPlatformInterface table;
  ASSERT_EQ(OmbrixHalVideoOutPlatformGetInterface(&table), 1);
  EXPECT_EQ(sumInOrder({table.Init(), table.SetDeviceFormats(kFormats, 6)}), 2);
  EXPECT_EQ(table.Blank, nullptr);
}

}  // namespace
}  // namespace ombrixhal::test
