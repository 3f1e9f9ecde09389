// The receiver driver's calls and the emulator's control calls. Every driver and TS reader call
// is recorded and may be programmed to fail; all of them run under the emulator's one mutex.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "DibEmulatorState.h"

namespace dibemulator {
namespace {

constexpr size_t kMaxRecordedCalls = 65536;
constexpr uint32_t kDriverVersion = 3u << 16 | 2u << 8 | 1u;  // 3.2.1
constexpr uint32_t kFirmwareVersion = 1u << 10 | 5u;          // 1.05
constexpr uint32_t kUnlockedGain = 65535;
constexpr uint32_t kMonitoringEntries = 2;  // one per receiving chip

constexpr const char* kPlanVariable = "DIB_EMULATOR_CHANNEL_PLAN";
constexpr const char* kDeliveryVariable = "DIB_EMULATOR_DELIVERY";

void record(Emulator& aEmulator, const char* aFunction, const std::vector<uint32_t>& aArguments, int32_t aResult) {
  aEmulator.callCounts.count(aFunction);
  if (aEmulator.calls.size() >= kMaxRecordedCalls) {
    return;
  }
  DibEmulatorCall call{};
  std::memcpy(call.Function, aFunction, std::min(std::strlen(aFunction), sizeof call.Function - 1));
  std::copy_n(aArguments.begin(), std::min(aArguments.size(), std::size(call.Arguments)), call.Arguments);
  call.Result = aResult;
  aEmulator.calls.push_back(call);
}

// Runs a driver call: a programmed failure instead of aBody when one is due, then the record.
// aBody runs with the lock held and returns with it held.
template <typename Body>
int32_t driverCall(const char* aFunction, std::vector<uint32_t> aArguments, Body&& aBody) noexcept {
  Emulator& e = emulator();
  std::unique_lock lock(e.mutex);
  const std::optional<int32_t> failure = e.failures.take(aFunction);
  const int32_t result = failure ? *failure : aBody(e, lock);
  record(e, aFunction, aArguments, result);
  return result;
}

Driver* openDriver(Emulator& aEmulator, DibDriverHandle aDriver) {
  return isOpen(aEmulator, aDriver) && !aEmulator.driver->stopping ? aEmulator.driver.get() : nullptr;
}

template <typename Slot>
std::optional<uint8_t> freeId(std::array<Slot, kIdCount>& aSlots, size_t& aNext) {
  for (size_t tried = 0; tried < kIdCount; ++tried) {
    const size_t id = (aNext + tried) % kIdCount;
    if (!aSlots[id]) {
      aNext = (id + 1) % kIdCount;
      return uint8_t(id);
    }
  }
  return std::nullopt;
}

Filter* findFilter(Driver& aDriver, uint8_t aFilter) {
  return aFilter < kIdCount ? aDriver.filters[aFilter].get() : nullptr;
}

Channel* findChannel(Driver& aDriver, uint8_t aChannel) {
  return aChannel < kIdCount && aDriver.channels[aChannel] ? &*aDriver.channels[aChannel] : nullptr;
}

void recomputePids(Driver& aDriver, uint8_t aFilter) {
  Filter& filter = *aDriver.filters[aFilter];
  filter.pids.reset();
  for (const auto& item : aDriver.items) {
    if (item && item->filter == aFilter) {
      for (uint16_t pid : item->pids) {
        if (pid < kPidCount) {
          filter.pids.set(pid);
        }
      }
    }
  }
}

void deleteFilter(Emulator& aEmulator, Driver& aDriver, uint8_t aFilter) {
  for (auto& item : aDriver.items) {
    if (item && item->filter == aFilter) {
      item.reset();
    }
  }
  if (aDriver.readerFilter == aFilter) {
    aDriver.readerFilter.reset();
  }
  aDriver.filters[aFilter].reset();
  std::erase(aDriver.filterIds, aFilter);
  aEmulator.changed.notify_all();
}

std::optional<uint8_t> createFilter(Driver& aDriver, uint8_t aChannel, const DibFilterDescription* aDescription,
                                    uint8_t* aFilter, bool aReader) {
  Channel* channel = findChannel(aDriver, aChannel);
  if (channel == nullptr || aDescription == nullptr || aDescription->Callback == nullptr || aFilter == nullptr) {
    return std::nullopt;
  }
  const std::optional<uint8_t> id = freeId(aDriver.filters, aDriver.nextFilter);
  if (id) {
    aDriver.filters[*id] = std::make_unique<Filter>(Filter{.channel = aChannel,
                                                           .channelSerial = channel->serial,
                                                           .callback = aDescription->Callback,
                                                           .context = aDescription->Context,
                                                           .reader = aReader,
                                                           .pids = {},
                                                           .buffers = {}});
    aDriver.filterIds.push_back(*id);
    *aFilter = *id;
  }
  return id;
}

std::string planPath(const Emulator& aEmulator) {
  if (aEmulator.planPath) {
    return *aEmulator.planPath;
  }
  const char* path = std::getenv(kPlanVariable);
  return path != nullptr ? path : "";
}

// The plan entry for a requested frequency and bandwidth (in 100 kHz).
std::optional<PlanChannel> findInPlan(Emulator& aEmulator, uint32_t aFrequencyKHz, uint32_t aBandwidth) {
  const std::string path = planPath(aEmulator);
  if (path.empty()) {
    return std::nullopt;
  }
  for (const PlanChannel& channel : aEmulator.plan.read(path)) {
    if (channel.frequencyKHz == aFrequencyKHz && channel.bandwidthMHz * 10 == aBandwidth) {
      return channel;
    }
  }
  return std::nullopt;
}

bool isReadable(const std::string& aPath) {
  std::FILE* file = std::fopen(aPath.c_str(), "rb");
  if (file != nullptr) {
    std::fclose(file);
  }
  return file != nullptr;
}

void fillMonitoring(const Channel& aChannel, uint32_t aCount, DibSignalMonitoring* aEntries) {
  for (uint32_t entry = 0; entry < aCount; ++entry) {
    DibSignalMonitoring& out = aEntries[entry];
    std::memset(&out, 0, sizeof out);
    out.Gain = aChannel.locked ? aChannel.plan.gains[entry] : kUnlockedGain;
    if (aChannel.locked && entry == 0) {
      out.NoisePower = aChannel.plan.noisePower;
      out.SignalPower = aChannel.plan.signalPower;
      out.DriverValue = aChannel.plan.driverValue;
      out.Status = aChannel.plan.status;
      out.Quality = aChannel.plan.quality;
    }
  }
}

std::vector<uint32_t> addArguments(uint8_t aFilter, uint32_t aCount, const DibPidItem* aItems) {
  std::vector<uint32_t> arguments{aFilter, aCount};
  for (uint32_t item = 0; aItems != nullptr && item < aCount && arguments.size() < 8; ++item) {
    arguments.push_back(aItems[item].Pid);
  }
  return arguments;
}

}  // namespace

Emulator& emulator() {
  static Emulator* const instance = new Emulator;
  return *instance;
}

bool isOpen(const Emulator& aEmulator, DibDriverHandle aDriver) {
  return aEmulator.driver != nullptr && aDriver == reinterpret_cast<DibDriverHandle>(aEmulator.driver.get());
}

uint32_t deliveryFromEnvironment() {
  const char* value = std::getenv(kDeliveryVariable);
  const std::string mode = value != nullptr ? value : "paced";
  if (mode == "unpaced") {
    return DIB_EMULATOR_UNPACED;
  }
  if (mode == "manual") {
    return DIB_EMULATOR_MANUAL;
  }
  if (mode != "paced") {
    std::fprintf(stderr, "DibDriverLibrary emulator: %s=%s is not paced, unpaced or manual; paced\n", kDeliveryVariable,
                 value);
  }
  return DIB_EMULATOR_PACED;
}

bool inFlightElsewhere(const Emulator& aEmulator, const uint8_t* aBuffer) {
  return std::any_of(aEmulator.inFlight.begin(), aEmulator.inFlight.end(), [&](const InFlight& flight) {
    return (aBuffer == nullptr || flight.buffer == aBuffer) && flight.thread != std::this_thread::get_id();
  });
}

}  // namespace dibemulator

