#pragma once

#include <vector>

#include "limber_motion/Curves.h"
#include "limber_motion/Smoothness.h"
#include "limber_motion/detail/Task.h"

namespace limber::motion::detail {

/// What the steps of one stage of an edit minimize, and how many they are.
struct Stage {
  Smoothness measure;
  int reach;                  ///< times: the effect of a hold has faded at that distance
  bool exact;                 ///< the targets are met; if false, they only pull
  double pull;                ///< weight of a squared miss in the clip's unit
  double gentlePull;          ///< the same for constraints that are given up
  int leastSteps, mostSteps;  ///< at the end of the stage, with the steps of the previous ones
};

/// The stages of an edit, which have shorter and shorter time constants. In all but the last one, the targets
/// pull only as strongly as the trembling of the recording allows. The last stage meets the targets exactly;
/// little is missing by then. (A single stage would have to imitate the trembling with a smooth curve. The
/// linearized equations can do that by turning joints far, but the body cannot.)
///
/// `channels` are those that the edit changes. `first` is the first frame of the motion. `givenUpPull` is the
/// pull of the constraints that are given up, from 0 to 1.
std::vector<Stage> stagesOf(const Task& task, const Curves& curves, const std::vector<int>& channels,
                            int first, double givenUpPull);

}  // namespace limber::motion::detail
