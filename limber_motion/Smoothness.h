#pragma once

/// @file
/// How large a change of a motion is: the measure that an edit keeps small.

#include <vector>

#include "limber/linalg/SpMat.h"
#include "limber_motion/Api.h"

class FullMatrix;

namespace limber::motion {

/// The measure of a change d of some channels at equally spaced times, as a symmetric positive definite
/// matrix R:
///     d^T R d = sum over channels c of mass_c sum over times ( d^2 + s^4 (d'')^2 ),
/// where the second derivative is the second difference over dt^2. The time constant s is in seconds, so that
/// the same curve costs the same for each second of it at any frame rate. A change that one time asks for
/// fades away within about 3 s before and after it. Unknown c of time t has the index t channels + c: in time
/// each channel is a matrix of five diagonals, and the whole has the half bandwidth 2 channels. The ends are
/// free: a change that is a straight line costs its size only.
class LIMBER_MOTION_API Smoothness : public SpMat {
 public:
  /// Masses above 0, one a channel; `dt` > 0 and `smooth` (s) >= 0 in seconds.
  Smoothness(int times, const std::vector<double>& masses, double dt, double smooth);

  int times() const { return times_; }
  int channels() const { return static_cast<int>(masses_.size()); }
  int height() const override { return times_ * channels(); }
  int width() const override { return height(); }
  /// y = R x, overwriting y, which gets height() elements. x and y are different vectors.
  void mult(const Vector* x, Vector* y) const override;
  /// The same: R is symmetric.
  void multT(const Vector* x, Vector* y) const override { mult(x, y); }
  double acc(int i, int j) const override;

  /// No element further from the diagonal than this is different from 0.
  int halfBandwidth() const { return reach * channels(); }
  /// Adds `scale` R to the upper band of a symmetric matrix in the layout of cholFactorBanded, with kd >=
  /// halfBandwidth(): band(j, kd - (j - i)) += scale R(i, j) for i <= j.
  void addTo(double scale, FullMatrix* band) const;
  /// The variance of a single unknown of mass 1 in the middle of a long clip: the element of R^-1 on its
  /// diagonal, dt / (2 sqrt(2) s) for s well above dt.
  double flexibility() const { return flexibility_; }

 private:
  static constexpr int reach = 2;  // times further apart have no element
  int times_;
  double flexibility_;
  std::vector<double> masses_;
  std::vector<double> diagonals_[reach + 1];  // (t, t + k) of one channel of mass 1
};

}  // namespace limber::motion
