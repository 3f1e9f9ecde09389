// libDibTSReader: the TS reader's four calls, forwarded to the driver emulator, which owns the
// reader's buffers and records the calls under these names.
#include <type_traits>

#include "DibEmulatorControl.h"

#if defined(_WIN32)
#define DIB_TS_READER_API extern "C" __declspec(dllexport)
#else
#define DIB_TS_READER_API extern "C" __attribute__((visibility("default")))
#endif

DIB_TS_READER_API int32_t DibOpenTSReader(DibDriverHandle aDriver, uint32_t aBufferCount) {
  return DibEmulatorOpenReader(aDriver, aBufferCount);
}

DIB_TS_READER_API int32_t DibCloseTSReader(DibDriverHandle aDriver) {
  return DibEmulatorCloseReader(aDriver);
}

DIB_TS_READER_API int32_t DibCreateTSReader(DibDriverHandle aDriver, uint8_t aChannel,
                                            const DibFilterDescription* aDescription, uint8_t* aFilter) {
  return DibEmulatorCreateReader(aDriver, aChannel, aDescription, aFilter);
}

DIB_TS_READER_API int32_t DibDeleteTSReader(DibDriverHandle aDriver, uint8_t aFilter) {
  return DibEmulatorDeleteReader(aDriver, aFilter);
}

// The HAL looks these up by name and calls them through the header's function types.
static_assert(std::is_same_v<decltype(&DibOpenTSReader), DibOpenTSReaderFunction>);
static_assert(std::is_same_v<decltype(&DibCloseTSReader), DibCloseTSReaderFunction>);
static_assert(std::is_same_v<decltype(&DibCreateTSReader), DibCreateTSReaderFunction>);
static_assert(std::is_same_v<decltype(&DibDeleteTSReader), DibDeleteTSReaderFunction>);
