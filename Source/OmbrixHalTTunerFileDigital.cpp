// The file digital tuner: a transport stream read from a file in 256-packet chunks and handed,
// packet by packet, to up to 64 packet handlers, pulled through Receive or paced by a thread.
#include <algorithm>
#include <atomic>
#include <bit>
#include <new>

#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalFile.h"
#include "OmbrixHalFilter.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTFileTuner.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerHead.h"
#include "OmbrixHalThread.h"
#include "OmbrixHalTunerFileDigital.h"

namespace {

constexpr const char* kDestroyName = "OmbrixHalTunerFileDigitalDestroy";
constexpr const char* kSetParameterName = "OmbrixHalTunerFileDigitalSetParameter";
constexpr const char* kGetParameterName = "OmbrixHalTunerFileDigitalGetParameter";
constexpr const char* kGetTypeName = "OmbrixHalTunerFileDigitalGetType";
constexpr const char* kGetStatusName = "OmbrixHalTunerFileDigitalGetStatus";
constexpr const char* kReceiveName = "OmbrixHalTunerFileDigitalReceive";
constexpr const char* kRegisterName = "OmbrixHalTunerFileDigitalRegisterPacketHandler";
constexpr const char* kUnregisterName = "OmbrixHalTunerFileDigitalUnregisterPacketHandler";
constexpr const char* kGetSignalStrengthName = "OmbrixHalTunerFileDigitalGetSignalStrength";
constexpr const char* kGetSignalQualityName = "OmbrixHalTunerFileDigitalGetSignalQuality";
constexpr const char* kFileMode = "rb";

constexpr uint32_t kPacketSize = 188;
constexpr uint8_t kSyncByte = 0x47;
constexpr uint32_t kChunkSize = OMBRIX_HAL_TUNER_FILE_DIGITAL_CHUNK_SIZE;
constexpr uint32_t kHandlerCount = OMBRIX_HAL_TUNER_FILE_DIGITAL_HANDLER_COUNT;
constexpr uint32_t kPacingThreadPriority = 15;
constexpr uint32_t kCycleMs = 10;               // one cycle of the fast pace
constexpr int32_t kSeekStart = 0;
constexpr int32_t kSeekCurrent = 1;

constexpr uint32_t kPidCount = 0x2000;
constexpr uint16_t kAnyPid = 0xffff;

static_assert(kChunkSize == 256 * kPacketSize);
static_assert(kHandlerCount == 64, "the occupied mask has one bit per handler entry");

using ombrixhal::FileTunerHandlerEntry;
using ombrixhal::TunerHold;

struct FileDigitalTuner {
  OmbrixHalTunerHead head;
  uint16_t RepetitionsDone;  // ends of the file reached in the current play
  OmbrixHalFileHandle File;
  FileTunerHandlerEntry Handlers[kHandlerCount];
  uint32_t MicrosecondsPerPacket;
  uint32_t MillisecondsPerPacket;           // 0 when faster than 1000 packets per second
  OmbrixHalCriticalSectionHandle PaceGate;  // held while no paced play is active
  uint32_t Paced;
  ombrixhal::Relaxed<uint32_t> Running;
  std::atomic<uint32_t> ThreadFinished;  // released last by the thread: Destroy frees after it
  OmbrixHalThreadHandle Thread;
  uint8_t* Buffer;
  uint32_t BytesLeft;
  const uint8_t* Cursor;
  // Bit i is set while Handlers[i] is taken, so delivery visits only the taken entries, in
  // table order.
  uint64_t Occupied;
  // Each taken entry stands in one of these: the entries that want every packet, and per PID
  // those that take only packets of that PID (filter roots that said so). A packet then visits
  // only the entries that can act on it.
  uint64_t AnyPid;
  uint64_t* PidMasks;  // kPidCount words
  uint16_t HandlerPid[kHandlerCount];  // kAnyPid, or the PID whose mask holds the entry
  bool GateHeld;  // the application side holds PaceGate
};

FileDigitalTuner* asFileDigitalTuner(OmbrixHalTunerHandle aThis) noexcept {
  return ombrixhal::tunerKindOf<FileDigitalTuner>(aThis);
}

FileDigitalTuner* tunerOf(OmbrixHalTunerHandle aThis, const char* functionName) noexcept {
  return ombrixhal::fileTunerOf<FileDigitalTuner>(aThis, functionName);
}

// Under the tuner's hold.
OmbrixHalTunerStatus statusOf(const FileDigitalTuner& tuner) noexcept {
  return ombrixhal::fileStatus(tuner.File, tuner.RepetitionsDone, tuner.head.Parameter.DigitalFile.Repetitions);
}

// Finds the first offset below 188 that holds a sync byte with another 188 bytes on, and
// positions the file there. Kept: a rejected candidate seeks back to the index rather than
// past it, so every later index examines the byte before it, and a sync found after a false
// candidate is reported, and played from, one byte late.
bool synchronise(FileDigitalTuner& tuner) noexcept {
  tuner.BytesLeft = 0;
  tuner.Cursor = nullptr;
  OmbrixHalFileSeek(tuner.File, 0, kSeekStart);
  int32_t offset = 0;
  for (; offset < static_cast<int32_t>(kPacketSize); ++offset) {
    uint8_t byte = 0;
    if (OmbrixHalFileRead(tuner.File, &byte, 1) != 1 || byte != kSyncByte) {
      continue;
    }
    OmbrixHalFileSeek(tuner.File, kPacketSize - 1, kSeekCurrent);
    byte = 0;
    if (OmbrixHalFileRead(tuner.File, &byte, 1) == 1 && byte == kSyncByte) {
      break;
    }
    OmbrixHalFileSeek(tuner.File, offset, kSeekStart);
  }
  if (offset == static_cast<int32_t>(kPacketSize)) {
    return false;
  }
  OmbrixHalFileSeek(tuner.File, offset, kSeekStart);
  // Free entries too: the reset ignores NULL and anything that is not a live filter.
  for (const FileTunerHandlerEntry& entry : tuner.Handlers) {
    OmbrixHalFilterReset(static_cast<OmbrixHalFilterHandle>(entry.context));
  }
  return true;
}

bool readChunk(FileDigitalTuner& tuner) noexcept {
  tuner.BytesLeft = OmbrixHalFileRead(tuner.File, tuner.Buffer, kChunkSize);
  tuner.Cursor = tuner.Buffer;
  return tuner.BytesLeft >= kPacketSize;
}

void dispatch(FileDigitalTuner& tuner, const uint8_t* packet) noexcept {
  const uint64_t& samePid = tuner.PidMasks[(packet[1] & 0x1fu) << 8 | packet[2]];
  // A handler may unregister itself or another handler: the masks are read again after each
  // call, so no handler is called after its removal.
  uint64_t pending = tuner.AnyPid | samePid;
  while (pending != 0) {
    const int index = std::countr_zero(pending);
    const FileTunerHandlerEntry entry = tuner.Handlers[index];
    entry.handler(nullptr, packet, kPacketSize, entry.context);
    pending = (tuner.AnyPid | samePid) & ((~uint64_t{0} << index) << 1);
  }
}

// Under the tuner's hold: takes entry `index` out of the mask it stands in.
void unindexEntry(FileDigitalTuner& tuner, int index) noexcept {
  const uint64_t bit = uint64_t{1} << index;
  if (tuner.HandlerPid[index] == kAnyPid) {
    tuner.AnyPid &= ~bit;
  } else {
    tuner.PidMasks[tuner.HandlerPid[index]] &= ~bit;
  }
}

// Under the tuner's hold: entry `index` takes packets of `pid` only, or every packet.
void indexEntry(FileDigitalTuner& tuner, int index, uint32_t pid) noexcept {
  const uint64_t bit = uint64_t{1} << index;
  if (pid < kPidCount) {
    tuner.HandlerPid[index] = static_cast<uint16_t>(pid);
    tuner.PidMasks[pid] |= bit;
  } else {
    tuner.HandlerPid[index] = kAnyPid;
    tuner.AnyPid |= bit;
  }
}

void setHandlerPid(OmbrixHalTunerHandle aThis, void* aContext, uint32_t aPid) noexcept;

// Under the tuner's hold: the next packet, or NULL when the play has ended or the file gives no more.
const uint8_t* nextPacket(FileDigitalTuner& tuner) noexcept {
  if (tuner.BytesLeft < kPacketSize && !readChunk(tuner)) {
    const uint16_t repetitions = tuner.head.Parameter.DigitalFile.Repetitions;
    if (repetitions != 0) {
      if (tuner.RepetitionsDone < repetitions) {
        ++tuner.RepetitionsDone;
      }
      if (tuner.RepetitionsDone == repetitions) {
        return nullptr;
      }
    }
    if (!synchronise(tuner) || !readChunk(tuner)) {
      return nullptr;
    }
  }
  // The bytes that do not fill a packet at the end of a chunk are dropped with it.
  const uint8_t* packet = tuner.Cursor;
  tuner.Cursor += kPacketSize;
  tuner.BytesLeft -= kPacketSize;
  return packet;
}

// Under the tuner's hold: up to `count` packets; how many came.
uint32_t deliver(FileDigitalTuner& tuner, uint32_t count) noexcept {
  uint32_t delivered = 0;
  for (; delivered < count; ++delivered) {
    const uint8_t* packet = nextPacket(tuner);
    if (packet == nullptr) {
      break;
    }
    dispatch(tuner, packet);
  }
  return delivered;
}

// Pulls up to `count` packets as as many Receive calls would; how many came.
uint32_t receive(FileDigitalTuner& tuner, uint32_t count) noexcept {
  // A handler pulling from its own tuner would overwrite the packet it is being given.
  if (ombrixhal::holdsTuner(tuner.head)) {
    return 0;
  }
  TunerHold hold(&tuner.head);
  return !tuner.Paced && statusOf(tuner) == OMBRIX_HAL_TUNER_STATUS_LOCKED ? deliver(tuner, count) : 0;
}

// The tuner front's batch: the lock is taken once per chunk's worth of packets rather than per
// packet, and left in between so that register and status calls from other threads get in.
uint32_t receivePackets(OmbrixHalTunerHandle aThis, uint32_t aCount) noexcept {
  FileDigitalTuner& tuner = *asFileDigitalTuner(aThis);
  uint32_t delivered = 0;
  while (delivered < aCount) {
    const uint32_t wanted = std::min(aCount - delivered, kChunkSize / kPacketSize);
    const uint32_t batch = receive(tuner, wanted);
    delivered += batch;
    if (batch < wanted) {
      break;
    }
  }
  return delivered;
}

uint32_t pace(void* aParameter) {
  FileDigitalTuner& tuner = *static_cast<FileDigitalTuner*>(aParameter);
  while (tuner.Running) {
    uint32_t sleepMs = 0;
    OmbrixHalCriticalSectionEnter(tuner.PaceGate);
    if (tuner.Running) {
      TunerHold hold(&tuner.head);
      if (tuner.MillisecondsPerPacket != 0) {
        deliver(tuner, 1);
        sleepMs = tuner.MillisecondsPerPacket;
      } else {
        // 0 comes only from a rate whose product wrapped: play as fast as the pace allows.
        deliver(tuner, 10000 / std::max(tuner.MicrosecondsPerPacket, uint32_t{1}));
        sleepMs = kCycleMs;
      }
    }
    OmbrixHalCriticalSectionLeave(tuner.PaceGate);
    // Slept with no lock held, so that register, status and a new set-parameter get their
    // turn between two cycles.
    if (sleepMs != 0) {
      OmbrixHalThreadSleep(sleepMs);
    }
  }
  tuner.ThreadFinished.store(1, std::memory_order_release);
  return 0;
}

// The packets-per-second arithmetic in 32 bits, the product wrapping as it does on the device.
void setPace(FileDigitalTuner& tuner, uint32_t symbolRate) noexcept {
  const uint32_t packetsPerSecond = (symbolRate * 1000u) / kPacketSize;
  if (packetsPerSecond == 0) {
    tuner.MicrosecondsPerPacket = 0;
    tuner.MillisecondsPerPacket = 0;
    return;
  }
  tuner.MicrosecondsPerPacket = std::max(1000000u / packetsPerSecond, 1u);
  tuner.MillisecondsPerPacket = 1000u / packetsPerSecond;
}

// Strength and quality alike: a file plays perfectly while it plays.
uint32_t signalOf(OmbrixHalTunerHandle aThis, const char* functionName) noexcept {
  FileDigitalTuner* tuner = tunerOf(aThis, functionName);
  if (tuner == nullptr) {
    return 0;
  }
  TunerHold hold(&tuner->head);
  return statusOf(*tuner) == OMBRIX_HAL_TUNER_STATUS_LOCKED ? 100 : 0;
}

void freeTuner(FileDigitalTuner* tuner) noexcept {
  OmbrixHalMemoryFree(tuner->PidMasks);
  OmbrixHalMemoryFree(tuner->Buffer);
  tuner->~FileDigitalTuner();
  OmbrixHalMemoryFree(tuner);
}

constexpr OmbrixHalTunerOperations kFileDigitalOperations = {
    .Destroy = OmbrixHalTunerFileDigitalDestroy,
    .SetParameter = OmbrixHalTunerFileDigitalSetParameter,
    .GetParameter = OmbrixHalTunerFileDigitalGetParameter,
    .GetType = OmbrixHalTunerFileDigitalGetType,
    .GetStatus = OmbrixHalTunerFileDigitalGetStatus,
    .Receive = OmbrixHalTunerFileDigitalReceive,
    .RegisterPacketHandler = OmbrixHalTunerFileDigitalRegisterPacketHandler,
    .UnregisterPacketHandler = OmbrixHalTunerFileDigitalUnregisterPacketHandler,
    .GetSignalStrength = OmbrixHalTunerFileDigitalGetSignalStrength,
    .GetSignalQuality = OmbrixHalTunerFileDigitalGetSignalQuality,
    .SetAccessCode = nullptr,
    .GetVersionNumber = nullptr,
};

}  // namespace

