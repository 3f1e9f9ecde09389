// Device common-interface table: no CI slot.
#include "Platform/OmbrixHalTAbsentPeripherals.h"
#include "Platform/OmbrixHalTPlatformTable.h"

OmbrixHalBool OmbrixHalCiPlatformGetInterface(OmbrixHalCiPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, ombrixhal::platform::absent::kCiPlatform);
}
