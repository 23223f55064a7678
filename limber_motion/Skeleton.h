#pragma once

/// @file
/// The kinematics of a clip's skeleton: the positions of its joints and their derivatives by the channels.

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"

class SpVec;

namespace limber::motion {

/// A skeleton in one frame: the position of each joint, and the axis about (or along) which each channel
/// moves it.
struct Pose {
  std::vector<Pnt3> position;  ///< of each joint and end site, in world coordinates
  std::vector<Pnt3> axis;      ///< of each channel, in world coordinates, with length 1
};

/// The kinematics of a clip's skeleton. A joint's origin is its OFFSET in the axes of its parent; a position
/// channel replaces the offset on its axis. A joint's axes are the parent's axes turned by the joint's
/// rotation channels; the last channel acts on a point first. The object copies what it needs from the clip.
class LIMBER_MOTION_API Skeleton {
 public:
  explicit Skeleton(const Clip& clip);

  int joints() const { return static_cast<int>(joints_.size()); }
  int channels() const { return static_cast<int>(channels_.size()); }

  /// The pose of a frame, in one sweep from the root.
  void pose(const double* frame, Pose* out) const;
  /// The channels that move a joint, from the root down, in ascending order.
  const std::vector<int>& chain(int joint) const { return joints_[static_cast<std::size_t>(joint)].chain; }
  /// The joint that a channel moves.
  int owner(int channel) const { return channels_[static_cast<std::size_t>(channel)].joint; }
  bool isRotation(int channel) const { return channels_[static_cast<std::size_t>(channel)].rotation; }
  /// d position(joint) / d channel for a channel of chain(joint). For a rotation this is axis x
  /// (position(joint) - position(owner)), in units of length per radian. For a translation it is the axis.
  Pnt3 derivative(const Pose& pose, int joint, int channel) const;

  /// The position of a joint or end site in world coordinates.
  Pnt3 position(int joint, const double* frame) const;
  /// The positions of all joints and end sites.
  std::vector<Pnt3> positions(const double* frame) const;
  /// The position, and the rows of its derivative (x, y, z). The rows are indexed by the index of a channel
  /// in a frame.
  Pnt3 position(int joint, const double* frame, SpVec rows[3]) const;

  /// The joint that carries the body through the world: the root, or, if the root is a motionless reference,
  /// the first joint after it whose position changes. Every joint between them has one limb.
  int carrier() const { return carrier_; }
  /// The body's height, which is the unit of relative lengths. It is the vertical extent of the carrier and
  /// what hangs on it in the rest pose, where all rotations are zero and only the offsets count. It is the
  /// largest extent if the body lies there, that is, if the vertical extent is less than three tenths of it.
  /// If all offsets are zero, the extents of the clip's first frame are used. If the vertical extent in the
  /// clip's frames is usually more than one and a half times as large, the rest pose is folded, and the
  /// median of that extent is used.
  double height() const { return height_; }

 private:
  struct Part {
    int parent, firstChannel, lastChannel;  // lastChannel is the one after the joint's last channel
    Pnt3 offset;
    std::vector<int> chain;
  };
  struct Motion {
    int joint, axis;
    bool rotation;
  };

  std::vector<Part> joints_;
  std::vector<Motion> channels_;
  int carrier_ = 0;
  double height_ = 0.0;
};

}  // namespace limber::motion
