/* AV player: plays the audio and video of one service from a tuner through the player library,
 * into the application's window. There is one player; Open hands out the same one each time. */
#ifndef OMBRIX_HAL_AV_PLAYER_H
#define OMBRIX_HAL_AV_PLAYER_H

#include "OmbrixHalTuner.h"
#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

/* The PIDs of one service (0 to 8191) and the middleware's own stream type codes, passed on
 * unchanged. A VideoPid of 0 means no video. */
typedef struct OmbrixHalAvPlayerParameter {
  uint32_t AudioPid;
  uint32_t AudioType;
  uint32_t VideoPid;
  uint32_t VideoType;
  uint32_t PcrPid;
} OmbrixHalAvPlayerParameter;

typedef struct OmbrixHalAvPlayerPlatformPlayer* OmbrixHalAvPlayerHandle;

/* The middleware's face: each call checks its arguments, asks the platform player and logs. */
OMBRIX_HAL_API OmbrixHalAvPlayerHandle OmbrixHalAvPlayerOpen(OmbrixHalTunerHandle aTuner) OMBRIX_HAL_NOEXCEPT;
/* Stops a running player first. */
OMBRIX_HAL_API void OmbrixHalAvPlayerClose(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Opens the decoder and the TS filters that feed it; Play starts them. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerSetParameter(OmbrixHalAvPlayerHandle This,
                                                          const OmbrixHalAvPlayerParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerGetParameter(OmbrixHalAvPlayerHandle This,
                                                          OmbrixHalAvPlayerParameter* aParameter) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlay(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Non-zero while the stream is decoded; warns once when it stops being so. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerIsStreamDecoded(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
/* Closes the filters and the decoder; SetParameter and Play start again. */
OMBRIX_HAL_API void OmbrixHalAvPlayerStop(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
/* The stream-info records are the platform's; this platform fills nothing and returns 0. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerGetAudioStreamInfo(OmbrixHalAvPlayerHandle This,
                                                                void* aAudioStreamInfo) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerGetVideoStreamInfo(OmbrixHalAvPlayerHandle This,
                                                                void* aVideoStreamInfo) OMBRIX_HAL_NOEXCEPT;
/* Moves the video window to the top at the origin with this size, in pixels. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerSetScreen(OmbrixHalAvPlayerHandle This, const int32_t* aWidth,
                                                       const int32_t* aHeight) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerSuspendAudio(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerResumeAudio(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerSuspendVideo(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerResumeVideo(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerRun(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPause(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;

/* The platform player, called directly by the calls above and by video and audio output. Init
 * takes the start record's platform argument: the address of the application's video window
 * record, whose first word is the window handle. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformInit(uintptr_t aPlatformArgument) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalAvPlayerPlatformDone(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalAvPlayerHandle OmbrixHalAvPlayerPlatformOpen(OmbrixHalTunerHandle aTuner) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalAvPlayerPlatformClose(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformSetParameter(OmbrixHalAvPlayerHandle This,
                                                                  const OmbrixHalAvPlayerParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformGetParameter(OmbrixHalAvPlayerHandle This,
                                                                  OmbrixHalAvPlayerParameter* aParameter)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformPlay(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformIsStreamDecoded(OmbrixHalAvPlayerHandle This)
    OMBRIX_HAL_NOEXCEPT;
/* The result of the window's background fill (0 without a window). */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformStop(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalAvPlayerPlatformEnableDescrambling(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalAvPlayerPlatformDisableDescrambling(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformGetAudioStreamInfo(OmbrixHalAvPlayerHandle This,
                                                                        void* aAudioStreamInfo) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformGetVideoStreamInfo(OmbrixHalAvPlayerHandle This,
                                                                        void* aVideoStreamInfo) OMBRIX_HAL_NOEXCEPT;
/* The player library's full-screen format (1 pillarbox, 2 vertical cut, 3 the default), kept
 * for the next Play and applied at once to a decoder that exists. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformSetFullScreenType(uint32_t aFormat) OMBRIX_HAL_NOEXCEPT;
/* The player library's decoder handle, NULL when there is none. */
OMBRIX_HAL_API void* OmbrixHalAvPlayerPlatformGetHandle(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformSetScreen(OmbrixHalAvPlayerHandle This, const int32_t* aWidth,
                                                               const int32_t* aHeight) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformSuspendAudio(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformResumeAudio(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformSuspendVideo(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformResumeVideo(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformRun(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalAvPlayerPlatformPause(OmbrixHalAvPlayerHandle This) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
