#pragma once

/// @file
/// The smooth edit of a clip.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Contacts.h"
#include "limber_motion/Quality.h"
#include "limber_motion/Report.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion {

/// How a clip is edited. Times are in seconds, lengths in body heights, angles in radians.
struct EditOptions {
  double smooth = 0.16;  ///< the time constant of the change: what one frame asks for fades in about three
  double knots = 0.0;    ///< between the knots of coarse curves; 0: one unknown a frame
  double goal = 1e-4;    ///< largest miss allowed
  int mostSteps = 8;     ///< Gauss-Newton steps of one attempt; another is made where wishes cannot be met
  double mostTurn = 1.0472;  ///< no angle is changed by more: other joints make up for one that would be
  bool ground = false;       ///< keep the feet above the ground; else only no deeper than they were
  std::map<std::string, double> stiffness;        ///< of joints by name, for the defaults of jointStiffness
  std::function<bool(const EditStep&)> observer;  ///< called after each step; false ends the edit there
};

/// An edit of a clip: where joints shall be, and the smallest smooth change of the motion that brings them
/// there. The change is measured by Smoothness; docs/guide/motion.md explains the mathematics.
///
///     Edit edit(clip);
///     edit.plant(findContacts(clip));
///     edit.reach(60, clip.find("LeftHand"), Pnt3(34, 128, 216));
///     Report report = edit.solve();
class LIMBER_MOTION_API Edit {
 public:
  /// The clip must outlive the edit, which changes it in solve. Error for a clip with numbers that are not
  /// finite, for one without frames, and for a skeleton without extent.
  explicit Edit(Clip& clip, EditOptions options = EditOptions());

  /// Holds each contact's joint at its place in its frames.
  void plant(const Contacts& contacts);
  /// Holds a joint at a point in one frame (from 0), in the clip's unit. A weight of 1 or more holds it
  /// there, one below only pulls. Error for a frame or joint that the clip does not have, a point that is not
  /// finite and a second point for the same joint and frame. It replaces a contact's place.
  void reach(int frame, int joint, const Pnt3& point, double weight = 1.0);
  /// Keeps a joint in the frames first .. last, both included, where the clip has it in `first`. Errors as
  /// for reach.
  void hold(int first, int last, int joint);
  /// Like reach for each of them.
  void add(const std::vector<Constraint>& constraints);

  /// Edits the clip and says how that went. What cannot be met is approached as far as the motion stays
  /// smooth (largest edge jerk 3, body jerk 1.7 times that of the original) and everything else is met; the
  /// report says what is missing and why. To be called once.
  Report solve();

 private:
  std::vector<Constraint> allWishes(std::vector<int>* rank);
  void take(const Clip& continuous, const Clip& edited, const Skeleton& skeleton, Report* report);
  void measure(const Clip& original, const std::vector<Stand>& runs, Report* report) const;

  Clip& clip_;
  EditOptions options_;
  Contacts feet_;                   // what is known of the feet and the ground
  std::vector<Constraint> plants_;  // of weight 1, from contacts
  std::vector<Constraint> wishes_;  // from reach and add
  bool planted_ = false;
};

}  // namespace limber::motion
