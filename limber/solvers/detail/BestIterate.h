#pragma once

#include <algorithm>

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

/// The iterate d with the smallest residual. It is copied only when d is about to become worse.
class BestIterate {
 public:
  BestIterate(int n, double* d) : n_(n), d_(d) {}
  /// The iterations begin at d, with this squared residual.
  void begin(double square) { square_ = square; }
  /// Call it before d moves to an iterate with this squared residual.
  void moveTo(double square) {
    if (square <= square_) {
      square_ = square;
      isCurrent_ = true;
    } else if (isCurrent_) {
      copy_.resize(n_);
      std::copy_n(d_, n_, copy_.data());
      isCurrent_ = false;
    }
  }
  /// d becomes the best iterate.
  void restore() {
    if (!isCurrent_) std::copy_n(copy_.data(), n_, d_);
  }
  double square() const { return square_; }

 private:
  const int n_;
  double* const d_;
  Doubles copy_;
  double square_ = 0.0;
  bool isCurrent_ = true;
};

}  // namespace limber::detail
