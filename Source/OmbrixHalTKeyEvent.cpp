// Key events: only the module frame; the key mapping is the platform's.
#include "OmbrixHalKeyEvent.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalKeyEventPlatformInterface> keyEventPlatformGetInterface =
    OmbrixHalKeyEventPlatformGetInterface;
}

namespace {
OmbrixHalKeyEventPlatformInterface platform{};
}

OmbrixHalBool OmbrixHalKeyEventInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::keyEventPlatformGetInterface);
}

OmbrixHalBool OmbrixHalKeyEventDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
  return 1;
}
