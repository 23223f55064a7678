# The benchmark of the preconditioners includes CHOLMOD if it is installed.
find_path(CHOLMOD_INCLUDE cholmod.h PATH_SUFFIXES suitesparse)
find_library(CHOLMOD_LIBRARY cholmod)
if(CHOLMOD_INCLUDE AND CHOLMOD_LIBRARY)
  target_include_directories(bench_solvers SYSTEM PRIVATE ${CHOLMOD_INCLUDE})
  target_link_libraries(bench_solvers PRIVATE ${CHOLMOD_LIBRARY})
  target_compile_definitions(bench_solvers PRIVATE LIMBER_BENCH_CHOLMOD)
endif()
# The front door and Eigen's solvers behind plain functions, for bench/solvers/real/compare.py, which adds scipy and LAPACK.
add_library(bench_peers MODULE solvers/real/SolvePeers.cpp)
set_target_properties(bench_peers PROPERTIES OUTPUT_NAME solve_peers LIBRARY_OUTPUT_DIRECTORY solvers)
target_include_directories(bench_peers PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(bench_peers PRIVATE limber::limber limber_flags Eigen3::Eigen)
