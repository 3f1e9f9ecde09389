// Frame: brings the modules up and down in their fixed order and forwards the frame's
// version and logger exports.
#include "OmbrixHal.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalPlatformInterface> framePlatformGetInterface = OmbrixHalPlatformGetInterface;
}

namespace {

constexpr const char* kInitName = "OmbrixHalInit";
constexpr const char* kHeaderVersionMismatch = "Header file version does not match library version";
constexpr uint32_t kIllegalNullParameter = 0x1003;

// Init and Done run on one thread, before and after all other use.
uint32_t initialised = 0;

// Deliberately never filled: Init reads the platform's table into a local copy only, so
// the hardware version stays "" and Done finds no platform done slot.
OmbrixHalPlatformInterface retainedPlatform{};

}  // namespace

OmbrixHalBool OmbrixHalInit_(const OmbrixHalInitParameter* aParameter, const char* aHeaderVersion) noexcept {
  if (initialised != 0) {
    return 1;
  }
  if (!OmbrixHalVersionCheckHeaderVersion(aHeaderVersion)) {
    OmbrixHalLoggerPrintf(kInitName, ombrixhal::kLogError, kHeaderVersionMismatch);
    return 0;
  }
  OmbrixHalPlatformInterface platform{};
  ombrixhal::seam::framePlatformGetInterface(&platform);
  const OmbrixHalInitParameter parameter = aParameter != nullptr ? *aParameter : OmbrixHalInitParameter{};

  OmbrixHalBool result = 1;
  if (platform.Init != nullptr) {
    result = platform.Init(parameter.PlatformArgument);
  }

  // The fixed start-up order; each module's own result is not looked at.
  OmbrixHalCriticalSectionInit();
  OmbrixHalMemoryInit(parameter.MemoryCheck);
  OmbrixHalClockInit();
  OmbrixHalThreadInit();
  OmbrixHalConsoleInit();
  OmbrixHalAudioOutInit();
  OmbrixHalCiInit();
  OmbrixHalFileInit();
  OmbrixHalFrontDisplayInit();
  OmbrixHalKeyEventInit();
  OmbrixHalTimerInit();
  OmbrixHalVideoOutInit();
  OmbrixHalUartInit();

  if (platform.PostInit != nullptr) {
    result = (result && platform.PostInit(parameter.PlatformArgument)) ? 1 : 0;
  }
  initialised = 1;
  return result;
}

OmbrixHalBool OmbrixHalDone(void) noexcept {
  if (initialised == 0) {
    return 0;
  }
  // Exactly the reverse of the start-up order.
  OmbrixHalUartDone();
  OmbrixHalVideoOutDone();
  OmbrixHalTimerDone();
  OmbrixHalKeyEventDone();
  OmbrixHalFrontDisplayDone();
  OmbrixHalFileDone();
  OmbrixHalCiDone();
  OmbrixHalAudioOutDone();
  OmbrixHalConsoleDone();
  OmbrixHalThreadDone();
  OmbrixHalClockDone();
  OmbrixHalMemoryDone();
  OmbrixHalCriticalSectionDone();

  if (retainedPlatform.Done != nullptr) {
    retainedPlatform.Done();
  }
  retainedPlatform = OmbrixHalPlatformInterface{};
  initialised = 0;
  return 1;
}

const char* OmbrixHalGetVersion(void) noexcept {
  return OmbrixHalVersionGetVersion();
}

OmbrixHalBool OmbrixHalCheckVersion(const char* aRequired, char* aMessage, uint32_t aMessageSize) noexcept {
  return OmbrixHalVersionCheckVersion(aRequired, aMessage, aMessageSize);
}

const char* OmbrixHalGetHardwareVersion(void) noexcept {
  return retainedPlatform.GetHardwareVersion != nullptr ? retainedPlatform.GetHardwareVersion() : "";
}

void OmbrixHalSetLogHandler(OmbrixHalLogHandler aHandler, void* aContext) noexcept {
  OmbrixHalLoggerSetLogHandler(aHandler, aContext);
}

OmbrixHalBool OmbrixHalEnableLog(uint32_t aLogId) noexcept {
  return OmbrixHalLoggerEnableLog(aLogId, 1, "OmbrixHalEnableLog");
}

OmbrixHalBool OmbrixHalDisableLog(uint32_t aLogId) noexcept {
  return OmbrixHalLoggerEnableLog(aLogId, 0, "OmbrixHalDisableLog");
}

int32_t OmbrixHalPlatformStart(OmbrixHalPlatformStartFunction aStart, uint32_t aA, uint32_t aB) noexcept {
  if (aStart == nullptr) {
    OmbrixHalLoggerPrint("OmbrixHalPlatformStart", kIllegalNullParameter, "aStart");
    return 0;
  }
  return aStart(0, aA, aB);
}
