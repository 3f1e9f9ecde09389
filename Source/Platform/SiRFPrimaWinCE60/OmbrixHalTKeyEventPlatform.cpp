// Device key-event table: the key mapping needs no start-up, so no slot is filled.
#include "OmbrixHalKeyEvent.h"

namespace {

constexpr OmbrixHalKeyEventPlatformInterface kKeyEventPlatform = {
    .Init = nullptr,
    .Done = nullptr,
};

}  // namespace

OmbrixHalBool OmbrixHalKeyEventPlatformGetInterface(OmbrixHalKeyEventPlatformInterface* aInterface) noexcept {
  if (aInterface == nullptr) {
    return 0;
  }
  *aInterface = kKeyEventPlatform;
  return 1;
}
