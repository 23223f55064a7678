# The clocks, on a platform whose counter the test sets.
set(clock ${CMAKE_CURRENT_SOURCE_DIR}/foundation/detail/clock)
limber_test(test_foundation_clock ${clock}/ClockIntervalsTest.cpp ${clock}/FakePlatform.cpp
            ${PROJECT_SOURCE_DIR}/limber/foundation/Clock.cpp)

# A separate process, in which nobody has changed the exported variables.
add_executable(test_foundation_fresh ${CMAKE_CURRENT_SOURCE_DIR}/foundation/fresh/ReplacedVariables.cpp)
target_link_libraries(test_foundation_fresh PRIVATE limber::limber limber_flags)
add_test(NAME Foundation.ReplacedVariablesAreUsed COMMAND test_foundation_fresh)
