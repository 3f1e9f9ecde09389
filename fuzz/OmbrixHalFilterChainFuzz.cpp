// Any bytes, cut into TS packets and played by a file tuner through a section, a PES, a PCR and
// a teletext chain and an every-PID filter, are handled without a read or write outside what the
// library owns and without a leak. Input: the packets' bytes; the sync byte of each packet is
// forced (the tuner would not play them otherwise) and its PID folded onto the filtered ones.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "OmbrixHal.h"

namespace {

constexpr size_t kPacketSize = 188;
constexpr uint32_t kPids[] = {0x0000, 0x0100, 0x0101, 0x0102};

std::vector<uint8_t> stream;
OmbrixHalFileBuiltinFile file = {0, nullptr, "input.ts"};
const OmbrixHalFileBuiltinDirectory directory = {"fuzz", 1, &file};
OmbrixHalTunerHandle tuner = nullptr;
volatile uint32_t touched;

// Reads every delivered byte, so that AddressSanitizer sees any delivery beyond the data.
void touch(OmbrixHalFilterHandle, const uint8_t* aData, uint32_t aLength, void*) {
  uint32_t sum = 0;
  for (uint32_t i = 0; i < aLength; ++i) {
    sum += aData[i];
  }
  touched = touched + sum;
}

// Started once: the tuner's pacing thread makes opening one per input slow.
bool start() {
  OmbrixHalInitParameter parameter = {1, 1};
  OmbrixHalInit(&parameter);
  OmbrixHalFileBuiltinRegisterDirectory(&directory);
  tuner = OmbrixHalTunerOpen("digitalFile");
  return tuner != nullptr;
}

OmbrixHalFilterHandle openStarted(OmbrixHalFilterType type, uint32_t pid, uint8_t options) {
  OmbrixHalFilterHandle filter = OmbrixHalFilterOpen(tuner, type, nullptr, touch, nullptr);
  OmbrixHalFilterParameter parameter{};
  parameter.pid = pid;
  parameter.crcCheck = options & 1;
  parameter.filterLen = options >> 1 & 0x0f;  // up to 15, past the 10 match bytes on purpose
  for (size_t i = 0; i < OMBRIX_HAL_FILTER_MATCH_SIZE; ++i) {
    parameter.match[i] = static_cast<uint8_t>(options * i);
    parameter.mask[i] = options & 0x20 ? 0 : 0x80;
  }
  OmbrixHalFilterSetParameter(filter, &parameter);
  OmbrixHalFilterStart(filter);
  return filter;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* aData, size_t aSize) {
  static const bool started = start();
  if (!started || aSize == 0) {
    return 0;
  }
  // At least two packets, or the tuner finds no sync.
  const size_t packets = aSize / kPacketSize + 2;
  stream.assign(packets * kPacketSize, 0xff);
  std::memcpy(stream.data(), aData, aSize);
  for (size_t at = 0; at < stream.size(); at += kPacketSize) {
    uint8_t* packet = stream.data() + at;
    const uint32_t pid = kPids[(packet[1] ^ packet[2]) & 3];
    packet[0] = 0x47;
    packet[1] = static_cast<uint8_t>((packet[1] & 0xe0) | pid >> 8);
    packet[2] = static_cast<uint8_t>(pid);
  }
  file.Size = static_cast<uint32_t>(stream.size());
  file.Data = stream.data();

  const uint8_t options = aData[0];
  OmbrixHalFilterHandle filters[] = {
      openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, kPids[0], options),
      openStarted(OMBRIX_HAL_FILTER_TYPE_PES, kPids[1], options),
      openStarted(OMBRIX_HAL_FILTER_TYPE_PCR, kPids[2], options),
      openStarted(OMBRIX_HAL_FILTER_TYPE_TELETEXT, kPids[3], options),
      openStarted(OMBRIX_HAL_FILTER_TYPE_TS, OMBRIX_HAL_FILTER_PID_ALL, options),
  };
  if (OmbrixHalTunerSetParameterByString(tuner, "digitalFile: name=//builtin/fuzz/input.ts, repetitions=1")) {
    OmbrixHalTunerReceive(tuner, static_cast<uint32_t>(packets));
  }
  for (OmbrixHalFilterHandle filter : filters) {
    OmbrixHalFilterClose(filter);
  }
  return 0;
}
