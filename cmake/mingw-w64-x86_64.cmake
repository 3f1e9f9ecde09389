# Cross-build of the device platform with mingw-w64; the tests run under Wine.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)

find_program(OMBRIX_HAL_WINE NAMES wine wine64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${OMBRIX_HAL_WINE})
