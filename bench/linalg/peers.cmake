# The direct calls go to the LAPACK that Limber uses.
target_link_libraries(bench_linalg PRIVATE LAPACK::LAPACK)
