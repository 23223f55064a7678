#include "limber_motion/Smoothness.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber_motion/detail/Memory.h"

namespace limber::motion {

namespace {

constexpr double pi = 3.14159265358979323846;

// The diagonal element of R^-1 far from the ends: the mean of 1 / (1 + w2 |e^iu - 1|^4 + w3 |e^iu - 1|^6)
// over all frequencies u. The mean of a smooth periodic function over equally spaced points converges faster
// than any power of their number.
double meanResponse(double w2, double w3) {
  const int points = 4096;
  double sum = 0.0;
  for (int i = 0; i < points; ++i) {
    const double first = 4.0 * std::pow(std::sin(pi * (i + 0.5) / points), 2);
    sum += 1.0 / (1.0 + first * first * (w2 + w3 * first));
  }
  return sum / points;
}

}  // namespace

Smoothness::Smoothness(int times, const std::vector<double>& masses, double dt, double smooth, double round,
                       int first)
    : times_(times), reach_(round > 0.0 ? 3 : 2), masses_(masses) {
  const double difference[2][4] = {{1.0, -2.0, 1.0, 0.0}, {1.0, -3.0, 3.0, -1.0}};
  const double weight[2] = {std::pow(smooth / dt, 4), std::pow(round / dt, 6)};
  flexibility_ = meanResponse(weight[0], weight[1]);
  for (int k = 0; k <= reach_; ++k) {
    diagonals_[k].assign(static_cast<std::size_t>(std::max(times - k, 0)), k == 0 ? 1.0 : 0.0);
  }
  for (int order = 2; order <= reach_; ++order) {
    const double* const d = difference[order - 2];
    for (int t = std::max(first, 0); t + order < times; ++t) {
      for (int a = 0; a <= order; ++a) {
        for (int b = a; b <= order; ++b) {
          diagonals_[b - a][static_cast<std::size_t>(t + a)] += weight[order - 2] * d[a] * d[b];
        }
      }
    }
  }
}

Smoothness Smoothness::part(int first, int end) const {
  Smoothness part = *this;
  part.times_ = end - first;
  for (int k = 0; k <= reach_; ++k) {
    const auto begin = diagonals_[k].begin() + first;
    part.diagonals_[k].assign(begin, begin + std::max(part.times_ - k, 0));
  }
  return part;
}

void Smoothness::mult(const Vector* x, Vector* y) const {
  const int n = channels();
  detail::setLength(y, height());
  for (int t = 0; t < times_; ++t) {
    for (int c = 0; c < n; ++c) {
      double sum = diagonals_[0][static_cast<std::size_t>(t)] * (*x)[t * n + c];
      for (int k = 1; k <= reach_; ++k) {
        if (t + k < times_) sum += diagonals_[k][static_cast<std::size_t>(t)] * (*x)[(t + k) * n + c];
        if (t >= k) sum += diagonals_[k][static_cast<std::size_t>(t - k)] * (*x)[(t - k) * n + c];
      }
      (*y)[t * n + c] = masses_[static_cast<std::size_t>(c)] * sum;
    }
  }
}

double Smoothness::acc(int i, int j) const {
  const int n = channels(), first = std::min(i, j), apart = std::abs(i - j);
  if (first < 0 || std::max(i, j) >= height() || apart % n != 0 || apart / n > reach_) return 0.0;
  return masses_[static_cast<std::size_t>(i % n)] *
         diagonals_[apart / n][static_cast<std::size_t>(first / n)];
}

void Smoothness::addTo(double scale, FullMatrix* band) const {
  const int n = channels(), kd = band->numColumns - 1;
  for (int k = 0; k <= reach_; ++k) {
    for (int t = 0; t + k < times_; ++t) {
      const double element = scale * diagonals_[k][static_cast<std::size_t>(t)];
      for (int c = 0; c < n; ++c) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(t + k) * n + c;
        band->data[row * (kd + 1) + kd - k * n] += element * masses_[static_cast<std::size_t>(c)];
      }
    }
  }
}

}  // namespace limber::motion
