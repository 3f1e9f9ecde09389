// Audio-output table of both platforms: volume and mute act on the player library's decoder,
// when the AV player has one; the mode is taken and ignored.
#include "OmbrixHalAudioOut.h"
#include "OmbrixHalAvPlayer.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalTModule.h"
#include "Platform/OmbrixHalTPlatformTable.h"
#include "voMTPSDK.h"

namespace {

using ombrixhal::Relaxed;

constexpr const char* kSetVolumeName = "OmbrixHalAudioOutPlatformSetVolume";
constexpr uint32_t kAudioOutInfo = 0x3022;

Relaxed<uint32_t> storedVolume;
Relaxed<uint32_t> muted;

voMTPHandle decoder() noexcept {
  return static_cast<voMTPHandle>(OmbrixHalAvPlayerPlatformGetHandle());
}

// Stored whether or not a decoder plays: Unmute gives it back.
OmbrixHalBool setVolume(uint32_t aVolume) noexcept {
  const uint32_t volume = aVolume < OMBRIX_HAL_AUDIO_OUT_VOLUME_MAX ? aVolume : OMBRIX_HAL_AUDIO_OUT_VOLUME_MAX;
  // The line's own text under the module's info id, as the local file system logs its opens.
  OmbrixHalLoggerPrintf(kSetVolumeName, kAudioOutInfo, "aVolume = %u", volume);
  storedVolume = volume;
  if (voMTPHandle playing = decoder(); playing != nullptr) {
    voMTPSetVolume(playing, volume);
  }
  return 1;
}

OmbrixHalBool getVolume(uint8_t* aVolume) noexcept {
  uint32_t volume = storedVolume;
  if (voMTPHandle playing = decoder(); playing != nullptr) {
    uint32_t unused = 0;
    voMTPGetVolume(playing, &volume, &unused);
  }
  *aVolume = static_cast<uint8_t>(volume);
  return 1;
}

OmbrixHalBool mute(void) noexcept {
  voMTPHandle playing = decoder();
  const bool silenced = playing != nullptr && voMTPSetVolume(playing, 0) == 0;
  muted = silenced ? 1 : 0;
  return silenced ? 1 : 0;
}

// Kept: without a decoder the sound counts as still muted.
OmbrixHalBool unmute(void) noexcept {
  voMTPHandle playing = decoder();
  const bool restored = playing != nullptr && voMTPSetVolume(playing, storedVolume) == 0;
  muted = restored ? 0 : 1;
  return restored ? 1 : 0;
}

OmbrixHalBool isMute(void) noexcept {
  return static_cast<OmbrixHalBool>(muted);
}

OmbrixHalBool setMode(int32_t /*aMode*/) noexcept {
  return 1;
}

constexpr OmbrixHalAudioOutPlatformInterface kAudioOutPlatform = {
    .Init = nullptr,
    .Done = nullptr,
    .SetVolume = setVolume,
    .GetVolume = getVolume,
    .Mute = mute,
    .Unmute = unmute,
    .IsMute = isMute,
    .SetMode = setMode,
    .GetMode = nullptr,
};

}  // namespace

OmbrixHalBool OmbrixHalAudioOutPlatformGetInterface(OmbrixHalAudioOutPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kAudioOutPlatform);
}
