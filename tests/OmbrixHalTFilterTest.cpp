// Tests of the filter framework: the generic entry points with their log lines, opening, the
// filter lists, the chain builder with its creation and destruction orders, and what every
// chain stage does alike on its parent.
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalTTunerHead.h"

namespace ombrixhal::test {
namespace {

const OmbrixHalFilterHandler ignore = [](OmbrixHalFilterHandle, const uint8_t*, uint32_t, void*) {};

using FilterArguments = FileTunerTest;

TEST_F(FilterArguments, NullArgumentsAndMissingSlotsFailNamingWhatIsMissing) {
  static OmbrixHalFilterParameter parameter{};
  FakeParentFilter* bare = createFakeParent();
  const auto destroy = bare->head.operations.Destroy;
  bare->head.operations = {};
  bare->head.operations.Destroy = destroy;
  const std::pair<std::string, OmbrixHalBool (*)(OmbrixHalFilterHandle)> calls[] = {
      {"OmbrixHalFilterSetParameter", [](OmbrixHalFilterHandle f) { return OmbrixHalFilterSetParameter(f, &parameter); }},
      {"OmbrixHalFilterGetParameter", [](OmbrixHalFilterHandle f) { return OmbrixHalFilterGetParameter(f, &parameter); }},
      {"OmbrixHalFilterStart", OmbrixHalFilterStart},
      {"OmbrixHalFilterStop", OmbrixHalFilterStop},
  };
  log.clear();  // the fake's first tuner lock
  for (const auto& [function, call] : calls) {
    EXPECT_EQ(sumInOrder({call(nullptr), call(&bare->head)}), 0);
    EXPECT_EQ(log.take(), (std::vector{nullValue(function, "This"), unsupported(function)}));
  }
  EXPECT_EQ(sumInOrder({OmbrixHalFilterSetParameter(&bare->head, nullptr),
                        OmbrixHalFilterGetParameter(&bare->head, nullptr)}), 0);
  EXPECT_EQ(OmbrixHalFilterGetType(nullptr), 11u);
  EXPECT_EQ(OmbrixHalFilterClose(nullptr), 0);
  // The quiet ones.
  OmbrixHalFilterInfo info{};
  EXPECT_EQ(sumInOrder({OmbrixHalFilterGetInfo(&bare->head, &info),
                        OmbrixHalFilterSetHandler(&bare->head, nullptr, nullptr)}), 0);
  OmbrixHalFilterResetInfo(&bare->head);
  EXPECT_EQ(log.lines(),
            (std::vector{nullValue("OmbrixHalFilterSetParameter", "aParameter"),
                         nullValue("OmbrixHalFilterGetParameter", "aParameter"),
                         nullValue("OmbrixHalFilterGetType", "This"), nullValue("OmbrixHalFilterClose", "This")}));
  EXPECT_EQ(OmbrixHalFilterClose(&bare->head), 1);
}

TEST_F(FilterArguments, OpenNeedsATunerWithATypeAndAHandlerForAllButPcr) {
  const std::string open = "OmbrixHalFilterOpen";
  const OmbrixHalTunerOperations operations = tuner->Operations;
  tuner->Operations.GetType = nullptr;
  EXPECT_EQ(OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, "t", Deliveries::record, nullptr), nullptr);
  tuner->Operations = operations;
  EXPECT_EQ(OmbrixHalFilterOpen(nullptr, OMBRIX_HAL_FILTER_TYPE_TS, "t", Deliveries::record, nullptr), nullptr);
  std::vector expected = {error(open, "Cannot get tuner type", 0x100f), error(open, "Cannot open filter 't'"),
                          nullValue(open, "aTuner"), error(open, "Cannot open filter 't'")};
  for (OmbrixHalFilterType type : {0u, 1u, 3u, 4u}) {
    EXPECT_EQ(OmbrixHalFilterOpen(tuner, type, nullptr, nullptr, nullptr), nullptr) << type;
    expected.insert(expected.end(), {nullValue(open, "aHandler"), error(open, "Cannot open filter 'NULL'")});
  }
  EXPECT_EQ(log.lines(), expected);
}

using FilterLogging = FileTunerTest;

TEST_F(FilterLogging, NamedFiltersReportTheirOutcomesUnderAFifteenCharacterName) {
  OmbrixHalFilterHandle filter =
      OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, "twenty-characters-xx", ignore, nullptr);
  ASSERT_NE(filter, nullptr);
  OmbrixHalFilterParameter parameter = pidParameter(0x12);
  parameter.crcCheck = 1;
  parameter.filterLen = 3;
  // In this order: && sequences the calls, where + would not.
  EXPECT_TRUE(OmbrixHalFilterSetParameter(filter, &parameter) && OmbrixHalFilterGetParameter(filter, &parameter) &&
              OmbrixHalFilterStart(filter) && OmbrixHalFilterStop(filter) && OmbrixHalFilterClose(filter));
  const std::string name = "twenty-characte";
  EXPECT_EQ(log.lines(),
            (std::vector{info("OmbrixHalFilterOpen", "Opened filter '" + name + "' successfully"),
                         info("OmbrixHalFilterSetParameter", "Filter parameter successfully set for '" + name + "'"),
                         info("OmbrixHalFilterSetParameter", "FilterParam: pid=0x0012 crcCheck=enabled filterLen=3"),
                         info("OmbrixHalFilterGetParameter", "Filter parameter successfully returned for '" + name + "'"),
                         info("OmbrixHalFilterStart", "Started filter '" + name + "'"),
                         info("OmbrixHalFilterStop", "Stopped filter '" + name + "'"),
                         info("OmbrixHalFilterClose", "Closed filter '" + name + "'")}));
}

