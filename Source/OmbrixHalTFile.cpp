// File layer: routes every call by path prefix to one of up to ten registered file
// systems, wraps their handles, and turns a remove into a time-stamped rename on request.
#include <cstring>
#include <mutex>
#include <new>

#include "OmbrixHalClock.h"
#include "OmbrixHalDateTime.h"
#include "OmbrixHalFile.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTModule.h"

struct OmbrixHalFileObject {
  void* file;
  OmbrixHalFileInterface* entry;
  OmbrixHalFileObject* nextOpen;
};

struct OmbrixHalFileIteratorObject {
  void* iterator;
  OmbrixHalFileInterface* entry;
};

namespace {

using ombrixhal::kLogError;
using ombrixhal::kLogInfo;

constexpr const char* kOpenName = "OmbrixHalFileOpen";
constexpr const char* kCloseName = "OmbrixHalFileClose";
constexpr const char* kReadName = "OmbrixHalFileRead";
constexpr const char* kWriteName = "OmbrixHalFileWrite";
constexpr const char* kRemoveName = "OmbrixHalFileRemove";
constexpr const char* kRenameName = "OmbrixHalFileRename";
constexpr const char* kEnableFileHistoryName = "OmbrixHalFileEnableFileHistory";

constexpr uint32_t kOutOfMemory = 0x1001;
constexpr uint32_t kIllegalNullParameter = 0x1003;
constexpr uint32_t kMissingFilePrefix = 0x1014;
constexpr uint32_t kFileSystemNotFound = 0x1015;
constexpr uint32_t kCannotOpenInMode = 0x1016;
constexpr uint32_t kNotInitialised = 0x101b;
constexpr uint32_t kFunctionNotSupported = 0x2001;
constexpr uint32_t kOpenedInMode = 0x3012;
constexpr uint32_t kClosed = 0x3013;

constexpr const char* kWriteError = "File write error: %d of %d bytes written";
constexpr const char* kNotSupportedFor = "Function '%s' not supported for '%s'";
constexpr const char* kRemoveMissingPrefix = "Cannot remove file: missing file prefix for '%s'";
constexpr const char* kRemoveNotSupportedFor = "Function '%s' not supported for: '%s'";
constexpr const char* kCannotRemove = "Cannot remove file: '%s'";
constexpr const char* kRemoved = "Removed file successfully: '%s'";
constexpr const char* kHistoryNameTooLong = "Cannot rename instead remove: name too long '%s'";
constexpr const char* kCannotGenerateHistory = "Cannot generate file history: '%s' -> '%s'";
constexpr const char* kGeneratedHistory = "Generated file history: '%s' -> '%s'";
constexpr const char* kRemoveNoFileSystem = "Cannot remove file: function not supported for '%s'";
constexpr const char* kRenameMissingPrefix = "Cannot rename file: missing file prefix for '%s'";
constexpr const char* kRenamePrefixesDiffer = "Cannot rename file: file interface prefixes do not match";
constexpr const char* kCannotRename = "Cannot rename file: '%s' -> '%s'";
constexpr const char* kRenamed = "Renamed file successfully: '%s' -> '%s'";
constexpr const char* kRenameNoFileSystem = "Cannot rename file: function not supported for '%s'";

constexpr const char* kBuiltinPrefix = "//builtin/";
constexpr const char* kLocalPrefix = "//local/";

// The history suffix: "_" and the 19-character time; a name may be 255 characters long.
constexpr size_t kHistorySuffixLength = 25;
constexpr size_t kMaximumNameLength = 255;
constexpr size_t kNameBufferSize = 256;
// Rename copies at most this many characters of the target, then terminates it.
constexpr size_t kRenameTargetLength = 256;

struct FileTable {
  OmbrixHalFileInterface entries[OMBRIX_HAL_FILE_INTERFACE_COUNT];
  int32_t count;
  uint32_t initialised;
};

// Written only from the middleware's start-up thread (Init, Done, registration, history).
FileTable table{};

struct Prefix {
  size_t length;     // 0: the path has no prefix
  const char* rest;  // the text after the prefix, what file systems receive
};

Prefix scanPrefix(const char* aPath) noexcept {
  if (aPath == nullptr || aPath[0] != '/' || aPath[1] != '/') {
    return {0, nullptr};
  }
  const char* end = aPath + 2;
  while (*end != '\0' && *end != '/') {
    ++end;
  }
  if (*end == '/') {
    ++end;
  }
  return {static_cast<size_t>(end - aPath), end};
}

// A counted comparison: an entry's prefix matches only with the same length. A prefix
// too long for the field matches none, so nothing reads past an unterminated field.
bool matches(const OmbrixHalFileInterface& entry, const char* aPath, const Prefix& prefix) noexcept {
  return prefix.length < OMBRIX_HAL_FILE_PREFIX_SIZE && std::strncmp(aPath, entry.Prefix, prefix.length) == 0 &&
         entry.Prefix[prefix.length] == '\0';
}

// The first matching entry whose slot (if one is named) is set.
template <typename Slot>
OmbrixHalFileInterface* findFirst(const char* aPath, const Prefix& prefix,
                                  Slot OmbrixHalFileInterface::*slot) noexcept {
  for (int32_t i = 0; i < table.count; ++i) {
    OmbrixHalFileInterface& entry = table.entries[i];
    if (matches(entry, aPath, prefix) && (slot == nullptr || entry.*slot != nullptr)) {
      return &entry;
    }
  }
  return nullptr;
}

OmbrixHalFileInterface* findFirst(const char* aPath, const Prefix& prefix) noexcept {
  return findFirst<decltype(OmbrixHalFileInterface::Open)>(aPath, prefix, nullptr);
}

// Deliberate: unlike every other operation, Remove takes the last matching entry.
OmbrixHalFileInterface* findLast(const char* aPath, const Prefix& prefix) noexcept {
  OmbrixHalFileInterface* found = nullptr;
  for (int32_t i = 0; i < table.count; ++i) {
    if (matches(table.entries[i], aPath, prefix)) {
      found = &table.entries[i];
    }
  }
  return found;
}

bool samePrefixText(const char* left, const char* right) noexcept {
  return std::strncmp(left, right, OMBRIX_HAL_FILE_PREFIX_SIZE) == 0;
}

OmbrixHalBool registerInterface(const OmbrixHalFileInterface& record) noexcept {
  // Deliberate: a matching entry is overwritten, but without Init the walk goes on and
  // the record is appended as well, leaving two entries with one prefix.
  for (int32_t i = 0; i < table.count && i < OMBRIX_HAL_FILE_INTERFACE_COUNT; ++i) {
    OmbrixHalFileInterface& entry = table.entries[i];
    if (samePrefixText(entry.Prefix, record.Prefix)) {
      entry = record;
      if (entry.Init != nullptr) {
        return entry.Init(&entry);
      }
    }
  }
  if (table.count >= OMBRIX_HAL_FILE_INTERFACE_COUNT) {
    return 0;
  }
  OmbrixHalFileInterface& entry = table.entries[table.count++];
  entry = record;
  return entry.Init != nullptr ? entry.Init(&entry) : 0;
}

// "<name before the last '.'>_<UTC time><.extension>" with every ':' made '-'.
void buildHistoryName(const char* aPath, char (&aName)[kNameBufferSize]) noexcept {
  // The last '.' of the whole path, so an extensionless name in a dotted directory is cut there.
  const char* dot = std::strrchr(aPath, '.');
  const size_t stemLength = dot != nullptr ? static_cast<size_t>(dot - aPath) : std::strlen(aPath);
  std::memcpy(aName, aPath, stemLength);
  char* end = aName + stemLength;
  *end++ = '_';
  OmbrixHalDateTimeToString(OmbrixHalClockGetUtcTime(), end);
  if (dot != nullptr) {
    std::strcat(end, dot);
  }
  for (char* c = aName; *c != '\0'; ++c) {
    if (*c == ':') {
      *c = '-';
    }
  }
}

OmbrixHalBool removeWithHistory(OmbrixHalFileInterface& entry, const char* aFileName, const char* aPath) noexcept {
  if (std::strlen(aPath) + kHistorySuffixLength > kMaximumNameLength) {
    OmbrixHalLoggerPrintf(kRemoveName, kLogError, kHistoryNameTooLong, aFileName);
    return 0;
  }
  char historyName[kNameBufferSize];
  buildHistoryName(aPath, historyName);
  const OmbrixHalBool result = entry.Rename(aPath, historyName);
  OmbrixHalLoggerPrintf(kRemoveName, result ? kLogInfo : kLogError, result ? kGeneratedHistory : kCannotGenerateHistory,
                        aFileName, historyName);
  return result;
}

// A bare new name stays in the old name's directory ('\' preferred over '/').
void buildRenameTarget(const char* aOldPath, const char* aNewName, char (&aTarget)[kRenameTargetLength + 1]) noexcept {
  const char* separator = std::strrchr(aOldPath, '\\');
  if (separator == nullptr) {
    separator = std::strrchr(aOldPath, '/');
  }
  size_t length = 0;
  const bool bareName = std::strchr(aNewName, '\\') == nullptr && std::strchr(aNewName, '/') == nullptr;
  if (bareName && separator != nullptr) {
    length = static_cast<size_t>(separator - aOldPath) + 1;
    std::memcpy(aTarget, aOldPath, length);
  }
  for (const char* c = aNewName; *c != '\0' && length < kRenameTargetLength; ++c) {
    aTarget[length++] = *c;
  }
  aTarget[length] = '\0';
}

}  // namespace