OmbrixHalTunerHandle OmbrixHalTunerFileDigitalCreate(void) noexcept {
  void* memory = OmbrixHalMemoryAllocate(sizeof(FileDigitalTuner));
  if (memory == nullptr) {
    return nullptr;
  }
  auto* tuner = new (memory) FileDigitalTuner{};
  tuner->Buffer = static_cast<uint8_t*>(OmbrixHalMemoryAllocate(kChunkSize));
  tuner->PidMasks = static_cast<uint64_t*>(OmbrixHalMemoryAllocate(kPidCount * sizeof(uint64_t)));
  if (tuner->Buffer == nullptr || tuner->PidMasks == nullptr) {
    freeTuner(tuner);
    return nullptr;
  }
  ombrixhal::initTunerHead(tuner->head, kFileDigitalOperations, OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);
  tuner->head.ReceivePackets = receivePackets;
  tuner->head.SetHandlerPid = setHandlerPid;
  std::fill_n(tuner->PidMasks, kPidCount, uint64_t{0});
  tuner->PaceGate = OmbrixHalCriticalSectionCreate();
  if (!ombrixhal::createDeliveryLock(tuner->head) || tuner->PaceGate == nullptr) {
    OmbrixHalCriticalSectionDestroy(tuner->head.DeliveryLock);
    OmbrixHalCriticalSectionDestroy(tuner->PaceGate);
    freeTuner(tuner);
    return nullptr;
  }
  ombrixhal::startPacingThread(*tuner, pace, kPacingThreadPriority);
  return &tuner->head;
}

