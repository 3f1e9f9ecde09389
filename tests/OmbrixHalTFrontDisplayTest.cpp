// Tests of the front display: argument checks in order, this platform's failing panel, and
// the log lines of a panel that works.
#include <functional>
#include <string>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

constexpr uint16_t kText[] = {'P', 'r', 'o', ' ', '7', 0};
const uint32_t kIcons[] = {4, 9};

struct Operation {
  const char* name;
  std::function<OmbrixHalBool()> call;  // with good arguments
};

std::vector<Operation> operations() {
  static uint32_t lines, columns, brightness, icons[4];
  static uint16_t buffer[8];
  return {
      {"OmbrixHalFrontDisplayGetSize", [] { return OmbrixHalFrontDisplayGetSize(&lines, &columns); }},
      {"OmbrixHalFrontDisplaySetString", [] { return OmbrixHalFrontDisplaySetString(1, 2, kText); }},
      {"OmbrixHalFrontDisplayGetString", [] { return OmbrixHalFrontDisplayGetString(1, buffer, 8); }},
      {"OmbrixHalFrontDisplaySetBrightness", [] { return OmbrixHalFrontDisplaySetBrightness(100); }},
      {"OmbrixHalFrontDisplayGetBrightness", [] { return OmbrixHalFrontDisplayGetBrightness(&brightness); }},
      {"OmbrixHalFrontDisplaySetIcons", [] { return OmbrixHalFrontDisplaySetIcons(kIcons, 2); }},
      {"OmbrixHalFrontDisplayGetIcons", [] { return OmbrixHalFrontDisplayGetIcons(icons, 4); }},
      {"OmbrixHalFrontDisplayAddIcons", [] { return OmbrixHalFrontDisplayAddIcons(kIcons, 2); }},
      {"OmbrixHalFrontDisplayRemoveIcons", [] { return OmbrixHalFrontDisplayRemoveIcons(kIcons, 2); }},
  };
}

// How often the slots of the working panel were called.
int slotCalls;

// A panel whose every slot succeeds.
void fillWorkingPanel(OmbrixHalFrontDisplayPlatformInterface& table) {
  table.GetSize = [](uint32_t*, uint32_t*) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.SetString = [](uint32_t, uint32_t, const uint16_t*) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.GetString = [](uint32_t, uint16_t*, uint32_t) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.SetBrightness = [](uint32_t) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.GetBrightness = [](uint32_t*) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.SetIcons = [](const uint32_t*, uint32_t) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.GetIcons = [](uint32_t*, uint32_t) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.AddIcons = [](const uint32_t*, uint32_t) -> OmbrixHalBool { return ++slotCalls, 1; };
  table.RemoveIcons = [](const uint32_t*, uint32_t) -> OmbrixHalBool { return ++slotCalls, 1; };
}

class WorkingFrontDisplay : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    fillWorkingPanel(offered.table);
    restart();
    slotCalls = 0;
  }

  OfferedPlatformInterface<OmbrixHalFrontDisplayPlatformInterface> offered{seam::frontDisplayPlatformGetInterface};
};

struct BadCall {
  std::function<OmbrixHalBool()> call;
  LogLine expected;
};

// The first bad argument in declaration order is the one reported, and no slot is reached.
TEST_F(WorkingFrontDisplay, RefusesTheFirstBadArgumentWithoutReachingThePanel) {
  uint32_t value = 0;
  uint32_t icons[2] = {};
  uint16_t buffer[4] = {};
  const BadCall badCalls[] = {
      {[] { return OmbrixHalFrontDisplayGetSize(nullptr, nullptr); },
       error("OmbrixHalFrontDisplayGetSize", "Illegal parameter 'NULL' for 'aNoOfLines'")},
      {[&] { return OmbrixHalFrontDisplayGetSize(&value, nullptr); },
       error("OmbrixHalFrontDisplayGetSize", "Illegal parameter 'NULL' for 'aNoOfColumns'")},
      {[] { return OmbrixHalFrontDisplaySetString(0, 0, nullptr); },
       error("OmbrixHalFrontDisplaySetString", "Illegal parameter 'NULL' for 'aString'")},
      {[] { return OmbrixHalFrontDisplayGetString(0, nullptr, 0); },
       error("OmbrixHalFrontDisplayGetString", "Illegal parameter 'NULL' for 'aBuffer'")},
      {[&] { return OmbrixHalFrontDisplayGetString(0, buffer, 0); },
       error("OmbrixHalFrontDisplayGetString", "Illegal parameter '0' for 'aBufferSize'")},
      {[] { return OmbrixHalFrontDisplaySetBrightness(0); },
       error("OmbrixHalFrontDisplaySetBrightness", "Illegal parameter '0' for 'aBrightness'")},
      {[] { return OmbrixHalFrontDisplaySetBrightness(101); },
       error("OmbrixHalFrontDisplaySetBrightness", "Illegal parameter '101' for 'aBrightness'")},
      {[] { return OmbrixHalFrontDisplayGetBrightness(nullptr); },
       error("OmbrixHalFrontDisplayGetBrightness", "Illegal parameter 'NULL' for 'aBrightness'")},
      {[] { return OmbrixHalFrontDisplaySetIcons(nullptr, 0); },
       error("OmbrixHalFrontDisplaySetIcons", "Illegal parameter 'NULL' for 'aIcons'")},
      {[] { return OmbrixHalFrontDisplayGetIcons(nullptr, 0); },
       error("OmbrixHalFrontDisplayGetIcons", "Illegal parameter 'NULL' for 'aIcons'")},
      {[&] { return OmbrixHalFrontDisplayGetIcons(icons, 0); },
       error("OmbrixHalFrontDisplayGetIcons", "Illegal parameter '0' for 'aIconsSize'")},
      {[] { return OmbrixHalFrontDisplayAddIcons(nullptr, 0); },
       error("OmbrixHalFrontDisplayAddIcons", "Illegal parameter 'NULL' for 'aIcons'")},
      {[] { return OmbrixHalFrontDisplayAddIcons(kIcons, 0); },
       error("OmbrixHalFrontDisplayAddIcons", "Illegal parameter '0' for 'aNoOfIcons'")},
      {[] { return OmbrixHalFrontDisplayRemoveIcons(nullptr, 0); },
       error("OmbrixHalFrontDisplayRemoveIcons", "Illegal parameter 'NULL' for 'aIcons'")},
      {[] { return OmbrixHalFrontDisplayRemoveIcons(kIcons, 0); },
       error("OmbrixHalFrontDisplayRemoveIcons", "Illegal parameter '0' for 'aNoOfIcons'")},
  };
  for (const BadCall& badCall : badCalls) {
    log.clear();
    EXPECT_EQ(badCall.call(), 0) << badCall.expected;
    EXPECT_EQ(log.lines(), std::vector{badCall.expected});
  }
  EXPECT_EQ(slotCalls, 0);
}

