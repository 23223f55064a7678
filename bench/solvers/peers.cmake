# CHOLMOD stands in the benchmark of the preconditioners where it is installed.
find_path(CHOLMOD_INCLUDE cholmod.h PATH_SUFFIXES suitesparse)
find_library(CHOLMOD_LIBRARY cholmod)
if(CHOLMOD_INCLUDE AND CHOLMOD_LIBRARY)
  target_include_directories(bench_solvers SYSTEM PRIVATE ${CHOLMOD_INCLUDE})
  target_link_libraries(bench_solvers PRIVATE ${CHOLMOD_LIBRARY})
  target_compile_definitions(bench_solvers PRIVATE LIMBER_BENCH_CHOLMOD)
endif()
