// The angles of a clip: makes them continuous, brings them back to the clip's range, finds gimbal lock.

#include <algorithm>
#include <cmath>

#include "limber_motion/Clip.h"
#include "limber_motion/detail/CheckClip.h"

namespace limber::motion {

namespace {

constexpr double pi = 3.14159265358979323846, turn = 2.0 * pi;
constexpr double slack = 1e-9;  // the rounding of degrees that are converted to radians and back

// The smallest and the largest value of a rotation channel.
struct Range {
  double low, high;
};

Range rangeOf(const Clip& clip, int c) {
  Range range = {clip.frame(0)[c], clip.frame(0)[c]};
  for (int f = 1; f < clip.frames; ++f) {
    range.low = std::min(range.low, clip.frame(f)[c]);
    range.high = std::max(range.high, clip.frame(f)[c]);
  }
  return range;
}

// The angle that differs from `angle` by whole turns and lies within half a turn of `centre`.
double nearest(double angle, double centre) { return angle - turn * std::round((angle - centre) / turn); }

}  // namespace

void unwrapAngles(Clip* clip) {
  detail::checkClip(*clip);
  for (int c = 0; c < clip->channels; ++c) {
    if (!clip->channel(c).rotation) continue;
    for (int f = 1; f < clip->frames; ++f) {
      double& value = clip->frame(f)[c];
      value = nearest(value, clip->frame(f - 1)[c]);
    }
  }
}

void wrapAngles(Clip* clip, const Clip& original) {
  for (int c = 0; c < clip->channels; ++c) {
    if (!clip->channel(c).rotation) continue;
    const Range range = rangeOf(original, c);
    const bool signedHalf = range.low >= -pi - slack && range.high <= pi + slack;
    const bool positive = range.low >= -slack && range.high <= turn + slack;
    for (int f = 0; f < clip->frames; ++f) {
      double& value = clip->frame(f)[c];
      const double centre = signedHalf ? 0.0 : positive ? pi : original.frame(f)[c];
      // A value within the range does not change, because rounding must not change what was not edited.
      if (std::fabs(value - centre) > pi + slack) value = nearest(value, centre);
    }
  }
}

std::vector<GimbalLock> findGimbalLock(const Clip& clip, double nearness) {
  detail::checkClip(clip);
  std::vector<GimbalLock> found;
  for (std::size_t j = 0; j < clip.joints.size(); ++j) {
    std::vector<int> rotations;
    int c = clip.joints[j].firstChannel;
    for (const Channel& channel : clip.joints[j].channels) {
      if (channel.rotation) rotations.push_back(c);
      ++c;
    }
    if (rotations.size() != 3) continue;
    GimbalLock lock = {static_cast<int>(j), 0, -1, -1, nearness};
    for (int f = 0; f < clip.frames; ++f) {
      const double middle = clip.frame(f)[rotations[1]];
      const double distance = std::asin(std::fabs(std::cos(middle)));
      if (!(distance < nearness)) continue;
      if (lock.frames++ == 0) lock.first = f;
      if (lock.worst < 0 || distance < lock.distance) lock.worst = f, lock.distance = distance;
    }
    if (lock.frames > 0) found.push_back(lock);
  }
  return found;
}

}  // namespace limber::motion
