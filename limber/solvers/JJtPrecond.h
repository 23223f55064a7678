#pragma once

/// @file
/// The diagonal preconditioner of normal equations.

#include "limber/Api.h"
#include "limber/solvers/Preconditioner.h"

class HSpMat;
class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// Preconditions J W J^T + diag(damp) by its diagonal (Jacobi), where W is the diagonal matrix of the
/// weights.
///
/// The preconditioners *multiply* by the weights they are given, while the operator of ncgradJVJt *divides*
/// by its mass: the weights of a solve with masses are 1/mass. cgradDefinizer is added to the diagonal if it
/// is positive at the time of construction.
///
/// Contract: copies are shallow. They hold the same vector, which the last copy releases.
class LIMBER_API JJtPrecond : public Preconditioner {
 public:
  /// 1/d for the diagonal entry d of each row of J. Null if there was no memory; solve() is then the
  /// identity. Contract: if |d| < cg_epsilon it is d itself, so a row of zeros zeroes its residual.
  Vector* inverse;

  /// `weights` are 1/mass of the solve. Null weights mean 1, null damping means none.
  JJtPrecond(HSpMat* J, Vector* weights, Vector* damp);
  JJtPrecond(const JJtPrecond& other);
  JJtPrecond& operator=(const JJtPrecond& other);
  ~JJtPrecond();

  /// z[i] = inverse[i] r[i] for i below the smaller of their two lengths. z does not grow; elements beyond
  /// its storage are skipped. r and z may be the same.
  void solve(const Vector* r, Vector* z) override;
};

LIMBER_FIXED_TABLE_END
