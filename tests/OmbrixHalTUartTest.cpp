// Tests of the UART: this platform supports nothing, argument checks come first, a working
// port's log lines, and Write asking the Read slot whether it is supported.
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
    .Open =
        [](const void* aParameter, uint32_t aOptions) {
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
  void offer(const OmbrixHalUartPlatformInterface& table) {
    offered.table = table;
    restart();
    slotCalls.clear();
  }

  OfferedPlatformInterface<OmbrixHalUartPlatformInterface> offered{seam::uartPlatformGetInterface};
};

TEST_F(UartTest, ThisPlatformFillsNoSlotSoEveryOperationIsNotSupported) {
  EXPECT_EQ(OmbrixHalUartPlatformGetInterface(&offered.table), 0);
  offer(offered.table);
  EXPECT_EQ(OmbrixHalUartOpen(kSettings, 1), nullptr);
  EXPECT_EQ(sumInOrder({OmbrixHalUartClose(kPort), OmbrixHalUartRead(kPort, buffer, 4),
                        OmbrixHalUartWrite(kPort, buffer, 4)}), 0);
  EXPECT_EQ(log.lines(), (std::vector{notSupported("OmbrixHalUartOpen"), notSupported("OmbrixHalUartClose"),
                                      notSupported("OmbrixHalUartRead"), notSupported("OmbrixHalUartWrite")}));
}

TEST_F(UartTest, RefusesTheFirstBadArgumentWithoutReachingThePort) {
  offer(kWorkingPort);
  EXPECT_EQ(OmbrixHalUartOpen(nullptr, 1), nullptr);
  EXPECT_EQ(sumInOrder({OmbrixHalUartClose(nullptr), OmbrixHalUartRead(nullptr, nullptr, 4),
                        OmbrixHalUartRead(kPort, nullptr, 4), OmbrixHalUartWrite(nullptr, nullptr, 4),
                        OmbrixHalUartWrite(kPort, nullptr, 4)}),
            0);
  EXPECT_EQ(log.lines(),
            (std::vector{illegalNull("OmbrixHalUartOpen", "aParameter"), illegalNull("OmbrixHalUartClose", "This"),
                         illegalNull("OmbrixHalUartRead", "This"), illegalNull("OmbrixHalUartRead", "aBuffer"),
                         illegalNull("OmbrixHalUartWrite", "This"), illegalNull("OmbrixHalUartWrite", "aBuffer")}));
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
  EXPECT_EQ(slotCalls, (std::vector<std::string>{"Open 115200 3", "Open 115200 0", "Read", "Write", "Close", "Close"}));
}

// Kept: Write is "not supported" exactly when Read is; an empty Write slot behind a Read slot
// fails without a line and is not called.
TEST_F(UartTest, WriteAsksTheReadSlotWhetherItIsSupported) {
  for (const bool readOnly : {true, false}) {
    OmbrixHalUartPlatformInterface port = kWorkingPort;
    port.Write = readOnly ? nullptr : port.Write;
    port.Read = readOnly ? port.Read : nullptr;
    offer(port);
    EXPECT_EQ(OmbrixHalUartWrite(kPort, buffer, 4), 0u);
    EXPECT_EQ(log.take(), readOnly ? std::vector<LogLine>{} : std::vector{notSupported("OmbrixHalUartWrite")});
    EXPECT_TRUE(slotCalls.empty()) << ::testing::PrintToString(slotCalls);
  }
}

}  // namespace
}  // namespace ombrixhal::test