OmbrixHalBool OmbrixHalFileInit(void) noexcept {
  table = FileTable{};
  OmbrixHalBool result = 1;
  OmbrixHalFileInterface builtin{};
  std::strcpy(builtin.Prefix, kBuiltinPrefix);
  if (!OmbrixHalFileBuiltinGetInterface(&builtin) || !registerInterface(builtin)) {
    result = 0;
  }
  // Kept: the local file system has no Init, so its registration, and Init, return 0.
  OmbrixHalFileInterface local{};
  std::strcpy(local.Prefix, kLocalPrefix);
  if (OmbrixHalFileLocalGetInterface(&local) && !registerInterface(local)) {
    result = 0;
  }
  table.initialised = 1;
  return result;
}

void OmbrixHalFileDone(void) noexcept {
  for (int32_t i = 0; i < table.count; ++i) {
    if (table.entries[i].Done != nullptr) {
      table.entries[i].Done(&table.entries[i]);
    }
  }
  table = FileTable{};
}

OmbrixHalBool OmbrixHalFileRegisterFileInterface(const OmbrixHalFileInterface* aInterface) noexcept {
  return aInterface != nullptr ? registerInterface(*aInterface) : 0;
}

namespace {

// The open files, so that Close can tell a handle it has closed already. Open and close come
// from any thread.
std::mutex openFilesLock;
OmbrixHalFileObject* openFiles = nullptr;

void addOpenFile(OmbrixHalFileObject* file) noexcept {
  std::lock_guard guard(openFilesLock);
  file->nextOpen = openFiles;
  openFiles = file;
}

// False when `file` is not open.
bool removeOpenFile(OmbrixHalFileObject* file) noexcept {
  std::lock_guard guard(openFilesLock);
  for (OmbrixHalFileObject** link = &openFiles; *link != nullptr; link = &(*link)->nextOpen) {
    if (*link == file) {
      *link = file->nextOpen;
      return true;
    }
  }
  return false;
}

}  // namespace

