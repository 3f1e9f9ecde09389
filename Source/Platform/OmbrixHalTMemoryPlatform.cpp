// Memory table of both platforms: the C runtime allocator.
#include <cstdlib>

#include "OmbrixHalMemory.h"
#include "Platform/OmbrixHalTPlatformTable.h"

namespace {

void* allocate(uint32_t aSize, const char* /*aFile*/, uint32_t /*aLine*/) noexcept {
  return std::malloc(aSize);
}

void release(void* aMemoryPtr) noexcept {
  std::free(aMemoryPtr);
}

constexpr OmbrixHalMemoryPlatformInterface kMemoryPlatform = {
    .Init = nullptr,
    .Done = nullptr,
    .Allocate = allocate,
    .Free = release,
};

}  // namespace

OmbrixHalBool OmbrixHalMemoryPlatformGetInterface(OmbrixHalMemoryPlatformInterface* aInterface) noexcept {
  return ombrixhal::platform::copyPlatformTable(aInterface, kMemoryPlatform);
}
