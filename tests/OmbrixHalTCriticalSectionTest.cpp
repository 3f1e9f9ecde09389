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
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// Runs on the platform's own table, or on a copy with slots changed, so that the same tests hold
// on every platform.
class CriticalSectionTest : public HalTest {
 protected:
  CriticalSectionTest() {
    OmbrixHalCriticalSectionPlatformGetInterface(&platform);
    offered.table = platform;
  }

  // Without memory checking the memory module takes no section from the changed table.
  void startOn(void (*change)(SectionTable&)) {
    offered.table = platform;
    change(offered.table);
    restart(0);
  }

  // Makes and removes sections behind the module's back, so the module logs nothing for them.
  SectionTable platform{};
  OfferedPlatformInterface<SectionTable> offered{seam::criticalSectionPlatformGetInterface};
};

constexpr auto failing = [](Handle) noexcept -> OmbrixHalBool { return 0; };

using CriticalSectionLogging = CriticalSectionTest;

// Each case also shows that a NULL handle is refused before any slot is asked: silently, but
// for Destroy.
TEST_F(CriticalSectionLogging, MissingOrFailingSlotsAreLoggedAndNullHandlesReachNone) {
  struct SlotCase {
    void (*change)(SectionTable&);
    OmbrixHalBool (*call)(Handle);
    LogLine expected;
  };
  const auto create = [](Handle) noexcept -> OmbrixHalBool { return OmbrixHalCriticalSectionCreate() != nullptr; };
  const auto timedEnter = [](Handle section) noexcept { return OmbrixHalCriticalSectionTimedEnter(section, 10); };
  const SlotCase cases[] = {
      {[](SectionTable& table) { table.Create = nullptr; }, create,
       warning("OmbrixHalCriticalSectionCreate", "Function not supported 'OmbrixHalCriticalSectionCreate'")},
      // Kept: the text names the thread module's export.
      {[](SectionTable& table) { table.Destroy = nullptr; }, OmbrixHalCriticalSectionDestroy,
       warning("OmbrixHalCriticalSectionDestroy", "Function not supported 'OmbrixHalThreadDestroy'")},
      {[](SectionTable& table) { table.Enter = nullptr; }, OmbrixHalCriticalSectionEnter,
       warning("OmbrixHalCriticalSectionEnter", "Function not supported 'OmbrixHalCriticalSectionEnter'")},
      {[](SectionTable& table) { table.TimedEnter = nullptr; }, timedEnter,
       warning("OmbrixHalCriticalSectionTimedEnter", "Function not supported 'OmbrixHalCriticalSectionTimedEnter'")},
      // Kept: Leave asks for the enter slot, and logs its failure under the Enter name.
      {[](SectionTable& table) { table.Enter = nullptr; }, OmbrixHalCriticalSectionLeave,
       warning("OmbrixHalCriticalSectionLeave", "Function not supported 'OmbrixHalCriticalSectionLeave'")},
      {[](SectionTable& table) { table.Leave = nullptr; }, OmbrixHalCriticalSectionLeave,
       error("OmbrixHalCriticalSectionEnter", "Cannot leave critical section")},
      {[](SectionTable& table) { table.Leave = failing; }, OmbrixHalCriticalSectionLeave,
       error("OmbrixHalCriticalSectionEnter", "Cannot leave critical section")},
      {[](SectionTable& table) { table.Create = []() noexcept -> Handle { return nullptr; }; }, create,
       error("OmbrixHalCriticalSectionCreate", "Cannot create critical section")},
      {[](SectionTable& table) { table.Destroy = failing; }, OmbrixHalCriticalSectionDestroy,
       error("OmbrixHalCriticalSectionDestroy", "Cannot destroy critical section")},
      {[](SectionTable& table) { table.Enter = failing; }, OmbrixHalCriticalSectionEnter,
       error("OmbrixHalCriticalSectionEnter", "Cannot enter critical section")},
      {[](SectionTable& table) { table.TimedEnter = [](Handle, uint32_t) noexcept -> OmbrixHalBool { return 0; }; },
       timedEnter, error("OmbrixHalCriticalSectionTimedEnter", "Critical section timed enter: failed")},
  };
  for (const SlotCase& testCase : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &testCase - cases);
    startOn(testCase.change);
    Handle section = platform.Create();
    ASSERT_EQ(platform.Enter(section), 1);  // held, so that a leave reaching the platform would succeed
    EXPECT_EQ(testCase.call(section), 0);
    EXPECT_EQ(OmbrixHalCriticalSectionEnter(nullptr), 0);
    EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(nullptr, 0), 0);
    EXPECT_EQ(OmbrixHalCriticalSectionLeave(nullptr), 0);
    EXPECT_EQ(OmbrixHalCriticalSectionDestroy(nullptr), 0);
    EXPECT_EQ(log.lines(), (std::vector{testCase.expected, error("OmbrixHalCriticalSectionDestroy",
                                                                 "Illegal parameter 'NULL' for 'This'")}));
    EXPECT_EQ(platform.Destroy(section), 1);
  }
}

using CriticalSectionSemaphore = CriticalSectionTest;

TEST_F(CriticalSectionSemaphore, AdmitsOneEntryEvenFromTheSameThreadAndLogsOnlyFailures) {
  Handle section = OmbrixHalCriticalSectionCreate();
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 0) << "a free section cannot be left";
  ASSERT_EQ(OmbrixHalCriticalSectionEnter(section), 1);
  const Clock::time_point start = Clock::now();
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 0) << "not recursive, nor raised by the failed leave";
  EXPECT_LT(Clock::now() - start, 500ms) << "a zero timeout fails at once";
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 40), 0);
  EXPECT_GE(Clock::now() - start, 20ms) << "half the timeout, as timers on the device are coarse";
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 10), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
  EXPECT_EQ(log.lines(),
            (std::vector{info("OmbrixHalCriticalSectionCreate", "Critical section created succesfully"),
                         error("OmbrixHalCriticalSectionEnter", "Cannot leave critical section"),
                         error("OmbrixHalCriticalSectionTimedEnter", "Critical section timed enter: failed"),
                         error("OmbrixHalCriticalSectionTimedEnter", "Critical section timed enter: failed")}));
}

TEST_F(CriticalSectionSemaphore, AnotherThreadCanLeaveASectionAndAdmitsTheWaiter) {
  Handle section = OmbrixHalCriticalSectionCreate();
  std::thread([section] { EXPECT_EQ(OmbrixHalCriticalSectionEnter(section), 1); }).join();
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 0) << "the other thread still holds it";
  std::atomic<bool> waiterEntered{false};
  std::thread waiter([&] { waiterEntered = OmbrixHalCriticalSectionEnter(section) == 1; });
  std::this_thread::sleep_for(20ms);
  EXPECT_FALSE(waiterEntered);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  waiter.join();
  EXPECT_TRUE(waiterEntered);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
}

}  // namespace
}  // namespace ombrixhal::test
