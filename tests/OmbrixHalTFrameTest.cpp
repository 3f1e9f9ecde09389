// Tests of the frame: start-up and shut-down order, the version gate, the platform table
// and the small forwarding exports.
#include <string>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

constexpr OmbrixHalInitParameter kCheckedStart = {1, 1};

// What the replaced platform getters and slots saw, in order.
std::vector<std::string> calls;

template <typename Interface, const char* kModule>
OmbrixHalBool recordingGetInterface(Interface* aInterface) noexcept {
  calls.push_back(std::string("init ") + kModule);
  aInterface->Done = [] { calls.push_back(std::string("done ") + kModule); };
  return 1;
}

constexpr char kCriticalSection[] = "CriticalSection";
constexpr char kMemory[] = "Memory";
constexpr char kClock[] = "Clock";
constexpr char kThread[] = "Thread";
constexpr char kConsole[] = "Console";
constexpr char kKeyEvent[] = "KeyEvent";

OmbrixHalBool recordingFrameGetInterface(OmbrixHalPlatformInterface* aInterface) noexcept {
  OmbrixHalPlatformGetInterface(aInterface);
  calls.push_back("frame table");
  return 1;
}

// Holds every module's table source replaced by a recording one.
struct RecordingModules {
  ScopedPlatformInterface<OmbrixHalPlatformInterface> frame{seam::framePlatformGetInterface,
                                                            recordingFrameGetInterface};
  ScopedPlatformInterface<OmbrixHalCriticalSectionPlatformInterface> criticalSection{
      seam::criticalSectionPlatformGetInterface,
      recordingGetInterface<OmbrixHalCriticalSectionPlatformInterface, kCriticalSection>};
  ScopedPlatformInterface<OmbrixHalMemoryPlatformInterface> memory{
      seam::memoryPlatformGetInterface, recordingGetInterface<OmbrixHalMemoryPlatformInterface, kMemory>};
  ScopedPlatformInterface<OmbrixHalClockPlatformInterface> clock{
      seam::clockPlatformGetInterface, recordingGetInterface<OmbrixHalClockPlatformInterface, kClock>};
  ScopedPlatformInterface<OmbrixHalThreadPlatformInterface> thread{
      seam::threadPlatformGetInterface, recordingGetInterface<OmbrixHalThreadPlatformInterface, kThread>};
  ScopedPlatformInterface<OmbrixHalConsolePlatformInterface> console{
      seam::consolePlatformGetInterface, recordingGetInterface<OmbrixHalConsolePlatformInterface, kConsole>};
  ScopedPlatformInterface<OmbrixHalKeyEventPlatformInterface> keyEvent{
      seam::keyEventPlatformGetInterface, recordingGetInterface<OmbrixHalKeyEventPlatformInterface, kKeyEvent>};
};

using FrameLifecycle = LoggedTest;

TEST_F(FrameLifecycle, InitBringsModulesUpInOrderAndDoneTakesThemDownInReverse) {
  calls.clear();
  {
    RecordingModules recording;
    ASSERT_EQ(OmbrixHalInit(&kCheckedStart), 1);
    ASSERT_EQ(OmbrixHalDone(), 1);
  }
  const std::vector<std::string> expected = {
      "frame table",
      "init KeyEvent",  // the platform init starts key events itself
      "init CriticalSection",
      "init Memory",
      "init Clock",
      "init Thread",
      "init Console",
      "init KeyEvent",
      "done KeyEvent",
      "done Console",
      "done Thread",
      "done Clock",
      "done Memory",
      "done CriticalSection",
  };
  EXPECT_EQ(calls, expected);
}

TEST_F(FrameLifecycle, InitAndDoneFreeEveryTimer) {
  ASSERT_EQ(OmbrixHalInit(&kCheckedStart), 1);
  for (int index = 0; index < OMBRIX_HAL_TIMER_COUNT; ++index) {
    ASSERT_NE(OmbrixHalTimerOpen(), nullptr);
  }
  ASSERT_EQ(OmbrixHalDone(), 1);
  ASSERT_EQ(OmbrixHalInit(&kCheckedStart), 1);
  for (int index = 0; index < OMBRIX_HAL_TIMER_COUNT; ++index) {
    EXPECT_NE(OmbrixHalTimerOpen(), nullptr);
  }
  EXPECT_EQ(OmbrixHalDone(), 1);
}

