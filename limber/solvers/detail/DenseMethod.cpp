#include <new>

#include "limber/solvers/detail/Corrections.h"
#include "limber/solvers/detail/DenseQr.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SolveMethods.h"

namespace limber::detail {
namespace {

// The matrix with its columns scaled to norms of 1. In a square system, the rows are first scaled so that
// their largest entries are near 1.
struct Scaled {
  SparseRows rows;
  Units units;

  explicit Scaled(const LinearSystem& system) : rows(system.rows) {
    if (!system.leastSquares()) {
      units.rows = rowPowers(rows);
      rows.scale(units.rows.data(), nullptr);
    }
    normaliseColumns(&rows, &units.columns, &units.columnFactors);
  }
};

// Makes v orthogonal to the unit vectors. It does so twice, because rounding remains after the first time.
void orthogonalise(const Array<Doubles>& units, Doubles* v) {
  const int n = v->size();
  for (int pass = 0; pass < 2; ++pass) {
    for (int k = 0; k < units.size(); ++k) {
      const double* const u = units[k].data();
      const double along = fixedDot(n, u, v->data());
      for (int j = 0; j < n; ++j) (*v)[j] -= along * u[j];
    }
  }
}

// Removes from the change of x its part in the null space, so that x is the solution nearest to the start.
void moveToNearest(LinearSystem& system, const Scaled& scaled, const DenseQr& qr) {
  const int n = system.width;
  Array<Doubles> units;
  for (int k = 0; k < n - qr.rank(); ++k) {
    Doubles z(n);
    qr.nullVector(k, z.data());
    scaled.units.giveBack(0, &z);
    scaleByPowerOfTwo(n, z.data(), -largestExponent(n, z.data()));
    const double before = fixedNorm(n, z.data());
    orthogonalise(units, &z);
    const double norm = fixedNorm(n, z.data());
    if (!(norm > 1e-10 * before)) continue;
    for (double& v : z) v /= norm;
    units.push(z);
  }
  Doubles way = system.x;
  for (int j = 0; j < system.begin.size(); ++j) way[j] -= system.begin[j];
  const int power = largestExponent(n, way.data());
  scaleByPowerOfTwo(n, way.data(), -power);
  orthogonalise(units, &way);
  scaleByPowerOfTwo(n, way.data(), power);
  for (int j = 0; j < system.begin.size(); ++j) way[j] += system.begin[j];
  system.nearest = system.replace(way);
}

}  // namespace

bool denseMethod(LinearSystem& system, const Allowance& allowance) {
  const double m = system.height, n = system.width;
  if (!system.haveRows || m * n > allowance.entries) return false;
  if (DenseQr::operations(m, n) > allowance.operations) return false;
  try {
    const Scaled scaled(system);
    DenseQr qr(scaled.rows);
    system.measurePrecisely();
    const auto solve = [&](const Doubles& u, Doubles* d) { qr.solve(u.data(), d->data()); };
    refine(system, scaled.units, solve);
    if (!system.converged() && system.goal > 0.0 && !system.run.mustEnd()) {
      // try again from the start, because earlier methods may have made x so large that its rounding is too
      // large
      const Iterate first = system;
      system.goBack();
      refine(system, scaled.units, solve);
      system.keepBetter(first);
    }
    if (system.leastSquares() && qr.rank() < system.width) moveToNearest(system, scaled, qr);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace limber::detail
