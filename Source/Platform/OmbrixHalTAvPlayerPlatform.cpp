// The platform player: feeds the transport stream of one service from TS filters into the player
// library, which decodes and draws into the application's video window. There is one player.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "OmbrixHalAppDsub.h"
#include "OmbrixHalConsole.h"
#include "OmbrixHalTAvPlayer.h"
#include "OmbrixHalTTunerHead.h"
#include "Platform/OmbrixHalTWindow.h"

namespace {

constexpr int32_t kDefaultWidth = 800;
constexpr int32_t kDefaultHeight = 480;
constexpr uint32_t kDefaultFullScreenFormat = 3;
constexpr uint32_t kBackground = 0x0A0A0A;  // RGB(10, 10, 10)
constexpr uint32_t kSeparationMs = 10;      // between the control calls and the delivery thread
constexpr int32_t kStagingSize = 48128;     // 256 packets
constexpr uint32_t kAudioFlag = 0x10000;    // the DVB-T filter hands over the whole buffer
constexpr uint32_t kVideoFlag = 0x20000;    // the DVB-T filter only selects the PID

OmbrixHalAvPlayerPlatformPlayer player;

// Module state. The screen size and the window belong to the middleware's thread; the file-source
// flag and the staging buffer to the delivery thread but for the flag's setting.
int32_t screenWidth = kDefaultWidth;
int32_t screenHeight = kDefaultHeight;
uintptr_t window = 0;
bool sdkInitialised = false;
std::atomic<uint32_t> fileSource{0};
uint8_t staging[kStagingSize];
int32_t stagingFill = 0;

voMTPHandle decoderOf(const OmbrixHalAvPlayerPlatformPlayer& aPlayer) noexcept {
  return aPlayer.Decoder.load(std::memory_order_acquire);
}

OmbrixHalBool fillBackground() noexcept {
  return window != 0 ? ombrixhal::window::fill(window, screenWidth, screenHeight, kBackground) : 0;
}

void send(voMTPHandle aDecoder, const uint8_t* aData, uint32_t aLength, uint32_t aStreamId) noexcept {
  voMTPSendData(aDecoder, aData, aLength, aStreamId, VOMTP_SEND_FLAG_TS);
}

// The handler of both filters, on the delivery thread. A live source goes to the decoder at once;
// a recording is sent in chunks of up to a buffer, and only while the player runs. The fill level
// survives Stop and SetParameter: what was staged before a Stop goes out after the next Play.
void deliver(OmbrixHalFilterHandle, const uint8_t* aData, uint32_t aLength, void* aContext) noexcept {
  auto* target = static_cast<OmbrixHalAvPlayerPlatformPlayer*>(aContext);
  const voMTPHandle decoder = target != nullptr ? decoderOf(*target) : nullptr;
  if (decoder == nullptr) {
    return;
  }
  const uint32_t streamId = target->StreamId.load(std::memory_order_relaxed);
  if (fileSource.load(std::memory_order_relaxed) == 0) {
    send(decoder, aData, aLength, streamId);
    return;
  }
  if (target->Running.load(std::memory_order_acquire) == 0 || aLength > uint32_t{kStagingSize}) {
    return;
  }
  if (stagingFill + int32_t(aLength) > kStagingSize - 1) {
    send(decoder, staging, uint32_t(stagingFill), streamId);
    stagingFill = 0;
  }
  std::memcpy(staging + stagingFill, aData, aLength);
  stagingFill += int32_t(aLength);
}

// Opens, sets and starts one TS filter feeding the player; false when it could not be opened or
// the table is full.
bool addFilter(OmbrixHalAvPlayerPlatformPlayer& aPlayer, const char* aName, uint32_t aPid, void* aContext) noexcept {
  if (aPlayer.FilterCount >= kOmbrixHalAvPlayerFilterCount) {
    return false;  // a third SetParameter without Stop: no room left
  }
  OmbrixHalFilterHandle filter = OmbrixHalFilterOpen(aPlayer.Tuner, OMBRIX_HAL_FILTER_TYPE_TS, aName, deliver, aContext);
  aPlayer.Filters[aPlayer.FilterCount] = filter;
  if (filter == nullptr) {
    return false;
  }
  OmbrixHalFilterParameter parameter{};
  parameter.pid = aPid;
  if (OmbrixHalFilterSetParameter(filter, &parameter)) {
    OmbrixHalFilterStart(filter);
  }
  return ++aPlayer.FilterCount < kOmbrixHalAvPlayerFilterCount;
}

// The decoder's messages. A picture format asks for full screen when the screen is the
// default panel's size.
int32_t openCallback(int32_t aMessageType, const uint32_t* aPayload) {
  OmbrixHalConsolePrint("Player Open callback Notify VOMTPMSGTYPE %d \n", aMessageType);
  if (aMessageType == VOMTP_MESSAGE_VIDEO_FORMAT) {
    OmbrixHalConsolePrint("Player Open callback Notify 0701 VOMTPMSGTYPE %d interlacing flag %d  \n", aMessageType,
                          aPayload[4] != 0 ? 1 : 0);
    OmbrixHalConsolePrint("Player Open callback Notify width %d height %d  \n", int32_t(aPayload[1]),
                          int32_t(aPayload[2]));
    return screenWidth == kDefaultWidth && screenHeight == kDefaultHeight ? 3 : 2;
  }
  if (aMessageType == VOMTP_MESSAGE_TIME_STAMP) {
    OmbrixHalConsolePrint("Player Open callback Notify VOMTPMSGTYPE %d nTS %d ,nTS*90 %u  \n", aMessageType,
                          int32_t(aPayload[0]), uint32_t(aPayload[0] * 90u));
  }
  return 1;
}

template <int32_t (*call)(voMTPHandle)>
OmbrixHalBool decoderCall(OmbrixHalAvPlayerHandle aThis) noexcept {
  return aThis != nullptr && call(decoderOf(*aThis)) == 0 ? 1 : 0;
}

}  // namespace

