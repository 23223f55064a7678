#pragma once

#include <vector>

#include "limber_motion/Clip.h"

namespace limber::motion::detail {

/// For each frame and channel (index frame * channels + channel): true if the joint is so near to gimbal lock
/// that the axes of its later rotations swing round quickly. This is so within 0.05 s of a frame in which the
/// second of its three angles is near 90 degrees and the first one turns faster than a body does. A smooth
/// change of such angles is not a smooth change of the motion. `clip` has continuous angles.
std::vector<bool> swingingAxes(const Clip& clip);

}  // namespace limber::motion::detail
