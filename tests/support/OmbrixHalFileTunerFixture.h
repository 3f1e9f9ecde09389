// A test with a file tuner ("digitalFile" unless the test names another) that plays generated
// files: the ground on which the file tuners and the filters are tested end to end.
#ifndef OMBRIX_HAL_FILE_TUNER_FIXTURE_H
#define OMBRIX_HAL_FILE_TUNER_FIXTURE_H

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string>

#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {

// A 64-byte analog record of `line` (below 2048): the line is byte 0 + ((byte 1 & 0x06) << 8),
// and every other bit of byte 1 is set, so that a reader that counts any of them goes wrong.
inline Bytes lineRecord(uint32_t line) {
  Bytes record(64, static_cast<uint8_t>(line * 3));
  record[0] = static_cast<uint8_t>(line);
  record[1] = static_cast<uint8_t>((line >> 8 & 0x06) | 0xf9);
  return record;
}

// What one packet handler of a tuner was given, and on which thread. File tuners name no source.
struct PacketRecorder {
  static void handle(void* aSource, const uint8_t* aPacket, uint32_t aLength, void* aContext) {
    auto& recorder = *static_cast<PacketRecorder*>(aContext);
    std::lock_guard guard(recorder.mutex);
    EXPECT_EQ(aSource, nullptr);
    recorder.packets.emplace_back(aPacket, aPacket + aLength);
    recorder.thread = OmbrixHalThreadGetId();
  }
  std::vector<Bytes> seen() {
    std::lock_guard guard(mutex);
    return packets;
  }

  std::mutex mutex;
  std::vector<Bytes> packets;
  uint32_t thread = 0;
};

class FileTunerTest : public HalTest {
 protected:
  explicit FileTunerTest(std::string type = "digitalFile") : type_(std::move(type)) {}
  void SetUp() override {
    HalTest::SetUp();
    path = std::string("stream-") + ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".ts";
    std::replace(path.begin(), path.end(), '/', '-');  // parameterised tests have a '/' in their names
    tuner = OmbrixHalTunerOpen(type_.c_str());
    ASSERT_NE(tuner, nullptr);
    log.clear();
  }
  void TearDown() override {
    OmbrixHalTunerClose(tuner);
    std::remove(path.c_str());
    HalTest::TearDown();
  }
  // Writes `contents` to the test's file and tunes to it, `options` added to the line; the answer.
  OmbrixHalBool tune(const Bytes& contents, const std::string& options = "") {
    writeBytes(path, contents);
    return OmbrixHalTunerSetParameterByString(tuner, (type_ + ": name=//local/" + path + options).c_str());
  }
  // Tunes to `stream`, to be pulled from its start.
  void load(const Bytes& stream) { ASSERT_EQ(tune(stream), 1); }
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
  // Opens an unnamed filter of `type` delivering to `handler` (a client's map filter, or with
  // `chain` the top of a bare chain), sets `pid` and starts it.
  OmbrixHalFilterHandle openStarted(OmbrixHalFilterType type, uint32_t pid, OmbrixHalFilterHandler handler,
                                    void* context, OmbrixHalFilterParameter parameter = {}, bool chain = false) {
    OmbrixHalFilterHandle filter = chain ? OmbrixHalFilterCreateRealFilter(tuner, type, handler, context)
                                         : OmbrixHalFilterOpen(tuner, type, nullptr, handler, context);
    parameter.pid = pid;
    EXPECT_EQ(OmbrixHalFilterSetParameter(filter, &parameter), 1);
    EXPECT_EQ(OmbrixHalFilterStart(filter), 1);
    return filter;
  }
  OmbrixHalFilterHandle openStarted(OmbrixHalFilterType type, uint32_t pid, Deliveries& deliveries,
                                    OmbrixHalFilterParameter parameter = {}, bool chain = false) {
    return openStarted(type, pid, Deliveries::record, &deliveries, parameter, chain);
  }
  // Plays `packets` once (and a null packet, for the tuner to find its sync) through a bare
  // chain of `type` on PID 0x100, started with `parameter`: what it delivered, each delivery
  // naming the chain's top.
  std::vector<Bytes> delivered(OmbrixHalFilterType type, const std::vector<Bytes>& packets,
                               OmbrixHalFilterParameter parameter = {}) {
    Deliveries deliveries;
    OmbrixHalFilterHandle filter = openStarted(type, 0x100, deliveries, parameter, true);
    play(concat({concat(packets), tsPacketOf(0x1fff, 0xff)}));
    EXPECT_EQ(deliveries.from(), std::vector(deliveries.calls.size(), filter));
    EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
    return deliveries.data();
  }

  std::string path;
  OmbrixHalTunerHandle tuner = nullptr;

 private:
  std::string type_;
};

}  // namespace ombrixhal::test

#endif
