#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "limber/solvers/detail/BiCGStab.h"
#include "limber/solvers/detail/Corrections.h"
#include "limber/solvers/detail/IncompleteLu.h"
#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SolveMethods.h"
#include "limber/solvers/detail/SparseLu.h"
#include "limber/solvers/detail/Transversal.h"

namespace limber::detail {
namespace {

// True if every row has a diagonal element of at least 0.1. The largest entries are near 1.
bool largeDiagonal(const SparseRows& A) {
  int large = 0;
  for (int i = 0; i < A.height; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
      large += A.index[k] == i && std::fabs(A.value[k]) >= 0.1;
    }
  }
  return large == A.height;
}

// The system with an order of the rows that leaves no zero on the diagonal, if possible, and with rows and
// columns scaled so that their largest entries are near 1.
struct Arranged {
  SparseRows rows;
  Units units;

  Arranged() = default;
  explicit Arranged(const SparseRows& A) {
    const int n = A.height;
    Ints columns(n), rowPower = rowPowers(A);
    Doubles largest(n);
    for (int i = 0; i < n; ++i) {
      for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
        const double v = std::fabs(timesPowerOfTwo(A.value[k], rowPower[i]));
        largest[A.index[k]] = std::max(largest[A.index[k]], v);
      }
    }
    for (int j = 0; j < n; ++j) columns[j] = -exponentOf(largest[j]);
    rows = A;
    rows.scale(rowPower.data(), columns.data());
    units.rows = rowPower;
    units.columns = std::move(columns);
    if (largeDiagonal(rows)) return;
    transversal(rows, &units.order);
    const SparseRows scaled = std::move(rows);
    rows = SparseRows(n, n);
    for (int k = 0; k < n; ++k) {
      units.rows[k] = rowPower[units.order[k]];
      rows.appendRow(scaled, units.order[k]);
      rows.endRow();
    }
  }
};

// BiCGSTAB, preconditioned by an LU factor. False if the factor costs too much.
bool factoredBiCGStab(LinearSystem& system, const Arranged& arranged, const Allowance& allowance,
                      int iterations, Outcome* outcome) {
  try {
    SparseLu lu;
    if (!lu.factor(arranged.rows, allowance)) return false;
    system.measurePrecisely();
    RowsMap map(arranged.rows);
    *outcome = correct(system, biCGStab, arranged.units, map, &lu, iterations);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Lets a method continue, from the start if a factor of a singular matrix has added much of its null space to
// x. If the method does not solve the system, the better x stays.
template <class Method>
void withoutNullSpace(LinearSystem& system, Method method) {
  const Iterate before = system;
  if (system.swollen()) system.goBack();
  method();
  if (!system.converged()) system.keepBetter(before);
}

}  // namespace

Outcome solveAnySquare(LinearSystem& system) {
  Outcome outcome = Outcome::stuck;
  const int budget = firstBudget(system, 200, 240) / 2;
  if (foreignPreconditioner(system) || wantsIdentity(system) || !system.haveRows) {
    ForeignInverse foreign(foreignPreconditioner(system), system.width);
    Inverse* const inverse = foreignPreconditioner(system) ? &foreign : nullptr;
    outcome = correct(system, biCGStab, Units(), *system.map, inverse,
                      system.haveRows ? budget : budgetWithoutEntries(system));
    if (!system.ended() && system.endless && !system.haveRows) outcome = scaledLsmr(system, system.run.limit);
  }
  if (!system.haveRows || system.ended()) return outcome;

  const Arranged arranged(system.rows);
  IncompleteLu incomplete;
  const bool factored = incomplete.factor(arranged.rows);
  system.trial = trialOf(system, 15, 60);
  bool orthogonal = false;  // the QR factor has been tried
  outcome = escalate(
      system, budget,
      [&](int iterations) {
        RowsMap map(arranged.rows);
        return correct(system, biCGStab, arranged.units, map, factored ? &incomplete : nullptr, iterations);
      },
      [&](const Allowance& allowance, Outcome* result) {
        if (!factoredBiCGStab(system, arranged, allowance, 20, result)) return false;
        if (!system.ended()) {
          // scaled unknowns of very different sizes spoil a factor that is good for the unscaled ones
          Arranged plain;
          plain.rows = system.rows;
          factoredBiCGStab(system, plain, allowance, 20, result);
        }
        if (!system.ended() || system.swollen()) {
          withoutNullSpace(system, [&] { orthogonal = conditionedLsmr(system, allowance, 50, result); });
        }
        return true;
      });
  if (!system.ended()) denseMethod(system, lastResort);
  if (worthPolish(system, false)) {
    system.beginPolish();
    factoredBiCGStab(system, arranged, polishAllowance(system, false), 2, &outcome);
    system.endPolish();
  }
  if (!system.ended() && !orthogonal) {
    withoutNullSpace(system, [&] {
      if (!conditionedLsmr(system, Allowance(), 50, &outcome)) outcome = scaledLsmr(system, system.run.limit);
    });
  }
  return system.run.mustEnd() ? system.run.whyEnded() : outcome;
}

}  // namespace limber::detail
