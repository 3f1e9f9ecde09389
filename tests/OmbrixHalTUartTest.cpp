// Tests of the UART: this platform supports nothing, argument checks come first, a working
// port's log lines, and Write asking the Read slot whether it is supported.
#include <string>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

const uint32_t kSettings[] = {115200, 8};
uint8_t buffer[16];
const auto kPort = reinterpret_cast<OmbrixHalUartHandle>(&buffer);  // any handle but NULL

// What the slots of the offered port saw, one entry per call.
std::vector<std::string> slotCalls;

constexpr OmbrixHalUartPlatformInterface kWorkingPort = {
    .Init = nullptr,
    .Done = nullptr,
    .Open = [](const void* aParameter, uint32_t aOptions) {
      slotCalls.push_back("Open " + std::to_string(*static_cast<const uint32_t*>(aParameter)) + " " +
                          std::to_string(aOptions));
      return aOptions == 0 ? nullptr : kPort;
    },
    .Close = [](OmbrixHalUartHandle aThis) -> OmbrixHalBool { return slotCalls.push_back("Close"), aThis == kPort; },
    .Read = [](OmbrixHalUartHandle, uint8_t*, uint32_t aSize) { return slotCalls.push_back("Read"), aSize / 2; },
    .Write = [](OmbrixHalUartHandle, const uint8_t*, uint32_t aSize) { return slotCalls.push_back("Write"), aSize; },
};

class UartTest : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    slotCalls.clear();
  }

  void offer(const OmbrixHalUartPlatformInterface& table) {
    offered.table = table;
    restart();
  }

  OfferedPlatformInterface<OmbrixHalUartPlatformInterface> offered{seam::uartPlatformGetInterface};
};

using UartPlatform = HalTest;

TEST_F(UartPlatform, FillsNoSlotSoEveryOperationIsNotSupported) {
  OmbrixHalUartPlatformInterface table{};
  EXPECT_EQ(OmbrixHalUartPlatformGetInterface(&table), 0);
  EXPECT_EQ(OmbrixHalUartOpen(kSettings, 1), nullptr);
  EXPECT_EQ(OmbrixHalUartClose(kPort), 0);
  EXPECT_EQ(OmbrixHalUartRead(kPort, buffer, 4), 0u);
  EXPECT_EQ(OmbrixHalUartWrite(kPort, buffer, 4), 0u);
  EXPECT_EQ(log.lines(), (std::vector{warning("OmbrixHalUartOpen", "Function not supported 'OmbrixHalUartOpen'"),
                                      warning("OmbrixHalUartClose", "Function not supported 'OmbrixHalUartClose'"),
                                      warning("OmbrixHalUartRead", "Function not supported 'OmbrixHalUartRead'"),
                                      warning("OmbrixHalUartWrite", "Function not supported 'OmbrixHalUartWrite'")}));
}

TEST_F(UartTest, RefusesTheFirstBadArgumentWithoutReachingThePort) {
  offer(kWorkingPort);
  EXPECT_EQ(OmbrixHalUartOpen(nullptr, 1), nullptr);
  EXPECT_EQ(OmbrixHalUartClose(nullptr), 0);
  EXPECT_EQ(OmbrixHalUartRead(nullptr, nullptr, 4), 0u);
  EXPECT_EQ(OmbrixHalUartRead(kPort, nullptr, 4), 0u);
  EXPECT_EQ(OmbrixHalUartWrite(nullptr, nullptr, 4), 0u);
  EXPECT_EQ(OmbrixHalUartWrite(kPort, nullptr, 4), 0u);
  EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalUartOpen", "Illegal parameter 'NULL' for 'aParameter'"),
                                      error("OmbrixHalUartClose", "Illegal parameter 'NULL' for 'This'"),
                                      error("OmbrixHalUartRead", "Illegal parameter 'NULL' for 'This'"),
                                      error("OmbrixHalUartRead", "Illegal parameter 'NULL' for 'aBuffer'"),
                                      error("OmbrixHalUartWrite", "Illegal parameter 'NULL' for 'This'"),
                                      error("OmbrixHalUartWrite", "Illegal parameter 'NULL' for 'aBuffer'")}));
  EXPECT_TRUE(slotCalls.empty()) << ::testing::PrintToString(slotCalls);
}

TEST_F(UartTest, WorkingPortLogsOpeningAndClosingButNotItsTransfers) {
  offer(kWorkingPort);
  EXPECT_EQ(OmbrixHalUartOpen(kSettings, 3), kPort);
  EXPECT_EQ(OmbrixHalUartOpen(kSettings, 0), nullptr) << "a port that does not open";
  EXPECT_EQ(OmbrixHalUartRead(kPort, buffer, 10), 5u);
  EXPECT_EQ(OmbrixHalUartWrite(kPort, buffer, 7), 7u);
  EXPECT_EQ(OmbrixHalUartClose(kPort), 1);
  EXPECT_EQ(OmbrixHalUartClose(reinterpret_cast<OmbrixHalUartHandle>(&slotCalls)), 0);
  EXPECT_EQ(log.lines(), (std::vector{info("OmbrixHalUartOpen", "uart opened"),
                                      info("OmbrixHalUartClose", "uart sucessfully closed"),
                                      error("OmbrixHalUartClose", "Cannot close uart")}));
  EXPECT_EQ(slotCalls,
            (std::vector<std::string>{"Open 115200 3", "Open 115200 0", "Read", "Write", "Close", "Close"}));
}

// Kept: Write is "not supported" exactly when Read is; an empty Write slot behind a Read slot
// fails without a line and is not called.
TEST_F(UartTest, WriteAsksTheReadSlotWhetherItIsSupported) {
  OmbrixHalUartPlatformInterface readOnly = kWorkingPort;
  readOnly.Write = nullptr;
  offer(readOnly);
  EXPECT_EQ(OmbrixHalUartWrite(kPort, buffer, 4), 0u);
  EXPECT_TRUE(log.lines().empty()) << ::testing::PrintToString(log.lines());

  OmbrixHalUartPlatformInterface writeOnly = kWorkingPort;
  writeOnly.Read = nullptr;
  offer(writeOnly);
  EXPECT_EQ(OmbrixHalUartWrite(kPort, buffer, 4), 0u);
  EXPECT_EQ(log.lines(), std::vector{warning("OmbrixHalUartWrite", "Function not supported 'OmbrixHalUartWrite'")});
  EXPECT_TRUE(slotCalls.empty()) << ::testing::PrintToString(slotCalls);
}

}  // namespace
}  // namespace ombrixhal::test
