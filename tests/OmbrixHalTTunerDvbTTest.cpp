// Tests of the DVB-T tuner and its TS filters over the receiver emulator: tuning and what the
// driver detected, the signal, the PID table and its buffers, every driver call failing, the
// filters against a digitalFile tuner playing the same bytes, the pool filter, and clients
// acting while the driver's thread delivers. CTest runs them in buffer mode and, with the TS
// reader library on the search path, in TS reader mode (OMBRIX_HAL_DVBT_READER=1).
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>
#include <tuple>

#include "DibEmulatorControl.h"
#include "OmbrixHalFileTunerFixture.h"

namespace ombrixhal::test {
namespace {

using namespace std::chrono_literals;

const bool kReaderMode =
    std::getenv("OMBRIX_HAL_DVBT_READER") != nullptr && std::string(std::getenv("OMBRIX_HAL_DVBT_READER")) == "1";
constexpr uint32_t kLocked = 474000;  // the first channel of the plan
constexpr uint32_t kUnplanned = 530000;
// Each filter type's PID in multiplex().
constexpr uint32_t kPidOfType[] = {kTsPid, kSectionPid, kPcrPid, kPesPid, kTeletextPid};

// Type, Frequency, Bandwidth, Modulation, CodeRate, TransmissionMode, GuardInterval.
using DvbTRecord = std::array<int32_t, 7>;
static_assert(sizeof(DvbTRecord) == sizeof(OmbrixHalTunerParameterDvbT));

// A PID handler (Source void*) or a filter handler counting its calls in an atomic int.
template <typename Source>
void count(Source, const uint8_t*, uint32_t, void* aContext) {
  ++*static_cast<std::atomic<int>*>(aContext);
}

class DvbTTest : public FileTunerTest {
 protected:
  void SetUp() override {
    FileTunerTest::SetUp();
    plan = "plan-" + path + ".txt";
    // Every channel plays the test's stream; the values are the driver's.
    const std::string file = " " + path + " ";
    std::ofstream(plan) << kLocked << " 8" << file << "mode=1 guard=3 constellation=2 coderate=3 gain=30000,20000 "
                        << "power=1000,2000 value=1234567890 status=4660 quality=77\n482000 7" << file
                        << "mode=0 guard=0 constellation=0 coderate=1\n490000 6" << file
                        << "mode=2 guard=1 constellation=1\n498000 8" << file << "coderate=5 power=0,2000\n506000 8"
                        << file << "coderate=7\n514000 8" << file << "mode=3 guard=4 constellation=3 coderate=4\n";
    writeBytes(path, tsStream(10));
    DibEmulatorReset();
    DibEmulatorSetDelivery(DIB_EMULATOR_MANUAL);
    DibEmulatorSetChannelPlan(plan.c_str());
    console.take();
    ASSERT_NE(dvbT = open(), nullptr);
    log.clear();
  }
  void TearDown() override {
    OmbrixHalTunerClose(dvbT);
    std::remove(plan.c_str());
    FileTunerTest::TearDown();
  }
  static OmbrixHalTunerHandle open() { return OmbrixHalTunerOpen("DVB-T"); }
  OmbrixHalBool tune(const DvbTRecord& record) {
    OmbrixHalTunerParameter parameter{};
    std::memcpy(&parameter.DvbT, record.data(), sizeof record);
    const OmbrixHalBool tuned = OmbrixHalTunerSetParameter(dvbT, &parameter);
    log.clear();
    return tuned;
  }
  OmbrixHalBool tune(uint32_t frequency) { return tune({9, int32_t(frequency), 4, 1, 1, 1, 1}); }
  static DibEmulatorCall lastCall(const char* function) {
    std::vector<DibEmulatorCall> calls(DibEmulatorGetCalls(nullptr, 0));
    DibEmulatorGetCalls(calls.data(), uint32_t(calls.size()));
    const auto last = std::find_if(calls.rbegin(), calls.rend(), [&](const DibEmulatorCall& call) {
      return std::strcmp(call.Function, function) == 0;
    });
    return last != calls.rend() ? *last : DibEmulatorCall{};
  }
  // Hands `bytes` to the driver's filter that took the last PID, as a notice of buffer `index`.
  static int32_t deliver(const Bytes& bytes, uint8_t index = 0, uint32_t event = DIB_EMULATOR_EVENT_DATA) {
    return DibEmulatorDeliver(uint8_t(lastCall("DibAddToFilter").Arguments[0]), index, event, bytes.data(),
                              int32_t(bytes.size()));
  }
  OmbrixHalBool addPid(uint32_t pid, void* context, OmbrixHalTunerPacketHandler handler = Deliveries::record) {
    return OmbrixHalTunerDvbTAddPid(dvbT, pid, handler, context);
  }
  // Opens a client of `type` on the DVB-T tuner (with `chain`, a bare chain), sets `pid` and starts it.
  OmbrixHalFilterHandle client(OmbrixHalFilterType type, uint32_t pid, OmbrixHalFilterHandler handler, void* context,
                               bool chain = false) {
    OmbrixHalFilterHandle filter = chain ? OmbrixHalFilterCreateRealFilter(dvbT, type, handler, context)
                                         : OmbrixHalFilterOpen(dvbT, type, nullptr, handler, context);
    const OmbrixHalFilterParameter parameter = pidParameter(pid);
    EXPECT_EQ(sumInOrder({OmbrixHalFilterSetParameter(filter, &parameter), OmbrixHalFilterStart(filter)}), 2);
    return filter;
  }

