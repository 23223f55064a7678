#pragma once

#include "limber_motion/Api.h"

namespace limber::motion {

/// A smooth curve in time: uniform cubic B-splines over the frames of a clip, with a knot every `spacing`
/// frames. Each frame depends on only four coefficients, which keeps the system of the edit banded.
class LIMBER_MOTION_API Spline {
 public:
  /// `spacing` >= 1.
  Spline(int frames, int spacing);

  int coefficients() const { return count_; }

  struct Basis {
    int first;         ///< the first of the four coefficients that frame t depends on
    double weight[4];  ///< their weights, which add up to 1; none is negative
  };
  /// value(t) = sum over k < 4 of weight[k] coefficient[first + k], 0 <= frame < frames.
  Basis at(int frame) const;

  /// Frames that are this far apart have no coefficient in common.
  int reach() const { return 4 * spacing_; }

 private:
  int spacing_, count_;
};

}  // namespace limber::motion
