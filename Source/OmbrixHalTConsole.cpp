// Console: printf-style output through the platform, apart from the logger.
#include <cstdarg>

#include "OmbrixHalConsole.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalConsolePlatformInterface> consolePlatformGetInterface =
    OmbrixHalConsolePlatformGetInterface;
}

namespace {
OmbrixHalConsolePlatformInterface platform{};
}

OmbrixHalBool OmbrixHalConsoleInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::consolePlatformGetInterface);
}

void OmbrixHalConsoleDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

int32_t OmbrixHalConsolePrint(const char* aFormat, ...) noexcept {
  if (platform.Print == nullptr || aFormat == nullptr) {
    return -1;
  }
  va_list arguments;
  va_start(arguments, aFormat);
  const int32_t result = platform.Print(aFormat, arguments);
  va_end(arguments);
  return result;
}
