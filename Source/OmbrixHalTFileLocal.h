// Private: the local file system's slots that both platforms share (stdio streams, the
// iterator record and its find-first/find-next scan). Each platform's OmbrixHalTFileLocal.cpp
// supplies its find calls, remove, rename and open check, and fills the interface with them.
#ifndef OMBRIX_HAL_T_FILE_LOCAL_H
#define OMBRIX_HAL_T_FILE_LOCAL_H

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "OmbrixHalFile.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMemory.h"

struct OmbrixHalFileLocalIterator {
  char pattern[200];  // the directory, cut to 195 characters, then "/*.*"
  char name[256];     // the current file's name; its last character is always 0
  void* search;       // the find handle; 0 until the first IteratorFirst
  uint32_t sizeHigh;
  uint32_t sizeLow;
};

namespace ombrixhal::local {

constexpr size_t kDirectoryLength = 195;
constexpr const char* kOpenName = "OmbrixHalFileLocalOpen";
constexpr uint32_t kOpenedLogId = 0x3012;
constexpr const char* kOpening = "Open file: %s (%s)";

// What the find calls return when there is no search: all bits set.
inline void* const kInvalidSearch = reinterpret_cast<void*>(~uintptr_t{0});

inline OmbrixHalFileLocalIterator* asIterator(void* aIterator) noexcept {
  return static_cast<OmbrixHalFileLocalIterator*>(aIterator);
}
inline FILE* asStream(void* aFile) noexcept {
  return static_cast<FILE*>(aFile);
}

// Platform: bool canOpen(path); int remove(path); int move(old, new) (each the platform
// call's own result); Find: Data, first(pattern, data), next(search, data), close(search),
// isSkipped(data) for ".", ".." and directories, copy(data, iterator), fromCurrent(iterator).
template <typename Platform>
struct Slots {
  using Find = typename Platform::Find;

  static void* open(const char* aPath, const char* aMode) noexcept {
    OmbrixHalLoggerPrintf(kOpenName, kOpenedLogId, kOpening, aPath, aMode);
    return Platform::canOpen(aPath) ? std::fopen(aPath, aMode) : nullptr;
  }
  static OmbrixHalBool close(void* aFile) noexcept { return std::fclose(asStream(aFile)) == 0 ? 1 : 0; }
  static uint32_t read(void* aFile, void* aBuffer, uint32_t aSize) noexcept {
    return static_cast<uint32_t>(std::fread(aBuffer, 1, aSize, asStream(aFile)));
  }
  static uint32_t write(void* aFile, const void* aBuffer, uint32_t aSize) noexcept {
    return static_cast<uint32_t>(std::fwrite(aBuffer, 1, aSize, asStream(aFile)));
  }
  // Origins 0/1/2 are the stream call's start/current/end; others are the stream's to refuse.
  static OmbrixHalBool seek(void* aFile, int32_t aOffset, int32_t aOrigin) noexcept {
    return std::fseek(asStream(aFile), aOffset, aOrigin) == 0 ? 1 : 0;
  }
  static int32_t tell(void* aFile) noexcept { return static_cast<int32_t>(std::ftell(asStream(aFile))); }
  static OmbrixHalBool eof(void* aFile) noexcept { return std::feof(asStream(aFile)); }
  static OmbrixHalBool flush(void* aFile) noexcept { return std::fflush(asStream(aFile)) == 0 ? 1 : 0; }

  // Deliberate: success exactly when the platform call returns zero, whatever zero means there.
  static OmbrixHalBool remove(const char* aPath) noexcept { return Platform::remove(aPath) == 0 ? 1 : 0; }
  static OmbrixHalBool rename(const char* aOld, const char* aNew) noexcept {
    return Platform::move(aOld, aNew) == 0 ? 1 : 0;
  }

  static void* iteratorOpen(const char* aDirectory) noexcept {
    void* memory = OmbrixHalMemoryAllocate(sizeof(OmbrixHalFileLocalIterator));
    if (memory == nullptr) {
      return nullptr;
    }
    auto* iterator = new (memory) OmbrixHalFileLocalIterator{};
    std::strncat(iterator->pattern, aDirectory, kDirectoryLength);
    std::strcat(iterator->pattern, "/*.*");
    return iterator;
  }

