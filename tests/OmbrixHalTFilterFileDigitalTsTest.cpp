// Tests of the root filter on a file digital tuner: software PID selection, and the conditions
// of its start.
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

using FileDigitalTsSelection = FileTunerTest;

TEST_F(FileDigitalTsSelection, PassesOnePidOrEveryPid) {
  const Bytes pat = tsPacketOf(0x0000, 0x01, true);
  const Bytes other = tsPacketOf(0x1fff, 0x02);
  Deliveries patOnly;
  Deliveries everything;
  OmbrixHalFilterHandle a = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x0000, patOnly);
  OmbrixHalFilterHandle b = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, OMBRIX_HAL_FILTER_PID_ALL, everything);
  play(concat({pat, other, pat}));
  EXPECT_EQ(patOnly.data(), (std::vector{pat, pat}));
  EXPECT_EQ(everything.data(), (std::vector{pat, other, pat}));
  EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(a), OmbrixHalFilterClose(b)}), 2);
}

TEST_F(FileDigitalTsSelection, StartsOnlyWithParameterAndHandlerAndIgnoresShortPackets) {
  OmbrixHalFilterHandle root = OmbrixHalFilterFileDigitalTsCreate(tuner);
  OmbrixHalFilterParameter parameter = pidParameter(OMBRIX_HAL_FILTER_PID_ALL);
  EXPECT_EQ(OmbrixHalFilterFileDigitalTsGetParameter(root, &parameter), 0);
  EXPECT_EQ(OmbrixHalFilterFileDigitalTsSetParameter(root, &parameter), 1);
  EXPECT_EQ(OmbrixHalFilterFileDigitalTsStart(root), 0) << "no handler";
  Deliveries deliveries;
  EXPECT_EQ(OmbrixHalFilterFileDigitalTsSetFilterHandler(root, nullptr, &deliveries), 0);
  EXPECT_EQ(sumInOrder({OmbrixHalFilterFileDigitalTsSetFilterHandler(root, Deliveries::record, &deliveries),
                        OmbrixHalFilterFileDigitalTsStart(root)}),
            2);
  const Bytes packet = tsPacketOf(0x20, 0x03);
  OmbrixHalFilterFileDigitalTsInputHandler(nullptr, packet.data(), 187, root);
  OmbrixHalFilterFileDigitalTsInputHandler(nullptr, packet.data(), 188, root);
  EXPECT_EQ(deliveries.from(), std::vector{root});
  EXPECT_EQ(OmbrixHalFilterFileDigitalTsCreate(nullptr), nullptr);
  EXPECT_EQ(OmbrixHalFilterFileDigitalTsDestroy(root), 1);
}

}  // namespace
}  // namespace ombrixhal::test
