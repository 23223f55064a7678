# Any LAPACK that CMake finds, as the target LAPACK::LAPACK, which CMake before 3.18 does not create.
find_package(LAPACK REQUIRED)
if(NOT TARGET LAPACK::LAPACK)
  add_library(LAPACK::LAPACK INTERFACE IMPORTED)
  set_target_properties(LAPACK::LAPACK PROPERTIES INTERFACE_LINK_LIBRARIES "${LAPACK_LIBRARIES};${BLAS_LIBRARIES}")
endif()
