// The report as text, for a person, or as JSON, for a program: services and their streams, the
// network, time, bitrate, what was played, PID counts and teletext pages.
#include <algorithm>
#include <cstdio>
#include <initializer_list>

#include "OmbrixHalInspect.h"
#include "OmbrixHalToolDvbText.h"

namespace {

std::string streamTypeText(const ElementaryStream& stream) {
  switch (stream.type) {
    case 0x01: return "MPEG-1 video";
    case 0x02: return "MPEG-2 video";
    case 0x03: return "MPEG-1 audio";
    case 0x04: return "MPEG-2 audio";
    case 0x06: return stream.teletext ? "teletext" : "private data";
    case 0x0f: return "AAC audio";
    case 0x1b: return "H.264 video";
    case 0x24: return "HEVC video";
    case 0x81: return "AC-3 audio";
    default: return "type 0x" + [&] { char hex[8]; std::snprintf(hex, sizeof hex, "%02x", stream.type); return std::string(hex); }();
  }
}

std::string eventText(const Event& event) {
  if (event.name.empty()) {
    return "-";
  }
  char minutes[16];
  std::snprintf(minutes, sizeof minutes, " (%u min)", event.durationSeconds / 60);
  return timeText(event.start).substr(11, 5) + " " + column(event.name, 0) + minutes;
}

// A value of the tuning record's enumerations as the tuner's texts name it.
const char* enumerationText(int32_t value, std::initializer_list<std::pair<int32_t, const char*>> texts) {
  for (const auto& [number, text] : texts) {
    if (number == value) {
      return text;
    }
  }
  return "auto";
}

std::string receptionText(const Report& report) {
  char signal[96];
  std::snprintf(signal, sizeof signal, "; signal strength %u %%, quality %u %%; %u s received", report.strength,
                report.quality, report.seconds);
  return parametersText(report.reception) + signal;
}

// Live: where the network table says this transport stream is broadcast, when the tuner is
// elsewhere (a transmitter relaying another's stream, or a wrong table); else nothing.
std::string frequencyNote(const Report& report) {
  const auto stream = report.network.streams.find(report.transportStreamId);
  if (!report.live || stream == report.network.streams.end() || stream->second.frequencyKhz == 0 ||
      stream->second.frequencyKhz == report.reception.Frequency) {
    return {};
  }
  return "the network table puts transport stream " + std::to_string(report.transportStreamId) + " on " +
         std::to_string(stream->second.frequencyKhz) + " kHz, the tuner is on " +
         std::to_string(report.reception.Frequency) + " kHz";
}

void printNetworkText(const Report& report) {
  const Network& network = report.network;
  std::printf("\nNetwork\n");
  if (!network.seen) {
    std::printf("  no network information table\n");
    return;
  }
  std::printf("  %s (network %u)\n", column(network.name, 0).c_str(), network.id);
  for (const auto& [id, stream] : network.streams) {
    std::printf("  transport stream %u (original network %u): %s\n", id, stream.originalNetworkId,
                stream.delivery.empty() ? "no terrestrial delivery" : stream.delivery.c_str());
    std::string services;
    for (const auto& [number, type] : stream.services) {
      const uint32_t channel = channelNumber(network, number);
      services += (services.empty() ? "" : ", ") + std::to_string(number) +
                  (channel != 0 ? " (LCN " + std::to_string(channel) + ")" : "");
    }
    std::printf("    services %s\n", services.empty() ? "none listed" : services.c_str());
  }
  if (const std::string note = frequencyNote(report); !note.empty()) {
    std::printf("  %s\n", note.c_str());
  }
}

void printTeletextPages(const Report& report) {
  std::printf("Teletext pages\n");
  for (const auto& [page, header] : report.teletextPages) {
    std::printf("  %d  \"%s\"\n", page, header.c_str());
  }
  if (report.teletextPages.empty()) {
    std::printf("  none\n");
  }
}

// The teletext pages as the last member of a JSON object, without its line end.
void printTeletextJson(const Report& report) {
  std::printf("  \"teletext\": {");
  bool first = true;
  for (const auto& [page, header] : report.teletextPages) {
    std::printf("%s\"%d\": %s", first ? "" : ", ", page, jsonString(header).c_str());
    first = false;
  }
  std::printf("}");
}

}  // namespace

std::string column(std::string text, size_t columns) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text + std::string(columns - std::min(columns, textColumns(text)), ' ');
}

