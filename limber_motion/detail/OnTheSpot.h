#pragma once

#include <vector>

#include "limber_motion/detail/Feet.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion::detail {

/// The mean horizontal speed of the feet where they are low, in units of length per second, if they slide
/// under a body that stays where it is, as on a treadmill. Otherwise 0. A foot is low if it is less than
/// `low` above the joint's low place. A speed below `slow` does not count as sliding. Both are in units of
/// length.
double slidesOnTheSpot(const Tracks& tracks, int carrier, const std::vector<FootJoint>& feet, double low,
                       double slow);

}  // namespace limber::motion::detail
