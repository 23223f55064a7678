#pragma once

#include <string>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Report.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// The place at which a foot is deepest.
struct Deepest {
  double depth = 0.0;  ///< below the ground, in heights; 0 if no foot is below the ground
  int joint = -1, frame = -1;
};
Deepest deepest(const Clip& clip, const Skeleton& skeleton, const std::vector<int>& feet, double ground);

/// A sentence if the feet are deeper than before, deeper than their targets, and deeper than the ground.
/// `target` is the depth of the deepest target.
std::vector<std::string> whoSinks(const Clip& clip, double before, double target, const Deepest& after);

/// A sentence for each bound that an edit breaks although it only holds contacts, with the moment at which it
/// does so most. The bounds are those of Edit::solve. The stands are those of findStands from the frame
/// `first` on. `report` has the measured figures.
std::vector<std::string> brokenBounds(const Clip& original, const Clip& edited, const Skeleton& skeleton,
                                      int first, const Report& report);

}  // namespace limber::motion::detail
