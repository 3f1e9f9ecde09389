/* Audio output: volume, mute and the channel mode. */
#ifndef OMBRIX_HAL_AUDIO_OUT_H
#define OMBRIX_HAL_AUDIO_OUT_H

#include "OmbrixHalTypes.h"

#define OMBRIX_HAL_AUDIO_OUT_VOLUME_MAX 100u

/* Audio modes. */
#define OMBRIX_HAL_AUDIO_OUT_MODE_STEREO 0
#define OMBRIX_HAL_AUDIO_OUT_MODE_MONO_RIGHT 1
#define OMBRIX_HAL_AUDIO_OUT_MODE_MONO_LEFT 2

OMBRIX_HAL_EXTERN_C_BEGIN

/* Volumes in percent, 0 to 100; a mode is one of the modes above. */
typedef struct OmbrixHalAudioOutPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  OmbrixHalBool (*SetVolume)(uint32_t aVolume);
  OmbrixHalBool (*GetVolume)(uint8_t* aVolume);
  OmbrixHalBool (*Mute)(void);
  OmbrixHalBool (*Unmute)(void);
  OmbrixHalBool (*IsMute)(void);
  OmbrixHalBool (*SetMode)(int32_t aMode);
  OmbrixHalBool (*GetMode)(int32_t* aMode);
} OmbrixHalAudioOutPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalAudioOutDone(void) OMBRIX_HAL_NOEXCEPT;

/* aVolume from 0 to 100. On this platform volume and mute act on the player's decoder, and
 * muting fails while the player has none. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutSetVolume(uint32_t aVolume) OMBRIX_HAL_NOEXCEPT;
/* Writes one byte: the platform's volume, or the last one set when the platform keeps none. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutGetVolume(uint8_t* aVolume) OMBRIX_HAL_NOEXCEPT;
/* Without a platform mute, muting sets the volume to 0 and unmuting restores the volume before. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutMute(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutUnmute(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutIsMute(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutSetMode(int32_t aMode) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutGetMode(int32_t* aMode) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalAudioOutPlatformGetInterface(OmbrixHalAudioOutPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
