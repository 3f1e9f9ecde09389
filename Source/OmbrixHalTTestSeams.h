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
extern GetInterfaceFunction<OmbrixHalCiPlatformInterface> ciPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalFrontDisplayPlatformInterface> frontDisplayPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalKeyEventPlatformInterface> keyEventPlatformGetInterface;
extern GetInterfaceFunction<OmbrixHalUartPlatformInterface> uartPlatformGetInterface;

// Where OmbrixHalTunerOpen creates the kinds it has no create function of its own for; starts
// at OmbrixHalTunerFactoryCreateTuner. Tests put a fake tuner kind here.
using TunerFactoryFunction = OmbrixHalTunerHandle (*)(OmbrixHalTunerType) noexcept;
extern TunerFactoryFunction tunerFactoryCreateTuner;

// The banner that identifies the library file: "Ombrix Hal Version 1.30.04 Mmm dd yyyy".
extern const char* const versionBanner;

}  // namespace ombrixhal::seam

#endif
