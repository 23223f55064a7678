# The component under test.
target_link_libraries(bench_motion PRIVATE limber::motion)
