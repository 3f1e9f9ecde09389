// Device libraries loaded at run time: the DLL search of LoadLibraryW (the program's directory,
// then the system's and PATH).
#include "OmbrixHalTLibrary.h"

#include <windows.h>

namespace ombrixhal {

void* loadTsReaderLibrary() noexcept { return reinterpret_cast<void*>(LoadLibraryW(L"libDibTSReader.dll")); }

void* findLibrarySymbol(void* library, const char* name) noexcept {
  if (library == nullptr) {
    return nullptr;
  }
  // The device's coredll looks entry points up by wide name (GetProcAddressW); desktop Windows
  // and Wine have only the narrow GetProcAddress, which finds the same exports.
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void unloadLibrary(void* library) noexcept {
  if (library != nullptr) {
    FreeLibrary(static_cast<HMODULE>(library));
  }
}

}  // namespace ombrixhal
