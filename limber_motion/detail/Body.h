#pragma once

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// The positions of the joints when all rotations are zero and only the offsets count.
std::vector<Pnt3> restPose(const std::vector<Joint>& joints);

/// Skeleton::carrier, and 0 for a clip without joints.
int carrierOf(const Clip& clip);

/// Skeleton::height, from a skeleton whose carrier is known; 0 for a clip without joints.
double bodyHeight(const Clip& clip, const Skeleton& skeleton);

}  // namespace limber::motion::detail
