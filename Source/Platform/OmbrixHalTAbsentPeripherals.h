// Private, shared by both platform folders: the tables of the peripherals that the handheld
// lacks, front display and common interface, with the fixed answers that the host gives too.
#ifndef OMBRIX_HAL_T_ABSENT_PERIPHERALS_H
#define OMBRIX_HAL_T_ABSENT_PERIPHERALS_H

#include "OmbrixHalCi.h"
#include "OmbrixHalFrontDisplay.h"

namespace ombrixhal::platform::absent {

inline OmbrixHalBool init(void) noexcept {
  return 1;
}

// No panel: Init succeeds, every setter fails and the getters stay empty.
inline OmbrixHalBool setString(uint32_t /*aLine*/, uint32_t /*aColumn*/, const uint16_t* /*aString*/) noexcept {
  return 0;
}

inline OmbrixHalBool setBrightness(uint32_t /*aBrightness*/) noexcept {
  return 0;
}

// Set, add and remove fail alike.
inline OmbrixHalBool changeIcons(const uint32_t* /*aIcons*/, uint32_t /*aNoOfIcons*/) noexcept {
  return 0;
}

inline constexpr OmbrixHalFrontDisplayPlatformInterface kFrontDisplayPlatform = {
    .Init = init,
    .Done = nullptr,
    .GetSize = nullptr,
    .SetString = setString,
    .GetString = nullptr,
    .SetBrightness = setBrightness,
    .GetBrightness = nullptr,
    .SetIcons = changeIcons,
    .GetIcons = nullptr,
    .AddIcons = changeIcons,
    .RemoveIcons = changeIcons,
};

// No CI slot. Kept: the answers contradict each other (no slots, yet a module is inserted
// and routing switches either way); every memory and register access fails.
inline uint32_t getNumberOfSlots(void) noexcept {
  return 0;
}

inline void resetModule(uint32_t /*aSlot*/) noexcept {}

// Module presence and both routing switches.
inline OmbrixHalBool answerYes(uint32_t /*aSlot*/) noexcept {
  return 1;
}

inline OmbrixHalBool readAttributeMemory(uint32_t /*aSlot*/, uint32_t /*aAddress*/, uint8_t* /*aBuffer*/,
                                         uint32_t /*aLength*/) noexcept {
  return 0;
}

inline OmbrixHalBool writeAttributeMemory(uint32_t /*aSlot*/, uint32_t /*aAddress*/, const uint8_t* /*aBuffer*/,
                                          uint32_t /*aLength*/) noexcept {
  return 0;
}

inline OmbrixHalBool readIoRegister(uint32_t /*aSlot*/, uint32_t /*aRegister*/, uint32_t* /*aValue*/) noexcept {
  return 0;
}

inline OmbrixHalBool writeIoRegister(uint32_t /*aSlot*/, uint32_t /*aRegister*/, uint32_t /*aValue*/) noexcept {
  return 0;
}

inline constexpr OmbrixHalCiPlatformInterface kCiPlatform = {
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

}  // namespace ombrixhal::platform::absent

#endif
