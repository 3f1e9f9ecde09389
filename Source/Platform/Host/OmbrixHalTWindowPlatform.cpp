// The video window on the host: the window calls go through a seam, which starts with no screen
// (800 x 480 then) and a window that takes every call.
#include <chrono>
#include <thread>

#include "OmbrixHalTTestSeams.h"
#include "Platform/OmbrixHalTWindow.h"

namespace ombrixhal::seam {
HostWindow hostWindow = {
    .GetSystemMetrics = [](int32_t) noexcept -> int32_t { return 0; },
    .FillRect = [](uintptr_t, int32_t, int32_t, int32_t, int32_t, uint32_t) noexcept -> OmbrixHalBool { return 1; },
    .SetWindowPos = [](uintptr_t, int32_t, int32_t, int32_t, int32_t) noexcept -> OmbrixHalBool { return 1; },
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
