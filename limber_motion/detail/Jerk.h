#pragma once

#include <vector>

#include "limber_motion/Quality.h"
#include "limber_motion/detail/Places.h"

namespace limber::motion::detail {

/// How much more abrupt a joint moves near one end of a stand in an edited clip than in the original.
struct EndJerk {
  int joint;
  int frame;     ///< the first of the four frames in which the edited clip is the most abrupt
  double ratio;  ///< of after to before
};

/// The jerk near both ends of each stand: the largest third difference within 0.1 s, divided by that of the
/// original, or by that of a jerk of 1 height / s^3 if that is larger. `frameTime` is in seconds.
std::vector<EndJerk> endJerks(const Places& before, const Places& after, const std::vector<Stand>& stands,
                              double frameTime);

/// The jerk of the whole body: the sum of the squared third differences of all joints and frames.
double squaredJerk(const Places& places);

/// The squared jerk that an edited clip is compared with: that of the original, or that of a calm movement of
/// as many joints and frames if that is larger. So a change of a figure that stands still can be smooth.
/// `frameTime` is in seconds.
double squaredJerkToKeep(const Places& original, double frameTime);

}  // namespace limber::motion::detail
