# The table of joints, compared with positions that the test computes from the text of the clip.
if(TARGET skeleton)
  add_test(NAME Examples.Skeleton
           COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/skeleton.py $<TARGET_FILE:skeleton>
                   ${PROJECT_SOURCE_DIR}/examples/data/walk.bvh ${PROJECT_SOURCE_DIR}/../shared/data)
endif()

# The example programs, run as a user would.
if(TARGET solve)
  foreach(group IN ITEMS Solve RealData)
    add_test(NAME Examples.${group}
             COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/solve.py $<TARGET_FILE:solve> $<TARGET_FILE:survey_network>
                     ${PROJECT_SOURCE_DIR}/examples/data ${group})
    set_tests_properties(Examples.${group} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 600)
  endforeach()
  # Under bad circumstances, with the motion programs if they are built.
  set(motion_programs)
  if(TARGET motion_edit)
    set(motion_programs SKELETON=$<TARGET_FILE:skeleton> MOTION_EDIT=$<TARGET_FILE:motion_edit>)
  endif()
  foreach(group IN ITEMS Files Truth Faults Memory)
    string(TOLOWER ${group} script)
    add_test(NAME Examples.${group}
             COMMAND ${CMAKE_COMMAND} -E env ${motion_programs} $<TARGET_FILE:Python3::Interpreter>
                     ${CMAKE_CURRENT_LIST_DIR}/solve_${script}.py $<TARGET_FILE:solve>
                     $<TARGET_FILE:survey_network> ${PROJECT_SOURCE_DIR}/examples/data)
    set_tests_properties(Examples.${group} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 600)
  endforeach()
endif()

# The smaller programs under bad circumstances.
if(TARGET skeleton AND TARGET survey_network AND TARGET walk_generator AND TARGET motion_edit)
  add_test(NAME Examples.SmallerPrograms
           COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/faults.py $<TARGET_FILE:skeleton>
                   $<TARGET_FILE:survey_network> $<TARGET_FILE:walk_generator> $<TARGET_FILE:motion_edit>
                   ${PROJECT_SOURCE_DIR}/tools/ai2png
                   ${PROJECT_SOURCE_DIR}/tests/graphics/golden/every_operator.ai ${PROJECT_SOURCE_DIR}/examples/data)
endif()

# The motion editor, run as a user would, and what the examples share.
if(TARGET motion_edit)
  file(GLOB example_tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*Test.cpp)
  limber_test(test_examples ${example_tests})
  target_link_libraries(test_examples PRIVATE limber::motion example_support ZLIB::ZLIB)
  target_compile_definitions(test_examples PRIVATE MOTION_EDIT_PROGRAM="$<TARGET_FILE:motion_edit>")
  add_dependencies(test_examples motion_edit)
endif()