  ConsoleCapture console;
  OmbrixHalTunerHandle dvbT = nullptr;
  std::string plan;
};

using DvbTTuner = DvbTTest;

TEST_F(DvbTTuner, AsksForFrequencyAndBandwidthAndWritesBackWhatTheDriverDetectedAndReportsItsSignal) {
  // Strength, quality, status, power ratio and fraction, value quotient and remainder.
  const std::vector<int64_t> planned{69, 100, 0, 20, 0, 0, 0}, unasked{0, 0, 0, -100, 0, 0, 0};
  // The request; what the driver detected (the request's own values where the driver's are
  // outside the lists), none when not locked; the bandwidth asked of the driver; the signal.
  using Case = std::tuple<DvbTRecord, DvbTRecord, uint32_t, std::vector<int64_t>>;
  const Case cases[] = {
      // Gains 30000 and 20000, powers 1000 and 2000.
      {{9, kLocked, 4, 1, 1, 1, 1}, {9, kLocked, 4, 6, 7, 4, 2}, 80, {69, 77, 4660, 3, 102, 12, 34567890}},
      {{9, 482000, 3, 1, 1, 1, 1}, {9, 482000, 3, 2, 2, 2, 5}, 70, planned},
      {{9, 490000, 2, 1, 1, 1, 1}, {9, 490000, 2, 4, 5, 3, 4}, 60, planned},
      {{9, 498000, 4, 1, 1, 1, 1}, {9, 498000, 4, 6, 10, 4, 3}, 80, {69, 100, 0, -100, 0, 0, 0}},  // a power of 0
      {{9, 506000, 4, 1, 1, 1, 1}, {9, 506000, 4, 6, 12, 4, 3}, 80, planned},
      {{9, 514000, 4, 2, 2, 2, 5}, {9, 514000, 4, 2, 2, 2, 5}, 80, planned},
      // Not locked: strength and quality not asked of the driver, as reset by the tuning.
      {{9, kLocked, 3, 1, 1, 1, 1}, {}, 70, unasked},  // planned with 8 MHz only
      {{9, kLocked, 1, 1, 1, 1, 1}, {}, 0, unasked},   // 5 MHz cannot be asked for
      {{9, kUnplanned, 4, 6, 7, 4, 2}, {}, 80, unasked},
  };
  for (const auto& [request, detected, bandwidth, monitoring] : cases) {
    SCOPED_TRACE(request[1]);
    OmbrixHalTunerParameter read{};
    EXPECT_EQ(sumInOrder({tune(request), OmbrixHalTunerGetParameter(dvbT, &read, nullptr)}), 2);
    const bool locked = detected[0] != 0;
    EXPECT_EQ(std::memcmp(&read.DvbT, (locked ? detected : request).data(), sizeof(DvbTRecord)), 0);
    EXPECT_EQ(OmbrixHalTunerDvbTGetStatus(dvbT),
              locked ? OMBRIX_HAL_TUNER_STATUS_LOCKED : OMBRIX_HAL_TUNER_STATUS_NOT_LOCKED);
    // Every transmission parameter left to the driver, whatever the record asks.
    const DibChannelDescription expected{
        129, 0, 0, {}, uint32_t(request[1]), bandwidth, -1, 0, 0, -1, -1, -1, -1, -1, 1, -1, -1, -1, {}};
    DibChannelDescription given{};
    EXPECT_EQ(DibEmulatorGetChannelRequest(&given), 1);
    EXPECT_EQ(std::memcmp(&given, &expected, sizeof given), 0);
    const uint32_t asked = DibEmulatorCountCalls("DibGetSignalMonitoring");
    EXPECT_EQ(OmbrixHalTunerGetSignalStrength(dvbT), monitoring[0]);
    EXPECT_EQ(OmbrixHalTunerGetSignalQuality(dvbT), monitoring[1]);
    EXPECT_EQ(DibEmulatorCountCalls("DibGetSignalMonitoring") - asked, locked ? 2u : 0u);
    EXPECT_EQ(log.lines(),
              (std::vector{info("OmbrixHalTunerGetParameter", "Tuner parameter successfully returned", 0x3004),
                           info("OmbrixHalTunerGetSignalStrength",
                                "Signal strength is '" + std::to_string(monitoring[0]) + "%'", 0x3007)}));
    OmbrixHalTunerDvbTMonitoring m{};
    EXPECT_EQ(OmbrixHalTunerDvbTGetMonitoring(dvbT, &m), 1);
    EXPECT_EQ((std::vector<int64_t>{m.SignalStrength, m.SignalQuality, m.DriverStatus, m.PowerRatioDb,
                                    m.PowerRatioFraction, m.DriverValueQuotient, m.DriverValueRemainder}),
              monitoring);
  }
  EXPECT_EQ(DibEmulatorCountCalls("DibDeleteChannel"), std::size(cases) - 1);
}

TEST_F(DvbTTuner, GivesEachPacketToTheFirstEntryOfItsPidAndWholeBuffersToFlaggedEntries) {
  Deliveries first, second, whole;
  EXPECT_EQ(addPid(0x100, &first), 0) << "not tuned";
  tune(kLocked);
  EXPECT_EQ(sumInOrder({addPid(0x100, &first), addPid(0x100, &second), addPid(0x10000, &whole),
                        addPid(0x20101, nullptr, nullptr), addPid(0x101, &first, nullptr)}),
            4);
  EXPECT_EQ(log.lines(), std::vector{nullValue("OmbrixHalTunerDvbTAddPid", "aHandler")});
  EXPECT_EQ(DibEmulatorCountCalls("DibCreateTSReader") * 10 + DibEmulatorCountCalls("DibCreateFilter"),
            kReaderMode ? 10u : 1u);
  const Bytes a = tsPacketOf(0x100, 1), b = tsPacketOf(0x101, 2), c = tsPacketOf(0x100, 3);
  const Bytes buffer = concat({a, b, c, Bytes(a.begin(), a.begin() + 100)});  // and a partial packet
  EXPECT_EQ(sumInOrder({deliver(buffer, 0, 1), deliver(buffer, 0, 3)}), 0);
  EXPECT_EQ(first.calls.size() + whole.calls.size(), 0u) << "events 1 and 3 carry nothing";
  for (uint8_t index : {0, 1, 0}) {
    EXPECT_EQ(deliver(buffer, index), 0) << "the buffer came back";
    EXPECT_EQ(lastCall("DibRegisterBuffer").Arguments[2], kReaderMode ? 0u : index);
  }
  EXPECT_EQ(first.data(), (std::vector{a, c, a, c, a, c}));
  EXPECT_EQ(first.from(), std::vector(6, reinterpret_cast<OmbrixHalFilterHandle>(dvbT))) << "from the tuner";
  EXPECT_EQ(whole.data(), std::vector(3, buffer));
  EXPECT_TRUE(second.calls.empty());
  for (int entry = 4; entry < 16; ++entry) {
    EXPECT_EQ(addPid(0x200, &second), 1);
  }
  EXPECT_EQ(addPid(0x200, &second), 0) << "the 17th";
  // The second entry of the PID takes its packets once the first is gone.
  EXPECT_EQ(sumInOrder({OmbrixHalTunerDvbTRemovePid(dvbT, 0x100), OmbrixHalTunerDvbTRemovePid(dvbT, 0x102)}), 1);
  EXPECT_EQ(deliver(a, 1), 0);
  EXPECT_EQ(second.data(), std::vector<Bytes>{a});
  EXPECT_EQ(OmbrixHalTunerDvbTRemovePid(dvbT, OMBRIX_HAL_TUNER_DVB_T_PID_ALL), 1);
  EXPECT_NE(deliver(a), 0) << "no filter";
  EXPECT_EQ(addPid(0x100, &first), 1) << "a new filter";
}

TEST_F(DvbTTuner, OneAtATimePrintingTheDriversVersionsAndStayingWellWithEveryDriverCallFailingInTurn) {
  EXPECT_EQ(console.take(), "DiBcom Firmware Version: 1.05\nDiBcom Driver Version: 3.2.1\nDiBcom tuner type 9090\n");
  EXPECT_STREQ(OmbrixHalTunerDvbTGetDriverVersionString(), "3.2.1");
  EXPECT_EQ(OmbrixHalTunerOpen("DVB-T"), nullptr);
  EXPECT_EQ(log.take(), std::vector{error("OmbrixHalTunerOpen", "Cannot open tuner: 'DVB-T'", 0x1007)});
  EXPECT_EQ(sumInOrder({OmbrixHalTunerReceive(dvbT, 2),
                        OmbrixHalTunerRegisterPacketHandler(dvbT, Deliveries::record, &console),
                        OmbrixHalTunerUnregisterPacketHandler(dvbT, &console, nullptr)}),
            3);
  // Each driver call failing in turn, from the open of a second tuner on.
  enum Mode { kBoth, kBuffers, kReader };
  const std::vector<int64_t> unharmed = {1, 23, 1, 1, 1, 1, 3, 69, 1, 1, 1};
  // The call, which of its calls fails, the answers, and what is printed besides the usual lines.
  using Case = std::tuple<const char*, uint32_t, Mode, std::vector<int64_t>, std::string>;
  const Case cases[] = {
      {"None", 1, kBoth, unharmed,
       std::string("9090\n**DibGetChannel\n**DibGetChannel\n") +
           (kReaderMode ? "" : "**DibUnregisterBuffer\n**DibUnregisterBuffer\n")},
      {"DibOpen", 1, kBoth, {0}, ""},
      {"DibOpenTSReader", 1, kReader, {0}, ""},
      {"DibGetGlobalInfo", 1, kBoth, unharmed, "Version: 0.00\nDiBcom Driver Version: 0.0.0\n"},
      {"DibGetChannel", 2, kBoth, {1, 22, 0, 0, 0, 0, 0, 0, 0, 0, 1}, ""},
      {"DibDeleteChannel", 1, kBoth, unharmed, ""},
      {"DibCreateFilter", 1, kBuffers, {1, 23, 0, 1, 1, 1, 1, 69, 0, 1, 1}, ""},
      {"DibCreateTSReader", 1, kReader, {1, 23, 0, 1, 1, 1, 1, 69, 0, 1, 1}, "DibCreateTSReader Failed\n"},
      {"DibRegisterBuffer", 1, kBuffers, {1, 23, 1, 1, 0, 0, 0, 69, 1, 1, 1}, "DibRegisterBuffer 0 Failed\n"},
      {"DibRegisterBuffer", 3, kBuffers, {1, 23, 1, 1, 1, 0, 2, 69, 1, 1, 1}, ""},
      {"DibAddToFilter", 1, kBoth, {1, 23, 0, 1, 1, 1, 1, 69, 0, 1, 1}, ""},
      {"DibRemoveFromFilter", 1, kBoth, {1, 23, 1, 1, 1, 1, 3, 69, 0, 1, 1}, ""},
      {"DibDeleteFilter", 1, kBuffers, {1, 23, 1, 1, 1, 1, 3, 69, 1, 0, 1}, ""},
      {"DibDeleteTSReader", 1, kReader, unharmed, ""},  // its answer not counted
      {"DibGetSignalMonitoring", 1, kBoth, {1, 23, 1, 1, 1, 1, 3, 0, 1, 1, 1}, ""},
      {"DibUnregisterBuffer", 1, kBuffers, unharmed, ""},
      {"DibCloseTSReader", 1, kReader, unharmed, ""},
      {"DibClose", 1, kBoth, unharmed, ""},
  };
  EXPECT_EQ(OmbrixHalTunerClose(std::exchange(dvbT, nullptr)), 1);
  for (const auto& [function, nth, mode, expected, printed] : cases) {
    if (mode == (kReaderMode ? kBuffers : kReader)) {
      continue;
    }
    SCOPED_TRACE(std::string(function) + " " + std::to_string(nth));
    console.take();
    log.clear();
    DibEmulatorFailCall(function, nth, -1);
    // Open, tune twice (the second tuning drops the first one's channel), two PIDs, two
    // deliveries, strength, two removes and close: each step's answer, taken in this order.
    Deliveries received;
    std::vector<int64_t> answers{(dvbT = open()) != nullptr};
    if (dvbT != nullptr) {
      auto* driver = static_cast<DibDriverHandle>(OmbrixHalTunerDvbTGetHandle(dvbT));
      answers = {1, sumInOrder({tune(kLocked) * 10, tune(kLocked) * 10, OmbrixHalTunerDvbTGetStatus(dvbT)}),
                 addPid(0x100, &received), addPid(0x101, &received),
                 deliver(concat({tsPacketOf(0x100, 1), tsPacketOf(0x101, 2)})) == 0,
                 deliver(tsPacketOf(0x100, 1)) == 0, int64_t(received.calls.size()),
                 OmbrixHalTunerDvbTGetSignalStrength(dvbT), OmbrixHalTunerDvbTRemovePid(dvbT, 0x100),
                 OmbrixHalTunerDvbTRemovePid(dvbT, OMBRIX_HAL_TUNER_DVB_T_PID_ALL),
                 OmbrixHalTunerClose(std::exchange(dvbT, nullptr))};
      if (std::strcmp(function, "DibClose") == 0) {
        DibClose(driver);  // the driver stayed open
      }
    }
    DibEmulatorFailCall(function, 0, 0);
    EXPECT_EQ(answers, expected);
    EXPECT_NE(console.text().find(printed), std::string::npos) << console.text();
    if (expected.size() == 1) {
      EXPECT_EQ(log.take(), (std::vector{info("OmbrixHalCriticalSectionCreate", "Critical section created succesfully"),
                                         error("OmbrixHalTunerOpen", "Cannot open tuner: 'DVB-T'", 0x1007)}));
    }
  }
}

using DvbTFilters = DvbTTest;

TEST_F(DvbTFilters, ClientsReceiveWhatADigitalFileTunerDeliversFromTheSameBytes) {
  const OmbrixHalFilterType types[] = {OMBRIX_HAL_FILTER_TYPE_SECTION, OMBRIX_HAL_FILTER_TYPE_PES,
                                       OMBRIX_HAL_FILTER_TYPE_TELETEXT, OMBRIX_HAL_FILTER_TYPE_PCR,
                                       OMBRIX_HAL_FILTER_TYPE_TS, OMBRIX_HAL_FILTER_TYPE_SECTION};
  const Bytes stream = multiplex(2);
  std::vector<Deliveries> fromFile(std::size(types)), live(std::size(types));
  std::vector<OmbrixHalFilterHandle> filters;
  tune(kLocked);
  for (size_t i = 0; i < std::size(types); ++i) {
    filters.push_back(openStarted(types[i], kPidOfType[types[i]], fromFile[i]));
    filters.push_back(client(types[i], kPidOfType[types[i]], Deliveries::record, &live[i]));
  }
  play(stream);
  EXPECT_EQ(deliver(stream), 0);
  for (size_t i = 0; i < std::size(types); ++i) {
    EXPECT_FALSE(live[i].calls.empty());
    EXPECT_EQ(live[i].data(), fromFile[i].data()) << i;
    EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(filters[2 * i]), OmbrixHalFilterClose(filters[2 * i + 1])}), 2);
  }
  EXPECT_EQ(DibEmulatorCountCalls("DibRemoveFromFilter"), 5u) << "one chain per PID and type";
}