TEST_F(FrameLifecycle, SecondInitReturnsOneAndInitialisesNothing) {
  ASSERT_EQ(OmbrixHalInit(&kCheckedStart), 1);
  calls.clear();
  {
    RecordingModules recording;
    EXPECT_EQ(OmbrixHalInit(&kCheckedStart), 1);
  }
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(OmbrixHalDone(), 1);
}

TEST_F(FrameLifecycle, DoneTwiceReturnsZeroTheSecondTime) {
  ASSERT_EQ(OmbrixHalInit(&kCheckedStart), 1);
  EXPECT_EQ(OmbrixHalDone(), 1);
  EXPECT_EQ(OmbrixHalDone(), 0);
}

TEST_F(FrameLifecycle, DoneWithoutInitReturnsZero) {
  EXPECT_EQ(OmbrixHalDone(), 0);
}

TEST_F(FrameLifecycle, WrongHeaderVersionIsRefusedAndInitialisesNothing) {
  calls.clear();
  for (const char* version : {"1.31", "1.29.99", "1.30.05", "not a version", static_cast<const char*>(nullptr)}) {
    log.clear();
    {
      RecordingModules recording;
      EXPECT_EQ(OmbrixHalInit_(&kCheckedStart, version), 0) << (version ? version : "NULL");
    }
    EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalInit", "Header file version does not match library version")}));
  }
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(OmbrixHalDone(), 0);
}

TEST_F(FrameLifecycle, OldestCompatibleHeaderVersionStarts) {
  EXPECT_EQ(OmbrixHalInit_(&kCheckedStart, "1.30"), 1);
  EXPECT_EQ(OmbrixHalDone(), 1);
}

TEST_F(FrameLifecycle, NullRecordStartsWithoutMemoryCheckingAndFailsPlatformInit) {
  EXPECT_EQ(OmbrixHalInit(nullptr), 0);
  // The flag is set all the same: a second Init is a no-op and Done tears down.
  EXPECT_EQ(OmbrixHalInit(nullptr), 1);
  log.clear();
  OmbrixHalMemoryPrintStatistics();
  void* block = OmbrixHalMemoryAllocate(16);
  ASSERT_NE(block, nullptr);
  OmbrixHalMemoryFree(block);
  EXPECT_TRUE(log.lines().empty()) << "plain mode keeps no statistics";
  EXPECT_EQ(OmbrixHalDone(), 1);
}

TEST_F(FrameLifecycle, FailingPlatformInitStillInitialisesTheModules) {
  const OmbrixHalInitParameter noWindow = {1, 0};
  EXPECT_EQ(OmbrixHalInit(&noWindow), 0);
  log.clear();
  OmbrixHalCriticalSectionHandle section = OmbrixHalCriticalSectionCreate();
  EXPECT_NE(section, nullptr);
  EXPECT_EQ(OmbrixHalCriticalSectionDestroy(section), 1);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalCriticalSectionCreate", "Critical section created succesfully")}));
  EXPECT_EQ(OmbrixHalDone(), 1);
}

OmbrixHalBool failingPostInit(uint32_t aPlatformArgument) noexcept {
  calls.push_back("post-init " + std::to_string(aPlatformArgument));
  return 0;
}

OmbrixHalBool frameWithFailingPostInit(OmbrixHalPlatformInterface* aInterface) noexcept {
  OmbrixHalPlatformGetInterface(aInterface);
  aInterface->PostInit = failingPostInit;
  return 1;
}

TEST_F(FrameLifecycle, PostInitRunsAfterTheModulesWithThePlatformArgument) {
  calls.clear();
  {
    ScopedPlatformInterface<OmbrixHalPlatformInterface> frame(seam::framePlatformGetInterface,
                                                              frameWithFailingPostInit);
    const OmbrixHalInitParameter parameter = {0, 42};
    EXPECT_EQ(OmbrixHalInit(&parameter), 0);
  }
  EXPECT_EQ(calls, std::vector<std::string>{"post-init 42"});
  EXPECT_EQ(OmbrixHalDone(), 1);
}

