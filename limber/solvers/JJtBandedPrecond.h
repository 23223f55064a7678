#pragma once

/// @file
/// The banded preconditioner of normal equations.

#include "limber/Api.h"
#include "limber/solvers/Preconditioner.h"

class HSpMat;
class ResizeMatrix;
class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// Preconditions J W J^T + diag(damp) by the Cholesky factor of the band of buildJJtBanded. For a
/// bandwidth of 0 or 1 that is the band of the matrix; for a wider one it is another matrix, deliberately,
/// and may not be positive definite. See JJtCholeskyPrecond for the band itself at every width.
///
/// When the factorization fails that is reported and the diagonal is used instead, as JJtPrecond does: a
/// solve is never worse off than with that. Weights, the shift and copies are as in JJtPrecond.
class LIMBER_API JJtBandedPrecond : public Preconditioner {
 public:
  /// The factored band.
  ResizeMatrix* band;
  /// Null, unless the factorization failed: then what JJtPrecond keeps.
  Vector* diagonal;

  /// `weights` are 1/mass of the solve. Either vector may be null: weights 1, no damping.
  JJtBandedPrecond(HSpMat* J, int bandwidth, Vector* weights, Vector* damp);
  JJtBandedPrecond(const JJtBandedPrecond& other);
  JJtBandedPrecond& operator=(const JJtBandedPrecond& other);
  ~JJtBandedPrecond();

  /// Solves with the band: z takes the length and the values of r, the leading part of which (J's height) is
  /// solved for. r and z may be the same.
  void solve(const Vector* r, Vector* z) override;
};

LIMBER_FIXED_TABLE_END
