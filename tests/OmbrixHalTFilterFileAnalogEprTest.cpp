// Tests of the file analog tuner's filter: teletext lines out of 64-byte line records, handed to
// its record handler as the tuner would, or with a source.
#include "OmbrixHalFileTunerFixture.h"
#include "OmbrixHalTTunerHead.h"

namespace ombrixhal::test {
namespace {

class FileAnalogEprLines : public FileTunerTest {
 protected:
  FileAnalogEprLines() : FileTunerTest("analogFile") {}
  // The filters' record handler is caught on its way to the tuner, to be called directly.
  void SetUp() override {
    FileTunerTest::SetUp();
    tuner->Operations.RegisterPacketHandler = [](OmbrixHalTunerHandle, OmbrixHalTunerPacketHandler h,
                                                 void* c) -> OmbrixHalBool {
      handler = h;
      contexts.push_back(c);
      return 1;
    };
    tuner->Operations.UnregisterPacketHandler = [](OmbrixHalTunerHandle, void* c, void*) -> OmbrixHalBool {
      return std::erase(contexts, c) == 1;
    };
  }
  static void hand(const Bytes& record, void* source = nullptr, uint32_t length = 64) {
    for (void* context : contexts) {
      handler(source, record.data(), length, context);
    }
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
  static inline std::vector<void*> contexts;
  Deliveries lines;
};

// A filter made for another type never delivers, and cannot serve a map filter (it has no
// SetParameter): it is reached only through OmbrixHalFilterCreateRealFilter.
TEST_F(FileAnalogEprLines, DeliversTheTeletextLinesOfTypeSevenOnlyWithTheSourceFirst) {
  OmbrixHalFilterHandle filter = OmbrixHalFilterCreateRealFilter(tuner, 7, Deliveries::record, &lines);
  OmbrixHalFilterHandle section = OmbrixHalFilterCreateRealFilter(tuner, 1, Deliveries::record, &lines);
  const Bytes teletext = record(0x27);
  hand(teletext);  // not started yet
  ASSERT_EQ(sumInOrder({OmbrixHalFilterStart(filter), OmbrixHalFilterStart(section)}), 2);
  int source = 0;
  hand(teletext, &source);
  hand(teletext);
  hand(teletext, nullptr, 63);
  hand(record(0x07));
  const Bytes line(teletext.begin() + 5, teletext.begin() + 47);
  EXPECT_EQ(lines.from(), (std::vector{reinterpret_cast<OmbrixHalFilterHandle>(&source), filter}));
  EXPECT_EQ(lines.data(), (std::vector{line, line}));
  OmbrixHalFilterHandle map = OmbrixHalFilterOpen(tuner, OMBRIX_HAL_FILTER_TYPE_TS, nullptr, Deliveries::record, &lines);
  const OmbrixHalFilterParameter parameter{};
  log.clear();
  EXPECT_EQ(OmbrixHalFilterSetParameter(map, &parameter), 0);
  EXPECT_EQ(log.lines(), std::vector{error("OmbrixHalFilterSetParameter",
                                           "Internal error: Filter functions are not ported correctly.")});
  EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(map), OmbrixHalFilterClose(filter), OmbrixHalFilterClose(section)}), 3);
  EXPECT_TRUE(contexts.empty());
}

}  // namespace
}  // namespace ombrixhal::test