OmbrixHalFileHandle OmbrixHalFileOpen(const char* aFileName, const char* aMode) noexcept {
  if (table.initialised == 0) {
    OmbrixHalLoggerPrint(kOpenName, kNotInitialised);
    return nullptr;
  }
  if (aFileName == nullptr || aMode == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kIllegalNullParameter, aFileName == nullptr ? "aFileName" : "aMode");
    return nullptr;
  }
  const Prefix prefix = scanPrefix(aFileName);
  if (prefix.length == 0) {
    OmbrixHalLoggerPrint(kOpenName, kMissingFilePrefix, aFileName);
    return nullptr;
  }
  OmbrixHalFileInterface* entry = findFirst(aFileName, prefix);
  if (entry == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kFileSystemNotFound, aFileName);
    return nullptr;
  }
  if (entry->Open == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kFunctionNotSupported, kOpenName);
    return nullptr;
  }
  void* file = entry->Open(prefix.rest, aMode);
  if (file == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kCannotOpenInMode, aMode, aFileName);
    return nullptr;
  }
  void* memory = OmbrixHalMemoryAllocate(sizeof(OmbrixHalFileObject));
  if (memory == nullptr) {
    OmbrixHalLoggerPrint(kOpenName, kOutOfMemory);
    if (entry->Close != nullptr) {
      entry->Close(file);
    }
    return nullptr;
  }
  OmbrixHalLoggerPrint(kOpenName, kOpenedInMode, aMode, aFileName);
  auto* object = new (memory) OmbrixHalFileObject{file, entry, nullptr};
  addOpenFile(object);
  return object;
}