using namespace dibemulator;

extern "C" {

DIB_API int32_t DibOpen(DibDriverHandle* aDriver, uint32_t aBoard, uint32_t aOptions) {
  return driverCall("DibOpen", {aBoard, aOptions}, [&](Emulator& e, auto&) {
    if (aDriver == nullptr || e.driver != nullptr) {
      return kFailure;
    }
    e.driver = std::make_unique<Driver>();
    e.driver->delivery = e.delivery.value_or(deliveryFromEnvironment());
    e.deliveredPackets = 0;
    *aDriver = reinterpret_cast<DibDriverHandle>(e.driver.get());
    return 0;
  });
}

DIB_API int32_t DibClose(DibDriverHandle aDriver) {
  return driverCall("DibClose", {}, [&](Emulator& e, std::unique_lock<std::mutex>& lock) {
    Driver* driver = openDriver(e, aDriver);
    // The driver thread cannot join itself: a callback must not close the driver.
    if (driver == nullptr || driver->thread.get_id() == std::this_thread::get_id()) {
      return kFailure;
    }
    driver->stopping = true;
    e.changed.notify_all();
    std::thread thread = std::move(driver->thread);
    lock.unlock();
    if (thread.joinable()) {
      thread.join();
    }
    lock.lock();
    e.changed.wait(lock, [&] { return !inFlightElsewhere(e, nullptr); });
    e.driver.reset();
    return 0;
  });
}

DIB_API int32_t DibGetGlobalInfo(DibDriverHandle aDriver, uint32_t* aInfo) {
  return driverCall("DibGetGlobalInfo", {}, [&](Emulator& e, auto&) {
    if (openDriver(e, aDriver) == nullptr || aInfo == nullptr) {
      return kFailure;
    }
    aInfo[0] = kDriverVersion;
    aInfo[1] = 0;
    aInfo[2] = kFirmwareVersion;
    return 0;
  });
}

DIB_API int32_t DibGetChannel(DibDriverHandle aDriver, uint32_t aReserved1, uint32_t aReserved2, uint32_t aReserved3,
                              DibChannelDescription* aDescription, uint8_t* aChannel, uint32_t aReserved4,
                              uint32_t aReserved5) {
  const uint32_t frequency = aDescription != nullptr ? aDescription->FrequencyKHz : 0;
  const uint32_t bandwidth = aDescription != nullptr ? aDescription->Bandwidth : 0;
  if (aDescription != nullptr) {
    // Kept even when the call is programmed to fail: the request was made.
    Emulator& e = emulator();
    const std::lock_guard lock(e.mutex);
    e.channelRequest = *aDescription;
  }
  return driverCall("DibGetChannel", {aReserved1, aReserved2, aReserved3, frequency, bandwidth, aReserved4, aReserved5},
                    [&](Emulator& e, auto&) {
                      Driver* driver = openDriver(e, aDriver);
                      if (driver == nullptr || aDescription == nullptr || aChannel == nullptr) {
                        return kFailure;
                      }
                      const std::optional<uint8_t> id = freeId(driver->channels, driver->nextChannel);
                      if (!id) {
                        return kFailure;
                      }
                      const std::optional<PlanChannel> plan = findInPlan(e, frequency, bandwidth);
                      // A channel whose file cannot be read finds no signal, nothing worse.
                      Channel& channel = driver->channels[*id].emplace(
                          Channel{driver->nextChannelSerial++, plan && isReadable(plan->file), {}});
                      aDescription->LockResult = channel.locked ? 1 : 0;
                      if (channel.locked) {
                        channel.plan = *plan;
                        aDescription->FrequencyKHz = plan->frequencyKHz;
                        aDescription->Bandwidth = plan->bandwidthMHz * 10;
                        aDescription->TransmissionMode = plan->transmissionMode;
                        aDescription->GuardInterval = plan->guardInterval;
                        aDescription->Constellation = plan->constellation;
                        aDescription->CodeRate = plan->codeRate;
                      }
                      *aChannel = *id;
                      e.changed.notify_all();
                      return 0;
                    });
}

DIB_API int32_t DibDeleteChannel(DibDriverHandle aDriver, uint8_t aChannel) {
  return driverCall("DibDeleteChannel", {aChannel}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || findChannel(*driver, aChannel) == nullptr) {
      return kFailure;
    }
    driver->channels[aChannel].reset();
    e.changed.notify_all();
    return 0;
  });
}

