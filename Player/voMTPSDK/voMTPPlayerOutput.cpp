// The outputs of a decoder. The library's one window is drawn on the video threads and filled
// and placed by the HAL's host calls, and the audio device is fed from the audio thread; SDL's
// subsystems are started under one lock.
#include "voMTPPlayerOutput.h"

#include "voMTPHostWindow.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace vomtpplayer {

namespace {
constexpr uint8_t kBackground = 10;  // RGB(10,10,10) around the picture
constexpr int kQueuedAudioMs = 200;  // what the audio device is given ahead

std::mutex& sdlMutex() {
  static std::mutex mutex;
  return mutex;
}

bool startSdl(uint32_t aSubsystem) {
  std::lock_guard lock(sdlMutex());
  return SDL_InitSubSystem(aSubsystem) == 0;
}

void stopSdl(uint32_t aSubsystem) {
  std::lock_guard lock(sdlMutex());
  SDL_QuitSubSystem(aSubsystem);
}

// The window that stands for the application's, shared by the decoders and the HAL's host calls
// and kept until the library is uninitialised. Every SDL video call goes under its lock, and it
// renders in software, so that whichever thread holds the lock may draw.
struct Screen {
  std::mutex mutex;
  bool videoInit = false;
  SDL_Window* window = nullptr;
  SDL_Renderer* renderer = nullptr;
  // The keys' thread, while a window procedure is set.
  std::mutex keysMutex;
  std::thread keys;
  std::atomic<voMTPHostWindowProcedure> procedure{nullptr};
};

Screen& screen() {
  static Screen* instance = new Screen;  // never destroyed: a call during exit still finds it
  return *instance;
}

bool startVideo(Screen& aScreen) {
  if (!aScreen.videoInit) {
    aScreen.videoInit = startSdl(SDL_INIT_VIDEO);
  }
  return aScreen.videoInit;
}

// Under the screen's lock: the renderer of the window, made aWidth x aHeight at the screen's
// origin when there is none yet; null with SDL's error.
SDL_Renderer* openScreen(Screen& aScreen, int aWidth, int aHeight) {
  if (!aScreen.window && startVideo(aScreen)) {
    aScreen.window = SDL_CreateWindow("voMTP", 0, 0, aWidth, aHeight, 0);
  }
  if (aScreen.window && !aScreen.renderer) {
    aScreen.renderer = SDL_CreateRenderer(aScreen.window, -1, SDL_RENDERER_SOFTWARE);
  }
  return aScreen.renderer;
}

void putLittle(std::FILE* aFile, uint32_t aValue, int aBytes) {
  for (int index = 0; index < aBytes; ++index) {
    std::fputc(int((aValue >> (8 * index)) & 0xFF), aFile);
  }
}

void wavHeader(std::FILE* aFile, uint64_t aDataBytes, int aChannels, int aRate) {
  const uint32_t data = uint32_t(std::min<uint64_t>(aDataBytes, 0xFFFFFFFFu - 36));
  std::fputs("RIFF", aFile);
  putLittle(aFile, 36 + data, 4);
  std::fputs("WAVEfmt ", aFile);
  putLittle(aFile, 16, 4);
  putLittle(aFile, 1, 2);  // PCM
  putLittle(aFile, uint32_t(aChannels), 2);
  putLittle(aFile, uint32_t(aRate), 4);
  putLittle(aFile, uint32_t(aRate * aChannels * 2), 4);
  putLittle(aFile, uint32_t(aChannels * 2), 2);
  putLittle(aFile, 16, 2);
  std::fputs("data", aFile);
  putLittle(aFile, data, 4);
}
}  // namespace

Output::Output(Player& aPlayer, const Settings& aSettings) : mPlayer(aPlayer), mSettings(aSettings) {
  if (!mSettings.timelinePath.empty()) {
    mTimeline = std::fopen(mSettings.timelinePath.c_str(), "w");
  }
}

Output::~Output() {
  finish();
  closeWindow();
  sws_freeContext(mScaler);
  sws_freeContext(mYuvScaler);
  if (mAudioDevice) {
    SDL_CloseAudioDevice(mAudioDevice);
  }
  if (mAudioInit) {
    stopSdl(SDL_INIT_AUDIO);
  }
}

