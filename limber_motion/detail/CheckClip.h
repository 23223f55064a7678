#pragma once

#include "limber_motion/Clip.h"

namespace limber::motion::detail {

/// True if no coordinate is infinite or a NaN.
bool isFinite(const Pnt3& p);

/// Throws an Error that names the first fault if a clip is not what the comment of struct Clip promises.
/// Clips that readClip returns never have one; clips that a program builds or changes may.
void checkClip(const Clip& clip);

}  // namespace limber::motion::detail
