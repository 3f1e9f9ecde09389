// The DVB-T tuner: the receiver driven through its driver library (and the TS reader library
// when the library search finds it), tuned by frequency and bandwidth, delivering each packet of
// the driver's buffers to the handler of its PID on the driver's thread.
#include "OmbrixHalTTunerDvbT.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <span>

#include "DibDriverLibrary.h"
#include "OmbrixHalConsole.h"
#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTLibrary.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerHead.h"
#include "OmbrixHalTunerDvbT.h"

namespace {

using ombrixhal::TunerHold;

constexpr const char* kDestroyName = "OmbrixHalTunerDvbTDestroy";
constexpr const char* kSetParameterName = "OmbrixHalTunerDvbTSetParameter";
constexpr const char* kGetParameterName = "OmbrixHalTunerDvbTGetParameter";
constexpr const char* kGetTypeName = "OmbrixHalTunerDvbTGetType";
constexpr const char* kGetStatusName = "OmbrixHalTunerDvbTGetStatus";
constexpr const char* kReceiveName = "OmbrixHalTunerDvbTReceive";
constexpr const char* kRegisterName = "OmbrixHalTunerDvbTRegisterPacketHandler";
constexpr const char* kUnregisterName = "OmbrixHalTunerDvbTUnregisterPacketHandler";
constexpr const char* kGetSignalStrengthName = "OmbrixHalTunerDvbTGetSignalStrength";
constexpr const char* kGetSignalQualityName = "OmbrixHalTunerDvbTGetSignalQuality";
constexpr const char* kGetMonitoringName = "OmbrixHalTunerDvbTGetMonitoring";
constexpr const char* kAddPidName = "OmbrixHalTunerDvbTAddPid";
constexpr const char* kRemovePidName = "OmbrixHalTunerDvbTRemovePid";
constexpr const char* kSynchronizeName = "OmbrixHalTunerDvbTSynchronize";
constexpr const char* kGetHandleName = "OmbrixHalTunerDvbTGetHandle";

constexpr const char* kTunerParameterName = "aTunerParameter";
constexpr const char* kMonitoringName = "aMonitoring";
constexpr const char* kHandlerName = "aHandler";
constexpr uint32_t kLogTypeMismatch = 0x1008;  // "Tuner type and parameter type do not match"

// Console lines, not log lines.
constexpr const char* kFirmwareVersion = "DiBcom Firmware Version: %d.%02d\n";
constexpr const char* kDriverVersion = "DiBcom Driver Version: %s\n";
constexpr const char* kTunerType = "DiBcom tuner type 9090\n";
constexpr const char* kGettingChannel = "**DibGetChannel\n";
constexpr const char* kCreateTsReaderFailed = "DibCreateTSReader Failed\n";
constexpr const char* kRegisterBufferFailed = "DibRegisterBuffer %d Failed\n";
constexpr const char* kUnregisteringBuffer = "**DibUnregisterBuffer\n";
constexpr const char* kVersionFormat = "%d.%d.%d";

constexpr uint32_t kPidCount = OMBRIX_HAL_TUNER_DVB_T_PID_COUNT;
constexpr uint32_t kPidSpace = 0x2000;  // 13-bit PIDs
constexpr uint32_t kFreeEntry = 0x80000000u;
constexpr uint32_t kWholeBuffer = OMBRIX_HAL_TUNER_DVB_T_PID_WHOLE_BUFFER;
constexpr uint32_t kNoHandler = OMBRIX_HAL_TUNER_DVB_T_PID_NO_HANDLER;
constexpr uint32_t kAllPids = OMBRIX_HAL_TUNER_DVB_T_PID_ALL;
constexpr uint32_t kPacketSize = DIB_PACKET_SIZE;
constexpr uint32_t kBufferSize = DIB_BUFFER_SIZE;
constexpr uint32_t kBufferCount = 2;
constexpr uint8_t kNone = ombrixhal::kNoDriverObject;

// What the driver is told.
constexpr uint32_t kBoard = 7;
constexpr uint32_t kTsReaderBuffers = 10;
constexpr uint32_t kPacketFilterKind = 2;
constexpr uint32_t kDvbTStandard = 129;
constexpr int32_t kDetect = -1;
constexpr uint8_t kLocked = 1;
constexpr uint32_t kMonitoringEntries = 2;
// The driver's notices without data.
constexpr uint32_t kEventIgnored1 = 1;
constexpr uint32_t kEventIgnored3 = 3;

constexpr uint32_t kGainRange = 65535;
constexpr uint32_t kDriverValueDivisor = 100000000;
constexpr int32_t kUnknownPowerRatio = -100;

static_assert(kBufferSize == 256 * kPacketSize);
static_assert(sizeof(OmbrixHalTunerDvbTMonitoring) == 24);

struct PidEntry {
  uint32_t Pid;  // kFreeEntry, or a PID with its flags
  OmbrixHalTunerPacketHandler Handler;
  void* Context;
};

struct DvbTTuner {
  OmbrixHalTunerHead head;  // its DeliveryLock guards the PID entries against the buffer callback
  DibDriverHandle DriverHandle;
  DibFilterDescription FilterDescription;
  uint8_t* Buffers[kBufferCount];
  ombrixhal::Relaxed<uint8_t> FilterId;  // read by the callback as it gives a buffer back
  DibPidItem PidItems[kPidCount];
  PidEntry PidEntries[kPidCount];
  // The first entry of each PID, for the per-packet dispatch: its index + 1, or 0 for none. Kept
  // with the entries, under the tuner's hold.
  uint8_t FirstEntryOfPid[kPidSpace];
  uint8_t PidItemIds[kPidCount];
  uint32_t PidCount;
  uint32_t Tuned;
  uint8_t ChannelHandle;
  OmbrixHalTunerDvbTMonitoring Monitoring;
  bool TsReaderMode;  // the reader delivers from buffers of its own
  // Set by Destroy before the driver is closed: a callback under way gives no buffer back.
  ombrixhal::Relaxed<bool> Closing;
};

// One DVB-T tuner at a time, and what it found of the TS reader library.
std::atomic<bool> instanceExists{false};
char driverVersion[16] = "";
struct TsReaderLibrary {
  void* library;
  DibOpenTSReaderFunction open;
  DibCloseTSReaderFunction close;
  DibCreateTSReaderFunction create;
  DibDeleteTSReaderFunction remove;
} tsReader{};

template <typename Function>
Function entryPoint(const char* name) noexcept {
  return reinterpret_cast<Function>(ombrixhal::findLibrarySymbol(tsReader.library, name));
}

void loadTsReader() noexcept {
  tsReader.library = ombrixhal::loadTsReaderLibrary();
  tsReader.open = entryPoint<DibOpenTSReaderFunction>("DibOpenTSReader");
  tsReader.close = entryPoint<DibCloseTSReaderFunction>("DibCloseTSReader");
  tsReader.create = entryPoint<DibCreateTSReaderFunction>("DibCreateTSReader");
  tsReader.remove = entryPoint<DibDeleteTSReaderFunction>("DibDeleteTSReader");
}

void unloadTsReader() noexcept {
  ombrixhal::unloadLibrary(tsReader.library);
  tsReader = {};
}

// A driver value and the record's value for it.
struct ValueMapping {
  int32_t driver;
  int32_t record;
};
constexpr ValueMapping kBandwidths[] = {{60, OMBRIX_HAL_TUNER_BANDWIDTH_6_MHZ},
                                        {70, OMBRIX_HAL_TUNER_BANDWIDTH_7_MHZ},
                                        {80, OMBRIX_HAL_TUNER_BANDWIDTH_8_MHZ}};
constexpr ValueMapping kGuardIntervals[] = {{0, OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_32},
                                            {1, OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_16},
                                            {2, OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_8},
                                            {3, OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_4}};
constexpr ValueMapping kConstellations[] = {{0, OMBRIX_HAL_TUNER_MODULATION_QPSK},
                                            {1, OMBRIX_HAL_TUNER_MODULATION_QAM_16},
                                            {2, OMBRIX_HAL_TUNER_MODULATION_QAM_64}};
constexpr ValueMapping kCodeRates[] = {{1, OMBRIX_HAL_TUNER_CODE_RATE_1_2},
                                       {2, OMBRIX_HAL_TUNER_CODE_RATE_2_3},
                                       {3, OMBRIX_HAL_TUNER_CODE_RATE_3_4},
                                       {5, OMBRIX_HAL_TUNER_CODE_RATE_5_6},
                                       {7, OMBRIX_HAL_TUNER_CODE_RATE_7_8}};
constexpr ValueMapping kTransmissionModes[] = {{0, OMBRIX_HAL_TUNER_TRANSMISSION_MODE_2K},
                                               {1, OMBRIX_HAL_TUNER_TRANSMISSION_MODE_8K},
                                               {2, OMBRIX_HAL_TUNER_TRANSMISSION_MODE_4K}};

// The record's field takes the driver's value when the table knows it, else stays as it was.
void detected(int32_t driverValue, std::span<const ValueMapping> table, int32_t& field) noexcept {
  for (const ValueMapping& mapping : table) {
    if (mapping.driver == driverValue) {
      field = mapping.record;
      return;
    }
  }
}

// The driver's bandwidth for the record's: 0 for any other than 6, 7 or 8 MHz.
uint32_t requestedBandwidth(int32_t bandwidth) noexcept {
  for (const ValueMapping& mapping : kBandwidths) {
    if (mapping.record == bandwidth) {
      return static_cast<uint32_t>(mapping.driver);
    }
  }
  return 0;
}

DvbTTuner* asDvbTTuner(OmbrixHalTunerHandle aThis) noexcept { return ombrixhal::tunerKindOf<DvbTTuner>(aThis); }

// The kind behind the handle given to one of its exports: NULL is logged, another kind refused.
DvbTTuner* tunerOf(OmbrixHalTunerHandle aThis, const char* functionName) noexcept {
  if (!ombrixhal::isGiven(aThis, functionName, "This") || aThis->ParameterType != OMBRIX_HAL_TUNER_TYPE_DVB_T) {
    return nullptr;
  }
  return asDvbTTuner(aThis);
}

bool isFree(const PidEntry& entry) noexcept { return entry.Pid == kFreeEntry; }

// After an entry of aPid changed. An entry with flags never matches a packet.
void indexPid(DvbTTuner& tuner, uint32_t aPid) noexcept {
  if (aPid >= kPidSpace) {
    return;
  }
  uint8_t first = 0;
  for (uint32_t index = kPidCount; index-- > 0;) {
    first = tuner.PidEntries[index].Pid == aPid ? static_cast<uint8_t>(index + 1) : first;
  }
  tuner.FirstEntryOfPid[aPid] = first;
}

void freeEntry(DvbTTuner& tuner, PidEntry& entry) noexcept {
  const uint32_t pid = entry.Pid;
  entry = {kFreeEntry, nullptr, nullptr};
  indexPid(tuner, pid);
  --tuner.PidCount;
}

// Under the tuner's hold: the entry's PID taken from the driver's filter, then the entry freed.
bool removeEntry(DvbTTuner& tuner, uint32_t index) noexcept {
  if (DibRemoveFromFilter(tuner.DriverHandle, tuner.PidItemIds[index]) != 0) {
    return false;
  }
  freeEntry(tuner, tuner.PidEntries[index]);
  return true;
}

// The driver's buffer callback, on its thread. The lock is taken per packet, never across the
// buffer, so that a control call waits for one packet's delivery at most.
void deliverBuffer(void* aContext, const DibBufferInfo* aInfo, uint32_t aEvent) noexcept {
  if (aEvent == kEventIgnored1 || aEvent == kEventIgnored3) {
    return;
  }
  DvbTTuner& tuner = *static_cast<DvbTTuner*>(aContext);
  const int32_t bytes = aInfo->DataSize;
  uint8_t* const data = aInfo->Data;
  {
    TunerHold hold(&tuner.head);
    for (const PidEntry& entry : tuner.PidEntries) {
      if ((entry.Pid & kWholeBuffer) != 0 && entry.Handler != nullptr) {
        entry.Handler(&tuner.head, data, static_cast<uint32_t>(bytes), entry.Context);
      }
    }
  }
  const int32_t packets = bytes / static_cast<int32_t>(kPacketSize);
  for (int32_t index = 0; index < packets; ++index) {
    const uint8_t* packet = data + index * kPacketSize;
    const uint32_t pid = (packet[1] & 0x1fu) << 8 | packet[2];
    TunerHold hold(&tuner.head);
    // Only the first entry of the PID.
    if (const uint8_t first = tuner.FirstEntryOfPid[pid]; first != 0) {
      const PidEntry& entry = tuner.PidEntries[first - 1];
      entry.Handler(&tuner.head, packet, kPacketSize, entry.Context);
    }
  }
  if (!tuner.TsReaderMode && !tuner.Closing) {
    DibRegisterBuffer(tuner.DriverHandle, tuner.FilterId, data, kBufferSize, aInfo->BufferIndex);
  }
}

bool openDriver(DvbTTuner& tuner) noexcept {
  loadTsReader();
  tuner.TsReaderMode = tsReader.remove != nullptr;
  if (DibOpen(&tuner.DriverHandle, kBoard, 0) != 0) {
    tuner.DriverHandle = nullptr;
    return false;
  }
  if (tsReader.open != nullptr && tsReader.open(tuner.DriverHandle, kTsReaderBuffers) != 0) {
    return false;
  }
  tuner.ChannelHandle = kNone;
  tuner.FilterId = kNone;
  tuner.PidCount = 0;
  uint32_t info[3] = {};
  DibGetGlobalInfo(tuner.DriverHandle, info);
  std::snprintf(driverVersion, sizeof driverVersion, kVersionFormat, static_cast<int>(info[0] >> 16 & 0xfu),
                static_cast<int>(info[0] >> 8 & 0xffu), static_cast<int>(info[0] & 0xffu));
  OmbrixHalConsolePrint(kFirmwareVersion, static_cast<int>(info[2] >> 10), static_cast<int>(info[2] & 0x3ffu));
  OmbrixHalConsolePrint(kDriverVersion, driverVersion);
  OmbrixHalConsolePrint(kTunerType);
  if (!tuner.TsReaderMode) {
    for (uint8_t*& buffer : tuner.Buffers) {
      buffer = static_cast<uint8_t*>(OmbrixHalMemoryAllocate(kBufferSize));
      if (buffer == nullptr) {
        return false;
      }
    }
  }
  for (PidEntry& entry : tuner.PidEntries) {
    entry.Pid = kFreeEntry;
  }
  tuner.PidCount = 0;
  return true;
}

// Destroy, also of a tuner whose Create failed half way.
OmbrixHalBool destroyTuner(DvbTTuner* tuner) noexcept {
  if (tuner->DriverHandle != nullptr) {
    {
      // No handler is called from here on, though the driver may still be delivering.
      TunerHold hold(&tuner->head);
      tuner->Closing = true;
      for (PidEntry& entry : tuner->PidEntries) {
        entry.Pid = kFreeEntry;
      }
      std::memset(tuner->FirstEntryOfPid, 0, sizeof tuner->FirstEntryOfPid);
    }
    if (!tuner->TsReaderMode) {
      for (uint8_t* buffer : tuner->Buffers) {
        if (buffer != nullptr) {
          OmbrixHalConsolePrint(kUnregisteringBuffer);
          DibUnregisterBuffer(tuner->DriverHandle, tuner->FilterId, buffer);
        }
      }
      DibDeleteFilter(tuner->DriverHandle, tuner->FilterId);
    } else if (tsReader.close != nullptr) {
      tsReader.close(tuner->DriverHandle);
    }
    DibClose(tuner->DriverHandle);
  }
  // Only once the driver is closed: a callback that was under way may still read the buffers.
  for (uint8_t* buffer : tuner->Buffers) {
    if (buffer != nullptr) {
      OmbrixHalMemoryFree(buffer);
    }
  }
  unloadTsReader();
  if (tuner->head.DeliveryLock != nullptr) {
    OmbrixHalCriticalSectionDestroy(tuner->head.DeliveryLock);
  }
  tuner->~DvbTTuner();
  OmbrixHalMemoryFree(tuner);
  instanceExists = false;
  return 1;
}

// Asks the driver for the two monitoring entries and, when it answers, recomputes the block.
void queryMonitoring(DvbTTuner& tuner) noexcept {
  uint32_t count = kMonitoringEntries;
  DibSignalMonitoring entries[kMonitoringEntries] = {};
  if (DibGetSignalMonitoring(tuner.DriverHandle, tuner.ChannelHandle, &count, entries, 0, 0) != 0) {
    return;
  }
  OmbrixHalTunerDvbTMonitoring& monitoring = tuner.Monitoring;
  const DibSignalMonitoring& first = entries[0];
  // A gain beyond the range counts as its end.
  const uint32_t gain = std::min({entries[0].Gain, entries[1].Gain, kGainRange});
  monitoring.SignalStrength = static_cast<uint8_t>((kGainRange - gain) * 100 / kGainRange);
  monitoring.SignalQuality = first.Quality;
  monitoring.DriverValueQuotient = first.DriverValue / kDriverValueDivisor;
  monitoring.DriverValueRemainder = first.DriverValue % kDriverValueDivisor;
  if (first.NoisePower != 0 && first.SignalPower != 0) {
    // Each power in dB of its value over 2^32; the scale cancels, as it did on the device.
    const double scale = 320.0 * std::log10(2.0);
    const double ratio = (10.0 * std::log10(static_cast<double>(first.SignalPower)) - scale) -
                         (10.0 * std::log10(static_cast<double>(first.NoisePower)) - scale);
    monitoring.PowerRatioDb = static_cast<int32_t>(ratio);
    // The device's conversion to unsigned saturates: a ratio below 0 dB has no fraction.
    const double tenThousandths = ratio * 10000.0;
    monitoring.PowerRatioFraction = tenThousandths > 0 ? static_cast<uint32_t>(tenThousandths) % 10000 : 0;
  } else {
    monitoring.PowerRatioDb = kUnknownPowerRatio;
  }
  monitoring.DriverStatus = first.Status;
}

void tune(DvbTTuner& tuner) noexcept {
  OmbrixHalTunerDvbTRemovePid(&tuner.head, kAllPids);
  tuner.Monitoring = {};
  tuner.Monitoring.PowerRatioDb = kUnknownPowerRatio;
  OmbrixHalTunerParameterDvbT& record = tuner.head.Parameter.DvbT;
  DibChannelDescription channel{};
  channel.Standard = kDvbTStandard;
  channel.FrequencyKHz = record.Frequency;
  channel.Bandwidth = requestedBandwidth(record.Bandwidth);
  // Whatever the record asks, the driver detects the rest.
  channel.Reserved16 = kDetect;
  channel.TransmissionMode = kDetect;
  channel.GuardInterval = kDetect;
  channel.Constellation = kDetect;
  channel.Reserved40 = kDetect;
  channel.Reserved44 = kDetect;
  channel.Reserved48 = 1;
  channel.Reserved52 = kDetect;
  channel.CodeRate = kDetect;
  channel.Reserved60 = kDetect;
  tuner.Tuned = 0;
  if (tuner.ChannelHandle != kNone) {
    DibDeleteChannel(tuner.DriverHandle, tuner.ChannelHandle);
    tuner.ChannelHandle = kNone;
  }
  OmbrixHalConsolePrint(kGettingChannel);
  if (DibGetChannel(tuner.DriverHandle, 0, 0, 0, &channel, &tuner.ChannelHandle, 0, 0) != 0 ||
      channel.LockResult != kLocked) {
    return;
  }
  record.Frequency = channel.FrequencyKHz;
  detected(static_cast<int32_t>(channel.Bandwidth), kBandwidths, record.Bandwidth);
  detected(channel.GuardInterval, kGuardIntervals, record.GuardInterval);
  detected(channel.Constellation, kConstellations, record.Modulation);
  detected(channel.CodeRate, kCodeRates, record.CodeRate);
  detected(channel.TransmissionMode, kTransmissionModes, record.TransmissionMode);
  tuner.Tuned = 1;
}

// Under the tuner's hold: the driver's filter, made with the first PID. In TS reader mode the
// reader's failure is printed and the PID still tried.
bool makeFilter(DvbTTuner& tuner) noexcept {
  uint8_t filterId = kNone;
  if (tuner.TsReaderMode) {
    if (tsReader.create == nullptr ||
        tsReader.create(tuner.DriverHandle, tuner.ChannelHandle, &tuner.FilterDescription, &filterId) != 0) {
      OmbrixHalConsolePrint(kCreateTsReaderFailed);
    }
    tuner.FilterId = filterId;
    return true;
  }
  if (DibCreateFilter(tuner.DriverHandle, tuner.ChannelHandle, 0, &tuner.FilterDescription, &filterId) != 0) {
    return false;
  }
  tuner.FilterId = filterId;
  for (uint8_t index = 0; index < kBufferCount; ++index) {
    if (DibRegisterBuffer(tuner.DriverHandle, filterId, tuner.Buffers[index], kBufferSize, index) != 0) {
      OmbrixHalConsolePrint(kRegisterBufferFailed, static_cast<int>(index));
    }
  }
  return true;
}

uint32_t signalOf(OmbrixHalTunerHandle aThis, const char* functionName,
                  uint8_t OmbrixHalTunerDvbTMonitoring::*field) noexcept {
  DvbTTuner* tuner = tunerOf(aThis, functionName);
  if (tuner == nullptr) {
    return 0;
  }
  if (tuner->Tuned) {
    queryMonitoring(*tuner);
  }
  return tuner->Monitoring.*field;
}

// The three slots through which other tuners take handlers: packets of this one reach handlers
// only through AddPid.
OmbrixHalBool doNothing(OmbrixHalTunerHandle aThis, const char* functionName) noexcept {
  return tunerOf(aThis, functionName) != nullptr ? 1 : 0;
}

constexpr OmbrixHalTunerOperations kDvbTOperations = {
    .Destroy = OmbrixHalTunerDvbTDestroy,
    .SetParameter = OmbrixHalTunerDvbTSetParameter,
    .GetParameter = OmbrixHalTunerDvbTGetParameter,
    .GetType = OmbrixHalTunerDvbTGetType,
    .GetStatus = OmbrixHalTunerDvbTGetStatus,
    .Receive = OmbrixHalTunerDvbTReceive,
    .RegisterPacketHandler = OmbrixHalTunerDvbTRegisterPacketHandler,
    .UnregisterPacketHandler = OmbrixHalTunerDvbTUnregisterPacketHandler,
    .GetSignalStrength = OmbrixHalTunerDvbTGetSignalStrength,
    .GetSignalQuality = OmbrixHalTunerDvbTGetSignalQuality,
    .SetAccessCode = nullptr,
    .GetVersionNumber = nullptr,
};

}  // namespace

