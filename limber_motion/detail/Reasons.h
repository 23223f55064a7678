#pragma once

#include <string>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Quality.h"
#include "limber_motion/Report.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// The runs of consecutive frames in which a joint is held (with a weight of 1 or more), ordered by joint and
/// then by frame.
std::vector<Stand> runsOf(std::vector<Constraint> constraints);

/// A sentence for each joint that is held at one place in every frame although it travels in the clip; in
/// that case the body cannot move on.
std::vector<std::string> feetThatNeverLeave(const std::vector<Constraint>& constraints, const Clip& original,
                                            const Skeleton& skeleton);

/// Why the largest miss of the report was not made smaller.
enum class Hindrance { Steps, Turn, Jerk };
/// The reason as a sentence. `mostTurn` is in radians.
std::string whyMissed(const Report& report, Hindrance hindrance, double mostTurn);

}  // namespace limber::motion::detail
