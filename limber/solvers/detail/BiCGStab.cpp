#include "limber/solvers/detail/BiCGStab.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/BestIterate.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {
namespace {

// The state and the work vectors of one solve.
class Pass {
 public:
  Pass(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run)
      : A_(A), M_(M), goal_(goal), run_(run), r_(r), d_(d) {
    std::fill_n(d, n_, 0.0);
    measure();
    best_.begin(square_);
    enough_ = goal.residual * goal.residual;
    enoughPlain_ = plain_ * goal.relative * goal.relative;
  }

  Outcome iterate() {
    const Outcome outcome = improve();
    best_.restore();
    return outcome == Outcome::stuck && done() ? Outcome::done : outcome;
  }

 private:
  bool done() const { return square_ <= enough_ && plain_ <= enoughPlain_; }

  Outcome improve() {
    const int patience = std::clamp(n_ / 2, 100, 5000);
    int sinceGain = 0;
    const double first = square_;
    double gain = first;
    for (int k = 0; k < goal_.iterations && !done(); ++k) {
      if (run_.mustEnd()) return run_.whyEnded();
      bool again = true;
      const Outcome outcome = step(&again);
      run_.step(std::sqrt(square_));
      if (!again) return outcome;
      ++sinceGain;
      if (square_ < 0.96 * gain) {
        gain = square_;
        sinceGain = 0;
      }
      if (sinceGain > patience || square_ > 1e24 * gain) return Outcome::stuck;
      if (goal_.slow(k + 1, first, best_.square())) return Outcome::slow;
    }
    return Outcome::stuck;
  }

  // Computes both norms of the residual.
  void measure() {
    plain_ = fixedDot(n_, r_, r_);
    const double *const r = r_, *const weight = goal_.weight;
    square_ = weight ? fixedSum(n_, [=](int i) { return weight[i] * r[i] * r[i]; }) : plain_;
  }

  // to = M^-1 from. False if that is not finite.
  bool precondition(const double* from, Doubles& to) {
    if (M_) return M_->apply(from, to.data());
    std::copy_n(from, n_, to.data());
    return true;
  }

  void restart() {
    std::copy_n(r_, n_, shadow_.data());
    std::copy_n(r_, n_, p_.data());
    rho_ = fixedDot(n_, r_, r_);
    fresh_ = false;
  }

  // Adds step * along to d, after r has changed.
  void advance(double step, const Doubles& along) {
    measure();
    best_.moveTo(square_);
    for (int i = 0; i < n_; ++i) d_[i] += step * along[i];
  }

  // One iteration with two products. `again` is true as long as the iterations continue.
  Outcome step(bool* again) {
    *again = false;
    if (fresh_) restart();
    if (!precondition(p_.data(), pHat_)) return Outcome::preconditioner;
    A_.multiply(pHat_.data(), v_.data());
    const double along = fixedDot(n_, shadow_.data(), v_.data());
    if (!std::isfinite(along)) return Outcome::overflow;
    if (along == 0.0) return Outcome::stuck;
    alpha_ = rho_ / along;
    for (int i = 0; i < n_; ++i) r_[i] -= alpha_ * v_[i];
    advance(alpha_, pHat_);
    if (!std::isfinite(square_)) return Outcome::overflow;
    if (done()) return Outcome::done;

    if (!precondition(r_, sHat_)) return Outcome::preconditioner;
    A_.multiply(sHat_.data(), t_.data());
    const double tt = fixedDot(n_, t_.data(), t_.data());
    if (!std::isfinite(tt)) return Outcome::overflow;
    if (!(tt > 0.0)) return Outcome::stuck;
    omega_ = fixedDot(n_, t_.data(), r_) / tt;
    for (int i = 0; i < n_; ++i) r_[i] -= omega_ * t_[i];
    advance(omega_, sHat_);
    if (!std::isfinite(square_)) return Outcome::overflow;

    const double rho = fixedDot(n_, shadow_.data(), r_);
    const double size = std::sqrt(plain_) * fixedNorm(n_, shadow_.data());
    *again = true;
    if (!(std::fabs(rho) > 1e-14 * size) || omega_ == 0.0) {
      fresh_ = true;
      return Outcome::stuck;
    }
    const double beta = (rho / rho_) * (alpha_ / omega_);
    rho_ = rho;
    for (int i = 0; i < n_; ++i) p_[i] = r_[i] + beta * (p_[i] - omega_ * v_[i]);
    return Outcome::stuck;
  }

  LinearMap& A_;
  Inverse* const M_;
  const Goal& goal_;
  SolveRun& run_;
  double *const r_, *const d_;
  const int n_ = A_.height();
  Doubles shadow_{n_}, p_{n_}, v_{n_}, t_{n_}, pHat_{n_}, sHat_{n_};
  BestIterate best_{n_, d_};
  // |r|^2 in the caller's norm and in the plain one, and their goals
  double square_ = 0.0, plain_ = 0.0, enough_ = 0.0, enoughPlain_ = 0.0;
  double rho_ = 1.0, alpha_ = 1.0, omega_ = 1.0;
  bool fresh_ = true;
};

}  // namespace

Outcome biCGStab(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run) {
  return Pass(A, M, r, d, goal, run).iterate();
}

}  // namespace limber::detail
