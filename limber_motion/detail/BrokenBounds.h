#pragma once

#include <string>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Report.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Floor.h"

namespace limber::motion::detail {

/// A sentence if the feet are deeper than before, deeper than their targets, and deeper than the ground.
/// `target` is the depth of the deepest target.
std::vector<std::string> whoSinks(const Clip& clip, double before, double target, const Deepest& after);

/// A sentence for each bound that an edit breaks although it only holds contacts, with the moment at which it
/// does so most. The bounds are those of Edit::solve. The stands are those of findStands from the frame
/// `first` on. `report` has the measured figures.
std::vector<std::string> brokenBounds(const Clip& original, const Clip& edited, const Skeleton& skeleton,
                                      int first, const Report& report);

}  // namespace limber::motion::detail