DIB_API int32_t DibCreateFilter(DibDriverHandle aDriver, uint8_t aChannel, uint32_t aReserved,
                                const DibFilterDescription* aDescription, uint8_t* aFilter) {
  return driverCall("DibCreateFilter", {aChannel, aReserved}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    return driver != nullptr && createFilter(*driver, aChannel, aDescription, aFilter, false) ? 0 : kFailure;
  });
}

// Does not wait for a callback in progress: its caller may hold a lock that the callback waits
// for.
DIB_API int32_t DibDeleteFilter(DibDriverHandle aDriver, uint8_t aFilter) {
  return driverCall("DibDeleteFilter", {aFilter}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || findFilter(*driver, aFilter) == nullptr) {
      return kFailure;
    }
    deleteFilter(e, *driver, aFilter);
    return 0;
  });
}

DIB_API int32_t DibAddToFilter(DibDriverHandle aDriver, uint8_t aFilter, uint32_t aCount, DibPidItem* aItems,
                               uint8_t* aItem) {
  return driverCall("DibAddToFilter", addArguments(aFilter, aCount, aItems), [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || findFilter(*driver, aFilter) == nullptr || aCount == 0 || aItems == nullptr ||
        aItem == nullptr) {
      return kFailure;
    }
    const std::optional<uint8_t> id = freeId(driver->items, driver->nextItem);
    if (!id) {
      return kFailure;
    }
    Item& item = driver->items[*id].emplace(Item{aFilter, {}});
    for (uint32_t index = 0; index < aCount; ++index) {
      item.pids.push_back(aItems[index].Pid);
    }
    recomputePids(*driver, aFilter);
    *aItem = *id;
    e.changed.notify_all();
    return 0;
  });
}

