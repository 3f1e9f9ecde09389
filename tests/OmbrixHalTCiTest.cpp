// Tests of the common interface: this platform's contradictory answers, and every call
// reaching the platform unchecked, unlogged and unchanged.
#include <array>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

uint8_t memory[4];
const uint8_t kBytes[] = {0x1d, 0x00};
uint32_t value;

using Answers = std::array<int64_t, 8>;

// Every operation once, slot 1 throughout: the number of slots, then whether a module is
// inserted, routing on, routing off, memory read and written, register read and written.
Answers askEverything() {
  OmbrixHalCiResetModule(1);
  return {OmbrixHalCiGetNumberOfSlots(),
          OmbrixHalCiIsModuleInserted(1),
          OmbrixHalCiEnableTsRouting(1),
          OmbrixHalCiDisableTsRouting(1),
          OmbrixHalCiReadAttributeMemory(1, 0x100, memory, 4),
          OmbrixHalCiWriteAttributeMemory(1, 0x200, kBytes, 2),
          OmbrixHalCiReadIoRegister(1, 3, &value),
          OmbrixHalCiWriteIoRegister(1, 2, 0x40)};
}

using CiPlatform = HalTest;

// Kept: no slots, yet a module is inserted and routing switches either way.
TEST_F(CiPlatform, AnswersNoSlotsButAnInsertedModuleAndFailsEveryAccessAndZeroWithoutASlotAndAfterDone) {
  EXPECT_EQ(askEverything(), (Answers{0, 1, 1, 1, 0, 0, 0, 0}));
  OfferedPlatformInterface<OmbrixHalCiPlatformInterface> offered(seam::ciPlatformGetInterface);
  restart();
  EXPECT_EQ(askEverything(), (Answers{}));
  offered.table.GetNumberOfSlots = [] { return uint32_t{2}; };
  offered.table.ReadIoRegister = [](uint32_t aSlot, uint32_t aRegister, uint32_t* aValue) -> OmbrixHalBool {
    *aValue = aSlot * 0x100 + aRegister;
    return 1;
  };
  restart();
  EXPECT_EQ(askEverything(), (Answers{2, 0, 0, 0, 0, 0, 1, 0}));
  EXPECT_EQ(value, 0x103u) << "the arguments reach the slot unchanged";
  OmbrixHalCiDone();
  EXPECT_EQ(askEverything(), (Answers{}));
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace ombrixhal::test
