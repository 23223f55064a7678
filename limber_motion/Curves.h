#pragma once

#include <optional>

#include "limber_motion/Api.h"
#include "limber_motion/Spline.h"

namespace limber::motion {

/// The curves that an edit adds to the channels: one unknown a frame, or the coefficients of smooth curves
/// with knots that stand several frames apart. The change in a frame is a weighted sum of up to four unknowns
/// of neighbouring times.
class LIMBER_MOTION_API Curves {
 public:
  /// `spacing` in frames; 0 or 1: one unknown a frame.
  Curves(int frames, int spacing);

  int times() const { return times_; }
  /// Frames between one time and the next.
  int spacing() const { return spacing_; }

  struct Basis {
    int first, count;  ///< the times first .. first + count - 1
    double weight[4];  ///< add to 1
  };
  /// change(frame) = sum over k < count of weight[k] unknown[first + k].
  Basis at(int frame) const;
  /// Times that one frame depends on.
  int overlap() const { return spline_ ? 4 : 1; }

 private:
  int spacing_, times_;
  std::optional<Spline> spline_;
};

}  // namespace limber::motion
