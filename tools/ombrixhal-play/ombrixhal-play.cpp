// ombrixhal-play: plays one service of a recording or of a DVB-T channel through the AV player, as
// a middleware does when it shows a service: finds the services with section filters on the PAT,
// the PMTs and the SDT, hands the chosen service's PIDs to the AV player, and lets the keys of the
// terminal change the service, the volume, mute, pause and the aspect ratio while a status line
// shows what plays. The picture and the sound are the player library's, in its own window. Uses
// the public C API only.
#include <unistd.h>
#if defined(_WIN32)
#include <conio.h>
#include <io.h>
#else
#include <poll.h>
#include <termios.h>
#endif

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OmbrixHal.h"
#include "OmbrixHalToolPsi.h"
#include "OmbrixHalToolReception.h"
#include "OmbrixHalToolSession.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kShortestSection = 12;
constexpr uint32_t kDiscoveryPacketLimit = 200000;
constexpr uint32_t kFallbackRate = 250;  // 2 Mbit/s in the file tuner's units of 1000 bytes a second
constexpr uint32_t kStartVolume = 80;
constexpr uint32_t kVolumeStep = 10;
constexpr auto kKeyWait = std::chrono::milliseconds(100);

const char* const kDefaultStream = OMBRIX_HAL_DEFAULT_AV_STREAM;
const char* const kDefaultChannelPlan = OMBRIX_HAL_DEFAULT_CHANNEL_PLAN;
// Where a player library that can do without a window writes its pictures and sound.
constexpr const char* kHeadlessVariable = "VOMTP_PLAYER_HEADLESS";

// The aspect ratios the `a` key steps through: the ones the player's full-screen formats show.
struct Aspect {
  OmbrixHalVideoOutAspectRatio ratio;
  const char* name;
};
constexpr Aspect kAspects[] = {{OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_FULL_SCREEN, "16:9 full screen"},
                               {OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_PILLARBOX, "16:9 pillarbox"},
                               {OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_VERTICAL_CUT, "16:9 vertical cut"}};

struct Service {
  uint32_t number = 0;
  uint32_t pmtPid = 0;
  std::string name;
  OmbrixHalAvPlayerParameter av{};  // the first audio and the first video stream, and the PCR
  bool described = false;
};

// What the section filters found; written on the delivery thread until they are closed.
struct Catalogue {
  std::vector<Service> services;
  std::atomic<bool> patSeen{false};
  std::atomic<bool> sdtSeen{false};
  std::atomic<size_t> described{0};

  Service* find(uint32_t number) {
    const auto found = std::find_if(services.begin(), services.end(),
                                    [number](const Service& service) { return service.number == number; });
    return found == services.end() ? nullptr : &*found;
  }
};

void readPat(Catalogue& catalogue, const uint8_t* section, uint32_t length) {
  if (section[0] != kPatTable || catalogue.patSeen) {
    return;
  }
  addProgrammes(catalogue.services, section, length);
  catalogue.patSeen.store(true, std::memory_order_release);
}

void readPmt(Catalogue& catalogue, const uint8_t* section, uint32_t length) {
  Service* service = section[0] == kPmtTable ? catalogue.find(numberAt(section + 3)) : nullptr;
  if (service == nullptr || service->described) {
    return;
  }
  service->av = avPlayerParameter(pidAt(section + 8), readPmtStreams(section, length));
  service->described = true;
  catalogue.described.fetch_add(1, std::memory_order_release);
}

void readSdt(Catalogue& catalogue, const uint8_t* section, uint32_t length) {
  if (section[0] != kSdtActualTable) {
    return;
  }
  forEachServiceName(section, length, [&catalogue](uint32_t number, const std::string&, const std::string& name) {
    if (Service* service = catalogue.find(number); service != nullptr) {
      service->name = name;
      std::replace(service->name.begin(), service->name.end(), '\n', ' ');  // the status is one line
    }
  });
  catalogue.sdtSeen.store(true, std::memory_order_release);
}

template <void (*read)(Catalogue&, const uint8_t*, uint32_t)>
void onSection(OmbrixHalFilterHandle, const uint8_t* aSection, uint32_t aLength, void* aContext) {
  if (aLength >= kShortestSection) {
    read(*static_cast<Catalogue*>(aContext), aSection, aLength);
  }
}

