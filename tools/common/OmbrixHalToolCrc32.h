// The CRC-32 of MPEG-2 sections, bit by bit, for the tools: the generator writes it, the
// inspector checks the one table whose CRC the HAL cannot check for it.
#ifndef OMBRIX_HAL_TOOL_CRC32_H
#define OMBRIX_HAL_TOOL_CRC32_H

#include <cstddef>
#include <cstdint>

inline uint32_t sectionCrc32(const uint8_t* data, size_t length) {
  uint32_t crc = 0xffffffffu;
  for (size_t i = 0; i < length; ++i) {
    crc ^= static_cast<uint32_t>(data[i]) << 24;
    for (int bit = 0; bit < 8; ++bit) {
      crc = crc & 0x80000000u ? crc << 1 ^ 0x04c11db7u : crc << 1;
    }
  }
  return crc;
}

#endif
