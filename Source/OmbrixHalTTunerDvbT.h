// Private: what the DVB-T TS filters read of their tuner beyond its exports.
#ifndef OMBRIX_HAL_T_TUNER_DVB_T_H
#define OMBRIX_HAL_T_TUNER_DVB_T_H

#include <cstdint>

#include "OmbrixHalTuner.h"

namespace ombrixhal {

inline constexpr uint8_t kNoDriverObject = 255;  // no channel, no filter

// The driver's channel of a DVB-T tuner: kNoDriverObject when it has none or is of another kind.
uint8_t dvbTChannelOf(OmbrixHalTunerHandle aTuner) noexcept;

// Removes every PID entry of a DVB-T tuner that delivers to aContext, as
// OmbrixHalTunerDvbTRemovePid removes one.
void removeDvbTPidsOf(OmbrixHalTunerHandle aTuner, void* aContext) noexcept;

}  // namespace ombrixhal

#endif
