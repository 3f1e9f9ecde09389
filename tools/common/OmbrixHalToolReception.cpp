// Tuning, filter sets and the tuners' failures in the words the tools print.
#include "OmbrixHalToolReception.h"

#include <cstring>

#include "OmbrixHalToolSession.h"

const std::string kLocalPrefix = "//local/";

namespace {

struct MissingTuner {
  const char* type;
  const char* reason;
};
constexpr MissingTuner kMissingTuners[] = {
    {"digitalFile", "the HAL has no file tuner"},
    {"analogFile", "the HAL has no analog file tuner"},
    {"DVB-T", "the HAL has no DVB-T tuner (is the receiver driver there?)"},
};

}  // namespace

Tuner::Tuner(const char* type) : handle_(OmbrixHalTunerOpen(type)) {
  if (handle_ == nullptr) {
    for (const MissingTuner& missing : kMissingTuners) {
      if (std::strcmp(missing.type, type) == 0) {
        throw Failure{missing.reason};
      }
    }
    throw Failure{"the HAL has no " + std::string(type) + " tuner"};
  }
}

void tuneFile(OmbrixHalTunerHandle tuner, const std::string& file, uint32_t repetitions, uint32_t rate) {
  const std::string line = "digitalFile: name=\"" + kLocalPrefix + file + "\", repetitions=" +
                           std::to_string(repetitions) + ", symbolrate=" + std::to_string(rate);
  if (!OmbrixHalTunerSetParameterByString(tuner, line.c_str())) {
    throw Failure{"not a transport stream (no packet sync in its first bytes)"};
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  while (OmbrixHalTunerGetStatus(tuner) != OMBRIX_HAL_TUNER_STATUS_LOCKED) {
    if (std::chrono::steady_clock::now() > deadline) {
      throw Failure{"the tuner does not lock"};
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

std::string dvbTLine(const std::string& frequencyKhz, uint32_t bandwidthMhz) {
  return "DVB-T: freq=" + frequencyKhz + ", bandwidth=" + std::to_string(bandwidthMhz);
}

void tuneDvbT(OmbrixHalTunerHandle tuner, const std::string& line) {
  if (!OmbrixHalTunerSetParameterByString(tuner, line.c_str())) {
    throw Failure{"not a DVB-T channel (frequencies 50500 to 858000 kHz, bandwidth 6, 7 or 8 MHz)"};
  }
  if (OmbrixHalTunerGetStatus(tuner) != OMBRIX_HAL_TUNER_STATUS_LOCKED) {
    throw Failure{"no reception (NOT LOCKED)"};
  }
}

AvPlayer::~AvPlayer() {
  if (handle_ != nullptr) {
    OmbrixHalAvPlayerStop(handle_);
    OmbrixHalAvPlayerClose(handle_);
  }
}

void AvPlayer::play(const OmbrixHalAvPlayerParameter& parameter, uint32_t number) {
  if (playing_) {
    OmbrixHalAvPlayerStop(handle_);
  }
  playing_ = OmbrixHalAvPlayerSetParameter(handle_, &parameter) && OmbrixHalAvPlayerPlay(handle_);
  if (!playing_) {
    throw Failure{"the AV player cannot play service " + std::to_string(number)};
  }
}

FilterSet::~FilterSet() {
  for (OmbrixHalFilterHandle filter : filters_) {
    OmbrixHalFilterClose(filter);
  }
}

OmbrixHalFilterHandle FilterSet::open(OmbrixHalFilterType type, uint32_t pid, OmbrixHalFilterHandler handler,
                                      void* context, OmbrixHalFilterParameter parameter) {
  OmbrixHalFilterHandle filter = OmbrixHalFilterOpen(tuner_, type, nullptr, handler, context);
  parameter.pid = pid;
  if (filter == nullptr || !OmbrixHalFilterSetParameter(filter, &parameter) || !OmbrixHalFilterStart(filter)) {
    OmbrixHalFilterClose(filter);
    return nullptr;
  }
  filters_.push_back(filter);
  return filter;
}

void FilterSet::stopAll() {
  for (OmbrixHalFilterHandle filter : filters_) {
    OmbrixHalFilterStop(filter);
  }
}
