// TS packets played by a "digitalFile" tuner, pulled with OmbrixHalTunerReceive, through section,
// PES, PCR and teletext chains and every-PID filters, while the input opens, starts, stops and
// closes clients between packets and arms handlers that close or stop their own filter. Nothing
// is read or written outside what the library owns, every packet played reaches an every-PID
// filter exactly once, and each run frees all it allocated.
//
// Input: one byte L, then L bytes of operations (a small program), then the stream. The stream
// is cut into 188-byte packets (at least two, padded with 0xff); the sync byte of each is forced
// and its PID folded onto the four PIDs the clients choose from.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <vector>

#include "OmbrixHal.h"

namespace {

constexpr uint32_t kPacketSize = 188;
// pid & 3 is each one's own index, so folding leaves these four PIDs as they are.
constexpr uint32_t kPids[] = {0x0000, 0x0101, 0x0102, 0x0103};
constexpr size_t kClientCount = 8;
constexpr uint32_t kUnknownType = 7;
constexpr OmbrixHalFilterType kClientTypes[] = {
    OMBRIX_HAL_FILTER_TYPE_TS,  OMBRIX_HAL_FILTER_TYPE_SECTION,  OMBRIX_HAL_FILTER_TYPE_PCR,
    OMBRIX_HAL_FILTER_TYPE_PES, OMBRIX_HAL_FILTER_TYPE_TELETEXT, kUnknownType,
};
constexpr const char* kFileName = "//builtin/fuzz/input.ts";
constexpr const char* kMissingFileName = "//builtin/fuzz/missing.ts";
constexpr const char* kStatusFunction = "OmbrixHalMemoryPrintStatus";
constexpr const char* kBlockCountPrefix = "Allocated Blocks: ";
constexpr const char* kMemoryFunctionPrefix = "OmbrixHalMemory";

// A program byte modulo kOperationCount picks one; each but the two opens takes a slot byte next
// (or, for kReceive, the packet count), and some take more (see run).
enum Operation : uint8_t {
  kOpen,
  kOpenReal,
  kStart,
  kStop,
  kClose,
  kSetParameter,
  kReceive,
  kArm,
  kPoke,
  kOperationCount
};

// What a handler does to its own filter at its next call.
enum SelfAction : uint8_t { kNothing, kCloseSelf, kStopSelf };

struct Client {
  OmbrixHalFilterHandle filter;
  OmbrixHalFilterType type;
  SelfAction action;
};

// The input's operations, read one byte at a time; 0 once they are used up.
struct Program {
  const uint8_t* next;
  const uint8_t* end;
  bool done() const { return next == end; }
  uint8_t take() { return next != end ? *next++ : 0; }
};

std::vector<uint8_t> stream;
OmbrixHalFileBuiltinFile file = {0, nullptr, "input.ts"};
const OmbrixHalFileBuiltinDirectory directory = {"fuzz", 1, &file};
OmbrixHalTunerHandle tuner = nullptr;
Client clients[kClientCount];
uint32_t everyPidCalls = 0;
long liveBlocks = -1;
long idleBlocks = -1;
volatile uint32_t touched;

[[noreturn]] void fail(const char* what, long expected, long found) {
  std::fprintf(stderr, "OmbrixHalFilterChainFuzz: %s: expected %ld, found %ld\n", what, expected, found);
  std::abort();
}

// Takes the block count from the memory statistics, and stops at any complaint of the
// allocator (a block freed twice, or a foreign pointer).
void watchLog(void*, const char* aFunctionName, uint32_t, uint32_t aSeverity, const char* aText) {
  if (std::strcmp(aFunctionName, kStatusFunction) == 0 &&
      std::strncmp(aText, kBlockCountPrefix, std::strlen(kBlockCountPrefix)) == 0) {
    liveBlocks = std::atol(aText + std::strlen(kBlockCountPrefix));
  } else if (aSeverity == OMBRIX_HAL_LOGGER_SEVERITY_ERROR &&
             std::strncmp(aFunctionName, kMemoryFunctionPrefix, std::strlen(kMemoryFunctionPrefix)) == 0) {
    std::fprintf(stderr, "OmbrixHalFilterChainFuzz: %s: %s\n", aFunctionName, aText);
    std::abort();
  }
}

long countLiveBlocks() {
  liveBlocks = -1;
  OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_INFO);
  OmbrixHalMemoryPrintStatistics();
  OmbrixHalDisableLog(OMBRIX_HAL_LOGGER_ID_INFO);
  return liveBlocks;
}

// The tuning record for a file; repetitions 1 and no pace, so that the input pulls every packet.
bool tune(const char* fileName) {
  OmbrixHalTunerParameter parameter{};
  parameter.DigitalFile.Type = OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE;
  std::strncpy(parameter.DigitalFile.Name, fileName, sizeof parameter.DigitalFile.Name - 1);
  parameter.DigitalFile.Repetitions = 1;
  return OmbrixHalTunerSetParameter(tuner, &parameter) != 0;
}