OmbrixHalBool OmbrixHalFileClose(OmbrixHalFileHandle This) noexcept {
  if (This == nullptr) {
    OmbrixHalLoggerPrint(kCloseName, kIllegalNullParameter, "This");
    return 1;  // Deliberate: closing nothing succeeds.
  }
  // The file analog tuner closes its file twice at destroy, with the same handle.
  if (!removeOpenFile(This)) {
    return 0;
  }
  const OmbrixHalBool result = This->entry->Close != nullptr ? This->entry->Close(This->file) : 0;
  This->~OmbrixHalFileObject();
  OmbrixHalMemoryFree(This);
  OmbrixHalLoggerPrint(kCloseName, kClosed);
  return result;
}

namespace {

// The checks Read and Write share; false when the call must return 0.
template <typename Slot>
bool canTransfer(OmbrixHalFileHandle This, const void* aBuffer, Slot OmbrixHalFileInterface::*slot,
                 const char* functionName) noexcept {
  if (This == nullptr || aBuffer == nullptr) {
    OmbrixHalLoggerPrint(functionName, kIllegalNullParameter, This == nullptr ? "This" : "aBuffer");
    return false;
  }
  if (This->entry->*slot == nullptr) {
    OmbrixHalLoggerPrint(functionName, kFunctionNotSupported, functionName);
    return false;
  }
  return true;
}

}  // namespace

uint32_t OmbrixHalFileRead(OmbrixHalFileHandle This, void* aBuffer, uint32_t aSize) noexcept {
  if (!canTransfer(This, aBuffer, &OmbrixHalFileInterface::Read, kReadName)) {
    return 0;
  }
  return This->entry->Read(This->file, aBuffer, aSize);
}

uint32_t OmbrixHalFileWrite(OmbrixHalFileHandle This, const void* aBuffer, uint32_t aSize) noexcept {
  if (!canTransfer(This, aBuffer, &OmbrixHalFileInterface::Write, kWriteName)) {
    return 0;
  }
  const uint32_t written = This->entry->Write(This->file, aBuffer, aSize);
  if (written != aSize) {
    OmbrixHalLoggerPrintf(kWriteName, kLogError, kWriteError, written, aSize);
  }
  return written;
}

OmbrixHalBool OmbrixHalFileSeek(OmbrixHalFileHandle This, int32_t aOffset, int32_t aOrigin) noexcept {
  // Deliberate: a signed comparison, so a negative origin reaches the file system.
  if (This == nullptr || aOrigin >= 3 || This->entry->Seek == nullptr) {
    return 0;
  }
  return This->entry->Seek(This->file, aOffset, aOrigin);
}

