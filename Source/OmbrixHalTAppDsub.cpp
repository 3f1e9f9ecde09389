// The display subsystem's frame-time hook: nothing to set on this platform.
#include "OmbrixHalAppDsub.h"

int32_t AppDsubSetFrameTimeForSync(uint32_t /*aFrameTime*/) noexcept {
  return 0;
}