namespace ombrixhal {

uint8_t dvbTChannelOf(OmbrixHalTunerHandle aTuner) noexcept {
  if (aTuner == nullptr || aTuner->ParameterType != OMBRIX_HAL_TUNER_TYPE_DVB_T) {
    return kNoDriverObject;
  }
  return asDvbTTuner(aTuner)->ChannelHandle;
}

void removeDvbTPidsOf(OmbrixHalTunerHandle aTuner, void* aContext) noexcept {
  if (aTuner == nullptr || aTuner->ParameterType != OMBRIX_HAL_TUNER_TYPE_DVB_T) {
    return;
  }
  DvbTTuner& tuner = *asDvbTTuner(aTuner);
  TunerHold hold(aTuner);
  for (uint32_t index = 0; index < kPidCount; ++index) {
    if (!isFree(tuner.PidEntries[index]) && tuner.PidEntries[index].Context == aContext) {
      removeEntry(tuner, index);
    }
  }
}

}  // namespace ombrixhal

OmbrixHalTunerHandle OmbrixHalTunerDvbTCreate(OmbrixHalTunerType aType) noexcept {
  bool exists = false;
  if (!instanceExists.compare_exchange_strong(exists, true)) {
    return nullptr;
  }
  void* memory = OmbrixHalMemoryAllocate(sizeof(DvbTTuner));
  if (memory == nullptr) {
    instanceExists = false;
    return nullptr;
  }
  auto* tuner = new (memory) DvbTTuner{};
  ombrixhal::initTunerHead(tuner->head, kDvbTOperations, aType);
  tuner->head.DeliveryLock = OmbrixHalCriticalSectionCreate();
  if (tuner->head.DeliveryLock == nullptr || !openDriver(*tuner)) {
    destroyTuner(tuner);
    return nullptr;
  }
  return &tuner->head;
}

