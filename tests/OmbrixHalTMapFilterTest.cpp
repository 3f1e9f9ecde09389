// Tests of map filters on a file tuner: sharing of real chains by PID, type and tuner, the
// fan-out to started clients, and attach and detach as clients come, change and go.
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

const Bytes kPat = tsPacketOf(0x00, 0xa0);
const Bytes kPid10 = tsPacketOf(0x10, 0xb0);
const Bytes kPid11 = tsPacketOf(0x11, 0xb1);
const Bytes kPid12 = tsPacketOf(0x12, 0xc0);
const Bytes kStream = concat({kPat, kPid10, kPid11, kPid12, kPid12});

class MapFilterSharing : public FileTunerTest {
 protected:
  OmbrixHalBool setPid(OmbrixHalFilterHandle filter, uint32_t pid) {
    const OmbrixHalFilterParameter parameter = pidParameter(pid);
    return OmbrixHalFilterSetParameter(filter, &parameter);
  }

  Deliveries first;
  Deliveries second;
};

// Each client sees its own filter, the one attached last first; a stopped one sees nothing.
TEST_F(MapFilterSharing, StartedClientsOfOnePidShareOneChainThatEndsWithTheLast) {
  leaveTunerEntries(1);  // room for one chain only
  Deliveries all;
  OmbrixHalFilterHandle a = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x12, all);
  OmbrixHalFilterHandle b = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x12, all);
  OmbrixHalFilterHandle stopped = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x12, all);
  EXPECT_EQ(OmbrixHalFilterStop(stopped), 1);
  OmbrixHalFilterHandle c = OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, nullptr, Deliveries::record, &all);
  EXPECT_EQ(setPid(c, 0x10), 0) << "a second chain needs a tuner entry";
  EXPECT_EQ(OmbrixHalFilterStart(c), 0) << "no chain, no start";
  play(kStream);
  EXPECT_EQ(all.from(), (std::vector{b, a, b, a}));
  EXPECT_EQ(all.data(), (std::vector{kPid12, kPid12, kPid12, kPid12}));
  // The first client leaves; the second keeps receiving on the same chain.
  EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(a), OmbrixHalFilterClose(stopped)}), 2);
  all.calls.clear();
  play(kStream);
  EXPECT_EQ(all.from(), (std::vector{b, b}));
  // The last one takes the chain with it: its tuner entry is free again.
  EXPECT_EQ(OmbrixHalFilterClose(b), 1);
  EXPECT_EQ(setPid(c, 0x10), 1);
  EXPECT_EQ(OmbrixHalFilterClose(c), 1);
}

TEST_F(MapFilterSharing, APidChangeMovesTheClientToAnotherChain) {
  OmbrixHalFilterHandle a = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x10, first);
  OmbrixHalFilterHandle b = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x10, second);
  ASSERT_TRUE(OmbrixHalFilterStop(a) && setPid(a, 0x11) && OmbrixHalFilterStart(a));
  play(kStream);
  EXPECT_EQ(first.data(), std::vector<Bytes>{kPid11});
  EXPECT_EQ(second.data(), std::vector<Bytes>{kPid10});
  // A started client cannot change its PID.
  EXPECT_EQ(setPid(a, 0x12), 0);
  EXPECT_EQ(log.lines(), std::vector{error("OmbrixHalFilterSetParameter",
                                           "Filter '' is running. Cannot set parameter. Stop filter first.")});
  EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(a), OmbrixHalFilterClose(b)}), 2);
}

// Only PID, type and tuner together make clients share a chain.
TEST_F(MapFilterSharing, ClientsOfOtherTypesOrTunersGetChainsOfTheirOwn) {
  const Bytes table = section(0x42, 300);
  const Bytes pes = pesPacket(150);
  Deliveries pesClient;
  OmbrixHalFilterHandle pesFilter = openStarted(OMBRIX_HAL_FILTER_TYPE_PES, 0x100, pesClient);
  OmbrixHalFilterHandle sectionFilter = openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, 0x100, first);
  play(concat({concat(tsPacketsOf(table, true)), tsPacketsOf(pes).front()}));
  EXPECT_EQ(first.data(), std::vector<Bytes>{table});
  EXPECT_EQ(pesClient.data(), std::vector<Bytes>{pes});
  OmbrixHalFilterInfo info{};
  EXPECT_EQ(OmbrixHalFilterGetInfo(pesFilter, &info), 1) << "a PES chain has no statistics, yet the slot is there";

  OmbrixHalTunerHandle otherTuner = OmbrixHalTunerOpen("digitalFile");
  OmbrixHalFilterHandle here = openStarted(OMBRIX_HAL_FILTER_TYPE_TS, 0x12, second);
  OmbrixHalFilterHandle there = OmbrixHalFilterOpen(otherTuner, OMBRIX_HAL_FILTER_TYPE_TS, nullptr, Deliveries::record,
                                                    &pesClient);
  ASSERT_EQ(sumInOrder({setPid(there, 0x12), OmbrixHalFilterStart(there)}), 2);
  pesClient.calls.clear();
  play(kStream);
  EXPECT_EQ(second.calls.size(), 2u);
  EXPECT_TRUE(pesClient.calls.empty());
  ASSERT_EQ(OmbrixHalTunerSetParameterByString(otherTuner, ("digitalFile: name=//local/" + path).c_str()), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(otherTuner, 5), 1);
  EXPECT_EQ(pesClient.calls.size(), 2u);
  for (OmbrixHalFilterHandle filter : {pesFilter, sectionFilter, here, there}) {
    OmbrixHalFilterClose(filter);
  }
  OmbrixHalTunerClose(otherTuner);
}

TEST_F(MapFilterSharing, StoppingOneOfTwoClientsRestartsTheChainForTheOther) {
  const Bytes table = section(0x42, 300);
  const std::vector<Bytes> carriers = tsPacketsOf(table, true);
  ASSERT_EQ(carriers.size(), 2u);
  OmbrixHalFilterHandle a = openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, 0x100, first);
  OmbrixHalFilterHandle b = openStarted(OMBRIX_HAL_FILTER_TYPE_SECTION, 0x100, second);
  load(concat({carriers[0], carriers[1], carriers[0], carriers[1]}));
  ASSERT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
  ASSERT_EQ(OmbrixHalFilterStop(a), 1);  // the section begun is lost with the restart
  ASSERT_EQ(OmbrixHalTunerReceive(tuner, 3), 1);
  EXPECT_TRUE(first.calls.empty());
  EXPECT_EQ(second.data(), std::vector<Bytes>{table});
  EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(a), OmbrixHalFilterClose(b)}), 2);
}

}  // namespace
}  // namespace ombrixhal::test
