// Tests of the file analog tuner's filter on a fake tuner of that kind: teletext lines out of
// 64-byte line records.
#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalTTunerHead.h"

namespace ombrixhal::test {
namespace {

// The record handler the filter registered on the fake tuner, and its context.
OmbrixHalTunerPacketHandler registeredHandler;
void* registeredContext;

constexpr OmbrixHalTunerOperations kFakeAnalogOperations = {
    .Destroy = [](OmbrixHalTunerHandle t) -> OmbrixHalBool { return closeTunerHead(*t), delete t, 1; },
    .SetParameter = nullptr,
    .GetParameter = nullptr,
    .GetType = [](OmbrixHalTunerHandle t) { return t->ParameterType; },
    .GetStatus = nullptr,
    .Receive = nullptr,
    .RegisterPacketHandler = [](OmbrixHalTunerHandle, OmbrixHalTunerPacketHandler h, void* c) -> OmbrixHalBool {
      registeredHandler = h;
      registeredContext = c;
      return 1;
    },
    .UnregisterPacketHandler = [](OmbrixHalTunerHandle, void* c, void*) -> OmbrixHalBool {
      return c == registeredContext ? (registeredContext = nullptr, 1) : 0;
    },
    .GetSignalStrength = nullptr,
    .GetSignalQuality = nullptr,
    .SetAccessCode = nullptr,
    .GetVersionNumber = nullptr,
};

class FileAnalogEprTest : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    seam::tunerFactoryCreateTuner = [](OmbrixHalTunerType) noexcept -> OmbrixHalTunerHandle {
      auto* tuner = new OmbrixHalTunerHead{};
      initTunerHead(*tuner, kFakeAnalogOperations, OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE);
      return tuner;
    };
    // A kind the front does not make itself goes to the factory: the fake is opened as DVB-T,
    // and its kind answers the analog file type.
    tuner = OmbrixHalTunerOpen("DVB-T");
    ASSERT_NE(tuner, nullptr);
  }
  void TearDown() override {
    OmbrixHalTunerClose(tuner);
    seam::tunerFactoryCreateTuner = OmbrixHalTunerFactoryCreateTuner;
    HalTest::TearDown();
  }
  static Bytes record(uint8_t flags) {
    Bytes line(64, 0);
    line[4] = flags;
    for (int i = 0; i < 42; ++i) {
      line[5 + i] = static_cast<uint8_t>(i + 1);
    }
    return line;
  }

  OmbrixHalTunerHandle tuner = nullptr;
};

using FileAnalogEprLines = FileAnalogEprTest;

TEST_F(FileAnalogEprLines, DeliversTheTeletextLinesOfTypeSevenWithTheSourceFirst) {
  Deliveries lines;
  OmbrixHalFilterHandle filter = OmbrixHalFilterCreateRealFilter(tuner, 7, Deliveries::record, &lines);
  ASSERT_NE(filter, nullptr);
  const Bytes teletext = record(0x27);
  registeredHandler(nullptr, teletext.data(), 64, registeredContext);  // not started yet
  ASSERT_EQ(OmbrixHalFilterStart(filter), 1);
  int source = 0;
  registeredHandler(&source, teletext.data(), 64, registeredContext);
  registeredHandler(nullptr, teletext.data(), 64, registeredContext);
  registeredHandler(nullptr, teletext.data(), 63, registeredContext);
  registeredHandler(nullptr, record(0x07).data(), 64, registeredContext);
  const Bytes line(teletext.begin() + 5, teletext.begin() + 47);
  EXPECT_EQ(lines.from(), (std::vector{reinterpret_cast<OmbrixHalFilterHandle>(&source), filter}));
  EXPECT_EQ(lines.data(), (std::vector{line, line}));
  // Without SetParameter it cannot serve a map filter; it is closed through the generic call.
  EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
  EXPECT_EQ(registeredContext, nullptr);
}

TEST_F(FileAnalogEprLines, AFilterMadeForAnotherTypeNeverDelivers) {
  Deliveries lines;
  OmbrixHalFilterHandle filter = OmbrixHalFilterCreateRealFilter(tuner, OMBRIX_HAL_FILTER_TYPE_SECTION,
                                                                 Deliveries::record, &lines);
  ASSERT_EQ(OmbrixHalFilterStart(filter), 1);
  registeredHandler(nullptr, record(0x27).data(), 64, registeredContext);
  EXPECT_TRUE(lines.calls.empty());
  // A map filter cannot be put on it.
  OmbrixHalFilterHandle map = OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, nullptr, Deliveries::record, &lines);
  OmbrixHalFilterParameter parameter{};
  log.clear();
  EXPECT_EQ(OmbrixHalFilterSetParameter(map, &parameter), 0);
  EXPECT_EQ(log.lines(), std::vector{error("OmbrixHalFilterSetParameter",
                                           "Internal error: Filter functions are not ported correctly.")});
  OmbrixHalFilterClose(map);
  OmbrixHalFilterClose(filter);
}

}  // namespace
}  // namespace ombrixhal::test
