#pragma once

/// @file
/// Numbers in twice the precision that neither overflow nor underflow.

#include "limber/foundation/detail/DoubleSum.h"
#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

/// A number times 2^power. The magnitude of the number is 0 or in [1/2, 1).
class Wide {
 public:
  Wide() = default;
  /// x 2^power.
  explicit Wide(double x, int power = 0) : Wide(DoubleSum{x, 0.0}, power) {}
  Wide(const DoubleSum& value, int power);
  bool isZero() const { return value_.high == 0.0; }
  int power() const { return power_; }
  /// The number times 2^k, rounded.
  double rounded(int k = 0) const;
  Wide operator*(const Wide& other) const;
  Wide& operator+=(const Wide& other);

 private:
  DoubleSum value_;
  int power_ = 0;
};

using Wides = Array<Wide>;

/// The n numbers x_i 2^power, and the reverse: x_i = from_i 2^power, rounded.
Wides wideOf(int n, const double* x, int power);
void round(const Wides& from, int power, Doubles* x);
/// A x 2^power and A^T x 2^power.
Wides multiplyWide(const SparseRows& A, const Wides& x, int power);
Wides multiplyWideTransposed(const SparseRows& A, const Wides& x, int power);
/// |x|.
Wide normOf(const Wides& x);

}  // namespace limber::detail
