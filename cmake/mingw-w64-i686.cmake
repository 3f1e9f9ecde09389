# Cross-build of the device platform with mingw-w64 for 32-bit Windows: the pointer width of
# the device, so that the record layouts pinned for 32 bits are checked. Compiled only, never run.
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