TEST_F(DvbTFilters, TheRootRegistersItsPidAndDeliversWhileStartedKeepingTheOldPidOfASecondParameter) {
  tune(kLocked);
  Deliveries deliveries;
  EXPECT_EQ(OmbrixHalFilterFactoryCreateFilter(dvbT, 5, Deliveries::record, nullptr), nullptr);
  OmbrixHalFilterHandle root = OmbrixHalFilterFactoryCreateFilter(dvbT, OMBRIX_HAL_FILTER_TYPE_PES, nullptr, nullptr);
  EXPECT_EQ(OmbrixHalFilterGetType(root), OMBRIX_HAL_FILTER_TYPE_TS);
  OmbrixHalFilterParameter parameter = pidParameter(0x100);
  EXPECT_EQ(OmbrixHalFilterGetParameter(root, &parameter), 1);
  EXPECT_EQ(parameter.pid, 0u) << "zeros before any parameter";
  const Bytes ab = concat({tsPacketOf(0x100, 1), tsPacketOf(0x101, 2)});
  for (uint32_t pid : {0x100, 0x101}) {
    parameter = pidParameter(pid);
    EXPECT_EQ(OmbrixHalFilterSetHandler(root, Deliveries::record, &deliveries), 1);
    EXPECT_EQ(OmbrixHalFilterSetParameter(root, &parameter), 1);
    EXPECT_EQ(lastCall("DibAddToFilter").Arguments[2], pid);
    EXPECT_EQ(deliver(ab), 0);
    EXPECT_TRUE(deliveries.calls.empty()) << "not started";
  }
  EXPECT_EQ(OmbrixHalFilterStart(root), 1);
  EXPECT_EQ(deliver(ab), 0);
  EXPECT_EQ(deliveries.data(), (std::vector{tsPacketOf(0x100, 1), tsPacketOf(0x101, 2)}));
  EXPECT_EQ(deliveries.from(), std::vector(2, root));
  EXPECT_EQ(DibEmulatorCountCalls("DibRemoveFromFilter"), 0u);
  EXPECT_EQ(OmbrixHalFilterClose(root), 1);
  EXPECT_EQ(DibEmulatorCountCalls("DibRemoveFromFilter"), 2u);
  EXPECT_EQ(deliver(ab), 0) << "nothing registered";
}

