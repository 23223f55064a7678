#pragma once

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// The positions of all joints in all frames of a clip, in body heights.
class Places {
 public:
  Places(const Clip& clip, const Skeleton& skeleton);

  int joints() const { return static_cast<int>(joints_); }
  int frames() const { return static_cast<int>(at_.size() / joints_); }
  const Pnt3& at(int joint, int frame) const {
    return at_[static_cast<std::size_t>(frame) * joints_ + static_cast<std::size_t>(joint)];
  }
  /// The length of the third difference of a joint's positions in the frames f .. f + 3.
  double third(int joint, int f) const;
  /// A joint's position without its trembling: the value at frame f of the parabola that fits the positions
  /// in the frames f - half .. f + half best (Savitzky and Golay 1964). Near the end of the clip, and near
  /// `first`, where its motion begins, fewer frames are used.
  Pnt3 stilled(int joint, int f, int half, int first) const;
  /// The frame from `first` to `last` with the largest third difference; `first` if last < first.
  int mostAbrupt(int joint, int first, int last) const;

 private:
  std::size_t joints_;
  std::vector<Pnt3> at_;
};

}  // namespace limber::motion::detail
