// Tests of the section CRC-32: both implementations against the bit-by-bit reference, for every
// short length, odd alignments and large buffers (the folding constants are only ever used, and
// so tested, by the carry-less implementation).
#include <gtest/gtest.h>

#include <numeric>
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

TEST_P(Crc32Implementations, EqualsBitwiseReferenceForEveryShortLengthLargeBuffersAndOddAlignments) {
  std::mt19937 generator(1);
  Bytes data(1000003 + 16);
  for (uint8_t& byte : data) {
    byte = static_cast<uint8_t>(generator());
  }
  std::vector<size_t> lengths(301);
  std::iota(lengths.begin(), lengths.end(), 0);
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

}  // namespace
}  // namespace ombrixhal::test
