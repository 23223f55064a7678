#pragma once

#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion::detail {

/// A joint or end site of a foot.
struct FootJoint {
  int joint;
  int foot;    ///< the topmost joint of the foot (its ankle, if one is found)
  double low;  ///< the height that the joint is seldom below
};

/// The joints that a clip's body can stand on, in ascending order. These are the ends of the skeleton whose
/// low place is at most a tenth of the body's height above the lowest one's, the joints before them, and,
/// further up, joints that are as low and are connected by short bones. If a limb has several toes or
/// fingers, only the joints on the way to its lowest end are included. `ground` becomes the lowest of the
/// ends' low places.
std::vector<FootJoint> findFeet(const Clip& clip, const Skeleton& skeleton, const Tracks& tracks,
                                double* ground);

}  // namespace limber::motion::detail
