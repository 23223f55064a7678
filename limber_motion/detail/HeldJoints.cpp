#include "limber_motion/detail/HeldJoints.h"

#include <algorithm>
#include <cmath>

namespace limber::motion::detail {

namespace {

constexpr double typicalTrembling = 1e-3;  // heights: used if no joint is held for long enough
constexpr double shortRun = 0.1;           // seconds: targets of a shorter run pull harder

// For each joint, the indices of its constraints in the order of frames.
std::vector<std::vector<std::size_t>> byJoint(const Task& task) {
  std::vector<std::vector<std::size_t>> places(static_cast<std::size_t>(task.skeleton.joints()));
  for (std::size_t i = 0; i < task.constraints.size(); ++i)
    places[static_cast<std::size_t>(task.constraints[i].joint)].push_back(i);
  return places;
}

}  // namespace

std::vector<int> movingChannels(const Task& task, const std::vector<int>& feet) {
  const Skeleton& skeleton = task.skeleton;
  std::vector<bool> held(static_cast<std::size_t>(skeleton.joints()), false);
  for (const Constraint& constraint : task.constraints)
    held[static_cast<std::size_t>(constraint.joint)] = true;
  for (const int j : feet) held[static_cast<std::size_t>(j)] = true;
  std::vector<int> channels;
  for (int j = 0; j < skeleton.joints(); ++j) {
    if (!held[static_cast<std::size_t>(j)]) continue;
    channels.insert(channels.end(), skeleton.chain(j).begin(), skeleton.chain(j).end());
  }
  std::sort(channels.begin(), channels.end());
  channels.erase(std::unique(channels.begin(), channels.end()), channels.end());
  return channels;
}

std::vector<double> urgencies(const Task& task) {
  const std::vector<Constraint>& constraints = task.constraints;
  std::vector<double> urgency(constraints.size(), 1.0);
  for (const std::vector<std::size_t>& own : byJoint(task)) {
    for (std::size_t begin = 0, end = 0; begin < own.size(); begin = end) {
      for (end = begin + 1; end < own.size(); ++end) {
        if (constraints[own[end]].frame != constraints[own[end - 1]].frame + 1) break;
      }
      const double seconds = static_cast<double>(end - begin) * task.original.frameTime;
      for (std::size_t i = begin; i < end && seconds < shortRun; ++i)
        urgency[own[i]] = 10.0 * shortRun / seconds;
    }
  }
  return urgency;
}

double trembling(const Task& task, int stride) {
  const std::size_t last = 3 * static_cast<std::size_t>(stride);
  double sum = 0.0;
  int count = 0;
  for (const std::vector<std::size_t>& own : byJoint(task)) {
    for (std::size_t i = 0; i + last < own.size(); ++i) {
      const Constraint& first = task.constraints[own[i]];
      if (task.constraints[own[i + last]].frame != first.frame + 3 * stride) continue;
      Pnt3 at[4];
      for (int k = 0; k < 4; ++k) {
        at[k] = task.skeleton.position(first.joint, task.original.frame(first.frame + k * stride));
      }
      sum += (at[3] - at[2] * 3.0 + at[1] * 3.0 - at[0]).lengthSq() / 60.0;
      ++count;
    }
  }
  return count ? std::sqrt(sum / count) / task.skeleton.height() : typicalTrembling;
}

std::vector<double> missesOf(const std::vector<Constraint>& constraints, const Clip& clip,
                             const Skeleton& skeleton) {
  std::vector<double> misses;
  Pose pose;
  for (std::size_t i = 0; i < constraints.size(); ++i) {
    const Constraint& constraint = constraints[i];
    if (i == 0 || constraint.frame != constraints[i - 1].frame)
      skeleton.pose(clip.frame(constraint.frame), &pose);
    const Pnt3 at = pose.position[static_cast<std::size_t>(constraint.joint)];
    misses.push_back((constraint.target - at).length() / skeleton.height());
  }
  return misses;
}

}  // namespace limber::motion::detail