void Output::closeWindow() {
  std::lock_guard lock(screen().mutex);
  if (mTexture) {
    SDL_DestroyTexture(mTexture);
    mTexture = nullptr;
  }
}

namespace {
constexpr uint32_t kKeyDown = 0x0100, kKeyUp = 0x0101;
constexpr intptr_t kRepeat = intptr_t{1} << 30;
constexpr auto kKeyPoll = std::chrono::milliseconds(20);

// The device window system's virtual-key code of an SDL key; 0 for one without.
uintptr_t virtualKey(SDL_Keycode aKey) {
  if ((aKey >= SDLK_0 && aKey <= SDLK_9) || aKey == SDLK_SPACE) {
    return uintptr_t(aKey);  // the same codes as ASCII
  }
  if (aKey >= SDLK_a && aKey <= SDLK_z) {
    return uintptr_t(aKey - SDLK_a + 'A');
  }
  if (aKey >= SDLK_KP_1 && aKey <= SDLK_KP_9) {
    return uintptr_t(0x61 + aKey - SDLK_KP_1);
  }
  if (aKey >= SDLK_F1 && aKey <= SDLK_F12) {
    return uintptr_t(0x70 + aKey - SDLK_F1);
  }
  static const std::pair<SDL_Keycode, uintptr_t> kKeys[] = {
      {SDLK_KP_0, 0x60},      {SDLK_UP, 0x26},         {SDLK_DOWN, 0x28},        {SDLK_LEFT, 0x25},
      {SDLK_RIGHT, 0x27},     {SDLK_RETURN, 0x0d},     {SDLK_KP_ENTER, 0x0d},    {SDLK_BACKSPACE, 0x08},
      {SDLK_ESCAPE, 0x1b},    {SDLK_APPLICATION, 0x5d}, {SDLK_PAGEUP, 0x21},     {SDLK_PAGEDOWN, 0x22},
      {SDLK_VOLUMEUP, 0xaf},  {SDLK_VOLUMEDOWN, 0xae}, {SDLK_AUDIOMUTE, 0xad},   {SDLK_MUTE, 0xad},
      {SDLK_PLUS, 0xbb},      {SDLK_EQUALS, 0xbb},     {SDLK_MINUS, 0xbd},
  };
  for (const auto& [key, code] : kKeys) {
    if (key == aKey) {
      return code;
    }
  }
  return 0;
}

// Takes the window's key events and hands them to the procedure as window messages, outside the
// window's lock: the procedure may well call the library again.
void deliverKeys(Screen& aScreen) {
  struct Message {
    uint32_t message;
    uintptr_t key;
    intptr_t flags;
  };
  std::vector<Message> messages;
  while (voMTPHostWindowProcedure procedure = aScreen.procedure) {
    void* window = nullptr;
    {
      std::lock_guard lock(aScreen.mutex);
      SDL_Event event;
      while (aScreen.window && SDL_PollEvent(&event)) {
        const uintptr_t key = event.type == SDL_KEYDOWN || event.type == SDL_KEYUP ? virtualKey(event.key.keysym.sym) : 0;
        if (key != 0) {
          messages.push_back({event.type == SDL_KEYDOWN ? kKeyDown : kKeyUp, key, event.key.repeat ? kRepeat : 0});
        }
      }
      window = aScreen.window;
    }
    for (const Message& message : messages) {
      procedure(window, message.message, message.key, message.flags);
    }
    messages.clear();
    std::this_thread::sleep_for(kKeyPoll);
  }
}

void setProcedure(Screen& aScreen, voMTPHostWindowProcedure aProcedure) {
  std::lock_guard lock(aScreen.keysMutex);
  aScreen.procedure = aProcedure;
  if (!aProcedure && aScreen.keys.joinable()) {
    aScreen.keys.join();
  } else if (aProcedure && !aScreen.keys.joinable()) {
    aScreen.keys = std::thread(deliverKeys, std::ref(aScreen));
  }
}
}  // namespace

