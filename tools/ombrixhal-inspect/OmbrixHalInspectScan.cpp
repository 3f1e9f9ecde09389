// The band scan: the channels of the receiver emulator's plan, a list or the UHF raster, each
// tuned in turn with lock polling; its report and the channel list of tuning lines it writes.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "OmbrixHalInspect.h"
#include "OmbrixHalToolDvbText.h"
#include "OmbrixHalToolReception.h"

namespace {

constexpr uint32_t kLowestDvbTKhz = 50500;
constexpr uint32_t kHighestDvbTKhz = 858000;
constexpr auto kLockTimer = std::chrono::milliseconds(2000);  // the tuner's own
constexpr auto kLockPoll = std::chrono::milliseconds(50);

std::vector<ScanChannel> uhfRaster() {
  std::vector<ScanChannel> channels;
  for (uint32_t frequency = 474000; frequency <= 786000; frequency += 8000) {
    channels.push_back({frequency, 8});
  }
  return channels;
}

// Status polling, as a middleware waits: while the tuner says it waits for lock, which its own
// lock timer ends. The DVB-T tuner decides when it tunes and never waits, so a frequency without
// a signal costs no time.
bool waitForLock(OmbrixHalTunerHandle tuner) {
  const auto deadline = std::chrono::steady_clock::now() + kLockTimer + kLockPoll;
  OmbrixHalTunerStatus status;
  while ((status = OmbrixHalTunerGetStatus(tuner)) == OMBRIX_HAL_TUNER_STATUS_WAIT_FOR_LOCK &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kLockPoll);
  }
  return status == OMBRIX_HAL_TUNER_STATUS_LOCKED;
}

ScanResult scanChannel(OmbrixHalTunerHandle tuner, const ScanChannel& channel) {
  ScanResult result;
  result.channel = channel;
  result.locked = waitForLock(tuner);
  OmbrixHalTunerDvbTGetMonitoring(tuner, &result.monitoring);
  if (result.locked) {
    result.report = std::make_unique<Report>();
    readSignal(tuner, *result.report);
    readChannelTables(tuner, *result.report);
  }
  return result;
}

std::string tuningLine(const ScanChannel& channel) {
  return dvbTLine(std::to_string(channel.frequencyKhz), channel.bandwidthMhz);
}

std::string monitoringText(const OmbrixHalTunerDvbTMonitoring& monitoring) {
  char ratio[32] = "unknown";
  if (monitoring.PowerRatioDb != -100) {
    std::snprintf(ratio, sizeof ratio, "%d.%04u dB", monitoring.PowerRatioDb, monitoring.PowerRatioFraction);
  }
  char text[160];
  std::snprintf(text, sizeof text, "strength %u %%, quality %u %%, driver status 0x%04x, power ratio %s, driver value %llu",
                monitoring.SignalStrength, monitoring.SignalQuality, monitoring.DriverStatus, ratio,
                static_cast<unsigned long long>(monitoring.DriverValueQuotient) * 100000000ull +
                    monitoring.DriverValueRemainder);
  return text;
}

}  // namespace

// Bad input costs one line and the scan goes on.
void scanNote(const std::string& text) {
  std::fprintf(stderr, "ombrixhal-inspect: scan: %s\n", text.c_str());
}

// The frequency and bandwidth of each line of a receiver emulator's channel plan. A line whose
// recording is missing is still scanned (it finds no signal), but named, since a plan usually
// points at recordings elsewhere.
std::vector<ScanChannel> planChannels(const std::string& path) {
  std::ifstream plan(path);
  if (!plan) {
    scanNote("channel plan " + path + ": " + std::strerror(errno) + "; scanning the UHF raster instead");
    return uhfRaster();
  }
  const std::string folder = path.find_last_of("/\\") == std::string::npos ? "" : path.substr(0, path.find_last_of("/\\") + 1);
  std::vector<ScanChannel> channels;
  uint32_t lineNumber = 0;
  for (std::string line; std::getline(plan, line);) {
    ++lineNumber;
    std::istringstream fields(line.substr(0, line.find('#')));
    uint32_t frequency = 0;
    uint32_t bandwidth = 0;
    std::string file;
    if (!(fields >> frequency >> bandwidth >> file)) {
      continue;
    }
    const bool absolute = file[0] == '/' || file[0] == '\\' || (file.size() > 1 && file[1] == ':');
    if (!std::ifstream(absolute ? file : folder + file)) {
      scanNote("channel plan " + path + " line " + std::to_string(lineNumber) + ": " + file + " is missing, " +
               std::to_string(frequency) + " kHz will not lock");
    }
    channels.push_back({frequency, bandwidth});
  }
  return channels;
}

// "474000,482000" in kHz, or "uhf".
std::vector<ScanChannel> listChannels(const std::string& list, uint32_t bandwidthMhz) {
  if (list == "uhf") {
    return uhfRaster();
  }
  std::vector<ScanChannel> channels;
  std::istringstream tokens(list);
  for (std::string token; std::getline(tokens, token, ',');) {
    if (token.empty() || token.find_first_not_of("0123456789") != std::string::npos) {
      scanNote("\"" + token + "\" is not a frequency in kHz, left out");
      continue;
    }
    const uint32_t frequency = token.size() > 9 ? 0 : static_cast<uint32_t>(std::stoul(token));
    if (frequency < kLowestDvbTKhz || frequency > kHighestDvbTKhz) {
      scanNote(token + " kHz is outside the DVB-T band (50500 to 858000 kHz), left out");
      continue;
    }
    channels.push_back({frequency, bandwidthMhz});
  }
  return channels;
}

