#pragma once

/// @file
/// Finds where the feet of a clip stand, by height and speed. The unit and the frame rate of the clip do not
/// matter.

#include <string>
#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"

namespace limber::motion {

/// What counts as standing. Heights and distances are fractions of the body's height (Skeleton::height),
/// speeds are such fractions per second, and times are in seconds. A joint certainly stands while it is low
/// and slow for long enough; short gaps are closed. Two such runs are one contact if the joint stays near its
/// place in between, and then stands within three quarters of that distance from it. A contact extends on
/// both sides as long as the joint is neither high nor fast and does not stray from its place (hysteresis).
struct ContactOptions {
  double low = 0.05, slow = 0.1;            ///< low and slow enough to stand certainly
  double shortest = 0.1;                    ///< for at least this time
  double longestGap = 0.05;                 ///< with gaps of up to this time
  double soon = 0.2, nearby = 0.03;         ///< runs this near in time and place are one contact
  double notHigh = 0.055, notFast = 0.105;  ///< limits for extending the contact
  double stray = 0.008;                     ///< and the largest distance from its place
};

/// A joint or end site that stands in the frames first..last, both included. `place` is where it must stand:
/// the mean of its positions, weighted by how still it was, and moved to the height of the ground. Joints of
/// one foot that stand at the same time are also moved until they are as far apart as their bones are long.
struct Contact {
  int joint;
  int first, last;
  Pnt3 place;
  int foot = -1;  ///< the topmost joint of the foot (its ankle), the same for all joints of one foot
};

/// The contacts of a clip, ordered by joint and then by time.
struct Contacts {
  std::vector<Contact> list;
  /// The joints and end sites that were examined, in ascending order: the lowest ends of the skeleton and the
  /// other joints of the same foot (end of the toes, toes, ankle). If a foot has several toes, or a hand
  /// several fingers, only the lowest one is included.
  std::vector<int> feet;
  int first = 0;        ///< the first frame of the motion: 1 or 2 after separate poses such as a T-pose
  double ground = 0.0;  ///< the height of the lowest part of the body, leaving out a twentieth of the
                        ///< frames as outliers
  std::string note;     ///< why there are no contacts, or what is unusual, such as feet that are also still
                        ///< higher up (stairs), where they get no contact; may be empty
};

/// Finds the contacts of a clip. The feet are found from the skeleton's structure and the motion, not from
/// names: they are ends of the skeleton that come near the ground. A first frame that does not belong to the
/// motion (a T-pose) is left out. If the feet slide under a body that stays where it is (a treadmill), none
/// stands, and the note says so. If no foot stands still anywhere, the search is repeated with three times
/// the speeds and distances of the options, because an edit is often meant to repair feet that slide. The
/// note says so, unless it reports that more than two parts of the body may stand.
LIMBER_MOTION_API Contacts findContacts(const Clip& clip, const ContactOptions& options = ContactOptions());

/// The contacts without the frames in which a joint of the same foot has a constraint: what the user asks of
/// a foot overrides the contacts that were found. A contact may be split in two or removed.
LIMBER_MOTION_API Contacts contactsBeside(const Contacts& contacts,
                                          const std::vector<Constraint>& constraints);

/// A constraint of weight 1 for each frame of each contact, sorted by frame and joint.
LIMBER_MOTION_API std::vector<Constraint> constraintsOf(const Contacts& contacts);

}  // namespace limber::motion
