# The editor's own parts.
target_link_libraries(bench_motion PRIVATE motion_editing)
target_compile_definitions(bench_motion PRIVATE LIMBER_EXAMPLE_DATA="${PROJECT_SOURCE_DIR}/examples/data")
