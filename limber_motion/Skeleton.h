#pragma once

/// @file
/// The kinematics of a clip's skeleton: where its joints are, and how that changes with the channels.

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"

class SpVec;

namespace limber::motion {

/// A skeleton in one frame: where each joint is, and about (or along) which axis each channel moves it.
struct Pose {
  std::vector<Pnt3> position;  ///< of each joint and end site, in the world
  std::vector<Pnt3> axis;      ///< of each channel, in the world, of length 1
};

/// The kinematics of a clip's skeleton. A joint's origin is its OFFSET from its parent in the parent's axes,
/// a position channel replacing the offset on its axis; its axes are the parent's turned by its rotation
/// channels, the last channel acting on a point first. It copies what it needs of the clip.
class LIMBER_MOTION_API Skeleton {
 public:
  explicit Skeleton(const Clip& clip);

  int joints() const { return static_cast<int>(joints_.size()); }
  int channels() const { return static_cast<int>(channels_.size()); }

  /// The pose of a frame, in one sweep from the root.
  void pose(const double* frame, Pose* out) const;
  /// The channels that move a joint, from the root's on, in ascending order.
  const std::vector<int>& chain(int joint) const { return joints_[static_cast<std::size_t>(joint)].chain; }
  /// The joint that a channel moves.
  int owner(int channel) const { return channels_[static_cast<std::size_t>(channel)].joint; }
  bool isRotation(int channel) const { return channels_[static_cast<std::size_t>(channel)].rotation; }
  /// d position(joint) / d channel for a channel of chain(joint): axis x (position(joint) - position(owner))
  /// for a rotation, in lengths a radian, and the axis itself for a translation.
  Pnt3 derivative(const Pose& pose, int joint, int channel) const;

  /// The position of a joint or end site in the world.
  Pnt3 position(int joint, const double* frame) const;
  /// The positions of all joints and end sites.
  std::vector<Pnt3> positions(const double* frame) const;
  /// The position and its derivative rows (x, y, z), indexed by the place of a channel in a frame.
  Pnt3 position(int joint, const double* frame, SpVec rows[3]) const;

  /// The body's height: the vertical (y) extent of the joints put together by their offsets alone, or the
  /// largest extent where that is flat; where all offsets are zero, the same of the clip's first frame. What
  /// lengths are measured against.
  double height() const { return height_; }

 private:
  struct Part {
    int parent, firstChannel, lastChannel;  // lastChannel is one behind the joint's own
    Pnt3 offset;
    std::vector<int> chain;
  };
  struct Motion {
    int joint, axis;
    bool rotation;
  };

  std::vector<Part> joints_;
  std::vector<Motion> channels_;
  double height_;
};

}  // namespace limber::motion
