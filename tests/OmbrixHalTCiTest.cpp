// Tests of the common interface: this platform's contradictory answers, and every call
// reaching the platform unchecked, unlogged and unchanged.
#include <ostream>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

uint8_t memory[4];
const uint8_t kBytes[] = {0x1d, 0x00};
uint32_t value;

struct CiAnswers {
  uint32_t slots;
  OmbrixHalBool inserted, routingOn, routingOff, readMemory, writeMemory, readRegister, writeRegister;
  bool operator==(const CiAnswers&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const CiAnswers& a) {
  return stream << a.slots << " " << a.inserted << a.routingOn << a.routingOff << a.readMemory << a.writeMemory
                << a.readRegister << a.writeRegister;
}

// Every operation once, slot 1 throughout.
CiAnswers askEverything() {
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
TEST_F(CiPlatform, AnswersNoSlotsButAnInsertedModuleAndFailsEveryAccess) {
  EXPECT_EQ(askEverything(), (CiAnswers{0, 1, 1, 1, 0, 0, 0, 0}));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(CiPlatform, AnswersZeroWithoutASlotAndAfterDone) {
  OfferedPlatformInterface<OmbrixHalCiPlatformInterface> offered(seam::ciPlatformGetInterface);
  restart();
  EXPECT_EQ(askEverything(), (CiAnswers{}));
  offered.table.GetNumberOfSlots = [] { return uint32_t{2}; };
  offered.table.ReadIoRegister = [](uint32_t aSlot, uint32_t aRegister, uint32_t* aValue) -> OmbrixHalBool {
    *aValue = aSlot * 0x100 + aRegister;
    return 1;
  };
  restart();
  EXPECT_EQ(askEverything(), (CiAnswers{2, 0, 0, 0, 0, 0, 1, 0}));
  EXPECT_EQ(value, 0x103u) << "the arguments reach the slot unchanged";
  OmbrixHalCiDone();
  EXPECT_EQ(askEverything(), (CiAnswers{}));
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace ombrixhal::test
