// Tests of the thread module on both platforms.
#include <atomic>
#include <chrono>
#include <thread>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

struct ThreadRun {
  std::atomic<bool> done{false};
  std::atomic<uint32_t> threadId{0};
};

uint32_t markRun(void* aParameter) {
  auto* run = static_cast<ThreadRun*>(aParameter);
  run->threadId = OmbrixHalThreadGetId();
  run->done = true;
  return 0;
}

bool waitFor(const std::atomic<bool>& flag) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!flag && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return flag;
}

using ThreadCreate = HalTest;

TEST_F(ThreadCreate, HighestPriorityRunsTheFunctionWithItsParameter) {
  ThreadRun run;
  OmbrixHalThreadHandle thread = OmbrixHalThreadCreate(markRun, &run, 15, 0, 4096);
  ASSERT_NE(thread, nullptr);
  ASSERT_TRUE(waitFor(run.done));
  EXPECT_NE(run.threadId, 0u);
  EXPECT_NE(run.threadId, OmbrixHalThreadGetId()) << "ids tell threads apart";
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalThreadCreate", "Thread created: Prio=15, StackSize=4096")}));
}

TEST_F(ThreadCreate, PriorityAboveFifteenIsRefusedWithItsValue) {
  ThreadRun run;
  EXPECT_EQ(OmbrixHalThreadCreate(markRun, &run, 16, 0, 0), nullptr);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalThreadCreate", "Illegal parameter '16' for 'aPriority'")}));
  EXPECT_FALSE(run.done);
}

TEST_F(ThreadCreate, NullFunctionIsRefusedBeforeThePriority) {
  EXPECT_EQ(OmbrixHalThreadCreate(nullptr, nullptr, 99, 0, 0), nullptr);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalThreadCreate", "Illegal parameter 'NULL' for 'aFunction'")}));
}

TEST_F(ThreadCreate, FailingPlatformCreateIsLogged) {
  ScopedPlatformInterface<OmbrixHalThreadPlatformInterface> failing(
      seam::threadPlatformGetInterface, [](OmbrixHalThreadPlatformInterface* aInterface) noexcept -> OmbrixHalBool {
        OmbrixHalThreadPlatformGetInterface(aInterface);
        aInterface->Create = [](OmbrixHalThreadFunction, void*, uint32_t, uint32_t, uint32_t) {
          return OmbrixHalThreadHandle{};
        };
        return 1;
      });
  restart();
  EXPECT_EQ(OmbrixHalThreadCreate(markRun, nullptr, 7, 0, 0), nullptr);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalThreadCreate", "Cannot create thread")}));
}

TEST_F(ThreadCreate, IdStaysTheSameWithinAThread) {
  EXPECT_EQ(OmbrixHalThreadGetId(), OmbrixHalThreadGetId());
  EXPECT_NE(OmbrixHalThreadGetId(), 0u);
}

using ThreadLifecycle = HalTest;

TEST_F(ThreadLifecycle, DestroyIsNotSupportedAndTerminateDoesNothing) {
  ThreadRun run;
  OmbrixHalThreadHandle thread = OmbrixHalThreadCreate(markRun, &run, 7, 0, 0);
  ASSERT_TRUE(waitFor(run.done));
  log.clear();
  EXPECT_EQ(OmbrixHalThreadDestroy(thread), 0);
  OmbrixHalThreadTerminate(thread, 3);
  EXPECT_EQ(log.lines(),
            (std::vector{warning("OmbrixHalThreadDestroy", "Function not supported 'OmbrixHalThreadDestroy'")}));
}

TEST_F(ThreadLifecycle, NullHandlesAreRefused) {
  EXPECT_EQ(OmbrixHalThreadDestroy(nullptr), 0);
  OmbrixHalThreadTerminate(nullptr, 0);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalThreadDestroy", "Illegal parameter 'NULL' for 'This'"),
                                      error("OmbrixHalThreadTerminate", "Illegal parameter 'NULL' for 'This'")}));
}

TEST_F(ThreadLifecycle, SleepWaitsAtLeastItsTime) {
  const auto start = std::chrono::steady_clock::now();
  OmbrixHalThreadSleep(20);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST_F(ThreadLifecycle, EmptyTableWarnsForEveryOperation) {
  ScopedPlatformInterface<OmbrixHalThreadPlatformInterface> empty(
      seam::threadPlatformGetInterface, [](OmbrixHalThreadPlatformInterface*) noexcept -> OmbrixHalBool { return 1; });
  restart();
  int marker = 0;
  const auto handle = reinterpret_cast<OmbrixHalThreadHandle>(&marker);
  EXPECT_EQ(OmbrixHalThreadCreate(markRun, nullptr, 0, 0, 0), nullptr);
  OmbrixHalThreadTerminate(handle, 0);
  OmbrixHalThreadSleep(1);
  EXPECT_EQ(OmbrixHalThreadGetId(), 0u);
  EXPECT_EQ(log.lines(),
            (std::vector{warning("OmbrixHalThreadCreate", "Function not supported 'OmbrixHalThreadCreate'"),
                         warning("OmbrixHalThreadTerminate", "Function not supported 'OmbrixHalThreadTerminate'"),
                         warning("OmbrixHalThreadSleep", "Function not supported 'OmbrixHalThreadSleep'"),
                         warning("OmbrixHalThreadGetId", "Function not supported 'OmbrixHalThreadGetId'")}));
}

}  // namespace
}  // namespace ombrixhal::test
