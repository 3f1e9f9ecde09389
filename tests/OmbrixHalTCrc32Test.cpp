// Tests of the section CRC-32: both implementations against the bit-by-bit reference, for every
// short length, odd alignments and large buffers, and the folding constants.
#include <gtest/gtest.h>

#include <random>

#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalTCrc32.h"

namespace ombrixhal::test {
namespace {

using Crc32Function = uint32_t (*)(const uint8_t*, size_t) noexcept;

struct Implementation {
  const char* name;
  Crc32Function crc;
};

class Crc32Implementations : public ::testing::TestWithParam<Implementation> {};

Bytes randomBytes(size_t length, uint32_t seed) {
  std::mt19937 generator(seed);
  Bytes bytes(length);
  for (uint8_t& byte : bytes) {
    byte = static_cast<uint8_t>(generator());
  }
  return bytes;
}

TEST_P(Crc32Implementations, EqualsBitwiseReferenceForEveryShortLengthLargeBuffersAndOddAlignments) {
  const Bytes data = randomBytes(1000003 + 16, 1);
  std::vector<size_t> lengths;
  for (size_t length = 0; length <= 300; ++length) {
    lengths.push_back(length);
  }
  lengths.insert(lengths.end(), {1023, 1024, 1025, 4093, 4098, 4096, 65536, 1000003});
  for (size_t offset : {0, 1, 3, 7, 13}) {
    for (size_t length : lengths) {
      const uint8_t* start = data.data() + offset;
      ASSERT_EQ(GetParam().crc(start, length), crc32Bitwise(start, length)) << "length " << length << " at +" << offset;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, Crc32Implementations,
                         ::testing::Values(Implementation{"Portable", crc32MpegPortable},
                                           Implementation{"Clmul", crc32MpegClmul},
                                           Implementation{"Chosen", crc32Mpeg}),
                         [](const auto& info) { return std::string(info.param.name); });

// x^n mod P is the CRC, from a zero register, of a 1 bit followed by n - 32 zero bits.
TEST(Crc32FoldingConstants, PowersOfXEqualTheRemainderOfAOneBitMessage) {
  for (uint32_t n : {32u, 64u, 96u, 128u, 192u, 512u, 576u}) {
    Bytes message((n - 32) / 8 + 1, 0);
    message[0] = 0x01;
    EXPECT_EQ(crc32PowerOfX(n), crc32Bitwise(message.data(), message.size(), 0)) << n;
  }
}

}  // namespace
}  // namespace ombrixhal::test
