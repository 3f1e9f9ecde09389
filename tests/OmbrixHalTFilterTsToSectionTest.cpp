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

using SectionFilter = FileTunerTest;

TEST_F(SectionFilter, DeliversEveryWholeSectionThatPassesItsChecks) {
  const Bytes split = section(0x42, 400, 5);
  const Bytes largest = section(0x50, 0xFFF - 4, 1);  // fills the 4098-byte buffer
  const Bytes first = section(0x00, 9, 1);
  const Bytes second = section(0x02, 20, 2);
  const Bytes running = tsPacketsOf(section(0x42, 300, 3), true)[0];
  const Bytes falseStart{0x42, 0x00, 0x10, 0xAA};
  Bytes noPayload = tsPacketWith(concat({{0x00}, first}), true);
  noPayload[3] = 0x20;
  Bytes flipped = section(0x02, 60);
  flipped[30] ^= 0x04;
  // Starts 0x4E 0xB0 0x11: table_id, then the length bytes.
  const Bytes matched = section(0x4E, 13);
  // 7 bytes long: the bytes beyond its end in the buffer are those of the section before it.
  const Bytes shortOne = section(0x4E, 0);
  const auto carrying = [](const std::vector<Bytes>& sections) { return tsPacketsOf(concat(sections), true); };
  const struct {
    const char* name;
    std::vector<Bytes> packets;
    std::vector<Bytes> sections;
    OmbrixHalFilterParameter parameter = parameterWith(1);
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
      {"bad CRC", carrying({flipped, first}), {first}},
      {"bad CRC, unchecked", carrying({flipped}), {flipped}, parameterWith(0)},
      {"filterLen 0", carrying({matched}), {matched}, parameterWith(0, 0, {0x00}, {0xFF})},
      {"table_id", carrying({matched}), {matched}, parameterWith(0, 1, {0x4E}, {0xFF})},
      {"other table_id", carrying({matched}), {}, parameterWith(0, 1, {0x4F}, {0xFF})},
      {"table_id under a mask", carrying({matched}), {matched}, parameterWith(0, 1, {0x4F}, {0xFE})},
      {"length bytes", carrying({matched}), {matched}, parameterWith(0, 3, {0x4E, 0xB0, 0x11}, {0xFF, 0xFF, 0xFF})},
      {"other length", carrying({matched}), {}, parameterWith(0, 3, {0x4E, 0xB0, 0x12}, {0xFF, 0xFF, 0xFF})},
      {"length under a mask", carrying({matched}), {matched}, parameterWith(0, 3, {0, 0, 0x12}, {0, 0, 0xFC})},
      {"filterLen 20", carrying({matched}), {matched}, parameterWith(0, 20, {0x4E}, {0xFF})},
      {"short section", carrying({section(0x40, 13), shortOne}), {shortOne},
       parameterWith(0, 10, {0x4E, 0xB0, 0x04, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA},
                     {0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(delivered(OMBRIX_HAL_FILTER_TYPE_SECTION, c.packets, c.parameter), c.sections);
  }
}

// Sections received counts those that fail the CRC too; a reset keeps the info word. Asked of a
// client, which hands both calls to its chain.
TEST_F(SectionFilter, CountsSectionsAndCrcErrorsUntilTheirReset) {
  Bytes flipped = section(0x02, 60);
  flipped[30] ^= 0x04;
  Deliveries deliveries;
  OmbrixHalFilterHandle filter = openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, 0x100, deliveries, parameterWith(1));
  play(concat({tsPacketsOf(concat({flipped, section(0x02, 20)}), true)[0], tsPacketOf(0x1fff, 0xff)}));
  const auto info = [filter] {
    OmbrixHalFilterInfo info{};
    EXPECT_EQ(OmbrixHalFilterGetInfo(filter, &info), 1);
    return std::vector{info.infoWord, info.sectionsReceived, info.crcErrors};
  };
  EXPECT_EQ(info(), (std::vector<uint32_t>{1, 2, 1}));
  OmbrixHalFilterResetInfo(filter);
  EXPECT_EQ(info(), (std::vector<uint32_t>{1, 0, 0}));
  EXPECT_EQ(sumInOrder({OmbrixHalFilterTsToSectionGetInfo(nullptr, nullptr),
                        OmbrixHalFilterTsToSectionInfoReset(nullptr)}), 0);
  OmbrixHalFilterClose(filter);
}

}  // namespace
}  // namespace ombrixhal::test
