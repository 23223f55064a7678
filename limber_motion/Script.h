#pragma once

/// @file
/// Constraint scripts: text files in which a user says where joints must be.

#include <string>
#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Contacts.h"

namespace limber::motion {

/// The contents of a script.
struct Script {
  std::vector<Constraint> constraints;  ///< sorted by frame and joint, at most one per joint and frame
  bool plants = false;                  ///< the contacts that are found must be held as well
};

/// Reads a constraint script. Frames count from 1, '#' begins a comment, and each line has one of these
/// forms:
///
///     FRAMES JOINT X Y Z [WEIGHT] [ease IN [OUT]]
///     hold FRAMES JOINT [at FRAME] [WEIGHT] [ease IN [OUT]]
///     plants
///
/// The first form puts a joint or end site at (X, Y, Z), in the clip's unit. The second keeps it where the
/// clip has it in FRAME (by default the first of FRAMES). The third also holds the contacts that are found.
/// FRAMES is one frame or a range such as 10-25. A constraint with a weight below 1 only pulls; from 1 on it
/// is to be met. With `ease` the weight rises from 0 over the first IN frames of the range and falls over the
/// last OUT frames (by default IN), by 3 u^2 - 2 u^3. Joint names may contain spaces. Throws an Error that
/// names the file, the line and the word. Two constraints for one joint and frame are an error, whose message
/// names both lines.
LIMBER_MOTION_API Script readScript(const std::string& path, const char* searchPath, const Clip& clip);

/// The contacts as a script that readScript reads, one line each. Coordinates are written with about eight
/// digits relative to the body's height.
LIMBER_MOTION_API std::string scriptOf(const Contacts& contacts, const Clip& clip);
/// Writes scriptOf(contacts, clip) to a file. The file appears complete or not at all. Throws Error on
/// failure.
LIMBER_MOTION_API void writeScript(const Contacts& contacts, const Clip& clip, const std::string& path);

}  // namespace limber::motion
