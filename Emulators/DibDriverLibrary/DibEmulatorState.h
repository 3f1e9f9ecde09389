// The emulator's state: the open driver (channels, filters, PID items, lent buffers), the
// control settings and the recorded calls. One mutex guards all of it; it is never held across
// a filter's callback.
#ifndef DIB_EMULATOR_STATE_H
#define DIB_EMULATOR_STATE_H

#include <array>
#include <atomic>
#include <bitset>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "DibEmulatorControl.h"
#include "DibEmulatorPlan.h"
#include "DibEmulatorStream.h"
#include "EmulatorCallCounts.h"
#include "EmulatorFailures.h"

namespace dibemulator {

using Clock = std::chrono::steady_clock;

inline constexpr int32_t kFailure = -1;
// Ids are bytes, and 255 is what a driver user keeps for "none".
inline constexpr size_t kIdCount = 255;
inline constexpr uint32_t kPidCount = 8192;

struct Channel {
  uint64_t serial;  // creation order: the newest channel with filters is the one received
  bool locked;
  PlanChannel plan;  // what it reports when locked
};

// A buffer a filter may fill: lent by the user (or, for a reader, by the emulator itself).
struct Buffer {
  uint8_t* data;
  uint32_t size;
  uint8_t index;
  bool lent;           // the driver may fill it; cleared when it is handed over
  uint64_t lentOrder;  // buffers fill in the order they were lent
  uint32_t filled;     // bytes
  Clock::time_point firstPacketAt;
};

struct Filter {
  uint8_t channel;
  uint64_t channelSerial;  // the channel of that id when the filter was made
  DibBufferCallback callback;
  void* context;
  bool reader;
  std::bitset<kPidCount> pids;
  std::vector<Buffer> buffers;
  uint64_t droppedPackets = 0;
};

struct Item {
  uint8_t filter;
  std::vector<uint16_t> pids;
};

// A callback in progress on a buffer, and the thread it runs on.
struct InFlight {
  const uint8_t* buffer;
  std::thread::id thread;
};

struct Driver {
  std::array<std::optional<Channel>, kIdCount> channels;
  std::array<std::unique_ptr<Filter>, kIdCount> filters;
  std::vector<uint8_t> filterIds;  // those that exist: the driver thread looks at them per batch
  std::array<std::optional<Item>, kIdCount> items;
  // The next id to try: ids go round, so that a stale id rarely names a new object.
  size_t nextChannel = 0;
  size_t nextFilter = 0;
  size_t nextItem = 0;
  uint64_t nextChannelSerial = 1;
  uint64_t nextLentOrder = 0;
  uint32_t delivery = DIB_EMULATOR_PACED;
  // TS reader mode: the buffers the emulator owns, and the reader filter using them.
  std::vector<uint8_t> readerMemory;
  uint32_t readerBufferCount = 0;
  bool readerOpen = false;
  std::optional<uint8_t> readerFilter;
  std::thread thread;
  bool stopping = false;
};

// What a callback needs, taken under the lock and used without it.
struct Handover {
  DibBufferCallback callback;
  void* context;
  DibBufferInfo info;
  bool reader;
};

struct Emulator {
  std::mutex mutex;
  // Buffers lent, callbacks ended, filters, channels or the delivery mode changed.
  std::condition_variable changed;
  std::unique_ptr<Driver> driver;
  std::vector<InFlight> inFlight;

  emulatorcommon::ProgrammedFailures failures;
  std::vector<DibEmulatorCall> calls;
  emulatorcommon::CallCounts callCounts;
  std::optional<DibChannelDescription> channelRequest;
  std::optional<std::string> planPath;  // DibEmulatorSetChannelPlan's, else the environment's
  std::optional<uint32_t> delivery;     // DibEmulatorSetDelivery's, else the environment's
  ChannelPlan plan;
  std::atomic<uint64_t> deliveredPackets{0};
};

// The one emulator of the process; never destroyed, so that a driver left open at exit does
// not take a running thread down with it.
Emulator& emulator();

bool isOpen(const Emulator& aEmulator, DibDriverHandle aDriver);
uint32_t deliveryFromEnvironment();
// Starts the driver thread once a filter has a buffer, unless delivery is manual.
void startDriverThreadIfDue(Emulator& aEmulator);
// The driver thread's body.
void deliverStream(Emulator& aEmulator);
// Calls aHandover's callback on this thread with the lock released; a reader's buffer is lent
// again afterwards.
void handOver(Emulator& aEmulator, std::unique_lock<std::mutex>& aLock, const Handover& aHandover, uint32_t aEvent);
// Marks aBuffer handed over and describes it for its callback.
Handover takeBuffer(const Filter& aFilter, Buffer& aBuffer, int32_t aDataSize);
bool inFlightElsewhere(const Emulator& aEmulator, const uint8_t* aBuffer);

}  // namespace dibemulator

#endif
