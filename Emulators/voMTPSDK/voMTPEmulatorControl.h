/* Test-only control of the player library emulator (our libvoMTPSDK / voMTPSDK.dll): what it was
 * told and what reached its decoders. Not part of the library's interface: a program that uses
 * it runs only with the emulator. */
#ifndef VO_MTP_EMULATOR_CONTROL_H
#define VO_MTP_EMULATOR_CONTROL_H

#include <stdint.h>

#include "voMTPSDK.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* One call the library received, in order. Decoder is the decoder's number (1 = the first opened
 * since the last reset), 0 for NULL or a handle the library does not know; a closed decoder keeps
 * its number. For voMTPOpen it is the decoder the call created (0 when it failed). Arguments holds
 * the call's scalar arguments in order, the decoder left out: voMTPOpen (source, mode, flags,
 * window as an integer); voMTPSendData (length, stream id, flags); voMTPSetDrawRect (x, y, width,
 * height); other pointers left out; unused words 0. */
typedef struct voMTPEmulatorCall {
  char Function[32];
  uint32_t Decoder;
  int64_t Arguments[6];
  int32_t Result;
} voMTPEmulatorCall;

/* What the decoders received on one PID. Timestamps: the PES starts that carry a PTS. */
typedef struct voMTPEmulatorPid {
  uint32_t Pid;
  uint32_t Packets;
  uint32_t PesStarts;
  uint32_t Timestamps;
} voMTPEmulatorPid;

/* A message the library sent to a decoder's open callback, and what the callback returned. */
typedef struct voMTPEmulatorAnswer {
  int32_t MessageType;
  int32_t Answer;
} voMTPEmulatorAnswer;

/* Back to the start: no decoder (those open are forgotten: calls on them fail as on an unknown
 * handle), numbering from 1 again, no recorded call, stream, answer or programmed failure, volume
 * 0. */
VOMTP_API void voMTPEmulatorReset(void);
/* The aNth call of aFunction from now on (1: the next) returns aResult and does nothing else
 * (voMTPOpen creates no decoder). Several may be pending for one function; an aNth of 0 cancels
 * that function's. */
VOMTP_API void voMTPEmulatorFailCall(const char* aFunction, uint32_t aNth, int32_t aResult);
/* Copies up to aMax recorded calls, oldest first, and returns how many there are in all. The
 * first 65536 calls are kept (data may come a packet at a time); counts go on. */
VOMTP_API uint32_t voMTPEmulatorGetCalls(voMTPEmulatorCall* aCalls, uint32_t aMax);
VOMTP_API uint32_t voMTPEmulatorCountCalls(const char* aFunction);
/* What all decoders together received, per PID in ascending PID order: copies up to aMax and
 * returns the number of PIDs. */
VOMTP_API uint32_t voMTPEmulatorGetPids(voMTPEmulatorPid* aPids, uint32_t aMax);
/* The PTS (33 bits, 90 kHz) of the PES starts on aPid in arrival order: copies up to aMax and
 * returns how many there are (the first 65536 per PID are kept). */
VOMTP_API uint32_t voMTPEmulatorGetTimestamps(uint32_t aPid, uint64_t* aPts, uint32_t aMax);
/* The open callbacks' answers in order: copies up to aMax and returns how many there are. A
 * decoder sends 101 (video format) at the first PES start on its video PID, and 102 (time stamp)
 * for each PTS on its audio or video PID while it runs (from voMTPRun to voMTPPause, voMTPStop or
 * voMTPClose). */
VOMTP_API uint32_t voMTPEmulatorGetAnswers(voMTPEmulatorAnswer* aAnswers, uint32_t aMax);
/* Bytes that voMTPSendData took on open decoders. */
VOMTP_API uint64_t voMTPEmulatorBytesReceived(void);

#if defined(__cplusplus)
}
#endif

#endif