// Reads every delivered byte, so that AddressSanitizer sees any delivery beyond the data.
void touch(const uint8_t* aData, uint32_t aLength) {
  uint32_t sum = 0;
  for (uint32_t i = 0; i < aLength; ++i) {
    sum += aData[i];
  }
  touched = touched + sum;
}

void countEveryPid(OmbrixHalFilterHandle, const uint8_t* aData, uint32_t aLength, void*) {
  if (aLength != kPacketSize || aData[0] != 0x47) {
    fail("every-PID delivery of a whole packet", kPacketSize, aLength);
  }
  touch(aData, aLength);
  ++everyPidCalls;
}

// The lengths each kind may deliver.
bool isDeliverable(OmbrixHalFilterType type, uint32_t length) {
  switch (type) {
    case OMBRIX_HAL_FILTER_TYPE_TS:
      return length == kPacketSize;
    case OMBRIX_HAL_FILTER_TYPE_SECTION:
      return length >= 3 && length <= 4098;
    case OMBRIX_HAL_FILTER_TYPE_PCR:
      return length == 8;
    case OMBRIX_HAL_FILTER_TYPE_PES:
      return length >= 1 && length <= 65536;
    case OMBRIX_HAL_FILTER_TYPE_TELETEXT:
      return length == 42;
    default:
      return false;
  }
}

void handleClient(OmbrixHalFilterHandle aFilter, const uint8_t* aData, uint32_t aLength, void* aContext) {
  Client& client = *static_cast<Client*>(aContext);
  if (aFilter == nullptr || aFilter != client.filter) {
    fail("a delivery only to an open filter, naming it", reinterpret_cast<long>(client.filter),
         reinterpret_cast<long>(aFilter));
  }
  if (!isDeliverable(client.type, aLength)) {
    fail("a delivery length of its kind", client.type, aLength);
  }
  touch(aData, aLength);
  const SelfAction action = client.action;
  client.action = kNothing;
  if (action == kCloseSelf) {
    client.filter = nullptr;
    OmbrixHalFilterClose(aFilter);
  } else if (action == kStopSelf) {
    OmbrixHalFilterStop(aFilter);
  }
}

// Two argument bytes: the PID (one of the four or, with bit 2, every PID), the CRC check, and
// the table_id a section must have, compared over a match length of up to 15 bytes, past the
// 10 match bytes on purpose.
OmbrixHalFilterParameter parameterOf(uint8_t selection, uint8_t tableId) {
  OmbrixHalFilterParameter parameter{};
  parameter.pid = selection & 4 ? OMBRIX_HAL_FILTER_PID_ALL : kPids[selection & 3];
  parameter.crcCheck = selection >> 3 & 1;
  parameter.filterLen = selection >> 4;
  parameter.match[0] = tableId;
  parameter.mask[0] = 0xff;
  return parameter;
}

void closeClient(Client& client) {
  if (client.filter != nullptr) {
    OmbrixHalFilterClose(client.filter);
    client.filter = nullptr;
  }
  client.action = kNothing;
}

// Opened through the map filters, or as a chain of its own on the tuner (a PCR filter is that
// either way), then set and started. Three argument bytes: the slot (bits 0 to 2), the kind
// (bits 3 to 5), a name (bit 6) and, for a PCR filter, no handler (bit 7); then the parameter's.
void openClient(Program& program, bool ownChain) {
  const uint8_t choice = program.take();
  const uint8_t selection = program.take();
  const OmbrixHalFilterParameter parameter = parameterOf(selection, program.take());
  Client& client = clients[choice & 7];
  closeClient(client);
  client.type = kClientTypes[(choice >> 3 & 7) % std::size(kClientTypes)];
  // A PCR filter may go without a handler, and be polled.
  const OmbrixHalFilterHandler handler =
      client.type == OMBRIX_HAL_FILTER_TYPE_PCR && choice & 0x80 ? nullptr : handleClient;
  client.filter = ownChain
                      ? OmbrixHalFilterCreateRealFilter(tuner, client.type, handler, &client)
                      : OmbrixHalFilterOpen(tuner, client.type, choice & 0x40 ? "fuzz" : nullptr, handler, &client);
  if (client.filter != nullptr) {
    OmbrixHalFilterSetParameter(client.filter, &parameter);
    OmbrixHalFilterStart(client.filter);
  }
}

// Pulls `count` packets; the tuner must give exactly what is left of the file, and the every-PID
// filter must have seen each packet played so far.
void receive(uint32_t count, uint32_t& played, uint32_t packets) {
  const uint32_t left = packets - played;
  const bool allCame = OmbrixHalTunerReceive(tuner, count) != 0;
  played += count < left ? count : left;
  if (allCame != (count <= left)) {
    fail("Receive's answer for the packets left", count <= left, allCame);
  }
  if (everyPidCalls != played) {
    fail("every-PID deliveries of the packets played", played, everyPidCalls);
  }
}

