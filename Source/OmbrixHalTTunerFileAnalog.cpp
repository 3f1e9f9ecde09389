// The file analog tuner: 64-byte line records read from a file and handed to up to 10 packet
// handlers, a field per cycle of its pacing thread or a record per Receive.
#include <atomic>
#include <new>

#include "OmbrixHalClock.h"
#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalFile.h"
#include "OmbrixHalFilter.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTFileTuner.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerHead.h"
#include "OmbrixHalThread.h"
#include "OmbrixHalTunerFileAnalog.h"

namespace {

constexpr const char* kDestroyName = "OmbrixHalTunerFileAnalogDestroy";
constexpr const char* kSetParameterName = "OmbrixHalTunerFileAnalogSetParameter";
constexpr const char* kGetParameterName = "OmbrixHalTunerFileAnalogGetParameter";
constexpr const char* kGetTypeName = "OmbrixHalTunerFileAnalogGetType";
constexpr const char* kGetStatusName = "OmbrixHalTunerFileAnalogGetStatus";
constexpr const char* kReceiveName = "OmbrixHalTunerFileAnalogReceive";
constexpr const char* kRegisterName = "OmbrixHalTunerFileAnalogRegisterPacketHandler";
constexpr const char* kUnregisterName = "OmbrixHalTunerFileAnalogUnregisterPacketHandler";
constexpr const char* kFileMode = "rb";

constexpr uint32_t kRecordSize = OMBRIX_HAL_TUNER_FILE_ANALOG_RECORD_SIZE;
constexpr uint32_t kHandlerCount = OMBRIX_HAL_TUNER_FILE_ANALOG_HANDLER_COUNT;
constexpr uint32_t kFirstLineOfField1 = 263;
constexpr uint32_t kPacingThreadPriority = 7;
constexpr uint32_t kTickWrapMs = 1000;  // the field's wait is measured within one second
constexpr int32_t kSeekStart = 0;
constexpr int32_t kSeekCurrent = 1;
constexpr int32_t kSeekEnd = 2;

using ombrixhal::FileTunerHandlerEntry;
using ombrixhal::TunerHold;

struct FileAnalogTuner {
  OmbrixHalTunerHead head;
  uint16_t RepetitionsDone;
  OmbrixHalFileHandle File;
  FileTunerHandlerEntry Handlers[kHandlerCount];
  uint32_t CurrentField;  // 0 (none yet), 1 or 2: the field of the last record read
  OmbrixHalCriticalSectionHandle PaceGate;  // held while no paced play is active
  ombrixhal::Relaxed<uint32_t> Paced;  // read by Receive before it waits for the hold
  ombrixhal::Relaxed<uint32_t> Running;
  std::atomic<uint32_t> ThreadFinished;  // released last by the thread: Destroy frees after it
  OmbrixHalThreadHandle Thread;
  bool GateHeld;  // the application side holds PaceGate
};

FileAnalogTuner* tunerOf(OmbrixHalTunerHandle aThis, const char* functionName) noexcept {
  return ombrixhal::fileTunerOf<FileAnalogTuner>(aThis, functionName);
}

// Under the tuner's hold.
OmbrixHalTunerStatus statusOf(const FileAnalogTuner& tuner) noexcept {
  return ombrixhal::fileStatus(tuner.File, tuner.RepetitionsDone, tuner.head.Parameter.AnalogFile.Repetitions);
}

// Kept as the line is tagged: the formula reaches 0 to 255 plus multiples of 512, so field 1
// lines are written from 512 on.
uint32_t fieldOf(const uint8_t* record) noexcept {
  const uint32_t line = record[0] + ((record[1] & 0x06u) << 8);
  return line < kFirstLineOfField1 ? 2 : 1;
}

// Free entries too: the reset ignores NULL and anything that is not a live filter.
void resetFilters(const FileAnalogTuner& tuner) noexcept {
  for (const FileTunerHandlerEntry& entry : tuner.Handlers) {
    OmbrixHalFilterReset(static_cast<OmbrixHalFilterHandle>(entry.context));
  }
}

// At the end of the file: back to its start for another pass, or to its end when the
// repetitions are used up, so that every later read comes short.
void rewind(FileAnalogTuner& tuner) noexcept {
  const uint16_t repetitions = tuner.head.Parameter.AnalogFile.Repetitions;
  if (repetitions != 0) {
    if (tuner.RepetitionsDone < repetitions) {
      ++tuner.RepetitionsDone;
    }
    if (tuner.RepetitionsDone == repetitions) {
      OmbrixHalFileSeek(tuner.File, 0, kSeekEnd);
      return;
    }
  }
  OmbrixHalFileSeek(tuner.File, 0, kSeekStart);
  resetFilters(tuner);
}

bool readRecord(FileAnalogTuner& tuner, uint8_t (&record)[kRecordSize]) noexcept {
  return OmbrixHalFileRead(tuner.File, record, kRecordSize) == kRecordSize;
}

// On the delivering thread, which holds the tuner.
void dispatch(FileAnalogTuner& tuner, const uint8_t* record) noexcept {
  // A handler may unregister itself or another: each entry is read just before its call.
  for (const FileTunerHandlerEntry& entry : tuner.Handlers) {
    const FileTunerHandlerEntry current = entry;
    if (current.context != nullptr) {
      current.handler(nullptr, record, kRecordSize, current.context);
    }
  }
}

// Under the tuner's hold: the records of one field; the first record of the next field is left for
// the next cycle.
void playField(FileAnalogTuner& tuner) noexcept {
  uint8_t record[kRecordSize];
  while (true) {
    if (!readRecord(tuner, record)) {
      // The bytes of a partial record at the end are lost with the pass.
      rewind(tuner);
      tuner.CurrentField = 0;
      return;
    }
    const uint32_t field = fieldOf(record);
    const bool sameField = tuner.CurrentField == 0 || tuner.CurrentField == field;
    tuner.CurrentField = field;
    if (!sameField) {
      OmbrixHalFileSeek(tuner.File, -static_cast<int32_t>(kRecordSize), kSeekCurrent);
      return;
    }
    dispatch(tuner, record);
  }
}

// Under the tuner's hold: out the rest of the field's interval from `startMs`, measured on the tick
// count modulo one second, so an interval of 1000 ms or more never runs out. Destroy may cut
// the wait short; nothing else does.
void waitOutField(const FileAnalogTuner& tuner, uint32_t startMs) noexcept {
  const int32_t intervalMs = tuner.head.Parameter.AnalogFile.FieldInterval;
  while (tuner.Running) {
    uint32_t nowMs = OmbrixHalClockGetTicks() % kTickWrapMs;
    if (nowMs < startMs) {
      nowMs += kTickWrapMs;
    }
    const int32_t remainingMs = intervalMs - static_cast<int32_t>(nowMs - startMs);
    if (remainingMs <= 0) {
      return;
    }
    if (remainingMs > 1) {
      OmbrixHalThreadSleep(1);
    }
  }
}

uint32_t pace(void* aParameter) {
  FileAnalogTuner& tuner = *static_cast<FileAnalogTuner*>(aParameter);
  while (tuner.Running) {
    OmbrixHalCriticalSectionEnter(tuner.PaceGate);
    ombrixhal::holdTuner(&tuner.head);
    const bool running = tuner.Running;
    if (running) {
      const uint32_t startMs = OmbrixHalClockGetTicks() % kTickWrapMs;
      playField(tuner);
      waitOutField(tuner, startMs);
    }
    ombrixhal::releaseTuner(&tuner.head);
    OmbrixHalCriticalSectionLeave(tuner.PaceGate);
    if (!running) {
      break;
    }
  }
  tuner.ThreadFinished.store(1, std::memory_order_release);
  return 0;
}

void freeTuner(FileAnalogTuner* tuner) noexcept {
  tuner->~FileAnalogTuner();
  OmbrixHalMemoryFree(tuner);
}

constexpr OmbrixHalTunerOperations kFileAnalogOperations = {
    .Destroy = OmbrixHalTunerFileAnalogDestroy,
    .SetParameter = OmbrixHalTunerFileAnalogSetParameter,
    .GetParameter = OmbrixHalTunerFileAnalogGetParameter,
    .GetType = OmbrixHalTunerFileAnalogGetType,
    .GetStatus = OmbrixHalTunerFileAnalogGetStatus,
    .Receive = OmbrixHalTunerFileAnalogReceive,
    .RegisterPacketHandler = OmbrixHalTunerFileAnalogRegisterPacketHandler,
    .UnregisterPacketHandler = OmbrixHalTunerFileAnalogUnregisterPacketHandler,
    .GetSignalStrength = nullptr,  // a file has no signal: the front says "Function not supported"
    .GetSignalQuality = nullptr,
    .SetAccessCode = nullptr,
    .GetVersionNumber = nullptr,
};

}  // namespace

