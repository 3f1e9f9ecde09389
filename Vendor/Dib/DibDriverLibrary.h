/* The receiver's driver library (libDibDriverLibrary) and its optional TS reader library
 * (libDibTSReader), as far as the HAL uses them. Every function returns 0 on success.
 * Written for any build of these libraries: ours (the emulator) or the receiver maker's. */
#ifndef DIB_DRIVER_LIBRARY_H
#define DIB_DRIVER_LIBRARY_H

#include <stdint.h>

#if defined(_WIN32)
#  if defined(DIB_BUILDING)
#    define DIB_API __declspec(dllexport)
#  else
#    define DIB_API __declspec(dllimport)
#  endif
#else
#  define DIB_API __attribute__((visibility("default")))
#endif

#if defined(__cplusplus)
extern "C" {
#endif

typedef struct DibDriverContext* DibDriverHandle;

/* A filter gets full transport-stream buffers in DibRegisterBuffer'd memory (or, in TS reader
 * mode, in the reader's own). */
#define DIB_PACKET_SIZE 188u
#define DIB_BUFFER_SIZE 48128u /* 256 packets */

/* The tuning request and what the driver detected: every field a 32-bit little-endian word
 * but for the lock result. -1 asks the driver to detect a parameter. */
typedef struct DibChannelDescription {
  uint32_t Standard;         /* +0: 129 */
  uint8_t Reserved4;
  uint8_t LockResult;        /* +5: 1 when locked */
  uint8_t Reserved6[2];
  uint32_t FrequencyKHz;     /* +8 */
  uint32_t Bandwidth;        /* +12: in 100 kHz: 60, 70, 80 */
  int32_t Reserved16;        /* -1 */
  uint32_t Reserved20;       /* 0 */
  uint32_t Reserved24;       /* 0 */
  int32_t TransmissionMode;  /* +28: 0 2K, 1 8K, 2 4K */
  int32_t GuardInterval;     /* +32: 0 1/32, 1 1/16, 2 1/8, 3 1/4 */
  int32_t Constellation;     /* +36: 0 QPSK, 1 QAM-16, 2 QAM-64 */
  int32_t Reserved40;        /* -1 */
  int32_t Reserved44;        /* -1 */
  uint32_t Reserved48;       /* 1 */
  int32_t Reserved52;        /* -1 */
  int32_t CodeRate;          /* +56: 1 1/2, 2 2/3, 3 3/4, 5 5/6, 7 7/8 */
  int32_t Reserved60;        /* -1 */
  uint8_t Reserved64[44];    /* 0 */
} DibChannelDescription;

/* What the driver passes to a filter's callback with each notice. */
typedef struct DibBufferInfo {
  int32_t DataSize;     /* bytes filled */
  uint32_t Reserved4;
  uint16_t Reserved8;
  uint8_t BufferIndex;  /* +10: the index the buffer was registered with */
  uint8_t Reserved11;
  uint8_t* Data;        /* the fourth word on the 32-bit device */
} DibBufferInfo;

/* Called on the driver's thread. aEvent 1 and 3 are notices without data. */
typedef void (*DibBufferCallback)(void* aContext, const DibBufferInfo* aInfo, uint32_t aEvent);

typedef struct DibFilterDescription {
  uint32_t Kind;  /* 2: transport-stream packets */
  void* Context;
  DibBufferCallback Callback;
  uint32_t Reserved;
} DibFilterDescription;

typedef struct DibPidItem {
  uint16_t Pid;
  uint16_t Reserved2;
  uint32_t Reserved4[4];
} DibPidItem;

/* One entry of DibGetSignalMonitoring. */
typedef struct DibSignalMonitoring {
  uint32_t Reserved0;
  uint32_t Gain;         /* +4: 0..65535, less with a stronger signal */
  uint32_t Reserved8;
  uint32_t NoisePower;   /* +12 */
  uint32_t SignalPower;  /* +16 */
  uint32_t DriverValue;  /* +20 */
  uint16_t Status;       /* +24 */
  uint8_t Reserved26[11];
  uint8_t Quality;       /* +37: percent */
  uint8_t Reserved38[14];
} DibSignalMonitoring;

/* Channel handles, filter ids and item ids are bytes; the driver writes them. */
DIB_API int32_t DibOpen(DibDriverHandle* aDriver, uint32_t aBoard, uint32_t aOptions);
DIB_API int32_t DibClose(DibDriverHandle aDriver);
/* Writes words 0 to 2: driver version (major bits 16..19, minor 8..15, patch 0..7), 0, and the
 * firmware version (major = value >> 10, minor = value & 0x3FF). */
DIB_API int32_t DibGetGlobalInfo(DibDriverHandle aDriver, uint32_t* aInfo);
DIB_API int32_t DibGetChannel(DibDriverHandle aDriver, uint32_t aReserved1, uint32_t aReserved2, uint32_t aReserved3,
                              DibChannelDescription* aDescription, uint8_t* aChannel, uint32_t aReserved4,
                              uint32_t aReserved5);
DIB_API int32_t DibDeleteChannel(DibDriverHandle aDriver, uint8_t aChannel);
DIB_API int32_t DibCreateFilter(DibDriverHandle aDriver, uint8_t aChannel, uint32_t aReserved,
                                const DibFilterDescription* aDescription, uint8_t* aFilter);
DIB_API int32_t DibDeleteFilter(DibDriverHandle aDriver, uint8_t aFilter);
DIB_API int32_t DibAddToFilter(DibDriverHandle aDriver, uint8_t aFilter, uint32_t aCount, DibPidItem* aItems,
                               uint8_t* aItem);
DIB_API int32_t DibRemoveFromFilter(DibDriverHandle aDriver, uint8_t aItem);
/* Lends the driver a buffer to fill once; it comes back through the filter's callback. */
DIB_API int32_t DibRegisterBuffer(DibDriverHandle aDriver, uint8_t aFilter, uint8_t* aBuffer, uint32_t aSize,
                                  uint8_t aIndex);
/* Takes a buffer back; on return the driver no longer touches it. */
DIB_API int32_t DibUnregisterBuffer(DibDriverHandle aDriver, uint8_t aFilter, uint8_t* aBuffer);
/* Fills up to *aCount entries (one per receiving chip) and sets *aCount. */
DIB_API int32_t DibGetSignalMonitoring(DibDriverHandle aDriver, uint8_t aChannel, uint32_t* aCount,
                                       DibSignalMonitoring* aEntries, uint32_t aReserved1, uint32_t aReserved2);

/* The TS reader library, found at run time by these names. It delivers into buffers of its own. */
typedef int32_t (*DibOpenTSReaderFunction)(DibDriverHandle aDriver, uint32_t aBufferCount);
typedef int32_t (*DibCloseTSReaderFunction)(DibDriverHandle aDriver);
typedef int32_t (*DibCreateTSReaderFunction)(DibDriverHandle aDriver, uint8_t aChannel,
                                             const DibFilterDescription* aDescription, uint8_t* aFilter);
typedef int32_t (*DibDeleteTSReaderFunction)(DibDriverHandle aDriver, uint8_t aFilter);

#if defined(__cplusplus)
}

