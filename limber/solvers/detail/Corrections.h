#pragma once

/// @file
/// Improves the solution by corrections that a method computes in its own units.

#include <algorithm>

#include "limber/solvers/detail/ConjugateGradients.h"
#include "limber/solvers/detail/LinearSystem.h"
#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {

/// How a method's system follows from the system of the solve: row k is row order[k] (k if `order` is empty)
/// times 2^rows[k], and unknown j is multiplied by 2^columns[j] to get the unknown of the solve. Empty
/// vectors of exponents mean zeros.
struct Units {
  Ints order, rows, columns;
};

/// The number of the iteration at which a method that may take `iterations` iterations must end.
inline int lastIteration(const LinearSystem& system, int iterations) {
  return system.run.iterations + std::min(iterations, system.run.limit - system.run.iterations);
}

/// Lets `method` solve for a correction and adds it, and repeats that as long as it reduces the residual,
/// until one correction (four if residuals are precise) has not halved it. `method` receives the residual in
/// its units, scaled so that the largest element is near 1, space for the correction, and its goal.
template <class Method>
Outcome correct(LinearSystem& system, const Units& units, int iterations, Method method) {
  const int m = system.height, n = system.width;
  Doubles u(m), d(n), weight(units.rows.size());
  for (int k = 0; k < weight.size(); ++k) weight[k] = timesPowerOfTwo(1.0, -2 * units.rows[k]);
  Outcome outcome = Outcome::stuck;
  const int last = lastIteration(system, iterations);
  int patience = system.precise() ? 4 : 1;
  while (!system.ended() && patience > 0 && system.run.iterations < last) {
    const double before = system.residual;
    for (int k = 0; k < m; ++k) {
      const double r = system.r[units.order.size() > 0 ? units.order[k] : k];
      u[k] = units.rows.size() > 0 ? timesPowerOfTwo(r, units.rows[k]) : r;
    }
    const int power = largestExponent(m, u.data());
    scaleByPowerOfTwo(m, u.data(), -power);
    Goal goal;
    goal.iterations = last - system.run.iterations;
    goal.residual = 0.999 * timesPowerOfTwo(system.goal, -power);
    goal.relative = system.goal / before;
    goal.trial = system.trial;
    goal.weight = weight.size() > 0 ? weight.data() : nullptr;
    system.run.unit += power;
    outcome = method(u.data(), d.data(), goal);
    system.run.unit -= power;
    for (int j = 0; j < n; ++j) {
      d[j] = timesPowerOfTwo(d[j], power + (units.columns.size() > 0 ? units.columns[j] : 0));
    }
    if (!system.improve(d.data()) || outcome == Outcome::slow) break;
    if (!(system.residual <= 0.5 * before)) --patience;
  }
  if (outcome == Outcome::done) outcome = Outcome::stuck;
  return system.run.mustEnd() ? system.run.whyEnded() : outcome;
}

}  // namespace limber::detail
