# Builds CallerBits.cpp like a caller who turns on every optimisation and asks for fixed bits, and compares its output
# with that of REFERENCE, which is built with the library's flags.
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
execute_process(
  COMMAND ${COMPILER} -std=c++17 ${flags} -I${SOURCE_DIR} ${SOURCE_DIR}/tests/geometry/CallerBits.cpp -o ${PROGRAM}
          ${LIBRARY} -Wl,-rpath,${LIBRARY_DIR} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE got COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${REFERENCE} OUTPUT_VARIABLE expected COMMAND_ERROR_IS_FATAL ANY)
if(NOT got STREQUAL expected)
  message(FATAL_ERROR "with ${FLAGS}:\n${got}and with the library's flags:\n${expected}")
endif()
