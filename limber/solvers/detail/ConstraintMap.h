#pragma once

/// @file
/// The operator of a system of constraints.

#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/SparseRows.h"

class HSpMat;

namespace limber::detail {

/// x -> (J V^-1 J^T + D) x.
class ConstraintMap final : public LinearMap {
 public:
  SparseRows rows;
  /// The diagonals of V^-1 and D. If empty, they are ones and zeros.
  Doubles inverseMass, damp;
  /// The rounding errors of inverseMass.
  Doubles inverseMassRest;
  /// True if some of these numbers have lost digits. The wide ones have all.
  bool lossy = false;
  SparseRows exactRows;
  Wides wideInverseMass, wideDamp;

  /// Copies the matrix and the vectors, scaled so that this map is 2^-power times the caller's. Returns an
  /// error message about the input, or null.
  const char* take(const HSpMat& J, const Vector* mass, const Vector* damping, int* power);
  /// Scales the map from both sides by powers of two that bring its diagonal near 1, and returns the
  /// exponents.
  Ints equilibrate();

  /// The half bandwidth, the diagonal and the entries of the map as a matrix.
  int halfBandwidth() const;
  Doubles diagonal() const;
  SparseRows matrix() const { return matrixOfColumns(rows.height); }
  /// The same without the columns of J with more than `longest` entries. It is positive semidefinite, too,
  /// and its difference to the map has the rank of these columns.
  SparseRows matrixOfColumns(int longest) const;
  /// The matrix (V^-1/2 J^T; D^1/2). Its normal matrix is this map.
  SparseRows root() const;

  int height() const override { return rows.height; }
  int width() const override { return rows.height; }
  double entries() const override { return 2.0 * rows.entries(); }
  void multiply(const double* x, double* y) override;
  void multiplyTransposed(const double* x, double* y) override { multiply(x, y); }
  void preciseResidual(const double* b, const double* x, double* r, double* g) override;
  Wides wideProduct(const Wides& x, bool transposed) override;

 private:
  double weight(int j) const { return inverseMass.size() > 0 ? inverseMass[j] : 1.0; }
  double weightRest(int j) const { return inverseMassRest.size() > 0 ? inverseMassRest[j] : 0.0; }
  Doubles product_;
};

}  // namespace limber::detail
