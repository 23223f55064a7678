# A user's class that is compiled without type information. (With the sanitizer it has type information, because the
# check of virtual calls needs it.)
target_sources(test_solvers PRIVATE ${CMAKE_CURRENT_LIST_DIR}/NoTypeInformation.cpp)
if(NOT LIMBER_SANITIZE)
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/NoTypeInformation.cpp PROPERTIES COMPILE_OPTIONS
                                                                                         -fno-rtti)
endif()
