#pragma once

#include <vector>

#include "clip.h"

/// The kinematics of a clip's skeleton. Matrices act on row vectors, p' = p M, as everywhere in Limber.
class Skeleton {
 public:
  /// The clip must outlive the skeleton.
  explicit Skeleton(const Clip& clip);

  /// A joint's axes in its parent's: the rotations of its channels, then its offset and position channels.
  void localMatrix(int joint, const double* frame, Matrix4x4* out) const;
  /// The derivatives of the rotation part of localMatrix, one matrix for each rotation channel, in channel
  /// order.
  void rotationDerivatives(int joint, const double* frame, Matrix3x3 out[3]) const;

  /// The position of a joint or end site in the world.
  Pnt3 position(int joint, const double* frame) const;
  /// The positions of all joints and end sites.
  std::vector<Pnt3> positions(const double* frame) const;
  /// The position and its derivative rows (x, y, z), indexed by the place of a channel in a frame.
  Pnt3 position(int joint, const double* frame, SpVec rows[3]) const;

  /// The vertical (y) extent of the pose with all angles 0, or the largest extent where that is flat: what
  /// errors are measured against.
  double height() const;

 private:
  const Clip& clip_;
  std::vector<const RotHelper*> formats_;  // of joints whose rotation channels spell a rotation format
};
