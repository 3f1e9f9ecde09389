// The library's calls and a decoder's life: threads started with the first data (whose stream id
// names the PIDs), run and pause, stop with every thread joined.
#include "voMTPPlayer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>

extern "C" {
#include <libavutil/log.h>
}

#include "voMTPPlayerOutput.h"

namespace vomtpplayer {

namespace {
constexpr int32_t kFailure = -1;
constexpr uint32_t kPidMask = 0x1FFF;
constexpr int64_t kLongestWaitMs = 2000;  // a time stamp further ahead is a jump, not a wait

const char* variable(const char* aName) {
  const char* value = std::getenv(aName);
  return value && *value ? value : nullptr;
}
}  // namespace

Settings settingsFromEnvironment() {
  Settings settings;
  if (const char* directory = variable("VOMTP_PLAYER_HEADLESS")) {
    settings.headlessDirectory = directory;
    settings.headless = true;
    settings.paced = false;
  } else if (!variable("DISPLAY") && !variable("WAYLAND_DISPLAY")) {
    settings.headless = true;
  }
  if (const char* every = variable("VOMTP_PLAYER_FRAME_EVERY")) {
    settings.frameEvery = uint32_t(std::max(1L, std::strtol(every, nullptr, 10)));
  }
  if (const char* paced = variable("VOMTP_PLAYER_PACED")) {
    settings.paced = std::strcmp(paced, "0") != 0;
  }
  if (const char* timeline = variable("VOMTP_PLAYER_TIMELINE")) {
    settings.timelinePath = timeline;
  } else if (!settings.headlessDirectory.empty()) {
    settings.timelinePath = settings.headlessDirectory + "/timeline.txt";
  }
  if (const char* bytes = variable("VOMTP_PLAYER_QUEUE_BYTES")) {
    settings.queueBytes = size_t(std::max(188LL, std::strtoll(bytes, nullptr, 10)));
  }
  return settings;
}

Player::Player(const Settings& aSettings, voMTPOpenCallback aCallback)
    : mSettings(aSettings), mCallback(aCallback), mInput(aSettings.queueBytes),
      mOutput(std::make_unique<Output>(*this, mSettings)) {}

Player::~Player() {
  stop();
  if (const uint64_t dropped = mInput.dropped()) {
    std::fprintf(stderr, "voMTP player: %llu bytes dropped, the input queue was full\n", (unsigned long long)dropped);
  }
}

void Player::send(const uint8_t* aData, uint32_t aLength, uint32_t aStreamId) {
  {
    std::lock_guard lock(mMutex);
    if (mStopped) {
      return;
    }
    if (!mStarted) {
      mStarted = true;
      mAudioPid = aStreamId & kPidMask;
      mVideoPid = (aStreamId >> 13) & kPidMask;
      mThreads.emplace_back([this] { demultiplex(); });
      if (mAudioPid != 0) {
        mThreads.emplace_back([this] { decode(false); });
      }
      if (mVideoPid != 0) {
        mThreads.emplace_back([this] { decode(true); });
      }
    } else if (aStreamId != (mAudioPid | (mVideoPid << 13))) {
      reportOnce("streamid", "a decoder keeps the PIDs of its first data");
    }
  }
  if (!mInput.push(aData, aLength)) {
    reportOnce("dropped", "the input queue is full: the oldest data are dropped");
  }
}

void Player::demultiplex() {
  Demultiplexer demultiplexer(mAudioPid, mVideoPid, [this](bool aVideo, Pes&& aPes) {
    (aVideo ? mVideoPes : mAudioPes).push(std::move(aPes));
  });
  std::vector<uint8_t> chunk;
  while (mInput.pop(chunk)) {
    demultiplexer.feed(chunk.data(), chunk.size());
  }
  if (!mAborted) {
    demultiplexer.flush();
  }
  mAudioPes.close();
  mVideoPes.close();
}

void Player::run() {
  {
    std::lock_guard lock(mMutex);
    if (!mRunning) {
      mRunning = true;
      mClock.reset();
    }
    mRunChanged.notify_all();
  }
  mOutput->pauseAudio(false);
}

void Player::pause() {
  {
    std::lock_guard lock(mMutex);
    mRunning = false;
    mRunChanged.notify_all();
  }
  mOutput->pauseAudio(true);
}

void Player::stop() {
  bool drain = false;
  {
    std::lock_guard lock(mMutex);
    if (mStopped) {
      return;
    }
    mStopped = true;
    drain = mSettings.headless && !mSettings.paced && mRunning;
    if (!drain) {
      mAborted = true;
      mRunChanged.notify_all();
    }
  }
  if (drain) {
    mInput.close();
  } else {
    mInput.abort();
    mAudioPes.abort();
    mVideoPes.abort();
  }
  for (std::thread& thread : mThreads) {
    thread.join();
  }
  mThreads.clear();
  mOutput->finish();
}

bool Player::waitRunning() {
  std::unique_lock lock(mMutex);
  mRunChanged.wait(lock, [&] { return mRunning || mAborted; });
  return !mAborted;
}

bool Player::waitUntil(int64_t aStreamMs) {
  for (;;) {
    if (!waitRunning()) {
      return false;
    }
    const int64_t now = mClock.now(aStreamMs);
    if (now >= aStreamMs) {
      return true;
    }
    if (aStreamMs - now > kLongestWaitMs) {
      reportOnce("jump", "the time stamps jump: the clock starts again");
      mClock.reset();
      continue;
    }
    std::unique_lock lock(mMutex);
    mRunChanged.wait_for(lock, std::chrono::milliseconds(std::min<int64_t>(aStreamMs - now, 20)),
                         [&] { return !mRunning || mAborted; });
  }
}

void Player::message(int32_t aType, uint32_t aWord0, uint32_t aWord1, uint32_t aWord2, uint32_t aWord4) {
  if (mCallback) {
    const uint32_t payload[8] = {aWord0, aWord1, aWord2, 0, aWord4, 0, 0, 0};
    mCallback(aType, payload);
  }
}

void Player::reportOnce(const std::string& aKey, const std::string& aText) {
  std::lock_guard lock(mReportMutex);
  if (mReported.insert(aKey).second) {
    std::fprintf(stderr, "voMTP player: %s\n", aText.c_str());
  }
}

void Player::setDrawRect(const Rect& aRect) {
  mOutput->setDrawRect(aRect);
}

void Player::setFullScreen(uint32_t aFormat) {
  mOutput->setFullScreen(FullScreen(aFormat));
}

namespace {
struct Library {
  std::mutex mutex;
  bool initialised = false;
  std::map<voMTPHandle, std::shared_ptr<Player>> players;
};

// Never destroyed: a call during exit still finds it.
Library& library() {
  static Library* instance = new Library;
  return *instance;
}

std::shared_ptr<Player> find(voMTPHandle aDecoder) {
  Library& state = library();
  std::lock_guard lock(state.mutex);
  const auto found = state.players.find(aDecoder);
  return found == state.players.end() ? nullptr : found->second;
}

// Runs aAction on the decoder: 0, or kFailure for an unknown handle.
template <typename Action>
int32_t with(voMTPHandle aDecoder, Action aAction) {
  const std::shared_ptr<Player> player = find(aDecoder);
  if (!player) {
    return kFailure;
  }
  aAction(*player);
  return 0;
}

std::shared_ptr<Player> take(voMTPHandle aDecoder) {
  Library& state = library();
  std::lock_guard lock(state.mutex);
  const auto found = state.players.find(aDecoder);
  if (found == state.players.end()) {
    return nullptr;
  }
  std::shared_ptr<Player> player = std::move(found->second);
  state.players.erase(found);
  return player;
}
}  // namespace

}  // namespace vomtpplayer

