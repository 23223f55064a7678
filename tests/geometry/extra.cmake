# The inlined quaternion code at every optimisation level and for every machine that a caller may choose. Literals.cpp
# is built at test time, like a caller's program, and run if this machine can.
if(NOT LIMBER_SANITIZE)
  foreach(compiler IN LISTS bits_compilers)
    find_program(geometry_${compiler} ${compiler})
    if(geometry_${compiler})
      foreach(flags IN ITEMS "-O0" "-O1" "-O2" "-O3" "-O2 -march=native" "-O3 -march=native" "-O2 -march=x86-64-v3"
                             "-O3 -march=x86-64-v3" "-O2 -march=x86-64-v4" "-O3 -march=x86-64-v4"
                             "-O2 -march=skylake-avx512" "-O3 -march=skylake-avx512")
        string(REPLACE " " "" suffix "${flags}")
        add_test(
          NAME geometry.literals.${compiler}${suffix}
          COMMAND
            ${CMAKE_COMMAND} -DCOMPILER=${geometry_${compiler}} -DFLAGS=${flags} -DNAME=literals.${compiler}${suffix}
            -DSOURCE_DIR=${PROJECT_SOURCE_DIR} -DLIBRARY=$<TARGET_FILE:limber>
            -DLIBRARY_DIR=$<TARGET_FILE_DIR:limber> -DOUT=${CMAKE_CURRENT_BINARY_DIR} -P
            ${CMAKE_CURRENT_LIST_DIR}/literals.cmake)
        set_tests_properties(geometry.literals.${compiler}${suffix} PROPERTIES SKIP_REGULAR_EXPRESSION "SKIPPED:")
      endforeach()
    endif()
  endforeach()
endif()

# Callers who link limber::fixed_bits get the library's bits from the inlined bodies too.
if(NOT LIMBER_SANITIZE)
  add_executable(test_geometry_caller_bits geometry/CallerBits.cpp)
  target_link_libraries(test_geometry_caller_bits PRIVATE limber::limber limber_numbers)
  get_target_property(fixed_bits limber_fixed_bits INTERFACE_COMPILE_OPTIONS)
  foreach(compiler IN LISTS bits_compilers)
    if(geometry_${compiler})
      foreach(level IN ITEMS "-O0" "-O3 -march=native")
        string(REPLACE " " "" suffix "${compiler}${level}")
        add_test(
          NAME geometry.caller_bits.${suffix}
          COMMAND
            ${CMAKE_COMMAND} -DCOMPILER=${geometry_${compiler}} "-DFLAGS=${level} ${fixed_bits}"
            -DREFERENCE=$<TARGET_FILE:test_geometry_caller_bits> -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
            -DLIBRARY=$<TARGET_FILE:limber> -DLIBRARY_DIR=$<TARGET_FILE_DIR:limber>
            -DPROGRAM=${CMAKE_CURRENT_BINARY_DIR}/caller_bits.${suffix} -P ${CMAKE_CURRENT_LIST_DIR}/caller_bits.cmake)
      endforeach()
    endif()
  endforeach()
endif()

# The quaternion compiled as on machines without SSE2.
target_sources(test_geometry PRIVATE geometry/ScalarQuat.cpp)

# The rotation formats are set before any code runs, even if the library's objects are linked into the program.
add_executable(
  test_geometry_early geometry/EarlyInitialiser.cpp $<TARGET_OBJECTS:limber_foundation>
                      $<TARGET_OBJECTS:limber_linalg> $<TARGET_OBJECTS:limber_geometry>)
target_include_directories(test_geometry_early PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(test_geometry_early PRIVATE limber_flags LAPACK::LAPACK ZLIB::ZLIB)
add_test(NAME geometry.early_initialiser COMMAND test_geometry_early)
