// Tests of the thread module on both platforms.
#include <atomic>
#include <chrono>
#include <thread>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

using namespace std::chrono_literals;

uint32_t doNothing(void*) { return 0; }

// Runs on the new thread: hands its id back through the parameter.
uint32_t recordId(void* aParameter) {
  *static_cast<std::atomic<uint32_t>*>(aParameter) = OmbrixHalThreadGetId();
  return 0;
}

using ThreadCreate = HalTest;

TEST_F(ThreadCreate, HighestPriorityRunsTheFunctionWithItsParameterAndNullsAndPriority16AreRefused) {
  std::atomic<uint32_t> id{0};
  OmbrixHalThreadHandle thread = OmbrixHalThreadCreate(recordId, &id, 15, 0, 4096);
  ASSERT_NE(thread, nullptr);
  for (int tries = 0; id == 0 && tries < 10000; ++tries) {
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_NE(id, 0u);
  EXPECT_NE(id, OmbrixHalThreadGetId()) << "ids tell threads apart";
  EXPECT_EQ(OmbrixHalThreadGetId(), OmbrixHalThreadGetId());
  EXPECT_EQ(OmbrixHalThreadDestroy(thread), 0) << "neither platform destroys threads";
  // A NULL function is refused before the priority.
  EXPECT_EQ(OmbrixHalThreadCreate(doNothing, nullptr, 16, 0, 0), nullptr);
  EXPECT_EQ(OmbrixHalThreadCreate(nullptr, nullptr, 99, 0, 0), nullptr);
  EXPECT_EQ(OmbrixHalThreadDestroy(nullptr), 0);
  OmbrixHalThreadTerminate(nullptr, 0);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalThreadCreate", "Thread created: Prio=15, StackSize=4096"),
                                      notSupported("OmbrixHalThreadDestroy"),
                                      error("OmbrixHalThreadCreate", "Illegal parameter '16' for 'aPriority'"),
                                      illegalNull("OmbrixHalThreadCreate", "aFunction"),
                                      illegalNull("OmbrixHalThreadDestroy", "This"),
                                      illegalNull("OmbrixHalThreadTerminate", "This")}));
}

TEST_F(ThreadCreate, SleepWaitsAtLeastItsTimeAndMissingSlotsWarnAndAFailingCreateIsLogged) {
  const auto start = std::chrono::steady_clock::now();
  OmbrixHalThreadSleep(20);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
  OfferedPlatformInterface<OmbrixHalThreadPlatformInterface> offered(seam::threadPlatformGetInterface);
  restart();
  EXPECT_EQ(OmbrixHalThreadCreate(doNothing, nullptr, 0, 0, 0), nullptr);
  OmbrixHalThreadTerminate(reinterpret_cast<OmbrixHalThreadHandle>(&offered), 0);  // any handle but NULL
  OmbrixHalThreadSleep(1);
  EXPECT_EQ(OmbrixHalThreadGetId(), 0u);
  EXPECT_EQ(log.lines(), (std::vector{notSupported("OmbrixHalThreadCreate"), notSupported("OmbrixHalThreadTerminate"),
                                      notSupported("OmbrixHalThreadSleep"), notSupported("OmbrixHalThreadGetId")}));
  offered.table.Create = [](OmbrixHalThreadFunction, void*, uint32_t, uint32_t, uint32_t) noexcept {
    return OmbrixHalThreadHandle{};
  };
  restart();
  EXPECT_EQ(OmbrixHalThreadCreate(doNothing, nullptr, 7, 0, 0), nullptr);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalThreadCreate", "Cannot create thread")}));
}

}  // namespace
}  // namespace ombrixhal::test
