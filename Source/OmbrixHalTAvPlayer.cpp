// AV player: the middleware's face of the platform player. Every call checks its arguments,
// calls the platform's function of the same name and logs the outcome.
#include "OmbrixHalAvPlayer.h"
#include "OmbrixHalTAvPlayer.h"
#include "OmbrixHalTModule.h"

using ombrixhal::isGiven;

namespace {

constexpr const char* kThis = "This";
constexpr const char* kParameter = "aParameter";
constexpr uint32_t kCannotOpen = 0x1017;
constexpr uint32_t kSetParameterFailed = 0x1018;
constexpr uint32_t kIllegalPid = 0x1019;
constexpr uint32_t kPlayFailed = 0x101A;
constexpr uint32_t kOpened = 0x301B;
constexpr uint32_t kClosed = 0x301C;
constexpr uint32_t kSetParameterSucceeded = 0x301D;
constexpr uint32_t kPlayCalled = 0x301E;
constexpr uint32_t kStopped = 0x301F;
constexpr uint32_t kPidLimit = 0x2000;

// Play and the calls that share its lines: the platform's answer as "AV play called" or "AV play
// failed", under `logName` (the platform's own name for Run and Pause, kept).
OmbrixHalBool reportPlay(OmbrixHalBool result, const char* logName) noexcept {
  OmbrixHalLoggerPrint(logName, result ? kPlayCalled : kPlayFailed);
  return result;
}

template <OmbrixHalBool (*platform)(OmbrixHalAvPlayerHandle) noexcept>
OmbrixHalBool runControl(OmbrixHalAvPlayerHandle aThis, const char* name, const char* logName) noexcept {
  return isGiven(aThis, name, kThis) ? reportPlay(platform(aThis), logName) : 0;
}

// The stream-info calls: checked, and the platform's answer unlogged.
template <OmbrixHalBool (*platform)(OmbrixHalAvPlayerHandle, void*) noexcept>
OmbrixHalBool streamInfo(OmbrixHalAvPlayerHandle aThis, void* aInfo, const char* name, const char* infoName) noexcept {
  return isGiven(aThis, name, kThis) && isGiven(aInfo, name, infoName) ? platform(aThis, aInfo) : 0;
}

}  // namespace

OmbrixHalAvPlayerHandle OmbrixHalAvPlayerOpen(OmbrixHalTunerHandle aTuner) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerOpen";
  if (!isGiven(aTuner, kName, "aTuner")) {
    return nullptr;
  }
  OmbrixHalAvPlayerHandle player = OmbrixHalAvPlayerPlatformOpen(aTuner);
  if (player == nullptr) {
    OmbrixHalLoggerPrint(kName, kCannotOpen);
    return nullptr;
  }
  OmbrixHalLoggerPrint(kName, kOpened);
  player->Decoded = 0;
  player->Fresh = 1;
  return player;
}

void OmbrixHalAvPlayerClose(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerClose";
  if (isGiven(This, kName, kThis)) {
    OmbrixHalLoggerPrint(kName, kClosed);
    OmbrixHalAvPlayerPlatformClose(This);
  }
}

OmbrixHalBool OmbrixHalAvPlayerSetParameter(OmbrixHalAvPlayerHandle This,
                                            const OmbrixHalAvPlayerParameter* aParameter) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerSetParameter";
  if (!isGiven(This, kName, kThis) || !isGiven(aParameter, kName, kParameter)) {
    return 0;
  }
  const OmbrixHalAvPlayerParameter& p = *aParameter;
  // Checked in this order; the first bad PID is the only one named.
  for (const auto& [pid, field] : {std::pair{p.AudioPid, "aParameter->AudioPid"},
                                   std::pair{p.VideoPid, "aParameter->VideoPid"},
                                   std::pair{p.PcrPid, "aParameter->PcrPid"}}) {
    if (pid >= kPidLimit) {
      OmbrixHalLoggerPrint(kName, kIllegalPid, field, pid);
      return 0;
    }
  }
  const OmbrixHalBool result = OmbrixHalAvPlayerPlatformSetParameter(This, aParameter);
  OmbrixHalLoggerPrint(kName, result ? kSetParameterSucceeded : kSetParameterFailed, p.AudioPid, p.AudioType,
                       p.VideoPid, p.VideoType, p.PcrPid);
  return result;
}