OmbrixHalBool OmbrixHalTunerFileDigitalDestroy(OmbrixHalTunerHandle This) noexcept {
  FileDigitalTuner* tuner = tunerOf(This, kDestroyName);
  if (tuner == nullptr) {
    return 0;
  }
  ombrixhal::stopPacingThread(*tuner);
  if (tuner->Thread != nullptr) {
    // Kept: this platform cannot destroy a thread, which warns; the thread has ended anyway.
    OmbrixHalThreadDestroy(tuner->Thread);
    tuner->Thread = nullptr;
  }
  if (tuner->File != nullptr) {
    OmbrixHalFileClose(tuner->File);
    tuner->File = nullptr;
  }
  ombrixhal::closeTunerHead(tuner->head);
  const bool stateLockDestroyed = OmbrixHalCriticalSectionDestroy(tuner->head.DeliveryLock) != 0;
  const bool paceGateDestroyed = OmbrixHalCriticalSectionDestroy(tuner->PaceGate) != 0;
  if (!stateLockDestroyed || !paceGateDestroyed) {
    return 0;
  }
  freeTuner(tuner);
  return 1;
}

OmbrixHalBool OmbrixHalTunerFileDigitalSetParameter(OmbrixHalTunerHandle This,
                                                    const OmbrixHalTunerParameter* aTunerParameter) noexcept {
  FileDigitalTuner* tuner = tunerOf(This, kSetParameterName);
  if (tuner == nullptr) {
    return 0;
  }
  if (!ombrixhal::isRecordOfType(aTunerParameter, OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE, kSetParameterName)) {
    return 0;
  }
  // The thread is held for the whole change: it finishes its cycle on the old play first.
  ombrixhal::holdPaceGate(*tuner);
  ombrixhal::holdTuner(&tuner->head);
  tuner->RepetitionsDone = 0;
  tuner->Paced = 0;
  if (tuner->File != nullptr) {
    OmbrixHalFileClose(tuner->File);
    tuner->File = nullptr;
  }
  tuner->BytesLeft = 0;
  tuner->head.Parameter = *aTunerParameter;
  OmbrixHalTunerParameterDigitalFile& record = tuner->head.Parameter.DigitalFile;
  record.Name[sizeof record.Name - 1] = '\0';
  if (record.SymbolRate != 0) {
    tuner->Paced = 1;
    setPace(*tuner, record.SymbolRate);
  }
  tuner->File = OmbrixHalFileOpen(record.Name, kFileMode);
  // Kept: a file without sync stays open.
  const bool playing = tuner->File != nullptr && synchronise(*tuner);
  const bool paced = playing && tuner->Paced;
  ombrixhal::releaseTuner(&tuner->head);
  if (paced) {
    ombrixhal::releasePaceGate(*tuner);
  }
  return playing ? 1 : 0;
}

