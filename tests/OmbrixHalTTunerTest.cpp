// Tests of the tuner front, on a fake tuner kind put in the factory's place: opening, the
// apply step, the lock state machine and the operation slots; and the packet-handler contract
// on both file tuners.
#include <numeric>

#include "OmbrixHalFakeClock.h"
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalTTunerHead.h"

namespace ombrixhal::test {
namespace {

constexpr const char* kDvbTLine = "DVB-T: freq=474000";
constexpr const char* kDvbCLine = "DVB-C: freq=346000, symbolrate=6900";

// What the fake kind answers, and how often a slot other than Destroy was called.
struct FakeAnswers {
  OmbrixHalTunerType parameterType = OMBRIX_HAL_TUNER_TYPE_DVB_T;
  OmbrixHalBool setResult = 1;
  OmbrixHalTunerStatus status = OMBRIX_HAL_TUNER_STATUS_UNKNOWN;
  uint32_t packetsLeft = 0, calls = 0;
} fake;

constexpr OmbrixHalTunerOperations kFakeOperations = {
    .Destroy = [](OmbrixHalTunerHandle t) { return closeTunerHead(*t), delete t, 1; },
    .SetParameter = [](OmbrixHalTunerHandle, const OmbrixHalTunerParameter*) { return ++fake.calls, fake.setResult; },
    .GetParameter = [](OmbrixHalTunerHandle t, OmbrixHalTunerParameter* p, void*) { return *p = t->Parameter, 1; },
    .GetType = nullptr,
    .GetStatus = [](OmbrixHalTunerHandle) { return ++fake.calls, fake.status; },
    .Receive = [](OmbrixHalTunerHandle) { return ++fake.calls, fake.packetsLeft > 0 ? (--fake.packetsLeft, 1) : 0; },
    .RegisterPacketHandler = [](OmbrixHalTunerHandle, OmbrixHalTunerPacketHandler, void*) { return 1; },
    .UnregisterPacketHandler = [](OmbrixHalTunerHandle, void*, void*) { return 1; },
    .GetSignalStrength = [](OmbrixHalTunerHandle) { return 70u; },
    .GetSignalQuality = [](OmbrixHalTunerHandle) { return 60u; },
    .SetAccessCode = nullptr,
    .GetVersionNumber = nullptr,
};

// The head alone serves as the fake kind.
OmbrixHalTunerHandle createFakeTuner(OmbrixHalTunerType) noexcept {
  auto* tuner = new OmbrixHalTunerHead{};
  initTunerHead(*tuner, kFakeOperations, fake.parameterType);
  return tuner;
}

class FakeTunerTest : public FakeClockTest {
 protected:
  FakeTunerTest() { seam::tunerFactoryCreateTuner = createFakeTuner; }
  ~FakeTunerTest() override { seam::tunerFactoryCreateTuner = OmbrixHalTunerFactoryCreateTuner; }
  void TearDown() override {
    OmbrixHalTunerClose(tuner);
    FakeClockTest::TearDown();
  }
  // Opens a fake tuner that accepts records of parameterType, in place of the last one.
  void open(OmbrixHalTunerType parameterType = OMBRIX_HAL_TUNER_TYPE_DVB_T, OmbrixHalBool setResult = 1) {
    OmbrixHalTunerClose(tuner);
    fake = {.parameterType = parameterType, .setResult = setResult};
    tuner = OmbrixHalTunerOpen("DVB-T");
    ASSERT_NE(tuner, nullptr);
    log.clear();
  }

