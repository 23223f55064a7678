#include "limber_motion/Constraint.h"

#include <algorithm>
#include <string>

#include "limber_motion/Error.h"

namespace limber::motion {

void sortByFrame(std::vector<Constraint>* constraints) {
  std::stable_sort(constraints->begin(), constraints->end(), [](const Constraint& a, const Constraint& b) {
    return a.frame != b.frame ? a.frame < b.frame : a.joint < b.joint;
  });
  std::vector<Constraint> kept;
  for (const Constraint& constraint : *constraints) {
    if (!kept.empty() && kept.back().frame == constraint.frame && kept.back().joint == constraint.joint)
      kept.pop_back();
    kept.push_back(constraint);
  }
  *constraints = kept;
}

std::vector<double> easedWeights(int frames, int in, int out, double weight) {
  if (in < 0 || out < 0) throw Error("expected a ramp of 0 frames or more");
  if (in > frames - out) {
    throw Error("ramps of " + std::to_string(in) + " and " + std::to_string(out) +
                " frames are longer than the range of " + std::to_string(frames));
  }
  const auto rise = [](int i, int ramp) { return i >= ramp ? 1.0 : (i + 1.0) / (ramp + 1.0); };
  std::vector<double> weights;
  for (int i = 0; i < frames; ++i) {
    const double u = std::min(rise(i, in), rise(frames - 1 - i, out));
    weights.push_back(u < 1.0 ? std::min(weight, 1.0) * (u * u * (3.0 - 2.0 * u)) : weight);
  }
  return weights;
}

}  // namespace limber::motion
