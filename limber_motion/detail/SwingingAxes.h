#pragma once

#include <vector>

#include "limber_motion/Clip.h"

namespace limber::motion::detail {

/// Where a joint passes so near to gimbal lock that the axes of its later rotations swing round quickly, for
/// each frame and channel (index frame * channels + channel): the second of its three angles is near 90
/// degrees, and the first one turns faster than a body does, within 0.05 s. A smooth change of such angles is
/// not a smooth change of the motion. `clip` has continuous angles.
std::vector<bool> swingingAxes(const Clip& clip);

}  // namespace limber::motion::detail
