#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

#include "limber/solvers/detail/Corrections.h"
#include "limber/solvers/detail/SolveMethods.h"
#include "limber/solvers/detail/SparseCholesky.h"

namespace limber::detail {
namespace {

/// The diagonal, 0 where there is none.
Doubles diagonalOf(const SparseRows& rows) {
  Doubles diagonal(rows.height);
  for (int i = 0; i < rows.height; ++i) {
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
      if (rows.index[k] == i) diagonal[i] = rows.value[k];
    }
  }
  return diagonal;
}

/// The system D A D with a diagonal near 1.
struct Equilibrated {
  SparseRows rows;
  Units units;
  Doubles inverseDiagonal;
  /// The diagonal has elements of very different sizes.
  bool graded = false;

  explicit Equilibrated(const LinearSystem& system) : rows(system.rows), inverseDiagonal(diagonalOf(rows)) {
    const int n = rows.height;
    units.rows.resize(n);
    int least = 0, most = 0;
    for (int i = 0; i < n; ++i) {
      const int power = -(exponentOf(inverseDiagonal[i]) >> 1);
      units.rows[i] = power;
      least = std::min(least, power);
      most = std::max(most, power);
      const double scaled = timesPowerOfTwo(inverseDiagonal[i], 2 * power);
      inverseDiagonal[i] = scaled > 0.0 ? 1.0 / scaled : 1.0;
    }
    graded = most - least > 18;
    units.columns = units.rows;
    rows.scale(units.rows.data(), units.rows.data());
  }
};

Outcome correctByCG(LinearSystem& system, const Units& units, LinearMap& map, Inverse* inverse, int iterations,
                    double* condition = nullptr) {
  const Outcome outcome = correct(system, units, iterations, [&](double* r, double* d, const Goal& goal) {
    return conjugateGradients(map, inverse, r, d, goal, system.run, condition);
  });
  if (&map != system.map.get()) system.map->products += map.products;
  return outcome;
}

Outcome diagonalCG(LinearSystem& system, const Equilibrated& scaled, int iterations) {
  RowsMap map(scaled.rows);
  DiagonalInverse inverse(scaled.inverseDiagonal);
  return correctByCG(system, scaled.units, map, &inverse, iterations, &system.condition);
}

/// False where the factor costs too much.
bool choleskyCG(LinearSystem& system, const Equilibrated& scaled, const Allowance& allowance, int iterations,
                Outcome* outcome) {
  try {
    Elimination elimination;
    if (!eliminateSymmetric(scaled.rows, allowance, &elimination)) return false;
    SparseCholesky cholesky;
    if (!cholesky.factor(scaled.rows, std::move(elimination))) {
      *outcome = Outcome::indefinite;
      return true;
    }
    system.precise = true;
    RowsMap map(scaled.rows);
    *outcome = correctByCG(system, scaled.units, map, &cholesky, iterations);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

/// Whether an entry and its mirror image differ by more than rounding.
bool differs(double a, double b) {
  return std::fabs(a - b) > 1e-10 * std::max(std::fabs(a), std::fabs(b)) && std::fabs(a - b) > 1e-14;
}

/// A look at D A D, with a diagonal near 1, tells some matrices that have no place here.
Outcome inspect(const SparseRows& A) {
  const SparseRows T = A.transposed();
  const Doubles diagonal = diagonalOf(A);
  for (int i = 0; i < A.height; ++i) {
    if (diagonal[i] < 0.0) return Outcome::indefinite;
    int k = A.start[i], t = T.start[i];
    while (k < A.start[i + 1] || t < T.start[i + 1]) {
      const int j = k < A.start[i + 1] ? A.index[k] : A.width;
      const int l = t < T.start[i + 1] ? T.index[t] : A.width;
      const double a = j <= l ? A.value[k] : 0.0, b = l <= j ? T.value[t] : 0.0;
      if (differs(a, b)) return Outcome::unsymmetric;
      const int other = std::min(j, l);
      if (other != i && a * a > diagonal[i] * diagonal[other] * (1.0 + 1e-10)) return Outcome::indefinite;
      k += j <= l;
      t += l <= j;
    }
  }
  return Outcome::done;
}

}  // namespace

Outcome solveDefinite(LinearSystem& system) {
  Outcome outcome = Outcome::stuck;
  std::unique_ptr<Equilibrated> scaled;
  if (system.haveRows) {
    scaled = std::make_unique<Equilibrated>(system);
    outcome = inspect(scaled->rows);
    if (outcome != Outcome::done) return outcome;
  }
  const int budget = firstBudget(system);
  if (foreignPreconditioner(system) || wantsIdentity(system) || !scaled) {
    ForeignInverse foreign(foreignPreconditioner(system), system.width);
    Inverse* const inverse = foreignPreconditioner(system) ? &foreign : nullptr;
    outcome = correctByCG(system, Units(), *system.map, inverse, budget);
  }
  if (!scaled) return outcome;
  if (!system.ended() && outcome != Outcome::indefinite) outcome = diagonalCG(system, *scaled, budget);
  if (worthPolish(system, scaled->graded || system.condition > 1e8)) {
    Outcome polished = outcome;
    system.beginPolish();
    choleskyCG(system, *scaled, polishAllowance(system), 3, &polished);
    system.endPolish();
    if (polished == Outcome::indefinite) return polished;
  }
  if (!system.ended() && outcome != Outcome::indefinite &&
      !choleskyCG(system, *scaled, Allowance(), 100, &outcome)) {
    outcome = diagonalCG(system, *scaled, system.run.limit);
  }
  return outcome == Outcome::indefinite || !system.run.mustEnd() ? outcome : system.run.whyEnded();
}

}  // namespace limber::detail
