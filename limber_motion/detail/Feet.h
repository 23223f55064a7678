#pragma once

#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion::detail {

/// A joint or end site of a foot.
struct FootJoint {
  int joint;
  int foot;    ///< the joint that the foot hangs on (its ankle, as far as one is found)
  double low;  ///< the height that it is seldom below
};

/// The joints that a clip's body can stand on, ascending: the ends of the skeleton whose low place is within
/// a tenth of the body's height of the lowest one's, with the joints before them, and up from there the
/// joints that are as low over short bones. Of the toes or fingers of one limb only those on the way to the
/// lowest end are taken. `ground` becomes the lowest of the ends' low places.
std::vector<FootJoint> findFeet(const Clip& clip, const Skeleton& skeleton, const Tracks& tracks,
                                double* ground);

}  // namespace limber::motion::detail
