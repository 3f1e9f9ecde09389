// Video output: argument checks and log lines around the platform's outputs, and the aspect
// ratio and signal format of each output device, remembered here for platforms that keep none.
#include <cstddef>
#include <iterator>

#include "OmbrixHalTTestSeams.h"
#include "OmbrixHalVideoOut.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalVideoOutPlatformInterface> videoOutPlatformGetInterface =
    OmbrixHalVideoOutPlatformGetInterface;
}

namespace {

using ombrixhal::isLegal;
using ombrixhal::isSupported;
using ombrixhal::kLogError;
using ombrixhal::kLogInfo;
using ombrixhal::Relaxed;
using ombrixhal::reportOutcome;

constexpr const char* kBlankName = "OmbrixHalVideoOutBlank";
constexpr const char* kUnblankName = "OmbrixHalVideoOutUnblank";
constexpr const char* kSetBrightnessName = "OmbrixHalVideoOutSetBrightness";
constexpr const char* kSetContrastName = "OmbrixHalVideoOutSetContrast";
constexpr const char* kSetSaturationName = "OmbrixHalVideoOutSetSaturation";
constexpr const char* kSetAspectRatioName = "OmbrixHalVideoOutSetAspectRatio";
constexpr const char* kGetAspectRatioName = "OmbrixHalVideoOutGetAspectRatio";
constexpr const char* kSetDeviceFormatsName = "OmbrixHalVideoOutSetDeviceFormats";
constexpr const char* kGetDeviceFormatsName = "OmbrixHalVideoOutGetDeviceFormats";
constexpr const char* kSetWindowName = "OmbrixHalVideoOutSetWindow";

constexpr const char* kBlankNotSupported = "VideoOut: function not supported 'OmbrixHalVideoOutBlank'";
constexpr const char* kUnblankNotSupported = "VideoOut: function not supported 'OmbrixHalVideoOutUnblank'";
constexpr const char* kSetBrightnessNotSupported = "VideoOut: function not supported 'OmbrixHalVideoOutSetBrightness'";
constexpr const char* kSetContrastNotSupported = "VideoOut: function not supported 'OmbrixHalVideoOutSetContrast'";
constexpr const char* kSetSaturationNotSupported = "VideoOut: function not supported 'OmbrixHalVideoOutSetSaturation'";
constexpr const char* kSetAspectRatioNotSupported =
    "VideoOut: function not supported 'OmbrixHalVideoOutSetAspectRatio'";
constexpr const char* kSetDeviceFormatsNotSupported =
    "VideoOut: function not supported 'OmbrixHalVideoOutSetDeviceFormats'";
constexpr const char* kSetWindowNotSupported = "VideoOut: function not supported 'OmbrixHalVideoOutSetWindow'";

constexpr const char* kBlanked = "VideoOut: video blanked";
constexpr const char* kCannotBlank = "VideoOut: Cannot blank video";
constexpr const char* kUnblanked = "VideoOut: video unblanked";
constexpr const char* kCannotUnblank = "VideoOut: Cannot unblank video";
constexpr const char* kBrightnessSet = "VideoOut: brightness set to %d%%";
constexpr const char* kCannotSetBrightness = "VideoOut: Cannot set brightness to %d%%";
constexpr const char* kContrastSet = "VideoOut: contrast set to %d%%";
constexpr const char* kCannotSetContrast = "VideoOut: Cannot set contrast to %d%%";
constexpr const char* kSaturationSet = "VideoOut: saturation set to %d%%";
constexpr const char* kCannotSetSaturation = "VideoOut: Cannot set saturation to %d%%";
constexpr const char* kWindowSet = "VideoOut: window set to <%d,%d,%d,%d>";
constexpr const char* kCannotSetWindow = "VideoOut: Cannot set window to <%d,%d,%d,%d>";

constexpr const char* kIllegalPercent = "Illegal value '%d' for parameter 'aPercent'";
constexpr uint32_t kIllegalNullValue = 0x1003;
constexpr uint32_t kMaxPercent = 100;

constexpr const char* kDeviceNames[] = {"ScartTv", "ScartVcr", "S-Video", "CVBS", "HDMI", "YUV"};
constexpr const char* kAspectRatioNames[] = {
    "Unknown",
    "4:3 TV - full screen",
    "4:3 TV - pan & scan",
    "4:3 TV - letterbox",
    "4:3 TV - center cut",
    "4:3 TV - zoom",
    "16:9 TV - full screen",
    "16:9 TV - pillarbox",
    "16:9 TV - vertical cut",
    "16:9 TV - zoom",
};
constexpr const char* kFormatNames[] = {"Unknown", "Disabled", "CVBS", "RGB", "CVBS/RGB", "S-Video",
                                        "576p",    "720p",     "1080i"};

constexpr size_t kDeviceCount = std::size(kDeviceNames);
static_assert(kDeviceCount == OMBRIX_HAL_VIDEO_OUT_DEVICE_YUV + 1);
static_assert(std::size(kAspectRatioNames) == OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_ZOOM + 1);
static_assert(std::size(kFormatNames) == OMBRIX_HAL_VIDEO_OUT_FORMAT_1080i + 1);
static_assert(sizeof(OmbrixHalVideoOutDeviceValue) == 8);
static_assert(sizeof(OmbrixHalVideoOutPlatformInterface) == 12 * sizeof(void (*)()));

using DeviceValues = Relaxed<int32_t>[kDeviceCount];
using SetSlot = OmbrixHalBool (*)(const OmbrixHalVideoOutDeviceValue*, uint32_t);
using GetSlot = OmbrixHalBool (*)(OmbrixHalVideoOutDeviceValue*, uint32_t);

// What setting and getting the per-device values of one kind (aspect ratios, formats) says.
struct DeviceValueKind {
  const char* setName;
  const char* getName;
  const char* parameterName;
  const char* notSupported;
  const char* succeeded;
  const char* failed;
  const char* pairSet;        // device name, value name
  const char* unknownValue;   // the value
  const char* unknownDevice;  // the device
  const char* const* valueNames;
  size_t valueCount;
};

constexpr DeviceValueKind kAspectRatios = {
    kSetAspectRatioName,
    kGetAspectRatioName,
    "aDeviceAspectRatios",
    kSetAspectRatioNotSupported,
    "Aspect ratio set successfully",
    "Cannot set aspect ratio",
    "SetAspectRatio: %s to %s",
    "SetAspectRatio: Unknown aspect ratio: %d",
    "SetAspectRatio: Unknown device: %d",
    kAspectRatioNames,
    std::size(kAspectRatioNames),
};

constexpr DeviceValueKind kFormats = {
    kSetDeviceFormatsName,
    kGetDeviceFormatsName,
    "aDeviceFormats",
    kSetDeviceFormatsNotSupported,
    "Device format set successfully",
    "Cannot set device format",
    "SetDeviceFormat: %s to %s",
    "SetDeviceFormat: Unknown format: %d",
    "SetDeviceFormat: Unknown device: %d",
    kFormatNames,
    std::size(kFormatNames),
};

OmbrixHalVideoOutPlatformInterface platform{};
// Device i's value at index i.
DeviceValues aspectRatios;
DeviceValues formats;

OmbrixHalBool setPicture(OmbrixHalBool (*slot)(uint32_t), uint32_t aPercent, const char* functionName,
                         const char* notSupported, const char* succeeded, const char* failed) noexcept {
  if (!isLegal(aPercent <= kMaxPercent, functionName, kIllegalPercent, aPercent) ||
      !isSupported(slot, functionName, notSupported)) {
    return 0;
  }
  return reportOutcome(slot(aPercent), functionName, succeeded, failed, aPercent);
}

// Negative devices and values are as unknown as those past the end.
bool isBelow(int32_t index, size_t count) noexcept {
  return static_cast<uint32_t>(index) < count;
}

OmbrixHalBool setDeviceValues(const DeviceValueKind& kind, SetSlot slot, DeviceValues& values,
                              const OmbrixHalVideoOutDeviceValue* pairs, uint32_t count) noexcept {
  if (pairs == nullptr) {
    OmbrixHalLoggerPrint(kind.setName, kIllegalNullValue, kind.parameterName);
    return 0;
  }
  if (!isSupported(slot, kind.setName, kind.notSupported)) {
    return 0;
  }
  const OmbrixHalBool result = reportOutcome(slot(pairs, count), kind.setName, kind.succeeded, kind.failed);
  // A known pair is remembered whatever the platform answered; every pair's line takes the
  // level of that answer.
  const uint32_t level = result ? kLogInfo : kLogError;
  for (uint32_t index = 0; index < count; ++index) {
    const OmbrixHalVideoOutDeviceValue pair = pairs[index];
    if (!isBelow(pair.Device, kDeviceCount)) {
      OmbrixHalLoggerPrintf(kind.setName, level, kind.unknownDevice, pair.Device);
    } else if (!isBelow(pair.Value, kind.valueCount)) {
      OmbrixHalLoggerPrintf(kind.setName, level, kind.unknownValue, pair.Value);
    } else {
      values[pair.Device] = pair.Value;
      OmbrixHalLoggerPrintf(kind.setName, level, kind.pairSet, kDeviceNames[pair.Device], kind.valueNames[pair.Value]);
    }
  }
  return result;
}

OmbrixHalBool getDeviceValues(const DeviceValueKind& kind, GetSlot slot, const DeviceValues& values,
                              OmbrixHalVideoOutDeviceValue* pairs, uint32_t count) noexcept {
  if (pairs == nullptr) {
    OmbrixHalLoggerPrint(kind.getName, kIllegalNullValue, kind.parameterName);
    return 0;
  }
  if (slot != nullptr) {
    return slot(pairs, count);
  }
  for (uint32_t index = 0; index < count; ++index) {
    pairs[index].Value = isBelow(pairs[index].Device, kDeviceCount) ? int32_t{values[pairs[index].Device]} : 0;
  }
  return 1;
}

}  // namespace

