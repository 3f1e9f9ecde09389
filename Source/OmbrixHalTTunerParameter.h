// Private: the tuner texts that other tuner modules print.
#ifndef OMBRIX_HAL_T_TUNER_PARAMETER_H
#define OMBRIX_HAL_T_TUNER_PARAMETER_H

#include "OmbrixHalTuner.h"

namespace ombrixhal {

// "UNKNOWN", "WAIT FOR LOCK", "NOT LOCKED", "LOCKED"; a value outside 0..3 gives "UNKNOWN".
const char* tunerStatusText(OmbrixHalTunerStatus aStatus) noexcept;

}  // namespace ombrixhal

#endif