// What the tuner detected: frequency, bandwidth and transmission parameters.
std::string parametersText(const OmbrixHalTunerParameterDvbT& reception) {
  char text[256];
  std::snprintf(text, sizeof text, "%u kHz, %s, %s, guard %s, %s, code rate %s", reception.Frequency,
                enumerationText(reception.Bandwidth, {{1, "5 MHz"}, {2, "6 MHz"}, {3, "7 MHz"}, {4, "8 MHz"}}),
                enumerationText(reception.TransmissionMode, {{2, "2K"}, {3, "4K"}, {4, "8K"}}),
                enumerationText(reception.GuardInterval, {{2, "1/4"}, {3, "1/8"}, {4, "1/16"}, {5, "1/32"}}),
                enumerationText(reception.Modulation, {{2, "QPSK"}, {4, "QAM-16"}, {6, "QAM-64"}}),
                enumerationText(reception.CodeRate, {{2, "1/2"}, {5, "2/3"}, {7, "3/4"}, {10, "5/6"}, {12, "7/8"}}));
  return text;
}

// A service's logical channel number from the network table, or 0.
uint32_t channelNumber(const Network& network, uint32_t service) {
  for (const auto& [id, stream] : network.streams) {
    if (const auto found = stream.channelNumbers.find(service); found != stream.channelNumbers.end()) {
      return found->second;
    }
  }
  return 0;
}

void printText(const Report& report) {
  if (report.live) {
    std::printf("DVB-T %s\n\n", receptionText(report).c_str());
  } else {
    std::printf("%s: %.1f MB, %llu packets\n\n", report.file.c_str(), report.fileBytes / 1e6,
                static_cast<unsigned long long>(report.packets.load()));
  }
  std::printf("Services\n");
  // The columns fit the longest name in characters, so that a name in any table stays aligned.
  size_t nameColumns = 20;
  size_t providerColumns = 16;
  for (const Service& service : report.services) {
    nameColumns = std::max(nameColumns, textColumns(service.name));
    providerColumns = std::max(providerColumns, textColumns(service.provider));
  }
  if (!report.patSeen) {
    std::printf("  none: %s\n", kNoPatNote);
  }
  for (const Service& service : report.services) {
    std::printf("  %-5u %s %s PMT 0x%04x  PCR 0x%04x\n", service.number, column(service.name, nameColumns).c_str(),
                column(service.provider, providerColumns).c_str(), service.pmtPid, service.pcrPid);
    for (const ElementaryStream& stream : service.streams) {
      std::printf("        0x%04x  %s\n", stream.pid, streamTypeText(stream).c_str());
    }
    std::printf("        now:  %s\n        next: %s\n", eventText(service.present).c_str(),
                eventText(service.following).c_str());
  }
  printNetworkText(report);
  std::printf("\nTime\n");
  if (report.lastUtc != 0) {
    std::printf("  stream UTC %s to %s (%u TDT, %u TOT, %u TOT CRC errors)\n", timeText(report.firstUtc).c_str(),
                timeText(report.lastUtc).c_str(), report.tdts, report.tots, report.totCrcErrors);
    std::printf("  HAL clock  %s\n", report.clock.c_str());
  } else {
    std::printf("  no TDT or TOT\n");
  }
  if (!report.live) {
    std::printf("  bitrate    %.3f Mbit/s (from PCRs)\n", bitrate(report) / 1e6);
  }
  if (!report.played.empty()) {
    std::printf("\nPlayed\n  %s, through the AV player\n", report.played.c_str());
  }
  std::printf("\nPIDs          packets   sections   CRC errors        PES   teletext lines\n");
  for (const auto& [pid, counts] : report.pids) {
    // Live, the tuner hands each PID to one chain and nothing counts the packets.
    const std::string packets = report.live ? "-" : std::to_string(counts.packets);
    std::printf("  0x%04x %12s %10llu %12u %10llu %16llu\n", pid, packets.c_str(),
                static_cast<unsigned long long>(counts.sections), counts.crcErrors,
                static_cast<unsigned long long>(counts.pes), static_cast<unsigned long long>(counts.teletextLines));
  }
  std::printf("\n");
  printTeletextPages(report);
}

std::string jsonString(const std::string& text) {
  std::string quoted = "\"";
  for (char character : text) {
    if (character == '"' || character == '\\') {
      quoted += '\\';
    }
    if (static_cast<unsigned char>(character) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", character);
      quoted += escaped;
      continue;
    }
    quoted += character;
  }
  return quoted + "\"";
}

