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

struct FakeTuner {
  OmbrixHalTunerHead head;
};

constexpr OmbrixHalTunerOperations kFakeOperations = {
    .Destroy = [](OmbrixHalTunerHandle t) { return closeTunerHead(*t), delete tunerKindOf<FakeTuner>(t), 1; },
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

OmbrixHalTunerHandle createFakeTuner(OmbrixHalTunerType) noexcept {
  auto* tuner = new FakeTuner{};
  initTunerHead(tuner->head, kFakeOperations, fake.parameterType);
  return &tuner->head;
}

// The library's own factory makes no tuner yet.
using TunerOpening = HalTest;

TEST_F(TunerOpening, FailsWithTheLineOfItsCauseAndGivesItsTimerBack) {
  const std::string open = "OmbrixHalTunerOpen";
  const struct {
    const char* string;
    LogLine line;
  } cases[] = {
      {"DVB-C", error(open, "Cannot open tuner: 'DVB-C'", 0x1007)},
      {"digitalFile: name=a.ts", error(open, "Cannot open tuner: 'digitalFile: name=a.ts'", 0x1007)},
      {"dvb-t", error(open, "Unknown tuner type in string 'dvb-t'", 0x1006)},
      {nullptr, error(open, "Illegal value 'NULL' for parameter 'aTunerTypeString'", 0x1003)},
  };
  for (int round = 0; round < 16; ++round) {  // 32 failed opens: more than the 30 timers
    for (const auto& c : cases) {
      log.clear();
      EXPECT_EQ(OmbrixHalTunerOpen(c.string), nullptr);
      EXPECT_EQ(log.lines(), std::vector{c.line});
    }
  }
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

using TunerLifecycle = FakeTunerTest;

TEST_F(TunerLifecycle, DestroyGivesTheLockTimerBackAndTypesAreTheKindsNotTheWords) {
  for (int cycle = 0; cycle < OMBRIX_HAL_TIMER_COUNT + 1; ++cycle) {
    open(OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);
  }
  OmbrixHalTunerClose(tuner);
  tuner = OmbrixHalTunerOpen("analog: freq=48250");  // any word will do for the fake kind
  EXPECT_EQ(OmbrixHalTunerGetType(tuner), OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);
  OmbrixHalTunerParameter record{};  // the kind's record is still of type 0
  EXPECT_EQ(OmbrixHalTunerGetParameter(tuner, &record, nullptr), 1);
  EXPECT_EQ(record.Type, OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE);
  EXPECT_EQ(log.lines(),
            (std::vector{info("OmbrixHalTunerOpen", "Opened tuner successfully", 0x3002),
                         info("OmbrixHalTunerGetParameter", "Tuner parameter successfully returned", 0x3004)}));
}

using TunerArguments = FakeTunerTest;

OmbrixHalTunerParameter dvbT = {.DvbT = {9, 474000, 4, 1, 1, 1, 1}};
uint32_t version = 0;
// The call with valid arguments, or with the argument besides This NULL when given is false.
#define CALL(expression) [](OmbrixHalTunerHandle t, [[maybe_unused]] bool given) -> int64_t { return expression; }

TEST_F(TunerArguments, NullArgumentsFailNamingTheParameterAndMissingSlotsWarnButPacketHandlersStayQuiet) {
  const struct {
    std::string function;
    int64_t (*call)(OmbrixHalTunerHandle, bool);
    const char* argument;  // the argument besides This that can be NULL
  } cases[] = {
      {"OmbrixHalTunerClose", CALL(OmbrixHalTunerClose(t)), nullptr},
      {"OmbrixHalTunerGetStatus", CALL(OmbrixHalTunerGetStatus(t)), nullptr},
      {"OmbrixHalTunerReceive", CALL(OmbrixHalTunerReceive(t, 0)), nullptr},
      {"OmbrixHalTunerGetSignalStrength", CALL(OmbrixHalTunerGetSignalStrength(t)), nullptr},
      {"OmbrixHalTunerGetSignalQuality", CALL(OmbrixHalTunerGetSignalQuality(t)), nullptr},
      {"OmbrixHalTunerSetParameter", CALL(OmbrixHalTunerSetParameter(t, given ? &dvbT : nullptr)), "aTunerParameter"},
      {"OmbrixHalTunerSetParameterByString", CALL(OmbrixHalTunerSetParameterByString(t, given ? kDvbTLine : nullptr)),
       "aTunerParameterString"},
      {"OmbrixHalTunerGetParameter", CALL(OmbrixHalTunerGetParameter(t, given ? &dvbT : nullptr, t)),
       "aTunerParameter"},
      {"OmbrixHalTunerSetAccessCode", CALL(OmbrixHalTunerSetAccessCode(t, given ? "0000" : nullptr, t, t)),
       "aAccessCodeStr"},
      {"OmbrixHalTunerGetVersionNumber", CALL(OmbrixHalTunerGetVersionNumber(t, t, given ? &version : nullptr)),
       "aVersionNumber"},
  };
  open();
  for (const auto& c : cases) {
    log.clear();
    std::vector expected{error(c.function, "Illegal value 'NULL' for parameter 'This'", 0x1003)};
    EXPECT_EQ(c.call(nullptr, true), 0);
    if (c.argument != nullptr) {
      EXPECT_EQ(c.call(tuner, false), 0);
      expected.push_back(
          error(c.function, "Illegal value 'NULL' for parameter '" + std::string(c.argument) + "'", 0x1003));
    }
    EXPECT_EQ(log.lines(), expected);
  }
  int context = 0;
  const auto both = [](OmbrixHalTunerHandle t, void* aContext) {
    const OmbrixHalTunerPacketHandler handler = [](void*, const uint8_t*, uint32_t, void*) {};
    return OmbrixHalTunerRegisterPacketHandler(t, handler, aContext) +
           OmbrixHalTunerUnregisterPacketHandler(t, aContext, nullptr);
  };
  log.clear();
  EXPECT_EQ(both(tuner, &context), 2);
  EXPECT_EQ(
      both(nullptr, &context) + both(tuner, nullptr) + OmbrixHalTunerRegisterPacketHandler(tuner, nullptr, &context),
      0);
  const OmbrixHalTunerOperations operations = std::exchange(tuner->Operations, {});
  EXPECT_EQ(both(tuner, &context), 0);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{});
  for (const auto& c : cases) {
    log.clear();
    tuner->ParameterSet = 1;  // so that strength and quality need their slots
    EXPECT_EQ(c.call(tuner, true), 0);
    EXPECT_EQ(log.lines(), std::vector{warning(c.function, "Function not supported: '" + c.function + "'", 0x2001)});
  }
  tuner->Operations = operations;
}

using TunerLockStatus = FakeTunerTest;

TEST_F(TunerLockStatus, WaitForLockTurnsNotLockedAfter2000MsAndAFailedSetMakesItUnknown) {
  const struct {
    const char* tuneTo;  // a line to set first, if any
    uint32_t advanceMs;
    OmbrixHalTunerStatus answer;  // the kind's
    OmbrixHalTunerStatus status;  // the caller's
  } steps[] = {
      // Untuned, the kind is not asked. A lock spends the wait that a re-tune armed, so a later
      // wait is not locked at once (kept). Changes to or from a status without a text are silent.
      {nullptr, 0, 3, 0},   {kDvbTLine, 0, 1, 1}, {nullptr, 1999, 1, 1}, {nullptr, 1, 1, 2}, {nullptr, 0, 1, 2},
      {kDvbTLine, 0, 3, 3}, {nullptr, 0, 1, 2},   {nullptr, 0, 7, 7},    {nullptr, 0, 3, 3}, {"DVB-T: freq=1", 0, 3, 0},
  };
  open();
  for (const auto& step : steps) {
    if (step.tuneTo != nullptr) {
      OmbrixHalTunerSetParameterByString(tuner, step.tuneTo);
    }
    FakeClock::advance(step.advanceMs);
    fake.status = step.answer;
    EXPECT_EQ(OmbrixHalTunerGetStatus(tuner), step.status);
  }
  std::vector<LogLine> lines = log.lines();
  std::erase_if(lines, [](const LogLine& line) { return line.function != "OmbrixHalTunerGetStatus"; });
  const std::string getStatus = "OmbrixHalTunerGetStatus";
  EXPECT_EQ(lines,
            (std::vector{info(getStatus, "Tuner: UNKNOWN -> WAIT FOR LOCK"),
                         info(getStatus, "Tuner: WAIT FOR LOCK -> NOT LOCKED"),
                         info(getStatus, "Tuner: NOT LOCKED -> LOCKED"), info(getStatus, "Tuner: LOCKED -> NOT LOCKED"),
                         info(getStatus, "Tuner: LOCKED -> UNKNOWN")}));
}

using TunerApplyStep = FakeTunerTest;

TEST_F(TunerApplyStep, MatchingRecordsReachTheKindFileTunersIgnoreOthersAndTheRestFail) {
  const std::string set = "OmbrixHalTunerSetParameterByString";
  const std::string tune1 = "DVB-T tune (1): Freq=474000 Bandw=8 FEC=AUTO";
  const std::string tune2 = "DVB-T tune (2): Mod=AUTO Guard=AUTO Transm=AUTO";
  const std::vector applied{info(set, "Tuner parameter successfully set", 0x3003), info(set, tune1), info(set, tune2)};
  const std::vector refused{error(set, "Cannot set tuner parameter", 0x100a), error(set, tune1), error(set, tune2)};
  const struct {
    OmbrixHalTunerType parameterType;
    OmbrixHalBool kindResult;
    const char* line;
    OmbrixHalBool result;
    std::vector<LogLine> lines;
  } cases[] = {
      {9, 1, kDvbTLine, 1, applied},
      {9, 0, kDvbTLine, 0, refused},
      {5, 1, kDvbTLine, 1, {}},  // kept: a file tuner plays on whatever is tuned
      {3, 1, kDvbCLine, 1, {}},
      {9, 1, kDvbCLine, 0, {error(set, "Tuner type and parameter type do not match", 0x1008)}},
      {9, 1, "cable: freq=1", 0, {error(set, "Illegal tuner parameter string 'cable: freq=1'", 0x1009)}},
  };
  for (const auto& c : cases) {
    open(c.parameterType, c.kindResult);
    EXPECT_EQ(OmbrixHalTunerSetParameterByString(tuner, c.line), c.result) << c.line;
    EXPECT_EQ(fake.calls, c.lines.size() == 3 ? 1 : 0) << "only a matching record reaches the kind";
    EXPECT_EQ(log.lines(), c.lines);
  }
}

using TunerDelivery = FakeTunerTest;

TEST_F(TunerDelivery, ReceiveCountZeroCallsNothingAndSignalIsZeroUntilTuned) {
  open();
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 0), 1);
  fake.packetsLeft = 2;
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 2), 1);
  EXPECT_EQ(OmbrixHalTunerReceive(tuner, 5), 0);
  EXPECT_EQ(fake.calls, 3) << "the first empty call stops";
  EXPECT_EQ(log.lines(), std::vector{info("OmbrixHalTunerReceive", "No more packets available", 0x3001)});
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner) + OmbrixHalTunerGetSignalQuality(tuner), 0u);
  ASSERT_EQ(OmbrixHalTunerSetParameterByString(tuner, kDvbTLine), 1);
  log.clear();
  EXPECT_EQ(OmbrixHalTunerGetSignalStrength(tuner), 70u);
  EXPECT_EQ(OmbrixHalTunerGetSignalQuality(tuner), 60u);  // kept: not logged
  EXPECT_EQ(log.lines(), std::vector{info("OmbrixHalTunerGetSignalStrength", "Signal strength is '70%'", 0x3007)});
}

}  // namespace
}  // namespace ombrixhal::test
