#pragma once

#include <vector>

#include "limber/linalg/Vector.h"
#include "limber_motion/StepSystem.h"
#include "limber_motion/detail/Stages.h"
#include "limber_motion/detail/Task.h"

namespace limber::motion::detail {

/// Keeps the angles of an edit from turning too far (an active-set method): an angle that would turn too far
/// in a step is bound, and the others make up for it, until it has come back. There are two kinds of bounds:
/// firm ones at the largest turn that the options allow, and gentle ones at a smaller turn that is preferred
/// for angles that only help to hold feet. Angles of joints that pass near gimbal lock are kept as they were.
class TurnBounds {
 public:
  /// `channels` are those that the edit changes. The operands must outlive this object.
  TurnBounds(const Task& task, const std::vector<int>& channels);

  /// Releases the angles that have come back. `change` is the change of all stages so far, one number per
  /// unknown of the edit.
  void release(const Stage& stage, const Vector& change);
  /// Binds the angles that turn too far if the change is `change`. Returns true if there are any that were
  /// not bound yet.
  bool bind(const Stage& stage, const Vector& change);
  /// The bounds on the change of this stage alone. `before` is the change of the previous stages.
  std::vector<Bound> bounds(const Stage& stage, const Vector& before) const;
  /// The largest turn of an angle in a change.
  double largestTurn(const Vector& change) const;
  /// True if no angle turns by more than is allowed in the change.
  bool allow(const Vector& change);
  /// True if some angle would have turned by more than is allowed.
  bool turnedTooFar() const { return turnedTooFar_; }

 private:
  struct Bind {
    int unknown;
    double sign;  // of the turn
    bool firm;
  };

  int channelOf(int unknown) const { return channels_[static_cast<std::size_t>(unknown) % channels_.size()]; }
  double most(const Stage& stage, int unknown, bool firm) const;
  void keepSwinging(const Stage& stage, const Vector& before, std::vector<Bound>* bounds) const;
  double keptAt(const Stage& stage, const Bind& bind) const;

  const Task& task_;
  const std::vector<int>& channels_;
  std::vector<double> preferred_;  // for each channel of the clip, the largest turn that is preferred
  std::vector<bool> swinging_;     // for each frame and channel of the clip, see swingingAxes
  std::vector<Bind> binds_;
  bool turnedTooFar_ = false;
};

}  // namespace limber::motion::detail
