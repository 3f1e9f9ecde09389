/* The player library (voMTPSDK), as far as the HAL uses it: it takes the transport stream of one
 * service, demultiplexes, decodes and draws into the application's window. Every function
 * returns 0 on success unless said otherwise. Written for any build of the library: ours (the
 * emulator) or the player maker's. */
#ifndef VO_MTP_SDK_H
#define VO_MTP_SDK_H

#include <stdint.h>

#if defined(_WIN32)
#  if defined(VOMTP_BUILDING)
#    define VOMTP_API __declspec(dllexport)
#  else
#    define VOMTP_API __declspec(dllimport)
#  endif
#else
#  define VOMTP_API __attribute__((visibility("default")))
#endif

#if defined(__cplusplus)
extern "C" {
#endif

/* One decoder instance; NULL: none. */
typedef struct voMTPDecoder* voMTPHandle;

/* Called by the library with a message type and its payload words (101: video format, payload
 * word 1 the width, word 2 the height, word 4 non-zero for interlaced pictures; 102: a time
 * stamp, payload word 0 in milliseconds). What it returns is the library's to interpret. */
typedef int32_t (*voMTPOpenCallback)(int32_t aMessageType, const uint32_t* aPayload);

/* The constants the HAL passes, named for what it means by them. */
#define VOMTP_INIT_MEMORY 0x800000u
#define VOMTP_OPEN_SOURCE 6u
#define VOMTP_OPEN_MODE 1u
#define VOMTP_OPEN_FLAGS 0u
#define VOMTP_STREAM_BUFFER_MS 3000u
#define VOMTP_PARAM_ID_SYNC 1001u
#define VOMTP_PRELOAD_MS 100u
#define VOMTP_SEND_FLAG_TS 0x80000000u
#define VOMTP_MESSAGE_VIDEO_FORMAT 101
#define VOMTP_MESSAGE_TIME_STAMP 102

VOMTP_API int32_t voMTPInit(uint32_t aMemorySize);
VOMTP_API int32_t voMTPUnInit(void);
/* Creates a decoder drawing into aWindow; *aDecoder is set on success. */
VOMTP_API int32_t voMTPOpen(voMTPHandle* aDecoder, uint32_t aSource, uint32_t aMode, uint32_t aFlags, void* aWindow,
                            voMTPOpenCallback aCallback);
/* Negative on failure. */
VOMTP_API int32_t voMTPInitStream(voMTPHandle aDecoder, uint32_t aBufferTime);
VOMTP_API int32_t voMTPSetDrawMode(voMTPHandle aDecoder, uint32_t aMode);
VOMTP_API int32_t voMTPSetFullScreenFormat(voMTPHandle aDecoder, uint32_t aFormat);
VOMTP_API int32_t voMTPSetParam(voMTPHandle aDecoder, uint32_t aId, uint32_t aValue);
VOMTP_API int32_t voMTPSetPreloadTime(voMTPHandle aDecoder, uint32_t aTime);
VOMTP_API int32_t voMTPSetDrawRect(voMTPHandle aDecoder, int32_t aX, int32_t aY, int32_t aWidth, int32_t aHeight);
VOMTP_API int32_t voMTPRun(voMTPHandle aDecoder);
VOMTP_API int32_t voMTPPause(voMTPHandle aDecoder);
VOMTP_API int32_t voMTPSuspendAudio(voMTPHandle aDecoder);
VOMTP_API int32_t voMTPResumeAudio(voMTPHandle aDecoder);
VOMTP_API int32_t voMTPSuspendVideo(voMTPHandle aDecoder);
VOMTP_API int32_t voMTPResumeVideo(voMTPHandle aDecoder);
VOMTP_API int32_t voMTPStop(voMTPHandle aDecoder);
VOMTP_API int32_t voMTPClose(voMTPHandle aDecoder);
/* aLength bytes of transport stream; aStreamId tells the decoder its PIDs (audio PID in bits 0
 * to 12, video PID in bits 13 to 25). */
VOMTP_API int32_t voMTPSendData(voMTPHandle aDecoder, const uint8_t* aData, uint32_t aLength, uint32_t aStreamId,
                                uint32_t aFlags);
/* aVolume in percent, 0 to 100. */
VOMTP_API int32_t voMTPSetVolume(voMTPHandle aDecoder, uint32_t aVolume);
VOMTP_API int32_t voMTPGetVolume(voMTPHandle aDecoder, uint32_t* aVolume, uint32_t* aSecond);

#if defined(__cplusplus)
}
#endif

#endif
