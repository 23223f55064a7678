#include "limber/solvers/Solve.h"

#include <algorithm>
#include <new>
#include <utility>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/detail/LinearSystem.h"
#include "limber/solvers/detail/SolveMethods.h"

namespace {

using namespace limber::detail;
using Kind = LinearSystem::Kind;

constexpr const char* noMemory = "There is not enough memory.";

SolveReport solve(Kind kind, Outcome (*method)(LinearSystem&), const SpMat& A, const Vector& b, Vector* x,
                  const SolveOptions& options) {
  if (!x) return badInput("There is no vector for the solution.");
  try {
    LinearSystem system(options, kind);
    if (const char* const wrong = system.take(A, b, *x)) return badInput(wrong);
    const Outcome outcome = system.ended() ? Outcome::done : method(system);
    return system.finish(outcome, x);
  } catch (const std::bad_alloc&) {
    return badInput(noMemory);
  }
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
  return solve(Kind::leastSquares, solveByLeastSquares, A, b, x, options);
}

SolveReport solvePositiveDefinite(const SpMat& A, const Vector& b, Vector* x, const SolveOptions& options) {
  return solve(Kind::positiveDefinite, solveDefinite, A, b, x, options);
}

SolveReport solveSquare(const SpMat& A, const Vector& b, Vector* x, const SolveOptions& options) {
  return solve(Kind::square, solveAnySquare, A, b, x, options);
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
    const Outcome outcome = solveDefinite(system);
    return system.finish(outcome, lambda);
  } catch (const std::bad_alloc&) {
    return badInput(noMemory);
  }
}
