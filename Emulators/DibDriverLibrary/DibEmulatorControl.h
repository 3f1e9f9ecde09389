/* Test-only control of the receiver emulator (our libDibDriverLibrary and libDibTSReader).
 * Not part of the driver's interface: a program that uses it runs only with the emulator. */
#ifndef DIB_EMULATOR_CONTROL_H
#define DIB_EMULATOR_CONTROL_H

#include <stddef.h>

#include "DibDriverLibrary.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* How the driver thread delivers once a filter has buffers:
 * PACED   at the rate the channel file's PCRs give (the default);
 * UNPACED as fast as buffers come back (benchmarks);
 * MANUAL  not at all: no driver thread, only DibEmulatorDeliver.
 * The environment sets the start value: DIB_EMULATOR_DELIVERY=paced|unpaced|manual. */
enum { DIB_EMULATOR_PACED = 0, DIB_EMULATOR_UNPACED = 1, DIB_EMULATOR_MANUAL = 2 };

/* The notice that hands a filled buffer over; events 1 and 3 hand nothing over. */
enum { DIB_EMULATOR_EVENT_DATA = 0 };

/* One call the driver received, in order. Arguments holds the call's scalar arguments in their
 * order, the handle left out, a DibPidItem as its Pid (each item of the call while words
 * remain), a channel description as its frequency and bandwidth, the count of
 * DibGetSignalMonitoring as given, other pointers left out; unused words 0. DibGetChannel needs
 * seven words. The TS reader's calls are recorded under their own names (DibOpenTSReader, ...). */
typedef struct DibEmulatorCall {
  char Function[32];
  uint32_t Arguments[8];
  int32_t Result;
} DibEmulatorCall;

/* Back to the start: no programmed failure, no recorded call, the plan named by
 * DIB_EMULATOR_CHANNEL_PLAN and the delivery mode of DIB_EMULATOR_DELIVERY. Meant for when no
 * driver is open; an open driver keeps its channels and filters and takes that mode. */
DIB_API void DibEmulatorReset(void);
/* Reads this plan instead of the environment's (NULL: the environment's again); applies from the
 * next DibGetChannel. */
DIB_API void DibEmulatorSetChannelPlan(const char* aPath);
DIB_API void DibEmulatorSetDelivery(uint32_t aMode);
/* The aNth call of aFunction from now on (1: the next) returns aResult and does nothing else.
 * Several may be pending for one function; an aNth of 0 cancels that function's. */
DIB_API void DibEmulatorFailCall(const char* aFunction, uint32_t aNth, int32_t aResult);
/* Copies up to aMax recorded calls, oldest first, and returns how many there are in all. The
 * first 65536 calls are kept (a paced driver is re-lent a buffer per packet); counts go on. */
DIB_API uint32_t DibEmulatorGetCalls(DibEmulatorCall* aCalls, uint32_t aMax);
/* How many calls of aFunction were recorded. */
DIB_API uint32_t DibEmulatorCountCalls(const char* aFunction);
/* The last channel description that DibGetChannel was given, as given: 1, or 0 when there is
 * none. */
DIB_API int32_t DibEmulatorGetChannelRequest(DibChannelDescription* aDescription);
/* Calls aFilter's callback on the calling thread with aEvent and a notice of aSize bytes at
 * aData, copied first into the buffer registered with aBufferIndex (in TS reader mode: into
 * the reader's own buffer of that index). An aEvent of DIB_EMULATOR_EVENT_DATA hands the buffer
 * over, so it needs registering again. Nonzero, and no call, when the filter does not exist,
 * has no such buffer free, or aSize exceeds the buffer. */
DIB_API int32_t DibEmulatorDeliver(uint8_t aFilter, uint8_t aBufferIndex, uint32_t aEvent, const uint8_t* aData,
                                   int32_t aSize);
/* Packets that the driver thread has handed over since the driver was last opened. */
DIB_API uint64_t DibEmulatorDeliveredPackets(void);

/* The TS reader emulator's way in: a reader filter whose buffers (aBufferCount, from
 * DibOpenTSReader) the emulator owns and lends itself again after each callback. */
DIB_API int32_t DibEmulatorOpenReader(DibDriverHandle aDriver, uint32_t aBufferCount);
DIB_API int32_t DibEmulatorCloseReader(DibDriverHandle aDriver);
DIB_API int32_t DibEmulatorCreateReader(DibDriverHandle aDriver, uint8_t aChannel,
                                        const DibFilterDescription* aDescription, uint8_t* aFilter);
DIB_API int32_t DibEmulatorDeleteReader(DibDriverHandle aDriver, uint8_t aFilter);

#if defined(__cplusplus)
}
#endif

#endif