// The PCRs of one PID against the packets pulled so far, for the rate of a recording.
struct PcrCount {
  std::atomic<uint64_t> packets{0};
  PcrSpan span;
};

void onPcr(OmbrixHalFilterHandle, const uint8_t* aRecord, uint32_t aLength, void* aContext) {
  auto& pcrs = *static_cast<PcrCount*>(aContext);
  pcrs.span.add(aRecord, aLength, pcrs.packets.load(std::memory_order_relaxed));
}

void openFilter(FilterSet& filters, OmbrixHalFilterType type, uint32_t pid, OmbrixHalFilterHandler handler,
                void* context) {
  OmbrixHalFilterParameter parameter{};
  parameter.crcCheck = type == OMBRIX_HAL_FILTER_TYPE_SECTION ? 1 : 0;
  if (filters.open(type, pid, handler, context, parameter) == nullptr) {
    char reason[48];
    std::snprintf(reason, sizeof reason, "cannot filter PID 0x%04x", pid);
    throw Failure{reason};
  }
}

// The services with audio or video, in the PAT's order, named from the SDT when it has them.
std::vector<Service> discover(OmbrixHalTunerHandle tuner, bool live) {
  Catalogue catalogue;
  {
    FilterSet filters(tuner);
    openFilter(filters, OMBRIX_HAL_FILTER_TYPE_SECTION, kPatPid, onSection<readPat>, &catalogue);
    receiveUntil(tuner, live, kDiscoveryPacketLimit,
                 [&catalogue] { return catalogue.patSeen.load(std::memory_order_acquire); });
  }
  if (!catalogue.patSeen) {
    throw Failure{"no services (no programme association table)"};
  }
  {
    FilterSet filters(tuner);
    openFilter(filters, OMBRIX_HAL_FILTER_TYPE_SECTION, kSdtPid, onSection<readSdt>, &catalogue);
    for (const Service& service : catalogue.services) {
      openFilter(filters, OMBRIX_HAL_FILTER_TYPE_SECTION, service.pmtPid, onSection<readPmt>, &catalogue);
    }
    const size_t total = catalogue.services.size();
    receiveUntil(tuner, live, kDiscoveryPacketLimit, [&catalogue, total] {
      return catalogue.described.load(std::memory_order_acquire) >= total &&
             catalogue.sdtSeen.load(std::memory_order_acquire);
    });
  }
  std::vector<Service> playable;
  for (Service& service : catalogue.services) {
    if (service.av.AudioPid != 0 || service.av.VideoPid != 0) {
      if (service.name.empty()) {
        service.name = "service " + std::to_string(service.number);
      }
      playable.push_back(service);
    }
  }
  if (playable.empty()) {
    throw Failure{"no services with audio or video"};
  }
  return playable;
}

// A recording's rate in the file tuner's units of 1000 bytes a second: the packets between the
// first and the last PCR of `pcrPid` over the time between them, pulled from where discovery
// stopped to the end or over the discovery limit, so that a variable rate averages out.
uint32_t measureRate(OmbrixHalTunerHandle tuner, uint32_t pcrPid) {
  PcrCount pcrs;
  {
    FilterSet filters(tuner);
    openFilter(filters, OMBRIX_HAL_FILTER_TYPE_PCR, pcrPid, onPcr, &pcrs);
    for (uint64_t n = 0; n < kDiscoveryPacketLimit && OmbrixHalTunerReceive(tuner, 1);) {
      pcrs.packets.store(++n, std::memory_order_relaxed);
    }
  }
  if (!pcrs.span.measured()) {
    return kFallbackRate;
  }
  return std::max(static_cast<uint32_t>(pcrs.span.bytesPerSecond() / 1000), 1u);
}

// The AV player with the sound and picture settings a viewer changes; a new service keeps them.
class Player {
 public:
  explicit Player(OmbrixHalTunerHandle tuner) : player_(tuner) {
    if (!player_.opened()) {
      throw Failure{"the AV player does not open"};
    }
  }

