#pragma once

#include <vector>

#include "limber_motion/detail/Feet.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion::detail {

/// The mean horizontal speed of the feet where they are low, in units of length per second, if they slide
/// there under a body that stays where it is, as on a treadmill; 0 otherwise. Low is less than `low` above a
/// joint's low place, and slower than `slow` is not sliding (in units of length).
double slidesOnTheSpot(const Tracks& tracks, int carrier, const std::vector<FootJoint>& feet, double low,
                       double slow);

}  // namespace limber::motion::detail
