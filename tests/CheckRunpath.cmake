# Checks that ELF files carry a RUNPATH and no RPATH: the dynamic loader searches an RPATH before
# LD_LIBRARY_PATH, a RUNPATH after it.
#   -DTOOL=<readelf> -DLIBRARY=<file> -DPROGRAM=<file>
foreach(file IN ITEMS "${LIBRARY}" "${PROGRAM}")
  execute_process(COMMAND "${TOOL}" -d "${file}" OUTPUT_VARIABLE dynamic RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "Cannot read the dynamic section of ${file}")
  endif()
  if(dynamic MATCHES "\\(RPATH\\)" OR NOT dynamic MATCHES "\\(RUNPATH\\)")
    message(FATAL_ERROR "${file} needs a RUNPATH and no RPATH:\n${dynamic}")
  endif()
endforeach()
message(STATUS "RUNPATH, no RPATH: ${LIBRARY} ${PROGRAM}")
