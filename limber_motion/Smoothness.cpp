#include "limber_motion/Smoothness.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"

namespace limber::motion {

namespace {

// The element of (I + w D^T D)^-1 on the diagonal, far from the ends: the mean over all frequencies of
// 1 / (1 + w |e^iu - 1|^4). The mean of a smooth periodic function over equally spaced points is exact.
double meanResponse(double w) {
  const int points = 4096;
  double sum = 0.0;
  for (int i = 0; i < points; i++) {
    const double half = std::sin(3.14159265358979323846 * (i + 0.5) / points);
    sum += 1.0 / (1.0 + w * std::pow(2.0 * half, 4));
  }
  return sum / points;
}

}  // namespace

Smoothness::Smoothness(int times, const std::vector<double>& masses, double dt, double smooth)
    : times_(times), flexibility_(meanResponse(std::pow(smooth / dt, 4))), masses_(masses) {
  const double difference[reach + 1] = {1.0, -2.0, 1.0};
  const double weight = std::pow(smooth / dt, 4);
  for (int k = 0; k <= reach; k++) {
    diagonals_[k].assign(static_cast<std::size_t>(std::max(times - k, 0)), k == 0 ? 1.0 : 0.0);
    for (int t = 0; t + reach < times; t++) {
      for (int a = 0; a + k <= reach; a++) {
        diagonals_[k][static_cast<std::size_t>(t + a)] += weight * difference[a] * difference[a + k];
      }
    }
  }
}

void Smoothness::mult(const Vector* x, Vector* y) const {
  const int n = channels();
  y->grow(height());
  y->count = height();
  for (int t = 0; t < times_; t++) {
    for (int c = 0; c < n; c++) {
      double sum = diagonals_[0][static_cast<std::size_t>(t)] * (*x)[t * n + c];
      for (int k = 1; k <= reach; k++) {
        if (t + k < times_) sum += diagonals_[k][static_cast<std::size_t>(t)] * (*x)[(t + k) * n + c];
        if (t >= k) sum += diagonals_[k][static_cast<std::size_t>(t - k)] * (*x)[(t - k) * n + c];
      }
      (*y)[t * n + c] = masses_[static_cast<std::size_t>(c)] * sum;
    }
  }
}

double Smoothness::acc(int i, int j) const {
  const int n = channels(), first = std::min(i, j), apart = std::abs(i - j);
  if (first < 0 || std::max(i, j) >= height() || apart % n != 0 || apart / n > reach) return 0.0;
  return masses_[static_cast<std::size_t>(i % n)] *
         diagonals_[apart / n][static_cast<std::size_t>(first / n)];
}

void Smoothness::addTo(double scale, FullMatrix* band) const {
  const int n = channels(), kd = band->numColumns - 1;
  for (int k = 0; k <= reach; k++) {
    for (int t = 0; t + k < times_; t++) {
      const double element = scale * diagonals_[k][static_cast<std::size_t>(t)];
      for (int c = 0; c < n; c++) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(t + k) * n + c;
        band->data[row * (kd + 1) + kd - k * n] += element * masses_[static_cast<std::size_t>(c)];
      }
    }
  }
}

}  // namespace limber::motion