OmbrixHalTunerHandle OmbrixHalTunerFileAnalogCreate(void) noexcept {
  void* memory = OmbrixHalMemoryAllocate(sizeof(FileAnalogTuner));
  if (memory == nullptr) {
    return nullptr;
  }
  auto* tuner = new (memory) FileAnalogTuner{};
  ombrixhal::initTunerHead(tuner->head, kFileAnalogOperations, OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE);
  tuner->PaceGate = OmbrixHalCriticalSectionCreate();
  if (tuner->PaceGate == nullptr || !ombrixhal::createDeliveryLock(tuner->head)) {
    OmbrixHalCriticalSectionDestroy(tuner->PaceGate);
    OmbrixHalCriticalSectionDestroy(tuner->head.DeliveryLock);
    freeTuner(tuner);
    return nullptr;
  }
  ombrixhal::startPacingThread(*tuner, pace, kPacingThreadPriority);
  return &tuner->head;
}

OmbrixHalBool OmbrixHalTunerFileAnalogDestroy(OmbrixHalTunerHandle This) noexcept {
  FileAnalogTuner* tuner = tunerOf(This, kDestroyName);
  if (tuner == nullptr) {
    return 0;
  }
  ombrixhal::stopPacingThread(*tuner);
  OmbrixHalFileHandle file = tuner->File;
  if (file != nullptr) {
    OmbrixHalFileClose(file);
  }
  if (tuner->Thread != nullptr) {
    // Kept: this platform cannot destroy a thread, which warns; the thread has ended anyway.
    OmbrixHalThreadDestroy(tuner->Thread);
    tuner->Thread = nullptr;
  }
  // Kept: the same handle is closed a second time; the file layer ignores a handle it no
  // longer knows.
  if (file != nullptr) {
    OmbrixHalFileClose(file);
  }
  tuner->File = nullptr;
  ombrixhal::closeTunerHead(tuner->head);
  const bool paceGateDestroyed = OmbrixHalCriticalSectionDestroy(tuner->PaceGate) != 0;
  const bool stateLockDestroyed = OmbrixHalCriticalSectionDestroy(tuner->head.DeliveryLock) != 0;
  if (!paceGateDestroyed || !stateLockDestroyed) {
    return 0;
  }
  freeTuner(tuner);
  return 1;
}

