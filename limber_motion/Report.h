#pragma once

/// @file
/// The result of an edit, for the animator.

#include <string>
#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"

namespace limber::motion {

/// One Gauss-Newton step. It is taken in windows around the frames that need it; all other frames stay as
/// they are. Distances from targets (misses) are in body heights.
struct EditStep {
  int number = 0;      ///< from 1
  bool exact = false;  ///< the step meets the targets exactly; if false, it approaches them smoothly
  double before = 0.0, after = 0.0;  ///< largest miss of the held joints
  double scale = 0.0;  ///< the fraction of the step that was taken, the smallest one of all windows
  double turn = 0.0;   ///< largest change of an angle so far, in radians
  double seconds = 0.0;
  int frames = 0;  ///< the number of frames that took part
};

/// The outcome of an edit. Everything is computed from the clip before and after the edit, over all frames.
/// Lengths are fractions of the body's height, speeds are such fractions per second, angles are in radians.
struct Report {
  bool met = false;  ///< every firmly held joint is within the goal in every frame, no target was refused,
                     ///< the motion keeps the bounds of Edit::solve, and the observer did not end the edit
  bool impossible = false;           ///< no motion can meet all targets, or there were no targets
  std::vector<std::string> reasons;  ///< why the edit was not met, one sentence each
  std::vector<std::string> notes;    ///< other facts that the animator should know
  double height = 0.0;               ///< of the body, in the clip's unit

  int contacts = 0;     ///< runs of frames in which a foot is held, or any joint for at least 0.25 s
  int heldFrames = 0;   ///< the number of their frames, summed over all joints
  int looseFrames = 0;  ///< those of them in which the contact is held only loosely, because the joint would
                        ///< jerk or turn too far otherwise; they do not count in the misses
  double skateBefore = 0.0, skateAfter = 0.0;      ///< mean horizontal speed in these frames
  double fastestBefore = 0.0, fastestAfter = 0.0;  ///< largest
  double missBefore = 0.0, missAfter = 0.0;        ///< largest distance from a target
  std::string missJoint;                           ///< the joint with the largest miss in the edited clip
  int missFrame = 0;                               ///< from 1
  double goal = 0.0;                               ///< the largest miss that is allowed

  double turn = 0.0;                             ///< largest change of an angle
  std::string turnJoint;                         ///< where
  int turnFrame = 0;                             ///< from 1
  double edgeJerk = 0.0, largestEdgeJerk = 0.0;  ///< at the ends of the contacts: ratio of after to before
  double bodyJerk = 0.0;                         ///< of the whole body: ratio of after to before
  double belowBefore = 0.0, belowAfter = 0.0;    ///< how far the feet go below the ground, from
                                                 ///< Contacts::first on
  int framesChanged = 0;

  std::vector<EditStep> steps;  ///< those that led to the result, of all attempts
  double seconds = 0.0;
};

/// The report as lines of text. Lengths are given in heights and in the clip's unit.
LIMBER_MOTION_API std::string textOf(const Report& report);
/// The report as a JSON object. The fields have the same names and units as here.
LIMBER_MOTION_API std::string jsonOf(const Report& report);

}  // namespace limber::motion
