// The log-capturing fixtures shared by every test file.
#include "OmbrixHalTestFixture.h"

#include <cstdarg>
#include <cstdio>
#include <thread>
#include <utility>

namespace ombrixhal::test {

namespace {
constexpr uint32_t kClassIds[] = {OMBRIX_HAL_LOGGER_ID_ERROR, OMBRIX_HAL_LOGGER_ID_WARNING, OMBRIX_HAL_LOGGER_ID_INFO};
}

std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
  return stream << "{" << line.function << ", 0x" << std::hex << line.id << std::dec << ", severity "
                << line.severity << ", \"" << line.text << "\"}";
}

void LogCapture::install() {
  OmbrixHalSetLogHandler(record, this);
  for (uint32_t id : kClassIds) {
    OmbrixHalEnableLog(id);
  }
}

void LogCapture::uninstall() {
  for (uint32_t id : kClassIds) {
    OmbrixHalDisableLog(id);
  }
  OmbrixHalSetLogHandler(nullptr, nullptr);
}

std::vector<LogLine> LogCapture::lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

std::vector<LogLine> LogCapture::take() {
  std::lock_guard lock(mutex_);
  return std::exchange(lines_, {});
}

std::vector<std::string> LogCapture::texts() const {
  std::vector<std::string> result;
  for (const LogLine& line : lines()) {
    result.push_back(line.text);
  }
  return result;
}

void LogCapture::clear() {
  std::lock_guard lock(mutex_);
  lines_.clear();
}

size_t LogCapture::countContaining(const std::string& fragment) const {
  size_t count = 0;
  for (const LogLine& line : lines()) {
    count += line.text.find(fragment) != std::string::npos ? 1 : 0;
  }
  return count;
}

void LogCapture::record(void* aContext, const char* aFunctionName, uint32_t aLogId, uint32_t aSeverity,
                        const char* aText) {
  auto* capture = static_cast<LogCapture*>(aContext);
  std::lock_guard lock(capture->mutex_);
  capture->lines_.push_back({aFunctionName, aLogId, aSeverity, aText});
}

uintptr_t windowRecord() {
  static const uintptr_t noWindow[1] = {0};
  return reinterpret_cast<uintptr_t>(noWindow);
}

void HalTest::SetUp() {
  LoggedTest::SetUp();
  const OmbrixHalInitParameter parameter = {1, windowRecord()};
  ASSERT_EQ(OmbrixHalInit(&parameter), 1);
  log.clear();
}

void HalTest::TearDown() {
  log.clear();
  EXPECT_EQ(OmbrixHalDone(), 1);
  EXPECT_EQ(log.countContaining("Allocated block"), expectedLeakedBlocks_) << ::testing::PrintToString(log.lines());
  LoggedTest::TearDown();
}

void HalTest::restart(uint32_t memoryCheck, uintptr_t platformArgument) {
  OmbrixHalDone();
  const OmbrixHalInitParameter parameter = {memoryCheck, platformArgument};
  OmbrixHalInit(&parameter);
  log.clear();
}

namespace {
std::mutex consoleMutex;
std::string consoleText;
}  // namespace

ConsoleCapture::ConsoleCapture() : console_(seam::consolePlatformGetInterface) {
  take();
  console_.table.Print = [](const char* aFormat, va_list aArguments) noexcept {
    char text[256];
    const int length = std::vsnprintf(text, sizeof text, aFormat, aArguments);
    std::lock_guard lock(consoleMutex);
    consoleText += text;
    return int32_t{length};
  };
}

std::string ConsoleCapture::text() const {
  std::lock_guard lock(consoleMutex);
  return consoleText;
}

std::string ConsoleCapture::take() {
  std::lock_guard lock(consoleMutex);
  return std::exchange(consoleText, {});
}

void runOnThreads(int count, const std::function<void(int index)>& body) {
  std::vector<std::thread> threads;
  for (int index = 0; index < count; ++index) {
    threads.emplace_back(body, index);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

void Lingering::handler(OmbrixHalFilterHandle, const uint8_t*, uint32_t, void* aContext) {
  auto& lingering = *static_cast<Lingering*>(aContext);
  if (lingering.calls++ != 0) {
    return;
  }
  lingering.entered = true;
  while (!lingering.acting) {
    std::this_thread::yield();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  lingering.actedDuringDelivery = lingering.acted.load();
}

}  // namespace ombrixhal::test
