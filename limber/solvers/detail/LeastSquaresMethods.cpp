#include <algorithm>
#include <cmath>
#include <new>
#include <typeinfo>

#include "limber/linalg/detail/ClassOf.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/detail/Corrections.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/Lsmr.h"
#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SolveMethods.h"
#include "limber/solvers/detail/SparseQr.h"

namespace limber::detail {
namespace {

// Divides each row by its norm, and returns the factors by which the rows were multiplied.
Doubles normaliseRows(SparseRows* rows) {
  Doubles factors(rows->height, 1.0);
  for (int i = 0; i < rows->height; ++i) {
    double* const row = rows->value.data() + rows->start[i];
    const int n = rows->start[i + 1] - rows->start[i];
    const double norm = fixedNorm(n, row);
    if (!(norm > 0.0)) continue;
    factors[i] = 1.0 / norm;
    for (int k = 0; k < n; ++k) row[k] *= factors[i];
  }
  return factors;
}

// Runs LSMR repeatedly on a map in these units, each time from the current solution, as long as that helps.
// If there is a QR factor, the map is preconditioned by it.
struct LsmrRun {
  LinearSystem& system;
  LinearMap& map;
  Units units = Units();
  SparseQr* qr = nullptr;
  double every = 0.0;  // LsmrGoal::every

  Outcome solve(int iterations, bool once) {
    const int m = system.height, n = system.width;
    Doubles u(m), d(n), gradient(n);
    Outcome outcome = Outcome::stuck;
    const int last = lastIteration(system, iterations);
    while (!system.ended() && system.run.iterations < last) {
      const double before = system.residual;
      const int power = units.take(system.r, &u);
      if (!qr && units.rows.size() == 0 && system.g.size() > 0) {
        // only columns are scaled, so A^T r follows from the system's gradient
        gradient = system.g;
        units.giveBack(-power, &gradient);
      } else {
        map.multiplyTransposed(u.data(), gradient.data());
      }
      const double start = safeNorm(n, gradient.data());
      if (!std::isfinite(start)) return Outcome::overflow;
      if (!(start > 0.0)) return Outcome::stuck;
      LsmrGoal goal;
      goal.iterations = last - system.run.iterations;
      goal.residual = start * std::clamp(0.9 * system.goal / before, 1e-16, 1.0);
      goal.ratio = before / start;
      goal.truth = system.goal;
      goal.every = every;
      Iterate best;  // of those that were checked
      goal.check = [&](const double* at) {
        Iterate tried{unscaled(at, power), {}, {}};
        for (int j = 0; j < n; ++j) tried.x[j] += system.x[j];
        system.measure(&tried);
        if (tried.residual < best.residual) best = tried;
        return tried.residual;
      };
      goal.gradient = gradient.data();
      const LsmrResult result = lsmr(map, u.data(), d.data(), goal, system.run);
      outcome = result.outcome;
      if (!qr) system.condition = std::max(system.condition, result.condition);
      bool better = !result.checked && system.improve(unscaled(d.data(), power).data());
      better |= system.adopt(&best);
      if (!better || once || !(system.residual <= 0.5 * before)) break;
    }
    return outcome;
  }

