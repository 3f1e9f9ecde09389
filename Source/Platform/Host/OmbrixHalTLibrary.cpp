// Host libraries loaded at run time: the dynamic loader's search (LD_LIBRARY_PATH, then the
// RUNPATH the build left, then the system's directories).
#include "OmbrixHalTLibrary.h"
#include "Platform/Host/OmbrixHalTPlayerLibrary.h"

#include <dlfcn.h>

namespace ombrixhal {

void* loadTsReaderLibrary() noexcept { return dlopen("libDibTSReader.so", RTLD_NOW | RTLD_LOCAL); }

void* findPlayerLibrarySymbol(const char* name) noexcept {
  void* library = dlopen("libvoMTPSDK.so", RTLD_NOW | RTLD_NOLOAD);
  void* symbol = findLibrarySymbol(library, name);
  unloadLibrary(library);  // only gives back the reference just taken: the process keeps the library
  return symbol;
}

void* findLibrarySymbol(void* library, const char* name) noexcept {
  return library != nullptr ? dlsym(library, name) : nullptr;
}

void unloadLibrary(void* library) noexcept {
  if (library != nullptr) {
    dlclose(library);
  }
}

}  // namespace ombrixhal
