// Private: what the AV player does to the application's video window, in the windowing
// system's own steps. The device does them with its window calls; the host through a seam
// that a player showing real pictures, or a test, fills.
#ifndef OMBRIX_HAL_T_WINDOW_H
#define OMBRIX_HAL_T_WINDOW_H

#include <cstdint>

#include "OmbrixHalTypes.h"

namespace ombrixhal::window {

// The screen's width (index 0) or height (index 1) in pixels; 0 when unknown.
int32_t systemMetric(int32_t aIndex) noexcept;
// Fills the rectangle (0, 0, aWidth, aHeight) of aWindow with a solid colour (0x00BBGGRR).
OmbrixHalBool fill(uintptr_t aWindow, int32_t aWidth, int32_t aHeight, uint32_t aColour) noexcept;
// Puts aWindow on top of all others at the origin, aWidth x aHeight, and shows it.
OmbrixHalBool placeOnTop(uintptr_t aWindow, int32_t aWidth, int32_t aHeight) noexcept;
void pause(uint32_t aMilliseconds) noexcept;

}  // namespace ombrixhal::window

#endif
