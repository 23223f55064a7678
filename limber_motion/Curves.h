#pragma once

#include <optional>

#include "limber_motion/Api.h"
#include "limber_motion/Spline.h"

namespace limber::motion {

/// The curves that an edit adds to the channels. The unknowns are either one value per frame or the
/// coefficients of smooth curves whose knots are several frames apart. The change in a frame is a weighted
/// sum of up to four unknowns that are consecutive in time.
class LIMBER_MOTION_API Curves {
 public:
  /// `spacing` is in frames. With 0 or 1 there is one unknown per frame.
  Curves(int frames, int spacing);

  int times() const { return times_; }
  /// The number of frames from one time to the next.
  int spacing() const { return spacing_; }

  struct Basis {
    int first, count;  ///< the times first .. first + count - 1
    double weight[4];  ///< their sum is 1
  };
  /// The same curves with the times first .. end - 1 only, which are counted from 0.
  Curves part(int first, int end) const;
  /// change(frame) = sum over k < count of weight[k] unknown[first + k].
  Basis at(int frame) const;
  /// The number of times that one frame depends on.
  int overlap() const { return spline_ ? 4 : 1; }

 private:
  int spacing_, times_;
  int skipped_ = 0;  // times before the first one
  std::optional<Spline> spline_;
};

}  // namespace limber::motion
