#include "limber/solvers/detail/ConjugateGradients.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/BestIterate.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {
namespace {

// The state and the work vectors of one solve.
class Run {
 public:
  Run(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run)
      : A_(A), M_(M), goal_(goal), run_(run), r_(r), d_(d) {}

  Outcome iterate() {
    if (!begin()) return Outcome::preconditioner;
    const Outcome outcome = improve();
    best_.restore();
    if (goal_.condition && steepest_ > 0.0) {
      *goal_.condition = std::max(*goal_.condition, steepest_ / flattest_);
    }
    return outcome == Outcome::stuck && done() ? Outcome::done : outcome;
  }

 private:
  bool done() const { return square_ <= enough_ && rz_ <= enoughRz_; }

  Outcome improve() {
    const int patience = std::clamp(n_, 200, 10000);
    int sinceGain = 0;
    const double first = square_;
    double gain = first, gainRz = rz_;
    for (int k = 0; k < goal_.iterations && !done(); ++k) {
      if (run_.mustEnd()) return run_.whyEnded();
      double alpha = 0.0;
      const Outcome curved = curve(&alpha);
      if (curved != Outcome::done) return curved;
      const double before = rz_;
      const bool reduced = reduce(alpha);
      advance(alpha, rz_ / before);
      run_.step(std::sqrt(square_));
      if (!reduced) return Outcome::preconditioner;
      ++sinceGain;
      if (square_ < 0.98 * gain || rz_ < 0.98 * gainRz) {
        gain = std::min(gain, square_);
        gainRz = std::min(gainRz, rz_);
        sinceGain = 0;
      }
      if (sinceGain > patience) return Outcome::stuck;
      if (goal_.slow(k + 1, first, best_.square())) return Outcome::slow;
    }
    return Outcome::stuck;
  }

  // Starts with z = M^-1 r and both norms. False if the preconditioner fails.
  bool begin() {
    std::fill_n(d_, n_, 0.0);
    if (M_ && !M_->apply(r_, z_.data())) return false;
    measure();
    best_.begin(square_);
    enough_ = goal_.residual * goal_.residual;
    enoughRz_ = rz_ * goal_.relative * goal_.relative;
    std::copy_n(direction_, n_, p_.data());
    return true;
  }

  // Computes both norms of the residual.
  void measure() {
    if (goal_.weight) {
      const double *const r = r_, *const z = direction_, *const weight = goal_.weight;
      const TwoSums sums = fixedSums(
          n_, [=](auto at) { return at(r) * at(z); }, [=](auto at) { return at(weight) * at(r) * at(r); });
      rz_ = sums.first;
      square_ = sums.second;
    } else {
      square_ = fixedDot(n_, r_, r_);
      rz_ = M_ ? fixedDot(n_, r_, direction_) : square_;
    }
  }

  // Computes q = A p and the length of the step along p. Returns `done` if there is a step.
  Outcome curve(double* alpha) {
    A_.multiply(p_.data(), q_.data());
    const double *const p = p_.data(), *const q = q_.data();
    const auto [curvature, square] = fixedSums(
        n_, [=](auto at) { return at(p) * at(q); }, [=](auto at) { return at(p) * at(p); });
    if (!std::isfinite(curvature) || !std::isfinite(rz_)) return Outcome::overflow;
    if (!(rz_ > 0.0)) return rz_ < 0.0 ? Outcome::preconditioner : Outcome::stuck;
    if (!(curvature > 0.0)) {
      // a lower bound of |A|: its value along p, the steepest curvature so far, and the scale of all maps
      const double norm = std::max({steepest_, fixedNorm(n_, q) / std::sqrt(square), 0.25});
      return curvature < -certainCurvature * n_ * norm * square ? Outcome::indefinite : Outcome::stuck;
    }
    flattest_ = std::min(flattest_, curvature / square);
    steepest_ = std::max(steepest_, curvature / square);
    *alpha = rz_ / curvature;
    return Outcome::done;
  }

  // r = r - alpha q, z = M^-1 r, and both norms. False if the preconditioner fails.
  bool reduce(double alpha) {
    const double* const __restrict q = q_.data(), * const __restrict inverse = M_ ? M_->diagonal() : nullptr;
    double* const __restrict r = r_, * const __restrict z = z_.data();
    bool applied = true;
    if (inverse) {
      for (int i = 0; i < n_; ++i) {
        r[i] -= alpha * q[i];
        z[i] = inverse[i] * r[i];
      }
    } else {
      for (int i = 0; i < n_; ++i) r[i] -= alpha * q[i];
      applied = !M_ || M_->apply(r_, z_.data());
    }
    measure();
    return applied && (rz_ >= 0.0 || std::isnan(rz_));
  }

  // d = d + alpha p and p = z + beta p.
  void advance(double alpha, double beta) {
    best_.moveTo(square_);
    double* const __restrict d = d_, * const __restrict p = p_.data();
    const double* const __restrict z = direction_;
    for (int i = 0; i < n_; ++i) {
      const double along = p[i];
      d[i] += alpha * along;
      p[i] = z[i] + beta * along;
    }
  }

  LinearMap& A_;
  Inverse* const M_;
  const Goal& goal_;
  SolveRun& run_;
  double *const r_, *const d_;
  const int n_ = A_.height();
  Doubles p_{n_}, q_{n_}, z_{M_ ? n_ : 0};
  BestIterate best_{n_, d_};
  const double* const direction_ = M_ ? z_.data() : r_;  // M^-1 r
  // |r|^2 in the caller's norm and r^T M^-1 r, and their goals.
  double square_ = 0.0, rz_ = 0.0, enough_ = 0.0, enoughRz_ = 0.0;
  double flattest_ = HUGE_VAL, steepest_ = 0.0;
};

}  // namespace

Outcome conjugateGradients(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run) {
  return Run(A, M, r, d, goal, run).iterate();
}

}  // namespace limber::detail
