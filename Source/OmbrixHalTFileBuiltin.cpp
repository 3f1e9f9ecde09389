// Builtin file system: read-only in-memory files in up to 50 caller-owned directories,
// served through the file layer under "//builtin/". Logs nothing: the layer reports.
#include <cstring>
#include <new>

#include "OmbrixHalFile.h"
#include "OmbrixHalMemory.h"

namespace {

static_assert(sizeof(void*) != 4 || sizeof(OmbrixHalFileBuiltinFile) == 12);
static_assert(sizeof(void*) != 4 || sizeof(OmbrixHalFileBuiltinDirectory) == 12);
static_assert(sizeof(void*) != 4 || sizeof(OmbrixHalFileInterface) == 104);

// The interface handle: size, base, read position, size again.
struct OpenFile {
  uint32_t size;
  const uint8_t* base;
  const uint8_t* current;
  uint32_t sizeAgain;
};

const OmbrixHalFileBuiltinDirectory* directories[OMBRIX_HAL_FILE_BUILTIN_DIRECTORY_COUNT] = {};

OpenFile* asOpenFile(void* aFile) noexcept {
  return static_cast<OpenFile*>(aFile);
}

// Init and Done are one operation: forget every directory.
OmbrixHalBool clearDirectories(OmbrixHalFileInterface* /*aEntry*/) noexcept {
  for (const OmbrixHalFileBuiltinDirectory*& slot : directories) {
    slot = nullptr;
  }
  return 1;
}

// The path matches when it reaches a '/' exactly where the directory name ends.
const char* fileNameWithin(const OmbrixHalFileBuiltinDirectory& directory, const char* aPath) noexcept {
  size_t i = 0;
  while (directory.Name[i] != '\0' && aPath[i] == directory.Name[i]) {
    ++i;
  }
  return directory.Name[i] == '\0' && aPath[i] == '/' ? aPath + i + 1 : nullptr;
}

void* openFile(const char* aPath, const char* aMode) noexcept {
  if (aMode[0] != 'r') {
    return nullptr;
  }
  // Slot order decides, not the length of the match: the first matching directory is the
  // only one searched.
  const OmbrixHalFileBuiltinDirectory* directory = nullptr;
  const char* fileName = nullptr;
  for (const OmbrixHalFileBuiltinDirectory* slot : directories) {
    if (slot != nullptr && (fileName = fileNameWithin(*slot, aPath)) != nullptr) {
      directory = slot;
      break;
    }
  }
  if (directory == nullptr) {
    return nullptr;
  }
  for (uint32_t i = 0; i < directory->FileCount; ++i) {
    const OmbrixHalFileBuiltinFile& file = directory->Files[i];
    if (std::strcmp(file.Name, fileName) == 0) {
      void* memory = OmbrixHalMemoryAllocate(sizeof(OpenFile));
      return memory != nullptr ? new (memory) OpenFile{file.Size, file.Data, file.Data, file.Size} : nullptr;
    }
  }
  return nullptr;
}

OmbrixHalBool closeFile(void* aFile) noexcept {
  asOpenFile(aFile)->~OpenFile();
  OmbrixHalMemoryFree(aFile);
  return 1;
}

uint32_t position(const OpenFile& file) noexcept {
  return static_cast<uint32_t>(file.current - file.base);
}

uint32_t readFile(void* aFile, void* aBuffer, uint32_t aSize) noexcept {
  if (aFile == nullptr || aBuffer == nullptr || aSize < 1) {
    return 0;
  }
  OpenFile& file = *asOpenFile(aFile);
  const uint32_t remaining = file.size - position(file);
  const uint32_t count = remaining < aSize ? remaining : aSize;
  if (count == 0) {
    return 0;
  }
  std::memcpy(aBuffer, file.current, count);
  file.current += count;
  return count;
}

// A target before the start fails and keeps the position; one past the end stops at the end.
OmbrixHalBool seekFile(void* aFile, int32_t aOffset, int32_t aOrigin) noexcept {
  OpenFile& file = *asOpenFile(aFile);
  int64_t target = aOffset;
  switch (aOrigin) {
    case 0:
      break;
    case 1:
      target += position(file);
      break;
    case 2:
      target += file.size;
      break;
    default:
      return 0;
  }
  if (target < 0) {
    return 0;
  }
  file.current = file.base + (target > file.size ? file.size : target);
  return 1;
}

int32_t tellFile(void* aFile) noexcept {
  return aFile != nullptr ? static_cast<int32_t>(position(*asOpenFile(aFile))) : -1;
}

bool isComplete(const OmbrixHalFileBuiltinDirectory& directory) noexcept {
  if (directory.Name == nullptr || (directory.FileCount != 0 && directory.Files == nullptr)) {
    return false;
  }
  for (uint32_t i = 0; i < directory.FileCount; ++i) {
    if (directory.Files[i].Data == nullptr || directory.Files[i].Name == nullptr) {
      return false;
    }
  }
  return true;
}

// Nothing else is supported; without Eof every builtin file reports its end.
constexpr OmbrixHalFileInterface kBuiltinInterface = {
    .Prefix = {},
    .Init = clearDirectories,
    .Done = clearDirectories,
    .Open = openFile,
    .Close = closeFile,
    .Read = readFile,
    .Write = nullptr,
    .Seek = seekFile,
    .Tell = tellFile,
    .Eof = nullptr,
    .Flush = nullptr,
    .Remove = nullptr,
    .Rename = nullptr,
    .IteratorOpen = nullptr,
    .IteratorClose = nullptr,
    .IteratorFirst = nullptr,
    .IteratorNext = nullptr,
    .IteratorGetFileName = nullptr,
    .IteratorGetFileSize = nullptr,
    .VolumeMount = nullptr,
    .VolumeUnmount = nullptr,
    .HistoryEnabled = 0,
};

}  // namespace

// The prefix and the history word stay the caller's.
OmbrixHalBool OmbrixHalFileBuiltinGetInterface(OmbrixHalFileInterface* aInterface) noexcept {
  if (aInterface == nullptr) {
    return 0;
  }
  OmbrixHalFileInterface filled = kBuiltinInterface;
  std::memcpy(filled.Prefix, aInterface->Prefix, sizeof filled.Prefix);
  filled.HistoryEnabled = aInterface->HistoryEnabled;
  *aInterface = filled;
  return 1;
}

OmbrixHalBool OmbrixHalFileBuiltinRegisterDirectory(const OmbrixHalFileBuiltinDirectory* aDirectory) noexcept {
  if (aDirectory == nullptr) {
    return 0;
  }
  // The highest-numbered free slot is taken.
  const OmbrixHalFileBuiltinDirectory** freeSlot = nullptr;
  for (const OmbrixHalFileBuiltinDirectory*& slot : directories) {
    if (slot == aDirectory) {
      return 1;
    }
    if (slot == nullptr) {
      freeSlot = &slot;
    }
  }
  if (freeSlot == nullptr || !isComplete(*aDirectory)) {
    return 0;
  }
  *freeSlot = aDirectory;
  return 1;
}

OmbrixHalBool OmbrixHalFileBuiltinUnregisterDirectory(const OmbrixHalFileBuiltinDirectory* aDirectory) noexcept {
  for (const OmbrixHalFileBuiltinDirectory*& slot : directories) {
    if (aDirectory != nullptr && slot == aDirectory) {
      slot = nullptr;
      return 1;
    }
  }
  return 0;
}