void closeScreen() {
  Screen& state = screen();
  setProcedure(state, nullptr);
  std::lock_guard lock(state.mutex);
  if (state.renderer) {
    SDL_DestroyRenderer(state.renderer);
  }
  if (state.window) {
    SDL_DestroyWindow(state.window);
  }
  if (state.videoInit) {
    stopSdl(SDL_INIT_VIDEO);
  }
  state.renderer = nullptr;
  state.window = nullptr;
  state.videoInit = false;
}

void Output::setDrawRect(const Rect& aRect) {
  std::lock_guard lock(mLayoutMutex);
  mDrawRect = aRect;
}

void Output::setFullScreen(FullScreen aFormat) {
  std::lock_guard lock(mLayoutMutex);
  mFullScreen = aFormat;
}

void Output::picture(const AVFrame& aFrame, uint32_t aIndex) {
  if (!mSettings.headless) {
    draw(aFrame);
  } else if (!mSettings.headlessDirectory.empty() && aIndex % mSettings.frameEvery == 0) {
    writeImage(aFrame, aIndex);
  }
}

void Output::timeline(uint32_t aIndex, int64_t aFrameMs, int64_t aPresentedMs) {
  if (mTimeline) {
    const int64_t audio = mPlayer.clock().audioClock();
    std::fprintf(mTimeline, "frame %u time %lld presented %lld audio %lld\n", aIndex, (long long)aFrameMs,
                 (long long)aPresentedMs, (long long)(audio == kNoTime ? -1 : audio));
  }
}

void Output::writeImage(const AVFrame& aFrame, uint32_t aIndex) {
  mScaler = sws_getCachedContext(mScaler, aFrame.width, aFrame.height, AVPixelFormat(aFrame.format), aFrame.width,
                                 aFrame.height, AV_PIX_FMT_RGB24, SWS_BICUBIC, nullptr, nullptr, nullptr);
  if (!mScaler) {
    mPlayer.reportOnce("rgb", "no conversion of this picture format to RGB");
    return;
  }
  const int stride = aFrame.width * 3;
  mRgb.resize(size_t(stride) * size_t(aFrame.height));
  uint8_t* planes[4] = {mRgb.data(), nullptr, nullptr, nullptr};
  int strides[4] = {stride, 0, 0, 0};
  sws_scale(mScaler, aFrame.data, aFrame.linesize, 0, aFrame.height, planes, strides);
  char name[32];
  std::snprintf(name, sizeof name, "/frame-%06u.ppm", aIndex);
  std::FILE* file = std::fopen((mSettings.headlessDirectory + name).c_str(), "wb");
  if (!file) {
    mPlayer.reportOnce("ppm", "cannot write pictures into " + mSettings.headlessDirectory);
    return;
  }
  std::fprintf(file, "P6\n%d %d\n255\n", aFrame.width, aFrame.height);
  std::fwrite(mRgb.data(), 1, mRgb.size(), file);
  std::fclose(file);
}

SDL_Renderer* Output::openWindow() {
  if (mWindowFailed) {
    return nullptr;
  }
  Rect rect;
  {
    std::lock_guard lock(mLayoutMutex);
    rect = mDrawRect;
  }
  // At the screen's origin as the HAL places it: at least the screen the HAL assumes.
  SDL_Renderer* renderer = openScreen(screen(), std::max(800, rect.x + rect.width), std::max(480, rect.y + rect.height));
  if (!renderer) {
    mPlayer.reportOnce("window", std::string("no window, playing without pictures: ") + SDL_GetError());
    mWindowFailed = true;
  }
  return renderer;
}

