// The application's video window for the AV player's tests: on the device build a real window
// (the run needs a display), on the host what the HAL's window seam was asked to do.
#ifndef OMBRIX_HAL_TEST_WINDOW_H
#define OMBRIX_HAL_TEST_WINDOW_H

#include <array>
#include <cstdint>

namespace ombrixhal::test {

class TestWindow {
 public:
  TestWindow();
  ~TestWindow();
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  // The window record that the start record's platform argument points at.
  uintptr_t record() const { return reinterpret_cast<uintptr_t>(&handle_); }
  // The colour at (aX, aY) of the window, 0x00BBGGRR.
  uint32_t pixel(int32_t aX, int32_t aY) const;
  // Left, top, right, bottom on the screen, and whether it stays on top of the others.
  std::array<int32_t, 4> rectangle() const;
  bool topmost() const;
  // The screen as the windowing system reports it (0 x 0 on the host).
  static std::array<int32_t, 2> screen();

 private:
  uintptr_t handle_ = 0;
};

}  // namespace ombrixhal::test

#endif