  void play(const Service& service) {
    player_.play(service.av, service.number);
    paused_ = false;
    // Each service gets a decoder of its own, which starts at the library's volume.
    if (OmbrixHalAudioOutIsMute()) {
      OmbrixHalAudioOutUnmute();
      OmbrixHalAudioOutMute();
    } else {
      OmbrixHalAudioOutSetVolume(volume_);
    }
  }
  void changeVolume(int step) {
    volume_ = static_cast<uint32_t>(std::clamp(static_cast<int>(volume_) + step, 0, 100));
    if (OmbrixHalAudioOutIsMute()) {
      OmbrixHalAudioOutUnmute();
    }
    OmbrixHalAudioOutSetVolume(volume_);
  }
  void toggleMute() { OmbrixHalAudioOutIsMute() ? OmbrixHalAudioOutUnmute() : OmbrixHalAudioOutMute(); }
  void togglePause() {
    if (paused_ ? OmbrixHalAvPlayerRun(player_.handle()) : OmbrixHalAvPlayerPause(player_.handle())) {
      paused_ = !paused_;
    }
  }
  void nextAspect() {
    aspect_ = (aspect_ + 1) % std::size(kAspects);
    const OmbrixHalVideoOutDeviceValue pair{OMBRIX_HAL_VIDEO_OUT_DEVICE_SCART_TV, kAspects[aspect_].ratio};
    OmbrixHalVideoOutSetAspectRatio(&pair, 1);
  }

  std::string state() {
    // Muted, the decoder's volume reads 0: the one that unmuting gives back is shown.
    uint8_t volume = 0;
    const bool muted = OmbrixHalAudioOutIsMute();
    std::string text = OmbrixHalAvPlayerIsStreamDecoded(player_.handle()) ? "decoded" : "not decoded";
    text += " | volume " + std::to_string(!muted && OmbrixHalAudioOutGetVolume(&volume) ? volume : volume_);
    text += muted ? " muted" : "";
    text += " | " + std::string(kAspects[aspect_].name);
    return text + (paused_ ? " | paused" : "");
  }

 private:
  AvPlayer player_;
  bool paused_ = false;
  uint32_t volume_ = kStartVolume;
  size_t aspect_ = 0;
};

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
  interrupted = 1;
}

// Keys from stdin without waiting for a line end: the terminal in raw mode (its echo off, Ctrl-C
// still a signal), or the bytes of a pipe, so that a script can press keys too.
class Keys {
 public:
  Keys() : terminal_(isatty(STDIN_FILENO) != 0) {
#if !defined(_WIN32)
    if (terminal_ && tcgetattr(STDIN_FILENO, &saved_) == 0) {
      termios raw = saved_;
      raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
      raw.c_cc[VMIN] = 1;
      raw.c_cc[VTIME] = 0;
      restore_ = tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
    }
#endif
  }
  ~Keys() {
#if !defined(_WIN32)
    if (restore_) {
      tcsetattr(STDIN_FILENO, TCSANOW, &saved_);
    }
#endif
  }
  Keys(const Keys&) = delete;
  Keys& operator=(const Keys&) = delete;

  bool terminal() const { return terminal_; }

  // The next key within `wait`, or 0.
  char next(std::chrono::milliseconds wait) {
#if defined(_WIN32)
    if (terminal_ && _kbhit()) {
      return static_cast<char>(_getch());
    }
#else
    pollfd input{STDIN_FILENO, POLLIN, 0};
    char key = 0;
    if (open_ && poll(&input, 1, static_cast<int>(wait.count())) == 1) {
      open_ = read(STDIN_FILENO, &key, 1) == 1;
      return key;
    }
    if (open_) {
      return 0;
    }
#endif
    std::this_thread::sleep_for(wait);
    return 0;
  }

 private:
  bool terminal_;
  bool open_ = true;  // until the end of a pipe
#if !defined(_WIN32)
  termios saved_{};
  bool restore_ = false;
#endif
};

struct Options {
  std::string file;
  std::string frequency;  // kHz: a DVB-T channel instead of a recording
  uint32_t bandwidthMhz = 8;
  uint32_t service = 1;  // counted from 1 among the services with audio or video
  uint32_t seconds = 0;  // 0: until the quit key
  std::string headless;
  bool log = false;
};

// The one-line status: rewritten in place on a terminal, a line a second elsewhere.
class Status {
 public:
  Status(std::FILE* out, Clock::time_point start) : out_(out), start_(start), terminal_(isatty(fileno(out)) != 0) {}

  void show(const std::string& text, bool now) {
    const auto elapsed = Clock::now() - start_;
    if (!now && elapsed - shown_ < (terminal_ ? std::chrono::milliseconds(250) : std::chrono::seconds(1))) {
      return;
    }
    shown_ = elapsed;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    std::fprintf(out_, terminal_ ? "\r%s | %02lld:%02lld\033[K" : "%s | %02lld:%02lld\n", text.c_str(),
                 static_cast<long long>(seconds / 60), static_cast<long long>(seconds % 60));
    std::fflush(out_);
  }
  void end() {
    if (terminal_) {
      std::fputc('\n', out_);
    }
  }

