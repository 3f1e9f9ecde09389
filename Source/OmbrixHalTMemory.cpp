// Memory: plain forwarding to the platform allocator, or the checking mode that keeps
// every live block in one list behind a critical section.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalMemoryPlatformInterface> memoryPlatformGetInterface =
    OmbrixHalMemoryPlatformGetInterface;
}

namespace {

using ombrixhal::kLogError;
using ombrixhal::kLogInfo;
using ombrixhal::kLogWarning;

constexpr const char* kAllocateName = "OmbrixHalMemoryAllocate";
constexpr const char* kFreeName = "OmbrixHalMemoryFree";
constexpr const char* kStatusName = "OmbrixHalMemoryPrintStatus";

constexpr const char* kAllocateNotAvailable = "Function not available 'OmbrixHalMemoryAllocate'";
constexpr const char* kFreeNotAvailable = "Function not available 'OmbrixHalMemoryFree'";
constexpr const char* kIllegalNullPointer = "Illegal parameter 'NULL' for 'aMemoryPtr'";
constexpr const char* kFreedTwice = "Cannot free memory block. Freed twice? Freed: %s(Line %ld)";
constexpr const char* kAllocatedBlock = "Allocated block: %s(Line %ld) %ld bytes";
constexpr const char* kMaximalTotal = "Maximal allocated Memory: %ld";
constexpr const char* kCurrentTotal = "Currently allocated Memory: %ld";
constexpr const char* kBlockCount = "Allocated Blocks: %ld";
constexpr const char* kOverhead = "Additional estimated overhead, because of checks: %ld";

constexpr size_t kFileNameSize = 64;
constexpr size_t kFileNameTailLength = 60;

// Placed directly before the caller's memory in checking mode.
struct BlockRecord {
  uint32_t size;
  char file[kFileNameSize];
  uint32_t line;
  BlockRecord* next;
};
static_assert(sizeof(void*) != 4 || sizeof(BlockRecord) == 76);
static_assert(sizeof(BlockRecord) % alignof(std::max_align_t) == 0 || sizeof(void*) == 4,
              "the caller's memory keeps the allocator's alignment");

// The statistics report the device's record size, whatever this target's is.
constexpr uint32_t kEstimatedOverheadPerBlock = 76;

OmbrixHalMemoryPlatformInterface platform{};
uint32_t checkMode = 0;
OmbrixHalCriticalSectionHandle listGuard = nullptr;
BlockRecord* liveBlocks = nullptr;
uint32_t currentTotal = 0;
uint32_t maximalTotal = 0;

// A name that does not fit is kept as "..." and its last 60 characters.
void storeFileName(char (&target)[kFileNameSize], const char* file) {
  if (file == nullptr) {
    file = "";
  }
  const size_t length = std::strlen(file);
  if (length < kFileNameSize) {
    std::memcpy(target, file, length + 1);
    return;
  }
  std::memcpy(target, "...", 3);
  std::memcpy(target + 3, file + length - kFileNameTailLength, kFileNameTailLength);
  target[3 + kFileNameTailLength] = '\0';
}

void* userMemoryOf(BlockRecord* record) {
  return reinterpret_cast<unsigned char*>(record) + sizeof(BlockRecord);
}

// Shared by Done (errors, silent without leaks) and PrintStatistics (infos, always the totals).
void reportStatus(bool forced) {
  if (!OmbrixHalCriticalSectionEnter(listGuard)) {
    return;
  }
  const uint32_t level = forced ? kLogInfo : kLogError;
  uint32_t blockCount = 0;
  for (const BlockRecord* record = liveBlocks; record != nullptr; record = record->next) {
    OmbrixHalLoggerPrintf(kStatusName, level, kAllocatedBlock, record->file, record->line, record->size);
    ++blockCount;
  }
  if (forced || blockCount > 0) {
    OmbrixHalLoggerPrintf(kStatusName, level, kMaximalTotal, maximalTotal);
    OmbrixHalLoggerPrintf(kStatusName, level, kCurrentTotal, currentTotal);
    OmbrixHalLoggerPrintf(kStatusName, level, kBlockCount, blockCount);
    OmbrixHalLoggerPrintf(kStatusName, level, kOverhead, blockCount * kEstimatedOverheadPerBlock);
  }
  OmbrixHalCriticalSectionLeave(listGuard);
}

}  // namespace

