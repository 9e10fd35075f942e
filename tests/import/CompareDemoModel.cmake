# Writes the demo model with PYTHON PROGRAM to WRITTEN, and fails unless it has the bytes of KEPT.

execute_process(COMMAND ${PYTHON} ${PROGRAM} ${WRITTEN} COMMAND_ERROR_IS_FATAL ANY)
file(SHA256 ${WRITTEN} written)
file(SHA256 ${KEPT} kept)
if(NOT written STREQUAL kept)
    message(FATAL_ERROR "${KEPT} is not what ${PROGRAM} writes; run it")
endif()
