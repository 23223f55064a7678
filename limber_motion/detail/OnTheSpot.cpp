#include "limber_motion/detail/OnTheSpot.h"

#include <cmath>

namespace limber::motion::detail {

namespace {

constexpr double mostStill = 0.25;  // fraction of the frames with a low foot in which it may be still
constexpr double mostTravel = 0.3;  // speed of a body that stays where it is, relative to that of its feet

double horizontalSpeed(const Tracks& tracks, int joint, int frame) {
  const Pnt3 velocity = tracks.velocity(joint, frame);
  return std::hypot(velocity.x, velocity.z);
}

}  // namespace

double slidesOnTheSpot(const Tracks& tracks, int carrier, const std::vector<FootJoint>& feet, double low,
                       double slow) {
  double sum = 0.0, bodySum = 0.0;
  int count = 0, still = 0;
  for (const FootJoint& foot : feet) {
    for (int f = tracks.first(); f < tracks.frames(); ++f) {
      if (!(tracks.at(foot.joint, f).y < foot.low + low)) continue;
      const double speed = horizontalSpeed(tracks, foot.joint, f);
      sum += speed;
      bodySum += horizontalSpeed(tracks, carrier, f);
      still += speed < slow;
      ++count;
    }
  }
  if (count == 0 || still > mostStill * count || bodySum > mostTravel * sum) return 0.0;
  return sum / count;
}

}  // namespace limber::motion::detail
