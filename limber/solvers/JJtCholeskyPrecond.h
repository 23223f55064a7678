#pragma once

/// @file
/// The direct solver of banded normal equations, as a preconditioner.

#include "limber/Api.h"
#include "limber/solvers/Preconditioner.h"

class HSpMat;
class ResizeMatrix;
class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// Preconditions J W J^T + diag(damp) by the Cholesky factor of its band (buildJJtBand), at any width. With
/// the full half bandwidth of the matrix it is a direct solver: solve() gives the solution, and CG converges
/// in one or two iterations.
///
/// A failed factorization is reported, and the diagonal is used instead, as in JJtPrecond. Weights, the shift
/// and copies are as in JJtPrecond.
class LIMBER_API JJtCholeskyPrecond : public Preconditioner {
 public:
  /// The factored band.
  ResizeMatrix* band;
  /// If the factorization failed, the vector that JJtPrecond keeps; else null.
  Vector* diagonal;

  /// `weights` are 1/mass of the solve. Null weights mean 1, null damping means none.
  JJtCholeskyPrecond(HSpMat* J, int bandwidth, Vector* weights, Vector* damp);
  JJtCholeskyPrecond(const JJtCholeskyPrecond& other);
  JJtCholeskyPrecond& operator=(const JJtCholeskyPrecond& other);
  ~JJtCholeskyPrecond();

  /// z = r; then the first height(J) elements of z are replaced by the solution with the band. r and z may be
  /// the same.
  void solve(const Vector* r, Vector* z) override;
};

LIMBER_FIXED_TABLE_END
