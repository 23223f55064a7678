#include "limber/solvers/Solve.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <typeinfo>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/detail/ConjugateGradients.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/LinearSystem.h"
#include "limber/solvers/detail/Lsmr.h"
#include "limber/solvers/detail/PowersOfTwo.h"

namespace {

using namespace limber::detail;
using Kind = LinearSystem::Kind;

constexpr const char* noMemory = "There is not enough memory.";

bool isIdentity(const Preconditioner* preconditioner) {
  return preconditioner && typeid(*preconditioner) == typeid(Preconditioner);
}

/// The exponents that bring each column's norm near 1.
Ints columnPowers(const SparseRows& rows) {
  Doubles squares(rows.width);
  for (int k = 0; k < rows.entries(); ++k) {
    squares[rows.index[k]] = std::max(squares[rows.index[k]], std::fabs(rows.value[k]));
  }
  Ints powers(rows.width);
  for (int j = 0; j < rows.width; ++j) powers[j] = -exponentOf(squares[j]);
  return powers;
}

/// LSMR on the system with scaled columns; again and again from where it is, while that helps.
Outcome scaledLsmr(LinearSystem& system) {
  const int n = system.width;
  SparseRows scaled;
  Ints powers(n);
  if (system.haveRows && !isIdentity(system.run.options.preconditioner)) {
    powers = columnPowers(system.rows);
    scaled = system.rows;
    scaled.scale(nullptr, powers.data());
  }
  RowsMap scaledMap(scaled);
  LinearMap& map = scaled.entries() > 0 ? scaledMap : *system.map;
  Doubles u(system.height), d(n), step(n), gradient(n), tryR(system.height), tryG(n);
  Outcome outcome = Outcome::stuck;
  while (!system.ended()) {
    const double before = system.residual;
    u = system.r;
    const int power = largestExponent(system.height, u.data());
    scaleByPowerOfTwo(system.height, u.data(), -power);
    const auto unscale = [&](const double* from) {
      for (int j = 0; j < n; ++j) step[j] = timesPowerOfTwo(from[j], powers[j] + power);
    };
    LsmrGoal goal;
    goal.iterations = system.run.limit;
    system.map->multiplyTransposed(system.r.data(), gradient.data());
    for (int j = 0; j < n; ++j) gradient[j] = timesPowerOfTwo(gradient[j], powers[j] - power);
    const double start = safeNorm(n, gradient.data());
    if (!(start > 0.0)) break;
    goal.residual = start * 0.9 * std::min(system.goal / before, 1.0);
    goal.ratio = before / start;
    goal.truth = system.goal;
    goal.check = [&](const double* at) {
      unscale(at);
      for (int j = 0; j < n; ++j) step[j] += system.x[j];
      return system.measure(step.data(), tryR.data(), tryG.data());
    };
    outcome = lsmr(map, u.data(), d.data(), goal, system.run).outcome;
    unscale(d.data());
    if (!system.improve(step.data()) || !(system.residual <= 0.5 * before)) break;
  }
  if (&map == &scaledMap) system.map->products += scaledMap.products;
  return outcome;
}

/// The exponents that bring the diagonal of D A D near 1.
Ints diagonalPowers(const Doubles& diagonal) {
  Ints powers(diagonal.size());
  for (int i = 0; i < diagonal.size(); ++i) powers[i] = -(exponentOf(diagonal[i]) >> 1);
  return powers;
}

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

/// Conjugate gradients on D A D with its diagonal, again and again from where it is, while that helps.
Outcome diagonalCG(LinearSystem& system) {
  const int n = system.width;
  SparseRows scaled;
  Ints powers(n);
  Doubles weight, d(n), u(n);
  std::unique_ptr<Inverse> inverse;
  Preconditioner* const foreign = system.run.options.preconditioner;
  if (foreign && !isIdentity(foreign)) {
    inverse = std::make_unique<ForeignInverse>(foreign, n);
  } else if (!foreign && system.haveRows) {
    Doubles diagonal = diagonalOf(system.rows);
    powers = diagonalPowers(diagonal);
    scaled = system.rows;
    scaled.scale(powers.data(), powers.data());
    weight.assign(n, 1.0);
    for (int i = 0; i < n; ++i) {
      weight[i] = timesPowerOfTwo(1.0, -2 * powers[i]);
      diagonal[i] = diagonal[i] > 0.0 ? 1.0 / timesPowerOfTwo(diagonal[i], 2 * powers[i]) : 1.0;
    }
    inverse = std::make_unique<DiagonalInverse>(std::move(diagonal));
  }
  RowsMap scaledMap(scaled);
  LinearMap& map = scaled.entries() > 0 ? scaledMap : *system.map;
  Outcome outcome = Outcome::stuck;
  while (!system.ended()) {
    const double before = system.residual;
    for (int i = 0; i < n; ++i) u[i] = timesPowerOfTwo(system.r[i], powers[i]);
    const int power = largestExponent(n, u.data());
    scaleByPowerOfTwo(n, u.data(), -power);
    Goal goal;
    goal.iterations = system.run.limit;
    goal.residual = 0.999 * timesPowerOfTwo(system.goal, -power);
    goal.relative = std::min(1.0, system.goal / before);
    goal.weight = weight.size() > 0 ? weight.data() : nullptr;
    system.run.unit += power;
    outcome = conjugateGradients(map, inverse.get(), u.data(), d.data(), goal, system.run);
    system.run.unit -= power;
    for (int i = 0; i < n; ++i) d[i] = timesPowerOfTwo(d[i], powers[i] + power);
    if (!system.improve(d.data()) || !(system.residual <= 0.5 * before)) break;
  }
  if (&map == &scaledMap) system.map->products += scaledMap.products;
  return outcome;
}

/// (J V^-1 J^T + D) x for scaled compressed rows.
class ConstraintMap final : public LinearMap {
 public:
  SparseRows rows;
  /// V^-1 and D in the map's units.
  Doubles inverseMass, damp;

