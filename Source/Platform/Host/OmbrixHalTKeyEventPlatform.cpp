// Host key-event table: no window system, so the messages that are not mapped keys are
// answered 0 where the device's default window procedure would answer them.
#include "OmbrixHalKeyEvent.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

intptr_t OMBRIX_HAL_KEY_EVENT_CALLBACK defaultWindowProcedure(void* /*aWindow*/, uint32_t /*aMessage*/,
                                                              uintptr_t /*aWParam*/, intptr_t /*aLParam*/) noexcept {
  return 0;
}

constexpr OmbrixHalKeyEventPlatformInterface kKeyEventPlatform = {
    .Init = nullptr,
    .Done = nullptr,
    .DefaultWindowProcedure = defaultWindowProcedure,
};

}  // namespace

OmbrixHalBool OmbrixHalKeyEventPlatformGetInterface(OmbrixHalKeyEventPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kKeyEventPlatform);
}