  // The search is closed also when none was started (0) or the start failed.
  static OmbrixHalBool iteratorClose(void* aIterator) noexcept {
    if (aIterator == nullptr) {
      return 0;
    }
    Find::close(asIterator(aIterator)->search);
    asIterator(aIterator)->~OmbrixHalFileLocalIterator();
    OmbrixHalMemoryFree(aIterator);
    return 1;
  }

  static OmbrixHalBool iteratorFirst(void* aIterator) noexcept {
    if (aIterator == nullptr) {
      return 0;
    }
    OmbrixHalFileLocalIterator& iterator = *asIterator(aIterator);
    if (iterator.search != nullptr) {
      Find::close(iterator.search);
    }
    typename Find::Data data{};
    iterator.search = Find::first(iterator.pattern, data);
    if (iterator.search == kInvalidSearch) {
      return 0;
    }
    // Kept: the loop tests the stored handle, never the step's result, so a directory that
    // holds nothing but subdirectories (or "." and "..") is stepped through without end.
    while (Find::isSkipped(data)) {
      Find::next(iterator.search, data);
      if (iterator.search == kInvalidSearch) {
        return 0;
      }
    }
    Find::copy(data, iterator);
    return 1;
  }

  // Kept: the step reports the end with 0, never -1, so past the last file the block still
  // holds the current entry and Next finds it again; callers stop on their own.
  static OmbrixHalBool iteratorNext(void* aIterator) noexcept {
    if (aIterator == nullptr) {
      return 0;
    }
    OmbrixHalFileLocalIterator& iterator = *asIterator(aIterator);
    typename Find::Data data = Find::fromCurrent(iterator);
    do {
      if (Find::next(iterator.search, data) == -1) {
        return 0;
      }
    } while (Find::isSkipped(data));
    Find::copy(data, iterator);
    return 1;
  }

  // Kept: the whole name is copied, whatever aBufferSize says.
  static OmbrixHalBool iteratorGetFileName(void* aIterator, char* aBuffer, uint32_t /*aBufferSize*/) noexcept {
    std::strcpy(aBuffer, asIterator(aIterator)->name);
    return 1;
  }
  static OmbrixHalBool iteratorGetFileSize(void* aIterator, OmbrixHalFileSize* aSize) noexcept {
    aSize->High = asIterator(aIterator)->sizeHigh;
    aSize->Low = asIterator(aIterator)->sizeLow;
    return 1;
  }
  static OmbrixHalBool doNothing(const char* /*aPath*/) noexcept { return 1; }

  static constexpr OmbrixHalFileInterface kInterface = {
      .Prefix = {},
      .Init = nullptr,
      .Done = nullptr,
      .Open = open,
      .Close = close,
      .Read = read,
      .Write = write,
      .Seek = seek,
      .Tell = tell,
      .Eof = eof,
      .Flush = flush,
      .Remove = remove,
      .Rename = rename,
      .IteratorOpen = iteratorOpen,
      .IteratorClose = iteratorClose,
      .IteratorFirst = iteratorFirst,
      .IteratorNext = iteratorNext,
      .IteratorGetFileName = iteratorGetFileName,
      .IteratorGetFileSize = iteratorGetFileSize,
      .VolumeMount = doNothing,
      .VolumeUnmount = doNothing,
      .HistoryEnabled = 0,
  };

  // Prefix, Init, Done and HistoryEnabled stay the caller's.
  static OmbrixHalBool fill(OmbrixHalFileInterface* aInterface) noexcept {
    if (aInterface == nullptr) {
      return 0;
    }
    OmbrixHalFileInterface filled = kInterface;
    std::memcpy(filled.Prefix, aInterface->Prefix, sizeof filled.Prefix);
    filled.Init = aInterface->Init;
    filled.Done = aInterface->Done;
    filled.HistoryEnabled = aInterface->HistoryEnabled;
    *aInterface = filled;
    return 1;
  }
};

// Copies a found name byte by byte (each character's low 8 bits), at most 256 of them.
template <typename Character>
void copyFoundName(const Character* aName, OmbrixHalFileLocalIterator& aIterator) noexcept {
  size_t i = 0;
  for (; i + 1 < sizeof aIterator.name && aName[i] != 0; ++i) {
    aIterator.name[i] = static_cast<char>(aName[i]);
  }
  aIterator.name[i] = '\0';
}

}  // namespace ombrixhal::local

#endif
