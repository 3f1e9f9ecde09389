// The host's player library: a decoder instance takes the transport stream of one service,
// demultiplexes the two PIDs it is told, decodes audio and video on threads of its own and
// presents them, into an SDL window and SDL audio, or headless into image and WAV files.
#ifndef VO_MTP_PLAYER_H
#define VO_MTP_PLAYER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "voMTPSDK.h"

struct AVFrame;

namespace vomtpplayer {

inline constexpr int64_t kNoTime = INT64_MIN;

// What the environment asks of every decoder opened from now on.
struct Settings {
  std::string headlessDirectory;  // VOMTP_PLAYER_HEADLESS: images and WAV go here
  bool headless = false;          // no window: asked for, or no display
  uint32_t frameEvery = 1;        // VOMTP_PLAYER_FRAME_EVERY: every n-th presented frame is written
  bool paced = true;              // real-time presentation; headless writing is unpaced unless VOMTP_PLAYER_PACED=1
  std::string timelinePath;       // VOMTP_PLAYER_TIMELINE, or timeline.txt in the headless directory
  size_t queueBytes = 16u << 20;  // VOMTP_PLAYER_QUEUE_BYTES: bound of the data not yet demultiplexed
};
Settings settingsFromEnvironment();

// Full-screen formats: how a picture of another shape fills the draw rectangle.
enum class FullScreen : uint32_t {
  Fit = 1,      // the whole picture, bars left and right (pillarbox) or above and below
  Crop = 2,     // the rectangle filled, what overflows cut (vertical cut of a wide picture)
  Stretch = 3,  // the rectangle filled, the picture's shape given up
};
struct Rect {
  int32_t x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;
};
// Where a picture of aAspect (width / height as displayed) goes in aArea for aFormat; the part of
// the picture shown, in picture fractions, goes to aSource (x, y, width, height of 0..1).
Rect placePicture(const Rect& aArea, double aAspect, FullScreen aFormat, double aSource[4]);

// One PES packet's payload and its PTS (90 kHz), or kNoTime.
struct Pes {
  int64_t pts = kNoTime;
  std::vector<uint8_t> data;
};

// A queue between two threads: push waits while full, pop while empty; close lets the consumer
// take what is left, abort ends both at once.
template <typename T>
class Channel {
 public:
  explicit Channel(size_t aCapacity) : mCapacity(aCapacity) {}
  bool push(T aItem) {
    std::unique_lock lock(mMutex);
    mChanged.wait(lock, [&] { return mAborted || mItems.size() < mCapacity; });
    if (mAborted) {
      return false;
    }
    mItems.push_back(std::move(aItem));
    mChanged.notify_all();
    return true;
  }
  bool pop(T& aItem) {
    std::unique_lock lock(mMutex);
    mChanged.wait(lock, [&] { return mAborted || mClosed || !mItems.empty(); });
    if (mAborted || mItems.empty()) {
      return false;
    }
    aItem = std::move(mItems.front());
    mItems.pop_front();
    mChanged.notify_all();
    return true;
  }
  void close() { set(mClosed); }
  void abort() { set(mAborted); }

 private:
  void set(bool& aFlag) {
    std::lock_guard lock(mMutex);
    aFlag = true;
    mChanged.notify_all();
  }
  std::mutex mMutex;
  std::condition_variable mChanged;
  std::deque<T> mItems;
  size_t mCapacity;
  bool mClosed = false;
  bool mAborted = false;
};

// The data that voMTPSendData hands over, bounded: a full queue drops its oldest chunks, so the
// sender never waits.
class InputQueue {
 public:
  explicit InputQueue(size_t aLimit) : mLimit(aLimit) {}
  // False when the queue had to drop data to take this chunk.
  bool push(const uint8_t* aData, size_t aLength);
  bool pop(std::vector<uint8_t>& aChunk);
  void close();
  void abort();
  uint64_t dropped() const { return mDropped; }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  std::deque<std::vector<uint8_t>> mChunks;
  size_t mBytes = 0;
  size_t mLimit;
  std::atomic<uint64_t> mDropped{0};
  bool mClosed = false;
  bool mAborted = false;
};

// Cuts the transport stream into packets and the packets of two PIDs into PES packets.
class Demultiplexer {
 public:
  using Sink = std::function<void(bool aVideo, Pes&& aPes)>;
  Demultiplexer(uint32_t aAudioPid, uint32_t aVideoPid, Sink aSink);
  void feed(const uint8_t* aData, size_t aLength);
  // Hands on the PES packets still being gathered (the stream ended).
  void flush();

