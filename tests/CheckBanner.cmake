# The library file carries "Ombrix Hal Version 1.30.04 Mmm dd yyyy" as readable text.
#   -DLIBRARY=<file>
file(STRINGS "${LIBRARY}" banner REGEX "^Ombrix Hal Version 1\\.30\\.04 [A-Z][a-z][a-z] [ 1-3][0-9] [0-9][0-9][0-9][0-9]$")
if(NOT banner)
  message(FATAL_ERROR "No version banner with a build date in ${LIBRARY}")
endif()
message(STATUS "Banner: ${banner}")
