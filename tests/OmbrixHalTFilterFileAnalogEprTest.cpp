// Tests of the file analog tuner's filter: teletext lines out of 64-byte line records, handed to
// its record handler as the tuner would, or with a source.
#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalTTunerHead.h"

namespace ombrixhal::test {
namespace {

class FileAnalogEprLines : public FileTunerTest {
 protected:
  FileAnalogEprLines() : FileTunerTest("analogFile") {}
  // The filter's record handler is caught on its way to the tuner, to be called directly.
  void SetUp() override {
    FileTunerTest::SetUp();
    tuner->Operations.RegisterPacketHandler = [](OmbrixHalTunerHandle, OmbrixHalTunerPacketHandler h,
                                                 void* c) -> OmbrixHalBool {
      handler = h;
      context = c;
      return 1;
    };
    tuner->Operations.UnregisterPacketHandler = [](OmbrixHalTunerHandle, void* c, void*) -> OmbrixHalBool {
      return c == context ? (context = nullptr, 1) : 0;
    };
  }
  static void hand(const Bytes& record, void* source = nullptr, uint32_t length = 64) {
    handler(source, record.data(), length, context);
  }
  static Bytes record(uint8_t flags) {
    Bytes line(64, 0);
    line[4] = flags;
    for (int i = 0; i < 42; ++i) {
      line[5 + i] = static_cast<uint8_t>(i + 1);
    }
    return line;
  }

  static inline OmbrixHalTunerPacketHandler handler = nullptr;
  static inline void* context = nullptr;
  Deliveries lines;
};

TEST_F(FileAnalogEprLines, DeliversTheTeletextLinesOfTypeSevenWithTheSourceFirst) {
  OmbrixHalFilterHandle filter = OmbrixHalFilterCreateRealFilter(tuner, 7, Deliveries::record, &lines);
  ASSERT_NE(filter, nullptr);
  const Bytes teletext = record(0x27);
  hand(teletext);  // not started yet
  ASSERT_EQ(OmbrixHalFilterStart(filter), 1);
  int source = 0;
  hand(teletext, &source);
  hand(teletext);
  hand(teletext, nullptr, 63);
  hand(record(0x07));
  const Bytes line(teletext.begin() + 5, teletext.begin() + 47);
  EXPECT_EQ(lines.from(), (std::vector{reinterpret_cast<OmbrixHalFilterHandle>(&source), filter}));
  EXPECT_EQ(lines.data(), (std::vector{line, line}));
  // Without SetParameter it cannot serve a map filter; it is closed through the generic call.
  EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
  EXPECT_EQ(context, nullptr);
}

TEST_F(FileAnalogEprLines, AFilterMadeForAnotherTypeNeverDeliversNorServesAMapFilter) {
  OmbrixHalFilterHandle filter =
      OmbrixHalFilterCreateRealFilter(tuner, OMBRIX_HAL_FILTER_TYPE_SECTION, Deliveries::record, &lines);
  ASSERT_EQ(OmbrixHalFilterStart(filter), 1);
  hand(record(0x27));
  EXPECT_TRUE(lines.calls.empty());
  OmbrixHalFilterHandle map = OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, nullptr, Deliveries::record, &lines);
  const OmbrixHalFilterParameter parameter{};
  log.clear();
  EXPECT_EQ(OmbrixHalFilterSetParameter(map, &parameter), 0);
  EXPECT_EQ(log.lines(), std::vector{error("OmbrixHalFilterSetParameter",
                                           "Internal error: Filter functions are not ported correctly.")});
  OmbrixHalFilterClose(map);
  OmbrixHalFilterClose(filter);
}

}  // namespace
}  // namespace ombrixhal::test
