// Tests of critical sections: the log lines around the platform slots, the gaps of the
// platform table, and the binary semaphore's behaviour within and across threads.
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

using Handle = OmbrixHalCriticalSectionHandle;
using SectionTable = OmbrixHalCriticalSectionPlatformInterface;
using SectionTablePatch = void (*)(SectionTable&);
using Clock = std::chrono::steady_clock;

SectionTablePatch sectionTablePatch = nullptr;

// The platform's own table with one change, so that the same tests hold on every platform.
OmbrixHalBool patchedSectionTable(SectionTable* aInterface) noexcept {
  OmbrixHalCriticalSectionPlatformGetInterface(aInterface);
  sectionTablePatch(*aInterface);
  return 1;
}

SectionTable platformTable() {
  SectionTable table{};
  OmbrixHalCriticalSectionPlatformGetInterface(&table);
  return table;
}

OmbrixHalBool failing(Handle) noexcept {
  return 0;
}

OmbrixHalBool failingTimed(Handle, uint32_t) noexcept {
  return 0;
}

void unchangedTable(SectionTable&) {}

void emptyTable(SectionTable& table) {
  table = SectionTable{};
}

class PatchedCriticalSectionTest : public HalTest {
 protected:
  PatchedCriticalSectionTest() { sectionTablePatch = unchangedTable; }

  // Without memory checking the memory module takes no section from the patched table.
  void usePlatform(SectionTablePatch patch) {
    sectionTablePatch = patch;
    restart(0);
  }

  // Makes and removes sections behind the module's back, so the module logs nothing for them.
  const SectionTable platform = platformTable();

 private:
  ScopedPlatformInterface<SectionTable> table_{seam::criticalSectionPlatformGetInterface, patchedSectionTable};
};

using CriticalSectionLogging = HalTest;

TEST_F(CriticalSectionLogging, CreateLogsSuccessAndTheOtherOperationsSucceedSilently) {
  Handle section = OmbrixHalCriticalSectionCreate();
  ASSERT_NE(section, nullptr);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalCriticalSectionCreate", "Critical section created succesfully")}));
  log.clear();

  EXPECT_EQ(OmbrixHalCriticalSectionEnter(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 10), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
  EXPECT_TRUE(log.lines().empty());
}

using CriticalSectionArguments = PatchedCriticalSectionTest;

TEST_F(CriticalSectionArguments, NullHandleFailsSilentlyExceptInDestroy) {
  // With the empty table too: the handle is checked before the slot.
  for (SectionTablePatch patch : {unchangedTable, emptyTable}) {
    SCOPED_TRACE(patch == emptyTable ? "empty table" : "platform table");
    usePlatform(patch);
    EXPECT_EQ(OmbrixHalCriticalSectionEnter(nullptr), 0);
    EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(nullptr, 0), 0);
    EXPECT_EQ(OmbrixHalCriticalSectionLeave(nullptr), 0);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(OmbrixHalCriticalSectionDestroy(nullptr), 0);
    EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalCriticalSectionDestroy", "Illegal parameter 'NULL' for 'This'")}));
  }
}

using CriticalSectionPlatformGaps = PatchedCriticalSectionTest;

TEST_F(CriticalSectionPlatformGaps, EmptyTableWarnsForEveryOperation) {
  usePlatform(emptyTable);
  EXPECT_EQ(OmbrixHalCriticalSectionCreate(), nullptr);
  EXPECT_EQ(log.lines(), (std::vector{warning("OmbrixHalCriticalSectionCreate",
                                              "Function not supported 'OmbrixHalCriticalSectionCreate'")}));

  struct GapCase {
    OmbrixHalBool (*call)(Handle);
    LogLine expected;
  };
  const GapCase cases[] = {
      // Kept: the text names the thread module's export.
      {[](Handle section) { return OmbrixHalCriticalSectionDestroy(section); },
       warning("OmbrixHalCriticalSectionDestroy", "Function not supported 'OmbrixHalThreadDestroy'")},
      {[](Handle section) { return OmbrixHalCriticalSectionEnter(section); },
       warning("OmbrixHalCriticalSectionEnter", "Function not supported 'OmbrixHalCriticalSectionEnter'")},
      {[](Handle section) { return OmbrixHalCriticalSectionTimedEnter(section, 10); },
       warning("OmbrixHalCriticalSectionTimedEnter", "Function not supported 'OmbrixHalCriticalSectionTimedEnter'")},
      {[](Handle section) { return OmbrixHalCriticalSectionLeave(section); },
       warning("OmbrixHalCriticalSectionLeave", "Function not supported 'OmbrixHalCriticalSectionLeave'")},
  };
  Handle section = platform.Create();
  ASSERT_NE(section, nullptr);
  for (const GapCase& testCase : cases) {
    SCOPED_TRACE(testCase.expected.function);
    log.clear();
    EXPECT_EQ(testCase.call(section), 0);
    EXPECT_EQ(log.lines(), std::vector{testCase.expected});
  }
  EXPECT_EQ(platform.Destroy(section), 1);
}

