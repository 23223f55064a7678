target_link_libraries(bench_io PRIVATE ZLIB::ZLIB)
