#include "limber_motion/Curves.h"

#include <algorithm>

namespace limber::motion {

Curves::Curves(int frames, int spacing) : spacing_(std::max(spacing, 1)), times_(frames) {
  if (spacing_ == 1) return;
  spline_.emplace(frames, spacing_);
  times_ = spline_->coefficients();
}

Curves Curves::part(int first, int end) const {
  Curves part = *this;
  part.times_ = end - first;
  part.skipped_ += first;
  return part;
}

Curves::Basis Curves::at(int frame) const {
  if (!spline_) return {frame - skipped_, 1, {1.0, 0.0, 0.0, 0.0}};
  const Spline::Basis basis = spline_->at(frame);
  return {basis.first - skipped_, 4, {basis.weight[0], basis.weight[1], basis.weight[2], basis.weight[3]}};
}

}  // namespace limber::motion