using namespace vomtpplayer;

extern "C" {

VOMTP_API int32_t voMTPInit(uint32_t) {
  Library& state = library();
  std::lock_guard lock(state.mutex);
  // Errors in the stream are reported once per decoder, not per frame as FFmpeg would.
  av_log_set_level(AV_LOG_QUIET);
  state.initialised = true;
  return 0;
}

VOMTP_API int32_t voMTPUnInit(void) {
  std::map<voMTPHandle, std::shared_ptr<Player>> players;
  {
    Library& state = library();
    std::lock_guard lock(state.mutex);
    state.initialised = false;
    players.swap(state.players);
  }
  for (auto& [handle, player] : players) {
    player->stop();
  }
  players.clear();
  closeScreen();
  return 0;
}

VOMTP_API int32_t voMTPOpen(voMTPHandle* aDecoder, uint32_t, uint32_t, uint32_t, void*, voMTPOpenCallback aCallback) {
  if (!aDecoder) {
    return kFailure;
  }
  Library& state = library();
  std::lock_guard lock(state.mutex);
  if (!state.initialised) {
    return kFailure;
  }
  auto player = std::make_shared<Player>(settingsFromEnvironment(), aCallback);
  *aDecoder = reinterpret_cast<voMTPHandle>(player.get());
  state.players.emplace(*aDecoder, std::move(player));
  return 0;
}

VOMTP_API int32_t voMTPInitStream(voMTPHandle aDecoder, uint32_t) {
  return with(aDecoder, [](Player&) {});
}

VOMTP_API int32_t voMTPSetDrawMode(voMTPHandle aDecoder, uint32_t) {
  return with(aDecoder, [](Player&) {});
}

VOMTP_API int32_t voMTPSetFullScreenFormat(voMTPHandle aDecoder, uint32_t aFormat) {
  if (aFormat < uint32_t(FullScreen::Fit) || aFormat > uint32_t(FullScreen::Stretch)) {
    return kFailure;
  }
  return with(aDecoder, [&](Player& aPlayer) { aPlayer.setFullScreen(aFormat); });
}

VOMTP_API int32_t voMTPSetParam(voMTPHandle aDecoder, uint32_t, uint32_t) {
  return with(aDecoder, [](Player&) {});
}

VOMTP_API int32_t voMTPSetPreloadTime(voMTPHandle aDecoder, uint32_t) {
  return with(aDecoder, [](Player&) {});
}

VOMTP_API int32_t voMTPSetDrawRect(voMTPHandle aDecoder, int32_t aX, int32_t aY, int32_t aWidth, int32_t aHeight) {
  if (aWidth < 0 || aHeight < 0) {
    return kFailure;
  }
  return with(aDecoder, [&](Player& aPlayer) { aPlayer.setDrawRect(Rect{aX, aY, aWidth, aHeight}); });
}

VOMTP_API int32_t voMTPRun(voMTPHandle aDecoder) {
  return with(aDecoder, [](Player& aPlayer) { aPlayer.run(); });
}

VOMTP_API int32_t voMTPPause(voMTPHandle aDecoder) {
  return with(aDecoder, [](Player& aPlayer) { aPlayer.pause(); });
}

VOMTP_API int32_t voMTPSuspendAudio(voMTPHandle aDecoder) {
  return with(aDecoder, [](Player& aPlayer) { aPlayer.suspendAudio(true); });
}

VOMTP_API int32_t voMTPResumeAudio(voMTPHandle aDecoder) {
  return with(aDecoder, [](Player& aPlayer) { aPlayer.suspendAudio(false); });
}

VOMTP_API int32_t voMTPSuspendVideo(voMTPHandle aDecoder) {
  return with(aDecoder, [](Player& aPlayer) { aPlayer.suspendVideo(true); });
}

VOMTP_API int32_t voMTPResumeVideo(voMTPHandle aDecoder) {
  return with(aDecoder, [](Player& aPlayer) { aPlayer.suspendVideo(false); });
}

VOMTP_API int32_t voMTPStop(voMTPHandle aDecoder) {
  return with(aDecoder, [](Player& aPlayer) { aPlayer.stop(); });
}

VOMTP_API int32_t voMTPClose(voMTPHandle aDecoder) {
  const std::shared_ptr<Player> player = take(aDecoder);
  if (!player) {
    return kFailure;
  }
  player->stop();
  return 0;
}

VOMTP_API int32_t voMTPSendData(voMTPHandle aDecoder, const uint8_t* aData, uint32_t aLength, uint32_t aStreamId,
                                uint32_t) {
  if (!aData || aLength == 0) {
    return kFailure;
  }
  return with(aDecoder, [&](Player& aPlayer) { aPlayer.send(aData, aLength, aStreamId); });
}

VOMTP_API int32_t voMTPSetVolume(voMTPHandle aDecoder, uint32_t aVolume) {
  return with(aDecoder, [&](Player& aPlayer) { aPlayer.setVolume(aVolume); });
}

VOMTP_API int32_t voMTPGetVolume(voMTPHandle aDecoder, uint32_t* aVolume, uint32_t* aSecond) {
  if (!aVolume) {
    return kFailure;
  }
  return with(aDecoder, [&](Player& aPlayer) {
    *aVolume = aPlayer.volume();
    if (aSecond) {
      *aSecond = 0;
    }
  });
}

}  // extern "C"
