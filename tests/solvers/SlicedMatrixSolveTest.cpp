#include <gtest/gtest.h>

#include <cstdlib>

#include "limber/linalg/SlicedMatrix.h"
#include "limber/solvers/NCGrad.h"
#include "tests/solvers/RandomJacobian.h"
#include "tests/support/Tolerance.h"

namespace {

// Iterations, squared residual and solution of one solve.
struct Solved {
  int result;
  double rsq = -1.0;
  Vector x;

  template <class Solve>
  Solved(Solve solve, SpMat& A, const Vector& b, int unknowns) : x(unknowns) {
    Vector copy = b;
    result = solve(&A, &x, &copy, &rsq);
  }
};

// Compares a solve with the rows and one with their copy in a SlicedMatrix, bit for bit.
template <class Solve>
void expectSameSolve(Solve solve, Jacobian& J, int equations, int unknowns) {
  SlicedMatrix sliced(J.matrix);
  Vector b(equations);
  for (int i = 0; i < equations; ++i) b[i] = 1.0 + 0.125 * (i % 7);
  const Solved byRows(solve, J.matrix, b, unknowns), bySlices(solve, sliced, b, unknowns);
  EXPECT_GT(std::abs(byRows.result), 12);
  EXPECT_EQ(byRows.result, bySlices.result);
  EXPECT_TRUE(tolerance::sameBits(byRows.rsq, bySlices.rsq));
  EXPECT_TRUE(tolerance::sameBits(byRows.x.data, bySlices.x.data, unknowns));
}

TEST(SlicedMatrixSolve, HasTheBitsOfTheSolveWithTheRows) {
  for (const unsigned seed : {1u, 2u, 3u}) {
    Jacobian J(seed);
    for (int i = 0; i < 90; ++i) J.addRow(i, 12, 0.7);
    const int h = J.matrix.height(), w = J.matrix.width();
    expectSameSolve([](SpMat* A, Vector* x, Vector* b, double* r) { return ncgrad(A, x, b, r); }, J, h, w);
    expectSameSolve([](SpMat* A, Vector* x, Vector* b, double* r) { return ncgradAAt(A, x, b, r); }, J, h, h);
    expectSameSolve([](SpMat* A, Vector* x, Vector* b,
                       double* r) { return ncgradJVJt(A, x, b, r, nullptr, nullptr, nullptr); },
                    J, h, h);
  }
}

}  // namespace