int32_t OmbrixHalFileTell(OmbrixHalFileHandle This) noexcept {
  return This != nullptr && This->entry->Tell != nullptr ? This->entry->Tell(This->file) : -1;
}

OmbrixHalBool OmbrixHalFileEof(OmbrixHalFileHandle This) noexcept {
  return This != nullptr && This->entry->Eof != nullptr ? This->entry->Eof(This->file) : 1;
}

OmbrixHalBool OmbrixHalFileFlush(OmbrixHalFileHandle This) noexcept {
  return This != nullptr && This->entry->Flush != nullptr ? This->entry->Flush(This->file) : 0;
}

OmbrixHalBool OmbrixHalFileRemove(const char* aFileName) noexcept {
  const Prefix prefix = scanPrefix(aFileName);
  if (prefix.length == 0) {
    OmbrixHalLoggerPrintf(kRemoveName, kLogError, kRemoveMissingPrefix, aFileName);
    return 0;
  }
  OmbrixHalFileInterface* entry = findLast(aFileName, prefix);
  if (entry == nullptr) {
    OmbrixHalLoggerPrintf(kRemoveName, kLogError, kRemoveNoFileSystem, aFileName);
    return 0;
  }
  if (entry->HistoryEnabled != 0 && entry->Rename != nullptr) {
    return removeWithHistory(*entry, aFileName, prefix.rest);
  }
  if (entry->Remove == nullptr) {
    OmbrixHalLoggerPrintf(kRemoveName, kLogError, kRemoveNotSupportedFor, kRemoveName, aFileName);
    return 0;
  }
  const OmbrixHalBool result = entry->Remove(prefix.rest);
  OmbrixHalLoggerPrintf(kRemoveName, result ? kLogInfo : kLogError, result ? kRemoved : kCannotRemove, aFileName);
  return result;
}

OmbrixHalBool OmbrixHalFileRename(const char* aOldName, const char* aNewName) noexcept {
  const Prefix oldPrefix = scanPrefix(aOldName);
  if (oldPrefix.length == 0) {
    OmbrixHalLoggerPrintf(kRenameName, kLogError, kRenameMissingPrefix, aOldName);
    return 0;
  }
  if (aNewName == nullptr) {
    OmbrixHalLoggerPrint(kRenameName, kIllegalNullParameter, "aNewName");
    return 0;
  }
  char target[kRenameTargetLength + 1];
  buildRenameTarget(oldPrefix.rest, aNewName, target);
  const char* handedOn = target;
  const Prefix targetPrefix = scanPrefix(target);
  if (targetPrefix.length != 0) {
    if (targetPrefix.length != oldPrefix.length || std::strncmp(aOldName, aNewName, oldPrefix.length) != 0) {
      OmbrixHalLoggerPrintf(kRenameName, kLogError, kRenamePrefixesDiffer);
      return 0;
    }
    handedOn = targetPrefix.rest;
  }
  OmbrixHalFileInterface* entry = findFirst(aOldName, oldPrefix, &OmbrixHalFileInterface::Rename);
  if (entry == nullptr) {
    OmbrixHalLoggerPrintf(kRenameName, kLogError, kRenameNoFileSystem, aOldName);
    return 0;
  }
  const OmbrixHalBool result = entry->Rename(oldPrefix.rest, handedOn);
  OmbrixHalLoggerPrintf(kRenameName, result ? kLogInfo : kLogError, result ? kRenamed : kCannotRename, aOldName,
                        aNewName);
  return result;
}

OmbrixHalBool OmbrixHalFileEnableFileHistory(const char* aFileName, uint32_t aEnable) noexcept {
  if (aFileName == nullptr) {
    return 0;
  }
  const Prefix prefix = scanPrefix(aFileName);
  if (prefix.length == 0) {
    // Deliberate: the remove text, under this export's name.
    OmbrixHalLoggerPrintf(kEnableFileHistoryName, kLogError, kRemoveMissingPrefix, aFileName);
    return 0;
  }
  OmbrixHalFileInterface* entry = findFirst(aFileName, prefix, &OmbrixHalFileInterface::Rename);
  if (entry == nullptr) {
    OmbrixHalLoggerPrintf(kEnableFileHistoryName, kLogError, kNotSupportedFor, kEnableFileHistoryName, aFileName);
    return 0;
  }
  entry->HistoryEnabled = aEnable;
  return 1;
}

