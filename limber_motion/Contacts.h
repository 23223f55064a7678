#pragma once

/// @file
/// Where the feet of a clip stand: found by height and speed, whatever the clip's unit and frame rate.

#include <string>
#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"

namespace limber::motion {

/// What counts as standing. Heights and distances are parts of the body's height (Skeleton::height), speeds
/// parts of it a second, times seconds. A joint stands for certain where it is low and slow for long enough,
/// short gaps closed; two such times are one contact when the joint stays near in between; and a contact
/// lasts on both sides while the joint is not high, not fast and does not stray from its place (hysteresis).
struct ContactOptions {
  double low = 0.05, slow = 0.1;            ///< stands for certain
  double shortest = 0.1;                    ///< for at least so long
  double longestGap = 0.05;                 ///< with gaps up to this
  double soon = 0.2, near = 0.03;           ///< stands again in so short a time, no further away in between
  double notHigh = 0.055, notFast = 0.105;  ///< the contact lasts
  double stray = 0.008;                     ///< while it is no further from its place
};

/// A joint or end site that stands in the frames first..last, both included. `place` is where it shall stand:
/// where it was while it moved least, on the ground's height, and so that joints of one foot that stand at
/// the same time are as far apart as their bones are long.
struct Contact {
  int joint;
  int first, last;
  Pnt3 place;
  int foot = -1;  ///< the joint that the foot hangs on (its ankle): the same for all joints of one foot
};

/// The contacts of a clip, in the order of the joints and, for each, of time.
struct Contacts {
  std::vector<Contact> list;
  /// The joints and end sites that were looked at: the lowest ends of the skeleton and what belongs to the
  /// same foot (end of the toes, toes, ankle), ascending. Of several toes or fingers only the lowest is one.
  std::vector<int> feet;
  int first = 0;        ///< the first frame of the motion: 1 or 2 behind poses of their own, such as a T-pose
  double ground = 0.0;  ///< the height (y) of the lowest place, the frames below it being outliers
  std::string note;     ///< why there are no contacts, or what is unusual about them; empty where all is well
};

/// Finds the contacts of a clip. What is a foot follows from the skeleton's structure and the motion, not
/// from names: ends of the skeleton that come near the ground. A first frame that does not belong to the
/// motion (a T-pose) is left out. Where nothing is slow enough to stand, the speeds of the options are
/// doubled, once or twice, and the note says so: feet that slide everywhere are what an edit shall mend.
LIMBER_MOTION_API Contacts findContacts(const Clip& clip, const ContactOptions& options = ContactOptions());

/// The contacts without those frames in which a constraint is on any joint of the same foot: what a user asks
/// of a foot goes before what was found. Contacts are cut in two or dropped for it.
LIMBER_MOTION_API Contacts contactsBeside(const Contacts& contacts,
                                          const std::vector<Constraint>& constraints);

/// A constraint of weight 1 for each contact and frame of it, sorted by frame and joint.
LIMBER_MOTION_API std::vector<Constraint> constraintsOf(const Contacts& contacts);

}  // namespace limber::motion