TEST_F(DvbTFilters, ThePoolHasThirtyFiltersRunningOnlyOnceConfiguredAndStarted) {
  if (OmbrixHalFilterDvbTTsInit()) {
    expectLeakedBlocks(30);  // made once, never freed
  }
  EXPECT_EQ(OmbrixHalFilterDvbTTsInit(), 0);
  tune(kLocked);
  Deliveries deliveries;
  EXPECT_EQ(OmbrixHalFilterDvbTTsCreate(dvbT, OMBRIX_HAL_FILTER_TYPE_PES, Deliveries::record, &deliveries), nullptr);
  std::vector<OmbrixHalFilterHandle> pool;
  for (int i = 0; i < 31; ++i) {
    pool.push_back(OmbrixHalFilterDvbTTsCreate(dvbT, OMBRIX_HAL_FILTER_TYPE_TS, Deliveries::record, &deliveries));
  }
  EXPECT_TRUE(pool[29] != nullptr && pool[30] == nullptr);
  OmbrixHalFilterDvbTTsDestroy(pool[7]);
  EXPECT_EQ(OmbrixHalFilterDvbTTsCreate(dvbT, OMBRIX_HAL_FILTER_TYPE_TS, Deliveries::record, &deliveries), pool[7]);
  OmbrixHalFilterHandle filter = pool[0];
  OmbrixHalFilterParameter parameter = pidParameter(OMBRIX_HAL_FILTER_PID_ALL);
  EXPECT_EQ(sumInOrder({OmbrixHalFilterStart(filter), OmbrixHalFilterSetParameter(filter, &parameter)}), 0);
  EXPECT_EQ(DibEmulatorCountCalls("DibCreateFilter") * 10 + DibEmulatorCountCalls("DibAddToFilter"), 10u);
  parameter.pid = 0x100;
  EXPECT_EQ(OmbrixHalFilterSetParameter(filter, &parameter), 1);
  EXPECT_EQ(sumInOrder({OmbrixHalFilterStop(filter), OmbrixHalFilterGetParameter(filter, &parameter)}), 0);
  const Bytes packet = tsPacketOf(0x100, 1);
  EXPECT_EQ(OmbrixHalFilterStart(filter), 1);
  EXPECT_EQ(sumInOrder({deliver(packet, 0, 3), deliver(packet), deliver(packet)}), 0) << "given back at once";
  EXPECT_EQ(deliveries.data(), std::vector(2, packet));
  EXPECT_EQ(sumInOrder({OmbrixHalFilterStop(filter), deliver(packet)}), 1);
  EXPECT_EQ(deliveries.calls.size(), 2u) << "stopped";
  EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
}