OmbrixHalBool OmbrixHalTunerFileAnalogSetParameter(OmbrixHalTunerHandle This,
                                                   const OmbrixHalTunerParameter* aTunerParameter) noexcept {
  FileAnalogTuner* tuner = tunerOf(This, kSetParameterName);
  if (tuner == nullptr) {
    return 0;
  }
  if (!ombrixhal::isRecordOfType(aTunerParameter, OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE, kSetParameterName)) {
    return 0;
  }
  // The thread is held for the whole change: it finishes the field it plays first.
  ombrixhal::holdPaceGate(*tuner);
  TunerHold hold(&tuner->head);
  if (tuner->File != nullptr) {
    OmbrixHalFileClose(tuner->File);
    tuner->File = nullptr;
  }
  tuner->head.Parameter = *aTunerParameter;
  OmbrixHalTunerParameterAnalogFile& record = tuner->head.Parameter.AnalogFile;
  record.Name[sizeof record.Name - 1] = '\0';
  tuner->Paced = record.FieldInterval != 0 ? 1 : 0;
  tuner->File = OmbrixHalFileOpen(record.Name, kFileMode);
  if (tuner->File == nullptr) {
    tuner->Paced = 0;
    return 0;
  }
  tuner->RepetitionsDone = 0;
  resetFilters(*tuner);
  tuner->CurrentField = 0;
  // The thread starts once the hold ends: it waits for it anyway.
  if (tuner->Paced) {
    ombrixhal::releasePaceGate(*tuner);
  }
  return 1;
}

