// Power: nothing to switch on this platform, whose power state the operating system keeps.
#include "OmbrixHalPower.h"

void OmbrixHalPowerEnterStandby(void) noexcept {}

void OmbrixHalPowerLeaveStandby(void) noexcept {}
