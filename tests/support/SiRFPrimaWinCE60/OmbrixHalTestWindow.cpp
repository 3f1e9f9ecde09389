// The video window of the AV player's tests on the device build: a real window.
#include "OmbrixHalTestWindow.h"

#include <windows.h>

namespace ombrixhal::test {

TestWindow::TestWindow() {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = DefWindowProcW;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.lpszClassName = L"OmbrixHalTestWindow";
  RegisterClassW(&windowClass);  // fails harmlessly when registered before
  handle_ = reinterpret_cast<uintptr_t>(CreateWindowExW(0, windowClass.lpszClassName, L"video", WS_POPUP | WS_VISIBLE,
                                                        100, 100, 320, 240, nullptr, nullptr, windowClass.hInstance,
                                                        nullptr));
}

TestWindow::~TestWindow() { DestroyWindow(reinterpret_cast<HWND>(handle_)); }

uint32_t TestWindow::pixel(int32_t aX, int32_t aY) const {
  HDC context = GetDC(reinterpret_cast<HWND>(handle_));
  const COLORREF colour = GetPixel(context, aX, aY);
  ReleaseDC(reinterpret_cast<HWND>(handle_), context);
  return colour;
}

std::array<int32_t, 4> TestWindow::rectangle() const {
  RECT r{};
  GetWindowRect(reinterpret_cast<HWND>(handle_), &r);
  return {r.left, r.top, r.right, r.bottom};
}

bool TestWindow::topmost() const {
  return (GetWindowLongW(reinterpret_cast<HWND>(handle_), GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
}

std::array<int32_t, 2> TestWindow::screen() { return {GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}; }

}  // namespace ombrixhal::test

