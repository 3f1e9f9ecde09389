// Tests of the common interface: this platform's contradictory answers, and every call
// reaching the platform unchecked, unlogged and unchanged.
#include <string>
#include <vector>

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

// What the offered slots saw, one entry per call.
std::vector<std::string> slotCalls;

void record(const std::string& call) { slotCalls.push_back(call); }

TEST_F(CiPlatform, PassesEveryArgumentOnAndReturnsTheSlotsAnswerOrZeroWithoutOne) {
  OfferedPlatformInterface<OmbrixHalCiPlatformInterface> offered(seam::ciPlatformGetInterface);
  restart();
  EXPECT_EQ(askEverything(), (CiAnswers{}));

  offered.table = {
      .Init = nullptr,
      .Done = nullptr,
      .GetNumberOfSlots = [] { return uint32_t{2}; },
      .ResetModule = [](uint32_t aSlot) { record("reset " + std::to_string(aSlot)); },
      .IsModuleInserted = [](uint32_t aSlot) -> OmbrixHalBool { return aSlot == 1 ? 1 : 0; },
      .EnableTsRouting = [](uint32_t aSlot) -> OmbrixHalBool { return aSlot == 0 ? 1 : 0; },
      .DisableTsRouting = [](uint32_t aSlot) -> OmbrixHalBool { return aSlot == 1 ? 1 : 0; },
      .ReadAttributeMemory = [](uint32_t aSlot, uint32_t aAddress, uint8_t* aBuffer,
                                uint32_t aLength) -> OmbrixHalBool {
        record("read memory " + std::to_string(aSlot) + " " + std::to_string(aAddress) + " " + std::to_string(aLength));
        aBuffer[0] = 0x1d;
        return 1;
      },
      .WriteAttributeMemory = [](uint32_t aSlot, uint32_t aAddress, const uint8_t* aBuffer,
                                 uint32_t aLength) -> OmbrixHalBool {
        record("write memory " + std::to_string(aSlot) + " " + std::to_string(aAddress) + " " +
               std::to_string(aBuffer[0]) + " " + std::to_string(aLength));
        return 0;
      },
      .ReadIoRegister = [](uint32_t aSlot, uint32_t aRegister, uint32_t* aValue) -> OmbrixHalBool {
        record("read register " + std::to_string(aSlot) + " " + std::to_string(aRegister));
        *aValue = 0x80;
        return 1;
      },
      .WriteIoRegister = [](uint32_t aSlot, uint32_t aRegister, uint32_t aValue) -> OmbrixHalBool {
        record("write register " + std::to_string(aSlot) + " " + std::to_string(aRegister) + " " +
               std::to_string(aValue));
        return 1;
      },
  };
  restart();
  slotCalls.clear();
  EXPECT_EQ(askEverything(), (CiAnswers{2, 1, 0, 1, 1, 0, 1, 1}));
  EXPECT_EQ(memory[0], 0x1d);
  EXPECT_EQ(value, 0x80u);
  EXPECT_EQ(slotCalls, (std::vector<std::string>{"reset 1", "read memory 1 256 4", "write memory 1 512 29 2",
                                                 "read register 1 3", "write register 1 2 64"}));

  OmbrixHalCiDone();
  slotCalls.clear();
  EXPECT_EQ(askEverything(), (CiAnswers{})) << "nothing is supported after Done";
  EXPECT_TRUE(slotCalls.empty());
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace ombrixhal::test
