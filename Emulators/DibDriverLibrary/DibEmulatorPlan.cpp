// Reads the channel plan: "FREQUENCY_KHZ BANDWIDTH_MHZ FILE [key=value ...]" per line, '#' to
// the end of a line a comment.
#include "DibEmulatorPlan.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace dibemulator {
namespace {

// The keys take any integer of their field's width, so that a plan can give values outside the
// documented lists.
struct PlanKey {
  const char* name;
  uint32_t valueCount;
  int64_t minimum;
  int64_t maximum;
  void (*store)(PlanChannel&, const int64_t*);
};

constexpr int64_t kInt32Min = INT32_MIN;
constexpr int64_t kInt32Max = INT32_MAX;
constexpr int64_t kUint32Max = UINT32_MAX;

constexpr PlanKey kPlanKeys[] = {
    {"mode", 1, kInt32Min, kInt32Max, [](PlanChannel& c, const int64_t* v) { c.transmissionMode = int32_t(v[0]); }},
    {"guard", 1, kInt32Min, kInt32Max, [](PlanChannel& c, const int64_t* v) { c.guardInterval = int32_t(v[0]); }},
    {"constellation", 1, kInt32Min, kInt32Max,
     [](PlanChannel& c, const int64_t* v) { c.constellation = int32_t(v[0]); }},
    {"coderate", 1, kInt32Min, kInt32Max, [](PlanChannel& c, const int64_t* v) { c.codeRate = int32_t(v[0]); }},
    {"gain", 2, 0, kUint32Max,
     [](PlanChannel& c, const int64_t* v) {
       c.gains[0] = uint32_t(v[0]);
       c.gains[1] = uint32_t(v[1]);
     }},
    {"power", 2, 0, kUint32Max,
     [](PlanChannel& c, const int64_t* v) {
       c.noisePower = uint32_t(v[0]);
       c.signalPower = uint32_t(v[1]);
     }},
    {"value", 1, 0, kUint32Max, [](PlanChannel& c, const int64_t* v) { c.driverValue = uint32_t(v[0]); }},
    {"status", 1, 0, UINT16_MAX, [](PlanChannel& c, const int64_t* v) { c.status = uint16_t(v[0]); }},
    {"quality", 1, 0, UINT8_MAX, [](PlanChannel& c, const int64_t* v) { c.quality = uint8_t(v[0]); }},
};

bool parseInteger(const std::string& aText, int64_t aMinimum, int64_t aMaximum, int64_t& aValue) {
  const char* end = aText.data() + aText.size();
  const auto [stop, error] = std::from_chars(aText.data(), end, aValue);
  return error == std::errc() && stop == end && aValue >= aMinimum && aValue <= aMaximum;
}

// Stores "key=v" or "key=v1,v2"; an empty text when it did, else why not.
std::string applyKey(const std::string& aToken, PlanChannel& aChannel) {
  const size_t equals = aToken.find('=');
  const std::string name = aToken.substr(0, equals);
  for (const PlanKey& key : kPlanKeys) {
    if (name != key.name) {
      continue;
    }
    int64_t values[2] = {};
    std::string rest = equals == std::string::npos ? std::string() : aToken.substr(equals + 1);
    for (uint32_t i = 0; i < key.valueCount; ++i) {
      const size_t comma = i + 1 < key.valueCount ? rest.find(',') : std::string::npos;
      if ((i + 1 < key.valueCount && comma == std::string::npos) ||
          !parseInteger(rest.substr(0, comma), key.minimum, key.maximum, values[i])) {
        return "bad value in '" + aToken + "'";
      }
      rest = comma == std::string::npos ? std::string() : rest.substr(comma + 1);
    }
    key.store(aChannel, values);
    return {};
  }
  return "unknown key in '" + aToken + "'";
}

// One plan line into aChannel; an empty text when it holds a channel, else why not.
std::string parseLine(const std::string& aLine, const std::filesystem::path& aPlanDirectory, PlanChannel& aChannel) {
  std::istringstream fields(aLine);
  std::string frequency;
  std::string bandwidth;
  std::string file;
  if (!(fields >> frequency >> bandwidth >> file)) {
    return "expected FREQUENCY_KHZ BANDWIDTH_MHZ FILE";
  }
  int64_t value = 0;
  if (!parseInteger(frequency, 0, kUint32Max, value)) {
    return "bad frequency '" + frequency + "'";
  }
  aChannel.frequencyKHz = uint32_t(value);
  // The driver speaks in 100 kHz: the bandwidth must stay a 32-bit value when multiplied by 10.
  if (!parseInteger(bandwidth, 0, kUint32Max / 10, value)) {
    return "bad bandwidth '" + bandwidth + "'";
  }
  aChannel.bandwidthMHz = uint32_t(value);
  const std::filesystem::path path(file);
  aChannel.file = (path.is_absolute() ? path : aPlanDirectory / path).string();
  for (std::string token; fields >> token;) {
    const std::string problem = applyKey(token, aChannel);
    if (!problem.empty()) {
      return problem;
    }
  }
  return {};
}

}  // namespace

const std::vector<PlanChannel>& ChannelPlan::read(const std::string& aPath) {
  std::optional<std::string> text;
  if (std::ifstream file(aPath, std::ios::binary); file) {
    text = std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  if (read_ && aPath == path_ && text == text_) {
    return channels_;
  }
  read_ = true;
  path_ = aPath;
  text_ = text;
  channels_.clear();
  if (!text) {
    std::fprintf(stderr, "DibDriverLibrary emulator: cannot read the channel plan '%s'\n", aPath.c_str());
    return channels_;
  }
  const std::filesystem::path directory = std::filesystem::path(aPath).parent_path();
  std::istringstream lines(*text);
  uint32_t lineNumber = 0;
  for (std::string line; std::getline(lines, line);) {
    ++lineNumber;
    line = line.substr(0, line.find('#'));
    if (line.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    PlanChannel channel;
    const std::string problem = parseLine(line, directory, channel);
    if (problem.empty()) {
      channels_.push_back(channel);
    } else {
      std::fprintf(stderr, "DibDriverLibrary emulator: %s:%u: %s; line ignored\n", aPath.c_str(), lineNumber,
                   problem.c_str());
    }
  }
  return channels_;
}

}  // namespace dibemulator
