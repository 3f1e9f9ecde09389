// Tests of the frame: start-up and shut-down order, the version gate, the platform table
// and the small forwarding exports.
#include <array>

#include "OmbrixHalTestFixture.h"
#include "voMTPEmulatorControl.h"

namespace ombrixhal::test {
namespace {

const OmbrixHalInitParameter kCheckedStart = {1, windowRecord()};

// What the replaced platform getters and slots saw, in order.
std::vector<std::string> calls;

enum Module { kCriticalSection, kMemory, kClock, kThread, kConsole, kAudioOut, kCi, kFrontDisplay, kKeyEvent,
              kVideoOut, kUart };
constexpr const char* kModuleNames[] = {"CriticalSection", "Memory",   "Clock",    "Thread", "Console", "AudioOut",
                                        "Ci",              "FrontDisplay", "KeyEvent", "VideoOut", "Uart"};

// The real platform table, with a post-init that records its argument and fails.
OmbrixHalBool recordingFrameGetInterface(OmbrixHalPlatformInterface* aInterface) noexcept {
  OmbrixHalPlatformGetInterface(aInterface);
  aInterface->PostInit = [](uintptr_t aPlatformArgument) -> OmbrixHalBool {
    calls.push_back("post-init " + std::to_string(aPlatformArgument));
    return 0;
  };
  calls.push_back("frame table");
  return 1;
}

// Replaces where one module takes its platform table from by a table that records init and done.
template <typename Interface, Module kModule>
struct Recording : ScopedPlatformInterface<Interface> {
  explicit Recording(GetInterfaceFunction<Interface>& seam) : ScopedPlatformInterface<Interface>(seam, getInterface) {}

