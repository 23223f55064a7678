#include "limber_motion/detail/Places.h"

#include <algorithm>

namespace limber::motion::detail {

Places::Places(const Clip& clip, const Skeleton& skeleton) : joints_(clip.joints.size()) {
  const double height = skeleton.height() > 0.0 ? skeleton.height() : 1.0;
  at_.reserve(joints_ * static_cast<std::size_t>(clip.frames));
  Pose pose;
  for (int f = 0; f < clip.frames; ++f) {
    skeleton.pose(clip.frame(f), &pose);
    for (const Pnt3& p : pose.position) at_.push_back(p * (1.0 / height));
  }
}

double Places::third(int joint, int f) const {
  return (at(joint, f + 3) - at(joint, f + 2) * 3.0 + at(joint, f + 1) * 3.0 - at(joint, f)).length();
}

Pnt3 Places::stilled(int joint, int f, int half, int first) const {
  const int m = std::min({half, f - first, frames() - 1 - f});
  if (m < 2) return at(joint, f);  // the parabola passes through all of them
  const double mm = static_cast<double>(m) * (m + 1),
               all = (2.0 * m + 3.0) * (2.0 * m + 1.0) * (2.0 * m - 1.0);
  Pnt3 sum;
  for (int i = -m; i <= m; ++i) {
    sum += at(joint, f + i) * (3.0 * (3.0 * mm - 1.0 - 5.0 * static_cast<double>(i) * i) / all);
  }
  return sum;
}

int Places::mostAbrupt(int joint, int first, int last) const {
  int worst = first;
  double largest = -1.0;
  for (int f = first; f <= last; ++f) {
    const double jerk = third(joint, f);
    if (!(jerk > largest)) continue;
    largest = jerk;
    worst = f;
  }
  return worst;
}

}  // namespace limber::motion::detail
