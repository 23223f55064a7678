# The component that is measured.
target_link_libraries(bench_motion PRIVATE limber::motion)
