#pragma once

/// @file
/// The constraints of an edit: where joints must be.

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"

namespace limber::motion {

/// A joint or end site must be at `target` in `frame`. The weight scales the constraint's equations. From 1
/// on, the constraint is to be met, and a larger weight brings it closer where not all can be met. Below 1 it
/// only pulls.
struct Constraint {
  int frame;  ///< from 0
  int joint;
  Pnt3 target;  ///< in world coordinates, in the clip's unit
  double weight;
};

/// Sorts by frame and, within a frame, by joint. If a joint has several constraints in a frame, only the last
/// one is kept.
LIMBER_MOTION_API void sortByFrame(std::vector<Constraint>* constraints);

/// The weights of a constraint that lasts for `frames` frames, one for each of them. It rises from 0 over the
/// first `in` frames and falls over the last `out` frames by 3 u^2 - 2 u^3. In between it is `weight`. The
/// ramps stay below 1, so that they only pull. Throws Error if a ramp is negative or if both together are
/// longer than the range.
LIMBER_MOTION_API std::vector<double> easedWeights(int frames, int in, int out, double weight = 1.0);

}  // namespace limber::motion
