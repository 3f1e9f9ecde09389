// The video window of the AV player's tests on the host: what the HAL's window seam was asked.
#include "OmbrixHalTestWindow.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::test {
namespace {

// The one window the seam draws into: its filled rectangle and colour, and where it was put.
struct HostWindowState {
  std::array<int32_t, 4> filled{};
  uint32_t colour = 0;
  std::array<int32_t, 4> placed{100, 100, 420, 340};
  bool topmost = false;
} window;
seam::HostWindow hostDefault{};

}  // namespace

TestWindow::TestWindow() {
  window = {};
  handle_ = 0x7e57;
  hostDefault = seam::hostWindow;
  seam::hostWindow.FillRect = [](uintptr_t aWindow, int32_t aLeft, int32_t aTop, int32_t aRight, int32_t aBottom,
                                 uint32_t aColour) noexcept -> OmbrixHalBool {
    window.filled = {aLeft, aTop, aRight, aBottom};
    window.colour = aColour;
    return aWindow == 0x7e57;
  };
  seam::hostWindow.SetWindowPos = [](uintptr_t aWindow, int32_t aX, int32_t aY, int32_t aWidth,
                                     int32_t aHeight) noexcept -> OmbrixHalBool {
    window.placed = {aX, aY, aX + aWidth, aY + aHeight};
    window.topmost = true;
    return aWindow == 0x7e57;
  };
}

TestWindow::~TestWindow() { seam::hostWindow = hostDefault; }

uint32_t TestWindow::pixel(int32_t aX, int32_t aY) const {
  const auto& f = window.filled;
  return aX >= f[0] && aX < f[2] && aY >= f[1] && aY < f[3] ? window.colour : 0xFFFFFFFFu;
}

std::array<int32_t, 4> TestWindow::rectangle() const { return window.placed; }

bool TestWindow::topmost() const { return window.topmost; }

std::array<int32_t, 2> TestWindow::screen() { return {0, 0}; }

}  // namespace ombrixhal::test
