# Installs the build into a scratch prefix, then builds and runs a small C middleware
# against it, once through find_package(OmbrixHal) and once through pkg-config.
#   -DBUILD_DIR=<build> -DWORK_DIR=<scratch> -DCONSUMER_DIR=<consumer sources> -DC_COMPILER=<cc>
#   -DSANITIZERS=<as the library was built with, or empty>
file(REMOVE_RECURSE "${WORK_DIR}")
# A sanitized library needs its runtime in the program too.
set(sanitizerFlags)
if(SANITIZERS)
  set(sanitizerFlags "-fsanitize=${SANITIZERS}")
endif()
set(prefix "${WORK_DIR}/prefix")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(failed)
    message(FATAL_ERROR "Failed: ${ARGN}\n${output}")
  endif()
endfunction()

run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")

run("${CMAKE_COMMAND}" -S "${CONSUMER_DIR}" -B "${WORK_DIR}/consumer" -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_BUILD_RPATH=${prefix}/lib "-DCMAKE_C_FLAGS=${sanitizerFlags}"
    "-DCMAKE_EXE_LINKER_FLAGS=${sanitizerFlags}")
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/consumer")
run("${WORK_DIR}/consumer/consumer")

find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB_RECURSE pcFile "${prefix}/*/OmbrixHal.pc")
get_filename_component(pcDir "${pcFile}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${pcDir}")
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs OmbrixHal OUTPUT_VARIABLE flags RESULT_VARIABLE failed
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(failed)
  message(FATAL_ERROR "pkg-config does not know OmbrixHal")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND "${PKG_CONFIG}" --variable=libdir OmbrixHal OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
run("${C_COMPILER}" -std=c99 -Wall -Wextra -Werror ${sanitizerFlags} "${CONSUMER_DIR}/consumer.c" ${flags} "-Wl,-rpath,${libdir}"
    -o "${WORK_DIR}/consumer-pkg-config")
run("${WORK_DIR}/consumer-pkg-config")
message(STATUS "The installed package builds a C program with CMake and with pkg-config")