OmbrixHalBool OmbrixHalTunerDvbTDestroy(OmbrixHalTunerHandle This) noexcept {
  DvbTTuner* tuner = tunerOf(This, kDestroyName);
  if (tuner == nullptr) {
    return 0;
  }
  ombrixhal::closeTunerHead(tuner->head);
  return destroyTuner(tuner);
}

OmbrixHalBool OmbrixHalTunerDvbTSetParameter(OmbrixHalTunerHandle This,
                                             const OmbrixHalTunerParameter* aTunerParameter) noexcept {
  DvbTTuner* tuner = tunerOf(This, kSetParameterName);
  if (tuner == nullptr || !ombrixhal::isGiven(aTunerParameter, kSetParameterName, kTunerParameterName)) {
    return 0;
  }
  if (aTunerParameter->Type != OMBRIX_HAL_TUNER_TYPE_DVB_T) {
    OmbrixHalLoggerPrint(kSetParameterName, kLogTypeMismatch);
    return 0;
  }
  tuner->head.Parameter = *aTunerParameter;
  // A channel that does not lock shows in the status, not here.
  tune(*tuner);
  return 1;
}

OmbrixHalBool OmbrixHalTunerDvbTGetParameter(OmbrixHalTunerHandle This, OmbrixHalTunerParameter* aTunerParameter,
                                             void* aReserved) noexcept {
  static_cast<void>(aReserved);
  DvbTTuner* tuner = tunerOf(This, kGetParameterName);
  if (tuner == nullptr || !ombrixhal::isGiven(aTunerParameter, kGetParameterName, kTunerParameterName)) {
    return 0;
  }
  *aTunerParameter = tuner->head.Parameter;
  return 1;
}

