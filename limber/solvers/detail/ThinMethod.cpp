#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/SolveMethods.h"

namespace limber::detail {
namespace {

// The Cholesky factor of A^T A for a matrix with few columns.
class GramFactor {
 public:
  explicit GramFactor(const SparseRows& A) : n_(A.width), scale_(n_), value_(n_ * n_) {
    Doubles columns(n_ * block);
    for (int from = 0; from < A.height; from += block) {
      const int to = std::min(from + block, A.height);
      std::fill(columns.begin(), columns.end(), 0.0);
      for (int i = from; i < to; ++i) {
        for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
          columns[A.index[k] * block + i - from] = A.value[k];
        }
      }
      for (int j = 0; j < n_; ++j) {
        const double* const own = columns.data() + j * block;
        for (int l = 0; l <= j; ++l) at(j, l) += fixedDot(to - from, own, columns.data() + l * block);
      }
    }
  }

  // S A^T A S = L L^T for the diagonal S that makes the diagonal 1. False if a column is so small that its
  // square may have lost digits, or a pivot so small that the columns may be dependent.
  bool factor() {
    constexpr double certain = 1e-7, tiny = 1e-200;
    for (int j = 0; j < n_; ++j) {
      if (!(at(j, j) > tiny)) return false;
      scale_[j] = 1.0 / std::sqrt(at(j, j));
    }
    for (int j = 0; j < n_; ++j) {
      for (int l = 0; l <= j; ++l) at(j, l) *= scale_[j] * scale_[l];
    }
    for (int j = 0; j < n_; ++j) {
      const double pivot = at(j, j) - fixedDot(j, &at(j, 0), &at(j, 0));
      if (!(pivot > certain)) return false;
      at(j, j) = std::sqrt(pivot);
      for (int i = j + 1; i < n_; ++i) {
        at(i, j) = (at(i, j) - fixedDot(j, &at(i, 0), &at(j, 0))) / at(j, j);
      }
    }
    return true;
  }

  // d = (A^T A)^-1 g.
  void solve(const double* g, double* d) {
    for (int j = 0; j < n_; ++j) {
      d[j] = (scale_[j] * g[j] - fixedDot(j, &at(j, 0), d)) / at(j, j);
    }
    for (int j = n_ - 1; j >= 0; --j) {
      d[j] /= at(j, j);
      for (int l = 0; l < j; ++l) d[l] -= at(j, l) * d[j];
    }
    for (int j = 0; j < n_; ++j) d[j] *= scale_[j];
  }

 private:
  static constexpr int block = 128;
  double& at(int i, int j) { return value_[i * n_ + j]; }
  const int n_;
  Doubles scale_, value_;
};

}  // namespace

bool thinMethod(LinearSystem& system) {
  constexpr int few = 64;
  if (!system.haveRows || system.width > few || system.height < system.width) return false;
  GramFactor gram(system.rows);
  if (!gram.factor()) return false;
  system.fullRank = true;
  Doubles d(system.width);
  while (!system.ended()) {
    const double before = system.residual;
    gram.solve(system.g.data(), d.data());
    const bool better = system.improve(d.data());
    system.run.step(system.residual);
    if (!better || !(system.residual <= 0.5 * before)) break;
  }
  return true;
}

}  // namespace limber::detail
