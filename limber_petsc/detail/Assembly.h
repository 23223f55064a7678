#pragma once

/// @file
/// Checks Limber's rows and vectors and converts them to PETSc's.

#include "limber/linalg/Vector.h"
#include "limber_petsc/Rows.h"
#include "limber_petsc/detail/Engine.h"

namespace limber::petsc::detail {

/// The largest binary exponents of a matrix and of a vector, over all processes. Everything is multiplied by
/// the powers of two with the negated exponents, which is exact and keeps squares within range.
struct Scale {
  int matrix = 0, vector = 0;
};

/// Checks the parts of a matrix on every process. A process with a bad part reports the problem. Returns the
/// same result on all processes: true if all parts are valid. Collective.
bool partsFit(MPI_Comm comm, const Rows& part);
/// Checks that `v` has `count` finite elements on every process. The report calls it `name`. Collective.
bool vectorFits(MPI_Comm comm, const Vector& v, int count, const char* name);
/// Checks that the start of a solve has `count` finite elements on every process, or none on any. Collective.
bool startFits(MPI_Comm comm, const Vector& x, int count);

/// The exponents of the largest magnitudes. Collective.
Scale scaleOf(MPI_Comm comm, const Rows& part, const Vector& b);
/// The exponent e of the largest magnitude m of all processes' parts, 2^(e-1) <= m < 2^e; 0 for zeros.
/// Collective.
int exponentOf(MPI_Comm comm, const Vector& v);

/// 2^-exponent times the rows, with `ownColumns` columns on this process.
PetscErrorCode assemble(MPI_Comm comm, const Rows& part, int ownColumns, int exponent, Mat* matrix);
/// A PETSc vector of this process's `v`, times 2^-exponent.
PetscErrorCode assemble(MPI_Comm comm, const Vector& v, int exponent, Vec* out);
/// out = 2^exponent v. The size of `out` becomes that of this process's part.
PetscErrorCode extract(Vec v, int exponent, Vector* out);

}  // namespace limber::petsc::detail
