// Host local file system: stdio streams, remove and rename, and a directory scan on
// std::filesystem that keeps the device's find-first/find-next semantics, "." and ".." included.
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "OmbrixHalTFileLocal.h"

namespace {

using ombrixhal::local::kInvalidSearch;

// One directory entry as the device's find data carries it.
struct FoundEntry {
  char name[256];
  bool isDirectory;
  uint64_t size;
};

// The listing is taken whole at find-first; find-next walks it.
struct Search {
  std::vector<FoundEntry> entries;
  size_t next = 0;
};

FoundEntry makeEntry(std::string_view name, bool isDirectory, uint64_t size) noexcept {
  FoundEntry entry{{}, isDirectory, size};
  name.copy(entry.name, sizeof entry.name - 1);
  return entry;
}

struct HostFind {
  using Data = FoundEntry;

  // The pattern is "<directory>/*.*", which matches every name: list "<directory>/".
  static void* first(const char* aPattern, Data& aData) noexcept {
    Search* search = nullptr;
    try {
      std::string_view directory(aPattern);
      directory.remove_suffix(3);
      std::error_code error;
      std::filesystem::directory_iterator iterator(std::filesystem::path(directory), error);
      if (error) {
        return kInvalidSearch;
      }
      search = new Search;
      search->entries = {makeEntry(".", true, 0), makeEntry("..", true, 0)};
      for (const std::filesystem::directory_entry& found : iterator) {
        const bool isDirectory = found.is_directory(error);
        const uint64_t size = isDirectory ? 0 : found.file_size(error);
        search->entries.push_back(makeEntry(found.path().filename().string(), isDirectory, error ? 0 : size));
      }
    } catch (...) {
      delete search;
      return kInvalidSearch;
    }
    next(search, aData);
    return search;
  }

  // Like the device's call: 1 with the next entry, 0 at the end with the block untouched.
  static int next(void* aSearch, Data& aData) noexcept {
    if (aSearch == nullptr || aSearch == kInvalidSearch) {
      return 0;
    }
    Search& search = *static_cast<Search*>(aSearch);
    if (search.next >= search.entries.size()) {
      return 0;
    }
    aData = search.entries[search.next++];
    return 1;
  }

  static void close(void* aSearch) noexcept {
    if (aSearch != kInvalidSearch) {
      delete static_cast<Search*>(aSearch);
    }
  }

  static bool isSkipped(const Data& aData) noexcept {
    return aData.isDirectory || std::strcmp(aData.name, ".") == 0 || std::strcmp(aData.name, "..") == 0;
  }

  static void copy(const Data& aData, OmbrixHalFileLocalIterator& aIterator) noexcept {
    ombrixhal::local::copyFoundName(aData.name, aIterator);
    aIterator.sizeHigh = static_cast<uint32_t>(aData.size >> 32);
    aIterator.sizeLow = static_cast<uint32_t>(aData.size);
  }

  static Data fromCurrent(const OmbrixHalFileLocalIterator& aIterator) noexcept {
    return makeEntry(aIterator.name, false, (uint64_t{aIterator.sizeHigh} << 32) | aIterator.sizeLow);
  }
};

struct HostPlatform {
  using Find = HostFind;

  // The device's fopen refuses a directory; the host's would open it.
  static bool canOpen(const char* aPath) noexcept {
    std::error_code error;
    return !std::filesystem::is_directory(aPath, error);
  }
  static int remove(const char* aPath) noexcept { return std::remove(aPath); }
  static int move(const char* aOld, const char* aNew) noexcept { return std::rename(aOld, aNew); }
};

}  // namespace

OmbrixHalBool OmbrixHalFileLocalGetInterface(OmbrixHalFileInterface* aInterface) noexcept {
  return ombrixhal::local::Slots<HostPlatform>::fill(aInterface);
}
