// Tests of the teletext filter on a fake PES parent, and on a real PES filter: which data units
// become lines, their bit order, and the lines reversed in place in the PES packet.
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

uint8_t reversed(uint8_t byte) {
  uint8_t result = 0;
  for (int bit = 0; bit < 8; ++bit) {
    result = static_cast<uint8_t>(result | (((byte >> bit) & 1) << (7 - bit)));
  }
  return result;
}

// The line that teletextUnit(id, first) carries, as the filter delivers it.
Bytes deliveredLine(uint8_t first) {
  Bytes line;
  for (uint8_t i = 0; i < 42; ++i) {
    line.push_back(reversed(static_cast<uint8_t>(first + i)));
  }
  return line;
}

class TeletextLines : public StageTest<HalTest> {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    makeStage(OmbrixHalFilterPesToTtxCreate, OMBRIX_HAL_FILTER_TYPE_PES, pidParameter(0x200));
  }
};


TEST_F(TeletextLines, TeletextAndSubtitleUnitsAroundStuffingGiveTwoLines) {
  Bytes pes = teletextPes(0x10, {teletextUnit(0x02, 0x01), stuffingUnit(44), teletextUnit(0x03, 0x81)});
  ASSERT_EQ(pes.size(), 46u + 46u * 3);
  parent->deliver(pes);
  EXPECT_EQ(deliveries.data(), (std::vector<Bytes>{deliveredLine(0x01), deliveredLine(0x81)}));
  EXPECT_EQ(deliveries.from(), (std::vector{filter, filter}));
  // The lines were reversed where they stood; nothing else was touched.
  EXPECT_EQ(Bytes(pes.begin() + 50, pes.begin() + 92), deliveredLine(0x01));
  EXPECT_EQ(pes[46 + 46], 0xff);
  EXPECT_EQ(Bytes(pes.begin() + 142, pes.end()), deliveredLine(0x81));
}

TEST_F(TeletextLines, OnlyDataIdentifiers0x10To0x1FCarryTeletext) {
  const struct {
    uint8_t dataIdentifier;
    size_t lines;
  } cases[] = {{0x0f, 0}, {0x10, 1}, {0x1f, 1}, {0x20, 0}, {0x99, 0}};
  for (const auto& c : cases) {
    deliveries.calls.clear();
    parent->deliver(teletextPes(c.dataIdentifier, {teletextUnit(0x02, 0)}));
    EXPECT_EQ(deliveries.calls.size(), c.lines) << "data_identifier " << int{c.dataIdentifier};
  }
}

TEST_F(TeletextLines, UnitLengthIsIgnoredForTeletextButStepsOverOthersAndATrailingPartialUnitIsDropped) {
  Bytes odd = teletextUnit(0x02, 0x10);
  odd[1] = 0x10;  // a wrong data_unit_length: still 46 bytes
  Bytes partial = teletextUnit(0x02, 0x40);
  partial.pop_back();
  parent->deliver(teletextPes(0x10, {odd, stuffingUnit(3), teletextUnit(0x03, 0x20), teletextUnit(0x04, 0), partial}));
  EXPECT_EQ(deliveries.data(), (std::vector<Bytes>{deliveredLine(0x10), deliveredLine(0x20)}));
}

class TeletextChain : public HalTest {};

TEST_F(TeletextChain, LinesComeFromTsPacketsThroughARealPesFilter) {
  const int destroyedBefore = FakeParentFilter::destroyed;
  FakeParentFilter* root = createFakeParent();
  OmbrixHalFilterHandle pes = OmbrixHalFilterTsToPesCreate(&root->head);
  OmbrixHalFilterHandle teletext = OmbrixHalFilterPesToTtxCreate(pes);
  ASSERT_NE(teletext, nullptr);
  Deliveries deliveries;
  ASSERT_TRUE(OmbrixHalFilterPesToTtxSetFilterHandler(teletext, Deliveries::record, &deliveries));
  const OmbrixHalFilterParameter parameter = pidParameter(0x200);
  ASSERT_TRUE(OmbrixHalFilterPesToTtxSetParameter(teletext, &parameter));
  ASSERT_TRUE(OmbrixHalFilterPesToTtxStart(teletext));
  EXPECT_EQ(root->head.parameter.pid, 0x200u);
  EXPECT_TRUE(root->running);
  for (const Bytes& packet : tsPacketsOf(teletextPes(0x10, {teletextUnit(0x02, 7), teletextUnit(0x03, 9)}))) {
    root->deliver(packet);
  }
  EXPECT_EQ(deliveries.data(), (std::vector<Bytes>{deliveredLine(7), deliveredLine(9)}));
  EXPECT_EQ(OmbrixHalFilterGetType(teletext), OMBRIX_HAL_FILTER_TYPE_TELETEXT);
  ASSERT_TRUE(OmbrixHalFilterClose(teletext));
  EXPECT_EQ(FakeParentFilter::destroyed, destroyedBefore + 1);
}

}  // namespace
}  // namespace ombrixhal::test
