# Tests of the project as a whole: its headers, layers, exports and installed package.
set(here ${CMAKE_CURRENT_SOURCE_DIR}/project)

add_test(NAME Project.EveryHeaderCompilesAlone
         COMMAND Python3::Interpreter ${here}/headers_alone.py ${CMAKE_CXX_COMPILER} ${PROJECT_SOURCE_DIR})
add_test(NAME Project.RoomsSeeOnlyRoomsToTheirLeft COMMAND Python3::Interpreter ${here}/layers.py
                                                           ${PROJECT_SOURCE_DIR})
add_test(NAME Project.EveryPublicClassHasItsNameInNamespaceLimber COMMAND Python3::Interpreter ${here}/names.py
                                                                          ${PROJECT_SOURCE_DIR})
file(GLOB export_lists CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*/exports.txt)
list(FILTER export_lists EXCLUDE REGEX "/(motion|petsc)/")
add_test(NAME Project.ExportsEveryDocumentedSignature COMMAND Python3::Interpreter ${here}/exports.py
                                                              $<TARGET_FILE:limber> ${export_lists})
add_test(NAME Project.WrongProgramsAreRefused COMMAND sh ${here}/refused.sh ${CMAKE_CXX_COMPILER}
                                                      ${PROJECT_SOURCE_DIR})
if(NOT LIMBER_SANITIZE)
  add_test(NAME Project.InstalledPackageServesPrograms
           COMMAND sh ${here}/installed.sh ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR} ${CMAKE_CXX_COMPILER})
  add_test(NAME Project.LinesOfTheReadmeInstallLimber COMMAND sh ${here}/readme_install.sh ${PROJECT_BINARY_DIR})
  # Both write the list of what was installed.
  set_tests_properties(Project.InstalledPackageServesPrograms Project.LinesOfTheReadmeInstallLimber
                       PROPERTIES TIMEOUT 1800 RESOURCE_LOCK installation)
endif()
set_tests_properties(Project.EveryHeaderCompilesAlone PROPERTIES TIMEOUT 1800)
foreach(how IN ITEMS subdirectory fetch)
  add_test(NAME Project.ServesInsideAnotherProject.${how} COMMAND sh ${here}/inside.sh ${how} ${PROJECT_SOURCE_DIR}
                                                                 ${CMAKE_CXX_COMPILER})
  set_tests_properties(Project.ServesInsideAnotherProject.${how} PROPERTIES TIMEOUT 1800)
endforeach()
add_test(NAME Project.ServesAsStaticLibraryInAbsoluteDirectories COMMAND sh ${here}/static.sh ${PROJECT_SOURCE_DIR}
                                                                         ${CMAKE_CXX_COMPILER})
set_tests_properties(Project.ServesAsStaticLibraryInAbsoluteDirectories PROPERTIES TIMEOUT 1800)
add_test(NAME Project.CompilesForWindows COMMAND Python3::Interpreter ${here}/windows.py ${PROJECT_SOURCE_DIR})
set_tests_properties(Project.CompilesForWindows PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 900)

# The programs of the README and of the guide do what their pages say, and the reference tables agree with the code.
set(guide_flags)
if(LIMBER_SANITIZE)
  set(guide_flags -- -fsanitize=address,undefined)
endif()
set(check_pages Python3::Interpreter ${here}/guide.py ${CMAKE_CXX_COMPILER} ${PROJECT_SOURCE_DIR} $<TARGET_FILE:limber>)
add_test(NAME Project.ProgramOfTheReadmeDoesWhatItSays COMMAND ${check_pages} README.md ${guide_flags})
file(GLOB chapters RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/guide/*.md)
list(FILTER chapters INCLUDE REGEX "(first-solve|constraints|your-matrix|your-preconditioner|rotations|pendulum|read-and-draw)")
add_test(NAME Project.ProgramsOfTheGuideDoWhatItSays COMMAND ${check_pages} ${chapters} ${guide_flags})
set_tests_properties(Project.ProgramsOfTheGuideDoWhatItSays PROPERTIES TIMEOUT 600)
add_test(NAME Project.ReferencePagesAgreeWithTheCode COMMAND Python3::Interpreter ${here}/reference_pages.py ${PROJECT_SOURCE_DIR})
add_test(NAME Project.FiguresOfTheReadmeAreThoseOfTheirPage
         COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/bench/readme.py ${PROJECT_SOURCE_DIR}/docs/benchmarks.md
                 ${PROJECT_SOURCE_DIR}/bench/readme_rows.txt ${PROJECT_SOURCE_DIR}/README.md --check)
