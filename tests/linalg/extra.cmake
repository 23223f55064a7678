# A helper that the library does not export is compiled into the tests.
target_sources(test_linalg PRIVATE ${PROJECT_SOURCE_DIR}/limber/linalg/detail/CompactRows.cpp)
