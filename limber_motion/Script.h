#pragma once

/// @file
/// Constraint scripts: text in which a user says where joints shall be.

#include <string>
#include <vector>

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"

namespace limber::motion {

/// Reads a constraint script: one wish a line, '#' begins a comment, frames count from 1.
///
///     FRAMES JOINT X Y Z [WEIGHT]           the joint shall be at (X, Y, Z)
///     hold FRAMES JOINT [at FRAME] [WEIGHT] the joint stays where the clip has it in FRAME (the first of
///     FRAMES)
///
/// FRAMES is a frame or a range such as 10-25. Throws Error naming file, line and word.
LIMBER_MOTION_API std::vector<Constraint> readConstraints(const std::string& path, const char* searchPath,
                                                          const Clip& clip);

}  // namespace limber::motion
