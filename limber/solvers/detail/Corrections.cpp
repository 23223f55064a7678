#include "limber/solvers/detail/Corrections.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {

int Units::take(const Doubles& r, Doubles* u) const {
  for (int k = 0; k < u->size(); ++k) {
    const double own = r[order.size() > 0 ? order[k] : k];
    (*u)[k] = rows.size() > 0 ? timesPowerOfTwo(own, rows[k]) : own;
    if (rowFactors.size() > 0) (*u)[k] *= rowFactors[k];
  }
  const int power = largestExponent(u->size(), u->data());
  scaleByPowerOfTwo(u->size(), u->data(), -power);
  return power;
}

void Units::giveBack(int power, Doubles* d) const {
  for (int j = 0; j < d->size(); ++j) {
    if (columnFactors.size() > 0) (*d)[j] *= columnFactors[j];
    (*d)[j] = timesPowerOfTwo((*d)[j], power + (columns.size() > 0 ? columns[j] : 0));
  }
}

int lastIteration(const LinearSystem& system, int iterations) {
  return system.run.iterations + std::min(iterations, system.run.limit - system.run.iterations);
}

Outcome correct(LinearSystem& system, KrylovMethod method, const Units& units, LinearMap& map,
                Inverse* inverse, int iterations, double* condition) {
  const bool normal = system.leastSquares();
  Doubles u(normal ? system.width : system.height), d(system.width), weight(units.rows.size());
  for (int k = 0; k < weight.size(); ++k) weight[k] = timesPowerOfTwo(1.0, -2 * units.rows[k]);
  Outcome outcome = Outcome::stuck;
  const int last = lastIteration(system, iterations), earlierProducts = map.products;
  int patience = system.precise() ? 4 : 1;
  while (!system.ended() && patience > 0 && system.run.iterations < last) {
    const double before = system.residual;
    const int power = units.take(normal ? system.g : system.r, &u);
    Goal goal;
    goal.iterations = last - system.run.iterations;
    goal.residual = 0.999 * timesPowerOfTwo(system.goal, -power);
    goal.relative = normal ? HUGE_VAL : system.goal / before;
    goal.trial = system.trial;
    goal.weight = weight.size() > 0 ? weight.data() : nullptr;
    goal.condition = condition;
    system.run.unit += power;
    outcome = method(map, inverse, u.data(), d.data(), goal, system.run);
    system.run.unit -= power;
    units.giveBack(power, &d);
    if (!system.improve(d.data()) || outcome == Outcome::slow) break;
    if (!(system.residual <= 0.5 * before)) --patience;
  }
  if (&map != system.map.get()) system.map->products += map.products - earlierProducts;
  if (outcome == Outcome::done) outcome = Outcome::stuck;
  return system.run.mustEnd() ? system.run.whyEnded() : outcome;
}

}  // namespace limber::detail
