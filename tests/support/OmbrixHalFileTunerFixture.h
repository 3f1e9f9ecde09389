// A test with a "digitalFile" tuner that plays generated streams: the ground on which filters
// are tested end to end.
#ifndef OMBRIX_HAL_FILE_TUNER_FIXTURE_H
#define OMBRIX_HAL_FILE_TUNER_FIXTURE_H

#include <algorithm>
#include <cstdio>
#include <string>

#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {

class FileTunerTest : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    path = std::string("stream-") + ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".ts";
    std::replace(path.begin(), path.end(), '/', '-');  // parameterised tests have a '/' in their names
    tuner = OmbrixHalTunerOpen("digitalFile");
    ASSERT_NE(tuner, nullptr);
    log.clear();
  }
  void TearDown() override {
    OmbrixHalTunerClose(tuner);
    std::remove(path.c_str());
    HalTest::TearDown();
  }
  // Tunes to `stream`, to be pulled from its start.
  void load(const Bytes& stream) {
    writeBytes(path, stream);
    ASSERT_EQ(OmbrixHalTunerSetParameterByString(tuner, ("digitalFile: name=//local/" + path).c_str()), 1);
  }
  // Plays `stream` once from its start, pulling every whole packet through the tuner, and
  // forgets the tuner's log lines.
  void play(const Bytes& stream) {
    load(stream);
    ASSERT_EQ(OmbrixHalTunerReceive(tuner, static_cast<uint32_t>(stream.size() / kTsPacketSize)), 1);
    log.clear();
  }
  // Takes all but `free` of the tuner's 64 handler entries, so that a new chain beyond them fails.
  void leaveTunerEntries(int free) {
    static int dummies[64];
    for (int index = 0; index < 64 - free; ++index) {
      ASSERT_EQ(OmbrixHalTunerRegisterPacketHandler(tuner, [](void*, const uint8_t*, uint32_t, void*) {}, &dummies[index]),
                1);
    }
  }
  // Opens an unnamed filter of `type` delivering to `deliveries`, sets `pid` and starts it.
  OmbrixHalFilterHandle openStarted(OmbrixHalFilterType type, uint32_t pid, Deliveries& deliveries,
                                    OmbrixHalFilterParameter parameter = {}) {
    OmbrixHalFilterHandle filter = OmbrixHalFilterOpen(tuner, type, nullptr, Deliveries::record, &deliveries);
    parameter.pid = pid;
    EXPECT_EQ(OmbrixHalFilterSetParameter(filter, &parameter), 1);
    EXPECT_EQ(OmbrixHalFilterStart(filter), 1);
    return filter;
  }

  std::string path;
  OmbrixHalTunerHandle tuner = nullptr;
};

}  // namespace ombrixhal::test

#endif