  int height() const override { return rows.height; }
  int width() const override { return rows.height; }
  void multiply(const double* x, double* y) override {
    ++products;
    product_.resize(rows.width);
    rows.multiplyTransposed(x, product_.data());
    for (int j = 0; j < inverseMass.size(); ++j) product_[j] *= inverseMass[j];
    rows.multiply(product_.data(), y);
    for (int i = 0; i < damp.size(); ++i) y[i] += damp[i] * x[i];
  }
  void multiplyTransposed(const double* x, double* y) override { multiply(x, y); }

 private:
  Doubles product_;
};

}  // namespace

SolveReport solveLeastSquares(const SpMat& A, const Vector& b, Vector* x, const SolveOptions& options) {
  if (!x) return badInput("There is no vector for the solution.");
  try {
    LinearSystem system(options, Kind::leastSquares);
    if (const char* const wrong = system.take(A, b, *x)) return badInput(wrong);
    const Outcome outcome = scaledLsmr(system);
    return system.finish(outcome, x);
  } catch (const std::bad_alloc&) {
    return badInput(noMemory);
  }
}

SolveReport solvePositiveDefinite(const SpMat& A, const Vector& b, Vector* x, const SolveOptions& options) {
  if (!x) return badInput("There is no vector for the solution.");
  try {
    LinearSystem system(options, Kind::positiveDefinite);
    if (const char* const wrong = system.take(A, b, *x)) return badInput(wrong);
    const Outcome outcome = diagonalCG(system);
    return system.finish(outcome, x);
  } catch (const std::bad_alloc&) {
    return badInput(noMemory);
  }
}

SolveReport solveSquare(const SpMat& A, const Vector& b, Vector* x, const SolveOptions& options) {
  if (!x) return badInput("There is no vector for the solution.");
  try {
    LinearSystem system(options, Kind::square);
    if (const char* const wrong = system.take(A, b, *x)) return badInput(wrong);
    const Outcome outcome = scaledLsmr(system);
    return system.finish(outcome, x);
  } catch (const std::bad_alloc&) {
    return badInput(noMemory);
  }
}

SolveReport solveConstraints(const HSpMat& J, const Vector* mass, const Vector* damp, const Vector& c,
                             Vector* lambda, const SolveOptions& options) {
  if (!lambda) return badInput("There is no vector for the solution.");
  try {
    const Extent extent = extentOf(J, c.count);
    if (extent.damaged) return badInput("The matrix has entries in negative columns, or too many of them.");
    if (mass && mass->count < extent.width) return badInput("There are fewer masses than columns.");
    if (damp && damp->count != extent.height) return badInput("The damping is not as long as J is high.");
    auto map = std::make_unique<ConstraintMap>();
    copyEntries(J, extent, &map->rows);
    SparseRows& rows = map->rows;
    if (!allFinite(rows.entries(), rows.value.data()))
      return badInput("The matrix has an entry that is not finite.");
    if (mass) {
      if (!allFinite(extent.width, mass->data)) return badInput("A mass is not finite.");
      map->inverseMass.assign(extent.width, 0.0);
      for (int j = 0; j < extent.width; ++j) {
        if (!(mass->data[j] > 0.0)) return badInput("A mass is not positive.");
        map->inverseMass[j] = 1.0 / mass->data[j];
      }
    }
    if (damp) {
      if (!allFinite(extent.height, damp->data)) return badInput("A damping is not finite.");
      map->damp.assign(extent.height, 0.0);
      std::copy_n(damp->data, extent.height, map->damp.data());
    }
    LinearSystem system(options, Kind::positiveDefinite);
    if (const char* const wrong = system.take(std::move(map), 0, c, *lambda)) return badInput(wrong);
    const Outcome outcome = diagonalCG(system);
    return system.finish(outcome, lambda);
  } catch (const std::bad_alloc&) {
    return badInput(noMemory);
  }
}
