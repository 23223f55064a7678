#include "limber_motion/Spline.h"

namespace limber::motion {

Spline::Spline(int frames, int spacing) : spacing_(spacing), count_((frames - 1) / spacing + 4) {}

// The four pieces of the uniform cubic B-spline (de Boor 1978).
Spline::Basis Spline::at(int frame) const {
  const double u = static_cast<double>(frame % spacing_) / spacing_, v = 1.0 - u;
  return {frame / spacing_,
          {v * v * v / 6.0, (3.0 * u * u * u - 6.0 * u * u + 4.0) / 6.0,
           (3.0 * v * v * v - 6.0 * v * v + 4.0) / 6.0, u * u * u / 6.0}};
}

}  // namespace limber::motion
