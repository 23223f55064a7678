# Golden numbers of the library as built here, and of its sources built again by each compiler at each optimisation
# level.
set(golden ${CMAKE_CURRENT_SOURCE_DIR}/golden)
file(GLOB golden_sources CONFIGURE_DEPENDS ${golden}/*.cpp)
add_executable(golden_bits ${golden_sources})
target_include_directories(golden_bits PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(golden_bits PRIVATE limber::limber limber_flags)

add_test(NAME Golden.TheLibraryHasTheSameBits COMMAND Python3::Interpreter ${golden}/golden.py ${golden}/bits.txt
                                                      $<TARGET_FILE:golden_bits>)
# The table of the solvers, which is linked with the objects because it shows private classes as well.
set(table ${CMAKE_CURRENT_SOURCE_DIR}/solvers/table)
file(GLOB table_sources CONFIGURE_DEPENDS ${table}/*.cpp)
add_executable(solver_table ${table_sources} ${golden}/Golden.cpp)
target_include_directories(solver_table PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(solver_table PRIVATE limber_solvers limber_linalg limber_foundation LAPACK::LAPACK limber_numbers
                                           limber_flags)
add_test(NAME Golden.TheSolversComputeTheirTable COMMAND Python3::Interpreter ${golden}/golden.py ${table}/table.txt
                                                         $<TARGET_FILE:solver_table>)
add_test(NAME Golden.PlainLoopsGiveTheSameBits COMMAND Python3::Interpreter ${golden}/reference.py
                                                       ${golden}/bits.txt)
if(NOT LIMBER_SANITIZE)
  get_target_property(number_flags limber_numbers INTERFACE_COMPILE_OPTIONS)
  set(levels "-O0" "-O2" "-O3 -march=native")
  if(LIMBER_BITS)
    list(APPEND levels "-O1" "-O3 -march=x86-64" "-O3 -march=x86-64-v2" "-O3 -march=x86-64-v3" "-O3 -march=x86-64-v4")
  endif()
  foreach(compiler IN LISTS bits_compilers)
    foreach(level IN LISTS levels)
      string(MAKE_C_IDENTIFIER "${compiler}${level}" variant)
      string(REPLACE " " ";" flags "${level}")
      set(name "Golden.SameBitsWith ${compiler} ${level}")
      add_test(NAME ${name}
               COMMAND Python3::Interpreter ${golden}/golden.py --build ${PROJECT_SOURCE_DIR}
                       ${CMAKE_CURRENT_BINARY_DIR}/golden/${variant} ${compiler} -- ${flags}
                       ${number_flags} -- ${LAPACK_LIBRARIES} ${BLAS_LIBRARIES} ${ZLIB_LIBRARIES})
      set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 1800)
    endforeach()
  endforeach()
endif()
