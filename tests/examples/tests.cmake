# The example programs, run as a user would.
if(TARGET solve)
  foreach(group IN ITEMS Solve RealData)
    add_test(NAME Examples.${group}
             COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/solve.py $<TARGET_FILE:solve> $<TARGET_FILE:survey_network>
                     ${PROJECT_SOURCE_DIR}/examples/data ${group})
    set_tests_properties(Examples.${group} PROPERTIES TIMEOUT 600)
  endforeach()
endif()
