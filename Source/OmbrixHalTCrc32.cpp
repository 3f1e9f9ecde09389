// The CRC-32 of sections: slicing by eight bytes with tables everywhere, and folding by
// carry-less multiplication on x86-64 CPUs that have it.
#include "OmbrixHalTCrc32.h"

#include <array>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace ombrixhal {
namespace {

using Crc32Table = std::array<std::array<uint32_t, 256>, 8>;

// Row 0 is the classic byte table; row k advances a byte k further bytes through zeros, so that
// eight bytes are taken with eight independent look-ups.
constexpr Crc32Table makeSlicingTables() noexcept {
  Crc32Table tables{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t remainder = byte << 24;
    for (int bit = 0; bit < 8; ++bit) {
      remainder = (remainder & 0x80000000u) != 0 ? (remainder << 1) ^ kCrc32Polynomial : remainder << 1;
    }
    tables[0][byte] = remainder;
  }
  for (size_t row = 1; row < tables.size(); ++row) {
    for (uint32_t byte = 0; byte < 256; ++byte) {
      const uint32_t previous = tables[row - 1][byte];
      tables[row][byte] = (previous << 8) ^ tables[0][previous >> 24];
    }
  }
  return tables;
}

constexpr Crc32Table kSlicingTables = makeSlicingTables();

uint32_t loadBigEndian32(const uint8_t* bytes) noexcept {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

uint32_t updatePortable(uint32_t crc, const uint8_t* data, size_t length) noexcept {
  const auto& t = kSlicingTables;
  for (; length >= 8; data += 8, length -= 8) {
    const uint32_t high = crc ^ loadBigEndian32(data);
    crc = t[7][high >> 24] ^ t[6][(high >> 16) & 0xFF] ^ t[5][(high >> 8) & 0xFF] ^ t[4][high & 0xFF] ^
          t[3][data[4]] ^ t[2][data[5]] ^ t[1][data[6]] ^ t[0][data[7]];
  }
  for (; length > 0; ++data, --length) {
    crc = (crc << 8) ^ t[0][(crc >> 24) ^ *data];
  }
  return crc;
}

#if defined(__x86_64__)

// Folding constants for a 128-bit block whose upper half is H and lower half L, as a polynomial
// H x^64 + L: moving it n bits on is H (x^(n+64) mod P) + L (x^n mod P), two products of at
// most 95 bits that fit beside the block they are added to.
constexpr uint64_t kFold512High = crc32PowerOfX(512 + 64);
constexpr uint64_t kFold512Low = crc32PowerOfX(512);
constexpr uint64_t kFold128High = crc32PowerOfX(128 + 64);
constexpr uint64_t kFold128Low = crc32PowerOfX(128);

// Below this the set-up costs more than the tables take.
constexpr size_t kClmulMinimumLength = 64;

#define OMBRIX_HAL_CLMUL_TARGET __attribute__((target("pclmul,sse4.1")))

// The first message byte becomes the most significant: the bit order of the polynomial.
OMBRIX_HAL_CLMUL_TARGET inline __m128i loadBlock(const uint8_t* data, __m128i reverse) noexcept {
  return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data)), reverse);
}

OMBRIX_HAL_CLMUL_TARGET inline __m128i fold(__m128i block, __m128i constants, __m128i next) noexcept {
  const __m128i high = _mm_clmulepi64_si128(block, constants, 0x11);
  const __m128i low = _mm_clmulepi64_si128(block, constants, 0x00);
  return _mm_xor_si128(_mm_xor_si128(high, low), next);
}

OMBRIX_HAL_CLMUL_TARGET uint32_t crc32Clmul(const uint8_t* data, size_t length) noexcept {
  const __m128i reverse = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  const __m128i by512 = _mm_set_epi64x(static_cast<long long>(kFold512High), static_cast<long long>(kFold512Low));
  const __m128i by128 = _mm_set_epi64x(static_cast<long long>(kFold128High), static_cast<long long>(kFold128Low));

  // The preset is the same as inverting the first 32 message bits and starting from 0.
  __m128i lane0 = _mm_xor_si128(loadBlock(data, reverse), _mm_set_epi32(-1, 0, 0, 0));
  __m128i lane1 = loadBlock(data + 16, reverse);
  __m128i lane2 = loadBlock(data + 32, reverse);
  __m128i lane3 = loadBlock(data + 48, reverse);
  data += 64;
  length -= 64;
  // Four independent chains keep the multiplier busy while each product is still on its way.
  for (; length >= 64; data += 64, length -= 64) {
    lane0 = fold(lane0, by512, loadBlock(data, reverse));
    lane1 = fold(lane1, by512, loadBlock(data + 16, reverse));
    lane2 = fold(lane2, by512, loadBlock(data + 32, reverse));
    lane3 = fold(lane3, by512, loadBlock(data + 48, reverse));
  }
  __m128i folded = fold(fold(fold(lane0, by128, lane1), by128, lane2), by128, lane3);
  for (; length >= 16; data += 16, length -= 16) {
    folded = fold(folded, by128, loadBlock(data, reverse));
  }
  // What is folded so far stands for the message up to here; its 16 bytes run through the
  // tables from a zero register give the register at this point, and the tail follows on.
  alignas(16) uint8_t residue[16];
  _mm_store_si128(reinterpret_cast<__m128i*>(residue), _mm_shuffle_epi8(folded, reverse));
  return updatePortable(updatePortable(0, residue, sizeof residue), data, length);
}

#undef OMBRIX_HAL_CLMUL_TARGET

// For a CPU that has the instruction.
uint32_t crc32WithClmul(const uint8_t* data, size_t length) noexcept {
  return length >= kClmulMinimumLength ? crc32Clmul(data, length) : updatePortable(kCrc32Preset, data, length);
}

#endif

using Crc32Function = uint32_t (*)(const uint8_t*, size_t) noexcept;

Crc32Function chooseImplementation() noexcept {
#if defined(__x86_64__)
  if (hasClmul()) {
    return crc32WithClmul;
  }
#endif
  return crc32MpegPortable;
}

}  // namespace

bool hasClmul() noexcept {
#if defined(__x86_64__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
#else
  return false;
#endif
}

uint32_t crc32MpegPortable(const uint8_t* data, size_t length) noexcept {
  return updatePortable(kCrc32Preset, data, length);
}

uint32_t crc32MpegClmul(const uint8_t* data, size_t length) noexcept {
#if defined(__x86_64__)
  static const bool available = hasClmul();
  if (available) {
    return crc32WithClmul(data, length);
  }
#endif
  return crc32MpegPortable(data, length);
}

uint32_t crc32Mpeg(const uint8_t* data, size_t length) noexcept {
  static const Crc32Function implementation = chooseImplementation();
  return implementation(data, length);
}

}  // namespace ombrixhal
