// Delivery: the driver thread that plays the received channel's file into the filters' buffers,
// and the synchronous delivery that tests ask for.
#include <algorithm>
#include <cstring>
#include <utility>

#include "DibEmulatorState.h"

namespace dibemulator {
namespace {

constexpr uint32_t kBatchPackets = 256;
// A sparse PID (the PAT) must not wait for a whole buffer.
constexpr auto kPartialBufferAge = std::chrono::milliseconds(100);
// A paced thread wakes no more often than this, whatever the rate.
constexpr auto kShortestSleep = std::chrono::milliseconds(1);
constexpr uint8_t kSyncByte = 0x47;

bool hasFreeSpace(const Buffer& aBuffer) { return aBuffer.lent && aBuffer.filled + kPacketSize <= aBuffer.size; }

// The buffer being filled: the earliest lent one with room for a packet.
Buffer* currentBuffer(Filter& aFilter) {
  Buffer* current = nullptr;
  for (Buffer& buffer : aFilter.buffers) {
    if (hasFreeSpace(buffer) && (current == nullptr || buffer.lentOrder < current->lentOrder)) {
      current = &buffer;
    }
  }
  return current;
}

// The channel received: of the channels that filters are on, the one tuned last. A tuner has
// one front end.
const Channel* receivedChannel(const Driver& aDriver) {
  const Channel* received = nullptr;
  for (uint8_t id : aDriver.filterIds) {
    const Filter* filter = aDriver.filters[id].get();
    const std::optional<Channel>& channel = aDriver.channels[filter->channel];
    if (channel && channel->serial == filter->channelSerial &&
        (received == nullptr || channel->serial > received->serial)) {
      received = &*channel;
    }
  }
  return received;
}

// A filter on the channel received, and the buffer it fills.
struct Receiving {
  Filter* filter;
  Buffer* current;
};

// The filters on the channel into aReceiving, whose room is kept: per batch, nothing allocated.
void collectReceiving(Driver& aDriver, uint64_t aChannelSerial, std::vector<Receiving>& aReceiving) {
  aReceiving.clear();
  for (uint8_t id : aDriver.filterIds) {
    Filter* filter = aDriver.filters[id].get();
    if (filter->channelSerial == aChannelSerial) {
      aReceiving.push_back({filter, currentBuffer(*filter)});
    }
  }
}

// Whether a filter could take a packet: it has a PID and a buffer with room.
bool anyFilterReceiving(const std::vector<Receiving>& aReceiving) {
  return std::any_of(aReceiving.begin(), aReceiving.end(),
                     [](const Receiving& r) { return r.current != nullptr && r.filter->pids.any(); });
}

// When the oldest partly filled buffer is due to be handed over.
Clock::time_point nextPartialDeadline(const std::vector<Receiving>& aReceiving) {
  Clock::time_point deadline = Clock::time_point::max();
  for (const Receiving& r : aReceiving) {
    for (const Buffer& buffer : r.filter->buffers) {
      if (buffer.lent && buffer.filled > 0) {
        deadline = std::min(deadline, buffer.firstPacketAt + kPartialBufferAge);
      }
    }
  }
  return deadline;
}

// Hands over one partly filled buffer whose first packet is old enough; false when none is.
bool handOverOldPartialBuffer(Emulator& aEmulator, std::unique_lock<std::mutex>& aLock,
                              const std::vector<Receiving>& aReceiving, Clock::time_point aNow) {
  for (const Receiving& r : aReceiving) {
    for (Buffer& buffer : r.filter->buffers) {
      if (buffer.lent && buffer.filled > 0 && buffer.firstPacketAt + kPartialBufferAge <= aNow) {
        aEmulator.deliveredPackets += buffer.filled / kPacketSize;
        handOver(aEmulator, aLock, takeBuffer(*r.filter, buffer, int32_t(buffer.filled)), DIB_EMULATOR_EVENT_DATA);
        return true;
      }
    }
  }
  return false;
}

// Puts aCount packets into the buffers of the filters on the channel that want their PIDs,
// handing each buffer over as it fills. Stops early when the driver stops or the channel
// received changes. aFull is room for the buffers filled by one packet, kept like aReceiving's.
void distribute(Emulator& aEmulator, std::unique_lock<std::mutex>& aLock, uint64_t aChannelSerial,
                std::vector<Receiving>& aReceiving, std::vector<Handover>& aFull, const uint8_t* aPackets,
                uint32_t aCount, Clock::time_point aNow) {
  aFull.clear();
  for (uint32_t index = 0; index < aCount; ++index) {
    const uint8_t* packet = aPackets + size_t{index} * kPacketSize;
    if (packet[0] != kSyncByte) {
      continue;  // sync lost: not a packet
    }
    const uint32_t pid = uint32_t(packet[1] & 0x1f) << 8 | packet[2];
    for (Receiving& r : aReceiving) {
      if (!std::as_const(r.filter->pids)[pid]) {
        continue;
      }
      Buffer* buffer = r.current;
      if (buffer == nullptr) {
        ++r.filter->droppedPackets;
        continue;
      }
      if (buffer->filled == 0) {
        buffer->firstPacketAt = aNow;
      }
      std::memcpy(buffer->data + buffer->filled, packet, kPacketSize);
      buffer->filled += kPacketSize;
      if (!hasFreeSpace(*buffer)) {
        aEmulator.deliveredPackets += buffer->filled / kPacketSize;
        aFull.push_back(takeBuffer(*r.filter, *buffer, int32_t(buffer->filled)));
        r.current = currentBuffer(*r.filter);
      }
    }
    if (aFull.empty()) {
      continue;
    }
    for (const Handover& handover : aFull) {
      handOver(aEmulator, aLock, handover, DIB_EMULATOR_EVENT_DATA);
    }
    aFull.clear();
    // The callbacks may have changed anything.
    const Channel* received = receivedChannel(*aEmulator.driver);
    if (aEmulator.driver->stopping || received == nullptr || received->serial != aChannelSerial) {
      return;
    }
    collectReceiving(*aEmulator.driver, aChannelSerial, aReceiving);
  }
}

}  // namespace

Handover takeBuffer(const Filter& aFilter, Buffer& aBuffer, int32_t aDataSize) {
  aBuffer.lent = false;
  aBuffer.filled = 0;
  return Handover{.callback = aFilter.callback,
                  .context = aFilter.context,
                  .info = {.DataSize = aDataSize,
                           .Reserved4 = 0,
                           .Reserved8 = 0,
                           .BufferIndex = aBuffer.index,
                           .Reserved11 = 0,
                           .Data = aBuffer.data},
                  .reader = aFilter.reader};
}

void handOver(Emulator& aEmulator, std::unique_lock<std::mutex>& aLock, const Handover& aHandover, uint32_t aEvent) {
  const InFlight flight{aHandover.info.Data, std::this_thread::get_id()};
  aEmulator.inFlight.push_back(flight);
  aLock.unlock();
  aHandover.callback(aHandover.context, &aHandover.info, aEvent);
  aLock.lock();
  auto& inFlight = aEmulator.inFlight;
  inFlight.erase(std::find_if(inFlight.begin(), inFlight.end(), [&](const InFlight& other) {
    return other.buffer == flight.buffer && other.thread == flight.thread;
  }));
  // The reader lends its buffer to itself again, to the reader filter of now.
  Driver* driver = aEmulator.driver.get();
  if (aHandover.reader && aEvent == DIB_EMULATOR_EVENT_DATA && driver != nullptr && driver->readerFilter) {
    for (Buffer& buffer : driver->filters[*driver->readerFilter]->buffers) {
      if (buffer.data == aHandover.info.Data && !buffer.lent) {
        buffer.lent = true;
        buffer.lentOrder = driver->nextLentOrder++;
      }
    }
  }
  aEmulator.changed.notify_all();
}

void startDriverThreadIfDue(Emulator& aEmulator) {
  Driver& driver = *aEmulator.driver;
  const bool hasBuffer = std::any_of(driver.filterIds.begin(), driver.filterIds.end(),
                                     [&](uint8_t id) { return !driver.filters[id]->buffers.empty(); });
  if (driver.delivery != DIB_EMULATOR_MANUAL && hasBuffer && !driver.thread.joinable() && !driver.stopping) {
    driver.thread = std::thread(deliverStream, std::ref(aEmulator));
  }
}

void deliverStream(Emulator& aEmulator) {
  ChannelStream stream;
  bool streamHasPackets = false;
  uint64_t streamedChannel = 0;  // the serial of the channel whose file is open; 0: none
  std::vector<uint8_t> packets(size_t{kBatchPackets} * kPacketSize);
  std::vector<Receiving> receiving;
  std::vector<Handover> full;
  // Packet n is due at start + n packets at the stream's rate: absolute, so that the pace holds
  // over any length of time and across the loop to the file's start.
  Clock::time_point start;
  uint64_t sent = 0;
  bool restartPace = true;
  uint32_t pacedAs = DIB_EMULATOR_MANUAL;
  std::unique_lock lock(aEmulator.mutex);
  while (!aEmulator.driver->stopping) {
    Driver& driver = *aEmulator.driver;
    const Channel* received = driver.delivery == DIB_EMULATOR_MANUAL ? nullptr : receivedChannel(driver);
    if (received == nullptr || !received->locked) {
      restartPace = true;
      aEmulator.changed.wait(lock);
      continue;
    }
    if (received->serial != streamedChannel) {
      const std::string file = received->plan.file;
      streamedChannel = received->serial;
      lock.unlock();
      streamHasPackets = stream.open(file);
      lock.lock();
      sent = 0;
      restartPace = true;
      continue;
    }
    const uint64_t channel = streamedChannel;
    // A file without a packet has nothing to play: sleep until the channel changes.
    if (!streamHasPackets) {
      aEmulator.changed.wait(lock);
      continue;
    }
    const Clock::time_point now = Clock::now();
    collectReceiving(driver, channel, receiving);
    if (handOverOldPartialBuffer(aEmulator, lock, receiving, now)) {
      continue;
    }
    const double packetsPerSecond = stream.bytesPerSecond() / kPacketSize;
    if (restartPace || pacedAs != driver.delivery) {
      start = now - std::chrono::duration_cast<Clock::duration>(
                        std::chrono::duration<double>(double(sent) / packetsPerSecond));
      restartPace = false;
      pacedAs = driver.delivery;
    }
    uint32_t count = kBatchPackets;
    if (driver.delivery == DIB_EMULATOR_PACED) {
      const uint64_t due = uint64_t(std::chrono::duration<double>(now - start).count() * packetsPerSecond);
      if (due <= sent) {
        const auto nextPacket = start + std::chrono::duration_cast<Clock::duration>(
                                            std::chrono::duration<double>(double(sent + 1) / packetsPerSecond));
        aEmulator.changed.wait_until(
            lock, std::min(std::max(nextPacket, now + kShortestSleep), nextPartialDeadline(receiving)));
        continue;
      }
      count = uint32_t(std::min<uint64_t>(due - sent, kBatchPackets));
    } else if (!anyFilterReceiving(receiving)) {
      // Unpaced: as fast as buffers come back, and not at all while no filter could take a
      // packet (a filter whose PIDs were all removed would have the file read in a busy loop).
      aEmulator.changed.wait(lock);
      continue;
    }
    lock.unlock();
    count = stream.read(packets.data(), count);
    lock.lock();
    if (count == 0) {
      streamHasPackets = false;
      continue;
    }
    sent += count;
    // The filters may have changed while the file was read.
    collectReceiving(driver, channel, receiving);
    distribute(aEmulator, lock, channel, receiving, full, packets.data(), count, now);
  }
}

}  // namespace dibemulator

using namespace dibemulator;

extern "C" DIB_API int32_t DibEmulatorDeliver(uint8_t aFilter, uint8_t aBufferIndex, uint32_t aEvent,
                                              const uint8_t* aData, int32_t aSize) {
  Emulator& e = emulator();
  std::unique_lock lock(e.mutex);
  Filter* filter = e.driver != nullptr && aFilter < kIdCount ? e.driver->filters[aFilter].get() : nullptr;
  if (filter == nullptr) {
    return kFailure;
  }
  auto buffer = std::find_if(filter->buffers.begin(), filter->buffers.end(),
                             [&](const Buffer& b) { return b.lent && b.index == aBufferIndex; });
  if (buffer == filter->buffers.end() || (aSize > 0 && (aData == nullptr || uint32_t(aSize) > buffer->size))) {
    return kFailure;
  }
  if (aSize > 0) {
    std::memcpy(buffer->data, aData, size_t(aSize));
  }
  Handover handover = takeBuffer(*filter, *buffer, aSize);
  // Events other than data leave the buffer with the driver.
  buffer->lent = aEvent != DIB_EMULATOR_EVENT_DATA;
  handOver(e, lock, handover, aEvent);
  return 0;
}
