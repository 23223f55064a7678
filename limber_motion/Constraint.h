#pragma once

/// @file
/// Where joints shall be: the wishes that an edit meets.

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"

namespace limber::motion {

/// A joint or end site shall be at `target` in `frame`. The weight scales the constraint's equations: above 1
/// it is met more closely where not all can be met, and below 1 it pulls only.
struct Constraint {
  int frame;  ///< from 0
  int joint;
  Pnt3 target;  ///< in the world, in the clip's unit
  double weight;
};

/// Sorts by frame and, within a frame, by joint; each joint is kept once a frame (its last wish counts).
LIMBER_MOTION_API void sortByFrame(std::vector<Constraint>* constraints);

}  // namespace limber::motion
