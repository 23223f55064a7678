# Helpers that the library does not export are compiled into the tests.
set(room ${CMAKE_CURRENT_SOURCE_DIR}/foundation)
set(library_room ${PROJECT_SOURCE_DIR}/limber/foundation)
file(GLOB details CONFIGURE_DEPENDS ${library_room}/detail/*.cpp)
file(GLOB detail_tests CONFIGURE_DEPENDS ${room}/detail/*Test.cpp)
set(detail_allocation_tests ${detail_tests})
list(FILTER detail_tests EXCLUDE REGEX "AllocationTest\\.cpp$")
list(FILTER detail_allocation_tests INCLUDE REGEX "AllocationTest\\.cpp$")
limber_test(test_foundation_detail ${detail_tests} ${details})
limber_test(test_foundation_detail_allocation ${detail_allocation_tests} ${details})

# The clocks on a platform whose counter the test sets.
limber_test(test_foundation_clock ${room}/clock/ClockIntervalsTest.cpp ${room}/clock/FakePlatform.cpp
            ${library_room}/Clock.cpp)

# A process that finds the exported variables untouched.
add_executable(test_foundation_fresh ${room}/fresh/ReplacedVariables.cpp)
target_link_libraries(test_foundation_fresh PRIVATE limber::limber limber_flags)
add_test(NAME Foundation.ReplacedVariablesAreUsed COMMAND test_foundation_fresh)
