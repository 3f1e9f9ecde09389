// Host key-event table: no window system, so the messages that are not mapped keys are
// answered 0 where the device's default window procedure would answer them. When the host
// player library is the one loaded, the keys of its window come to the window procedure.
#include "OmbrixHalKeyEvent.h"
#include "Platform/Host/OmbrixHalTPlayerLibrary.h"
#include "Platform/OmbrixHalTPlatformTable.h"
#include "voMTPHostWindow.h"

namespace {

void setPlayerWindowProcedure(voMTPHostWindowProcedure aProcedure) noexcept {
  if (void* call = ombrixhal::findPlayerLibrarySymbol(VOMTP_HOST_SET_WINDOW_PROCEDURE)) {
    reinterpret_cast<voMTPHostSetWindowProcedureFunction>(call)(aProcedure);
  }
}

intptr_t OMBRIX_HAL_KEY_EVENT_CALLBACK defaultWindowProcedure(void* /*aWindow*/, uint32_t /*aMessage*/,
                                                              uintptr_t /*aWParam*/, intptr_t /*aLParam*/) noexcept {
  return 0;
}

constexpr OmbrixHalKeyEventPlatformInterface kKeyEventPlatform = {
    .Init = []() noexcept -> OmbrixHalBool {
      setPlayerWindowProcedure(OmbrixHalKeyEventWindowProcedure);
      return 1;
    },
    .Done = []() noexcept { setPlayerWindowProcedure(nullptr); },
    .DefaultWindowProcedure = defaultWindowProcedure,
};

}  // namespace

OmbrixHalBool OmbrixHalKeyEventPlatformGetInterface(OmbrixHalKeyEventPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kKeyEventPlatform);
}
