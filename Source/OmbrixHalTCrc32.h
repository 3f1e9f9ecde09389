// Private: the CRC-32 of MPEG-2 systems (polynomial 0x04C11DB7, most significant bit first,
// register preset to 0xFFFFFFFF, no final inversion). A section is intact when the CRC over all
// its bytes, its own last four included, is 0.
#ifndef OMBRIX_HAL_T_CRC32_H
#define OMBRIX_HAL_T_CRC32_H

#include <cstddef>
#include <cstdint>

namespace ombrixhal {

inline constexpr uint32_t kCrc32Polynomial = 0x04C11DB7u;
inline constexpr uint32_t kCrc32Preset = 0xFFFFFFFFu;

// x^n mod P, P being the polynomial with its x^32 term: how a carry-less multiply moves a block
// of data n bits further down the message.
constexpr uint32_t crc32PowerOfX(uint32_t n) noexcept {
  uint32_t remainder = 1;
  for (uint32_t i = 0; i < n; ++i) {
    remainder = (remainder & 0x80000000u) != 0 ? (remainder << 1) ^ kCrc32Polynomial : remainder << 1;
  }
  return remainder;
}

// The fastest implementation that this CPU offers, chosen at the first call.
uint32_t crc32Mpeg(const uint8_t* data, size_t length) noexcept;

// Both implementations, for tests and benchmarks. The carry-less one falls back to the
// portable one where the CPU (or the target) lacks the instruction.
uint32_t crc32MpegPortable(const uint8_t* data, size_t length) noexcept;
uint32_t crc32MpegClmul(const uint8_t* data, size_t length) noexcept;
bool hasClmul() noexcept;

}  // namespace ombrixhal

#endif
