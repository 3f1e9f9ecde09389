// Private: where tests replace a module's source of its platform table. Each module's
// Init reads its table through the pointer below, which starts at the module's own
// PlatformGetInterface export. Set before Init, restore after Done; never exported.
#ifndef OMBRIX_HAL_T_TEST_SEAMS_H
#define OMBRIX_HAL_T_TEST_SEAMS_H

#include "OmbrixHal.h"
#include "OmbrixHalTModule.h"

namespace ombrixhal::seam {

extern GetInterfaceFunction<OmbrixHalPlatformInterface> framePlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalCriticalSectionPlatformInterface> criticalSectionPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalMemoryPlatformInterface> memoryPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalClockPlatformInterface> clockPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalThreadPlatformInterface> threadPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalConsolePlatformInterface> consolePlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalAudioOutPlatformInterface> audioOutPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalCiPlatformInterface> ciPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalFrontDisplayPlatformInterface> frontDisplayPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalKeyEventPlatformInterface> keyEventPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalVideoOutPlatformInterface> videoOutPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalUartPlatformInterface> uartPlatformGetInterface;

// Where OmbrixHalTunerOpen creates the kinds it has no create function of its own for; starts
// at OmbrixHalTunerFactoryCreateTuner. Tests put a fake tuner kind here.
using TunerFactoryFunction = OmbrixHalTunerHandle (*)(OmbrixHalTunerType) noexcept;
extern TunerFactoryFunction tunerFactoryCreateTuner;

// The host's video window: the window calls that the device makes of its own. Starts with no
// screen (metrics 0) and a window that takes every call; the device platform has no such seam.
struct HostWindow {
  int32_t (*GetSystemMetrics)(int32_t aIndex) noexcept;
  OmbrixHalBool (*FillRect)(uintptr_t aWindow, int32_t aLeft, int32_t aTop, int32_t aRight, int32_t aBottom,
                            uint32_t aColour) noexcept;
  // Top-most at (aX, aY), aWidth x aHeight, shown.
  OmbrixHalBool (*SetWindowPos)(uintptr_t aWindow, int32_t aX, int32_t aY, int32_t aWidth, int32_t aHeight) noexcept;
};
extern HostWindow hostWindow;

// The banner that identifies the library file: "Ombrix Hal Version 1.30.04 Mmm dd yyyy".
extern const char* const versionBanner;

}  // namespace ombrixhal::seam

#endif
