#pragma once

#include <string>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// What no motion of a skeleton can meet.
struct Impossible {
  std::vector<std::string> reasons;  ///< a sentence for each pair of joints
  std::vector<bool> wishes;          ///< one a wish: true for those to be given up
};

/// Finds targets of one frame that are further apart than the bones between their joints reach, or not as far
/// as a rigid bone is long. Of such a pair the wish that is `wanted` less is given up: the one that stands
/// later in the order of `rank` (one a wish). Wishes are sorted by frame; those of a weight below 1 do not
/// count. `slack` in the clip's unit.
Impossible findImpossible(const Clip& clip, const std::vector<Constraint>& wishes,
                          const std::vector<int>& rank, double slack);

}  // namespace limber::motion::detail
