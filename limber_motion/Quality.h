#pragma once

/// @file
/// The ruler: how well an edited clip keeps what an eye looks at.

#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"

namespace limber::motion {

/// The frames first .. end - 1, in which a joint stands.
struct Stand {
  int joint, first, end;
};

/// What stands in a clip by the ruler's own rule, which is deliberately simple and not that of findContacts:
/// a foot joint (an end site or its parent, whose low place is within 0.1 heights of the lowest one's) is
/// within 0.05 heights of its low place and slower than 0.1 heights a second, for at least 0.1 s, gaps up to
/// 0.05 s closed. The low place of a joint is the 5th percentile of its height, the first frame left out; its
/// speed the central difference over 0.05 s. `ground`, when not null, gets the lowest of the low places.
LIMBER_MOTION_API std::vector<Stand> findStands(const Clip& clip, double* ground = nullptr);

/// An edited clip compared with the one that it was made of. Lengths are parts of the body's height, times
/// seconds.
struct Quality {
  int stands = 0, standingFrames = 0;              ///< all frames of all stands
  double skateBefore = 0.0, skateAfter = 0.0;      ///< mean horizontal speed of what stands
  double fastestBefore = 0.0, fastestAfter = 0.0;  ///< largest of these speeds
  double wanderBefore = 0.0, wanderAfter = 0.0;    ///< largest distance from the mean place in a stand
  double edgeJerk = 0.0, largestEdgeJerk = 0.0;    ///< at the ends of the stands, after over before
  double bodyJerk = 0.0;                           ///< of all joints, after over before
  double belowBefore = 0.0, belowAfter = 0.0;      ///< how far the stands' joints go below the ground
  double turn = 0.0;                               ///< largest change of a rotation channel, radians
};

/// The ruler with stands of the caller's choice. The jerk at an end of a stand is the largest third
/// difference of the joint's place within 0.1 s of it, divided by the same before, or by that of 1 height /
/// s^3 where it was less; the body's is the root mean square of the third differences of all joints and
/// frames. The clips must have the same joints and frames; Error when they do not.
LIMBER_MOTION_API Quality measureQuality(const Clip& before, const Clip& after,
                                         const std::vector<Stand>& stands, double ground);
/// With the stands of findStands(before).
LIMBER_MOTION_API Quality measureQuality(const Clip& before, const Clip& after);

}  // namespace limber::motion
