#pragma once

#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Edit.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// What an edit is asked for. It is the same in all attempts. The operands must outlive it.
struct Task {
  const Clip& original;  ///< with continuous angles
  const Skeleton& skeleton;
  const std::vector<Constraint>& constraints;  ///< sorted by frame
  const std::vector<int>& rank;                ///< for each constraint 0 if it comes from a contact, or 1
  const EditOptions& options;
};

}  // namespace limber::motion::detail
