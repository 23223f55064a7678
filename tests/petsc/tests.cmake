# The distributed solves on one, two and three processes.
if(TARGET limber_petsc)
  add_executable(test_petsc petsc/DistributedSolveTest.cpp)
  target_link_libraries(test_petsc PRIVATE limber_test_support limber::petsc limber::motion GTest::gtest)
  # The list of exports names the type of a communicator as Open MPI does.
  if(BUILD_SHARED_LIBS AND MPI_mpi_LIBRARY MATCHES "openmpi")
    add_test(NAME Project.TheDistributedComponentExportsEveryDocumentedSignature
             COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/project/exports.py $<TARGET_FILE:limber_petsc>
                     ${CMAKE_CURRENT_SOURCE_DIR}/petsc/exports.txt)
  endif()
  foreach(processes IN ITEMS 1 2 3)
    add_test(NAME Petsc.On${processes}Processes
             COMMAND ${MPIEXEC_EXECUTABLE} --allow-run-as-root --oversubscribe ${MPIEXEC_NUMPROC_FLAG} ${processes}
                     $<TARGET_FILE:test_petsc>)
    set_tests_properties(Petsc.On${processes}Processes PROPERTIES LABELS mpi TIMEOUT 600)
  endforeach()
  if(LIMBER_INSTALL AND NOT LIMBER_SANITIZE AND BUILD_SHARED_LIBS)
    add_test(NAME Petsc.TheInstalledComponentServesPrograms
             COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/petsc/installed.sh ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}
                     ${CMAKE_CXX_COMPILER} ${MPIEXEC_EXECUTABLE})
    # It writes the list of what was installed, as others do.
    set_tests_properties(Petsc.TheInstalledComponentServesPrograms PROPERTIES LABELS mpi TIMEOUT 600
                                                                              RESOURCE_LOCK installation)
  endif()
  if(TARGET solve_distributed AND TARGET solve)
    add_test(NAME Petsc.SolveDistributed
             COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/petsc/solve_distributed.py ${MPIEXEC_EXECUTABLE}
                     $<TARGET_FILE:solve_distributed> $<TARGET_FILE:solve> ${PROJECT_SOURCE_DIR}/examples/data)
    set_tests_properties(Petsc.SolveDistributed PROPERTIES LABELS mpi TIMEOUT 600)
  endif()
else()
  add_test(NAME Petsc.OnSeveralProcesses COMMAND sh -c "echo 'skipped: MPI or PETSc is not installed'; exit 77")
  set_tests_properties(Petsc.OnSeveralProcesses PROPERTIES LABELS mpi SKIP_RETURN_CODE 77)
endif()