std::vector<ScanResult> scan(const std::vector<ScanChannel>& channels, bool progress) {
  std::vector<ScanResult> results;
  {
    const Tuner tuner("DVB-T");
    for (size_t i = 0; i < channels.size(); ++i) {
      if (progress) {
        std::fprintf(stderr, "\rscanning %u kHz (%zu of %zu) ", channels[i].frequencyKhz, i + 1, channels.size());
      }
      if (!OmbrixHalTunerSetParameterByString(tuner, tuningLine(channels[i]).c_str())) {
        scanNote(std::to_string(channels[i].frequencyKhz) + " kHz, " + std::to_string(channels[i].bandwidthMhz) +
                 " MHz: not a DVB-T channel, left out");
        continue;
      }
      results.push_back(scanChannel(tuner, channels[i]));
    }
  }
  if (progress) {
    std::fprintf(stderr, "\r%40s\r", "");
  }
  return results;
}

// One tuning line per locked channel, as a middleware hands it back to the tuner; false when
// the file cannot be written.
bool writeChannelList(const std::vector<ScanResult>& results, const std::string& path) {
  std::ofstream list(path, std::ios::trunc);
  for (const ScanResult& result : results) {
    if (result.locked) {
      list << tuningLine(result.channel) << '\n';
    }
  }
  list.close();
  return static_cast<bool>(list);
}

void printScanText(const std::vector<ScanResult>& results, const std::string& channelList, bool listWritten) {
  const auto locked = std::count_if(results.begin(), results.end(), [](const ScanResult& result) { return result.locked; });
  std::printf("Scan: %zu frequencies, %td locked\n", results.size(), locked);
  for (const ScanResult& result : results) {
    std::printf("\n  %u kHz, %u MHz: %s\n", result.channel.frequencyKhz, result.channel.bandwidthMhz,
                result.locked ? "locked" : "not locked");
    std::printf("    monitoring  %s\n", monitoringText(result.monitoring).c_str());
    if (!result.locked) {
      continue;
    }
    const Report& report = *result.report;
    std::printf("    detected    %s\n", parametersText(report.reception).c_str());
    std::printf("    network     %s, transport stream %u\n",
                report.network.seen ? column(report.network.name, 0).c_str() : "(no network table)", report.transportStreamId);
    size_t nameColumns = 0;
    for (const Service& service : report.services) {
      nameColumns = std::max(nameColumns, textColumns(service.name));
    }
    for (const Service& service : report.services) {
      const uint32_t channel = channelNumber(report.network, service.number);
      std::printf("    %-11s %-5u %s  %s\n", channel != 0 ? ("LCN " + std::to_string(channel)).c_str() : "",
                  service.number, column(service.name, nameColumns).c_str(), column(service.provider, 0).c_str());
    }
  }
  std::printf("\nChannel list: %s (%td channels)%s\n", channelList.c_str(), locked, listWritten ? "" : ", NOT WRITTEN");
}

void printScanJson(const std::vector<ScanResult>& results, const std::string& channelList, bool listWritten) {
  std::printf("{\n  \"scan\": [");
  for (size_t i = 0; i < results.size(); ++i) {
    const ScanResult& result = results[i];
    const OmbrixHalTunerDvbTMonitoring& monitoring = result.monitoring;
    std::printf("%s\n    {\"frequency\": %u, \"bandwidth\": %u, \"locked\": %s, \"monitoring\": {\"signalStrength\": %u, "
                "\"signalQuality\": %u, \"driverStatus\": %u, \"powerRatioDb\": %d, \"powerRatioFraction\": %u, "
                "\"driverValueQuotient\": %u, \"driverValueRemainder\": %u}",
                i == 0 ? "" : ",", result.channel.frequencyKhz, result.channel.bandwidthMhz,
                result.locked ? "true" : "false", monitoring.SignalStrength, monitoring.SignalQuality,
                monitoring.DriverStatus, monitoring.PowerRatioDb, monitoring.PowerRatioFraction,
                monitoring.DriverValueQuotient, monitoring.DriverValueRemainder);
    if (result.locked) {
      const Report& report = *result.report;
      std::printf(",\n     \"reception\": %s, \"strength\": %u, \"quality\": %u, \"transportStreamId\": %u,\n     \"network\": %s,\n     \"services\": [",
                  jsonString(parametersText(report.reception)).c_str(), report.strength, report.quality,
                  report.transportStreamId, networkJson(report).c_str());
      for (size_t j = 0; j < report.services.size(); ++j) {
        const Service& service = report.services[j];
        std::printf("%s{\"number\": %u, \"name\": %s, \"provider\": %s, \"lcn\": %u}", j == 0 ? "" : ", ", service.number,
                    jsonString(service.name).c_str(), jsonString(service.provider).c_str(),
                    channelNumber(report.network, service.number));
      }
      std::printf("]");
    }
    std::printf("}");
  }
  std::printf("\n  ],\n  \"channelList\": %s,\n  \"channelListWritten\": %s\n}\n", jsonString(channelList).c_str(),
              listWritten ? "true" : "false");
}
