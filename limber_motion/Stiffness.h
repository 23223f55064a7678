#pragma once

/// @file
/// How much each channel of a skeleton resists being changed.

#include <map>
#include <string>
#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion {

/// Stiffness of each joint of a clip: 1 for the limbs, 2 for the spine (what lies between the root and the
/// branching of two limbs or more), 4 for the root, and 5 for toes and fingers, which must turn far to move
/// their ends a little. `byName` replaces the value of the joints that it names; Error for a name that the
/// clip does not have and for a value that is not above 0.
LIMBER_MOTION_API std::vector<double> jointStiffness(const Clip& clip, const Skeleton& skeleton,
                                                     const std::map<std::string, double>& byName = {});

/// True for the joints that carry the body: the root and those that two limbs or more hang on.
LIMBER_MOTION_API std::vector<bool> trunkJoints(const Clip& clip, const Skeleton& skeleton);

/// The masses of the measure of smoothness, one a channel of a frame, in body heights: a translation has the
/// mass stiffness / height^2, a rotation that of the arc at a fifth of the height, stiffness / 25. Where
/// joints other than the one that carries the body have position channels too, those weigh ten thousand times
/// as much: bones do not stretch. (Were the arm the bone's own length, short bones such as toes would turn
/// far to spare the long ones a little.)
LIMBER_MOTION_API std::vector<double> channelMasses(const Clip& clip, const Skeleton& skeleton,
                                                    const std::vector<double>& stiffness);

}  // namespace limber::motion
