# Helpers that the library does not export are compiled into the tests.
file(GLOB io_details CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/limber/io/detail/*.cpp)
set(foundation_detail ${PROJECT_SOURCE_DIR}/limber/foundation/detail)
target_sources(test_io PRIVATE ${io_details} ${foundation_detail}/CLocale.cpp ${foundation_detail}/Platform.cpp)

# A program of its own: its gz functions stand before zlib's, for the library too.
limber_test(test_io_scripted io/scripted/ScriptedStreamTest.cpp)

include(fuzz/replay.cmake)
