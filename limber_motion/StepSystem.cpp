#include "limber_motion/StepSystem.h"

#include <algorithm>

#include "limber/linalg/BandedCholesky.h"
#include "limber_motion/detail/Memory.h"

namespace limber::motion {

StepSystem::StepSystem(const Smoothness& measure, const Holds& holds, double damping,
                       const std::vector<Bound>& bounds)
    : measure_(measure),
      holds_(holds),
      bounds_(bounds),
      band_(measure.height(), std::max(measure.halfBandwidth(), holds.halfBandwidth()) + 1) {
  if (band_.kind != 0) {
    factored_ = false;
    return;
  }
  measure.addTo(1.0, &band_);
  const int kd = band_.numColumns - 1;
  for (int i = 0; i < band_.numRows; ++i)
    band_.data[static_cast<std::ptrdiff_t>(i) * (kd + 1) + kd] *= 1.0 + damping;
  for (const Bound& bound : bounds_) {
    band_.data[static_cast<std::ptrdiff_t>(bound.unknown) * (kd + 1) + kd] += bound.weight;
  }
  holds.addSquareTo(&band_);
  factored_ = cholFactorBanded(&band_) == 0;
}

void StepSystem::solve(const Vector& change, int rounds, Vector* step) {
  Vector reached(0), pulls(0), gradient(0), size(0), moved(0);
  Vector multipliers = detail::zeros(holds_.height());
  detail::assign(&moved, change);
  detail::assign(step, change);
  *step = 0.0;
  for (int round = 0; round < rounds; ++round) {
    holds_.mult(step, &reached);
    detail::assign(&pulls, multipliers);
    for (int i = 0; i < holds_.height(); ++i) {
      pulls[i] += holds_.list()[static_cast<std::size_t>(i / 3)].weight * (holds_.misses()[i] - reached[i]);
    }
    holds_.multT(&pulls, &gradient);
    measure_.mult(&moved, &size);
    gradient -= size;
    for (const Bound& bound : bounds_) {
      gradient[bound.unknown] += bound.weight * (bound.value - moved[bound.unknown]);
    }
    cholSolveBanded(&band_, &gradient);
    *step += gradient;
    moved += gradient;
    if (round + 1 == rounds) break;
    holds_.mult(step, &reached);
    for (int i = 0; i < holds_.height(); ++i) {
      const Hold& hold = holds_.list()[static_cast<std::size_t>(i / 3)];
      if (hold.exact) multipliers[i] += hold.weight * (holds_.misses()[i] - reached[i]);
    }
  }
}

}  // namespace limber::motion
