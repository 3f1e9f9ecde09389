// The HAL's start and stop around a tool's job, and the console and log lines it prints meanwhile.
#include "OmbrixHalToolSession.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "OmbrixHal.h"

namespace {

const std::string kLocalPrefix = "//local/";
constexpr size_t kLongestTunerName = 255;

void printLog(void*, const char* aFunctionName, uint32_t aLogId, uint32_t aSeverity, const char* aText) {
  static const char* const severities[] = {"?", "error", "warning", "info"};
  std::fprintf(stderr, "log %-7s 0x%04x %s: %s\n", severities[aSeverity <= 3 ? aSeverity : 0], aLogId, aFunctionName,
               aText);
}

// The HAL's console lines (the receiver's driver prints its versions there, the player library
// its messages) would mix with what the tool prints on stdout: while this lives they go to
// stderr or nowhere, and what stdout was stays at hand.
class ConsoleAside {
 public:
  explicit ConsoleAside(bool show) {
    std::fflush(stdout);
    out_ = fdopen(dup(STDOUT_FILENO), "w");
#if defined(_WIN32)
    const int target = show ? dup(STDERR_FILENO) : open("NUL", O_WRONLY);
#else
    const int target = show ? dup(STDERR_FILENO) : open("/dev/null", O_WRONLY);
#endif
    dup2(target, STDOUT_FILENO);
    close(target);
  }
  ~ConsoleAside() {
    std::fflush(stdout);
    dup2(fileno(out_), STDOUT_FILENO);
    std::fclose(out_);
  }
  ConsoleAside(const ConsoleAside&) = delete;
  ConsoleAside& operator=(const ConsoleAside&) = delete;

  std::FILE* out() const { return out_; }

 private:
  std::FILE* out_;
};

}  // namespace

void setEnvironment(const char* name, const char* value) {
#if defined(_WIN32)
  _putenv_s(name, value);
#else
  setenv(name, value, 1);
#endif
}

void useChannelPlanUnlessSet(const char* plan) {
  if (std::getenv(kChannelPlanVariable) == nullptr) {
    setEnvironment(kChannelPlanVariable, plan);
  }
}

std::string checkRecording(const std::string& file, uint64_t shortestBytes, const char* kind, uint64_t& bytes) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) {
    return std::strerror(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return "not a regular file";
  }
  if (std::FILE* opened = std::fopen(file.c_str(), "rb"); opened != nullptr) {
    std::fclose(opened);
  } else {
    return std::strerror(errno);
  }
  if (kLocalPrefix.size() + file.size() > kLongestTunerName) {
    return "the path is too long for the file tuner (at most " +
           std::to_string(kLongestTunerName - kLocalPrefix.size()) + " characters)";
  }
  if (file.find('"') != std::string::npos) {
    return "the file tuner cannot take a path with a double quote";
  }
  bytes = static_cast<uint64_t>(status.st_size);
  if (bytes < shortestBytes) {
    return "too short for " + std::string(kind) + " (" + std::to_string(bytes) + " bytes)";
  }
  return {};
}

std::string runWithHal(bool log, const std::function<void(std::FILE* out)>& job) {
  if (log) {
    OmbrixHalSetLogHandler(printLog, nullptr);
    OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_ERROR);
    OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_WARNING);
    OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_INFO);
  }
  std::string failure;
  {
    const ConsoleAside console(log);
    // The application's window record: none, a window is the player library's own.
    static const uintptr_t videoWindow[1] = {0};
    OmbrixHalInitParameter parameter = {1, reinterpret_cast<uintptr_t>(videoWindow)};
    try {
      if (!OmbrixHalInit(&parameter)) {
        failure = "the HAL did not start";
      } else {
        job(console.out());
      }
    } catch (const Failure& caught) {
      failure = caught.reason;
    }
    OmbrixHalDone();
  }
  OmbrixHalSetLogHandler(nullptr, nullptr);
  return failure;
}
