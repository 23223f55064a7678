#pragma once

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// The paths of all joints through a clip.
class Tracks {
 public:
  Tracks(const Clip& clip, const Skeleton& skeleton);

  int frames() const { return frames_; }
  double frameTime() const { return frameTime_; }
  /// The first frame of the motion. It is 1 or 2 if the clip begins with poses from which the body jumps to
  /// the next frame, much further than it usually moves between two frames.
  int first() const { return first_; }
  const Pnt3& at(int joint, int frame) const {
    return places_[static_cast<std::size_t>(frame) * joints_ + static_cast<std::size_t>(joint)];
  }
  /// The velocity of a joint, in units of length per second: the central difference over 0.05 seconds, or
  /// over two frames if these are longer, and one-sided at the ends of the motion.
  Pnt3 velocity(int joint, int frame) const;
  double speed(int joint, int frame) const { return velocity(joint, frame).length(); }
  /// The height that a joint goes below in only a twentieth of the frames. The first frame does not count.
  double low(int joint) const;

 private:
  /// The longest distance that a joint moves from `frame` to the next frame.
  double step(int frame) const;

  int frames_, first_ = 0, half_;
  double frameTime_;
  std::size_t joints_;
  std::vector<Pnt3> places_;
};

}  // namespace limber::motion::detail
