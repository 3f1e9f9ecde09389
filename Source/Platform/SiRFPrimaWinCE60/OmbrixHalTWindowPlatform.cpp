// The video window on the device: its window and drawing calls.
#include <windows.h>

#include "Platform/OmbrixHalTWindow.h"

namespace ombrixhal::window {

int32_t systemMetric(int32_t aIndex) noexcept {
  return GetSystemMetrics(aIndex);
}

OmbrixHalBool fill(uintptr_t aWindow, int32_t aWidth, int32_t aHeight, uint32_t aColour) noexcept {
  const auto window = reinterpret_cast<HWND>(aWindow);
  HBRUSH brush = CreateSolidBrush(aColour);
  HDC context = GetDC(window);
  RECT rectangle;
  // The window's own rectangle is read, then the player's size is filled from the origin.
  GetWindowRect(window, &rectangle);
  rectangle = RECT{0, 0, aWidth, aHeight};
  FillRect(context, &rectangle, brush);
  DeleteObject(brush);
  ReleaseDC(window, context);
  return 1;
}

OmbrixHalBool placeOnTop(uintptr_t aWindow, int32_t aWidth, int32_t aHeight) noexcept {
  return SetWindowPos(reinterpret_cast<HWND>(aWindow), HWND_TOPMOST, 0, 0, aWidth, aHeight, SWP_SHOWWINDOW) ? 1 : 0;
}

void pause(uint32_t aMilliseconds) noexcept {
  Sleep(aMilliseconds);
}

}  // namespace ombrixhal::window
