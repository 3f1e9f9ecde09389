// Host UART table: none, as on the device.
#include "OmbrixHalUart.h"

OmbrixHalBool OmbrixHalUartPlatformGetInterface(OmbrixHalUartPlatformInterface* /*aInterface*/) noexcept {
  return 0;
}
