#pragma once

/// @file
/// What an edit did, for the animator.

#include <string>
#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"

namespace limber::motion {

/// One Gauss-Newton step. Misses are in body heights.
struct EditStep {
  int number = 0;      ///< from 1
  bool exact = false;  ///< a step that meets the targets; else one that approaches them smoothly
  double before = 0.0, after = 0.0;  ///< largest miss of what is held
  double scale = 0.0;                ///< the part of the step that was taken
  double turn = 0.0;                 ///< largest change of an angle by now, radians
  double seconds = 0.0;
};

/// The outcome of an edit. Everything is computed from the clip as it was and as it is now, over all frames;
/// lengths are parts of the body's height, speeds parts of it a second, angles in radians.
struct Report {
  bool met = false;         ///< every held joint is within the goal in every frame, nothing was refused
  bool impossible = false;  ///< no motion can meet what was asked for, or nothing was
  std::vector<std::string> reasons;  ///< why not, a sentence each
  std::vector<std::string> notes;    ///< what else the animator should know
  double height = 0.0;               ///< of the body, in the clip's unit

  int contacts = 0;    ///< runs of frames in which a foot is held, or anything for 0.25 s
  int heldFrames = 0;  ///< their frames, of all joints together
  double skateBefore = 0.0, skateAfter = 0.0;      ///< mean horizontal speed in all of them
  double fastestBefore = 0.0, fastestAfter = 0.0;  ///< largest
  double missBefore = 0.0, missAfter = 0.0;        ///< largest distance from a target
  std::string missJoint;                           ///< where that is, in the edited clip
  int missFrame = 0;                               ///< from 1
  double goal = 0.0;                               ///< the largest miss allowed

  double turn = 0.0;                             ///< largest change of an angle
  std::string turnJoint;                         ///< where
  int turnFrame = 0;                             ///< from 1
  double edgeJerk = 0.0, largestEdgeJerk = 0.0;  ///< at the ends of the contacts, after over before
  double bodyJerk = 0.0;                         ///< of the whole body, after over before
  double belowBefore = 0.0, belowAfter = 0.0;    ///< how far the feet go below the ground
  int framesChanged = 0;

  std::vector<EditStep> steps;
  double seconds = 0.0;
};

/// The report as lines of plain English. Lengths are given in heights and in the clip's unit.
LIMBER_MOTION_API std::string textOf(const Report& report);
/// The report as a JSON object; the fields have the names and units that they have here.
LIMBER_MOTION_API std::string jsonOf(const Report& report);

}  // namespace limber::motion
