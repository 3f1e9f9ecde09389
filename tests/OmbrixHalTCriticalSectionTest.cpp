// Tests of critical sections: the log lines around the platform slots, the gaps of the
// platform table, and the binary semaphore's behaviour within and across threads.
#include <atomic>
#include <chrono>
#include <thread>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

using Handle = OmbrixHalCriticalSectionHandle;
using SectionTable = OmbrixHalCriticalSectionPlatformInterface;
using namespace std::chrono_literals;

constexpr auto failing = [](Handle) noexcept -> OmbrixHalBool { return 0; };
constexpr auto create = [](Handle) noexcept -> OmbrixHalBool { return OmbrixHalCriticalSectionCreate() != nullptr; };
constexpr auto timedEnter = [](Handle section) noexcept { return OmbrixHalCriticalSectionTimedEnter(section, 10); };
const std::string kEnter = "OmbrixHalCriticalSectionEnter";

struct SlotCase {
  void (*change)(SectionTable&);
  OmbrixHalBool (*call)(Handle);
  LogLine expected;
};

// Kept: Destroy names the thread module's export; Leave asks for the enter slot and logs its
// failure under the Enter name.
const SlotCase kSlotCases[] = {
    {[](SectionTable& t) { t.Create = nullptr; }, create, notSupported("OmbrixHalCriticalSectionCreate")},
    {[](SectionTable& t) { t.Destroy = nullptr; }, OmbrixHalCriticalSectionDestroy,
     warning("OmbrixHalCriticalSectionDestroy", "Function not supported 'OmbrixHalThreadDestroy'")},
    {[](SectionTable& t) { t.Enter = nullptr; }, OmbrixHalCriticalSectionEnter, notSupported(kEnter)},
    {[](SectionTable& t) { t.TimedEnter = nullptr; }, timedEnter, notSupported("OmbrixHalCriticalSectionTimedEnter")},
    {[](SectionTable& t) { t.Enter = nullptr; }, OmbrixHalCriticalSectionLeave,
     notSupported("OmbrixHalCriticalSectionLeave")},
    {[](SectionTable& t) { t.Leave = nullptr; }, OmbrixHalCriticalSectionLeave,
     error(kEnter, "Cannot leave critical section")},
    {[](SectionTable& t) { t.Leave = failing; }, OmbrixHalCriticalSectionLeave,
     error(kEnter, "Cannot leave critical section")},
    {[](SectionTable& t) { t.Create = []() noexcept -> Handle { return nullptr; }; }, create,
     error("OmbrixHalCriticalSectionCreate", "Cannot create critical section")},
    {[](SectionTable& t) { t.Destroy = failing; }, OmbrixHalCriticalSectionDestroy,
     error("OmbrixHalCriticalSectionDestroy", "Cannot destroy critical section")},
    {[](SectionTable& t) { t.Enter = failing; }, OmbrixHalCriticalSectionEnter,
     error(kEnter, "Cannot enter critical section")},
    {[](SectionTable& t) { t.TimedEnter = [](Handle, uint32_t) noexcept -> OmbrixHalBool { return 0; }; }, timedEnter,
     error("OmbrixHalCriticalSectionTimedEnter", "Critical section timed enter: failed")},
};

using CriticalSectionLogging = HalTest;

// On the platform's own table with one slot changed, so that the cases hold on every platform;
// each also shows that NULL handles are refused before any slot is asked: silently, but for
// Destroy.
TEST_F(CriticalSectionLogging, MissingOrFailingSlotsAreLoggedAndNullHandlesReachNone) {
  SectionTable platform{};
  OmbrixHalCriticalSectionPlatformGetInterface(&platform);
  OfferedPlatformInterface<SectionTable> offered{seam::criticalSectionPlatformGetInterface};
  for (const SlotCase& testCase : kSlotCases) {
    SCOPED_TRACE(testing::Message() << "case " << &testCase - kSlotCases);
    offered.table = platform;
    testCase.change(offered.table);
    restart(0);  // without memory checking the memory module takes no section from this table
    Handle section = platform.Create();
    ASSERT_EQ(platform.Enter(section), 1);  // held, so that a leave reaching the platform would succeed
    EXPECT_EQ(testCase.call(section), 0);
    EXPECT_EQ(sumInOrder({OmbrixHalCriticalSectionEnter(nullptr), OmbrixHalCriticalSectionTimedEnter(nullptr, 0),
                          OmbrixHalCriticalSectionLeave(nullptr), OmbrixHalCriticalSectionDestroy(nullptr)}),
              0);
    EXPECT_EQ(log.take(), (std::vector{testCase.expected, illegalNull("OmbrixHalCriticalSectionDestroy", "This")}));
    EXPECT_EQ(platform.Destroy(section), 1);
  }
}

using CriticalSectionSemaphore = HalTest;

TEST_F(CriticalSectionSemaphore, AdmitsOneEntryEvenFromTheSameThreadAndLogsOnlyFailures) {
  Handle section = OmbrixHalCriticalSectionCreate();
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 0) << "a free section cannot be left";
  ASSERT_EQ(OmbrixHalCriticalSectionEnter(section), 1);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 0), 0) << "not recursive, nor raised by the failed leave";
  EXPECT_LT(std::chrono::steady_clock::now() - start, 500ms) << "a zero timeout fails at once";
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 40), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms) << "half the timeout, as timers on the device are coarse";
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionTimedEnter(section, 10), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionLeave(section), 1);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
  const LogLine timedOut = error("OmbrixHalCriticalSectionTimedEnter", "Critical section timed enter: failed");
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalCriticalSectionCreate", "Critical section created succesfully"),
                                      error(kEnter, "Cannot leave critical section"), timedOut, timedOut}));
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
  EXPECT_EQ(sumInOrder({OmbrixHalCriticalSectionLeave(section), OmbrixHalCriticalSectionDestroy(section)}), 2);
}

}  // namespace
}  // namespace ombrixhal::test
