#pragma once

/// @file
/// Improves the solution by corrections that a method computes in its own units.

#include "limber/solvers/detail/ConjugateGradients.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/LinearSystem.h"

namespace limber::detail {

/// The units of a method. Row k of the method's system is row order[k] of the solve's system (k if `order` is
/// empty) times 2^rows[k] rowFactors[k]. Unknown j of the solve is the method's unknown j times 2^columns[j]
/// columnFactors[j]. Empty vectors mean exponents 0 and factors 1.
struct Units {
  Ints order, rows, columns;
  Doubles rowFactors, columnFactors;

  /// u = a right-hand side r of the solve in the method's units, times 2^-p so that its largest element is
  /// near 1. Returns p.
  int take(const Doubles& r, Doubles* u) const;
  /// Converts the method's unknowns d for such a u, times 2^power, to unknowns of the solve.
  void giveBack(int power, Doubles* d) const;
};

/// A system's matrix in the units of a method: the system's own, unless there is a copy.
struct MatrixInUnits {
  explicit MatrixInUnits(LinearSystem& system) : system_(system) {}
  const SparseRows& rows() const { return copy.height > 0 ? copy : system_.rows; }
  LinearMap& map() { return copy.height > 0 ? mapOfCopy_ : *system_.map; }

  Units units;
  SparseRows copy;

 private:
  LinearSystem& system_;
  RowsMap mapOfCopy_{copy};
};

/// The number of the iteration at which a method that may take `iterations` iterations must end.
int lastIteration(const LinearSystem& system, int iterations);

/// conjugateGradients or biCGStab.
using KrylovMethod = Outcome (*)(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal,
                                 SolveRun& run);

/// Lets `method` solve for a correction of the solution, and adds it. For least squares it solves the normal
/// equations. Repeats this until a correction does not reduce the residual, or until one correction (four if
/// residuals are precise) has not halved it. `map` is the matrix in these units. *condition: see Goal.
Outcome correct(LinearSystem& system, KrylovMethod method, const Units& units, LinearMap& map,
                Inverse* inverse, int iterations, double* condition = nullptr);

/// Adds corrections by a factor as long as they at least halve the residual. solve(u, &d) solves A d = u in
/// these units.
template <class Solve>
void refine(LinearSystem& system, const Units& units, Solve solve) {
  Doubles u(system.height), d(system.width);
  for (int repeat = 0; repeat < 6 && !system.ended(); ++repeat) {
    const double before = system.residual;
    const int power = units.take(system.r, &u);
    solve(u, &d);
    units.giveBack(power, &d);
    const bool better = system.improve(d.data());
    system.run.step(system.residual);
    if (!better || !(system.residual <= 0.5 * before)) break;
  }
}

}  // namespace limber::detail
