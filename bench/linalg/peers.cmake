# The direct calls use the same LAPACK as Limber.
target_link_libraries(bench_linalg PRIVATE LAPACK::LAPACK)
