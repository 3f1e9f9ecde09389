// Tests of the front display: argument checks in order, this platform's failing panel, and
// the log lines of a panel that works.

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

constexpr uint16_t kText[] = {'P', 'r', 'o', ' ', '7', 0};
const uint32_t kIcons[] = {4, 9};

struct Operation {
  std::string name;
  std::function<OmbrixHalBool()> call;  // with good arguments
  const char* success;                  // a setter's info on a working panel; getters log nothing
  const char* failure;                  // a setter's error on this platform's panel; getters are not supported
};

std::vector<Operation> operations() {
  static uint32_t value, icons[4];
  static uint16_t buffer[8];
  return {
      {"OmbrixHalFrontDisplayGetSize", [] { return OmbrixHalFrontDisplayGetSize(&value, &value); }, nullptr, nullptr},
      {"OmbrixHalFrontDisplaySetString", [] { return OmbrixHalFrontDisplaySetString(1, 2, kText); },
       "New front display string 'Pro 7'", "Cannot set front display string"},
      {"OmbrixHalFrontDisplayGetString", [] { return OmbrixHalFrontDisplayGetString(1, buffer, 8); }, nullptr, nullptr},
      {"OmbrixHalFrontDisplaySetBrightness", [] { return OmbrixHalFrontDisplaySetBrightness(100); },
       "Set front display brightness to 100%", "Cannot set front display brightness to 100%"},
      {"OmbrixHalFrontDisplayGetBrightness", [] { return OmbrixHalFrontDisplayGetBrightness(&value); }, nullptr,
       nullptr},
      {"OmbrixHalFrontDisplaySetIcons", [] { return OmbrixHalFrontDisplaySetIcons(kIcons, 2); },
       "Set front display icons successfully", "Cannot set front display icons"},
      {"OmbrixHalFrontDisplayGetIcons", [] { return OmbrixHalFrontDisplayGetIcons(icons, 4); }, nullptr, nullptr},
      {"OmbrixHalFrontDisplayAddIcons", [] { return OmbrixHalFrontDisplayAddIcons(kIcons, 2); },
       "Added front display icons successfully", "Cannot add front display icons"},
      {"OmbrixHalFrontDisplayRemoveIcons", [] { return OmbrixHalFrontDisplayRemoveIcons(kIcons, 2); },
       "Removed front display icons successfully", "Cannot remove front display icons"},
  };
}

// How often the slots of the working panel were called.
int slotCalls;

// Every slot of a working panel: counts the call and succeeds.
template <typename... Arguments>
OmbrixHalBool succeed(Arguments...) noexcept {
  return ++slotCalls, 1;
}

// Init and Done empty, then all nine operations.
void fillWorkingPanel(OmbrixHalFrontDisplayPlatformInterface& table) {
  table = {nullptr, nullptr, succeed, succeed, succeed, succeed, succeed, succeed, succeed, succeed, succeed};
}

class FrontDisplayTest : public HalTest {
 protected:
  OfferedPlatformInterface<OmbrixHalFrontDisplayPlatformInterface> offered{seam::frontDisplayPlatformGetInterface};
};