OmbrixHalTunerType OmbrixHalTunerDvbTGetType(OmbrixHalTunerHandle This) noexcept {
  const DvbTTuner* tuner = tunerOf(This, kGetTypeName);
  return tuner != nullptr ? tuner->head.ParameterType : OMBRIX_HAL_TUNER_TYPE_UNKNOWN;
}

OmbrixHalTunerStatus OmbrixHalTunerDvbTGetStatus(OmbrixHalTunerHandle This) noexcept {
  const DvbTTuner* tuner = tunerOf(This, kGetStatusName);
  if (tuner == nullptr) {
    return OMBRIX_HAL_TUNER_STATUS_UNKNOWN;
  }
  // Never WAIT FOR LOCK: the driver has answered by the time set parameter returns.
  return tuner->Tuned ? OMBRIX_HAL_TUNER_STATUS_LOCKED : OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED;
}

OmbrixHalBool OmbrixHalTunerDvbTReceive(OmbrixHalTunerHandle This) noexcept { return doNothing(This, kReceiveName); }

OmbrixHalBool OmbrixHalTunerDvbTRegisterPacketHandler(OmbrixHalTunerHandle This, OmbrixHalTunerPacketHandler aHandler,
                                                      void* aContext) noexcept {
  static_cast<void>(aHandler);
  static_cast<void>(aContext);
  return doNothing(This, kRegisterName);
}