OmbrixHalBool OmbrixHalTunerFileDigitalGetParameter(OmbrixHalTunerHandle This, OmbrixHalTunerParameter* aTunerParameter,
                                                   void* aReserved) noexcept {
  static_cast<void>(aReserved);
  return ombrixhal::copyParameterOut<FileDigitalTuner>(This, aTunerParameter, kGetParameterName);
}

OmbrixHalTunerType OmbrixHalTunerFileDigitalGetType(OmbrixHalTunerHandle This) noexcept {
  return ombrixhal::fileTunerType<FileDigitalTuner>(This, kGetTypeName);
}

OmbrixHalTunerStatus OmbrixHalTunerFileDigitalGetStatus(OmbrixHalTunerHandle This) noexcept {
  FileDigitalTuner* tuner = tunerOf(This, kGetStatusName);
  if (tuner == nullptr) {
    return OMBRIX_HAL_TUNER_STATUS_UNKNOWN;
  }
  TunerHold hold(&tuner->head);
  return statusOf(*tuner);
}

OmbrixHalBool OmbrixHalTunerFileDigitalReceive(OmbrixHalTunerHandle This) noexcept {
  FileDigitalTuner* tuner = tunerOf(This, kReceiveName);
  return tuner != nullptr && receive(*tuner, 1) == 1 ? 1 : 0;
}

