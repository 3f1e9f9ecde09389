// Device key-event table: the key mapping needs no start-up, so no slot is filled.
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
