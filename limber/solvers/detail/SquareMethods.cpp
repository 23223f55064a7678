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

// True if the diagonal alone tells how to scale: 2^(powers[i] + powers[j]) brings the diagonal near 1 and
// leaves no entry that is much larger. diagonal[i] is the size of a_ii times 2^rowPower[i].
bool scaledByDiagonal(const SparseRows& A, const Doubles& diagonal, const Ints& rowPower, Ints* powers) {
  for (int i = 0; i < A.height; ++i) {
    if (diagonal[i] == 0.0) return false;
    (*powers)[i] = -((exponentOf(diagonal[i]) - rowPower[i]) >> 1);
  }
  for (int i = 0; i < A.height; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
      const int power = exponentOf(A.value[k]) + (*powers)[i] + (*powers)[A.index[k]];
      if (power > 2 && A.value[k] != 0.0) return false;
    }
  }
  return true;
}

// The system with an order of the rows that leaves no zero on the diagonal, if possible, and with rows and
// columns scaled so that their largest entries are near 1. If both are nearly so, nothing is changed.
struct Arranged : MatrixInUnits {
  explicit Arranged(LinearSystem& system) : MatrixInUnits(system) {
    const SparseRows& A = system.rows;
    const int n = A.height;
    Ints rowPower(n), columns(n);
    Doubles largest(n), diagonal(n);
    for (int i = 0; i < n; ++i) {
      rowPower[i] = rowPowerOf(A, i);
      const PowerOfTwo scale(rowPower[i]);
      double own = 0.0;
      for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
        const int j = A.index[k];
        const double v = std::fabs(scale.times(A.value[k]));
        const double before = largest[j];
        largest[j] = v > before ? v : before;
        own = j == i ? v : own;
      }
      diagonal[i] = own;
    }
    bool ordered = true;
    for (int j = 0; j < n; ++j) {
      columns[j] = -exponentOf(largest[j]);
      ordered &= timesPowerOfTwo(diagonal[j], columns[j]) >= 0.1;
    }
    if (ordered && within(rowPower, similar) && within(columns, similar)) return;
    copy = A;
    Ints powers(n);
    if (scaledByDiagonal(A, diagonal, rowPower, &powers)) {
      copy.scale(powers.data(), powers.data());
      units.rows = powers;
      units.columns = std::move(powers);
      return;
    }
    copy.scale(rowPower.data(), columns.data());
    units.rows = rowPower;
    units.columns = std::move(columns);
    if (ordered) return;
    transversal(copy, &units.order);
    const SparseRows scaled = std::move(copy);
    copy = SparseRows(n, n);
    for (int k = 0; k < n; ++k) {
      units.rows[k] = rowPower[units.order[k]];
      copy.appendRow(scaled, units.order[k]);
      copy.endRow();
    }
  }
};

// BiCGSTAB, preconditioned by an LU factor. False if the factor costs too much.
bool factoredBiCGStab(LinearSystem& system, MatrixInUnits& matrix, const Allowance& allowance, int iterations,
                      Outcome* outcome) {
  try {
    SparseLu lu;
    if (!lu.factor(matrix.rows(), allowance)) return false;
    system.measurePrecisely();
    *outcome = correct(system, biCGStab, matrix.units, matrix.map(), &lu, iterations);
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

  Arranged arranged(system);
  IncompleteLu incomplete;
  const bool factored = incomplete.factor(arranged.rows());
  system.trial = trialOf(system, 15, 60);
  bool orthogonal = false;  // the QR factor has been tried
  outcome = escalate(
      system, budget,
      [&](int iterations) {
        return correct(system, biCGStab, arranged.units, arranged.map(), factored ? &incomplete : nullptr,
                       iterations);
      },
      [&](const Allowance& allowance, Outcome* result) {
        if (!factoredBiCGStab(system, arranged, allowance, 20, result)) return false;
        if (!system.ended() && arranged.copy.height > 0) {
          // scaled unknowns of very different sizes spoil a factor that is good for the unscaled ones
          MatrixInUnits plain(system);
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