// The first bad argument in declaration order is the one reported, and no slot is reached.
TEST_F(FrontDisplayTest, RefusesTheFirstBadArgumentWithoutReachingThePanel) {
  fillWorkingPanel(offered.table);
  restart();
  slotCalls = 0;
  uint32_t value = 0;
  uint16_t buffer[4] = {};
  const auto refused = [](const char* operation, const char* what) {
    return error(std::string("OmbrixHalFrontDisplay") + operation, std::string("Illegal parameter ") + what);
  };
  const std::pair<std::function<OmbrixHalBool()>, LogLine> badCalls[] = {
      {[] { return OmbrixHalFrontDisplayGetSize(nullptr, nullptr); }, refused("GetSize", "'NULL' for 'aNoOfLines'")},
      {[&] { return OmbrixHalFrontDisplayGetSize(&value, nullptr); }, refused("GetSize", "'NULL' for 'aNoOfColumns'")},
      {[] { return OmbrixHalFrontDisplaySetString(0, 0, nullptr); }, refused("SetString", "'NULL' for 'aString'")},
      {[] { return OmbrixHalFrontDisplayGetString(0, nullptr, 0); }, refused("GetString", "'NULL' for 'aBuffer'")},
      {[&] { return OmbrixHalFrontDisplayGetString(0, buffer, 0); }, refused("GetString", "'0' for 'aBufferSize'")},
      {[] { return OmbrixHalFrontDisplaySetBrightness(0); }, refused("SetBrightness", "'0' for 'aBrightness'")},
      {[] { return OmbrixHalFrontDisplaySetBrightness(101); }, refused("SetBrightness", "'101' for 'aBrightness'")},
      {[] { return OmbrixHalFrontDisplayGetBrightness(nullptr); },
       refused("GetBrightness", "'NULL' for 'aBrightness'")},
      {[] { return OmbrixHalFrontDisplaySetIcons(nullptr, 0); }, refused("SetIcons", "'NULL' for 'aIcons'")},
      {[] { return OmbrixHalFrontDisplayGetIcons(nullptr, 0); }, refused("GetIcons", "'NULL' for 'aIcons'")},
      {[&] { return OmbrixHalFrontDisplayGetIcons(&value, 0); }, refused("GetIcons", "'0' for 'aIconsSize'")},
      {[] { return OmbrixHalFrontDisplayAddIcons(nullptr, 0); }, refused("AddIcons", "'NULL' for 'aIcons'")},
      {[] { return OmbrixHalFrontDisplayAddIcons(kIcons, 0); }, refused("AddIcons", "'0' for 'aNoOfIcons'")},
      {[] { return OmbrixHalFrontDisplayRemoveIcons(nullptr, 0); }, refused("RemoveIcons", "'NULL' for 'aIcons'")},
      {[] { return OmbrixHalFrontDisplayRemoveIcons(kIcons, 0); }, refused("RemoveIcons", "'0' for 'aNoOfIcons'")},
  };
  for (const auto& [call, expected] : badCalls) {
    EXPECT_EQ(call(), 0) << expected;
    EXPECT_EQ(log.take(), std::vector{expected});
  }
  EXPECT_EQ(slotCalls, 0);
  EXPECT_EQ(OmbrixHalFrontDisplaySetBrightness(1), 1) << "the lowest brightness";
  EXPECT_EQ(log.take(), std::vector{info("OmbrixHalFrontDisplaySetBrightness", "Set front display brightness to 1%")});
}

// A working panel logs its setters only; this platform's fails them and supports no getter; with
// no slot, or after Done, every operation warns.
enum class Panel { kWorking, kThisPlatform, kNoSlot, kDone };

std::vector<LogLine> expectedLines(const Operation& operation, Panel panel) {
  if (panel == Panel::kWorking) {
    return operation.success ? std::vector{info(operation.name, operation.success)} : std::vector<LogLine>{};
  }
  if (panel == Panel::kThisPlatform && operation.success != nullptr) {
    return {error(operation.name, operation.failure)};
  }
  return {notSupported(operation.name)};
}

TEST_F(FrontDisplayTest, OperationsReachTheSlotsOfAWorkingPanelOnlyAndLogAsThePanelAnswers) {
  for (const Panel panel : {Panel::kWorking, Panel::kThisPlatform, Panel::kNoSlot, Panel::kDone}) {
    SCOPED_TRACE(static_cast<int>(panel));
    offered.table = {};
    if (panel == Panel::kThisPlatform) {
      OmbrixHalFrontDisplayPlatformGetInterface(&offered.table);
    } else if (panel != Panel::kNoSlot) {
      fillWorkingPanel(offered.table);
    }
    restart();
    if (panel == Panel::kDone) {
      OmbrixHalFrontDisplayDone();
    }
    slotCalls = 0;
    for (const Operation& operation : operations()) {
      EXPECT_EQ(operation.call(), panel == Panel::kWorking ? 1 : 0) << operation.name;
      EXPECT_EQ(log.take(), expectedLines(operation, panel));
    }
    EXPECT_EQ(slotCalls, panel == Panel::kWorking ? 9 : 0);
  }
}

}  // namespace
}  // namespace ombrixhal::test
