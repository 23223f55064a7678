#include "limber_motion/detail/Tracks.h"

#include <algorithm>
#include <cmath>

namespace limber::motion::detail {

namespace {

constexpr int mostPoses = 2;  // largest number of separate poses before the motion

}  // namespace

Tracks::Tracks(const Clip& clip, const Skeleton& skeleton)
    : frames_(clip.frames),
      half_(std::max(1, static_cast<int>(std::lrint(std::min(0.025 / clip.frameTime, 1e9))))),
      frameTime_(clip.frameTime),
      joints_(clip.joints.size()) {
  places_.reserve(joints_ * static_cast<std::size_t>(frames_));
  Pose pose;
  for (int f = 0; f < frames_; ++f) {
    skeleton.pose(clip.frame(f), &pose);
    places_.insert(places_.end(), pose.position.begin(), pose.position.end());
  }
  if (frames_ < 8) return;
  std::vector<double> steps;
  for (int f = 0; f + 1 < frames_; ++f) steps.push_back(step(f));
  std::vector<double> sorted = steps;
  std::sort(sorted.begin(), sorted.end());
  const double jump = 4.0 * sorted[sorted.size() / 2] + 0.05 * skeleton.height();
  while (first_ < mostPoses && steps[static_cast<std::size_t>(first_)] > jump) ++first_;
}

double Tracks::step(int frame) const {
  double farthest = 0.0;
  for (int j = 0; j < static_cast<int>(joints_); ++j) {
    farthest = std::max(farthest, (at(j, frame + 1) - at(j, frame)).length());
  }
  return farthest;
}

Pnt3 Tracks::velocity(int joint, int frame) const {
  const int a = std::max(frame - half_, first_), b = std::max(std::min(frame + half_, frames_ - 1), a);
  return (at(joint, b) - at(joint, a)) * (1.0 / (std::max(b - a, 1) * frameTime_));
}

double Tracks::low(int joint) const {
  std::vector<double> heights;
  for (int f = frames_ > 1; f < frames_; ++f) heights.push_back(at(joint, f).y);
  const auto twentieth = heights.begin() + (frames_ - 1) / 20;
  std::nth_element(heights.begin(), twentieth, heights.end());
  return *twentieth;
}

}  // namespace limber::motion::detail
