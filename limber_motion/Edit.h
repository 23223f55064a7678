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

/// The options of an edit. Times are in seconds, lengths in body heights, angles in radians.
struct EditOptions {
  double smooth = 0.16;  ///< time constant of the change: the effect of one frame's target fades within about
                         ///< three times this
  double knots = 0.0;    ///< time between the knots of coarse curves; 0: one unknown per frame
  double goal = 1e-4;    ///< largest distance from a target that is allowed
  /// Largest number of Gauss-Newton steps of one attempt. If targets of the user are missed after them, the
  /// attempt goes on for as many again. Contacts that are held loosely lead to more attempts in windows
  /// around them, targets that cannot be met to more of the whole clip; the report names both.
  int mostSteps = 8;
  double mostTurn = 1.0472;  ///< no angle changes by more than this; other joints make up for one that would
  bool ground = false;  ///< keep the feet above the ground; if false, no foot goes deeper than the ground or
                        ///< its own lowest point in the original
  std::map<std::string, double> stiffness;        ///< by joint name; replaces the default of jointStiffness
  std::function<bool(const EditStep&)> observer;  ///< called after each step; false ends the edit there
};

/// An edit of a clip: the targets of joints, and the smallest smooth change of the motion that meets them.
/// Smoothness measures the change; docs/guide/motion.md explains the mathematics.
///
///     Edit edit(clip);
///     edit.plant(findContacts(clip));
///     edit.reach(60, "LeftHand", Pnt3(34, 128, 216));
///     Report report = edit.solve();
class LIMBER_MOTION_API Edit {
 public:
  /// The clip must outlive the edit and keep its joints; solve() changes its frames. Throws Error if an
  /// option is not usable, if the clip is not consistent (struct Clip) or has no frames, or if the skeleton
  /// has no extent.
  explicit Edit(Clip& clip, EditOptions options = EditOptions());

  /// Holds each contact's joint at its place in its frames, and no other contacts from an earlier call.
  /// Throws Error if the clip does not have a contact's frames or joint, or if a place is not finite.
  void plant(const Contacts& contacts);
  /// Holds a joint at a point in one frame (from 0), in the clip's unit. A weight of 1 or more holds the
  /// joint there; a smaller weight only pulls. Throws Error if the clip does not have the frame or joint, or
  /// if the point or the weight is not finite or the weight is negative; solve() throws it if a joint has a
  /// second point in the same frame. The point replaces the place of a contact.
  void reach(int frame, int joint, const Pnt3& point, double weight = 1.0);
  /// The same for the joint with that name. Throws Error if the clip has none.
  void reach(int frame, const std::string& joint, const Pnt3& point, double weight = 1.0);
  /// Keeps a joint in the frames first .. last, both included, where the clip has it in the frame `first`.
  /// Throws as reach does, and if `last` is before `first`.
  void hold(int first, int last, int joint);
  void hold(int first, int last, const std::string& joint);
  /// The same with weights that rise over the first `easeIn` frames and fall over the last `easeOut` frames.
  /// Throws as easedWeights does, too.
  void hold(int first, int last, int joint, int easeIn, int easeOut);
  void hold(int first, int last, const std::string& joint, int easeIn, int easeOut);
  /// Calls reach for each constraint.
  void add(const std::vector<Constraint>& constraints);

  /// Edits the clip and reports the result. Targets that are not met are approached only as far as the motion
  /// stays smooth (largest edge jerk at most 3 times and body jerk at most 1.7 times that of the original);
  /// the report says what is missing and why. Contacts are held
  /// loosely for about 0.2 s around moments at which they would break what looks natural: the edge jerk (at
  /// most 3, 1.1 in the mean), the body jerk (1.3) or the turn of a joint (20 degrees); the foot then follows
  /// its recorded movement, smoothed, and the report's notes say where. Within 0.5 s of a constraint of the
  /// user, contacts stay firm. An edit without constraints of the user is met only if it keeps these bounds,
  /// if standing feet (findStands) slide slower than 0.02 heights per second in the mean and not faster than
  /// before, and, as in any edit, if no foot goes further below the ground than before or than its targets.
  /// Call it only once.
  Report solve();

 private:
  int jointCalled(const std::string& name) const;
  std::vector<Constraint> allConstraints(std::vector<int>* rank);
  Report solveUpright(std::vector<Constraint> constraints, const std::vector<int>& rank);
  Report nothingToDo() const;

  Clip& clip_;
  EditOptions options_;
  Skeleton skeleton_;
  Contacts feet_;                        // the feet and the ground
  std::vector<Constraint> plants_;       // from contacts, with weight 1
  std::vector<Constraint> constraints_;  // from reach, hold and add
  bool planted_ = false;
};

}  // namespace limber::motion
