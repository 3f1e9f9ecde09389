// Host key-event table: no window to map keys for, so no slot is filled, as on the device.
#include "OmbrixHalKeyEvent.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

constexpr OmbrixHalKeyEventPlatformInterface kKeyEventPlatform = {
    .Init = nullptr,
    .Done = nullptr,
};

}  // namespace

OmbrixHalBool OmbrixHalKeyEventPlatformGetInterface(OmbrixHalKeyEventPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kKeyEventPlatform);
}
