// Key events: the application window's key messages become middleware key codes for the
// middleware's handler; every other message is the platform's default window procedure's.
#include <initializer_list>

#include "OmbrixHalKeyEvent.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalKeyEventPlatformInterface> keyEventPlatformGetInterface =
    OmbrixHalKeyEventPlatformGetInterface;
}

namespace {

using ombrixhal::Relaxed;

// The window system's key messages, and the flag of a key-down message whose key was already
// down (the keyboard's auto-repeat).
constexpr uint32_t kKeyDownMessage = 0x0100;
constexpr uint32_t kKeyUpMessage = 0x0101;
constexpr intptr_t kWasDownFlag = intptr_t{1} << 30;

struct KeyMapping {
  uintptr_t virtualKey;
  uint32_t key;
};

// Digits come in two ranges of virtual keys: the top row's '0' to '9' and the number pad's.
constexpr uintptr_t kDigitKeys = 0x30;
constexpr uintptr_t kNumberPadKeys = 0x60;
constexpr uintptr_t kDigitCount = 10;

constexpr KeyMapping kKeyMappings[] = {
    {.virtualKey = 0x26, .key = OMBRIX_HAL_KEY_EVENT_KEY_UP},
    {.virtualKey = 0x28, .key = OMBRIX_HAL_KEY_EVENT_KEY_DOWN},
    {.virtualKey = 0x25, .key = OMBRIX_HAL_KEY_EVENT_KEY_LEFT},
    {.virtualKey = 0x27, .key = OMBRIX_HAL_KEY_EVENT_KEY_RIGHT},
    {.virtualKey = 0x0d, .key = OMBRIX_HAL_KEY_EVENT_KEY_OK},            // Enter
    {.virtualKey = 0x08, .key = OMBRIX_HAL_KEY_EVENT_KEY_BACK},          // Backspace
    {.virtualKey = 0x1b, .key = OMBRIX_HAL_KEY_EVENT_KEY_EXIT},          // Escape
    {.virtualKey = 0x5d, .key = OMBRIX_HAL_KEY_EVENT_KEY_MENU},          // context menu
    {.virtualKey = 0x74, .key = OMBRIX_HAL_KEY_EVENT_KEY_MENU},          // F5
    {.virtualKey = 0x75, .key = OMBRIX_HAL_KEY_EVENT_KEY_INFO},          // F6
    {.virtualKey = 0x76, .key = OMBRIX_HAL_KEY_EVENT_KEY_GUIDE},         // F7
    {.virtualKey = 0x77, .key = OMBRIX_HAL_KEY_EVENT_KEY_TELETEXT},      // F8
    {.virtualKey = 0x21, .key = OMBRIX_HAL_KEY_EVENT_KEY_CHANNEL_UP},    // Page Up
    {.virtualKey = 0x22, .key = OMBRIX_HAL_KEY_EVENT_KEY_CHANNEL_DOWN},  // Page Down
    {.virtualKey = 0xaf, .key = OMBRIX_HAL_KEY_EVENT_KEY_VOLUME_UP},
    {.virtualKey = 0xae, .key = OMBRIX_HAL_KEY_EVENT_KEY_VOLUME_DOWN},
    {.virtualKey = 0xad, .key = OMBRIX_HAL_KEY_EVENT_KEY_MUTE},
    {.virtualKey = 0x70, .key = OMBRIX_HAL_KEY_EVENT_KEY_RED},     // F1
    {.virtualKey = 0x71, .key = OMBRIX_HAL_KEY_EVENT_KEY_GREEN},   // F2
    {.virtualKey = 0x72, .key = OMBRIX_HAL_KEY_EVENT_KEY_YELLOW},  // F3
    {.virtualKey = 0x73, .key = OMBRIX_HAL_KEY_EVENT_KEY_BLUE},    // F4
};

OmbrixHalKeyEventPlatformInterface platform{};

// Set by the middleware's thread, read on the window's.
Relaxed<OmbrixHalKeyEventHandler> handler;
Relaxed<void*> handlerContext;

// False for a key that is not mapped.
bool mapVirtualKey(uintptr_t virtualKey, uint32_t& key) noexcept {
  for (const uintptr_t digitKeys : {kDigitKeys, kNumberPadKeys}) {
    if (virtualKey - digitKeys < kDigitCount) {
      key = OMBRIX_HAL_KEY_EVENT_KEY_0 + static_cast<uint32_t>(virtualKey - digitKeys);
      return true;
    }
  }
  for (const KeyMapping& mapping : kKeyMappings) {
    if (mapping.virtualKey == virtualKey) {
      key = mapping.key;
      return true;
    }
  }
  return false;
}

// False for a message that is not a key going down or up.
bool mapKeyMessage(uint32_t aMessage, intptr_t aLParam, uint32_t& event) noexcept {
  if (aMessage == kKeyDownMessage) {
    event = (aLParam & kWasDownFlag) != 0 ? OMBRIX_HAL_KEY_EVENT_REPEATED : OMBRIX_HAL_KEY_EVENT_PRESSED;
    return true;
  }
  if (aMessage == kKeyUpMessage) {
    event = OMBRIX_HAL_KEY_EVENT_RELEASED;
    return true;
  }
  return false;
}

}  // namespace

OmbrixHalBool OmbrixHalKeyEventInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::keyEventPlatformGetInterface);
}

OmbrixHalBool OmbrixHalKeyEventDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
  handler = nullptr;
  handlerContext = nullptr;
  return 1;
}

void OmbrixHalKeyEventSetHandler(OmbrixHalKeyEventHandler aHandler, void* aContext) noexcept {
  handlerContext = aContext;
  handler = aHandler;
}

intptr_t OMBRIX_HAL_KEY_EVENT_CALLBACK OmbrixHalKeyEventWindowProcedure(void* aWindow, uint32_t aMessage,
                                                                       uintptr_t aWParam, intptr_t aLParam) noexcept {
  uint32_t event = 0;
  uint32_t key = 0;
  if (const OmbrixHalKeyEventHandler keyHandler = handler;
      keyHandler != nullptr && mapKeyMessage(aMessage, aLParam, event) && mapVirtualKey(aWParam, key)) {
    keyHandler(handlerContext, key, event);
    return 0;
  }
  if (platform.DefaultWindowProcedure == nullptr) {
    return 0;
  }
  return platform.DefaultWindowProcedure(aWindow, aMessage, aWParam, aLParam);
}