OmbrixHalBool OmbrixHalTunerFileAnalogGetParameter(OmbrixHalTunerHandle This, OmbrixHalTunerParameter* aTunerParameter,
                                                   void* aReserved) noexcept {
  static_cast<void>(aReserved);
  return ombrixhal::copyParameterOut<FileAnalogTuner>(This, aTunerParameter, kGetParameterName);
}

OmbrixHalTunerType OmbrixHalTunerFileAnalogGetType(OmbrixHalTunerHandle This) noexcept {
  return ombrixhal::fileTunerType<FileAnalogTuner>(This, kGetTypeName);
}

OmbrixHalTunerStatus OmbrixHalTunerFileAnalogGetStatus(OmbrixHalTunerHandle This) noexcept {
  FileAnalogTuner* tuner = tunerOf(This, kGetStatusName);
  if (tuner == nullptr) {
    return OMBRIX_HAL_TUNER_STATUS_UNKNOWN;
  }
  TunerHold hold(&tuner->head);
  return statusOf(*tuner);
}

OmbrixHalBool OmbrixHalTunerFileAnalogReceive(OmbrixHalTunerHandle This) noexcept {
  FileAnalogTuner* tuner = tunerOf(This, kReceiveName);
  // A handler pulling from its own tuner would overwrite the record it is being given. While
  // paced, the thread holds the tuner for a whole field: refuse without waiting for it.
  if (tuner == nullptr || ombrixhal::holdsTuner(tuner->head) || tuner->Paced) {
    return 0;
  }
  TunerHold hold(&tuner->head);
  // Kept: the status is asked but never refuses (it is never 0); the end of the play shows in
  // the reads. Without a file there is nothing to read.
  OmbrixHalBool delivered = 0;
  if (!tuner->Paced && tuner->File != nullptr && statusOf(*tuner) != 0) {
    uint8_t record[kRecordSize];
    bool haveRecord = readRecord(*tuner, record);
    if (!haveRecord) {
      rewind(*tuner);
      haveRecord = readRecord(*tuner, record);
    }
    if (haveRecord) {
      dispatch(*tuner, record);
      delivered = 1;
    }
  }
  return delivered;
}

OmbrixHalBool OmbrixHalTunerFileAnalogRegisterPacketHandler(OmbrixHalTunerHandle This,
                                                            OmbrixHalTunerPacketHandler aHandler,
                                                            void* aContext) noexcept {
  FileAnalogTuner* tuner = tunerOf(This, kRegisterName);
  // A NULL context would mark the entry free again.
  if (tuner == nullptr || aHandler == nullptr || aContext == nullptr) {
    return 0;
  }
  TunerHold hold(&tuner->head);
  for (FileTunerHandlerEntry& entry : tuner->Handlers) {
    if (entry.context == nullptr) {
      entry = {aHandler, aContext};
      return 1;
    }
  }
  return 0;
}

OmbrixHalBool OmbrixHalTunerFileAnalogUnregisterPacketHandler(OmbrixHalTunerHandle This, void* aContext,
                                                              void* aReserved) noexcept {
  static_cast<void>(aReserved);
  FileAnalogTuner* tuner = tunerOf(This, kUnregisterName);
  if (tuner == nullptr || aContext == nullptr) {
    return 0;
  }
  TunerHold hold(&tuner->head);
  for (FileTunerHandlerEntry& entry : tuner->Handlers) {
    if (entry.context == aContext) {
      entry = {};
      return 1;
    }
  }
  return 0;
}
