// Private: libraries loaded at run time, by the platform's ordinary library search (so that a
// directory a user or a test puts on the search path comes first). One file per platform.
#ifndef OMBRIX_HAL_T_LIBRARY_H
#define OMBRIX_HAL_T_LIBRARY_H

namespace ombrixhal {

// The receiver's TS reader library (libDibTSReader), or NULL when the search finds none.
void* loadTsReaderLibrary() noexcept;
// The entry point of that name in a loaded library, or NULL.
void* findLibrarySymbol(void* library, const char* name) noexcept;
void unloadLibrary(void* library) noexcept;

}  // namespace ombrixhal

#endif