 private:
  // The unknowns of the map in the units of the solve, times 2^power.
  Doubles unscaled(const double* from, int power) {
    Doubles to(system.width);
    if (qr) {
      qr->solve(from, to.data());
    } else {
      std::copy_n(from, to.size(), to.data());
    }
    units.giveBack(power, &to);
    return to;
  }
};

}  // namespace

bool within(const Ints& powers, int limit) {
  bool all = true;
  for (const int power : powers) all &= power >= -limit && power <= limit;
  return all;
}

void scaleColumns(const SparseRows& rows, Ints* powers, Doubles* inverseNorms) {
  const int n = rows.width, entries = rows.entries();
  const int* const index = rows.index.data();
  const double* const value = rows.value.data();
  Doubles largest(n);
  for (int k = 0; k < entries; ++k) {
    double& columnMax = largest[index[k]];
    const double v = std::fabs(value[k]);
    columnMax = v > columnMax ? v : columnMax;
  }
  powers->resize(n);
  for (int j = 0; j < n; ++j) (*powers)[j] = -exponentOf(largest[j]);
  Doubles squares(n);
  if (within(*powers, moderate)) {
    Doubles factor(n);
    for (int j = 0; j < n; ++j) factor[j] = powerOfTwo((*powers)[j]);
    for (int k = 0; k < entries; ++k) {
      const double v = value[k] * factor[index[k]];
      squares[index[k]] += v * v;
    }
  } else {
    for (int k = 0; k < entries; ++k) {
      const double v = timesPowerOfTwo(value[k], (*powers)[index[k]]);
      squares[index[k]] += v * v;
    }
  }
  inverseNorms->resize(n);
  for (int j = 0; j < n; ++j) (*inverseNorms)[j] = squares[j] > 0.0 ? 1.0 / std::sqrt(squares[j]) : 1.0;
}

void normaliseColumns(SparseRows* rows, Ints* powers, Doubles* factors) {
  scaleColumns(*rows, powers, factors);
  rows->scale(nullptr, powers->data());
  for (int k = 0; k < rows->entries(); ++k) rows->value[k] *= (*factors)[rows->index[k]];
}

int rowPowerOf(const SparseRows& rows, int i) {
  double largest = 0.0;
  for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
    largest = std::max(largest, std::fabs(rows.value[k]));
  }
  return -exponentOf(largest);
}

Ints rowPowers(const SparseRows& rows) {
  Ints powers(rows.height);
  for (int i = 0; i < rows.height; ++i) powers[i] = rowPowerOf(rows, i);
  return powers;
}

Preconditioner* foreignPreconditioner(const LinearSystem& system) {
  return wantsIdentity(system) ? nullptr : system.run.options.preconditioner;
}

bool wantsIdentity(const LinearSystem& system) {
  const Preconditioner* const given = system.run.options.preconditioner;
  const std::type_info* const type = given ? classOf(given) : nullptr;
  return type && *type == typeid(Preconditioner);
}

int firstBudget(const LinearSystem& system, int minIterations, int maxIterations) {
  return std::clamp(system.width, minIterations, maxIterations);
}

int budgetWithoutEntries(const LinearSystem& system) {
  return system.endless ? system.run.limit : std::max(500, system.width / 2);
}

Outcome scaledLsmr(LinearSystem& system, int iterations) {
  if (!system.haveRows || wantsIdentity(system)) {
    return LsmrRun{system, *system.map}.solve(iterations, false);
  }
  SparseRows scaled;
  Units units;
  const bool wide = system.height < system.width;
  if (wide) {
    units.rows = rowPowers(system.rows);
    scaled = system.rows;
    scaled.scale(units.rows.data(), nullptr);
    units.rowFactors = normaliseRows(&scaled);
    units.columnFactors.assign(system.width, 1.0);
  } else {
    scaleColumns(system.rows, &units.columns, &units.columnFactors);
    if (within(units.columns, moderate)) {
      // the factors of the map can contain the whole scaling, so no copy is needed
      for (int j = 0; j < system.width; ++j) units.columnFactors[j] *= powerOfTwo(units.columns[j]);
      units.columns.release();
    } else {
      scaled = system.rows;
      scaled.scale(nullptr, units.columns.data());
    }
  }
  ScaledColumnsMap map(wide || units.columns.size() > 0 ? scaled : system.rows, units.columnFactors);
  const Outcome outcome = LsmrRun{system, map, units}.solve(iterations, false);
  system.map->products += map.products;
  return outcome;
}

bool farFromMinimum(const LinearSystem& system) {
  // the entries of A and b are at most 1
  const double rest = safeNorm(system.height, system.r.data());
  const double size = fixedNorm(system.rows.entries(), system.rows.value.data());
  return rest > 1e-7 * safeNorm(system.height, system.b.data()) && system.residual > 1e-6 * size * rest;
}

bool worthPolish(const LinearSystem& system, bool doubtful) {
  constexpr int small = 40;
  return system.converged() && system.haveRows && !system.run.mustEnd() && system.norm > 0.0 &&
         system.run.iterations > 0 && !system.fullRank && (doubtful || system.width <= small);
}

Allowance polishAllowance(const LinearSystem& system, bool doubtful) {
  Allowance allowance;
  allowance.operations = std::max(2e5, doubtful ? 2.0 * system.spent() : 0.0);
  allowance.entries = allowance.operations;
  return allowance;
}

