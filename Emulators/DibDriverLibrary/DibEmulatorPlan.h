// The channel plan: what the emulated antenna receives, one channel per line of a text file.
#ifndef DIB_EMULATOR_PLAN_H
#define DIB_EMULATOR_PLAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dibemulator {

// One receivable channel and what the driver reports for it. The defaults describe an 8K,
// 1/8, QAM-64, 2/3 multiplex received at about 20 dB.
struct PlanChannel {
  uint32_t frequencyKHz = 0;
  uint32_t bandwidthMHz = 0;
  std::string file;  // resolved against the plan's directory
  int32_t transmissionMode = 1;
  int32_t guardInterval = 2;
  int32_t constellation = 2;
  int32_t codeRate = 2;
  uint32_t gains[2] = {20000, 20000};
  uint32_t noisePower = 1000000;
  uint32_t signalPower = 100000000;
  uint32_t driverValue = 0;
  uint16_t status = 0;
  uint8_t quality = 100;
};

// The plan, read again at each tuning so that an edit applies from the next one. Malformed lines
// are reported on stderr with the plan's name and their line number, once for each text of the
// plan, and left out; an unreadable plan is reported likewise and gives no channel.
class ChannelPlan {
 public:
  const std::vector<PlanChannel>& read(const std::string& aPath);

 private:
  std::string path_;
  std::optional<std::string> text_;  // none: unreadable
  bool read_ = false;
  std::vector<PlanChannel> channels_;
};

}  // namespace dibemulator

#endif
