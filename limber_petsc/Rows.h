#pragma once

/// @file
/// How a matrix and its unknowns are distributed over the processes of a communicator.

#include <mpi.h>

#include "limber_petsc/Api.h"

class HSpMat;
class Vector;

namespace limber::petsc {

/// This process's part of a matrix: consecutive rows, whose column indices are those of the whole matrix. The
/// parts have the order of the ranks, without gaps. A part may be empty.
struct Rows {
  const HSpMat* rows;  ///< the rows; not owned
  int first;           ///< the number of the first of them in the whole matrix, from 0
  int columns;         ///< the width of the whole matrix, the same on every process
};

/// A run of consecutive rows or unknowns: first, first + 1, ..., first + count - 1.
struct Part {
  int first, count;
};

/// The part of `total` items that belongs to this process if they are distributed evenly: the first total %
/// size processes have one item more than the others. The unknowns of a least-squares solve and the masses of
/// a solve with constraints are distributed in this way. Not collective.
LIMBER_PETSC_API Part evenPart(MPI_Comm comm, int total);

/// Concatenates the parts of all processes, in the order of their ranks, on every process. This is the only
/// operation that needs memory for the whole vector, and no solve calls it. Collective. Returns 0, or 1 after
/// a report if there is no memory on some process; in that case `all` does not change on any process.
LIMBER_PETSC_API int gather(MPI_Comm comm, const Vector& part, Vector* all);

}  // namespace limber::petsc
