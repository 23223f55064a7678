#pragma once

/// @file
/// The banded preconditioner of normal equations.

#include "limber/Api.h"
#include "limber/solvers/Preconditioner.h"

class HSpMat;
class ResizeMatrix;
class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// Preconditions J W J^T + diag(damp) by the Cholesky factor of the band of buildJJtBanded. For a bandwidth
/// of 0 or 1 that is the band of the matrix. Contract: for a larger bandwidth it is the band of another
/// matrix, which may not be positive definite. JJtCholeskyPrecond uses the true band at every width.
///
/// A failed factorization is reported, and the diagonal is used instead, as in JJtPrecond. Weights, the shift
/// and copies are as in JJtPrecond.
class LIMBER_API JJtBandedPrecond : public Preconditioner {
 public:
  /// The factored band.
  ResizeMatrix* band;
  /// If the factorization failed, the vector that JJtPrecond keeps; else null.
  Vector* diagonal;

  /// `weights` are 1/mass of the solve. Null weights mean 1, null damping means none.
  JJtBandedPrecond(HSpMat* J, int bandwidth, Vector* weights, Vector* damp);
  JJtBandedPrecond(const JJtBandedPrecond& other);
  JJtBandedPrecond& operator=(const JJtBandedPrecond& other);
  ~JJtBandedPrecond();

  /// z = r; then the first height(J) elements of z are replaced by the solution with the band. r and z may be
  /// the same.
  void solve(const Vector* r, Vector* z) override;
};

LIMBER_FIXED_TABLE_END
