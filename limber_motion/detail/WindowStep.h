#pragma once

#include <vector>

#include "limber/linalg/Vector.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Curves.h"
#include "limber_motion/Holds.h"
#include "limber_motion/Smoothness.h"
#include "limber_motion/StepSystem.h"
#include "limber_motion/detail/Stages.h"
#include "limber_motion/detail/Task.h"
#include "limber_motion/detail/TurnBounds.h"
#include "limber_motion/detail/Window.h"

namespace limber::motion::detail {

/// What an edit has changed so far.
struct Changes {
  const Curves& curves;
  const std::vector<int>& channels;  ///< those that the edit changes
  Vector before, now;                ///< the changes of the previous stages and of this one
  Clip clip;                         ///< the original with both
};

/// Sets the frames of the clip that depend on the window's unknowns to the original plus the changes.
void showChanges(const Clip& original, const Window& window, Changes* changes);

/// One Gauss-Newton step in one window. The unknowns outside keep their values, and the measure of smoothness
/// joins the window to them, as do curves with knots. With a border of three times on both sides, the window
/// is a problem of its own.
class WindowStep {
 public:
  /// `holds` are those of the window's frames. The operands must outlive this object.
  WindowStep(const Task& task, const Stage& stage, const Window& window, const std::vector<Hold>& holds,
             Changes* changes, TurnBounds* turns);

  /// Computes the step and takes the whole of it, or the largest part that reduces the cost and turns no
  /// joint too far; no part of `least` or less is tried. Returns the fraction, 0 if there is none.
  double take(double least);

 private:
  Window withBorder(const Window& window) const;
  Vector part(const Vector& whole, const Window& window) const;
  void findStep();
  bool solve(const Window& window);
  std::vector<Bound> keptBorder(const Window& window, const Window& wide) const;
  void show(double scale);
  double cost(double scale) const;
  Vector total(double scale) const;

  const Task& task_;
  const Stage& stage_;
  const Window window_, wide_;
  const std::vector<Hold>& holds_;
  Changes& changes_;
  TurnBounds& turns_;
  const int channels_;
  const Vector before_, now_;  // the changes in wide_
  const Smoothness measure_;   // in wide_
  Vector step_;                // in wide_, 0 in its border
};

}  // namespace limber::motion::detail