TEST_F(CriticalSectionPlatformGaps, LeaveAsksForTheEnterSlotNotTheLeaveSlot) {
  usePlatform([](SectionTable& table) { table.Enter = nullptr; });
  Handle section = platform.Create();
  ASSERT_NE(section, nullptr);
  ASSERT_EQ(platform.Enter(section), 1);

  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 0);
  EXPECT_EQ(log.lines(), (std::vector{warning("OmbrixHalCriticalSectionLeave",
                                              "Function not supported 'OmbrixHalCriticalSectionLeave'")}));
  EXPECT_EQ(platform.TimedEnter(section, 0), 0) << "the section is still held";

  EXPECT_EQ(platform.Leave(section), 1);
  EXPECT_EQ(platform.Destroy(section), 1);
}

using CriticalSectionFailures = PatchedCriticalSectionTest;

TEST_F(CriticalSectionFailures, FailingPlatformCreateIsLoggedAsError) {
  usePlatform([](SectionTable& table) { table.Create = []() noexcept -> Handle { return nullptr; }; });
  EXPECT_EQ(OmbrixHalCriticalSectionCreate(), nullptr);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalCriticalSectionCreate", "Cannot create critical section")}));
}

TEST_F(CriticalSectionFailures, FailingPlatformOperationsAreLoggedAsErrors) {
  struct FailureCase {
    const char* name;
    SectionTablePatch patch;
    OmbrixHalBool (*call)(Handle);
    LogLine expected;
  };
  const FailureCase cases[] = {
      {"destroy", [](SectionTable& table) { table.Destroy = failing; },
       [](Handle section) { return OmbrixHalCriticalSectionDestroy(section); },
       error("OmbrixHalCriticalSectionDestroy", "Cannot destroy critical section")},
      {"enter", [](SectionTable& table) { table.Enter = failing; },
       [](Handle section) { return OmbrixHalCriticalSectionEnter(section); },
       error("OmbrixHalCriticalSectionEnter", "Cannot enter critical section")},
      {"timed enter", [](SectionTable& table) { table.TimedEnter = failingTimed; },
       [](Handle section) { return OmbrixHalCriticalSectionTimedEnter(section, 10); },
       error("OmbrixHalCriticalSectionTimedEnter", "Critical section timed enter: failed")},
      // Kept: a failed leave is logged under the Enter name.
      {"leave", [](SectionTable& table) { table.Leave = failing; },
       [](Handle section) { return OmbrixHalCriticalSectionLeave(section); },
       error("OmbrixHalCriticalSectionEnter", "Cannot leave critical section")},
      // The enter slot alone decides that Leave is supported; a missing leave slot then fails.
      {"no leave slot", [](SectionTable& table) { table.Leave = nullptr; },
       [](Handle section) { return OmbrixHalCriticalSectionLeave(section); },
       error("OmbrixHalCriticalSectionEnter", "Cannot leave critical section")},
  };
  for (const FailureCase& testCase : cases) {
    SCOPED_TRACE(testCase.name);
    usePlatform(testCase.patch);
    Handle section = platform.Create();
    ASSERT_NE(section, nullptr);
    EXPECT_EQ(testCase.call(section), 0);
    EXPECT_EQ(log.lines(), std::vector{testCase.expected});
    EXPECT_EQ(platform.Destroy(section), 1);
  }
}

using CriticalSectionSemaphore = HalTest;

TEST_F(CriticalSectionSemaphore, TimedEnterWithZeroTimeoutOnAHeldSectionFailsAtOnce) {
  Handle section = OmbrixHalCriticalSectionCreate();
  ASSERT_EQ(OmbrixHalCriticalSectionEnter(section), 1);
  log.clear();

  const Clock::time_point start = Clock::now();
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 0);
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(log.lines(),
            (std::vector{error("OmbrixHalCriticalSectionTimedEnter", "Critical section timed enter: failed")}));

  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
}

