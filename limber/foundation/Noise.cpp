#include "limber/foundation/Noise.h"

#include <cmath>
#include <cstdlib>

namespace {

constexpr int bitsOf(unsigned long value) { return value == 0 ? 0 : 1 + bitsOf(value >> 1); }

// The factor below maps 0..32767 to [-1, 1]. If rand is wider, its top 15 bits are used.
constexpr int surplusBits = bitsOf(RAND_MAX) - 15;
static_assert(surplusBits >= 0, "rand gives at least 15 bits");

double uniform() { return (std::rand() >> surplusBits) * 6.103701895199438e-5 - 1.0; }

}  // namespace

double sampleNoise(double scale, double offset) {
  double u, v, s;
  do {
    u = uniform();
    v = uniform();
    s = v * v + u * u;  // never 0: no point of the 15-bit grid is 0
  } while (!(s < 1.0));
  return u * std::sqrt(-2.0 * std::log(s) / s) * scale + offset;
}