std::string networkJson(const Report& report) {
  const Network& network = report.network;
  std::string json = "{\"name\": " + jsonString(network.name) + ", \"id\": " + std::to_string(network.id) +
                     ", \"frequencyNote\": " + jsonString(frequencyNote(report)) + ", \"transportStreams\": [";
  for (const auto& [id, stream] : network.streams) {
    json += (json.back() == '[' ? "" : ", ") + std::string("{\"id\": ") + std::to_string(id) +
            ", \"originalNetworkId\": " + std::to_string(stream.originalNetworkId) +
            ", \"frequency\": " + std::to_string(stream.frequencyKhz) + ", \"delivery\": " + jsonString(stream.delivery) +
            ", \"services\": [";
    for (const auto& [number, type] : stream.services) {
      json += (json.back() == '[' ? "" : ", ") + std::string("{\"number\": ") + std::to_string(number) +
              ", \"type\": " + std::to_string(type) + ", \"lcn\": " + std::to_string(channelNumber(network, number)) + "}";
    }
    json += "]}";
  }
  return json + "]}";
}

void printJson(const Report& report) {
  std::printf("{\n  \"file\": %s,\n  \"bytes\": %llu,\n  \"packets\": %llu,\n", jsonString(report.file).c_str(),
              static_cast<unsigned long long>(report.fileBytes), static_cast<unsigned long long>(report.packets.load()));
  if (report.live) {
    std::printf("  \"reception\": %s,\n", jsonString(receptionText(report)).c_str());
  }
  if (!report.played.empty()) {
    std::printf("  \"played\": %s,\n", jsonString(report.played).c_str());
  }
  if (!report.patSeen) {
    std::printf("  \"note\": %s,\n", jsonString(kNoPatNote).c_str());
  }
  std::printf("  \"services\": [");
  for (size_t i = 0; i < report.services.size(); ++i) {
    const Service& service = report.services[i];
    std::printf("%s\n    {\"number\": %u, \"name\": %s, \"provider\": %s, \"pmtPid\": %u, \"pcrPid\": %u, "
                "\"now\": %s, \"next\": %s, \"streams\": [",
                i == 0 ? "" : ",", service.number, jsonString(service.name).c_str(),
                jsonString(service.provider).c_str(), service.pmtPid, service.pcrPid,
                jsonString(service.present.name).c_str(), jsonString(service.following.name).c_str());
    for (size_t j = 0; j < service.streams.size(); ++j) {
      const ElementaryStream& stream = service.streams[j];
      std::printf("%s{\"pid\": %u, \"type\": %u, \"kind\": %s}", j == 0 ? "" : ", ", stream.pid, stream.type,
                  jsonString(streamTypeText(stream)).c_str());
    }
    std::printf("]}");
  }
  std::printf("\n  ],\n  \"network\": %s,", networkJson(report).c_str());
  std::printf("\n  \"time\": {\"first\": %s, \"last\": %s, \"clock\": %s, \"tdt\": %u, \"tot\": %u, "
              "\"totCrcErrors\": %u},\n",
              jsonString(report.lastUtc ? timeText(report.firstUtc) : "").c_str(),
              jsonString(report.lastUtc ? timeText(report.lastUtc) : "").c_str(), jsonString(report.clock).c_str(),
              report.tdts, report.tots, report.totCrcErrors);
  std::printf("  \"bitrate\": %.0f,\n  \"pids\": {", bitrate(report));
  bool first = true;
  for (const auto& [pid, counts] : report.pids) {
    std::printf("%s\n    \"%u\": {\"packets\": %llu, \"sections\": %llu, \"crcErrors\": %u, \"pes\": %llu, "
                "\"teletextLines\": %llu}",
                first ? "" : ",", pid, static_cast<unsigned long long>(counts.packets),
                static_cast<unsigned long long>(counts.sections), counts.crcErrors,
                static_cast<unsigned long long>(counts.pes), static_cast<unsigned long long>(counts.teletextLines));
    first = false;
  }
  std::printf("\n  },\n");
  printTeletextJson(report);
  std::printf("\n}\n");
}

void printAnalogText(const Report& report) {
  std::printf("%s: %.1f MB, %llu line records, %llu teletext lines\n\n", report.file.c_str(), report.fileBytes / 1e6,
              static_cast<unsigned long long>(report.packets.load()),
              static_cast<unsigned long long>(report.recordTeletextLines));
  printTeletextPages(report);
}

void printAnalogJson(const Report& report) {
  std::printf("{\n  \"file\": %s,\n  \"bytes\": %llu,\n  \"records\": %llu,\n  \"teletextLines\": %llu,\n",
              jsonString(report.file).c_str(), static_cast<unsigned long long>(report.fileBytes),
              static_cast<unsigned long long>(report.packets.load()),
              static_cast<unsigned long long>(report.recordTeletextLines));
  printTeletextJson(report);
  std::printf("\n}\n");
}