bool conditionedLsmr(LinearSystem& system, const Allowance& allowance, int iterations, Outcome* outcome) {
  if (!system.haveRows) return false;
  try {
    Elimination elimination;
    if (!eliminateColumns(system.rows, allowance, &elimination)) return false;
    const auto attempt = [&](const SparseRows& rows, const Units& units, double tiny) {
      RowsMap map(rows);
      SparseQr qr;
      qr.factor(rows, elimination, tiny);
      ConditionedMap conditioned(map, qr);
      LsmrRun run{system, conditioned, units, &qr};
      for (int repeat = 0; repeat < 6 && !system.ended(); ++repeat) {
        const double before = system.residual;
        *outcome = run.solve(iterations, true);
        if (!(system.residual <= 0.5 * before)) break;
      }
      system.map->products += conditioned.products;
    };
    SparseRows scaled = system.rows;
    Units units;
    normaliseColumns(&scaled, &units.columns, &units.columnFactors);
    system.measurePrecisely();
    const Iterate begin = system;
    attempt(scaled, units, 2.2e-16 * std::sqrt(std::max(system.width, 10) * 1.0));
    const auto again = [&](const SparseRows& rows, const Units& itsUnits, double tiny, bool fromStart) {
      if (system.ended() || system.goal == 0.0) return;
      const Iterate best = system;
      system.iterate() = begin;
      if (fromStart) system.goBack();
      attempt(rows, itsUnits, tiny);
      system.keepBetter(best);
    };
    // without nearly dependent columns, then also without short ones, or without those that rounding in a
    // long elimination has made look independent
    again(scaled, units, 1e-11, false);
    if (system.leastSquares()) {
      const double rounding = 4.4e-15 * (1.0 * system.height + system.width);
      // earlier methods may have made x so large that its rounding is too large
      for (const bool fromStart : {false, true}) again(system.rows, Units(), rounding, fromStart);
    } else {
      again(scaled, units, 1e-8, false);
    }
    return *outcome != Outcome::overflow;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

Outcome solveByLeastSquares(LinearSystem& system) {
  const int budget = system.haveRows ? firstBudget(system, 200, 2000) : budgetWithoutEntries(system);
  Outcome outcome = Outcome::stuck;
  if (foreignPreconditioner(system)) {
    NormalMap normal(*system.map);
    ForeignInverse inverse(foreignPreconditioner(system), system.width);
    outcome = correct(system, conjugateGradients, Units(), normal, &inverse, budget);
  }
  if (!system.haveRows) return system.ended() ? outcome : scaledLsmr(system, budget);
  if (!system.ended() && !system.run.options.preconditioner) thinMethod(system);
  if (!system.ended()) {
    outcome = escalate(
        system, budget, [&](int iterations) { return scaledLsmr(system, iterations); },
        [&](const Allowance& allowance, Outcome* result) {
          return conditionedLsmr(system, allowance, 50, result);
        });
  }
  if (!system.ended() && denseMethod(system, lastResort)) outcome = Outcome::stuck;
  if (!system.ended() && system.goal > 0.0) {
    // if columns of very different lengths are nearly dependent, the first iterates of LSMR with columns that
    // are not scaled are better than the last ones
    const Iterate scaled = system;
    system.goBack();
    LsmrRun run{system, *system.map};
    run.every = 0.5;
    run.solve(firstBudget(system, 20, 20000), true);
    system.keepBetter(scaled);
  }
  const bool far = !system.fullRank && farFromMinimum(system), doubtful = far || system.condition > 1e4;
  if (worthPolish(system, doubtful)) {
    Allowance allowance = polishAllowance(system, doubtful);
    if (far || system.width <= 40) allowance.operations = std::max(2e7, 10.0 * allowance.operations);
    system.beginPolish();
    const bool sparse = system.width > 40 && conditionedLsmr(system, allowance, 8, &outcome);
    if (!sparse || farFromMinimum(system)) denseMethod(system, allowance);
    system.endPolish();
  }
  return system.run.mustEnd() ? system.run.whyEnded() : outcome;
}

}  // namespace limber::detail