// Threaded: the driver's thread, or a test thread delivering through the emulator, against
// clients acting on other threads.
using DvbTDelivery = DvbTTest;

TEST_F(DvbTDelivery, StopAndCloseOfTheRootReturnOnlyOnceADeliveryIsOver) {
  // The root's own Stop, without the hold that the filter entry points take.
  for (auto act : {OmbrixHalFilterDvbTTsToTsStop, OmbrixHalFilterClose}) {
    tune(kLocked);
    Lingering lingering;
    OmbrixHalFilterHandle root = client(OMBRIX_HAL_FILTER_TYPE_TS, 0x100, Lingering::handler, &lingering, true);
    std::thread driver([] { deliver(tsPacketOf(0x100, 1)); });
    EXPECT_EQ(lingering.actDuringDelivery([&] { return act(root); }), 1);
    driver.join();
    EXPECT_FALSE(lingering.actedDuringDelivery);
    if (act != OmbrixHalFilterClose) {
      OmbrixHalFilterClose(root);
    }
  }
}

TEST_F(DvbTDelivery, ClientsOpenStopAndCloseFiltersWhileTheDriversThreadDeliversUntilTheTunerCloses) {
  writeBytes(path, multiplex(20));
  DibEmulatorSetDelivery(DIB_EMULATOR_UNPACED);
  tune(kLocked);
  std::atomic<int> delivered{0}, buffers{0};
  const auto end = std::chrono::steady_clock::now() + 1s;
  runOnThreads(3, [&](int index) {
    std::minstd_rand random(static_cast<unsigned>(index) + 1);
    while (std::chrono::steady_clock::now() < end) {
      const auto type = OmbrixHalFilterType(random() % 5);
      OmbrixHalFilterHandle filter = client(type, kPidOfType[type], count<OmbrixHalFilterHandle>, &delivered);
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
      if (random() % 2 == 0) {
        EXPECT_EQ(sumInOrder({OmbrixHalFilterStop(filter), OmbrixHalFilterStart(filter)}), 2);
      }
      EXPECT_EQ(OmbrixHalFilterClose(filter), 1);
    }
  });
  EXPECT_GT(delivered.load(), 0);
  // The driver's thread goes on delivering to a whole-buffer entry while the tuner closes.
  OmbrixHalFilterHandle filter = client(OMBRIX_HAL_FILTER_TYPE_TS, kTsPid, count<OmbrixHalFilterHandle>, &delivered);
  EXPECT_EQ(addPid(OMBRIX_HAL_TUNER_DVB_T_PID_WHOLE_BUFFER, &buffers, count<void*>), 1);
  for (const int before = delivered; delivered < before + 10 || buffers < 10;) {
    std::this_thread::yield();
  }
  EXPECT_EQ(sumInOrder({OmbrixHalFilterClose(filter), OmbrixHalTunerClose(std::exchange(dvbT, nullptr))}), 2);
  const int after = buffers;
  std::this_thread::sleep_for(10ms);
  EXPECT_EQ(buffers, after);
}

}  // namespace
}  // namespace ombrixhal::test
