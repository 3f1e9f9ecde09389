// Frame table of both platforms: platform init, done and the hardware version.
#include "OmbrixHalFrame.h"
#include "OmbrixHalKeyEvent.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

OmbrixHalBool initPlatform(uint32_t aPlatformArgument) noexcept {
  // The device needs its application window here; without one the platform cannot start.
  if (aPlatformArgument == 0) {
    return 0;
  }
  // Key events are initialised here and again in the module order.
  OmbrixHalKeyEventInit();
  return 1;
}

void donePlatform(void) noexcept {}

const char* getHardwareVersion(void) noexcept {
  return "Mobile Appliance (VO)";
}

constexpr OmbrixHalPlatformInterface kFramePlatform = {
    .Init = initPlatform,
    .PostInit = nullptr,
    .Done = donePlatform,
    .GetHardwareVersion = getHardwareVersion,
};

}  // namespace

OmbrixHalBool OmbrixHalPlatformGetInterface(OmbrixHalPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kFramePlatform);
}