OmbrixHalBool OmbrixHalAvPlayerPlatformInit(uintptr_t aPlatformArgument) noexcept {
  if (voMTPInit(VOMTP_INIT_MEMORY) != 0) {
    return 0;
  }
  screenWidth = ombrixhal::window::systemMetric(0);
  screenHeight = ombrixhal::window::systemMetric(1);
  if (screenWidth == 0 || screenHeight == 0) {
    screenWidth = kDefaultWidth;
    screenHeight = kDefaultHeight;
  }
  // The platform argument is the address of the application's window record.
  window = 0;
  if (aPlatformArgument != 0) {
    std::memcpy(&window, reinterpret_cast<const void*>(aPlatformArgument), sizeof window);
  }
  sdkInitialised = true;
  return 1;
}

void OmbrixHalAvPlayerPlatformDone(void) noexcept {
  if (sdkInitialised) {
    voMTPUnInit();
    sdkInitialised = false;
  }
}

OmbrixHalAvPlayerHandle OmbrixHalAvPlayerPlatformOpen(OmbrixHalTunerHandle aTuner) noexcept {
  // A second Open resets the one player.
  player.Decoded = player.Fresh = 0;
  player.Tuner = aTuner;
  std::fill(std::begin(player.Filters), std::end(player.Filters), nullptr);
  player.FilterCount = 0;
  player.StreamId = 0;
  player.Decoder = nullptr;
  player.Running = 0;
  player.Parameter = {};
  player.Ready = 0;
  player.FullScreenFormat = kDefaultFullScreenFormat;
  player.Valid = 1;
  return &player;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformSetParameter(OmbrixHalAvPlayerHandle This,
                                                    const OmbrixHalAvPlayerParameter* aParameter) noexcept {
  This->Parameter = *aParameter;
  This->Ready = 0;
  This->StreamId = aParameter->AudioPid | aParameter->VideoPid << 13;
  // A decoder of an earlier SetParameter is not closed first.
  voMTPHandle decoder = nullptr;
  const int32_t opened = voMTPOpen(&decoder, VOMTP_OPEN_SOURCE, VOMTP_OPEN_MODE, VOMTP_OPEN_FLAGS,
                                   reinterpret_cast<void*>(window), openCallback);
  if (opened != 0) {
    OmbrixHalConsolePrint("Player Open failed: %08x\n", uint32_t(opened));
    return 0;
  }
  This->Decoder.store(decoder, std::memory_order_release);
  // A recording passes every PID to the player; live reception selects them at the receiver.
  const bool fromFile = This->Tuner->ParameterType == OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE;
  fileSource = fromFile ? 1 : 0;
  if (!addFilter(*This, "FilterAudio", fromFile ? OMBRIX_HAL_FILTER_PID_ALL : This->Parameter.AudioPid | kAudioFlag,
                 This)) {
    return 0;
  }
  if (!fromFile && This->Parameter.VideoPid != 0 &&
      !addFilter(*This, "FilterVideo", This->Parameter.VideoPid | kVideoFlag, nullptr)) {
    return 0;
  }
  This->Ready = 1;
  return 1;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformGetParameter(OmbrixHalAvPlayerHandle This,
                                                    OmbrixHalAvPlayerParameter* aParameter) noexcept {
  *aParameter = This->Parameter;
  return 1;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformPlay(OmbrixHalAvPlayerHandle This) noexcept {
  if (This->Ready == 0) {
    return 0;
  }
  This->Running.store(1, std::memory_order_release);
  ombrixhal::window::pause(kSeparationMs);
  const voMTPHandle decoder = decoderOf(*This);
  const int32_t started = voMTPInitStream(decoder, VOMTP_STREAM_BUFFER_MS);
  if (started < 0) {
    OmbrixHalConsolePrint("Player Init Stream fail: 0x%08x\n", uint32_t(started));
    return 0;
  }
  voMTPSetDrawMode(decoder, 0);
  voMTPSetFullScreenFormat(decoder, This->FullScreenFormat);
  voMTPSetParam(decoder, VOMTP_PARAM_ID_SYNC, 0);
  voMTPSetPreloadTime(decoder, VOMTP_PRELOAD_MS);
  voMTPSetDrawRect(decoder, 0, 0, screenWidth, screenHeight);
  fillBackground();
  voMTPRun(decoder);
  return 1;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformIsStreamDecoded(OmbrixHalAvPlayerHandle) noexcept {
  return 1;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformStop(OmbrixHalAvPlayerHandle This) noexcept {
  ombrixhal::window::pause(kSeparationMs);
  // The filters first: their Close returns once no delivery is under way, so none reaches the
  // decoder closed below.
  for (int32_t index = 0; index < This->FilterCount; ++index) {
    if (This->Filters[index] != nullptr) {
      OmbrixHalFilterStop(This->Filters[index]);
      OmbrixHalFilterClose(This->Filters[index]);
      This->Filters[index] = nullptr;
    }
  }
  This->FilterCount = 0;
  This->Running.store(0, std::memory_order_release);
  ombrixhal::window::pause(kSeparationMs);
  if (const voMTPHandle decoder = decoderOf(*This); decoder != nullptr) {
    voMTPStop(decoder);
    voMTPClose(decoder);
    This->Decoder.store(nullptr, std::memory_order_release);
  }
  return fillBackground();
}

void OmbrixHalAvPlayerPlatformClose(OmbrixHalAvPlayerHandle This) noexcept {
  if (This != nullptr && This->Running.load(std::memory_order_acquire) != 0) {
    OmbrixHalAvPlayerPlatformStop(This);
  }
}

void OmbrixHalAvPlayerPlatformEnableDescrambling(OmbrixHalAvPlayerHandle) noexcept {}

void OmbrixHalAvPlayerPlatformDisableDescrambling(OmbrixHalAvPlayerHandle) noexcept {}

OmbrixHalBool OmbrixHalAvPlayerPlatformGetAudioStreamInfo(OmbrixHalAvPlayerHandle, void*) noexcept {
  return 0;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformGetVideoStreamInfo(OmbrixHalAvPlayerHandle, void*) noexcept {
  return 0;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformSetFullScreenType(uint32_t aFormat) noexcept {
  player.FullScreenFormat = aFormat;
  if (const voMTPHandle decoder = decoderOf(player); decoder != nullptr) {
    voMTPSetFullScreenFormat(decoder, aFormat);
    voMTPSetDrawRect(decoder, 0, 0, screenWidth, screenHeight);
    fillBackground();
  }
  return player.Valid;
}

void* OmbrixHalAvPlayerPlatformGetHandle(void) noexcept {
  return decoderOf(player);
}

OmbrixHalBool OmbrixHalAvPlayerPlatformSetScreen(OmbrixHalAvPlayerHandle This, const int32_t* aWidth,
                                                 const int32_t* aHeight) noexcept {
  if (This == nullptr || aWidth == nullptr || aHeight == nullptr) {
    return 0;
  }
  fillBackground();  // with the old size
  ombrixhal::window::placeOnTop(window, *aWidth, *aHeight);
  screenWidth = *aWidth;
  screenHeight = *aHeight;
  return voMTPSetDrawRect(decoderOf(*This), 0, 0, screenWidth, screenHeight) == 0 ? 1 : 0;
}

OmbrixHalBool OmbrixHalAvPlayerPlatformSuspendAudio(OmbrixHalAvPlayerHandle This) noexcept {
  return decoderCall<voMTPSuspendAudio>(This);
}

OmbrixHalBool OmbrixHalAvPlayerPlatformResumeAudio(OmbrixHalAvPlayerHandle This) noexcept {
  return decoderCall<voMTPResumeAudio>(This);
}

OmbrixHalBool OmbrixHalAvPlayerPlatformSuspendVideo(OmbrixHalAvPlayerHandle This) noexcept {
  return decoderCall<voMTPSuspendVideo>(This);
}

OmbrixHalBool OmbrixHalAvPlayerPlatformResumeVideo(OmbrixHalAvPlayerHandle This) noexcept {
  return decoderCall<voMTPResumeVideo>(This);
}

OmbrixHalBool OmbrixHalAvPlayerPlatformRun(OmbrixHalAvPlayerHandle This) noexcept {
  return decoderCall<voMTPRun>(This);
}

OmbrixHalBool OmbrixHalAvPlayerPlatformPause(OmbrixHalAvPlayerHandle This) noexcept {
  return decoderCall<voMTPPause>(This);
}

int32_t AppDsubSetFrameTimeForSync(uint32_t /*aFrameTime*/) noexcept {
  return 0;
}