DIB_API int32_t DibRemoveFromFilter(DibDriverHandle aDriver, uint8_t aItem) {
  return driverCall("DibRemoveFromFilter", {aItem}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || aItem >= kIdCount || !driver->items[aItem]) {
      return kFailure;
    }
    const uint8_t filter = driver->items[aItem]->filter;
    driver->items[aItem].reset();
    recomputePids(*driver, filter);
    return 0;
  });
}

DIB_API int32_t DibRegisterBuffer(DibDriverHandle aDriver, uint8_t aFilter, uint8_t* aBuffer, uint32_t aSize,
                                  uint8_t aIndex) {
  return driverCall("DibRegisterBuffer", {aFilter, aSize, aIndex}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    Filter* filter = driver != nullptr ? findFilter(*driver, aFilter) : nullptr;
    if (filter == nullptr || filter->reader || aBuffer == nullptr) {
      return kFailure;
    }
    auto& buffers = filter->buffers;
    auto buffer = std::find_if(buffers.begin(), buffers.end(), [&](const Buffer& b) { return b.data == aBuffer; });
    if (buffer == buffers.end()) {
      buffer = buffers.insert(
          buffers.end(),
          Buffer{
              .data = aBuffer, .size = 0, .index = 0, .lent = false, .lentOrder = 0, .filled = 0, .firstPacketAt = {}});
    } else if (buffer->lent) {
      return kFailure;  // lent already
    }
    *buffer = Buffer{.data = aBuffer,
                     .size = aSize,
                     .index = aIndex,
                     .lent = true,
                     .lentOrder = driver->nextLentOrder++,
                     .filled = 0,
                     .firstPacketAt = {}};
    e.changed.notify_all();
    startDriverThreadIfDue(e);
    return 0;
  });
}

