// Tests of the front display: each operation's lines as the panel answers, argument checks in
// order, and this platform without a panel.
#include "OmbrixHalModuleOperations.h"

namespace ombrixhal::test {
namespace {

constexpr uint16_t kText[] = {'P', 'r', 'o', ' ', '7', 0};
const uint32_t kIcons[] = {4, 9};
uint32_t value, icons[4];
uint16_t buffer[8];

const OmbrixHalFrontDisplayPlatformInterface kSlots = {nullptr, nullptr, slot<2>, slot<3>, slot<4>, slot<5>,
                                                       slot<6>,  slot<7>, slot<8>, slot<9>, slot<10>};

using FrontDisplayTest =
    OfferedSlotsTest<OmbrixHalFrontDisplayPlatformInterface, seam::frontDisplayPlatformGetInterface, kSlots>;

// The first bad argument in declaration order is the one refused; getters log nothing.
LogLine refused(const char* what) { return error("", std::string("Illegal parameter ") + what); }

const ModuleOperation kOperations[] = {
    {"GetSize", [](bool good) { return OmbrixHalFrontDisplayGetSize(&value, good ? &value : nullptr); },
     {2, (intptr_t)&value, (intptr_t)&value}, {"", ""}, 0, refused("'NULL' for 'aNoOfColumns'")},
    {"SetString", [](bool good) { return OmbrixHalFrontDisplaySetString(1, 2, good ? kText : nullptr); },
     {3, 1, 2, (intptr_t)kText}, {"Cannot set front display string", "New front display string 'Pro 7'"}, 0,
     refused("'NULL' for 'aString'")},
    {"GetString", [](bool good) { return OmbrixHalFrontDisplayGetString(1, buffer, good ? 8 : 0); },
     {4, 1, (intptr_t)buffer, 8}, {"", ""}, 0, refused("'0' for 'aBufferSize'")},
    {"SetBrightness", [](bool good) { return OmbrixHalFrontDisplaySetBrightness(good ? 1 : 0); }, {5, 1},
     {"Cannot set front display brightness to 1%", "Set front display brightness to 1%"}, 0,
     refused("'0' for 'aBrightness'")},
    {"SetBrightness", [](bool good) { return OmbrixHalFrontDisplaySetBrightness(good ? 100 : 101); }, {5, 100},
     {"Cannot set front display brightness to 100%", "Set front display brightness to 100%"}, 0,
     refused("'101' for 'aBrightness'")},
    {"GetBrightness", [](bool good) { return OmbrixHalFrontDisplayGetBrightness(good ? &value : nullptr); },
     {6, (intptr_t)&value}, {"", ""}, 0, refused("'NULL' for 'aBrightness'")},
    {"SetIcons", [](bool good) { return OmbrixHalFrontDisplaySetIcons(good ? kIcons : nullptr, 0); },
     {7, (intptr_t)kIcons, 0}, {"Cannot set front display icons", "Set front display icons successfully"}, 0,
     refused("'NULL' for 'aIcons'")},
    {"GetIcons", [](bool good) { return OmbrixHalFrontDisplayGetIcons(icons, good ? 4 : 0); },
     {8, (intptr_t)icons, 4}, {"", ""}, 0, refused("'0' for 'aIconsSize'")},
    {"AddIcons", [](bool good) { return OmbrixHalFrontDisplayAddIcons(kIcons, good ? 2 : 0); },
     {9, (intptr_t)kIcons, 2}, {"Cannot add front display icons", "Added front display icons successfully"}, 0,
     refused("'0' for 'aNoOfIcons'")},
    {"RemoveIcons", [](bool good) { return OmbrixHalFrontDisplayRemoveIcons(kIcons, good ? 2 : 0); },
     {10, (intptr_t)kIcons, 2}, {"Cannot remove front display icons", "Removed front display icons successfully"},
     0, refused("'0' for 'aNoOfIcons'")},
};

TEST_F(FrontDisplayTest, OperationsReachTheirSlotsAndLogAsThePanelAnswersAndRefuseBadArguments) {
  checkOperations(kOperations, "OmbrixHalFrontDisplay", "Function not supported");
}

// A NULL comes before the other arguments of the same call; Done empties the slots.
TEST_F(FrontDisplayTest, ANullIsRefusedFirstAndDoneLeavesNoSlot) {
  const auto refusedNull = [](const char* operation, const char* parameter) {
    return illegalNull(std::string("OmbrixHalFrontDisplay") + operation, parameter);
  };
  step(1, [] { return OmbrixHalFrontDisplayGetSize(nullptr, nullptr); }, 0, {refusedNull("GetSize", "aNoOfLines")});
  step(1, [] { return OmbrixHalFrontDisplayGetString(0, nullptr, 0); }, 0, {refusedNull("GetString", "aBuffer")});
  step(1, [] { return OmbrixHalFrontDisplayGetIcons(nullptr, 0); }, 0, {refusedNull("GetIcons", "aIcons")});
  step(1, [] { return OmbrixHalFrontDisplayAddIcons(nullptr, 0); }, 0, {refusedNull("AddIcons", "aIcons")});
  step(1, [] { return OmbrixHalFrontDisplayRemoveIcons(nullptr, 0); }, 0, {refusedNull("RemoveIcons", "aIcons")});
  OmbrixHalFrontDisplayDone();
  step(1, [] { return OmbrixHalFrontDisplayGetBrightness(&value); }, 0,
       {notSupported("OmbrixHalFrontDisplayGetBrightness")});
}

// No panel: every setter fails and no getter is there.
TEST_F(FrontDisplayTest, ThisPlatformFailsEverySetterAndHasNoGetter) {
  OmbrixHalFrontDisplayPlatformInterface table;
  ASSERT_EQ(OmbrixHalFrontDisplayPlatformGetInterface(&table), 1);
  EXPECT_EQ((std::vector{table.Init(), table.SetString(1, 2, kText), table.SetBrightness(100),
                         table.SetIcons(kIcons, 2), table.AddIcons(kIcons, 2), table.RemoveIcons(kIcons, 2)}),
            (std::vector<OmbrixHalBool>{1, 0, 0, 0, 0, 0}));
  EXPECT_EQ((std::vector<void*>{(void*)table.GetSize, (void*)table.GetString, (void*)table.GetBrightness,
                                (void*)table.GetIcons}),
            std::vector<void*>(4));
}

}  // namespace
}  // namespace ombrixhal::test