  OmbrixHalTunerHandle tuner = nullptr;
};

using TunerOpening = FakeTunerTest;

TEST_F(TunerOpening, GivesTheLockTimerBackOnCloseAndOnFailureAndTakesTheTypeFromTheKind) {
  for (int cycle = 0; cycle < OMBRIX_HAL_TIMER_COUNT + 1; ++cycle) {
    open(OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);
  }
  EXPECT_EQ(OmbrixHalTunerGetType(tuner), OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);  // though opened as "DVB-T"
  // The kind's record is still of type 0: the front writes the kind's type into the copy.
  OmbrixHalTunerParameter record{};
  EXPECT_EQ(OmbrixHalTunerGetParameter(tuner, &record, nullptr), 1);
  EXPECT_EQ(record.Type, OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);
  EXPECT_EQ(log.take(), std::vector{info("OmbrixHalTunerGetParameter", "Tuner parameter successfully returned", 0x3004)});
  seam::tunerFactoryCreateTuner = OmbrixHalTunerFactoryCreateTuner;  // which makes DVB-T tuners only
  const std::tuple<const char*, const char*, uint32_t> cases[] = {
      {"DVB-C", "Cannot open tuner: 'DVB-C'", 0x1007},
      {"DVB-S: freq=474000", "Cannot open tuner: 'DVB-S: freq=474000'", 0x1007},
      {"dvb-t", "Unknown tuner type in string 'dvb-t'", 0x1006},
      {nullptr, "Illegal value 'NULL' for parameter 'aTunerTypeString'", 0x1003}};
  for (int round = 0; round < 16; ++round) {  // 32 opens that took a timer: more than the 30
    for (const auto& [string, text, id] : cases) {
      EXPECT_EQ(OmbrixHalTunerOpen(string), nullptr);
      EXPECT_EQ(log.take(), std::vector{error("OmbrixHalTunerOpen", text, id)});
    }
  }
}

using TunerArguments = FakeTunerTest;

OmbrixHalTunerParameter record{};
uint32_t version = 0;
// An export's name and a call of it on t, with its pointer argument besides This NULL when given is false.
#define CALL(name, ...) #name, [](OmbrixHalTunerHandle t, bool given) -> int64_t { return name(__VA_ARGS__); }

TEST_F(TunerArguments, NullArgumentsFailNamingTheParameterAndMissingSlotsWarnButPacketHandlersStayQuiet) {
  const std::tuple<std::string, int64_t (*)(OmbrixHalTunerHandle, bool), std::string> cases[] = {
      {CALL(OmbrixHalTunerSetParameterByString, t, given ? kDvbTLine : nullptr), "aTunerParameterString"},
      {CALL(OmbrixHalTunerGetParameter, t, given ? &record : nullptr, t), "aTunerParameter"},
      {CALL(OmbrixHalTunerGetVersionNumber, t, t, given ? &version : nullptr), "aVersionNumber"}};
  open();
  OmbrixHalTunerHandle bare = OmbrixHalTunerOpen("DVB-T");
  bare->Operations = {};
  bare->Operations.Destroy = kFakeOperations.Destroy;  // so that it can be closed
  log.clear();
  for (const auto& [function, call, argument] : cases) {
    EXPECT_EQ(sumInOrder({call(nullptr, true), call(tuner, false), call(bare, true)}), 0);
    EXPECT_EQ(log.take(),
              (std::vector{nullValue(function, "This"), nullValue(function, argument), unsupported(function)}));
  }
  const auto both = [](OmbrixHalTunerHandle t, void* context) {
    return OmbrixHalTunerRegisterPacketHandler(t, [](void*, const uint8_t*, uint32_t, void*) {}, context) +
           OmbrixHalTunerUnregisterPacketHandler(t, context, nullptr);
  };
  EXPECT_EQ(both(tuner, &version), 2);
  EXPECT_EQ(sumInOrder({both(nullptr, &version), both(tuner, nullptr), both(bare, &version)}), 0);
  EXPECT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, nullptr, &version), 0);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{});
  OmbrixHalTunerClose(bare);
}

using TunerLockStatus = FakeTunerTest;

TEST_F(TunerLockStatus, WaitForLockTurnsNotLockedAfter2000MsAndAFailedSetMakesItUnknown) {
  // A line to set first, if any; the fake clock's advance; the kind's status; the caller's.
  const std::tuple<const char*, uint32_t, OmbrixHalTunerStatus, OmbrixHalTunerStatus> steps[] = {
      // Untuned, the kind is not asked. A lock spends the wait that a re-tune armed, so a later
      // wait is not locked at once (kept). Changes to or from a status without a text are silent.
      {nullptr, 0, 3, 0},   {kDvbTLine, 0, 1, 1}, {nullptr, 1999, 1, 1}, {nullptr, 1, 1, 2}, {nullptr, 0, 1, 2},
      {kDvbTLine, 0, 3, 3}, {nullptr, 0, 1, 2},   {nullptr, 0, 7, 7},    {nullptr, 0, 3, 3}, {"DVB-T: freq=1", 0, 3, 0}};
  open();
  for (const auto& [tuneTo, advanceMs, answer, status] : steps) {
    if (tuneTo != nullptr) {
      OmbrixHalTunerSetParameterByString(tuner, tuneTo);
    }
    FakeClock::advance(advanceMs);
    fake.status = answer;
    EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), status);
  }
  std::vector<LogLine> lines = log.lines();
  std::erase_if(lines, [](const LogLine& line) { return line.function != "OmbrixHalTunerGetStatus"; });
  const auto change = [](const char* text) { return info("OmbrixHalTunerGetStatus", text); };
  EXPECT_EQ(lines, (std::vector{change("Tuner: UNKNOWN -> WAIT FOR LOCK"), change("Tuner: WAIT FOR LOCK -> NOT LOCKED"),
                                change("Tuner: NOT LOCKED -> LOCKED"), change("Tuner: LOCKED -> NOT LOCKED"),
                                change("Tuner: LOCKED -> UNKNOWN")}));
}

using TunerApplyStep = FakeTunerTest;