// A client whose parameter found no chain cannot start, and closes cleanly.
TEST_F(FilterLogging, AFailedSetIsLoggedUnderTheGetParameterNameAndUnnamedFiltersStayQuiet) {
  leaveTunerEntries(0);  // none for a chain
  OmbrixHalFilterParameter parameter = pidParameter(0x100);
  OmbrixHalFilterHandle named = OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, "n", ignore, nullptr);
  OmbrixHalFilterHandle unnamed = OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, "", ignore, nullptr);
  log.clear();
  EXPECT_EQ(sumInOrder({OmbrixHalFilterSetParameter(named, &parameter),
                        OmbrixHalFilterSetParameter(unnamed, &parameter)}), 0);
  EXPECT_EQ(sumInOrder({OmbrixHalFilterStart(unnamed), OmbrixHalFilterClose(unnamed)}), 1);
  EXPECT_EQ(sumInOrder({OmbrixHalFilterStart(named), OmbrixHalFilterGetParameter(named, &parameter),
                        OmbrixHalFilterStop(named)}), 0);
  EXPECT_EQ(OmbrixHalFilterClose(named), 1);
  EXPECT_EQ(log.lines(),
            (std::vector{error("OmbrixHalFilterGetParameter", "Cannot set filter parameter for 'n'"),
                         error("OmbrixHalFilterSetParameter", "FilterParam: pid=0x0100 crcCheck=disabled filterLen=0"),
                         error("OmbrixHalFilterStart", "Cannot start filter 'n'"),
                         error("OmbrixHalFilterGetParameter", "Cannot return filter parameter for 'n'"),
                         error("OmbrixHalFilterStop", "Cannot stop filter 'n'"),
                         info("OmbrixHalFilterClose", "Closed filter 'n'")}));
}

using FilterChains = FileTunerTest;

