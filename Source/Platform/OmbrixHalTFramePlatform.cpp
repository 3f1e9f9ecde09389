// Frame table of both platforms: platform init, done and the hardware version.
#include "OmbrixHalAvPlayer.h"
#include "OmbrixHalFrame.h"
#include "OmbrixHalKeyEvent.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

OmbrixHalBool initPlatform(uintptr_t aPlatformArgument) noexcept {
  // The player needs the application's window; without one the platform cannot start.
  if (aPlatformArgument == 0 || !OmbrixHalAvPlayerPlatformInit(aPlatformArgument)) {
    return 0;
  }
  // Key events are initialised here and again in the module order.
  OmbrixHalKeyEventInit();
  return 1;
}

const char* getHardwareVersion(void) noexcept {
  return "Mobile Appliance (VO)";
}

constexpr OmbrixHalPlatformInterface kFramePlatform = {
    .Init = initPlatform,
    .PostInit = nullptr,
    .Done = OmbrixHalAvPlayerPlatformDone,
    .GetHardwareVersion = getHardwareVersion,
};

}  // namespace

OmbrixHalBool OmbrixHalPlatformGetInterface(OmbrixHalPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kFramePlatform);
}
