// Tests of the key events: the window procedure turns the key messages of mapped keys into
// middleware key events and hands everything else to the default window procedure.
#include <tuple>

#include "OmbrixHalTestFixture.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace ombrixhal::test {
namespace {

constexpr uint32_t kKeyDown = 0x0100;
constexpr uint32_t kKeyUp = 0x0101;
constexpr uint32_t kCharacter = 0x0102;
constexpr intptr_t kFirstPress = 1;                                  // repeat count 1
constexpr intptr_t kAutoRepeat = (intptr_t{1} << 30) | kFirstPress;  // the key was down already

using KeyEvent = std::tuple<void*, uint32_t, uint32_t>;  // context, key, event

std::vector<KeyEvent> events;
std::vector<std::string> defaultCalls;

void recordKey(void* aContext, uint32_t aKey, uint32_t aEvent) { events.emplace_back(aContext, aKey, aEvent); }

intptr_t OMBRIX_HAL_KEY_EVENT_CALLBACK recordDefault(void* aWindow, uint32_t aMessage, uintptr_t aWParam,
                                                     intptr_t aLParam) {
  defaultCalls.push_back(std::to_string(reinterpret_cast<uintptr_t>(aWindow)) + " " + std::to_string(aMessage) + " " +
                         std::to_string(aWParam) + " " + std::to_string(aLParam));
  return -3;
}

void* const kWindow = reinterpret_cast<void*>(uintptr_t{0x50});

intptr_t send(uint32_t message, uintptr_t virtualKey, intptr_t flags = kFirstPress) {
  return OmbrixHalKeyEventWindowProcedure(kWindow, message, virtualKey, flags);
}

class KeyEventTest : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    offered.table.DefaultWindowProcedure = recordDefault;
    restart();
    events.clear();
    defaultCalls.clear();
    OmbrixHalKeyEventSetHandler(recordKey, &events);
  }

  OfferedPlatformInterface<OmbrixHalKeyEventPlatformInterface> offered{seam::keyEventPlatformGetInterface};
};

// Virtual keys and their keys: both ends of both digit ranges, which are computed, and the first
// and last entry of the key table.
constexpr std::pair<uintptr_t, uint32_t> kMappings[] = {
    {'0', OMBRIX_HAL_KEY_EVENT_KEY_0},  {'9', OMBRIX_HAL_KEY_EVENT_KEY_9},  {0x60, OMBRIX_HAL_KEY_EVENT_KEY_0},
    {0x69, OMBRIX_HAL_KEY_EVENT_KEY_9}, {0x26, OMBRIX_HAL_KEY_EVENT_KEY_UP}, {0x73, OMBRIX_HAL_KEY_EVENT_KEY_BLUE},
};

TEST_F(KeyEventTest, MappedKeysArePressedRepeatedAndReleased) {
  for (const auto& [virtualKey, key] : kMappings) {
    events.clear();
    EXPECT_EQ(send(kKeyDown, virtualKey), 0);
    EXPECT_EQ(send(kKeyDown, virtualKey, kAutoRepeat), 0);
    EXPECT_EQ(send(kKeyUp, virtualKey, kAutoRepeat | (intptr_t{1} << 31)), 0);
    EXPECT_EQ(events, (std::vector<KeyEvent>{{&events, key, OMBRIX_HAL_KEY_EVENT_PRESSED},
                                             {&events, key, OMBRIX_HAL_KEY_EVENT_REPEATED},
                                             {&events, key, OMBRIX_HAL_KEY_EVENT_RELEASED}}))
        << "virtual key " << virtualKey;
  }
  EXPECT_TRUE(defaultCalls.empty()) << ::testing::PrintToString(defaultCalls);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KeyEventTest, EverythingElseAndEveryKeyWithoutAHandlerGoesToTheDefaultWindowProcedure) {
  // Just outside the digit ranges, a letter, and a mapped key in a message that is no key going down or up.
  const std::pair<uint32_t, uintptr_t> messages[] = {{kKeyDown, 0x2f}, {kKeyDown, 0x3a}, {kKeyUp, 0x5f},
                                                     {kKeyDown, 0x6a}, {kKeyDown, 'A'},  {kCharacter, '1'}};
  for (const auto& [message, virtualKey] : messages) {
    EXPECT_EQ(send(message, virtualKey), -3);
  }
  OmbrixHalKeyEventSetHandler(nullptr, nullptr);
  EXPECT_EQ(send(kKeyDown, 0x0d), -3);
  OmbrixHalKeyEventSetHandler(recordKey, nullptr);
  ASSERT_EQ(OmbrixHalKeyEventDone(), 1);
  EXPECT_EQ(send(kKeyDown, 0x0d), 0) << "Done forgets the handler and the default procedure";
  restart();
  EXPECT_EQ(send(kKeyUp, 0x0d), -3) << "a new start brings no handler back";
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(defaultCalls, (std::vector<std::string>{"80 256 47 1", "80 256 58 1", "80 257 95 1", "80 256 106 1",
                                                    "80 256 65 1", "80 258 49 1", "80 256 13 1", "80 257 13 1"}));
}

#if defined(_WIN32)
static_assert(kKeyDown == WM_KEYDOWN && kKeyUp == WM_KEYUP && kCharacter == WM_CHAR);

// The procedure serves as a real window's (a message-only one, which needs no display):
// creating the window needs the default procedure's answers, and a key sent to the window
// reaches the handler.
using KeyEventWindow = HalTest;

TEST_F(KeyEventWindow, ServesAsTheProcedureOfARealWindow) {
  events.clear();
  OmbrixHalKeyEventSetHandler(recordKey, nullptr);
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = reinterpret_cast<WNDPROC>(OmbrixHalKeyEventWindowProcedure);
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.lpszClassName = L"OmbrixHalKeyEventTest";
  ASSERT_NE(RegisterClassW(&windowClass), 0);
  HWND window = CreateWindowW(L"OmbrixHalKeyEventTest", L"keys", 0, 0, 0, 16, 16, HWND_MESSAGE, nullptr,
                              windowClass.hInstance, nullptr);
  ASSERT_NE(window, nullptr) << GetLastError();
  EXPECT_EQ(SendMessageW(window, WM_KEYDOWN, VK_RETURN, 1), 0);
  EXPECT_EQ(SendMessageW(window, WM_KEYUP, VK_F2, 1), 0);
  DestroyWindow(window);
  UnregisterClassW(L"OmbrixHalKeyEventTest", windowClass.hInstance);
  EXPECT_EQ(events, (std::vector<KeyEvent>{{nullptr, OMBRIX_HAL_KEY_EVENT_KEY_OK, OMBRIX_HAL_KEY_EVENT_PRESSED},
                                           {nullptr, OMBRIX_HAL_KEY_EVENT_KEY_GREEN, OMBRIX_HAL_KEY_EVENT_RELEASED}}));
}
#endif

}  // namespace
}  // namespace ombrixhal::test
