#pragma once

/// @file
/// Clips in which another axis than y points up.

#include <string>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"

namespace limber::motion {

/// The axis that points up in a clip, found from its skeleton and motion. It is y if the body stands along y
/// in a fifth of the frames. Otherwise the evidence for several axes is compared:
/// - along which axis the body stands in the rest pose and in most frames, from the ends of its legs to its
/// trunk;
/// - whether it walks across that axis;
/// - for which axis feet stand on the ground, and whether that ground is near the origin.
///
/// So neither a body that lies nor one that crawls is taken as standing. If the evidence is not clear, it is
/// y.
LIMBER_MOTION_API Up findUp(const Clip& clip);

/// The axis as text: "x", "-x" and so on.
LIMBER_MOTION_API std::string nameOf(Up up);

/// The same motion in other coordinates, turned as a whole so that y is up. The frames have the same channels
/// in the same order; only the axes that they belong to, and perhaps their signs, are different. The numbers
/// are not rounded. If y is up already, it is the same clip. The text is left out.
LIMBER_MOTION_API Clip upright(const Clip& clip);
/// Copies the frames of `turned`, which upright() made from `*clip` and which may have changed since.
LIMBER_MOTION_API void takeFrames(const Clip& turned, Clip* clip);
/// A point of a clip in the coordinates of upright(clip), where y is its height, and back.
LIMBER_MOTION_API Pnt3 upright(const Pnt3& point, Up up);
LIMBER_MOTION_API Pnt3 fromUpright(const Pnt3& point, Up up);

}  // namespace limber::motion
