// Where a decoder's pictures and samples go: an SDL window and SDL audio, or, headless, image files
// (PPM) and a WAV file; and the timeline of presented frames.
#ifndef VO_MTP_PLAYER_OUTPUT_H
#define VO_MTP_PLAYER_OUTPUT_H

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}
#include <SDL.h>

#include "voMTPPlayer.h"

namespace vomtpplayer {

class Output {
 public:
  Output(Player& aPlayer, const Settings& aSettings);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // On the video thread: shows or writes the aIndex-th presented picture.
  void picture(const AVFrame& aFrame, uint32_t aIndex);
  void timeline(uint32_t aIndex, int64_t aFrameMs, int64_t aPresentedMs);
  // On the audio thread: interleaved 16-bit samples from aPtsMs on. With an audio device, waits
  // while more than a moment is queued and moves the clock on.
  void samples(const int16_t* aSamples, int aFrames, int aChannels, int aRate, int64_t aPtsMs);
  // True while audio goes, or may still go, to a device that keeps the clock.
  bool audioPaces() const { return !(mSettings.headless && !mSettings.headlessDirectory.empty()) && !mAudioFailed; }
  void pauseAudio(bool aPaused);
  // On the video thread, when it ends: its texture goes, the library's window stays.
  void closeWindow();
  // After the threads ended: completes the files.
  void finish();

  void setDrawRect(const Rect& aRect);
  void setFullScreen(FullScreen aFormat);

 private:
  // Under the window's lock: its renderer, or null when there is no window.
  SDL_Renderer* openWindow();
  void draw(const AVFrame& aFrame);
  void writeImage(const AVFrame& aFrame, uint32_t aIndex);

  Player& mPlayer;
  const Settings& mSettings;
  std::mutex mLayoutMutex;
  Rect mDrawRect;
  FullScreen mFullScreen = FullScreen::Stretch;

  SwsContext* mScaler = nullptr;
  std::vector<uint8_t> mRgb;
  SwsContext* mYuvScaler = nullptr;  // for the window, of pictures in other formats than 4:2:0
  std::vector<uint8_t> mYuv;
  std::FILE* mTimeline = nullptr;
  std::FILE* mWav = nullptr;
  uint64_t mWavBytes = 0;
  int mWavChannels = 0, mWavRate = 0;

  bool mWindowFailed = false, mAudioInit = false;
  std::atomic<bool> mAudioFailed{false};
  SDL_Texture* mTexture = nullptr;  // the library window's, under its lock
  int mTextureWidth = 0, mTextureHeight = 0;
  std::atomic<SDL_AudioDeviceID> mAudioDevice{0};  // paused and resumed from the control thread
  int mAudioChannels = 0, mAudioRate = 0;
};

// Closes the library's window, once no decoder is left.
void closeScreen();

}  // namespace vomtpplayer

#endif