TEST_F(TunerApplyStep, MatchingRecordsReachTheKindFileTunersIgnoreOthersAndTheRestFail) {
  const std::string set = "OmbrixHalTunerSetParameterByString";
  const std::string tune1 = "DVB-T tune (1): Freq=474000 Bandw=8 FEC=AUTO";
  const std::string tune2 = "DVB-T tune (2): Mod=AUTO Guard=AUTO Transm=AUTO";
  const std::vector applied{info(set, "Tuner parameter successfully set", 0x3003), info(set, tune1), info(set, tune2)};
  const std::vector refused{error(set, "Cannot set tuner parameter", 0x100a), error(set, tune1), error(set, tune2)};
  // The record type the kind accepts, its answer, the line set, the result and the lines logged.
  const std::tuple<OmbrixHalTunerType, OmbrixHalBool, const char*, OmbrixHalBool, std::vector<LogLine>> cases[] = {
      {9, 1, kDvbTLine, 1, applied},
      {9, 0, kDvbTLine, 0, refused},
      {5, 1, kDvbTLine, 1, {}},  // kept: a file tuner plays on whatever is tuned
      {3, 1, kDvbCLine, 1, {}},
      {9, 1, kDvbCLine, 0, {error(set, "Tuner type and parameter type do not match", 0x1008)}},
      {9, 1, "cable: freq=1", 0, {error(set, "Illegal tuner parameter string 'cable: freq=1'", 0x1009)}}};
  for (const auto& [parameterType, kindResult, line, result, lines] : cases) {
    open(parameterType, kindResult);
    EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, line), result) << line;
    EXPECT_EQ(fake.calls, lines.size() == 3 ? 1u : 0u) << "only a matching record reaches the kind";
    EXPECT_EQ(OmbrixHalTunerGetSignalQuality(tuner), result ? 60u : 0u) << "only a successful set tunes";
    EXPECT_EQ(log.lines(), lines) << "kept: the quality is not logged";
  }
}

using TunerDelivery = FakeTunerTest;

TEST_F(TunerDelivery, ReceiveCountZeroCallsNothingAndStrengthIsZeroUntilTuned) {
  open();
  fake.packetsLeft = 2;
  EXPECT_EQ(sumInOrder({OmbrixHalTunerReceive(tuner, 0), OmbrixHalTunerReceive(tuner, 2)}), 2);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 5), 0);
  EXPECT_EQ(fake.calls, 3u) << "the first empty call stops";
  EXPECT_EQ(log.lines(), std::vector{info("OmbrixHalTunerReceive", "No more packets available", 0x3001)});
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 0u);
  ASSERT_EQ(OmbrixHalTunerSetParameterByString(tuner, kDvbTLine), 1);
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 70u);
  EXPECT_EQ(log.lines().back(), info("OmbrixHalTunerGetSignalStrength", "Signal strength is '70%'", 0x3007));
}

// A file tuner kind: its type and the prefix of its exports, how many handlers it holds, unit
// `index` of its files (a packet, a record), and what its signal strength logs once a play is over.
struct FileTunerKind {
  const char* type;
  std::string exports;
  int handlerCount;
  Bytes (*unit)(uint32_t index);
  LogLine strengthLine;
};

class FileTunerContract : public FileTunerTest, public ::testing::WithParamInterface<FileTunerKind> {
 protected:
  FileTunerContract() : FileTunerTest(GetParam().type) {}
  // The first `count` units that a play of a file of `period` units gives.
  static std::vector<Bytes> units(uint32_t count, uint32_t period) {
    std::vector<Bytes> units;
    for (uint32_t index = 0; index < count; ++index) {
      units.push_back(GetParam().unit(index % period));
    }
    return units;
  }
  // A file of `count` units, and a partial one that no play gives.
  static Bytes fileOf(uint32_t count) { return concat({concat(units(count, count)), Bytes(40, 0x55)}); }
};

TEST_P(FileTunerContract, HoldsItsHandlersInTableOrderWhichMayChangeDuringDelivery) {
  static std::vector<int> calls;
  static OmbrixHalTunerHandle self;
  static int contexts[65] = {};
  calls.clear();
  self = tuner;
  const int count = GetParam().handlerCount;
  // Context 0 takes itself and context 2 out during the walk: 2 is not called.
  const OmbrixHalTunerPacketHandler handler = [](void*, const uint8_t*, uint32_t, void* aContext) {
    calls.push_back(static_cast<int>(static_cast<int*>(aContext) - contexts));
    if (calls.back() == 0) {
      OmbrixHalTunerUnregisterPacketHandler(self, &contexts[0], nullptr);
      OmbrixHalTunerUnregisterPacketHandler(self, &contexts[2], nullptr);
    }
  };
  const auto add = [&](int index) { return OmbrixHalTunerRegisterPacketHandler(tuner, handler, &contexts[index]); };
  for (int index = 0; index <= count; ++index) {
    EXPECT_EQ(add(index), index < count ? 1 : 0) << index;
  }
  EXPECT_EQ(OmbrixHalTunerUnregisterPacketHandler(tuner, &contexts[count], nullptr), 0);
  ASSERT_EQ(tune(fileOf(2)), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
  std::vector<int> expected(count);
  std::iota(expected.begin(), expected.end(), 0);
  expected.erase(expected.begin() + 2);
  EXPECT_EQ(calls, expected);
  // The freed entries are taken first, and the same context may stand twice.
  calls.clear();
  EXPECT_EQ((std::array{add(5), add(count), add(count)}), (std::array{1, 1, 0}));
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 1), 1);
  EXPECT_EQ(std::vector(calls.begin(), calls.begin() + 4), (std::vector{5, 1, count, 3}));
}

