#pragma once

#include <utility>
#include <vector>

#include "limber_motion/Curves.h"

namespace limber::motion::detail {

/// Consecutive times of an edit, first .. end - 1, whose unknowns a step changes while all others stay.
struct Window {
  int first, end;
  double damping = 0.0;  ///< of the step (StepSystem)
};

/// The windows that reach `margin` times further than the marked times but not beyond the marks, of which the
/// first one belongs to the time `first`. The windows are sorted and do not touch one another.
std::vector<Window> windowsAround(const std::vector<bool>& marks, int first, int margin);

/// The frames that depend on the unknowns of a window in a clip of `frames` frames: the first one and the
/// end, which is not included. They also depend on unknowns up to overlap() - 1 times outside the window.
std::pair<int, int> framesOf(const Window& window, const Curves& curves, int frames);

}  // namespace limber::motion::detail
