// Audio output: argument checks and log lines around the platform's volume, mute and mode, with
// the volume and mute state kept here for a platform that keeps none.
#include <iterator>

#include "OmbrixHalAudioOut.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalAudioOutPlatformInterface> audioOutPlatformGetInterface =
    OmbrixHalAudioOutPlatformGetInterface;
}

namespace {

using ombrixhal::isLegal;
using ombrixhal::isSupported;
using ombrixhal::kLogError;
using ombrixhal::kLogWarning;
using ombrixhal::Relaxed;
using ombrixhal::reportOutcome;

constexpr const char* kSetVolumeName = "OmbrixHalAudioOutSetVolume";
constexpr const char* kGetVolumeName = "OmbrixHalAudioOutGetVolume";
constexpr const char* kMuteName = "OmbrixHalAudioOutMute";
constexpr const char* kUnmuteName = "OmbrixHalAudioOutUnmute";
constexpr const char* kSetModeName = "OmbrixHalAudioOutSetMode";
constexpr const char* kGetModeName = "OmbrixHalAudioOutGetMode";

constexpr const char* kSetVolumeNotAvailable = "AudioOut: function not available 'OmbrixHalAudioOutSetVolume'";
constexpr const char* kSetModeNotAvailable = "AudioOut: function not available 'OmbrixHalAudioOutSetMode'";
constexpr const char* kGetModeNotAvailable = "AudioOut: function not available 'OmbrixHalAudioOutGetMode'";

constexpr const char* kVolumeNotInRange = "AudioOut: volume '%d' not in range [%d,%d]";
constexpr const char* kVolumeSet = "AudioOut: set volume to %d%%";
constexpr const char* kCannotSetVolume = "AudioOut: Cannot set volume to %d%%";
constexpr const char* kMuted = "AudioOut: mute";
constexpr const char* kCannotMute = "AudioOut: Cannot mute";
constexpr const char* kAlreadyMuted = "AudioOut: System is already muted.";
constexpr const char* kUnmuted = "AudioOut: unmute";
constexpr const char* kCannotUnmute = "AudioOut: Cannot unmute";
constexpr const char* kAlreadyUnmuted = "AudioOut: System is already unmuted.";
constexpr const char* kModeSet = "AudioOut: set mode '%s'";
constexpr const char* kCannotSetMode = "AudioOut: Cannot set mode '%s'";
constexpr const char* kUnknownMode = "AudioOut: unknown mode %d";
constexpr const char* kCannotReturnMode = "AudioOut: Cannot return audio mode";

constexpr uint32_t kIllegalNullValue = 0x1003;
constexpr uint32_t kMinVolume = 0;

constexpr const char* kModeNames[] = {"stereo", "mono right", "mono left"};
static_assert(std::size(kModeNames) == OMBRIX_HAL_AUDIO_OUT_MODE_MONO_LEFT + 1);
static_assert(sizeof(OmbrixHalAudioOutPlatformInterface) == 9 * sizeof(void (*)()));

struct AudioState {
  Relaxed<uint32_t> muted;
  Relaxed<uint8_t> volume;
  Relaxed<uint8_t> savedVolume;  // the volume before a mute without a platform mute
};

OmbrixHalAudioOutPlatformInterface platform{};
AudioState state;

}  // namespace

// A new start begins unmuted, at volume 0.
OmbrixHalBool OmbrixHalAudioOutInit(void) noexcept {
  state.muted = 0;
  state.volume = 0;
  state.savedVolume = 0;
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::audioOutPlatformGetInterface);
}

void OmbrixHalAudioOutDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

OmbrixHalBool OmbrixHalAudioOutSetVolume(uint32_t aVolume) noexcept {
  if (!isLegal(aVolume <= OMBRIX_HAL_AUDIO_OUT_VOLUME_MAX, kSetVolumeName, kVolumeNotInRange, aVolume, kMinVolume,
               OMBRIX_HAL_AUDIO_OUT_VOLUME_MAX)) {
    return 0;
  }
  // Kept even when the platform cannot set it: GetVolume answers with it.
  state.volume = static_cast<uint8_t>(aVolume);
  if (!isSupported(platform.SetVolume, kSetVolumeName, kSetVolumeNotAvailable)) {
    return 0;
  }
  return reportOutcome(platform.SetVolume(aVolume), kSetVolumeName, kVolumeSet, kCannotSetVolume, aVolume);
}

OmbrixHalBool OmbrixHalAudioOutGetVolume(uint8_t* aVolume) noexcept {
  if (aVolume == nullptr) {
    OmbrixHalLoggerPrint(kGetVolumeName, kIllegalNullValue, "aVolume");
    return 0;
  }
  if (platform.GetVolume != nullptr) {
    return platform.GetVolume(aVolume);
  }
  *aVolume = state.volume;
  return 1;
}

OmbrixHalBool OmbrixHalAudioOutMute(void) noexcept {
  if (state.muted != 0) {
    // Deliberate: this warning carries the Unmute name.
    OmbrixHalLoggerPrintf(kUnmuteName, kLogWarning, kAlreadyMuted);
    return 0;
  }
  OmbrixHalBool result = 0;
  if (platform.Mute == nullptr) {
    state.savedVolume = static_cast<uint8_t>(state.volume);
    result = OmbrixHalAudioOutSetVolume(0);
  } else {
    result = platform.Mute();
  }
  if (result) {
    state.muted = 1;
  }
  return reportOutcome(result, kMuteName, kMuted, kCannotMute);
}

OmbrixHalBool OmbrixHalAudioOutUnmute(void) noexcept {
  if (state.muted == 0) {
    OmbrixHalLoggerPrintf(kUnmuteName, kLogWarning, kAlreadyUnmuted);
    return 0;
  }
  const OmbrixHalBool result =
      platform.Unmute == nullptr ? OmbrixHalAudioOutSetVolume(state.savedVolume) : platform.Unmute();
  if (result) {
    state.muted = 0;
  }
  return reportOutcome(result, kUnmuteName, kUnmuted, kCannotUnmute);
}

OmbrixHalBool OmbrixHalAudioOutIsMute(void) noexcept {
  return platform.IsMute != nullptr ? platform.IsMute() : static_cast<OmbrixHalBool>(state.muted);
}

// Negative modes are as unknown as those past the last.
OmbrixHalBool OmbrixHalAudioOutSetMode(int32_t aMode) noexcept {
  if (!isLegal(static_cast<uint32_t>(aMode) < std::size(kModeNames), kSetModeName, kUnknownMode, aMode) ||
      !isSupported(platform.SetMode, kSetModeName, kSetModeNotAvailable)) {
    return 0;
  }
  return reportOutcome(platform.SetMode(aMode), kSetModeName, kModeSet, kCannotSetMode, kModeNames[aMode]);
}

OmbrixHalBool OmbrixHalAudioOutGetMode(int32_t* aMode) noexcept {
  if (aMode == nullptr) {
    OmbrixHalLoggerPrint(kGetModeName, kIllegalNullValue, "aMode");
    return 0;
  }
  if (!isSupported(platform.GetMode, kGetModeName, kGetModeNotAvailable)) {
    return 0;
  }
  const OmbrixHalBool result = platform.GetMode(aMode);
  if (!result) {
    OmbrixHalLoggerPrintf(kGetModeName, kLogError, kCannotReturnMode);
  }
  return result;
}
