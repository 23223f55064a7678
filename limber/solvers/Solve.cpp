#include "limber/solvers/Solve.h"

#include "limber/linalg/Vector.h"
#include "limber/solvers/detail/LinearSystem.h"
#include "limber/solvers/detail/SolveMethods.h"

namespace {

using namespace limber::detail;
using Kind = LinearSystem::Kind;

SolveReport solve(Kind kind, Outcome (*method)(LinearSystem&), const SpMat& A, const Vector& b, Vector* x,
                  const SolveOptions& options) {
  return reportOf(x, [&] {
    LinearSystem system(options, kind);
    if (const char* const wrong = system.take(A, b, *x)) return badInput(wrong);
    Outcome outcome = system.ended() ? Outcome::done : method(system);
    if (!system.haveRows && !system.ended() && outcome == Outcome::stuck) {
      system.copyColumns(A);
      outcome = system.ended() ? Outcome::done : method(system);
    }
    return system.finish(outcome, x);
  });
}

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