OmbrixHalBool OmbrixHalMemoryInit(uint32_t aCheck) noexcept {
  currentTotal = 0;
  maximalTotal = 0;
  liveBlocks = nullptr;
  OmbrixHalBool result = ombrixhal::initPlatformInterface(platform, ombrixhal::seam::memoryPlatformGetInterface);
  if (aCheck != 0) {
    listGuard = OmbrixHalCriticalSectionCreate();
    if (listGuard == nullptr) {
      result = 0;
    }
  }
  checkMode = aCheck;
  return result;
}

void OmbrixHalMemoryDone(void) noexcept {
  if (checkMode != 0) {
    reportStatus(false);
    checkMode = 0;
    if (listGuard != nullptr) {
      OmbrixHalCriticalSectionDestroy(listGuard);
      listGuard = nullptr;
    }
  }
  // Live blocks stay allocated: their owners may still hold them.
  ombrixhal::donePlatformInterface(platform);
}

void* OmbrixHalMemoryAllocate_(uint32_t aSize, const char* aFile, uint32_t aLine) noexcept {
  if (platform.Allocate == nullptr) {
    // Deliberate: Print formats the table text of the base id, so the handler sees "All warnings".
    OmbrixHalLoggerPrint(kAllocateName, kLogWarning, kAllocateNotAvailable);
    return nullptr;
  }
  if (checkMode == 0) {
    return platform.Allocate(aSize, aFile, aLine);
  }
  if (aSize > UINT32_MAX - sizeof(BlockRecord)) {
    return nullptr;
  }
  auto* record = static_cast<BlockRecord*>(
      platform.Allocate(static_cast<uint32_t>(aSize + sizeof(BlockRecord)), aFile, aLine));
  if (record == nullptr) {
    return nullptr;
  }
  record->next = nullptr;
  record->size = aSize;
  record->line = aLine;
  storeFileName(record->file, aFile);
  if (!OmbrixHalCriticalSectionEnter(listGuard)) {
    platform.Free(record);
    return nullptr;
  }
  BlockRecord** tail = &liveBlocks;
  while (*tail != nullptr) {
    tail = &(*tail)->next;
  }
  *tail = record;
  currentTotal += aSize;
  if (currentTotal > maximalTotal) {
    maximalTotal = currentTotal;
  }
  OmbrixHalCriticalSectionLeave(listGuard);
  return userMemoryOf(record);
}

void OmbrixHalMemoryFree_(void* aMemoryPtr, const char* aFile, uint32_t aLine) noexcept {
  if (aMemoryPtr == nullptr) {
    OmbrixHalLoggerPrintf(kFreeName, kLogError, kIllegalNullPointer);
    return;
  }
  if (platform.Free == nullptr) {
    // Deliberate, as in Allocate: the handler sees "All warnings".
    OmbrixHalLoggerPrint(kFreeName, kLogWarning, kFreeNotAvailable);
    return;
  }
  if (checkMode == 0) {
    platform.Free(aMemoryPtr);
    return;
  }
  if (!OmbrixHalCriticalSectionEnter(listGuard)) {
    return;
  }
  BlockRecord** link = &liveBlocks;
  while (*link != nullptr && userMemoryOf(*link) != aMemoryPtr) {
    link = &(*link)->next;
  }
  BlockRecord* const record = *link;
  if (record != nullptr) {
    currentTotal -= record->size;
    *link = record->next;
  }
  OmbrixHalCriticalSectionLeave(listGuard);
  if (record == nullptr) {
    OmbrixHalLoggerPrintf(kFreeName, kLogError, kFreedTwice, aFile, aLine);
    return;
  }
  platform.Free(record);
}

void OmbrixHalMemoryPrintStatistics(void) noexcept {
  if (checkMode != 0) {
    reportStatus(true);
  }
}
