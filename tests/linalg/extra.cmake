# Helpers that the library does not export are compiled into the tests.
target_sources(test_linalg PRIVATE ${PROJECT_SOURCE_DIR}/limber/linalg/detail/CompactRows.cpp
                                   ${PROJECT_SOURCE_DIR}/limber/linalg/detail/CompressedRows.cpp
                                   ${PROJECT_SOURCE_DIR}/limber/linalg/detail/SlicedRows.cpp)