 private:
  struct Gathering {
    uint32_t pid;
    bool video;
    std::vector<uint8_t> bytes;
    int lastCounter = -1;
  };
  void packet(const uint8_t* aPacket);
  void emit(Gathering& aStream);

  Gathering mStreams[2];
  std::vector<uint8_t> mPartial;
  Sink mSink;
};

// The presentation clock in stream time (milliseconds): the audio device's when it plays, the
// system clock continuing from it otherwise.
class Clock {
 public:
  // The stream time now, anchoring the system clock at aStart when it has no anchor yet.
  int64_t now(int64_t aStart);
  void audio(int64_t aPlayingMs);  // what the audio device plays at this moment
  void reset();                    // after a pause: the next frame anchors again
  int64_t audioClock() const { return mAudioMs; }

 private:
  std::mutex mMutex;
  bool mAnchored = false;
  int64_t mAnchorStream = 0;
  std::chrono::steady_clock::time_point mAnchorTime;
  std::atomic<int64_t> mAudioMs{kNoTime};
};

class Output;

// One decoder instance (voMTPHandle).
class Player {
 public:
  Player(const Settings& aSettings, voMTPOpenCallback aCallback);
  ~Player();
  void send(const uint8_t* aData, uint32_t aLength, uint32_t aStreamId);
  void run();
  void pause();
  // Ends the threads and joins them; writing headless unpaced and running, after decoding what
  // was sent.
  void stop();

  void setDrawRect(const Rect& aRect);
  void setFullScreen(uint32_t aFormat);
  void suspendAudio(bool aSuspended) { mAudioSuspended = aSuspended; }
  void suspendVideo(bool aSuspended) { mVideoSuspended = aSuspended; }
  void setVolume(uint32_t aVolume) { mVolume = aVolume > 100 ? 100 : aVolume; }
  uint32_t volume() const { return mVolume; }

  // For the decoding threads.
  const Settings& settings() const { return mSettings; }
  bool hasVideo() const { return mVideoPid != 0; }
  bool aborted() const { return mAborted; }
  bool audioSuspended() const { return mAudioSuspended; }
  bool videoSuspended() const { return mVideoSuspended; }
  // Waits while paused; false once aborted.
  bool waitRunning();
  // Sleeps until the clock reaches aStreamMs (or the player pauses or aborts); false once aborted.
  bool waitUntil(int64_t aStreamMs);
  void message(int32_t aType, uint32_t aWord0, uint32_t aWord1, uint32_t aWord2, uint32_t aWord4);
  // A line on stderr, once per key for this decoder.
  void reportOnce(const std::string& aKey, const std::string& aText);
  Clock& clock() { return mClock; }
  // On the decoding threads: a decoded picture or block of samples, at its time in milliseconds.
  void presentPicture(const AVFrame& aFrame, int64_t aMs);
  void presentSamples(int16_t* aSamples, int aFrames, int aChannels, int aRate, int64_t aMs);

 private:
  void demultiplex();
  void decode(bool aVideo);

  Settings mSettings;
  voMTPOpenCallback mCallback;
  uint32_t mAudioPid = 0, mVideoPid = 0;
  InputQueue mInput;
  Channel<Pes> mAudioPes{512}, mVideoPes{256};
  std::unique_ptr<Output> mOutput;
  Clock mClock;
  std::mutex mMutex;
  std::condition_variable mRunChanged;
  bool mRunning = false;
  bool mStarted = false, mStopped = false;
  bool mFormatSent = false;  // video thread only
  uint32_t mPictures = 0;    // video thread only
  std::atomic<bool> mAborted{false};
  std::atomic<bool> mAudioSuspended{false}, mVideoSuspended{false};
  std::atomic<uint32_t> mVolume{100};
  std::vector<std::thread> mThreads;
  std::mutex mReportMutex;
  std::set<std::string> mReported;
};

}  // namespace vomtpplayer

#endif
