# A helper that the library does not export is compiled into the tests.
target_sources(test_solvers PRIVATE ${PROJECT_SOURCE_DIR}/limber/solvers/detail/RowWalk.cpp)
