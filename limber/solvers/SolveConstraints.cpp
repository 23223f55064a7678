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
// The columns of J in a sparse factor contribute at most this many products for each entry of J.
constexpr double productMemory = 20.0;

Outcome correctByCG(LinearSystem& system, const Units& units, ConstraintMap& map, Inverse* inverse,
                    int iterations) {
  const Outcome outcome =
      correct(system, conjugateGradients, units, map, inverse, iterations, &system.condition);
  // the map is never indefinite: this is rounding
  return outcome == Outcome::indefinite ? Outcome::stuck : outcome;
}

// Returns the largest number of entries L such that all columns of J with up to L entries contribute at most
// `workLimit` products of two entries to J V^-1 J^T. *others is the number of longer columns.
int longestColumn(const SparseRows& J, double workLimit, int* others) {
  Ints length(J.width), columns(J.height + 1);
  for (const int j : J.index) ++length[j];
  for (const int l : length) ++columns[l];
  int longest = 0, kept = 0;
  for (; longest <= J.height; ++longest) {
    workLimit -= 1.0 * columns[longest] * longest * longest;
    if (workLimit < 0.0) break;
    kept += columns[longest];
  }
  *others = J.width - kept;
  return longest - 1;
}

// Conjugate gradients, preconditioned by the sparse Cholesky factor of the matrix without the longest columns
// of J. They would fill the matrix, and each of them costs only about two more iterations. False if there are
// too many such columns, or if the factor costs too much or does not exist.
bool sparseMethod(LinearSystem& system, ConstraintMap& scaled, const Units& units, const Allowance& allowance,
                  Outcome* outcome) {
  constexpr int few = 100;
  try {
    int others = 0;
    const int longest = longestColumn(scaled.rows, productMemory * scaled.rows.entries(), &others);
    if (others > few) return false;
    const SparseRows matrix = scaled.matrixOfColumns(longest);
    Elimination elimination;
    SparseCholesky cholesky;
    if (!eliminateSymmetric(matrix, allowance, &elimination) ||
        !cholesky.factor(matrix, std::move(elimination))) {
      return false;
    }
    *outcome = correctByCG(system, units, scaled, &cholesky, few + 2 * others);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Conjugate gradients, preconditioned by the factor of the band if that is narrow enough, by a sparse factor
// if that costs about as much as the iterations that it saves, and otherwise by the diagonal. *factored tells
// whether there is a sparse factor.
Outcome firstMethod(LinearSystem& system, ConstraintMap& scaled, const Units& units, int iterations,
                    bool* factored) {
  const int n = scaled.height();
  const int halfBandwidth = scaled.halfBandwidth();
  const double entries = scaled.rows.entries();
  const double entryBytes = sizeof(double) + sizeof(int);
  const double band = (halfBandwidth + 1.0) * n * sizeof(double);
  if (band <= bandMemory * entryBytes * entries) {
    SparseCholesky cholesky;
    if (cholesky.factor(scaled.matrix(), bandElimination(n, halfBandwidth))) {
      return correctByCG(system, units, scaled, &cholesky, iterations);
    }
  }
  Outcome outcome = Outcome::stuck;
  const Allowance cheap{bandMemory * entries, 1000.0 * entries};
  if (!*factored) *factored = sparseMethod(system, scaled, units, cheap, &outcome);
  // with a solution so good, the rest is a matter of precision
  if (system.ended() || (*factored && system.residual <= 1e-6 * system.norm)) return outcome;
  Doubles inverse = scaled.diagonal();
  for (double& d : inverse) d = d > 0.0 ? 1.0 / d : 1.0;
  DiagonalInverse diagonal(inverse);
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
    ForeignInverse foreign(foreignPreconditioner(system), system.width);
    outcome = correctByCG(system, Units(), own, foreignPreconditioner(system) ? &foreign : nullptr, budget);
    if (system.ended()) return outcome;
  }
  ConstraintMap scaled = map;
  Units units;
  units.rows = units.columns = scaled.equilibrate();
  bool factored = false;
  outcome = escalate(
      system, budget,
      [&](int iterations) { return firstMethod(system, scaled, units, iterations, &factored); },
      [&](const Allowance& allowance, Outcome* result) {
        if (!factored) factored = sparseMethod(system, scaled, units, allowance, result);
        return system.ended() || factoredMethod(system, scaled, units, allowance, result);
      });
  return system.run.mustEnd() ? system.run.whyEnded() : outcome;
}

}  // namespace

SolveReport solveConstraints(const HSpMat& J, const Vector* mass, const Vector* damp, const Vector& c,
                             Vector* lambda, const SolveOptions& options) {
  return reportOf(lambda, [&] {
    auto map = std::make_unique<ConstraintMap>();
    int power = 0;
    if (const char* const wrong = map->take(J, mass, damp, &power)) return badInput(wrong);
    const ConstraintMap& constraints = *map;
    LinearSystem system(options, LinearSystem::Kind::positiveDefinite);
    if (map->lossy) system.measureWidely();
    if (const char* const wrong = system.take(std::move(map), power, c, *lambda)) return badInput(wrong);
    const Outcome outcome = system.ended() ? Outcome::done : solveIt(system, constraints);
    return system.finish(outcome, lambda);
  });
}