void poke(Client& client, uint8_t which) {
  OmbrixHalFilterParameter parameter{};
  OmbrixHalFilterInfo info{};
  OmbrixHalFilterGetParameter(client.filter, &parameter);
  OmbrixHalFilterGetInfo(client.filter, &info);
  if (which & 0x08) {
    OmbrixHalFilterResetInfo(client.filter);
  }
  if (which & 0x10) {
    OmbrixHalFilterReset(client.filter);
  }
}

void run(Program& program, uint32_t& played, uint32_t packets) {
  while (!program.done()) {
    const uint8_t operation = program.take() % kOperationCount;
    const uint8_t argument = operation == kOpen || operation == kOpenReal ? 0 : program.take();
    Client& client = clients[argument & 7];
    switch (operation) {
      case kOpen:
      case kOpenReal:
        openClient(program, operation == kOpenReal);
        break;
      case kStart:
        OmbrixHalFilterStart(client.filter);
        break;
      case kStop:
        OmbrixHalFilterStop(client.filter);
        break;
      case kClose:
        closeClient(client);
        break;
      case kSetParameter: {
        const OmbrixHalFilterParameter parameter = parameterOf(program.take(), program.take());
        OmbrixHalFilterSetParameter(client.filter, &parameter);
        break;
      }
      case kReceive:
        receive(argument, played, packets);
        break;
      case kArm:
        client.action = static_cast<SelfAction>((argument >> 3) % 3);
        break;
      case kPoke:
        poke(client, argument);
        break;
      default:
        break;
    }
  }
}

// The forced sync bytes and folded PIDs; transport_error, unit start and priority bits are kept.
void cutIntoPackets(const uint8_t* aData, size_t aSize) {
  const size_t packets = aSize / kPacketSize + 2;
  stream.assign(packets * kPacketSize, 0xff);
  std::memcpy(stream.data(), aData, aSize);
  for (size_t at = 0; at < stream.size(); at += kPacketSize) {
    uint8_t* packet = stream.data() + at;
    const uint32_t pid = kPids[packet[2] & 3];
    packet[0] = 0x47;
    packet[1] = static_cast<uint8_t>((packet[1] & 0xe0) | pid >> 8);
    packet[2] = static_cast<uint8_t>(pid);
  }
}

}  // namespace

// Started once: the tuner's pacing thread makes opening one per input slow.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static const uintptr_t videoWindow[1] = {0};
  OmbrixHalInitParameter parameter = {1, reinterpret_cast<uintptr_t>(videoWindow)};
  OmbrixHalSetLogHandler(watchLog, nullptr);
  OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_ERROR);
  if (!OmbrixHalInit(&parameter) || (tuner = OmbrixHalTunerOpen("digitalFile")) == nullptr) {
    fail("a started library with a file tuner", 1, 0);
  }
  idleBlocks = countLiveBlocks();
  if (idleBlocks <= 0) {
    fail("memory statistics with the tuner's blocks", 1, idleBlocks);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* aData, size_t aSize) {
  if (aSize == 0) {
    return 0;
  }
  const size_t programSize = std::min<size_t>(aData[0], aSize - 1);
  Program program = {aData + 1, aData + 1 + programSize};
  cutIntoPackets(program.end, aSize - 1 - programSize);
  const auto packets = static_cast<uint32_t>(stream.size() / kPacketSize);
  file.Size = static_cast<uint32_t>(stream.size());
  file.Data = stream.data();
  if (!OmbrixHalFileBuiltinRegisterDirectory(&directory) || !tune(kFileName)) {
    fail("a tuned file tuner", 1, 0);
  }

  // Open before any packet is played, and never touched by the program: it sees every packet.
  const OmbrixHalFilterParameter everyPid = parameterOf(4, 0);
  OmbrixHalFilterHandle everyPidFilter =
      OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, nullptr, countEveryPid, nullptr);
  if (!OmbrixHalFilterSetParameter(everyPidFilter, &everyPid) || !OmbrixHalFilterStart(everyPidFilter)) {
    fail("a started every-PID filter", 1, 0);
  }
  everyPidCalls = 0;
  uint32_t played = 0;
  run(program, played, packets);
  receive(packets, played, packets);
  if (played != packets || everyPidCalls == 0) {
    fail("packets played to the end", packets, everyPidCalls);
  }

  for (Client& client : clients) {
    closeClient(client);
  }
  OmbrixHalFilterClose(everyPidFilter);
  // A file that cannot be opened unties the tuner from the stream, which goes with this input.
  tune(kMissingFileName);
  OmbrixHalFileBuiltinUnregisterDirectory(&directory);
  const long blocks = countLiveBlocks();
  if (blocks != idleBlocks) {
    fail("blocks left after closing all that the input opened", idleBlocks, blocks);
  }
  return 0;
}