OmbrixHalBool OmbrixHalAvPlayerGetParameter(OmbrixHalAvPlayerHandle This, OmbrixHalAvPlayerParameter* aParameter) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerGetParameter";
  if (!isGiven(This, kName, kThis) || !isGiven(aParameter, kName, kParameter)) {
    return 0;
  }
  return OmbrixHalAvPlayerPlatformGetParameter(This, aParameter);
}

OmbrixHalBool OmbrixHalAvPlayerPlay(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerPlay";
  return runControl<OmbrixHalAvPlayerPlatformPlay>(This, kName, kName);
}

OmbrixHalBool OmbrixHalAvPlayerIsStreamDecoded(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerIsStreamDecoded";
  if (This == nullptr) {
    OmbrixHalLoggerPrintf(kName, ombrixhal::kLogError, "Illegal value 'NULL' for parameter 'This'");
    return 0;
  }
  const OmbrixHalBool decoded = OmbrixHalAvPlayerPlatformIsStreamDecoded(This);
  // Once per drop: a run of not-decoded answers is reported at its start only.
  if (decoded == 0 && (This->Decoded != 0 || This->Fresh == 1)) {
    OmbrixHalLoggerPrintf(kName, ombrixhal::kLogWarning, "AV-Stream is not decoded");
  }
  This->Fresh = 0;
  This->Decoded = decoded;
  return decoded;
}

void OmbrixHalAvPlayerStop(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerStop";
  if (isGiven(This, kName, kThis)) {
    OmbrixHalLoggerPrint(kName, kStopped);
    OmbrixHalAvPlayerPlatformStop(This);
    This->Fresh = 1;
  }
}

OmbrixHalBool OmbrixHalAvPlayerGetAudioStreamInfo(OmbrixHalAvPlayerHandle This, void* aAudioStreamInfo) noexcept {
  return streamInfo<OmbrixHalAvPlayerPlatformGetAudioStreamInfo>(This, aAudioStreamInfo,
                                                                 "OmbrixHalAvPlayerGetAudioStreamInfo", "aAudioStreamInfo");
}

OmbrixHalBool OmbrixHalAvPlayerGetVideoStreamInfo(OmbrixHalAvPlayerHandle This, void* aVideoStreamInfo) noexcept {
  return streamInfo<OmbrixHalAvPlayerPlatformGetVideoStreamInfo>(This, aVideoStreamInfo,
                                                                 "OmbrixHalAvPlayerGetVideoStreamInfo", "aVideoStreamInfo");
}

OmbrixHalBool OmbrixHalAvPlayerSetScreen(OmbrixHalAvPlayerHandle This, const int32_t* aWidth,
                                         const int32_t* aHeight) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerSetScreen";
  return isGiven(This, kName, kThis) ? reportPlay(OmbrixHalAvPlayerPlatformSetScreen(This, aWidth, aHeight), kName) : 0;
}

OmbrixHalBool OmbrixHalAvPlayerSuspendAudio(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerSuspendAudio";
  return runControl<OmbrixHalAvPlayerPlatformSuspendAudio>(This, kName, kName);
}

OmbrixHalBool OmbrixHalAvPlayerResumeAudio(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerResumeAudio";
  return runControl<OmbrixHalAvPlayerPlatformResumeAudio>(This, kName, kName);
}

OmbrixHalBool OmbrixHalAvPlayerSuspendVideo(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerSuspendVideo";
  return runControl<OmbrixHalAvPlayerPlatformSuspendVideo>(This, kName, kName);
}

OmbrixHalBool OmbrixHalAvPlayerResumeVideo(OmbrixHalAvPlayerHandle This) noexcept {
  constexpr const char* kName = "OmbrixHalAvPlayerResumeVideo";
  return runControl<OmbrixHalAvPlayerPlatformResumeVideo>(This, kName, kName);
}

OmbrixHalBool OmbrixHalAvPlayerRun(OmbrixHalAvPlayerHandle This) noexcept {
  return runControl<OmbrixHalAvPlayerPlatformRun>(This, "OmbrixHalAvPlayerRun", "OmbrixHalAvPlayerPlatformRun");
}

OmbrixHalBool OmbrixHalAvPlayerPause(OmbrixHalAvPlayerHandle This) noexcept {
  return runControl<OmbrixHalAvPlayerPlatformPause>(This, "OmbrixHalAvPlayerPause", "OmbrixHalAvPlayerPlatformPause");
}
