# A separate program, because its gz functions replace those of zlib, for the library too.
limber_test(test_io_scripted io/scripted/ScriptedStreamTest.cpp)

include(fuzz/replay.cmake)
