// Tests of the teletext filter on a "digitalFile" tuner, and on a fake PES parent: which data
// units become lines, their bit order, and the lines reversed in place in the PES packet.
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

// The line that teletextUnit(id, first) carries, as the filter delivers it: bits reversed.
Bytes deliveredLine(uint8_t first) {
  Bytes line;
  for (uint8_t i = 0; i < 42; ++i) {
    uint8_t byte = 0;
    for (int bit = 0; bit < 8; ++bit) {
      byte = static_cast<uint8_t>(byte | (((first + i) >> bit) & 1) << (7 - bit));
    }
    line.push_back(byte);
  }
  return line;
}

using TeletextLines = FileTunerTest;

TEST_F(TeletextLines, TeletextAndSubtitleUnitsOfTeletextDataIdentifiersBecomeLines) {
  Bytes oddLength = teletextUnit(0x02, 0x10);
  oddLength[1] = 0x10;  // a wrong data_unit_length: still 46 bytes
  Bytes partial = teletextUnit(0x02, 0x40);
  partial.pop_back();
  const struct {
    const char* name;
    Bytes pes;
    std::vector<Bytes> lines;
  } cases[] = {
      {"around stuffing", teletextPes(0x10, {teletextUnit(0x02, 0x01), stuffingUnit(44), teletextUnit(0x03, 0x81)}),
       {deliveredLine(0x01), deliveredLine(0x81)}},
      {"data_identifier 0x0f", teletextPes(0x0f, {teletextUnit(0x02, 0)}), {}},
      {"data_identifier 0x1f", teletextPes(0x1f, {teletextUnit(0x02, 0)}), {deliveredLine(0)}},
      {"data_identifier 0x20", teletextPes(0x20, {teletextUnit(0x02, 0)}), {}},
      {"data_identifier 0x99", teletextPes(0x99, {teletextUnit(0x02, 0)}), {}},
      // The length of a teletext unit is not read; other units are stepped over by theirs, and
      // a trailing partial unit is dropped.
      {"unit lengths",
       teletextPes(0x10, {oddLength, stuffingUnit(3), teletextUnit(0x03, 0x20), teletextUnit(0x04, 0), partial}),
       {deliveredLine(0x10), deliveredLine(0x20)}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(delivered(OMBRIX_HAL_FILTER_TYPE_TELETEXT, tsPacketsOf(c.pes)), c.lines);
  }
}

TEST_F(TeletextLines, LinesAreReversedWhereTheyStandInThePesPacket) {
  FakeParentFilter* parent = createFakeParent(OMBRIX_HAL_FILTER_TYPE_PES);
  OmbrixHalFilterHandle filter = OmbrixHalFilterPesToTtxCreate(&parent->head);
  Deliveries deliveries;
  const OmbrixHalFilterParameter parameter{};
  ASSERT_EQ(sumInOrder({OmbrixHalFilterSetHandler(filter, Deliveries::record, &deliveries),
                        OmbrixHalFilterSetParameter(filter, &parameter), OmbrixHalFilterStart(filter)}),
            3);
  Bytes pes = teletextPes(0x10, {teletextUnit(0x02, 0x01), stuffingUnit(44), teletextUnit(0x03, 0x81)});
  parent->deliver(pes);
  EXPECT_EQ(deliveries.data(), (std::vector<Bytes>{deliveredLine(0x01), deliveredLine(0x81)}));
  EXPECT_EQ(Bytes(pes.begin() + 50, pes.begin() + 92), deliveredLine(0x01));
  EXPECT_EQ(pes[46 + 46], 0xff);
  EXPECT_EQ(Bytes(pes.begin() + 142, pes.end()), deliveredLine(0x81));
  EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
}

}  // namespace
}  // namespace ombrixhal::test
