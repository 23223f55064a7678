#pragma once

#include <vector>

#include "limber/linalg/Vector.h"
#include "limber_motion/StepSystem.h"
#include "limber_motion/detail/Stages.h"
#include "limber_motion/detail/Task.h"
#include "limber_motion/detail/Window.h"

namespace limber::motion::detail {

/// Keeps the angles of an edit from turning too far (an active-set method): an angle that would turn too far
/// in a step is bound, and the others make up for it, until it has come back. There are two kinds of bounds:
/// firm ones at the largest turn that the options allow, and gentle ones at a smaller turn that is preferred
/// for angles that only help to hold feet. Angles of joints that pass near gimbal lock are kept as they were.
class TurnBounds {
 public:
  /// `channels` are those that the edit changes at each of the `times`. The operands must outlive this
  /// object.
  TurnBounds(const Task& task, const std::vector<int>& channels, int times);

  // The changes that are passed to these functions have one number per unknown of a window's times.

  /// Releases the angles that have come back. `change` is the change of all stages so far.
  void release(const Stage& stage, const Window& window, const Vector& change);
  /// Binds the angles that turn too far if the change is `change`. Marks the times of the window at which
  /// there are any that were not bound yet.
  std::vector<bool> bind(const Stage& stage, const Window& window, const Vector& change);
  /// The bounds on the change of this stage alone. `before` is the change of the previous stages. Unknowns
  /// are counted from the beginning of the window.
  std::vector<Bound> bounds(const Stage& stage, const Window& window, const Vector& before) const;
  /// The largest turn of an angle in a change.
  double largestTurn(const Vector& change) const;
  /// True if no angle turns by more than is allowed in the change.
  bool allow(const Vector& change) const;
  /// True if some angle at these times is bound firmly.
  bool isBoundFirmly(const Window& window) const;

 private:
  int channelOf(int unknown) const { return channels_[static_cast<std::size_t>(unknown) % channels_.size()]; }
  double largestChange(const Stage& stage, int unknown, bool firm) const;
  double keptAt(const Stage& stage, int unknown, bool firm) const;
  bool isSwinging(int unknown) const;

  const Task& task_;
  const std::vector<int>& channels_;
  std::vector<double> preferred_;  // for each channel of the clip, the largest turn that is preferred
  std::vector<bool> swinging_;     // for each frame and channel of the clip, see swingingAxes
  const bool eachFrame_;           // there is one unknown per frame and channel
  std::vector<int> bound_[2];      // the sign of each unknown's turn if it is bound, or 0; [1] firmly
};

}  // namespace limber::motion::detail
