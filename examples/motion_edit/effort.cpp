#include "effort.h"

#include <algorithm>
#include <cstdio>
#include <set>

using namespace limber::motion;

namespace {

constexpr double operationsASecond = 2e10;  // of the banded factorization, on one core
constexpr double patience = 10.0;           // seconds of one step

}  // namespace

// A step factors a symmetric band matrix of one row per time and channel. Times that are three apart (four
// with knots) are coupled, and a band factor takes one operation per row and square of the bandwidth.
std::string whyStepsTakeLong(const Clip& clip, const std::vector<Constraint>& constraints,
                             const std::vector<int>& feet, double knots) {
  const Skeleton skeleton(clip);
  std::set<int> joints(feet.begin(), feet.end()), channels;
  for (const Constraint& constraint : constraints) joints.insert(constraint.joint);
  for (const int joint : joints) channels.insert(skeleton.chain(joint).begin(), skeleton.chain(joint).end());
  const double times = clip.frames / std::max(knots / clip.frameTime, 1.0);
  const double rows = times * static_cast<double>(channels.size());
  const double bandwidth = (knots > clip.frameTime ? 4.0 : 3.0) * static_cast<double>(channels.size());
  const double seconds = rows * bandwidth * bandwidth / operationsASecond;
  if (seconds < patience) return "";
  char sentence[300];
  std::snprintf(
      sentence, sizeof sentence,
      "%zu channels move what is held: each step takes about %.2g seconds and %.2g GB of memory, which "
      "grow with the cube and the square of their number; fewer joints in a script take less",
      channels.size(), seconds, rows * bandwidth * sizeof(double) / 1e9);
  return sentence;
}
