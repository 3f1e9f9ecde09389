// Private, host only: the host's player library has calls beyond the vendor's (its window), which
// the HAL uses when that library is the one loaded. The device's player library has none.
#ifndef OMBRIX_HAL_T_PLAYER_LIBRARY_H
#define OMBRIX_HAL_T_PLAYER_LIBRARY_H

namespace ombrixhal {

// The entry point of that name in the player library that the process has already loaded, or
// NULL; never loads it.
void* findPlayerLibrarySymbol(const char* name) noexcept;

}  // namespace ombrixhal

#endif
