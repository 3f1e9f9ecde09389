// Console table of both platforms: the C runtime's vprintf.
#include <cstdio>

#include "OmbrixHalConsole.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

int32_t print(const char* aFormat, va_list aArguments) noexcept {
  return std::vprintf(aFormat, aArguments);
}

constexpr OmbrixHalConsolePlatformInterface kConsolePlatform = {
    .Init = nullptr,
    .Done = nullptr,
    .Print = print,
};

}  // namespace

OmbrixHalBool OmbrixHalConsolePlatformGetInterface(OmbrixHalConsolePlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kConsolePlatform);
}