TEST_F(FilterChains, StagesStandOnTheRootInTheirOrderAndAFailedChainLeavesNothing) {
  // On a PES root only the teletext stage is added; a section stage cannot stand there, and the
  // root stays as it was.
  FakeParentFilter* pesRoot = createFakeParent(OMBRIX_HAL_FILTER_TYPE_PES);
  const int destroyed = FakeParentFilter::destroyed;
  EXPECT_EQ(OmbrixHalFilterCreateChain(&pesRoot->head, OMBRIX_HAL_FILTER_TYPE_SECTION, ignore, nullptr), nullptr);
  EXPECT_EQ(FakeParentFilter::destroyed, destroyed);
  OmbrixHalFilterHandle top = OmbrixHalFilterCreateChain(&pesRoot->head, OMBRIX_HAL_FILTER_TYPE_TELETEXT, ignore, nullptr);
  ASSERT_NE(top, nullptr);
  EXPECT_EQ(pesRoot->inputContext, top);
  EXPECT_EQ(OmbrixHalFilterClose(top), 1);
  EXPECT_EQ(FakeParentFilter::destroyed, destroyed + 1) << "the top closes its root";
  // An unknown type, or a root that refuses the handler (a NULL one), costs the root: no leak.
  EXPECT_EQ(OmbrixHalFilterCreateChain(OmbrixHalFilterFileDigitalTsCreate(tuner), 5, ignore, nullptr), nullptr);
  EXPECT_EQ(OmbrixHalFilterCreateChain(OmbrixHalFilterFileDigitalTsCreate(tuner), 0, nullptr, nullptr), nullptr);
  EXPECT_EQ(OmbrixHalFilterCreateChain(nullptr, OMBRIX_HAL_FILTER_TYPE_TS, ignore, nullptr), nullptr);
  // The factory makes roots for DVB-T tuners only, of the five types only.
  EXPECT_EQ(OmbrixHalFilterFactoryCreateFilter(tuner, OMBRIX_HAL_FILTER_TYPE_TS, ignore, nullptr), nullptr);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{});
}

using FilterLists = HalTest;

TEST_F(FilterLists, PushInFrontAndUnlinkAnywhere) {
  OmbrixHalFilterHead a{}, b{}, c{}, absent{};
  OmbrixHalFilterHandle head = OmbrixHalFilterAddFilterToList(OmbrixHalFilterAddFilterToList(&a, &b), &c);
  EXPECT_EQ(head, &c);
  head = OmbrixHalFilterRemoveFilterFromList(head, &b);
  EXPECT_EQ(b.next, nullptr);
  EXPECT_EQ(OmbrixHalFilterRemoveFilterFromList(head, &absent), &c);
  EXPECT_EQ(c.next, &a);
  head = OmbrixHalFilterRemoveFilterFromList(head, &c);
  EXPECT_EQ(head, &a);
  EXPECT_EQ(OmbrixHalFilterRemoveFilterFromList(head, &a), nullptr);
}

Bytes resized(Bytes bytes, size_t size) {
  bytes.resize(size, 0xff);
  return bytes;
}

// A stage kind's exports, in the slot order of the operations (teletext has no Reset), a unit
// of its input that it delivers once, one over two packets that a reset between them drops, and
// units that are not whole, which it ignores.
struct StageKind {
  const char* name;
  OmbrixHalFilterType parentType;
  bool runsWithoutHandler;  // the PCR stage, for polling
  OmbrixHalFilterHandle (*create)(OmbrixHalFilterHandle);
  OmbrixHalFilterOperations exports;
  OmbrixHalFilterHandler input;
  Bytes unit;
  std::vector<Bytes> split = {};
  std::vector<Bytes> broken = {resized(unit, kTsPacketSize - 1), resized(unit, 204)};
};

