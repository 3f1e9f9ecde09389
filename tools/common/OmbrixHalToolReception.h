// Reception as the tools drive it: a tuner that closes with its owner, a recording or a DVB-T
// channel tuned and locked, the filters of one step opened and closed together, and reception
// until what a step waits for has come.
#ifndef OMBRIX_HAL_TOOL_RECEPTION_H
#define OMBRIX_HAL_TOOL_RECEPTION_H

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "OmbrixHal.h"

// How a file tuner names a file of the local file system.
extern const std::string kLocalPrefix;
constexpr auto kLiveTableWait = std::chrono::seconds(5);  // the PAT and PMTs come several times a second

// The tuner of a type ("digitalFile", "analogFile", "DVB-T"); a Failure when the HAL has none.
class Tuner {
 public:
  explicit Tuner(const char* type);
  ~Tuner() { OmbrixHalTunerClose(handle_); }
  Tuner(const Tuner&) = delete;
  Tuner& operator=(const Tuner&) = delete;

  operator OmbrixHalTunerHandle() const { return handle_; }

 private:
  OmbrixHalTunerHandle handle_;
};

// Plays `file` `repetitions` times (0: over and over) at `rate` in units of 1000 bytes a second
// (0: as fast as it is pulled), once the tuner locks; quoted, the name may hold blanks and commas.
void tuneFile(OmbrixHalTunerHandle tuner, const std::string& file, uint32_t repetitions, uint32_t rate);

// The tuning line of a DVB-T channel.
std::string dvbTLine(const std::string& frequencyKhz, uint32_t bandwidthMhz);

// Tunes a DVB-T tuning line; a Failure unless the channel locks at once.
void tuneDvbT(OmbrixHalTunerHandle tuner, const std::string& line);

// Until `done`: pulled packet by packet from a recording, at most `packetLimit`, or waited for
// while live reception delivers on its own thread.
template <typename Done>
void receiveUntil(OmbrixHalTunerHandle tuner, bool live, uint32_t packetLimit, Done done) {
  if (!live) {
    for (uint32_t n = 0; n < packetLimit && !done() && OmbrixHalTunerReceive(tuner, 1); ++n) {
    }
    return;
  }
  const auto deadline = std::chrono::steady_clock::now() + kLiveTableWait;
  while (!done() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

// The AV player on a tuner, stopped and closed with this.
class AvPlayer {
 public:
  explicit AvPlayer(OmbrixHalTunerHandle tuner) : handle_(OmbrixHalAvPlayerOpen(tuner)) {}
  ~AvPlayer();
  AvPlayer(const AvPlayer&) = delete;
  AvPlayer& operator=(const AvPlayer&) = delete;

  bool opened() const { return handle_ != nullptr; }
  OmbrixHalAvPlayerHandle handle() const { return handle_; }
  // Service `number`'s PIDs, after stopping what played; a Failure when the player cannot.
  void play(const OmbrixHalAvPlayerParameter& parameter, uint32_t number);

 private:
  OmbrixHalAvPlayerHandle handle_;
  bool playing_ = false;
};

// Filters closed together; closing one waits for a delivery under way, so what their handlers
// wrote can be read once the set is gone.
class FilterSet {
 public:
  explicit FilterSet(OmbrixHalTunerHandle tuner) : tuner_(tuner) {}
  ~FilterSet();
  FilterSet(const FilterSet&) = delete;
  FilterSet& operator=(const FilterSet&) = delete;

  // Opened on `pid` with `parameter`, and started; else closed again and nullptr.
  OmbrixHalFilterHandle open(OmbrixHalFilterType type, uint32_t pid, OmbrixHalFilterHandler handler, void* context,
                             OmbrixHalFilterParameter parameter = {});
  // Afterwards no handler of these filters runs: each Stop waits for a delivery under way.
  void stopAll();

 private:
  OmbrixHalTunerHandle tuner_;
  std::vector<OmbrixHalFilterHandle> filters_;
};

#endif
