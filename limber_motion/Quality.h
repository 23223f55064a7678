#pragma once

/// @file
/// Measures how well an edited clip keeps what a viewer notices.

#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"

namespace limber::motion {

/// A joint that stands in the frames first .. end - 1.
struct Stand {
  int joint, first, end;
};

/// Finds what stands in a clip. Contract: the rule is simple and independent of findContacts. A foot joint is
/// an end site, or the parent of one, whose low place is at most 0.1 heights above the lowest of all low
/// places. It stands while it is less than 0.05 heights above its low place and slower than 0.1 heights per
/// second, for at least 0.1 s; gaps of up to 0.05 s are closed. The low place of a joint is the 5th
/// percentile of its height, without the first frame. Its speed is the central difference over 0.05 s.
/// `ground`, if not null, receives the lowest of the low places.
LIMBER_MOTION_API std::vector<Stand> findStands(const Clip& clip, double* ground = nullptr);

/// Compares an edited clip with its original. Lengths are fractions of the body's height, times are in
/// seconds.
struct Quality {
  int stands = 0, standingFrames = 0;              ///< their number, and the total of their frames
  double skateBefore = 0.0, skateAfter = 0.0;      ///< mean horizontal speed of the standing joints
  double fastestBefore = 0.0, fastestAfter = 0.0;  ///< the largest of these speeds
  double wanderBefore = 0.0, wanderAfter = 0.0;    ///< largest distance from the mean position of a stand
  double edgeJerk = 0.0, largestEdgeJerk = 0.0;    ///< at the ends of the stands: ratio of after to before
  double bodyJerk = 0.0;                           ///< of all joints: ratio of after to before
  double belowBefore = 0.0, belowAfter = 0.0;      ///< how far the joints of the stands go below the ground
  double turn = 0.0;                               ///< largest change of a rotation channel, in radians
};

/// Measures with the given stands. The jerk at an end of a stand is the largest third difference of the
/// joint's position within 0.1 s of that end. It is divided by the jerk of the original, or by a jerk of 1
/// height / s^3 if that is larger. The jerk of the body is the root mean square of the third differences of
/// all joints and frames. It is divided by that of the original, or by a jerk of 8 heights / s^3 if that is
/// larger, which is that of a calm movement. Throws Error if the clips do not have the same joints, channels
/// and frames, or if a stand is not within the clip.
LIMBER_MOTION_API Quality measureQuality(const Clip& before, const Clip& after,
                                         const std::vector<Stand>& stands, double ground);
/// Measures with the stands of findStands(before).
LIMBER_MOTION_API Quality measureQuality(const Clip& before, const Clip& after);

}  // namespace limber::motion