#define STAGE_EXPORTS(kind, reset)                                                                           \
  OmbrixHalFilter##kind##Create,                                                                             \
      {OmbrixHalFilter##kind##Destroy, OmbrixHalFilter##kind##SetFilterHandler, OmbrixHalFilter##kind##SetParameter, \
       OmbrixHalFilter##kind##GetParameter, OmbrixHalFilter##kind##Start, OmbrixHalFilter##kind##Stop,           \
       OmbrixHalFilter##kind##IsEnabled, reset},                                                              \
      OmbrixHalFilter##kind##InputHandler

const Bytes kTeletextPes = teletextPes(0x10, {teletextUnit(0x02, 0)});
const StageKind kStageKinds[] = {
    {"section", OMBRIX_HAL_FILTER_TYPE_TS, false, STAGE_EXPORTS(TsToSection, OmbrixHalFilterTsToSectionReset),
     tsPacketsOf(section(0x42, 9), true)[0], tsPacketsOf(section(0x42, 300), true)},
    {"PES", OMBRIX_HAL_FILTER_TYPE_TS, false, STAGE_EXPORTS(TsToPes, OmbrixHalFilterTsToPesReset),
     tsPacketsOf(pesPacket(100))[0], tsPacketsOf(pesPacket(300))},
    {"PCR", OMBRIX_HAL_FILTER_TYPE_TS, true, STAGE_EXPORTS(TsToPcr, OmbrixHalFilterTsToPcrReset), pcrPacket(1)},
    {"teletext", OMBRIX_HAL_FILTER_TYPE_PES, false, STAGE_EXPORTS(PesToTtx, nullptr), kTeletextPes, {},
     {resized(kTeletextPes, kTeletextPes.size() - 1)}},
};

using FilterStageLife = HalTest;

TEST_F(FilterStageLife, EachStageNeedsItsParentsTypeAParameterAndAHandlerAndOwnsTheParentOnceHooked) {
  OmbrixHalFilterParameter parameter = pidParameter(0x100);
  for (const StageKind& kind : kStageKinds) {
    SCOPED_TRACE(kind.name);
    const OmbrixHalFilterOperations& stage = kind.exports;
    // Every export serves as a slot too, and tolerates a NULL handle.
    EXPECT_EQ(kind.create(nullptr), nullptr);
    EXPECT_EQ(sumInOrder({stage.Destroy(nullptr), stage.SetFilterHandler(nullptr, ignore, nullptr),
                          stage.SetParameter(nullptr, &parameter), stage.GetParameter(nullptr, &parameter),
                          stage.Start(nullptr), stage.Stop(nullptr), stage.IsEnabled(nullptr)}),
              0);
    if (stage.Reset != nullptr) {
      stage.Reset(nullptr);
    }
    kind.input(nullptr, kind.unit.data(), static_cast<uint32_t>(kind.unit.size()), nullptr);
    FakeParentFilter* wrongParent = createFakeParent(kind.parentType == OMBRIX_HAL_FILTER_TYPE_TS
                                                         ? OMBRIX_HAL_FILTER_TYPE_PES
                                                         : OMBRIX_HAL_FILTER_TYPE_TS);
    EXPECT_EQ(kind.create(&wrongParent->head), nullptr);
    delete wrongParent;

    const int destroyed = FakeParentFilter::destroyed;
    FakeParentFilter* parent = createFakeParent(kind.parentType);
    EXPECT_EQ(stage.Destroy(kind.create(&parent->head)), 1);
    EXPECT_EQ(FakeParentFilter::destroyed, destroyed) << "an unhooked stage leaves its parent alone";
    OmbrixHalFilterHandle filter = kind.create(&parent->head);
    EXPECT_EQ(stage.Start(filter), 0) << "no parameter";
    ASSERT_EQ(stage.SetParameter(filter, &parameter), 1);
    EXPECT_EQ(stage.Start(filter), kind.runsWithoutHandler ? 1 : 0) << "no handler";
    EXPECT_EQ(stage.SetFilterHandler(filter, nullptr, nullptr), kind.runsWithoutHandler ? 1 : 0);
    Deliveries deliveries;
    ASSERT_EQ(stage.SetFilterHandler(filter, Deliveries::record, &deliveries), 1);
    EXPECT_EQ(parent->input, kind.input);
    parent->refuseStart = true;
    EXPECT_EQ(sumInOrder({stage.Start(filter), stage.IsEnabled(filter)}), 0);
    parent->refuseStart = false;
    EXPECT_EQ(sumInOrder({stage.Start(filter), stage.IsEnabled(filter)}), 2);
    if (!kind.split.empty()) {
      parent->deliver(kind.split[0]);
      stage.Reset(filter);
      parent->deliver(kind.split[1]);
    }
    for (const Bytes& unit : kind.broken) {
      parent->deliver(unit);
    }
    parent->deliver(kind.unit);
    EXPECT_EQ(deliveries.from(), std::vector{filter});
    EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
    EXPECT_EQ(FakeParentFilter::destroyed, destroyed + 1);
  }
}

}  // namespace
}  // namespace ombrixhal::test
