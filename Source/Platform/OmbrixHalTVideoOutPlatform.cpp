// Video-output table of both platforms: only the aspect ratio has an effect, through the
// player's full-screen format; device formats are taken and ignored.
#include "OmbrixHalAvPlayer.h"
#include "OmbrixHalVideoOut.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

// The player library's full-screen formats.
constexpr uint32_t kPillarboxFullScreen = 1;
constexpr uint32_t kVerticalCutFullScreen = 2;
constexpr uint32_t kDefaultFullScreen = 3;

OmbrixHalBool init(void) noexcept {
  return 1;
}

void done(void) noexcept {}

// The player has one picture: the first pair decides, whichever device it names; no pair at all
// leaves the default.
OmbrixHalBool setAspectRatio(const OmbrixHalVideoOutDeviceValue* aDeviceAspectRatios, uint32_t aCount) noexcept {
  const int32_t first = aCount != 0 ? aDeviceAspectRatios[0].Value : OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_UNKNOWN;
  uint32_t format = kDefaultFullScreen;
  if (first == OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_PILLARBOX) {
    format = kPillarboxFullScreen;
  } else if (first == OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_VERTICAL_CUT) {
    format = kVerticalCutFullScreen;
  }
  OmbrixHalAvPlayerPlatformSetFullScreenType(format);
  return 1;
}

OmbrixHalBool setDeviceFormats(const OmbrixHalVideoOutDeviceValue* /*aDeviceFormats*/, uint32_t /*aCount*/) noexcept {
  return 1;
}

constexpr OmbrixHalVideoOutPlatformInterface kVideoOutPlatform = {
    .Init = init,
    .Done = done,
    .Blank = nullptr,
    .Unblank = nullptr,
    .SetBrightness = nullptr,
    .SetContrast = nullptr,
    .SetSaturation = nullptr,
    .SetAspectRatio = setAspectRatio,
    .GetAspectRatio = nullptr,
    .SetDeviceFormats = setDeviceFormats,
    .GetDeviceFormats = nullptr,
    .SetWindow = nullptr,
};

}  // namespace

OmbrixHalBool OmbrixHalVideoOutPlatformGetInterface(OmbrixHalVideoOutPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kVideoOutPlatform);
}
