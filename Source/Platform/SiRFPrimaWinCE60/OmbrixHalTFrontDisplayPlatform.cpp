// Device front-display table: no panel.
#include "Platform/OmbrixHalTAbsentPeripherals.h"
#include "Platform/OmbrixHalTPlatformTable.h"

OmbrixHalBool OmbrixHalFrontDisplayPlatformGetInterface(OmbrixHalFrontDisplayPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, ombrixhal::platform::absent::kFrontDisplayPlatform);
}
