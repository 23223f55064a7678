#pragma once

#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Task.h"

namespace limber::motion::detail {

/// The channels that move a held joint or a foot, in ascending order.
std::vector<int> movingChannels(const Task& task, const std::vector<int>& feet);

/// How much harder each constraint pulls than usual: the constraints of a short run of frames pull harder,
/// because few neighbours pull the same way.
std::vector<double> urgencies(const Task& task);

/// The trembling of the held joints from frame to frame, in heights and per direction: the third difference
/// of the position divided by sqrt(20), as for independent errors in the frames. With frames that are
/// `stride` apart it measures slower trembling.
double trembling(const Task& task, int stride);

/// The distance of each held joint from its target, in heights. `constraints` are sorted by frame.
std::vector<double> missesOf(const std::vector<Constraint>& constraints, const Clip& clip,
                             const Skeleton& skeleton);

}  // namespace limber::motion::detail
