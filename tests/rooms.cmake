# The rooms of the library that have tests, and for each the rooms to its left, whose objects the tests of its private helpers
# are linked with.
set(rooms foundation linalg solvers geometry ode io graphics)
set(left_of_linalg foundation)
set(left_of_solvers foundation linalg)
set(left_of_geometry foundation linalg)
set(left_of_ode foundation linalg)
set(left_of_io foundation)
set(left_of_graphics foundation)
