// Device key-event table: the key mapping needs no start-up; the messages that are not
// mapped keys go to the window system's default window procedure.
#include <windows.h>

#include "OmbrixHalKeyEvent.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

intptr_t OMBRIX_HAL_KEY_EVENT_CALLBACK defaultWindowProcedure(void* aWindow, uint32_t aMessage, uintptr_t aWParam,
                                                              intptr_t aLParam) noexcept {
  return DefWindowProcW(static_cast<HWND>(aWindow), aMessage, aWParam, aLParam);
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