  static OmbrixHalBool getInterface(Interface* aInterface) noexcept {
    calls.push_back(std::string("init ") + kModuleNames[kModule]);
    aInterface->Done = [] { calls.push_back(std::string("done ") + kModuleNames[kModule]); };
    return 1;
  }
};

struct RecordingModules {
  ScopedPlatformInterface<OmbrixHalPlatformInterface> frame{seam::framePlatformGetInterface,
                                                            recordingFrameGetInterface};
  Recording<OmbrixHalCriticalSectionPlatformInterface, kCriticalSection> criticalSection{
      seam::criticalSectionPlatformGetInterface};
  Recording<OmbrixHalMemoryPlatformInterface, kMemory> memory{seam::memoryPlatformGetInterface};
  Recording<OmbrixHalClockPlatformInterface, kClock> clock{seam::clockPlatformGetInterface};
  Recording<OmbrixHalThreadPlatformInterface, kThread> thread{seam::threadPlatformGetInterface};
  Recording<OmbrixHalConsolePlatformInterface, kConsole> console{seam::consolePlatformGetInterface};
  Recording<OmbrixHalAudioOutPlatformInterface, kAudioOut> audioOut{seam::audioOutPlatformGetInterface};
  Recording<OmbrixHalCiPlatformInterface, kCi> ci{seam::ciPlatformGetInterface};
  Recording<OmbrixHalFrontDisplayPlatformInterface, kFrontDisplay> frontDisplay{seam::frontDisplayPlatformGetInterface};
  Recording<OmbrixHalKeyEventPlatformInterface, kKeyEvent> keyEvent{seam::keyEventPlatformGetInterface};
  Recording<OmbrixHalVideoOutPlatformInterface, kVideoOut> videoOut{seam::videoOutPlatformGetInterface};
  Recording<OmbrixHalUartPlatformInterface, kUart> uart{seam::uartPlatformGetInterface};
};

using FrameLifecycle = LoggedTest;

// A refused header version initialises nothing, and the oldest compatible one, "1.30", starts the
// modules. The post-init fails; a second Init is a no-op, a second Done too.
TEST_F(FrameLifecycle, WrongHeaderVersionIsRefusedAndInitBringsModulesUpInOrderOnceAndDoneDownInReverseOnce) {
  calls.clear();
  {
    RecordingModules recording;
    for (const char* version : {"1.31", "1.29.99", "not a version", static_cast<const char*>(nullptr)}) {
      EXPECT_EQ(OmbrixHalInit_(&kCheckedStart, version), 0) << (version ? version : "NULL");
      EXPECT_EQ(log.take(),
                (std::vector{error("OmbrixHalInit", "Header file version does not match library version")}));
    }
    EXPECT_EQ(OmbrixHalDone(), 0);
    EXPECT_EQ(OmbrixHalInit_(&kCheckedStart, "1.30"), 0);
    EXPECT_STREQ(OmbrixHalGetHardwareVersion(), "") << "the frame does not pass the platform's on";
    EXPECT_EQ((std::array{OmbrixHalInit(&kCheckedStart), OmbrixHalDone(), OmbrixHalDone()}), (std::array{1, 1, 0}));
  }
  // The platform init starts key events itself, before the modules come up.
  const std::vector<std::string> expected = {
      "frame table",   "init KeyEvent", "init CriticalSection", "init Memory",  "init Clock",
      "init Thread",   "init Console",  "init AudioOut",        "init Ci",      "init FrontDisplay",
      "init KeyEvent", "init VideoOut", "init Uart",            "post-init " + std::to_string(windowRecord()), "done Uart",
      "done VideoOut", "done KeyEvent", "done FrontDisplay",    "done Ci",      "done AudioOut",
      "done Console",  "done Thread",   "done Clock",           "done Memory",  "done CriticalSection"};
  EXPECT_EQ(calls, expected);
}

// The failing platform init must not keep the modules down: the allocation needs the memory module.
// A second start finds every timer free again.
TEST_F(FrameLifecycle, NullRecordFailsPlatformInitButStartsTheModulesWithoutMemoryChecking) {
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(OmbrixHalInit(nullptr), 0);
    EXPECT_EQ(OmbrixHalInit(nullptr), 1) << "the flag is set all the same";
    log.clear();
    OmbrixHalMemoryPrintStatistics();
    OmbrixHalMemoryFree(OmbrixHalMemoryAllocate(16));
    EXPECT_TRUE(log.lines().empty()) << "plain mode keeps no statistics";
    for (int index = 0; index < OMBRIX_HAL_TIMER_COUNT; ++index) {
      ASSERT_NE(OmbrixHalTimerOpen(), nullptr) << "round " << round << ", timer " << index;
    }
    EXPECT_EQ(OmbrixHalDone(), 1);
  }
}

TEST(FramePlatform, TableFillsInitDoneAndAHardwareVersionAndEveryTableRejectsNull) {
  OmbrixHalPlatformInterface platform{};
  ASSERT_EQ(OmbrixHalPlatformGetInterface(&platform), 1);
  ASSERT_TRUE(platform.Init != nullptr && platform.Done != nullptr && platform.GetHardwareVersion != nullptr);
  EXPECT_EQ(platform.PostInit, nullptr);
  EXPECT_STREQ(platform.GetHardwareVersion(), "Mobile Appliance (VO)");
  EXPECT_EQ(platform.Init(0), 0) << "no platform argument, no platform";
  // The player library is started by the platform init and ended by its done, once.
  voMTPEmulatorReset();
  voMTPEmulatorFailCall("voMTPInit", 1, -1);
  EXPECT_EQ(platform.Init(windowRecord()) * 10 + platform.Init(windowRecord()), 1) << "refused the first time";
  platform.Done();
  platform.Done();
  EXPECT_EQ(voMTPEmulatorCountCalls("voMTPInit") * 10 + voMTPEmulatorCountCalls("voMTPUnInit"), 21u);
  EXPECT_EQ((std::array{OmbrixHalPlatformGetInterface(nullptr), OmbrixHalCriticalSectionPlatformGetInterface(nullptr),
                        OmbrixHalMemoryPlatformGetInterface(nullptr), OmbrixHalConsolePlatformGetInterface(nullptr),
                        OmbrixHalKeyEventPlatformGetInterface(nullptr), OmbrixHalCiPlatformGetInterface(nullptr),
                        OmbrixHalFrontDisplayPlatformGetInterface(nullptr), OmbrixHalClockPlatformGetInterface(nullptr),
                        OmbrixHalThreadPlatformGetInterface(nullptr), OmbrixHalAudioOutPlatformGetInterface(nullptr),
                        OmbrixHalVideoOutPlatformGetInterface(nullptr)}),
            (std::array<OmbrixHalBool, 11>{}));
}

std::array<uint32_t, 3> startArguments;

int32_t recordingStart(uint32_t aReserved, uint32_t aA, uint32_t aB) {
  startArguments = {aReserved, aA, aB};
  return -7;
}

using FrameForwarding = LoggedTest;

TEST_F(FrameForwarding, PlatformStartPassesZeroAndBothWordsAndLogExportsNameThemselves) {
  EXPECT_EQ(OmbrixHalPlatformStart(recordingStart, 0x11223344u, 5u), -7);
  EXPECT_EQ(startArguments, (std::array<uint32_t, 3>{0, 0x11223344u, 5u}));
  EXPECT_EQ(OmbrixHalPlatformStart(nullptr, 1, 2), 0);
  EXPECT_EQ(sumInOrder({OmbrixHalEnableLog(0x4000), OmbrixHalDisableLog(0x1023)}), 0);
  EXPECT_EQ(log.lines(),
            (std::vector{nullValue("OmbrixHalPlatformStart", "aStart"),
                         error("OmbrixHalEnableLog", "Illegal log id '0x4000'", 0x1004),
                         error("OmbrixHalDisableLog", "Illegal log id '0x1023'", 0x1004)}));
}

}  // namespace
}  // namespace ombrixhal::test
