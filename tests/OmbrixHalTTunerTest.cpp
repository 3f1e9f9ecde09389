// Tests of the tuner front, on a fake tuner kind put in the factory's place: opening, the
// apply step, the lock state machine and the operation slots.
#include "OmbrixHalFakeClock.h"
#include "OmbrixHalTTunerHead.h"

namespace ombrixhal::test {
namespace {

constexpr const char* kDvbTLine = "DVB-T: freq=474000";
constexpr const char* kDvbCLine = "DVB-C: freq=346000, symbolrate=6900";

// What the fake kind answers, and how often a slot other than Destroy was called.
struct FakeAnswers {
  OmbrixHalTunerType parameterType = OMBRIX_HAL_TUNER_TYPE_DVB_T;
  OmbrixHalTunerStatus status = OMBRIX_HAL_TUNER_STATUS_WAIT_FOR_LOCK;
  OmbrixHalBool setResult = 1;
  uint32_t packetsLeft = 0;
  int calls = 0;
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
  // The kind's record is still of type 0.
  OmbrixHalTunerParameter record{};
  EXPECT_EQ(OmbrixHalTunerGetParameter(tuner, &record, nullptr), 1);
  EXPECT_EQ(record.Type, OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);
  EXPECT_EQ(log.lines(),
            std::vector{info("OmbrixHalTunerGetParameter", "Tuner parameter successfully returned", 0x3004)});
  seam::tunerFactoryCreateTuner = OmbrixHalTunerFactoryCreateTuner;  // which makes no tuner yet
  const std::pair<const char*, LogLine> cases[] = {
      {"DVB-C", error("OmbrixHalTunerOpen", "Cannot open tuner: 'DVB-C'", 0x1007)},
      {"DVB-T: freq=474000", error("OmbrixHalTunerOpen", "Cannot open tuner: 'DVB-T: freq=474000'", 0x1007)},
      {"dvb-t", error("OmbrixHalTunerOpen", "Unknown tuner type in string 'dvb-t'", 0x1006)},
      {nullptr, error("OmbrixHalTunerOpen", "Illegal value 'NULL' for parameter 'aTunerTypeString'", 0x1003)},
  };
  for (int round = 0; round < 16; ++round) {  // 32 opens that took a timer: more than the 30
    for (const auto& [string, line] : cases) {
      log.clear();
      EXPECT_EQ(OmbrixHalTunerOpen(string), nullptr);
      EXPECT_EQ(log.lines(), std::vector{line});
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
      {CALL(OmbrixHalTunerGetVersionNumber, t, t, given ? &version : nullptr), "aVersionNumber"},
  };
  open();
  OmbrixHalTunerHandle bare = OmbrixHalTunerOpen("DVB-T");
  bare->Operations = {};
  bare->Operations.Destroy = kFakeOperations.Destroy;  // so that it can be closed
  for (const auto& [function, call, argument] : cases) {
    log.clear();
    EXPECT_EQ(call(nullptr, true) + call(tuner, false) + call(bare, true), 0);
    EXPECT_EQ(log.lines(),
              (std::vector{error(function, "Illegal value 'NULL' for parameter 'This'", 0x1003),
                           error(function, "Illegal value 'NULL' for parameter '" + argument + "'", 0x1003),
                           warning(function, "Function not supported: '" + function + "'", 0x2001)}));
  }
  const OmbrixHalTunerPacketHandler handler = [](void*, const uint8_t*, uint32_t, void*) {};
  const auto both = [handler](OmbrixHalTunerHandle t, void* context) {
    return OmbrixHalTunerRegisterPacketHandler(t, handler, context) +
           OmbrixHalTunerUnregisterPacketHandler(t, context, nullptr);
  };
  log.clear();
  EXPECT_EQ(both(tuner, &version), 2);
  EXPECT_EQ(both(nullptr, &version) + both(tuner, nullptr) + both(bare, &version), 0);
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
      {kDvbTLine, 0, 3, 3}, {nullptr, 0, 1, 2},   {nullptr, 0, 7, 7},    {nullptr, 0, 3, 3}, {"DVB-T: freq=1", 0, 3, 0},
  };
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
      {9, 1, "cable: freq=1", 0, {error(set, "Illegal tuner parameter string 'cable: freq=1'", 0x1009)}},
  };
  for (const auto& [parameterType, kindResult, line, result, lines] : cases) {
    open(parameterType, kindResult);
    EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, line), result) << line;
    EXPECT_EQ(fake.calls, lines.size() == 3 ? 1 : 0) << "only a matching record reaches the kind";
    EXPECT_EQ(OmbrixHalTunerGetSignalQuality(tuner), result ? 60u : 0u) << "only a successful set tunes";
    EXPECT_EQ(log.lines(), lines) << "kept: the quality is not logged";
  }
}

using TunerDelivery = FakeTunerTest;

TEST_F(TunerDelivery, ReceiveCountZeroCallsNothingAndStrengthIsZeroUntilTuned) {
  open();
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 0), 1);
  fake.packetsLeft = 2;
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 2), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 5), 0);
  EXPECT_EQ(fake.calls, 3) << "the first empty call stops";
  EXPECT_EQ(log.lines(), std::vector{info("OmbrixHalTunerReceive", "No more packets available", 0x3001)});
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 0u);
  ASSERT_EQ(OmbrixHalTunerSetParameterByString(tuner, kDvbTLine), 1);
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 70u);
  EXPECT_EQ(log.lines().back(), info("OmbrixHalTunerGetSignalStrength", "Signal strength is '70%'", 0x3007));
}

}  // namespace
}  // namespace ombrixhal::test