void Output::draw(const AVFrame& aFrame) {
  const uint8_t* planes[3] = {aFrame.data[0], aFrame.data[1], aFrame.data[2]};
  int strides[3] = {aFrame.linesize[0], aFrame.linesize[1], aFrame.linesize[2]};
  if (aFrame.format != AV_PIX_FMT_YUV420P) {
    mYuvScaler = sws_getCachedContext(mYuvScaler, aFrame.width, aFrame.height, AVPixelFormat(aFrame.format),
                                      aFrame.width, aFrame.height, AV_PIX_FMT_YUV420P, SWS_BICUBIC, nullptr, nullptr,
                                      nullptr);
    if (!mYuvScaler) {
      return;
    }
    const size_t luma = size_t(aFrame.width) * size_t(aFrame.height);
    const int chromaWidth = (aFrame.width + 1) / 2;
    const size_t chroma = size_t(chromaWidth) * size_t((aFrame.height + 1) / 2);
    mYuv.resize(luma + 2 * chroma);
    uint8_t* converted[4] = {mYuv.data(), mYuv.data() + luma, mYuv.data() + luma + chroma, nullptr};
    int convertedStrides[4] = {aFrame.width, chromaWidth, chromaWidth, 0};
    sws_scale(mYuvScaler, aFrame.data, aFrame.linesize, 0, aFrame.height, converted, convertedStrides);
    std::copy(converted, converted + 3, planes);
    std::copy(convertedStrides, convertedStrides + 3, strides);
  }
  Rect area;
  FullScreen format;
  {
    std::lock_guard lock(mLayoutMutex);
    area = mDrawRect;
    format = mFullScreen;
  }
  std::lock_guard lock(screen().mutex);
  SDL_Renderer* renderer = openWindow();
  if (!renderer) {
    return;
  }
  SDL_PumpEvents();
  if (!mTexture || mTextureWidth != aFrame.width || mTextureHeight != aFrame.height) {
    if (mTexture) {
      SDL_DestroyTexture(mTexture);
    }
    mTexture = SDL_CreateTexture(renderer, SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING, aFrame.width,
                                 aFrame.height);
    mTextureWidth = aFrame.width;
    mTextureHeight = aFrame.height;
  }
  if (!mTexture) {
    return;
  }
  SDL_UpdateYUVTexture(mTexture, nullptr, planes[0], strides[0], planes[1], strides[1], planes[2], strides[2]);
  if (area.width <= 0 || area.height <= 0) {
    SDL_GetRendererOutputSize(renderer, &area.width, &area.height);
  }
  const AVRational sar = aFrame.sample_aspect_ratio;
  const double aspect = double(aFrame.width) * (sar.num > 0 ? double(sar.num) / sar.den : 1.0) / aFrame.height;
  double source[4];
  const Rect placed = placePicture(area, aspect, format, source);
  const SDL_Rect from = {int(source[0] * aFrame.width), int(source[1] * aFrame.height),
                         int(source[2] * aFrame.width), int(source[3] * aFrame.height)};
  const SDL_Rect to = {placed.x, placed.y, placed.width, placed.height};
  SDL_SetRenderDrawColor(renderer, kBackground, kBackground, kBackground, 255);
  SDL_RenderClear(renderer);
  SDL_RenderCopy(renderer, mTexture, &from, &to);
  SDL_RenderPresent(renderer);
}

