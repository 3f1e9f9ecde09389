// Common-interface table of both platforms: the handheld has no CI slot, and the host gives
// the same answers.
#include "OmbrixHalCi.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

OmbrixHalBool init(void) noexcept {
  return 1;
}

// No CI slot. Kept: the answers contradict each other (no slots, yet a module is inserted
// and routing switches either way); every memory and register access fails.
uint32_t getNumberOfSlots(void) noexcept {
  return 0;
}

void resetModule(uint32_t /*aSlot*/) noexcept {}

// Module presence and both routing switches.
OmbrixHalBool answerYes(uint32_t /*aSlot*/) noexcept {
  return 1;
}

OmbrixHalBool readAttributeMemory(uint32_t /*aSlot*/, uint32_t /*aAddress*/, uint8_t* /*aBuffer*/,
                                  uint32_t /*aLength*/) noexcept {
  return 0;
}

OmbrixHalBool writeAttributeMemory(uint32_t /*aSlot*/, uint32_t /*aAddress*/, const uint8_t* /*aBuffer*/,
                                   uint32_t /*aLength*/) noexcept {
  return 0;
}

OmbrixHalBool readIoRegister(uint32_t /*aSlot*/, uint32_t /*aRegister*/, uint32_t* /*aValue*/) noexcept {
  return 0;
}

OmbrixHalBool writeIoRegister(uint32_t /*aSlot*/, uint32_t /*aRegister*/, uint32_t /*aValue*/) noexcept {
  return 0;
}

constexpr OmbrixHalCiPlatformInterface kCiPlatform = {
    .Init = init,
    .Done = nullptr,
    .GetNumberOfSlots = getNumberOfSlots,
    .ResetModule = resetModule,
    .IsModuleInserted = answerYes,
    .EnableTsRouting = answerYes,
    .DisableTsRouting = answerYes,
    .ReadAttributeMemory = readAttributeMemory,
    .WriteAttributeMemory = writeAttributeMemory,
    .ReadIoRegister = readIoRegister,
    .WriteIoRegister = writeIoRegister,
};

}  // namespace

OmbrixHalBool OmbrixHalCiPlatformGetInterface(OmbrixHalCiPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kCiPlatform);
}
