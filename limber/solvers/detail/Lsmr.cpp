#include "limber/solvers/detail/Lsmr.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {
namespace {

// The rotation that takes (a, b) to (length, 0). If both are 0, its cosine and sine are NaNs.
struct Rotation {
  double c, s, length;
  Rotation(double a, double b) {
    const double scale = std::max(std::fabs(a), std::fabs(b));
    length = scale * std::sqrt((a / scale) * (a / scale) + (b / scale) * (b / scale));
    c = a / length;
    s = b / length;
  }
};

// The state and the work vectors of one solve. u and v are the unit vectors of the Golub-Kahan process, and
// alpha and beta are its coefficients; the other names are those of the paper.
class Run {
 public:
  Run(LinearMap& A, double* r, double* d, const LsmrGoal& goal, SolveRun& run)
      : A_(A), goal_(goal), run_(run), u_(r), d_(d) {}

  Outcome iterate() {
    Outcome outcome = begin();
    if (outcome != Outcome::stuck) return outcome;
    const int patience = std::clamp(n_, 200, 10000);
    double gain = estimate(), milestone = goal_.every * gain;
    int sinceGain = 0;
    for (; steps_ < goal_.iterations; ++steps_) {
      if (run_.mustEnd()) return run_.whyEnded();
      if (!continueProcess()) return Outcome::overflow;
      outcome = advance();
      if (outcome != Outcome::done) return outcome;
      run_.step(estimate() * goal_.ratio);
      if ((estimate() <= goal_.residual || complete()) && verify(&outcome)) return outcome;
      if (estimate() <= milestone) {
        milestone = goal_.every * estimate();
        goal_.check(d_);
      }
      ++sinceGain;
      if (estimate() < 0.98 * gain) {
        gain = estimate();
        sinceGain = 0;
      }
      if (sinceGain > patience) break;
    }
    return Outcome::stuck;
  }

  double condition() const { return condition_; }
  bool checked() const { return checked_; }

 private:
  // Computes the first u and v. `stuck` means that the iterations may begin.
  Outcome begin() {
    std::fill_n(d_, n_, 0.0);
    beta_ = fixedNorm(m_, u_);
    if (!(beta_ > 0.0)) return std::isfinite(beta_) ? Outcome::done : Outcome::overflow;
    if (goal_.gradient) {
      std::copy_n(goal_.gradient, n_, v_.data());
    } else {
      A_.multiplyTransposed(u_, v_.data());
    }
    const double scaled = fixedNorm(n_, v_.data());  // alpha beta
    if (!(scaled > 0.0)) return std::isfinite(scaled) ? Outcome::done : Outcome::overflow;
    for (double& v : v_) v /= scaled;
    std::copy_n(v_.data(), n_, h_.data());
    alpha_ = alphabar_ = scaled / beta_;
    zetabar_ = alpha_ * beta_;
    return Outcome::stuck;
  }

  // beta u = A v - alpha u and alpha v = A^T u - beta v. False if a number is not finite.
  bool continueProcess() {
    double* const v = v_.data();
    const double* const w = w_.data();
    const double square = A_.multiplyBothWays(v, alpha_ / beta_, u_, w_.data());
    if (!std::isfinite(square)) return false;
    beta_ = std::sqrt(square);
    alpha_ = 0.0;
    if (beta_ > 0.0) {
      const double over = 1.0 / beta_;
      for (int i = 0; i < n_; ++i) v[i] = w[i] * over - beta_ * v[i];
      alpha_ = fixedNorm(n_, v);
    }
    if (!std::isfinite(alpha_)) return false;
    if (alpha_ > 0.0) {
      const double over = 1.0 / alpha_;
      for (int i = 0; i < n_; ++i) v[i] *= over;
    }
    return true;
  }

  // Applies the two rotations and updates d. Returns `done` if that was possible.
  Outcome advance() {
    const double lastRho = rho_, lastRhobar = rhobar_;
    const Rotation first(alphabar_, beta_);
    rho_ = first.length;
    const double theta = first.s * alpha_;
    alphabar_ = first.c * alpha_;
    const double thetabar = sbar_ * rho_, diagonal = cbar_ * rho_;
    const Rotation second(diagonal, theta);
    rhobar_ = second.length;
    cbar_ = second.c;
    sbar_ = second.s;
    const double zeta = cbar_ * zetabar_;
    zetabar_ = -sbar_ * zetabar_;
    if (!(rho_ > 0.0) || !(rhobar_ > 0.0)) return Outcome::stuck;

    const double back = steps_ == 0 ? 0.0 : thetabar * rho_ / (lastRho * lastRhobar);
    const double along = zeta / (rho_ * rhobar_), next = theta / rho_;
    if (!std::isfinite(back) || !std::isfinite(along)) return Outcome::overflow;
    double *const d = d_, *const h = h_.data(), *const hbar = hbar_.data();
    const double* const v = v_.data();
    for (int i = 0; i < n_; ++i) {
      const double direction = h[i] - back * hbar[i];
      hbar[i] = direction;
      d[i] += along * direction;
      h[i] = v[i] - next * h[i];
    }
    estimateCondition(lastRhobar, diagonal);
    return Outcome::done;
  }

  void estimateCondition(double lastRhobar, double diagonal) {
    if (steps_ > 0) largest_ = std::max(largest_, lastRhobar);
    if (steps_ > 1) smallest_ = std::min(smallest_, lastRhobar);
    condition_ = std::max(largest_, diagonal) / std::min(smallest_, std::max(diagonal, 1e-300));
  }

  double estimate() const { return std::fabs(zetabar_); }
  // True if the process has found a space that contains the solution.
  bool complete() const { return !(alpha_ > 0.0); }

  // Lets the caller check d. True if the solve ends with that; otherwise the goal is lower from now on.
  bool verify(Outcome* outcome) {
    *outcome = Outcome::done;
    if (!goal_.check) return true;
    checked_ = true;
    const double truth = goal_.check(d_);
    if (truth <= goal_.truth) return true;
    *outcome = Outcome::stuck;
    if (complete() || !(truth < 0.7 * lastTruth_)) return true;
    lastTruth_ = truth;
    goal_.ratio = truth / estimate();
    goal_.residual = 0.5 * estimate() * goal_.truth / truth;
    return checked_ = false;
  }

  LinearMap& A_;
  LsmrGoal goal_;
  SolveRun& run_;
  const int m_ = A_.height(), n_ = A_.width();
  // u without its scaling: beta u
  double* const u_;
  double* const d_;
  Doubles v_{n_}, w_{n_}, h_{n_}, hbar_{n_};
  int steps_ = 0;
  double alpha_ = 0.0, beta_ = 0.0, alphabar_ = 0.0, zetabar_ = 0.0;
  double rho_ = 1.0, rhobar_ = 1.0, cbar_ = 1.0, sbar_ = 0.0;
  double largest_ = 0.0, smallest_ = HUGE_VAL, condition_ = 1.0;
  double lastTruth_ = HUGE_VAL;
  bool checked_ = false;
};

}  // namespace

LsmrResult lsmr(LinearMap& A, double* r, double* d, const LsmrGoal& goal, SolveRun& run) {
  Run solve(A, r, d, goal, run);
  const Outcome outcome = solve.iterate();
  return {outcome, solve.condition(), solve.checked()};
}

}  // namespace limber::detail
