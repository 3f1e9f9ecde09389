// Device local file system: stdio streams, and DeleteFileW, MoveFileW and the FindFirstFileW
// family on the narrow paths that the file layer hands over, each byte widened.
#include <windows.h>

#include <cwchar>

#include "OmbrixHalTFileLocal.h"

namespace {

using ombrixhal::local::kInvalidSearch;

// Longer paths are cut; the device's own paths stay below MAX_PATH.
constexpr size_t kWidePathSize = 512;

struct WidePath {
  wchar_t text[kWidePathSize];

  explicit WidePath(const char* aPath) noexcept {
    size_t i = 0;
    for (; i + 1 < kWidePathSize && aPath[i] != '\0'; ++i) {
      text[i] = static_cast<unsigned char>(aPath[i]);
    }
    text[i] = L'\0';
  }
};

struct DeviceFind {
  using Data = WIN32_FIND_DATAW;

  static void* first(const char* aPattern, Data& aData) noexcept {
    return FindFirstFileW(WidePath(aPattern).text, &aData);
  }
  static int next(void* aSearch, Data& aData) noexcept { return FindNextFileW(aSearch, &aData); }
  static void close(void* aSearch) noexcept { FindClose(aSearch); }

  static bool isSkipped(const Data& aData) noexcept {
    return std::wcscmp(aData.cFileName, L".") == 0 || std::wcscmp(aData.cFileName, L"..") == 0 ||
           (aData.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  }

  static void copy(const Data& aData, OmbrixHalFileLocalIterator& aIterator) noexcept {
    ombrixhal::local::copyFoundName(aData.cFileName, aIterator);
    aIterator.sizeHigh = aData.nFileSizeHigh;
    aIterator.sizeLow = aData.nFileSizeLow;
  }

  // The block a step leaves untouched at the end: the current entry.
  static Data fromCurrent(const OmbrixHalFileLocalIterator& aIterator) noexcept {
    Data data{};
    std::wcsncpy(data.cFileName, WidePath(aIterator.name).text, MAX_PATH - 1);
    data.nFileSizeHigh = aIterator.sizeHigh;
    data.nFileSizeLow = aIterator.sizeLow;
    return data;
  }
};

static_assert(FILE_ATTRIBUTE_DIRECTORY == 0x10);

struct DevicePlatform {
  using Find = DeviceFind;

  static bool canOpen(const char* /*aPath*/) noexcept { return true; }
  static int remove(const char* aPath) noexcept { return DeleteFileW(WidePath(aPath).text); }
  static int move(const char* aOld, const char* aNew) noexcept {
    return MoveFileW(WidePath(aOld).text, WidePath(aNew).text);
  }
};

}  // namespace

OmbrixHalBool OmbrixHalFileLocalGetInterface(OmbrixHalFileInterface* aInterface) noexcept {
  return ombrixhal::local::Slots<DevicePlatform>::fill(aInterface);
}
