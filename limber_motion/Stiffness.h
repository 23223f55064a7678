#pragma once

/// @file
/// How much each channel of a skeleton resists a change.

#include <map>
#include <string>
#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion {

/// The stiffness of each joint of a clip: 1 for the limbs, 3 for the spine (the joints that two or more limbs
/// hang on), 6 for the root (Skeleton::carrier), and 5 for toes and fingers, which must turn far to move
/// their ends a little. `byName` replaces the values of the joints that it names. Throws Error for a name
/// that the clip does not have and for a value that is not between 1e-9 and 1e9.
LIMBER_MOTION_API std::vector<double> jointStiffness(const Clip& clip, const Skeleton& skeleton,
                                                     const std::map<std::string, double>& byName = {});

/// True for the joints that carry the body: the root, and those that two or more limbs hang on.
LIMBER_MOTION_API std::vector<bool> trunkJoints(const Clip& clip, const Skeleton& skeleton);

/// The masses of the measure of smoothness, one per channel of a frame, with lengths in body heights. A
/// translation has the mass stiffness / height^2. A rotation has the mass of the arc at a fifth of the
/// height, stiffness / 25. If other joints than the one that carries the body have position channels too,
/// these weigh ten thousand times as much, because bones do not stretch; so do all channels of a motionless
/// reference before Skeleton::carrier. (With the bone's own length as the arm, short bones such as toes would
/// turn far to spare the long ones a little.)
LIMBER_MOTION_API std::vector<double> channelMasses(const Clip& clip, const Skeleton& skeleton,
                                                    const std::vector<double>& stiffness);

}  // namespace limber::motion
