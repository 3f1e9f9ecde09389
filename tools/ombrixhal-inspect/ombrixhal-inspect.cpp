// ombrixhal-inspect: what the HAL hands a middleware from a recording or from live reception.
// Plays a transport stream through a "digitalFile" tuner, or receives a channel through the
// "DVB-T" tuner for some seconds, with the filters a middleware opens (sections of the PAT, the
// PMTs, the NIT, the SDT, the EIT present/following and the TDT/TOT; PES of every elementary
// stream; PCR; teletext) and prints the services, network, events, time, counts and teletext
// pages it received, with --play also playing the first service through the AV player into the
// player library; or scans a band of DVB-T frequencies; or plays analog line records through an
// "analogFile" tuner and its teletext filter. Uses the public C API only, as a middleware does.
// The report, reception and scan live in the files beside this one; here are the options.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "OmbrixHalInspect.h"
#include "OmbrixHalToolSession.h"

namespace {

const char* const kDefaultStream = OMBRIX_HAL_DEFAULT_STREAM;
const char* const kDefaultAnalog = OMBRIX_HAL_DEFAULT_ANALOG;
// The receiver emulator's channel plan that the build writes: the emulated band, the default
// stream on 474000 kHz and two more multiplexes.
const char* const kDefaultChannelPlan = OMBRIX_HAL_DEFAULT_CHANNEL_PLAN;

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--json") {
      options.json = true;
    } else if (argument == "--log") {
      options.log = true;
    } else if (argument == "--realtime") {
      options.realtime = true;
    } else if (argument == "--analog") {
      options.analog = true;
    } else if (argument == "--play") {
      options.playService = true;
    } else if (argument == "--scan") {
      options.scan = true;
      if (i + 1 < argc && argv[i + 1][0] != '-') {
        options.scanList = argv[++i];
      }
    } else if ((argument == "--channel-list" || argument == "--tune") && i + 1 < argc) {
      (argument == "--tune" ? options.tuneLine : options.channelList) = argv[++i];
    } else if ((argument == "--dvbt" || argument == "--bandwidth" || argument == "--seconds") && i + 1 < argc) {
      const std::string value = argv[++i];
      if (argument == "--dvbt") {
        options.frequency = value;
      } else {
        (argument == "--seconds" ? options.seconds : options.bandwidthMhz) = static_cast<uint32_t>(std::atoi(value.c_str()));
      }
    } else if (argument == "--help" || argument == "-h" || (argument.size() > 1 && argument[0] == '-')) {
      std::fprintf(stderr,
                   "usage: ombrixhal-inspect [--json] [--log] [--realtime] [--play] [FILE]\n"
                   "       ombrixhal-inspect [--json] [--log] --analog [FILE]\n"
                   "       ombrixhal-inspect [--json] [--log] [--play] --dvbt FREQ [--bandwidth MHZ] [--seconds N]\n"
                   "       ombrixhal-inspect [--json] [--log] [--play] --tune LINE [--seconds N]\n"
                   "       ombrixhal-inspect [--json] [--log] --scan [FREQ,FREQ,...|uhf] [--bandwidth MHZ]\n"
                   "                         [--channel-list FILE]\n"
                   "  FILE        a transport stream (default: %s)\n"
                   "  --analog    FILE holds analog line records (default: %s)\n"
                   "  --dvbt      receive the DVB-T channel at FREQ kHz (bandwidth 8 MHz unless given) for N\n"
                   "              seconds (default %u); with the receiver emulator, %s names its channel\n"
                   "              plan (default: %s)\n"
                   "  --tune      receive the channel that a tuning line names (\"DVB-T: freq=474000, bandwidth=8\")\n"
                   "  --scan      tune each frequency (kHz) in turn and report what locks; without a list the\n"
                   "              channels of the receiver emulator's plan, with uhf 474000 to 786000 in 8 MHz\n"
                   "              steps; writes a tuning line per locked channel to FILE (default: %s)\n"
                   "  --json      the report as JSON\n"
                   "  --log       the HAL's log lines on stderr\n"
                   "  --realtime  play at the stream's own rate instead of as fast as it reads\n"
                   "  --play      play the first service through the AV player as well (with the player\n"
                   "              library emulator, VOMTP_EMULATOR_REPORT=FILE writes what it received)\n",
                   kDefaultStream, kDefaultAnalog, kDefaultLiveSeconds, kChannelPlanVariable, kDefaultChannelPlan,
                   kDefaultChannelList);
      std::exit(argument == "--help" || argument == "-h" ? 0 : 2);
    } else {
      options.file = argument;
    }
  }
  if (options.scan) {
    options.file = "scan";
  } else if (!options.tuneLine.empty()) {
    options.file = options.tuneLine;
  } else if (!options.frequency.empty()) {
    options.file = "DVB-T " + options.frequency + " kHz";
  } else if (options.file.empty()) {
    options.file = options.analog ? kDefaultAnalog : kDefaultStream;
  }
  return options;
}


}  // namespace

int main(int argc, char** argv) {
  Options options = parse(argc, argv);
  Report report;
  report.file = options.file;
  const bool live = !options.frequency.empty() || !options.tuneLine.empty() || options.scan;
  const std::string reason =
      live            ? std::string{}
      : options.analog ? checkRecording(report.file, kRecordSize, "a file of line records", report.fileBytes)
                       : checkRecording(report.file, 2 * kPacketSize, "a transport stream", report.fileBytes);
  if (!reason.empty()) {
    std::fprintf(stderr, "ombrixhal-inspect: %s: %s\n", report.file.c_str(), reason.c_str());
    return 1;
  }
  // What the emulated antenna receives, unless the user named a plan: the build's default stream.
  if (live) {
    useChannelPlanUnlessSet(kDefaultChannelPlan);
  }
  const std::vector<ScanChannel> channels =
      !options.scan                ? std::vector<ScanChannel>{}
      : options.scanList.empty() ? planChannels(std::getenv(kChannelPlanVariable))
                                 : listChannels(options.scanList, options.bandwidthMhz);
  std::vector<ScanResult> results;
  const std::string failure = runWithHal(options.log, [&](std::FILE*) {
    if (options.scan) {
      results = scan(channels, isatty(STDERR_FILENO) && !options.json);
    } else if (live) {
      inspectLive(report, options);
    } else if (options.analog) {
      inspectAnalog(report, options);
    } else {
      inspect(report, options);
    }
  });
  if (!failure.empty()) {
    std::fprintf(stderr, "ombrixhal-inspect: %s: %s\n", report.file.c_str(), failure.c_str());
    return 1;
  }
  if (options.scan) {
    const bool written = writeChannelList(results, options.channelList);
    if (!written) {
      scanNote("channel list " + options.channelList + ": cannot be written");
    }
    options.json ? printScanJson(results, options.channelList, written) : printScanText(results, options.channelList, written);
    return 0;
  }
  if (options.analog) {
    options.json ? printAnalogJson(report) : printAnalogText(report);
  } else {
    options.json ? printJson(report) : printText(report);
  }
  // A damaged recording is still reported in full, then named as such.
  if (const std::string damage = report.damage.describe(report.analog ? "records" : "packets"); !damage.empty()) {
    std::fprintf(stderr, "ombrixhal-inspect: %s: damaged stream: %s\n", report.file.c_str(), damage.c_str());
    return 1;
  }
  return 0;
}
