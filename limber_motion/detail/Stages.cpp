#include "limber_motion/detail/Stages.h"

#include <algorithm>
#include <cmath>

#include "limber_motion/Stiffness.h"
#include "limber_motion/detail/HeldJoints.h"

namespace limber::motion::detail {

namespace {

constexpr double shorter[] = {1.0, 0.3, 0.1};     // time constants of the stages, relative to the edit's
constexpr double firmTrunk[] = {1.0, 4.0, 16.0};  // factors for the mass of the trunk in the stages
constexpr double rounding = 0.75;        // time constant of the third derivative, relative to the stage's
constexpr double typicalChange = 0.012;  // heights: change that a clip with sliding feet needs
constexpr double typicalRest = 12.0;     // slow tremblings: miss that remains after the first stage
constexpr double trembleSeconds = 1.0 / 30.0;      // time between the frames that show slow trembling
constexpr double leastPull = 1e2, mostPull = 1e8;  // limits for the weight of a squared miss in heights
constexpr double fades = 5.0;  // time constants, after which the effect of a hold has faded
constexpr int leastReach = 4;  // times
constexpr int leastSteps[] = {2, 3, 0}, mostSteps[] = {4, 5};

double squared(double x) { return x * x; }

// The limbs, not the trunk, must still the trembling of the feet, because a trunk that followed the feet
// would make the hands tremble. So the trunk gets larger masses.
std::vector<double> massesWith(double trunk, const Task& task, const std::vector<int>& channels) {
  const std::vector<double> all = channelMasses(
      task.original, task.skeleton, jointStiffness(task.original, task.skeleton, task.options.stiffness));
  const std::vector<bool> carries = trunkJoints(task.original, task.skeleton);
  std::vector<double> masses;
  for (const int c : channels) {
    masses.push_back(all[static_cast<std::size_t>(c)]);
    if (carries[static_cast<std::size_t>(task.skeleton.owner(c))]) masses.back() *= trunk;
  }
  return masses;
}

// The pull that makes a change of the size `change` against a noise of the size `noise`, both in heights.
double pullFor(const Smoothness& measure, double change, double noise) {
  return std::clamp(squared(change / noise) / measure.flexibility(), leastPull, mostPull);
}

}  // namespace

std::vector<Stage> stagesOf(const Task& task, const Curves& curves, const std::vector<int>& channels,
                            int first, double givenUpPull) {
  const double dt = task.original.frameTime * curves.spacing(), smooth = task.options.smooth;
  const double heightSq = squared(task.skeleton.height());
  const int stride =
      std::max(1, static_cast<int>(std::lrint(std::min(trembleSeconds / task.original.frameTime, 1e6))));
  const double slow = std::max(trembling(task, stride), 1e-9), fast = std::max(trembling(task, 1), 1e-9);
  const auto measure = [&](int s, double round) {
    return Smoothness(curves.times(), massesWith(firmTrunk[s], task, channels), dt, shorter[s] * smooth,
                      round * shorter[s] * smooth, curves.spacing() == 1 ? first : 0);
  };
  const auto reach = [&](int s) {
    return leastReach + static_cast<int>(std::lrint(std::min(fades * shorter[s] * smooth / dt, 1e6)));
  };
  const Smoothness wide = measure(0, rounding), narrow = measure(1, rounding), brief = measure(2, 0.0);
  const double gentle = givenUpPull / wide.flexibility() / heightSq;
  const double firm = 1e4 * (1.0 + 6.0 * std::pow(shorter[2] * smooth / dt, 4)) / heightSq;
  return {{wide, reach(0), false, pullFor(wide, typicalChange, slow) / heightSq, gentle, leastSteps[0],
           mostSteps[0]},
          {narrow, reach(1), false, pullFor(narrow, typicalRest * slow, fast) / heightSq, 0.0, leastSteps[1],
           mostSteps[1]},
          {brief, reach(2), true, firm, 0.0, leastSteps[2], task.options.mostSteps}};
}

}  // namespace limber::motion::detail
