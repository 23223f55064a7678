#include "limber/solvers/detail/Lsmr.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {
namespace {

// The rotation that takes (a, b) to (length, 0).
struct Rotation {
  double c, s, length;
  Rotation(double a, double b) : length(0.0) {
    const double most = std::max(std::fabs(a), std::fabs(b));
    if (most > 0.0) length = most * std::sqrt((a / most) * (a / most) + (b / most) * (b / most));
    c = length > 0.0 ? a / length : 1.0;
    s = length > 0.0 ? b / length : 0.0;
  }
};

}  // namespace

LsmrResult lsmr(LinearMap& A, double* r, double* d, LsmrGoal goal, SolveRun& run) {
  const int m = A.height(), n = A.width();
  Doubles v(n), w(n), h(n), hbar(n);
  std::fill_n(d, n, 0.0);

  // r holds u without its scaling, u = r / beta, and A^T u is divided by beta as well
  double* const u = r;
  double beta = fixedNorm(m, u);
  if (!(beta > 0.0)) return {std::isfinite(beta) ? Outcome::done : Outcome::overflow, 1.0};
  if (goal.gradient) {
    std::copy_n(goal.gradient, n, v.data());
  } else {
    A.multiplyTransposed(u, v.data());
  }
  double scaled = fixedNorm(n, v.data());  // alpha beta
  if (!(scaled > 0.0)) return {std::isfinite(scaled) ? Outcome::done : Outcome::overflow, 1.0};
  double alpha = scaled / beta;
  for (int i = 0; i < n; ++i) v[i] /= scaled;
  std::copy_n(v.data(), n, h.data());

  double zetabar = alpha * beta, alphabar = alpha;
  double rho = 1.0, rhobar = 1.0, cbar = 1.0, sbar = 0.0;
  double largest = 0.0, smallest = HUGE_VAL, condition = 1.0;
  double lastTruth = HUGE_VAL, gain = zetabar;
  const int patience = std::clamp(n, 200, 10000);
  int sinceGain = 0;

  for (int k = 0; k < goal.iterations; ++k) {
    if (run.mustEnd()) return {run.whyEnded(), condition};

    // u = A v - alpha u, v = A^T u - beta v
    const double square = A.multiplyBothWays(v.data(), alpha / beta, u, w.data());
    beta = std::sqrt(square);
    if (!std::isfinite(square)) return {Outcome::overflow, condition};
    if (beta > 0.0) {
      const double over = 1.0 / beta, back = beta;
      for (int i = 0; i < n; ++i) v[i] = w[i] * over - back * v[i];
      alpha = fixedNorm(n, v.data());
    } else {
      alpha = 0.0;
    }
    if (!std::isfinite(alpha)) return {Outcome::overflow, condition};
    if (alpha > 0.0) {
      const double over = 1.0 / alpha;
      for (int i = 0; i < n; ++i) v[i] *= over;
    }

    const double rhoOld = rho, rhobarOld = rhobar;
    const Rotation first(alphabar, beta);
    rho = first.length;
    const double theta = first.s * alpha;
    alphabar = first.c * alpha;
    const double thetabar = sbar * rho, diagonal = cbar * rho;
    const Rotation second(diagonal, theta);
    rhobar = second.length;
    cbar = second.c;
    sbar = second.s;
    const double zeta = cbar * zetabar;
    zetabar = -sbar * zetabar;
    if (!(rho > 0.0) || !(rhobar > 0.0)) return {Outcome::stuck, condition};

    const double back = k == 0 ? 0.0 : thetabar * rho / (rhoOld * rhobarOld);
    const double along = zeta / (rho * rhobar), next = theta / rho;
    if (!std::isfinite(back) || !std::isfinite(along)) return {Outcome::overflow, condition};
    for (int i = 0; i < n; ++i) {
      const double direction = h[i] - back * hbar[i];
      hbar[i] = direction;
      d[i] += along * direction;
      h[i] = v[i] - next * h[i];
    }

    if (k > 0) {
      largest = std::max(largest, rhobarOld);
      if (k > 1) smallest = std::min(smallest, rhobarOld);
    }
    condition = std::max(largest, diagonal) / std::min(smallest, std::max(diagonal, 1e-300));

    const double estimate = std::fabs(zetabar);
    run.step(estimate * goal.ratio);
    const bool over = !(beta > 0.0) || !(alpha > 0.0);
    if (estimate <= goal.residual || over) {
      if (!goal.check) return {Outcome::done, condition};
      const double truth = goal.check(d);
      if (truth <= goal.truth) return {Outcome::done, condition, true};
      if (over || !(truth < 0.7 * lastTruth)) return {Outcome::stuck, condition, true};
      lastTruth = truth;
      goal.ratio = truth / estimate;
      goal.residual = 0.5 * estimate * goal.truth / truth;
    }
    ++sinceGain;
    if (estimate < 0.98 * gain) {
      gain = estimate;
      sinceGain = 0;
    }
    if (sinceGain > patience) return {Outcome::stuck, condition};
  }
  return {Outcome::stuck, condition};
}

}  // namespace limber::detail