OmbrixHalBool OmbrixHalVideoOutInit(void) noexcept {
  for (size_t device = 0; device < kDeviceCount; ++device) {
    aspectRatios[device] = 0;
    formats[device] = 0;
  }
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::videoOutPlatformGetInterface);
}

void OmbrixHalVideoOutDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

OmbrixHalBool OmbrixHalVideoOutBlank(void) noexcept {
  if (!isSupported(platform.Blank, kBlankName, kBlankNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.Blank(), kBlankName, kBlanked, kCannotBlank);
}

OmbrixHalBool OmbrixHalVideoOutUnblank(void) noexcept {
  if (!isSupported(platform.Unblank, kUnblankName, kUnblankNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.Unblank(), kUnblankName, kUnblanked, kCannotUnblank);
}

OmbrixHalBool OmbrixHalVideoOutSetBrightness(uint32_t aPercent) noexcept {
  return setPicture(platform.SetBrightness, aPercent, kSetBrightnessName, kSetBrightnessNotSupported, kBrightnessSet,
                    kCannotSetBrightness);
}

OmbrixHalBool OmbrixHalVideoOutSetContrast(uint32_t aPercent) noexcept {
  return setPicture(platform.SetContrast, aPercent, kSetContrastName, kSetContrastNotSupported, kContrastSet,
                    kCannotSetContrast);
}

OmbrixHalBool OmbrixHalVideoOutSetSaturation(uint32_t aPercent) noexcept {
  return setPicture(platform.SetSaturation, aPercent, kSetSaturationName, kSetSaturationNotSupported, kSaturationSet,
                    kCannotSetSaturation);
}

OmbrixHalBool OmbrixHalVideoOutSetAspectRatio(const OmbrixHalVideoOutDeviceValue* aDeviceAspectRatios,
                                              uint32_t aCount) noexcept {
  return setDeviceValues(kAspectRatios, platform.SetAspectRatio, aspectRatios, aDeviceAspectRatios, aCount);
}

OmbrixHalBool OmbrixHalVideoOutGetAspectRatio(OmbrixHalVideoOutDeviceValue* aDeviceAspectRatios,
                                              uint32_t aCount) noexcept {
  return getDeviceValues(kAspectRatios, platform.GetAspectRatio, aspectRatios, aDeviceAspectRatios, aCount);
}

OmbrixHalBool OmbrixHalVideoOutSetDeviceFormats(const OmbrixHalVideoOutDeviceValue* aDeviceFormats,
                                                uint32_t aCount) noexcept {
  return setDeviceValues(kFormats, platform.SetDeviceFormats, formats, aDeviceFormats, aCount);
}

OmbrixHalBool OmbrixHalVideoOutGetDeviceFormats(OmbrixHalVideoOutDeviceValue* aDeviceFormats,
                                                uint32_t aCount) noexcept {
  return getDeviceValues(kFormats, platform.GetDeviceFormats, formats, aDeviceFormats, aCount);
}

OmbrixHalBool OmbrixHalVideoOutSetWindow(int32_t aX, int32_t aY, int32_t aWidth, int32_t aHeight) noexcept {
  if (!isSupported(platform.SetWindow, kSetWindowName, kSetWindowNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.SetWindow(aX, aY, aWidth, aHeight), kSetWindowName, kWindowSet, kCannotSetWindow, aX,
                       aY, aWidth, aHeight);
}