// Waits for a callback on the buffer to end, unless it runs on this thread.
DIB_API int32_t DibUnregisterBuffer(DibDriverHandle aDriver, uint8_t aFilter, uint8_t* aBuffer) {
  return driverCall("DibUnregisterBuffer", {aFilter}, [&](Emulator& e, std::unique_lock<std::mutex>& lock) {
    if (openDriver(e, aDriver) == nullptr || aBuffer == nullptr) {
      return kFailure;
    }
    e.changed.wait(lock, [&] { return !inFlightElsewhere(e, aBuffer); });
    Driver* driver = openDriver(e, aDriver);
    Filter* filter = driver != nullptr ? findFilter(*driver, aFilter) : nullptr;
    if (filter == nullptr || filter->reader) {
      return kFailure;
    }
    const auto removed = std::remove_if(filter->buffers.begin(), filter->buffers.end(),
                                        [&](const Buffer& buffer) { return buffer.data == aBuffer; });
    const bool known = removed != filter->buffers.end();
    filter->buffers.erase(removed, filter->buffers.end());
    return known ? 0 : kFailure;
  });
}

DIB_API int32_t DibGetSignalMonitoring(DibDriverHandle aDriver, uint8_t aChannel, uint32_t* aCount,
                                       DibSignalMonitoring* aEntries, uint32_t aReserved1, uint32_t aReserved2) {
  const uint32_t count = aCount != nullptr ? *aCount : 0;
  return driverCall("DibGetSignalMonitoring", {aChannel, count, aReserved1, aReserved2}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    const Channel* channel = driver != nullptr ? findChannel(*driver, aChannel) : nullptr;
    if (channel == nullptr || aCount == nullptr || (count > 0 && aEntries == nullptr)) {
      return kFailure;
    }
    *aCount = std::min(count, kMonitoringEntries);
    fillMonitoring(*channel, *aCount, aEntries);
    return 0;
  });
}

DIB_API int32_t DibEmulatorOpenReader(DibDriverHandle aDriver, uint32_t aBufferCount) {
  return driverCall("DibOpenTSReader", {aBufferCount}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || driver->readerOpen || aBufferCount == 0 || aBufferCount > kIdCount) {
      return kFailure;
    }
    driver->readerMemory.assign(size_t{aBufferCount} * DIB_BUFFER_SIZE, 0);
    driver->readerBufferCount = aBufferCount;
    driver->readerOpen = true;
    return 0;
  });
}

// Waits for callbacks on the reader's buffers to end before it frees them.
DIB_API int32_t DibEmulatorCloseReader(DibDriverHandle aDriver) {
  return driverCall("DibCloseTSReader", {}, [&](Emulator& e, std::unique_lock<std::mutex>& lock) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || !driver->readerOpen) {
      return kFailure;
    }
    if (driver->readerFilter) {
      deleteFilter(e, *driver, *driver->readerFilter);
    }
    driver->readerOpen = false;
    const uint8_t* first = driver->readerMemory.data();
    const uint8_t* end = first + driver->readerMemory.size();
    e.changed.wait(lock, [&] {
      return std::none_of(e.inFlight.begin(), e.inFlight.end(), [&](const InFlight& flight) {
        return flight.buffer >= first && flight.buffer < end && flight.thread != std::this_thread::get_id();
      });
    });
    driver->readerMemory = {};
    driver->readerBufferCount = 0;
    return 0;
  });
}