TEST_F(CriticalSectionSemaphore, TimedEnterOnAHeldSectionWaitsForItsTimeout) {
  Handle section = OmbrixHalCriticalSectionCreate();
  ASSERT_EQ(OmbrixHalCriticalSectionEnter(section), 1);

  const Clock::time_point start = Clock::now();
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 40), 0);
  // Half the time-out, as timers on the device are coarse.
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(20));

  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
}

TEST_F(CriticalSectionSemaphore, LeavingASectionThatIsNotHeldFailsAndAdmitsNoSecondEntry) {
  Handle section = OmbrixHalCriticalSectionCreate();
  log.clear();
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 0);
  ASSERT_EQ(OmbrixHalCriticalSectionEnter(section), 1);
  ASSERT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 0);
  const LogLine leaveFailed = error("OmbrixHalCriticalSectionEnter", "Cannot leave critical section");
  EXPECT_EQ(log.lines(), (std::vector{leaveFailed, leaveFailed}));

  // The failed leaves must not have raised the count: one entry, then none.
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 0);

  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
}

TEST(CriticalSectionPlatform, TableFillsCreateToLeaveAndRefusesANullHandle) {
  const SectionTable table = platformTable();
  EXPECT_EQ(table.Init, nullptr);
  EXPECT_EQ(table.Done, nullptr);
  ASSERT_NE(table.Create, nullptr);
  ASSERT_NE(table.Destroy, nullptr);
  ASSERT_NE(table.Enter, nullptr);
  ASSERT_NE(table.TimedEnter, nullptr);
  ASSERT_NE(table.Leave, nullptr);
  EXPECT_EQ(table.Destroy(nullptr), 0);
  EXPECT_EQ(table.Enter(nullptr), 0);
  EXPECT_EQ(table.TimedEnter(nullptr, 0), 0);
  EXPECT_EQ(table.Leave(nullptr), 0);
}

using CriticalSectionThreads = HalTest;

TEST_F(CriticalSectionThreads, SectionEnteredByOneThreadCanBeLeftByAnother) {
  Handle section = OmbrixHalCriticalSectionCreate();
  OmbrixHalBool entered = 0;
  std::thread([&] { entered = OmbrixHalCriticalSectionEnter(section); }).join();
  ASSERT_EQ(entered, 1);
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 0) << "the other thread still holds it";

  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
}

TEST_F(CriticalSectionThreads, EnteringTwiceBlocksUntilAnotherThreadLeaves) {
  Handle section = OmbrixHalCriticalSectionCreate();
  ASSERT_EQ(OmbrixHalCriticalSectionEnter(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 20), 0) << "not recursive";

  std::atomic<bool> waiting{false};
  std::atomic<bool> waiterEntered{false};
  std::thread waiter([&] {
    waiting = true;
    waiterEntered = OmbrixHalCriticalSectionEnter(section) == 1;
  });
  while (!waiting) {
    std::this_thread::yield();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(waiterEntered);

  OmbrixHalBool left = 0;
  std::thread([&] { left = OmbrixHalCriticalSectionLeave(section); }).join();
  EXPECT_EQ(left, 1);
  waiter.join();
  EXPECT_TRUE(waiterEntered);

  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
}

TEST_F(CriticalSectionThreads, ContendingThreadsNeverOverlapInside) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 1000;
  Handle section = OmbrixHalCriticalSectionCreate();
  log.clear();

  long counter = 0;  // deliberately plain: only the section guards it
  std::atomic<int> inside{0};
  std::atomic<int> overlaps{0};
  std::atomic<int> failures{0};
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&] {
      ++ready;
      while (ready < kThreads) {
        std::this_thread::yield();
      }
      for (int round = 0; round < kRounds; ++round) {
        if (OmbrixHalCriticalSectionEnter(section) != 1) {
          ++failures;
          continue;
        }
        if (inside.fetch_add(1) != 0) {
          ++overlaps;
        }
        ++counter;
        std::this_thread::yield();  // widens the window in which another thread might get in
        inside.fetch_sub(1);
        if (OmbrixHalCriticalSectionLeave(section) != 1) {
          ++failures;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(counter, static_cast<long>(kThreads) * kRounds);
  EXPECT_EQ(overlaps.load(), 0);
  EXPECT_EQ(failures.load(), 0);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
}

}  // namespace
}  // namespace ombrixhal::test
