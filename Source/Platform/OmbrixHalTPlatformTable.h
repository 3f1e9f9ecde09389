// Private, shared by every platform table: what each PlatformGetInterface export does.
#ifndef OMBRIX_HAL_T_PLATFORM_TABLE_H
#define OMBRIX_HAL_T_PLATFORM_TABLE_H

#include "OmbrixHalTypes.h"

namespace ombrixhal::platform {

// Writes the platform's one table for a module into the caller's; 0 when there is nowhere to write.
template <typename Interface>
OmbrixHalBool copyPlatformTable(Interface* aInterface, const Interface& table) noexcept {
  if (aInterface == nullptr) {
    return 0;
  }
  *aInterface = table;
  return 1;
}

}  // namespace ombrixhal::platform

#endif