TEST_P(FileTunerContract, PlaysAsOftenAsAskedResettingItsFiltersAtEachStartThenIsNotLockedTillTunedAgain) {
  PacketRecorder recorder;
  CountingFilter filter;
  // A context that is no filter, smaller than a filter head: the reset must not look into it.
  auto* notAFilter = static_cast<uint8_t*>(OmbrixHalMemoryAllocate(1));
  for (void* context : std::initializer_list<void*>{&filter.head, notAFilter, &filter.head}) {
    ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, [](void*, const uint8_t*, uint32_t, void*) {}, context), 1);
  }
  ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, PacketRecorder::handle, &recorder), 1);
  for (int play = 1; play <= 2; ++play) {
    ASSERT_EQ(tune(fileOf(3), ", repetitions=2"), 1);
    EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_LOCKED) << play;
    log.clear();
    EXPECT_EQ(OmbrixHalTunerReceive(tuner, 7), 0);
    EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED);
    EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 0u);
    EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalTunerReceive", "No more packets available", 0x3001),
                                        info("OmbrixHalTunerGetStatus", "Tuner: LOCKED -> NOT LOCKED"),
                                        GetParam().strengthLine}));
    EXPECT_EQ(filter.resets, 4 * play) << "at the set and at the one rewind, once per entry";
  }
  EXPECT_EQ(recorder.packets, units(12, 3));
  EXPECT_EQ(recorder.thread, OmbrixHalThreadGetId()) << "pulled: on the caller's thread";
  OmbrixHalMemoryFree(notAFilter);
}

// Each slot under its own export's name, in slot order; the digital kind's signal slots last.
TEST_P(FileTunerContract, ItsExportsCalledDirectlyRefuseANullTunerAndAForeignRecord) {
  const OmbrixHalTunerOperations& kind = tuner->Operations;
  OmbrixHalTunerParameter record{};
  // The kind checks what the tuner front checks for it: the record and its type.
  std::vector<int64_t> results = {kind.Destroy(nullptr), kind.SetParameter(nullptr, &record),
                                  kind.GetParameter(nullptr, &record, nullptr), kind.GetType(nullptr), kind.GetStatus(nullptr),
                                  kind.Receive(nullptr), kind.RegisterPacketHandler(nullptr, PacketRecorder::handle, &record),
                                  kind.UnregisterPacketHandler(nullptr, &record, nullptr), kind.SetParameter(tuner, nullptr),
                                  kind.SetParameter(tuner, &record)};
  if (kind.GetSignalStrength != nullptr) {
    results.insert(results.end(), {kind.GetSignalStrength(nullptr), kind.GetSignalQuality(nullptr)});
  }
  EXPECT_EQ(results, std::vector<int64_t>(results.size()));
  const auto null = [](const char* slot, const char* parameter = "This") {
    return nullValue(GetParam().exports + slot, parameter);
  };
  std::vector expected = {null("Destroy"), null("SetParameter"), null("GetParameter"), null("GetType"), null("GetStatus"),
                          null("Receive"), null("RegisterPacketHandler"), null("UnregisterPacketHandler"),
                          null("SetParameter", "aTunerParameter"),
                          error(GetParam().exports + "SetParameter", "Tuner type and parameter type do not match", 0x1008),
                          null("GetSignalStrength"), null("GetSignalQuality")};
  expected.resize(results.size());
  EXPECT_EQ(log.lines(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    FileTuners, FileTunerContract,
    ::testing::Values(FileTunerKind{"digitalFile", "OmbrixHalTunerFileDigital", 64, tsPacket,
                                    test::info("OmbrixHalTunerGetSignalStrength", "Signal strength is '0%'", 0x3007)},
                      FileTunerKind{"analogFile", "OmbrixHalTunerFileAnalog", 10, lineRecord,
                                    unsupported("OmbrixHalTunerGetSignalStrength")}),
    [](const auto& kind) { return std::string(kind.param.type); });

}  // namespace
}  // namespace ombrixhal::test
