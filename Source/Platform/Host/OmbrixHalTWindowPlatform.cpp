// The video window on the host: the window calls go through a seam. It starts with the host
// player library's window when that library is the one loaded (it exports calls for it), and
// otherwise with no screen (800 x 480 then) and a window that takes every call.
#include <chrono>
#include <thread>

#include "OmbrixHalTTestSeams.h"
#include "Platform/Host/OmbrixHalTPlayerLibrary.h"
#include "Platform/OmbrixHalTWindow.h"
#include "voMTPHostWindow.h"

namespace {

// The loaded player library's call of that name, or null: looked up at each call, since the
// player library may be loaded after the HAL.
template <typename Function>
Function playerCall(const char* aName) noexcept {
  return reinterpret_cast<Function>(ombrixhal::findPlayerLibrarySymbol(aName));
}

}  // namespace

namespace ombrixhal::seam {
HostWindow hostWindow = {
    .GetSystemMetrics = [](int32_t aIndex) noexcept -> int32_t {
      const auto call = playerCall<voMTPHostScreenSizeFunction>(VOMTP_HOST_SCREEN_SIZE);
      return call != nullptr ? call(aIndex) : 0;
    },
    .FillRect = [](uintptr_t, int32_t aLeft, int32_t aTop, int32_t aRight, int32_t aBottom,
                   uint32_t aColour) noexcept -> OmbrixHalBool {
      const auto call = playerCall<voMTPHostFillWindowFunction>(VOMTP_HOST_FILL_WINDOW);
      return call == nullptr || (aLeft == 0 && aTop == 0 && call(aRight, aBottom, aColour) != 0) ? 1 : 0;
    },
    .SetWindowPos = [](uintptr_t, int32_t aX, int32_t aY, int32_t aWidth, int32_t aHeight) noexcept -> OmbrixHalBool {
      const auto call = playerCall<voMTPHostPlaceWindowFunction>(VOMTP_HOST_PLACE_WINDOW);
      return call == nullptr || (aX == 0 && aY == 0 && call(aWidth, aHeight) != 0) ? 1 : 0;
    },
};
}  // namespace ombrixhal::seam

namespace ombrixhal::window {

int32_t systemMetric(int32_t aIndex) noexcept {
  return seam::hostWindow.GetSystemMetrics(aIndex);
}

OmbrixHalBool fill(uintptr_t aWindow, int32_t aWidth, int32_t aHeight, uint32_t aColour) noexcept {
  return seam::hostWindow.FillRect(aWindow, 0, 0, aWidth, aHeight, aColour);
}

OmbrixHalBool placeOnTop(uintptr_t aWindow, int32_t aWidth, int32_t aHeight) noexcept {
  return seam::hostWindow.SetWindowPos(aWindow, 0, 0, aWidth, aHeight);
}

void pause(uint32_t aMilliseconds) noexcept {
  std::this_thread::sleep_for(std::chrono::milliseconds(aMilliseconds));
}

}  // namespace ombrixhal::window
