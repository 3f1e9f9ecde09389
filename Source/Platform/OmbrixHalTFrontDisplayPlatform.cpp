// Front-display table of both platforms: the handheld has no panel, and the host gives the
// same answers.
#include "OmbrixHalFrontDisplay.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

OmbrixHalBool init(void) noexcept {
  return 1;
}

// No panel: Init succeeds, every setter fails and the getters stay empty.
OmbrixHalBool setString(uint32_t /*aLine*/, uint32_t /*aColumn*/, const uint16_t* /*aString*/) noexcept {
  return 0;
}

OmbrixHalBool setBrightness(uint32_t /*aBrightness*/) noexcept {
  return 0;
}

// Set, add and remove fail alike.
OmbrixHalBool changeIcons(const uint32_t* /*aIcons*/, uint32_t /*aNoOfIcons*/) noexcept {
  return 0;
}

constexpr OmbrixHalFrontDisplayPlatformInterface kFrontDisplayPlatform = {
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

}  // namespace

OmbrixHalBool OmbrixHalFrontDisplayPlatformGetInterface(OmbrixHalFrontDisplayPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kFrontDisplayPlatform);
}