OmbrixHalBool OmbrixHalTunerDvbTUnregisterPacketHandler(OmbrixHalTunerHandle This, void* aContext,
                                                        void* aReserved) noexcept {
  static_cast<void>(aContext);
  static_cast<void>(aReserved);
  return doNothing(This, kUnregisterName);
}

uint32_t OmbrixHalTunerDvbTGetSignalStrength(OmbrixHalTunerHandle This) noexcept {
  return signalOf(This, kGetSignalStrengthName, &OmbrixHalTunerDvbTMonitoring::SignalStrength);
}

uint32_t OmbrixHalTunerDvbTGetSignalQuality(OmbrixHalTunerHandle This) noexcept {
  return signalOf(This, kGetSignalQualityName, &OmbrixHalTunerDvbTMonitoring::SignalQuality);
}

OmbrixHalBool OmbrixHalTunerDvbTGetMonitoring(OmbrixHalTunerHandle This,
                                              OmbrixHalTunerDvbTMonitoring* aMonitoring) noexcept {
  DvbTTuner* tuner = tunerOf(This, kGetMonitoringName);
  if (tuner == nullptr || !ombrixhal::isGiven(aMonitoring, kGetMonitoringName, kMonitoringName)) {
    return 0;
  }
  queryMonitoring(*tuner);
  *aMonitoring = tuner->Monitoring;
  return 1;
}

