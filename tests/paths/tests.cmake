# The program that counts calls inside the library, and shows what runs on machines without wide vectors. It has the objects
# of all rooms that have fast paths. The COUNTED lines name the symbols.
set(objects limber_test_tools)
foreach(room IN ITEMS foundation linalg solvers geometry ode io)
  list(APPEND objects limber_${room})
endforeach()
limber_linked_test(test_paths "${objects};LAPACK::LAPACK" paths/FastPathTest.cpp paths/HideWideVectors.cpp
                   paths/PlainVectorsTest.cpp)
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/FastPathTest.cpp counted REGEX "^COUNTED")
foreach(line IN LISTS counted)
  string(REGEX MATCH "_Z[A-Za-z0-9_]+" symbol "${line}")
  target_link_options(test_paths PRIVATE "LINKER:--wrap=${symbol}")
endforeach()