static_assert(sizeof(DibChannelDescription) == 108, "channel description");
static_assert(__builtin_offsetof(DibChannelDescription, LockResult) == 5, "lock result");
static_assert(__builtin_offsetof(DibChannelDescription, FrequencyKHz) == 8, "frequency");
static_assert(__builtin_offsetof(DibChannelDescription, TransmissionMode) == 28, "mode");
static_assert(__builtin_offsetof(DibChannelDescription, CodeRate) == 56, "code rate");
static_assert(__builtin_offsetof(DibChannelDescription, Reserved64) == 64, "tail");
static_assert(__builtin_offsetof(DibBufferInfo, BufferIndex) == 10, "buffer index");
static_assert(sizeof(void*) != 4 || __builtin_offsetof(DibBufferInfo, Data) == 12, "data pointer");
static_assert(sizeof(DibPidItem) == 20, "PID item");
static_assert(sizeof(DibSignalMonitoring) == 52, "monitoring entry");
static_assert(__builtin_offsetof(DibSignalMonitoring, Gain) == 4, "gain");
static_assert(__builtin_offsetof(DibSignalMonitoring, NoisePower) == 12, "power");
static_assert(__builtin_offsetof(DibSignalMonitoring, DriverValue) == 20, "value");
static_assert(__builtin_offsetof(DibSignalMonitoring, Status) == 24, "status");
static_assert(__builtin_offsetof(DibSignalMonitoring, Quality) == 37, "quality");
static_assert(sizeof(void*) != 4 || sizeof(DibFilterDescription) == 16, "filter description");
#endif

#endif