TEST_F(WorkingFrontDisplay, SettersLogTheirSuccessAndGettersStayQuiet) {
  for (const Operation& operation : operations()) {
    EXPECT_EQ(operation.call(), 1) << operation.name;
  }
  EXPECT_EQ(OmbrixHalFrontDisplaySetBrightness(1), 1) << "the lowest brightness";
  EXPECT_EQ(log.lines(),
            (std::vector{info("OmbrixHalFrontDisplaySetString", "New front display string 'Pro 7'"),
                         info("OmbrixHalFrontDisplaySetBrightness", "Set front display brightness to 100%"),
                         info("OmbrixHalFrontDisplaySetIcons", "Set front display icons successfully"),
                         info("OmbrixHalFrontDisplayAddIcons", "Added front display icons successfully"),
                         info("OmbrixHalFrontDisplayRemoveIcons", "Removed front display icons successfully"),
                         info("OmbrixHalFrontDisplaySetBrightness", "Set front display brightness to 1%")}));
  EXPECT_EQ(slotCalls, 10);
}

using FrontDisplayPlatform = HalTest;

TEST_F(FrontDisplayPlatform, HasNoPanelSoSettersFailAndGettersAreNotSupported) {
  for (const Operation& operation : operations()) {
    EXPECT_EQ(operation.call(), 0) << operation.name;
  }
  EXPECT_EQ(OmbrixHalFrontDisplaySetBrightness(50), 0);
  EXPECT_EQ(
      log.lines(),
      (std::vector{
          warning("OmbrixHalFrontDisplayGetSize", "Function not supported 'OmbrixHalFrontDisplayGetSize'"),
          error("OmbrixHalFrontDisplaySetString", "Cannot set front display string"),
          warning("OmbrixHalFrontDisplayGetString", "Function not supported 'OmbrixHalFrontDisplayGetString'"),
          error("OmbrixHalFrontDisplaySetBrightness", "Cannot set front display brightness to 100%"),
          warning("OmbrixHalFrontDisplayGetBrightness", "Function not supported 'OmbrixHalFrontDisplayGetBrightness'"),
          error("OmbrixHalFrontDisplaySetIcons", "Cannot set front display icons"),
          warning("OmbrixHalFrontDisplayGetIcons", "Function not supported 'OmbrixHalFrontDisplayGetIcons'"),
          error("OmbrixHalFrontDisplayAddIcons", "Cannot add front display icons"),
          error("OmbrixHalFrontDisplayRemoveIcons", "Cannot remove front display icons"),
          error("OmbrixHalFrontDisplaySetBrightness", "Cannot set front display brightness to 50%")}));
}

TEST_F(FrontDisplayPlatform, EveryOperationWarnsWithoutASlotAndAfterDone) {
  for (const bool afterDone : {false, true}) {
    OfferedPlatformInterface<OmbrixHalFrontDisplayPlatformInterface> offered(seam::frontDisplayPlatformGetInterface);
    if (afterDone) {
      fillWorkingPanel(offered.table);
      restart();
      OmbrixHalFrontDisplayDone();
    } else {
      restart();
    }
    for (const Operation& operation : operations()) {
      log.clear();
      EXPECT_EQ(operation.call(), 0) << operation.name;
      EXPECT_EQ(log.lines(),
                std::vector{warning(operation.name, std::string("Function not supported '") + operation.name + "'")});
    }
  }
}

}  // namespace
}  // namespace ombrixhal::test