OmbrixHalBool OmbrixHalTunerDvbTAddPid(OmbrixHalTunerHandle This, uint32_t aPid, OmbrixHalTunerPacketHandler aHandler,
                                       void* aContext) noexcept {
  DvbTTuner* tuner = tunerOf(This, kAddPidName);
  if (tuner == nullptr || tuner->ChannelHandle == kNone) {
    return 0;
  }
  if ((aPid & kNoHandler) == 0 &&
      !ombrixhal::isGiven(reinterpret_cast<const void*>(aHandler), kAddPidName, kHandlerName)) {
    return 0;
  }
  // Held throughout: a delivery under way reads the entries, and control calls of several
  // threads take them.
  TunerHold hold(This);
  tuner->FilterDescription = {kPacketFilterKind, tuner, deliverBuffer, 0};
  if (tuner->FilterId == kNone && !makeFilter(*tuner)) {
    return 0;
  }
  for (uint32_t index = 0; index < kPidCount; ++index) {
    PidEntry& entry = tuner->PidEntries[index];
    if (!isFree(entry)) {
      continue;
    }
    // Stored before the driver learns of the PID.
    entry = {aPid, aHandler, aContext};
    indexPid(*tuner, aPid);
    tuner->PidItems[index].Pid = static_cast<uint16_t>(aPid);
    if (DibAddToFilter(tuner->DriverHandle, tuner->FilterId, 1, &tuner->PidItems[index], &tuner->PidItemIds[index]) !=
        0) {
      entry.Pid = kFreeEntry;
      indexPid(*tuner, aPid);
      return 0;
    }
    ++tuner->PidCount;
    return 1;
  }
  return 0;
}