OmbrixHalFileIteratorHandle OmbrixHalFileIteratorOpen(const char* aDirectory) noexcept {
  const Prefix prefix = scanPrefix(aDirectory);
  OmbrixHalFileInterface* entry = prefix.length != 0 ? findFirst(aDirectory, prefix) : nullptr;
  if (entry == nullptr || entry->IteratorOpen == nullptr) {
    return nullptr;
  }
  void* iterator = entry->IteratorOpen(prefix.rest);
  if (iterator == nullptr) {
    return nullptr;
  }
  void* memory = OmbrixHalMemoryAllocate(sizeof(OmbrixHalFileIteratorObject));
  if (memory == nullptr) {
    if (entry->IteratorClose != nullptr) {
      entry->IteratorClose(iterator);
    }
    return nullptr;
  }
  return new (memory) OmbrixHalFileIteratorObject{iterator, entry};
}

OmbrixHalBool OmbrixHalFileIteratorClose(OmbrixHalFileIteratorHandle This) noexcept {
  // Deliberate: without the slot the handle is not freed either.
  if (This == nullptr || This->entry->IteratorClose == nullptr) {
    return 0;
  }
  const OmbrixHalBool result = This->entry->IteratorClose(This->iterator);
  This->~OmbrixHalFileIteratorObject();
  OmbrixHalMemoryFree(This);
  return result;
}

OmbrixHalBool OmbrixHalFileIteratorFirst(OmbrixHalFileIteratorHandle This) noexcept {
  return This != nullptr && This->entry->IteratorFirst != nullptr ? This->entry->IteratorFirst(This->iterator) : 0;
}

OmbrixHalBool OmbrixHalFileIteratorNext(OmbrixHalFileIteratorHandle This) noexcept {
  return This != nullptr && This->entry->IteratorNext != nullptr ? This->entry->IteratorNext(This->iterator) : 0;
}

OmbrixHalBool OmbrixHalFileIteratorGetFileName(OmbrixHalFileIteratorHandle This, char* aBuffer,
                                               uint32_t aBufferSize) noexcept {
  if (This == nullptr || aBuffer == nullptr || This->entry->IteratorGetFileName == nullptr) {
    return 0;
  }
  return This->entry->IteratorGetFileName(This->iterator, aBuffer, aBufferSize);
}

OmbrixHalBool OmbrixHalFileIteratorGetFileSize(OmbrixHalFileIteratorHandle This, OmbrixHalFileSize* aSize) noexcept {
  if (This == nullptr || aSize == nullptr || This->entry->IteratorGetFileSize == nullptr) {
    return 0;
  }
  return This->entry->IteratorGetFileSize(This->iterator, aSize);
}

namespace {

OmbrixHalBool callVolumeSlot(const char* aPath,
                             OmbrixHalBool (*OmbrixHalFileInterface::*slot)(const char*)) noexcept {
  const Prefix prefix = scanPrefix(aPath);
  OmbrixHalFileInterface* entry = prefix.length != 0 ? findFirst(aPath, prefix, slot) : nullptr;
  return entry != nullptr ? (entry->*slot)(prefix.rest) : 0;
}

}  // namespace

OmbrixHalBool OmbrixHalFileVolumeMount(const char* aPath) noexcept {
  return callVolumeSlot(aPath, &OmbrixHalFileInterface::VolumeMount);
}

OmbrixHalBool OmbrixHalFileVolumeUnmount(const char* aPath) noexcept {
  return callVolumeSlot(aPath, &OmbrixHalFileInterface::VolumeUnmount);
}
