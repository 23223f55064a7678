#include "limber/solvers/detail/ConjugateGradients.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {
namespace {

double weightedSquare(int n, const double* weight, const double* r) {
  return weight ? fixedSum(n, [=](int i) { return weight[i] * r[i] * r[i]; }) : fixedDot(n, r, r);
}

/// How far |p^T A p| may be below |p| |A p| before its sign says nothing.
constexpr double certain = 1e-13;

}  // namespace

Outcome conjugateGradients(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run) {
  const int n = A.height();
  Doubles p(n), q(n), z(M ? n : 0), best;
  std::fill_n(d, n, 0.0);
  if (M && !M->apply(r, z.data())) return Outcome::preconditioner;
  const double* const zr = M ? z.data() : r;
  double rz = fixedDot(n, r, zr);
  double square = weightedSquare(n, goal.weight, r);
  double bestSquare = square, lastGain = square;
  double bestRz = rz;
  bool ahead = true;  // d is the best iterate
  const double enough = goal.residual * goal.residual, enoughRz = rz * goal.relative * goal.relative;
  const int patience = std::clamp(n, 200, 10000);
  int sinceGain = 0;
  std::copy_n(zr, n, p.data());

  Outcome outcome = Outcome::stuck;
  for (int k = 0; k < goal.iterations; ++k) {
    if (square <= enough && rz <= enoughRz) {
      outcome = Outcome::done;
      break;
    }
    if (run.mustEnd()) {
      outcome = run.whyEnded();
      break;
    }
    A.multiply(p.data(), q.data());
    const double curvature = fixedDot(n, p.data(), q.data());
    if (!std::isfinite(curvature) || !std::isfinite(rz)) {
      outcome = Outcome::overflow;
      break;
    }
    if (!(rz > 0.0)) {
      outcome = rz < 0.0 ? Outcome::preconditioner : Outcome::stuck;
      break;
    }
    if (!(curvature > 0.0)) {
      const double product = fixedNorm(n, p.data()) * fixedNorm(n, q.data());
      outcome = curvature < -certain * n * product ? Outcome::indefinite : Outcome::stuck;
      break;
    }
    const double alpha = rz / curvature;
    for (int i = 0; i < n; ++i) r[i] -= alpha * q[i];
    const double newSquare = weightedSquare(n, goal.weight, r);
    if (!(newSquare <= bestSquare) && ahead) {
      best.resize(n);
      std::copy_n(d, n, best.data());
      ahead = false;
    }
    for (int i = 0; i < n; ++i) d[i] += alpha * p[i];
    square = newSquare;
    if (square <= bestSquare) {
      bestSquare = square;
      ahead = true;
    }
    if (M && !M->apply(r, z.data())) {
      outcome = Outcome::preconditioner;
      break;
    }
    const double newRz = fixedDot(n, r, zr);
    ++sinceGain;
    if (square < 0.98 * lastGain || newRz < 0.98 * bestRz) {
      lastGain = std::min(lastGain, square);
      bestRz = std::min(bestRz, newRz);
      sinceGain = 0;
    }
    run.step(std::sqrt(square));
    if (sinceGain > patience) break;
    const double beta = newRz / rz;
    rz = newRz;
    for (int i = 0; i < n; ++i) p[i] = zr[i] + beta * p[i];
  }
  if (outcome == Outcome::stuck && square <= enough && rz <= enoughRz) outcome = Outcome::done;
  if (!ahead) std::copy_n(best.data(), n, d);
  return outcome;
}

}  // namespace limber::detail