 private:
  std::FILE* out_;
  Clock::time_point start_;
  bool terminal_;
  Clock::duration shown_ = -std::chrono::hours(1);
};

// The keys of the player's window, from the HAL's key events (on a thread of the player
// library's), as the terminal keys that do the same.
std::mutex windowKeysMutex;
std::string windowKeys;

void onWindowKey(void*, uint32_t aKey, uint32_t aEvent) {
  static const std::pair<uint32_t, char> kKeys[] = {
      {OMBRIX_HAL_KEY_EVENT_KEY_CHANNEL_UP, 'n'},  {OMBRIX_HAL_KEY_EVENT_KEY_RIGHT, 'n'},
      {OMBRIX_HAL_KEY_EVENT_KEY_CHANNEL_DOWN, 'p'}, {OMBRIX_HAL_KEY_EVENT_KEY_LEFT, 'p'},
      {OMBRIX_HAL_KEY_EVENT_KEY_VOLUME_UP, '+'},   {OMBRIX_HAL_KEY_EVENT_KEY_UP, '+'},
      {OMBRIX_HAL_KEY_EVENT_KEY_VOLUME_DOWN, '-'}, {OMBRIX_HAL_KEY_EVENT_KEY_DOWN, '-'},
      {OMBRIX_HAL_KEY_EVENT_KEY_MUTE, 'm'},        {OMBRIX_HAL_KEY_EVENT_KEY_OK, ' '},
      {OMBRIX_HAL_KEY_EVENT_KEY_MENU, 'a'},        {OMBRIX_HAL_KEY_EVENT_KEY_EXIT, 'q'},
      {OMBRIX_HAL_KEY_EVENT_KEY_BACK, 'q'},
  };
  for (const auto& [key, character] : kKeys) {
    if (key == aKey && aEvent != OMBRIX_HAL_KEY_EVENT_RELEASED) {
      std::lock_guard lock(windowKeysMutex);
      windowKeys += character;
    }
  }
}

// The next key of the window, else of the terminal within `wait`; or 0.
char nextKey(Keys& keys, std::chrono::milliseconds wait) {
  {
    std::lock_guard lock(windowKeysMutex);
    if (!windowKeys.empty()) {
      const char key = windowKeys.front();
      windowKeys.erase(0, 1);
      return key;
    }
  }
  return keys.next(wait);
}

// Plays until the quit key, a signal, or the seconds asked for.
void run(OmbrixHalTunerHandle tuner, const std::vector<Service>& services, const Options& options, std::FILE* out) {
  Player player(tuner);
  size_t current = options.service - 1;
  player.play(services[current]);
  Keys keys;
  OmbrixHalKeyEventSetHandler(onWindowKey, nullptr);
  if (keys.terminal()) {
    std::fprintf(out, "keys: n/p next/previous service, +/- volume, m mute, space pause, a aspect ratio, q quit\n");
  }
  const auto start = Clock::now();
  const auto end = start + std::chrono::seconds(options.seconds);
  Status status(out, start);
  bool changed = true;
  while (!interrupted && (options.seconds == 0 || Clock::now() < end)) {
    const Service& service = services[current];
    status.show("Service " + std::to_string(current + 1) + "/" + std::to_string(services.size()) + " \"" +
                    service.name + "\" (" + std::to_string(service.number) + ") | " + player.state(),
                changed);
    changed = true;
    switch (nextKey(keys, kKeyWait)) {
      case 'q': interrupted = 1; break;
      case 'n': player.play(services[current = (current + 1) % services.size()]); break;
      case 'p': player.play(services[current = (current + services.size() - 1) % services.size()]); break;
      case '+': case '=': player.changeVolume(kVolumeStep); break;
      case '-': player.changeVolume(-static_cast<int>(kVolumeStep)); break;
      case 'm': player.toggleMute(); break;
      case ' ': player.togglePause(); break;
      case 'a': player.nextAspect(); break;
      default: changed = false;
    }
  }
  OmbrixHalKeyEventSetHandler(nullptr, nullptr);
  status.end();
}