DIB_API int32_t DibEmulatorCreateReader(DibDriverHandle aDriver, uint8_t aChannel,
                                        const DibFilterDescription* aDescription, uint8_t* aFilter) {
  return driverCall("DibCreateTSReader", {aChannel}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || !driver->readerOpen || driver->readerFilter) {
      return kFailure;
    }
    const std::optional<uint8_t> id = createFilter(*driver, aChannel, aDescription, aFilter, true);
    if (!id) {
      return kFailure;
    }
    driver->readerFilter = id;
    for (uint32_t index = 0; index < driver->readerBufferCount; ++index) {
      uint8_t* data = driver->readerMemory.data() + size_t{index} * DIB_BUFFER_SIZE;
      // A buffer still in a callback of an earlier reader is lent when that callback ends.
      const bool busy = std::any_of(e.inFlight.begin(), e.inFlight.end(),
                                    [&](const InFlight& flight) { return flight.buffer == data; });
      driver->filters[*id]->buffers.push_back(Buffer{.data = data,
                                                     .size = DIB_BUFFER_SIZE,
                                                     .index = uint8_t(index),
                                                     .lent = !busy,
                                                     .lentOrder = driver->nextLentOrder++,
                                                     .filled = 0,
                                                     .firstPacketAt = {}});
    }
    e.changed.notify_all();
    startDriverThreadIfDue(e);
    return 0;
  });
}

DIB_API int32_t DibEmulatorDeleteReader(DibDriverHandle aDriver, uint8_t aFilter) {
  return driverCall("DibDeleteTSReader", {aFilter}, [&](Emulator& e, auto&) {
    Driver* driver = openDriver(e, aDriver);
    if (driver == nullptr || driver->readerFilter != aFilter) {
      return kFailure;
    }
    deleteFilter(e, *driver, aFilter);
    return 0;
  });
}

DIB_API void DibEmulatorReset(void) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  e.failures.clear();
  e.calls.clear();
  e.callCounts.clear();
  e.channelRequest.reset();
  e.planPath.reset();
  e.plan = ChannelPlan();
  e.delivery.reset();
  if (e.driver != nullptr) {
    e.driver->delivery = deliveryFromEnvironment();
    e.changed.notify_all();
    startDriverThreadIfDue(e);
  }
}

DIB_API void DibEmulatorSetChannelPlan(const char* aPath) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  e.planPath = aPath != nullptr ? std::optional<std::string>(aPath) : std::nullopt;
}

DIB_API void DibEmulatorSetDelivery(uint32_t aMode) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  if (aMode > DIB_EMULATOR_MANUAL) {
    return;
  }
  e.delivery = aMode;
  if (e.driver != nullptr) {
    e.driver->delivery = aMode;
    e.changed.notify_all();
    startDriverThreadIfDue(e);
  }
}

DIB_API void DibEmulatorFailCall(const char* aFunction, uint32_t aNth, int32_t aResult) {
  if (aFunction == nullptr) {
    return;
  }
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  e.failures.program(aFunction, aNth, aResult);
}

DIB_API uint32_t DibEmulatorGetCalls(DibEmulatorCall* aCalls, uint32_t aMax) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  if (aCalls != nullptr) {
    std::copy_n(e.calls.begin(), std::min<size_t>(aMax, e.calls.size()), aCalls);
  }
  return uint32_t(e.calls.size());
}

DIB_API uint32_t DibEmulatorCountCalls(const char* aFunction) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  return e.callCounts.of(aFunction);
}

DIB_API int32_t DibEmulatorGetChannelRequest(DibChannelDescription* aDescription) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  if (!e.channelRequest || aDescription == nullptr) {
    return 0;
  }
  *aDescription = *e.channelRequest;
  return 1;
}

DIB_API uint64_t DibEmulatorDeliveredPackets(void) { return emulator().deliveredPackets.load(); }

}  // extern "C"