void Output::samples(const int16_t* aSamples, int aFrames, int aChannels, int aRate, int64_t aPtsMs) {
  const uint32_t bytes = uint32_t(aFrames * aChannels) * 2;
  if (mSettings.headless && !mSettings.headlessDirectory.empty()) {
    if (mWav && (mWavChannels != aChannels || mWavRate != aRate)) {
      mPlayer.reportOnce("wavformat", "the audio format changed: the WAV file keeps the first");
      return;
    }
    if (!mWav) {
      mWav = std::fopen((mSettings.headlessDirectory + "/audio.wav").c_str(), "wb");
      if (!mWav) {
        mPlayer.reportOnce("wav", "cannot write audio into " + mSettings.headlessDirectory);
        return;
      }
      mWavChannels = aChannels;
      mWavRate = aRate;
      wavHeader(mWav, 0, aChannels, aRate);
    }
    std::fwrite(aSamples, 1, bytes, mWav);
    mWavBytes += bytes;
    return;
  }
  if (!mAudioDevice || mAudioChannels != aChannels || mAudioRate != aRate) {
    if (mAudioFailed) {
      return;
    }
    if (mAudioDevice) {
      SDL_CloseAudioDevice(mAudioDevice.exchange(0));
    }
    if (!mAudioInit) {
      mAudioInit = startSdl(SDL_INIT_AUDIO);
    }
    SDL_AudioSpec wanted{};
    wanted.freq = aRate;
    wanted.format = AUDIO_S16SYS;
    wanted.channels = uint8_t(aChannels);
    wanted.samples = 1024;
    mAudioDevice = mAudioInit ? SDL_OpenAudioDevice(nullptr, 0, &wanted, nullptr, 0) : 0;
    if (!mAudioDevice) {
      mPlayer.reportOnce("audio", std::string("no audio device, playing without sound: ") + SDL_GetError());
      mAudioFailed = true;
      return;
    }
    mAudioChannels = aChannels;
    mAudioRate = aRate;
    SDL_PauseAudioDevice(mAudioDevice, 0);
  }
  SDL_QueueAudio(mAudioDevice, aSamples, bytes);
  const int64_t bytesPerSecond = int64_t(aRate) * aChannels * 2;
  const int64_t endMs = aPtsMs + int64_t(aFrames) * 1000 / aRate;
  for (;;) {
    const int64_t queuedMs = int64_t(SDL_GetQueuedAudioSize(mAudioDevice)) * 1000 / bytesPerSecond;
    mPlayer.clock().audio(endMs - queuedMs);
    if (queuedMs <= kQueuedAudioMs || mPlayer.aborted() || !mPlayer.waitRunning()) {
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

void Output::pauseAudio(bool aPaused) {
  if (mAudioDevice) {
    SDL_PauseAudioDevice(mAudioDevice, aPaused ? 1 : 0);
  }
}

void Output::finish() {
  if (mTimeline) {
    std::fclose(mTimeline);
    mTimeline = nullptr;
  }
  if (!mWav) {
    return;
  }
  std::fseek(mWav, 0, SEEK_SET);
  wavHeader(mWav, mWavBytes, mWavChannels, mWavRate);
  std::fclose(mWav);
  mWav = nullptr;
}

}  // namespace vomtpplayer

using namespace vomtpplayer;

extern "C" {

VOMTP_API int32_t voMTPHostScreenSize(int32_t aIndex) {
  Screen& state = screen();
  std::lock_guard lock(state.mutex);
  SDL_DisplayMode mode{};
  if (settingsFromEnvironment().headless || !startVideo(state) || SDL_GetDesktopDisplayMode(0, &mode) != 0) {
    return 0;
  }
  return aIndex == 0 ? mode.w : aIndex == 1 ? mode.h : 0;
}

VOMTP_API int32_t voMTPHostFillWindow(int32_t aWidth, int32_t aHeight, uint32_t aColour) {
  if (settingsFromEnvironment().headless) {
    return 1;
  }
  Screen& state = screen();
  std::lock_guard lock(state.mutex);
  SDL_Renderer* renderer = openScreen(state, aWidth, aHeight);
  if (!renderer) {
    return 0;
  }
  const SDL_Rect rect = {0, 0, aWidth, aHeight};
  SDL_SetRenderDrawColor(renderer, uint8_t(aColour), uint8_t(aColour >> 8), uint8_t(aColour >> 16), 255);
  SDL_RenderFillRect(renderer, &rect);
  SDL_RenderPresent(renderer);
  SDL_PumpEvents();
  return 1;
}

VOMTP_API int32_t voMTPHostSetWindowProcedure(voMTPHostWindowProcedure aProcedure) {
  setProcedure(screen(), aProcedure);
  return 1;
}

VOMTP_API int32_t voMTPHostPlaceWindow(int32_t aWidth, int32_t aHeight) {
  if (settingsFromEnvironment().headless) {
    return 1;
  }
  Screen& state = screen();
  std::lock_guard lock(state.mutex);
  if (!openScreen(state, aWidth, aHeight)) {
    return 0;
  }
  SDL_SetWindowSize(state.window, aWidth, aHeight);
  SDL_SetWindowPosition(state.window, 0, 0);
  SDL_SetWindowAlwaysOnTop(state.window, SDL_TRUE);
  SDL_ShowWindow(state.window);
  SDL_RaiseWindow(state.window);
  SDL_PumpEvents();
  return 1;
}

}  // extern "C"