void play(const Options& options, std::FILE* out) {
  const bool live = !options.frequency.empty();
  const Tuner tuner(live ? "DVB-T" : "digitalFile");
  live ? tuneDvbT(tuner, dvbTLine(options.frequency, options.bandwidthMhz)) : tuneFile(tuner, options.file, 1, 0);
  const std::vector<Service> services = discover(tuner, live);
  if (options.service > services.size()) {
    throw Failure{"no service " + std::to_string(options.service) + " (" + std::to_string(services.size()) +
                  " services)"};
  }
  if (!live) {
    // Paced at the recording's own rate, over and over, as a broadcast would come.
    tuneFile(tuner, options.file, 0, measureRate(tuner, services[options.service - 1].av.PcrPid));
  }
  run(tuner, services, options, out);
}

[[noreturn]] void usage(int status) {
  std::fprintf(status == 0 ? stdout : stderr,
               "usage: ombrixhal-play [--service N] [--seconds N] [--headless DIR] [--log] [FILE]\n"
               "       ombrixhal-play [--service N] [--seconds N] [--headless DIR] [--log] --dvbt FREQ [--bandwidth MHZ]\n"
               "  FILE        a transport stream, played at its rate in a loop (default: %s)\n"
               "  --dvbt      the DVB-T channel at FREQ kHz (bandwidth 8 MHz unless given); with the\n"
               "              receiver emulator, %s names its channel plan (default: %s)\n"
               "  --service   the Nth service with audio or video (default 1)\n"
               "  --seconds   end after N seconds (default: at the quit key)\n"
               "  --headless  no window: the player library writes pictures and sound into DIR\n"
               "  --log       the HAL's log and console lines on stderr\n"
               "keys: n/p next/previous service, +/- volume, m mute, space pause, a aspect ratio, q quit\n",
               kDefaultStream, kChannelPlanVariable, kDefaultChannelPlan);
  std::exit(status);
}

uint32_t positive(const char* text) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (*text == '\0' || *end != '\0' || value < 1 || value > 1000000) {
    usage(2);
  }
  return static_cast<uint32_t>(value);
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool valued = argument == "--dvbt" || argument == "--bandwidth" || argument == "--service" ||
                        argument == "--seconds" || argument == "--headless";
    if (valued && i + 1 < argc) {
      const char* value = argv[++i];
      if (argument == "--dvbt") {
        options.frequency = value;
      } else if (argument == "--headless") {
        options.headless = value;
      } else {
        (argument == "--bandwidth" ? options.bandwidthMhz : argument == "--service" ? options.service : options.seconds) =
            positive(value);
      }
    } else if (argument == "--log") {
      options.log = true;
    } else if (argument == "--help" || argument == "-h") {
      usage(0);
    } else if (valued || (argument.size() > 1 && argument[0] == '-')) {
      usage(2);
    } else {
      options.file = argument;
    }
  }
  if (options.file.empty()) {
    options.file = kDefaultStream;
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  const bool live = !options.frequency.empty();
  const std::string name = live ? "DVB-T " + options.frequency + " kHz" : options.file;
  uint64_t bytes = 0;
  std::string failure = live ? std::string{} : checkRecording(options.file, 2 * kPacketSize, "a transport stream", bytes);
  std::error_code error;
  if (failure.empty() && !options.headless.empty() && !std::filesystem::is_directory(options.headless) &&
      !std::filesystem::create_directories(options.headless, error)) {
    failure = "cannot make the headless directory " + options.headless + ": " + error.message();
  }
  if (!failure.empty()) {
    std::fprintf(stderr, "ombrixhal-play: %s: %s\n", name.c_str(), failure.c_str());
    return 1;
  }
  // Read by the player library when the HAL starts it.
  if (!options.headless.empty()) {
    setEnvironment(kHeadlessVariable, options.headless.c_str());
  }
  if (live) {
    useChannelPlanUnlessSet(kDefaultChannelPlan);
  }
  std::signal(SIGINT, onInterrupt);
  std::signal(SIGTERM, onInterrupt);
  // The status goes to what stdout was, the HAL's console lines aside.
  failure = runWithHal(options.log, [&options](std::FILE* out) { play(options, out); });
  if (!failure.empty()) {
    std::fprintf(stderr, "ombrixhal-play: %s: %s\n", name.c_str(), failure.c_str());
    return 1;
  }
  return 0;
}
