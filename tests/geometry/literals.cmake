# Builds Literals.cpp with COMPILER and FLAGS and runs it. The test is skipped by name if the machine lacks the
# instructions or the compiler does not know them.
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
string(REGEX MATCH "-march=([^ ]*)" march "${FLAGS}")
set(machine "${CMAKE_MATCH_1}")

set(needs)
if(machine STREQUAL "x86-64-v3")
  set(needs avx2 fma bmi2)
elseif(machine STREQUAL "x86-64-v4" OR machine STREQUAL "skylake-avx512")
  set(needs avx512f avx512dq avx512cd avx512bw avx512vl)
endif()
if(needs)
  if(NOT EXISTS /proc/cpuinfo)
    message("SKIPPED: cannot tell whether this machine is a ${machine}")
    return()
  endif()
  file(STRINGS /proc/cpuinfo cpu LIMIT_COUNT 1 REGEX "^(flags|Features)")
  foreach(feature IN LISTS needs)
    if(NOT "${cpu} " MATCHES " ${feature} ")
      message("SKIPPED: this machine has no ${feature}, so it is no ${machine}")
      return()
    endif()
  endforeach()
endif()

execute_process(COMMAND ${COMPILER} ${flags} -x c++ -fsyntax-only /dev/null RESULT_VARIABLE unknown OUTPUT_QUIET
                ERROR_QUIET)
if(unknown)
  message("SKIPPED: ${COMPILER} does not know ${FLAGS}")
  return()
endif()

set(program ${OUT}/${NAME})
execute_process(
  COMMAND ${COMPILER} -std=c++17 ${flags} -I${SOURCE_DIR} ${SOURCE_DIR}/tests/geometry/Literals.cpp -o ${program}
          ${LIBRARY} -Wl,-rpath,${LIBRARY_DIR} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${program} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${NAME} fails")
endif()
