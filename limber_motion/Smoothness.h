#pragma once

/// @file
/// The measure of a change of a motion, which an edit minimises.

#include <vector>

#include "limber/linalg/SpMat.h"
#include "limber_motion/Api.h"

class FullMatrix;

namespace limber::motion {

LIMBER_FIXED_TABLE_BEGIN

/// The measure of a change d of some channels at equally spaced times, as a symmetric positive definite
/// matrix R:
///     d^T R d = sum over channels c of mass_c sum over times ( d^2 + s^4 (d'')^2 + r^6 (d''')^2 ),
/// where the derivatives are differences divided by powers of dt. The time constants s and r are in seconds,
/// so that the same curve costs the same per second at any frame rate. A change that one time asks for fades
/// away within about 3 s before and after it. The second term makes the change smooth. The third term, with r
/// well below s, rounds off the jumps of its acceleration where a hold begins or ends; at higher frame rates
/// these jumps would become more and more visible. The unknown of channel c at time t has the index t
/// channels + c. In time, each channel is a matrix of five diagonals (seven if r > 0), so the whole matrix
/// has the half bandwidth 2 channels (3 channels if r > 0). The ends are free: if a change is a straight
/// line, only its size costs.
class LIMBER_MOTION_API Smoothness : public SpMat {
 public:
  /// The masses are above 0, one per channel. `dt` > 0, `smooth` (s) >= 0 and `round` (r) >= 0 are in
  /// seconds. At times before `first` the change need not be smooth; only its size counts.
  Smoothness(int times, const std::vector<double>& masses, double dt, double smooth, double round = 0.0,
             int first = 0);

  int times() const { return times_; }
  int channels() const { return static_cast<int>(masses_.size()); }
  /// The mass of a channel.
  double massOf(int channel) const { return masses_[static_cast<std::size_t>(channel)]; }
  int height() const override { return times_ * channels(); }
  int width() const override { return height(); }
  /// The part of R for the times first .. end - 1, which are counted from 0. It measures a change that is
  /// zero at all other times.
  Smoothness part(int first, int end) const;
  /// y = R x, overwriting y, which gets height() elements. x and y are different vectors. Throws
  /// std::bad_alloc if there is no memory for them.
  void mult(const Vector* x, Vector* y) const override;
  /// The same product, because R is symmetric.
  void multT(const Vector* x, Vector* y) const override { mult(x, y); }
  double acc(int i, int j) const override;

  /// Elements further from the diagonal than this are zero.
  int halfBandwidth() const { return reach_ * channels(); }
  /// Adds `scale` R to the upper band of a symmetric matrix in the layout of cholFactorBanded, with kd >=
  /// halfBandwidth(): band(j, kd - (j - i)) += scale R(i, j) for i <= j.
  void addTo(double scale, FullMatrix* band) const;
  /// The diagonal element of R^-1 for a channel of mass 1 in the middle of a long clip, which is the variance
  /// of a single unknown. It is dt / (2 sqrt(2) s) for s well above dt and r well below s.
  double flexibility() const { return flexibility_; }

 private:
  int times_, reach_;  // times further apart than reach_ have no element
  double flexibility_;
  std::vector<double> masses_;
  std::vector<double> diagonals_[4];  // diagonals_[k][t] is the element (t, t + k) of one channel of mass 1
};

LIMBER_FIXED_TABLE_END

}  // namespace limber::motion
