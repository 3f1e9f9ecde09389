# What both mingw-w64 toolchain files share; each sets CMAKE_SYSTEM_PROCESSOR (i686 or x86_64)
# first, which names the compilers and the target root.
set(CMAKE_SYSTEM_NAME Windows)
set(mingwTriplet ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)

set(CMAKE_C_COMPILER ${mingwTriplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${mingwTriplet}-g++-posix)
set(CMAKE_RC_COMPILER ${mingwTriplet}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${mingwTriplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
