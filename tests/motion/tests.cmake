# The motion component: its tests, its exports, and the headers of the library that it may include.
file(GLOB motion_tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*Test.cpp)
set(motion_allocation_tests ${motion_tests})
list(FILTER motion_tests EXCLUDE REGEX "AllocationTest\\.cpp$")
list(FILTER motion_allocation_tests INCLUDE REGEX "AllocationTest\\.cpp$")
limber_test(test_motion ${motion_tests})
target_link_libraries(test_motion PRIVATE limber::motion ZLIB::ZLIB)
limber_test(test_motion_allocation ${motion_allocation_tests})
target_link_libraries(test_motion_allocation PRIVATE limber::motion)
add_test(NAME Motion.ExportsEveryDocumentedSignature
         COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/project/exports.py $<TARGET_FILE:limber_motion>
                 ${CMAKE_CURRENT_LIST_DIR}/exports.txt)
