// Tests of the section filter on a "digitalFile" tuner: assembly across packets, pointer fields
// and stuffing, CRC and match/mask, and the statistics.
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

OmbrixHalFilterParameter parameterWith(uint32_t crcCheck, uint32_t filterLen = 0, const Bytes& match = {},
                                       const Bytes& mask = {}) {
  OmbrixHalFilterParameter parameter{};
  parameter.crcCheck = crcCheck;
  parameter.filterLen = filterLen;
  std::copy(match.begin(), match.end(), parameter.match);
  std::copy(mask.begin(), mask.end(), parameter.mask);
  return parameter;
}

using SectionAssembly = FileTunerTest;

TEST_F(SectionAssembly, DeliversEveryWholeSectionThePacketsCarry) {
  const Bytes split = section(0x42, 400, 5);
  const Bytes largest = section(0x50, 0xFFF - 4, 1);  // fills the 4098-byte buffer
  const Bytes first = section(0x00, 9, 1);
  const Bytes second = section(0x02, 20, 2);
  const Bytes running = tsPacketsOf(section(0x42, 300, 3), true)[0];
  const Bytes falseStart{0x42, 0x00, 0x10, 0xAA};
  Bytes noPayload = tsPacketWith(concat({{0x00}, first}), true);
  noPayload[3] = 0x20;
  const struct {
    const char* name;
    std::vector<Bytes> packets;
    std::vector<Bytes> sections;
  } cases[] = {
      {"split over three packets", tsPacketsOf(split, true), {split}},
      {"largest", tsPacketsOf(largest, true), {largest}},
      {"two in one packet, then stuffing", {tsPacketWith(concat({{0x00}, first, second}), true)}, {first, second}},
      // The new-section position cuts off a running section, and a false start read from the
      // bytes before it.
      {"pointer field cuts off",
       {running, tsPacketWith(concat({{0x0A}, Bytes(10, 0x11), second}), true),
        tsPacketWith(concat({{0x04}, falseStart, second}), true)},
       {second, second}},
      {"section_length 0",
       {tsPacketWith(concat({{0x00, 0x00, 0xB0, 0x00}, Bytes(180, 0x12)}), true), tsPacketWith(Bytes(184, 0x34), false),
        tsPacketWith(concat({{0x00}, first}), true)},
       {first}},
      {"no payload, or an adaptation field that fills the packet",
       {noPayload, tsPacketWith({}, true, 183), tsPacketWith(concat({{0x00}, first}), true, 20)},
       {first}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(delivered(OMBRIX_HAL_FILTER_TYPE_SECTION, c.packets, parameterWith(1)), c.sections);
  }
}

using SectionChecks = FileTunerTest;

// The info word, sections received and CRC errors.
std::vector<uint32_t> info(OmbrixHalFilterHandle filter) {
  OmbrixHalFilterInfo info{};
  EXPECT_EQ(OmbrixHalFilterGetInfo(filter, &info), 1);
  return {info.infoWord, info.sectionsReceived, info.crcErrors};
}

TEST_F(SectionChecks, CrcFailureIsCountedAndDeliveredOnlyWithoutTheCheck) {
  const struct {
    uint32_t crcCheck;
    bool flip;
    size_t delivered;
    uint32_t crcErrors;
  } cases[] = {{1, false, 1, 0}, {1, true, 0, 1}, {0, true, 1, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "crcCheck " << c.crcCheck << " flip " << c.flip);
    Bytes bytes = section(0x02, 60);
    bytes[30] ^= c.flip ? 0x04 : 0x00;
    Deliveries deliveries;
    OmbrixHalFilterHandle filter =
        openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, 0x100, deliveries, parameterWith(c.crcCheck), true);
    play(concat({tsPacketsOf(bytes, true)[0], tsPacketOf(0x1fff, 0xff)}));
    EXPECT_EQ(deliveries.calls.size(), c.delivered);
    EXPECT_EQ(info(filter), (std::vector<uint32_t>{1, 1, c.crcErrors}));
    OmbrixHalFilterResetInfo(filter);
    EXPECT_EQ(info(filter), (std::vector<uint32_t>{1, 0, 0}));
    OmbrixHalFilterClose(filter);
  }
  OmbrixHalFilterInfo statistics{};
  EXPECT_EQ(OmbrixHalFilterTsToSectionGetInfo(nullptr, &statistics) + OmbrixHalFilterTsToSectionInfoReset(nullptr), 0);
}

// The section starts 0x4E 0xB0 0x11 (table_id, then the length bytes). The short one is 7 bytes
// long, and the bytes beyond its end in the buffer are those of the section before it.
TEST_F(SectionChecks, MatchAndMaskCompareTheFirstBytesIncludingTheLengthBytes) {
  const struct {
    uint32_t filterLen;
    Bytes match;
    Bytes mask;
    bool delivered;
    size_t bodyLength = 13;
    Bytes before = {};
  } cases[] = {
      {0, {0x00}, {0xFF}, true},
      {1, {0x4E}, {0xFF}, true},
      {1, {0x4F}, {0xFF}, false},
      {1, {0x4F}, {0xFE}, true},
      {3, {0x4E, 0xB0, 0x11}, {0xFF, 0xFF, 0xFF}, true},
      {3, {0x4E, 0xB0, 0x12}, {0xFF, 0xFF, 0xFF}, false},
      {3, {0x00, 0x00, 0x12}, {0x00, 0x00, 0xFC}, true},
      {20, {0x4E}, {0xFF}, true},
      {10, {0x4E, 0xB0, 0x04, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA}, {0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF}, true, 0,
       section(0x40, 13)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "filterLen " << c.filterLen << " match " << int{c.match.back()});
    const Bytes sections = concat({c.before, section(0x4E, c.bodyLength)});
    EXPECT_EQ(delivered(OMBRIX_HAL_FILTER_TYPE_SECTION, tsPacketsOf(sections, true),
                        parameterWith(0, c.filterLen, c.match, c.mask))
                  .size(),
              c.delivered ? 1u : 0u);
  }
}

}  // namespace
}  // namespace ombrixhal::test