OmbrixHalBool OmbrixHalTunerDvbTRemovePid(OmbrixHalTunerHandle This, uint32_t aPid) noexcept {
  DvbTTuner* tuner = tunerOf(This, kRemovePidName);
  if (tuner == nullptr) {
    return 0;
  }
  if (aPid == kAllPids && tuner->FilterId != kNone) {
    {
      TunerHold hold(This);
      for (PidEntry& entry : tuner->PidEntries) {
        if (!isFree(entry)) {
          freeEntry(*tuner, entry);
        }
      }
    }
    const int32_t deleted = tuner->TsReaderMode ? tsReader.remove(tuner->DriverHandle, tuner->FilterId)
                                                : DibDeleteFilter(tuner->DriverHandle, tuner->FilterId);
    tuner->FilterId = kNone;
    // Kept: the reader's answer does not count.
    return tuner->TsReaderMode || deleted == 0 ? 1 : 0;
  }
  TunerHold hold(This);
  for (uint32_t index = 0; index < kPidCount; ++index) {
    if (tuner->PidEntries[index].Pid == aPid) {
      return removeEntry(*tuner, index) ? 1 : 0;
    }
  }
  return 0;
}

OmbrixHalBool OmbrixHalTunerDvbTSynchronize(OmbrixHalTunerHandle This) noexcept {
  if (tunerOf(This, kSynchronizeName) == nullptr) {
    return 0;
  }
  ombrixhal::holdTuner(This);
  ombrixhal::releaseTuner(This);
  return 1;
}

void* OmbrixHalTunerDvbTGetHandle(OmbrixHalTunerHandle This) noexcept {
  const DvbTTuner* tuner = tunerOf(This, kGetHandleName);
  return tuner != nullptr ? tuner->DriverHandle : nullptr;
}

const char* OmbrixHalTunerDvbTGetDriverVersionString(void) noexcept { return driverVersion; }
