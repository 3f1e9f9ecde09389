// UART table of both platforms: the handheld has no serial port for the middleware, so no
// slot is filled and the table counts as not given.
#include "OmbrixHalUart.h"

OmbrixHalBool OmbrixHalUartPlatformGetInterface(OmbrixHalUartPlatformInterface* /*aInterface*/) noexcept {
  return 0;
}
