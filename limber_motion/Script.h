#pragma once

/// @file
/// Constraint scripts: text in which a user says where joints shall be.

#include <string>
#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Contacts.h"

namespace limber::motion {

/// What a script asks for.
struct Script {
  std::vector<Constraint> constraints;  ///< sorted by frame and joint, one a joint and frame
  bool plants = false;                  ///< the contacts that are found shall be held beside them
};

/// Reads a constraint script: one wish a line, '#' begins a comment, frames count from 1.
///
///     FRAMES JOINT X Y Z [WEIGHT] [ease IN [OUT]]
///     hold FRAMES JOINT [at FRAME] [WEIGHT] [ease IN [OUT]]
///     plants
///
/// The first puts a joint or end site at (X, Y, Z), in the clip's unit; the second keeps it where the clip
/// has it in FRAME (the first of FRAMES); the third holds the contacts that are found, too. FRAMES is a frame
/// or a range such as 10-25. A weight below 1 pulls only; from 1 on the wish is to be met. With `ease` the
/// weight rises from 0 over the first IN frames of the range and falls over the last OUT (IN, when it is left
/// out), by 3 u^2 - 2 u^3. Joint names may hold blanks. Throws Error naming file, line and word; two wishes
/// for one joint and frame are an error that names both lines.
LIMBER_MOTION_API Script readScript(const std::string& path, const char* searchPath, const Clip& clip);

/// The contacts as a script that readScript reads, a line each; places have eight digits of the body's height
/// behind the point.
LIMBER_MOTION_API std::string scriptOf(const Contacts& contacts, const Clip& clip);
/// Writes scriptOf(contacts, clip) to a file that appears whole or not at all. Throws Error when that fails.
LIMBER_MOTION_API void writeScript(const Contacts& contacts, const Clip& clip, const std::string& path);

}  // namespace limber::motion
