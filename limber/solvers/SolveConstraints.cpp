#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/Solve.h"
#include "limber/solvers/detail/ConstraintMap.h"
#include "limber/solvers/detail/Corrections.h"
#include "limber/solvers/detail/SolveMethods.h"
#include "limber/solvers/detail/SparseCholesky.h"
#include "limber/solvers/detail/SparseQr.h"

namespace {

using namespace limber::detail;

// The band of the scaled matrix is factored if its memory is at most this many times J's.
constexpr double bandMemory = 20.0;

Outcome correctByCG(LinearSystem& system, const Units& units, ConstraintMap& map, Inverse* inverse,
                    int iterations) {
  const Outcome outcome = correct(system, units, iterations, [&](double* r, double* d, const Goal& goal) {
    return conjugateGradients(map, inverse, r, d, goal, system.run, &system.condition);
  });
  system.map->products += map.products;
  map.products = 0;
  // the map is never indefinite: this is rounding
  return outcome == Outcome::indefinite ? Outcome::stuck : outcome;
}

// Conjugate gradients, preconditioned by the factor of the band if that is narrow enough, otherwise by the
// diagonal.
Outcome firstMethod(LinearSystem& system, ConstraintMap& scaled, const Units& units, int iterations) {
  const int n = scaled.height();
  const int halfBandwidth = scaled.halfBandwidth();
  const double entryBytes = sizeof(double) + sizeof(int);
  const double band = (halfBandwidth + 1.0) * n * sizeof(double);
  if (band <= bandMemory * entryBytes * scaled.rows.entries()) {
    SparseCholesky cholesky;
    if (cholesky.factor(scaled.matrix(), bandElimination(n, halfBandwidth))) {
      return correctByCG(system, units, scaled, &cholesky, iterations);
    }
  }
  Doubles inverse = scaled.diagonal();
  for (double& d : inverse) d = d > 0.0 ? 1.0 / d : 1.0;
  DiagonalInverse diagonal(std::move(inverse));
  return correctByCG(system, units, scaled, &diagonal, iterations);
}

// Conjugate gradients, preconditioned by the triangular factor of (V^-1/2 J^T; D^1/2). The normal matrix of
// that matrix is the matrix of the system, so the condition is not squared. False if the factor costs too
// much.
bool factoredMethod(LinearSystem& system, ConstraintMap& scaled, const Units& units,
                    const Allowance& allowance, Outcome* outcome) {
  try {
    const SparseRows tall = scaled.root();
    Elimination elimination;
    if (!eliminateColumns(tall, allowance, &elimination)) return false;
    SparseQr qr;
    qr.factor(tall, std::move(elimination), 2.2e-16 * std::sqrt(std::max(scaled.height(), 10) * 1.0));
    NormalInverse inverse(qr, scaled.height());
    system.measurePrecisely();
    *outcome = correctByCG(system, units, scaled, &inverse, 100);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

Outcome solveIt(LinearSystem& system, const ConstraintMap& map) {
  Outcome outcome = Outcome::stuck;
  const int budget = firstBudget(system, 200, 1000);
  if (system.run.options.preconditioner) {
    ConstraintMap own = map;
    own.products = 0;
    ForeignInverse foreign(foreignPreconditioner(system), system.width);
    outcome = correctByCG(system, Units(), own, foreignPreconditioner(system) ? &foreign : nullptr, budget);
    if (system.ended()) return outcome;
  }
  ConstraintMap scaled = map;
  scaled.products = 0;
  Units units;
  units.rows = units.columns = scaled.equilibrate();
  outcome = escalate(
      system, budget, [&](int iterations) { return firstMethod(system, scaled, units, iterations); },
      [&](const Allowance& allowance, Outcome* result) {
        return factoredMethod(system, scaled, units, allowance, result);
      });
  return system.run.mustEnd() ? system.run.whyEnded() : outcome;
}

}  // namespace

SolveReport solveConstraints(const HSpMat& J, const Vector* mass, const Vector* damp, const Vector& c,
                             Vector* lambda, const SolveOptions& options) {
  if (!lambda) return badInput("There is no vector for the solution.");
  try {
    auto map = std::make_unique<ConstraintMap>();
    int power = 0;
    if (const char* const wrong = map->take(J, mass, damp, &power)) return badInput(wrong);
    const ConstraintMap& constraints = *map;
    LinearSystem system(options, LinearSystem::Kind::positiveDefinite);
    if (const char* const wrong = system.take(std::move(map), power, c, *lambda)) return badInput(wrong);
    const Outcome outcome = system.ended() ? Outcome::done : solveIt(system, constraints);
    return system.finish(outcome, lambda);
  } catch (const std::bad_alloc&) {
    return badInput("There is not enough memory.");
  }
}
