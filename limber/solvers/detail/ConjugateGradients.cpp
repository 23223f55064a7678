#include "limber/solvers/detail/ConjugateGradients.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {
namespace {

/// How far |p^T A p| may be below |p| |A p| before its sign says nothing.
constexpr double certain = 1e-13;

/// The work of one run.
class Run {
 public:
  Run(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run)
      : A_(A), M_(M), diagonal_(M ? M->diagonal() : nullptr), goal_(goal), run_(run), n_(A.height()), r_(r),
        d_(d), p_(n_), q_(n_), z_(M ? n_ : 0), direction_(M ? z_.data() : r) {}

  Outcome iterate();
  double condition() const { return steepest_ > 0.0 ? steepest_ / flattest_ : 0.0; }

 private:
  bool done() const { return square_ <= enough_ && rz_ <= enoughRz_; }
  bool begin();
  Outcome curve(double* alpha);
  bool reduce(double alpha);
  void advance(double alpha, double beta);

  LinearMap& A_;
  Inverse* const M_;
  const double* const diagonal_;
  const Goal& goal_;
  SolveRun& run_;
  const int n_;
  double *const r_, *const d_;
  Doubles p_, q_, z_, best_;
  const double* const direction_;  // M^-1 r
  /// |r|^2 in the caller's norm, r^T M^-1 r, their goals, and the best so far.
  double square_ = 0.0, rz_ = 0.0, enough_ = 0.0, enoughRz_ = 0.0, bestSquare_ = 0.0;
  double flattest_ = HUGE_VAL, steepest_ = 0.0;
  bool ahead_ = true;  // d is the best iterate
};

/// z = M^-1 r and both norms.
bool Run::begin() {
  std::fill_n(d_, n_, 0.0);
  if (M_ && !M_->apply(r_, z_.data())) return false;
  const double *const w = goal_.weight, *const r = r_, *const z = direction_;
  const TwoSums sums = fixedSums(n_, [=](int i, double* square, double* rz) {
    *square += w ? w[i] * r[i] * r[i] : r[i] * r[i];
    *rz += r[i] * z[i];
  });
  square_ = bestSquare_ = sums.first;
  rz_ = sums.second;
  enough_ = goal_.residual * goal_.residual;
  enoughRz_ = rz_ * goal_.relative * goal_.relative;
  std::copy_n(direction_, n_, p_.data());
  return true;
}

/// q = A p and the step along p; `done` when there is one.
Outcome Run::curve(double* alpha) {
  A_.multiply(p_.data(), q_.data());
  const double *const p = p_.data(), *const q = q_.data();
  const TwoSums sums = fixedSums(n_, [=](int i, double* pq, double* pp) {
    *pq += p[i] * q[i];
    *pp += p[i] * p[i];
  });
  const double curvature = sums.first;
  if (!std::isfinite(curvature) || !std::isfinite(rz_)) return Outcome::overflow;
  if (!(rz_ > 0.0)) return rz_ < 0.0 ? Outcome::preconditioner : Outcome::stuck;
  if (!(curvature > 0.0)) {
    const double product = std::sqrt(sums.second) * fixedNorm(n_, q);
    return curvature < -certain * n_ * product ? Outcome::indefinite : Outcome::stuck;
  }
  flattest_ = std::min(flattest_, curvature / sums.second);
  steepest_ = std::max(steepest_, curvature / sums.second);
  *alpha = rz_ / curvature;
  return Outcome::done;
}

/// r = r - alpha q, z = M^-1 r and both norms. False when the preconditioner fails.
bool Run::reduce(double alpha) {
  const double *const w = goal_.weight, *const q = q_.data(), *const inverse = diagonal_;
  double *const r = r_, *const z = z_.data();
  TwoSums sums;
  if (inverse && w) {
    sums = fixedSums(n_, [=](int i, double* square, double* rz) {
      const double v = r[i] - alpha * q[i], s = v * v;
      r[i] = v;
      z[i] = inverse[i] * v;
      *square += w[i] * s;
      *rz += inverse[i] * s;
    });
  } else {
    for (int i = 0; i < n_; ++i) r[i] -= alpha * q[i];
    const bool applied = !M_ || M_->apply(r, z);
    const double* const to = applied ? direction_ : r;
    sums = fixedSums(n_, [=](int i, double* square, double* rz) {
      *square += w ? w[i] * r[i] * r[i] : r[i] * r[i];
      *rz += r[i] * to[i];
    });
    if (!applied) sums.second = -1.0;
  }
  square_ = sums.first;
  rz_ = sums.second;
  return rz_ >= 0.0 || std::isnan(rz_);
}

/// d = d + alpha p and p = z + beta p; the best iterate is kept.
void Run::advance(double alpha, double beta) {
  if (!(square_ <= bestSquare_) && ahead_) {
    best_.resize(n_);
    std::copy_n(d_, n_, best_.data());
    ahead_ = false;
  }
  double *const d = d_, *const p = p_.data();
  const double* const z = direction_;
  for (int i = 0; i < n_; ++i) {
    const double along = p[i];
    d[i] += alpha * along;
    p[i] = z[i] + beta * along;
  }
  if (square_ <= bestSquare_) {
    bestSquare_ = square_;
    ahead_ = true;
  }
}

Outcome Run::iterate() {
  if (!begin()) return Outcome::preconditioner;
  const int patience = std::clamp(n_, 200, 10000);
  int sinceGain = 0;
  double gain = square_, gainRz = rz_;
  Outcome outcome = Outcome::stuck;
  for (int k = 0; k < goal_.iterations && !done(); ++k) {
    if (run_.mustEnd()) {
      outcome = run_.whyEnded();
      break;
    }
    double alpha = 0.0;
    const Outcome curved = curve(&alpha);
    if (curved != Outcome::done) {
      outcome = curved;
      break;
    }
    const double before = rz_;
    const bool reduced = reduce(alpha);
    advance(alpha, rz_ / before);
    run_.step(std::sqrt(square_));
    if (!reduced) {
      outcome = Outcome::preconditioner;
      break;
    }
    ++sinceGain;
    if (square_ < 0.98 * gain || rz_ < 0.98 * gainRz) {
      gain = std::min(gain, square_);
      gainRz = std::min(gainRz, rz_);
      sinceGain = 0;
    }
    if (sinceGain > patience) break;
  }
  if (outcome == Outcome::stuck && done()) outcome = Outcome::done;
  if (!ahead_) std::copy_n(best_.data(), n_, d_);
  return outcome;
}

}  // namespace

Outcome conjugateGradients(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run,
                           double* condition) {
  Run work(A, M, r, d, goal, run);
  const Outcome outcome = work.iterate();
  if (condition) *condition = std::max(*condition, work.condition());
  return outcome;
}

}  // namespace limber::detail
