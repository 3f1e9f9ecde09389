// Shared test support: a log handler that records every line, and a fixture that starts
// the library with memory checking on and fails the test on any leak report.
#ifndef OMBRIX_HAL_TEST_FIXTURE_H
#define OMBRIX_HAL_TEST_FIXTURE_H

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "OmbrixHal.h"
#include "OmbrixHalSumInOrder.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::test {

struct LogLine {
  std::string function;
  uint32_t id;
  uint32_t severity;
  std::string text;

  bool operator==(const LogLine&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const LogLine& line);

inline LogLine error(std::string function, std::string text, uint32_t id = 0x1000) {
  return {std::move(function), id, OMBRIX_HAL_LOGGER_SEVERITY_ERROR, std::move(text)};
}
inline LogLine warning(std::string function, std::string text, uint32_t id = 0x2000) {
  return {std::move(function), id, OMBRIX_HAL_LOGGER_SEVERITY_WARNING, std::move(text)};
}
inline LogLine info(std::string function, std::string text, uint32_t id = 0x3000) {
  return {std::move(function), id, OMBRIX_HAL_LOGGER_SEVERITY_INFO, std::move(text)};
}
// The warning of an export whose platform slot is empty, and the error of one refusing a NULL.
inline LogLine notSupported(const std::string& function) {
  return warning(function, "Function not supported '" + function + "'");
}
inline LogLine illegalNull(const std::string& function, const std::string& parameter) {
  return error(function, "Illegal parameter 'NULL' for '" + parameter + "'");
}
// The other wordings of a missing slot and a refused NULL, with their own ids: tuner, filter,
// file and clock exports use them.
inline LogLine unsupported(const std::string& function) {
  return warning(function, "Function not supported: '" + function + "'", 0x2001);
}
inline LogLine nullValue(const std::string& function, const std::string& parameter) {
  return error(function, "Illegal value 'NULL' for parameter '" + parameter + "'", 0x1003);
}

// A date-time from its fields, and its text form: the clock and date-time tests read both.
inline OmbrixHalDateTime at(uint32_t year, uint32_t month, uint32_t day, uint32_t hour = 0, uint32_t minute = 0,
                            uint32_t second = 0) {
  return OmbrixHalDateTimeSetDateTime(nullptr, year, month, day, hour, minute, second);
}
inline std::string toString(OmbrixHalDateTime value) {
  char text[OMBRIX_HAL_DATE_TIME_TEXT_SIZE];
  OmbrixHalDateTimeToString(value, text);
  return text;
}

// Records what the logger hands to the middleware's handler, from any thread.
class LogCapture {
 public:
  // Installs the handler and enables all three classes.
  void install();
  // Removes the handler and disables all three classes again.
  void uninstall();

  std::vector<LogLine> lines() const;
  // The lines since the last clear or take, which it clears: one check per step of a test.
  std::vector<LogLine> take();
  std::vector<std::string> texts() const;
  void clear();
  size_t countContaining(const std::string& fragment) const;

 private:
  static void record(void* aContext, const char* aFunctionName, uint32_t aLogId, uint32_t aSeverity,
                     const char* aText);

  mutable std::mutex mutex_;
  std::vector<LogLine> lines_;
};

// A test that captures the log but leaves the library uninitialised.
class LoggedTest : public ::testing::Test {
 protected:
  void SetUp() override { log.install(); }
  void TearDown() override { log.uninstall(); }

  LogCapture log;
};

// The start record's platform argument: the address of the application's video window record,
// here without a window.
uintptr_t windowRecord();

// A test with the library up (memory checking on, a valid platform argument) and the
// start-up lines cleared. TearDown shuts it down and fails on any "Allocated block" line
// beyond the leaks that the test declared with expectLeakedBlocks.
class HalTest : public LoggedTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Shuts the library down and starts it again, e.g. after a test replaced a platform table.
  void restart(uint32_t memoryCheck = 1, uintptr_t platformArgument = windowRecord());
  void expectLeakedBlocks(size_t count) { expectedLeakedBlocks_ = count; }

 private:
  size_t expectedLeakedBlocks_ = 0;
};

// Replaces where one module takes its platform table from, for the life of this object.
template <typename Interface>
class ScopedPlatformInterface {
 public:
  ScopedPlatformInterface(GetInterfaceFunction<Interface>& seam, GetInterfaceFunction<Interface> replacement)
      : seam_(seam), original_(seam) {
    seam_ = replacement;
  }
  ~ScopedPlatformInterface() { seam_ = original_; }
  ScopedPlatformInterface(const ScopedPlatformInterface&) = delete;
  ScopedPlatformInterface& operator=(const ScopedPlatformInterface&) = delete;

 private:
  GetInterfaceFunction<Interface>& seam_;
  GetInterfaceFunction<Interface> original_;
};

// Hands a module `table` in place of its platform table, for the life of this object (one per
// table type at a time). The table starts empty; a test fills in the slots it wants before it
// (re)starts the library.
template <typename Interface>
class OfferedPlatformInterface {
 public:
  explicit OfferedPlatformInterface(GetInterfaceFunction<Interface>& seam) : scoped_(seam, offer) { table = {}; }

  static inline Interface table{};

 private:
  static OmbrixHalBool offer(Interface* aInterface) noexcept {
    *aInterface = table;
    return 1;
  }

  ScopedPlatformInterface<Interface> scoped_;
};

// Collects what the library prints on its console from construction on: construct it before the
// library starts (as a fixture's member). Any thread may print.
class ConsoleCapture {
 public:
  ConsoleCapture();
  std::string text() const;
  // The text since the last take, which it forgets.
  std::string take();

 private:
  OfferedPlatformInterface<OmbrixHalConsolePlatformInterface> console_;
};

// Runs body(0) to body(count - 1), each on a thread of its own, all at once, and waits for them.
void runOnThreads(int count, const std::function<void(int index)>& body);

// A filter handler that, at its first call, waits until another thread is about to act and then
// lingers, noting whether that act came back while the delivery was still under way.
struct Lingering {
  static void handler(OmbrixHalFilterHandle, const uint8_t*, uint32_t, void* aContext);
  // Acts once the handler is in its first call; returns what the act answered.
  template <typename Act>
  auto actDuringDelivery(Act act) {
    while (!entered) {
      std::this_thread::yield();
    }
    acting = true;
    const auto answer = act();
    acted = true;
    return answer;
  }

  std::atomic<int> calls{0};
  std::atomic<bool> entered{false};
  std::atomic<bool> acting{false};
  std::atomic<bool> acted{false};
  bool actedDuringDelivery = false;
};

}  // namespace ombrixhal::test

#endif
