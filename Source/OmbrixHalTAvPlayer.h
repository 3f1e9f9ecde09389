// Private: the one player record. Its first two words belong to the portable half, the rest
// to the platform half.
#ifndef OMBRIX_HAL_T_AV_PLAYER_H
#define OMBRIX_HAL_T_AV_PLAYER_H

#include <atomic>

#include "OmbrixHalAvPlayer.h"
#include "OmbrixHalFilter.h"
#include "voMTPSDK.h"

inline constexpr int kOmbrixHalAvPlayerFilterCount = 4;

struct OmbrixHalAvPlayerPlatformPlayer {
  uint32_t Decoded;  // the last answer of the decoded test
  uint32_t Fresh;    // 1 after Open and Stop, 0 after the first decoded test
  OmbrixHalTunerHandle Tuner;
  OmbrixHalFilterHandle Filters[kOmbrixHalAvPlayerFilterCount];  // in opening order
  int32_t FilterCount;
  // What the delivery thread reads while the middleware's thread sets them: atomics, as no lock
  // guards the record.
  std::atomic<uint32_t> StreamId;  // AudioPid | VideoPid << 13
  std::atomic<voMTPHandle> Decoder;
  std::atomic<uint32_t> Running;   // 1 from Play until Stop
  uint32_t Valid;                  // 1 after Open
  OmbrixHalAvPlayerParameter Parameter;
  uint32_t Ready;                  // 1 once SetParameter completed
  uint32_t FullScreenFormat;
};

#endif