OmbrixHalBool OmbrixHalTunerFileDigitalRegisterPacketHandler(OmbrixHalTunerHandle This,
                                                             OmbrixHalTunerPacketHandler aHandler,
                                                             void* aContext) noexcept {
  FileDigitalTuner* tuner = tunerOf(This, kRegisterName);
  // A NULL context would mark the entry free again.
  if (tuner == nullptr || aHandler == nullptr || aContext == nullptr) {
    return 0;
  }
  TunerHold hold(&tuner->head);
  const uint64_t free = ~tuner->Occupied;
  if (free == 0) {
    return 0;
  }
  const int entry = std::countr_zero(free);
  tuner->Handlers[entry] = {aHandler, aContext};
  tuner->Occupied |= uint64_t{1} << entry;
  indexEntry(*tuner, entry, OMBRIX_HAL_FILTER_PID_ALL);
  return 1;
}

OmbrixHalBool OmbrixHalTunerFileDigitalUnregisterPacketHandler(OmbrixHalTunerHandle This, void* aContext,
                                                               void* aReserved) noexcept {
  static_cast<void>(aReserved);
  FileDigitalTuner* tuner = tunerOf(This, kUnregisterName);
  if (tuner == nullptr || aContext == nullptr) {
    return 0;
  }
  TunerHold hold(&tuner->head);
  for (uint64_t pending = tuner->Occupied; pending != 0; pending &= pending - 1) {
    const int entry = std::countr_zero(pending);
    if (tuner->Handlers[entry].context == aContext) {
      unindexEntry(*tuner, entry);
      tuner->Handlers[entry] = {};
      tuner->Occupied &= ~(uint64_t{1} << entry);
      return 1;
    }
  }
  return 0;
}

namespace {

void setHandlerPid(OmbrixHalTunerHandle aThis, void* aContext, uint32_t aPid) noexcept {
  FileDigitalTuner& tuner = *asFileDigitalTuner(aThis);
  TunerHold hold(&tuner.head);
  for (uint64_t pending = tuner.Occupied; pending != 0; pending &= pending - 1) {
    const int entry = std::countr_zero(pending);
    if (tuner.Handlers[entry].context == aContext) {
      unindexEntry(tuner, entry);
      indexEntry(tuner, entry, aPid);
    }
  }
}

}  // namespace

uint32_t OmbrixHalTunerFileDigitalGetSignalStrength(OmbrixHalTunerHandle This) noexcept {
  return signalOf(This, kGetSignalStrengthName);
}

uint32_t OmbrixHalTunerFileDigitalGetSignalQuality(OmbrixHalTunerHandle This) noexcept {
  return signalOf(This, kGetSignalQualityName);
}
