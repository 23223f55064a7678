// Solves 2 x = 1, each process with two unknowns of its own.
#include <cstdio>

#include "limber/limber.h"
#include "limber_petsc/petsc.h"

int main(int argc, char** argv) {
  const limber::petsc::Session session(&argc, &argv);
  if (!session.ok()) return 1;
  SpVec rows[2];
  HSpMat own(0);
  for (int i = 0; i < 2; ++i) {
    rows[i].ins(2.0, 2 * session.rank() + i);
    own.add(&rows[i]);
  }
  Vector b(2), x;
  b = 1.0;
  const SolveReport report = limber::petsc::solvePositiveDefinite(
      MPI_COMM_WORLD, {&own, 2 * session.rank(), 2 * session.size()}, b, &x);
  std::printf("%g %g\n", x[0], x[1]);
  return report.status == SOLVE_CONVERGED && x[0] == 0.5 && x[1] == 0.5 ? 0 : 1;
}
