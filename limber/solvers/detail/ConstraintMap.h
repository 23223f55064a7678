#pragma once

/// @file
/// The matrix of a system of constraints.

#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/SparseRows.h"

class HSpMat;

namespace limber::detail {

/// x -> (J V^-1 J^T + D) x.
class ConstraintMap final : public LinearMap {
 public:
  SparseRows rows;
  /// V^-1 and D; empty: ones and zeros.
  Doubles inverseMass, damp;

  /// Takes copies, scaled so that the map is 2^-power times the caller's. The complaint about the input, null
  /// when there is none.
  const char* take(const HSpMat& J, const Vector* mass, const Vector* damping, int* power);
  /// Scales J by powers of two that bring the diagonal of the map near 1, from both sides, and returns them.
  Ints equilibrate();

  /// Of the map as a matrix.
  int halfBandwidth() const;
  Doubles diagonal() const;
  SparseRows matrix() const;
  /// (V^-1/2 J^T; D^1/2), whose normal matrix it is.
  SparseRows root() const;

  int height() const override { return rows.height; }
  int width() const override { return rows.height; }
  void multiply(const double* x, double* y) override;
  void multiplyTransposed(const double* x, double* y) override { multiply(x, y); }

 private:
  double weight(int j) const { return inverseMass.size() > 0 ? inverseMass[j] : 1.0; }
  Doubles product_;
};

}  // namespace limber::detail