TEST(FramePlatform, TableFillsInitDoneAndHardwareVersionOnly) {
  OmbrixHalPlatformInterface platform{};
  ASSERT_EQ(OmbrixHalPlatformGetInterface(&platform), 1);
  ASSERT_NE(platform.Init, nullptr);
  EXPECT_EQ(platform.PostInit, nullptr);
  EXPECT_NE(platform.Done, nullptr);
  ASSERT_NE(platform.GetHardwareVersion, nullptr);
  EXPECT_STREQ(platform.GetHardwareVersion(), "Mobile Appliance (VO)");
  EXPECT_EQ(platform.Init(0), 0) << "no platform argument, no platform";
}

TEST(FramePlatform, EveryModuleTableRejectsNull) {
  EXPECT_EQ(OmbrixHalPlatformGetInterface(nullptr), 0);
  EXPECT_EQ(OmbrixHalCriticalSectionPlatformGetInterface(nullptr), 0);
  EXPECT_EQ(OmbrixHalMemoryPlatformGetInterface(nullptr), 0);
  EXPECT_EQ(OmbrixHalConsolePlatformGetInterface(nullptr), 0);
  EXPECT_EQ(OmbrixHalKeyEventPlatformGetInterface(nullptr), 0);
  EXPECT_EQ(OmbrixHalClockPlatformGetInterface(nullptr), 0);
  EXPECT_EQ(OmbrixHalThreadPlatformGetInterface(nullptr), 0);
}

TEST_F(FrameLifecycle, HardwareVersionStaysEmptyBeforeAndAfterInit) {
  EXPECT_STREQ(OmbrixHalGetHardwareVersion(), "");
  ASSERT_EQ(OmbrixHalInit(&kCheckedStart), 1);
  EXPECT_STREQ(OmbrixHalGetHardwareVersion(), "");
  EXPECT_EQ(OmbrixHalDone(), 1);
  EXPECT_STREQ(OmbrixHalGetHardwareVersion(), "");
}

int32_t startFunctionSeen[3];

int32_t recordingStart(uint32_t aReserved, uint32_t aA, uint32_t aB) {
  startFunctionSeen[0] = static_cast<int32_t>(aReserved);
  startFunctionSeen[1] = static_cast<int32_t>(aA);
  startFunctionSeen[2] = static_cast<int32_t>(aB);
  return -7;
}

using FrameForwarding = LoggedTest;

TEST_F(FrameForwarding, PlatformStartPassesZeroAndBothWordsAndReturnsTheResult) {
  EXPECT_EQ(OmbrixHalPlatformStart(recordingStart, 0x11223344u, 5u), -7);
  EXPECT_EQ(startFunctionSeen[0], 0);
  EXPECT_EQ(startFunctionSeen[1], 0x11223344);
  EXPECT_EQ(startFunctionSeen[2], 5);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(FrameForwarding, PlatformStartWithoutFunctionFailsWithItsLogLine) {
  EXPECT_EQ(OmbrixHalPlatformStart(nullptr, 1, 2), 0);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalPlatformStart", "Illegal value 'NULL' for parameter 'aStart'",
                                            0x1003)}));
}

TEST_F(FrameForwarding, VersionExportsForwardToTheVersionModule) {
  EXPECT_STREQ(OmbrixHalGetVersion(), "1.30.04");
  char message[80];
  EXPECT_EQ(OmbrixHalCheckVersion("1.30.04", message, sizeof message), 1);
  EXPECT_EQ(OmbrixHalCheckVersion("1.31", message, sizeof message), 0);
  EXPECT_STREQ(message, "OmbrixHal: Version conflict (required 1.31, current 1.30.04)");
}

TEST_F(FrameForwarding, EnableAndDisableLogNameThemselvesOnIllegalIds) {
  EXPECT_EQ(OmbrixHalEnableLog(0x4000), 0);
  EXPECT_EQ(OmbrixHalDisableLog(0x1023), 0);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalEnableLog", "Illegal log id '0x4000'", 0x1004),
                                      error("OmbrixHalDisableLog", "Illegal log id '0x1023'", 0x1004)}));
}

}  // namespace
}  // namespace ombrixhal::test
