// The solvers take the structured matrices and classes without type information.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "limber/linalg/WierdMatrices.h"
#include "tests/solvers/EverySolve.h"
#include "tests/solvers/NoTypeInformation.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

using SolveMatrix = RestoredTuning;

// Checks that every entry point gives nearly the same solution for A and for `same`, the row-sparse matrix
// with the same elements.
void expectSolved(SpMat* A, SparseMatrix& same, const char* matrix) {
  const int n = same.m.height();
  Vector damp(n), mass(n), b(n);
  Preconditioner identity;
  for (int i = 0; i < n; ++i) {
    damp[i] = 0.1 + 0.01 * i;
    mass[i] = 1.0 + i % 3;
    b[i] = std::sin(3.0 * i + 1.0);
  }
  for (const EntryPoint& each : entryPoints(damp, mass, identity)) {
    const CapturedOutput captured;
    Vector x(n), y(n);
    double rsq = -1.0, ysq = -2.0;
    each.solve(A, &x, &b, &rsq);
    EXPECT_EQ(captured.err().find("not implemented"), std::string::npos) << each.name << " on " << matrix;
    each.solve(&same.m, &y, &b, &ysq);
    for (int i = 0; i < n; ++i) {
      ASSERT_TRUE(tolerance::close(x[i], y[i], 1e-8)) << each.name << " on " << matrix << " at " << i;
    }
  }
}

// The row-sparse matrix with the elements of a structured one.
template <class Structured>
SparseMatrix sparseImage(Structured& A) {
  SparseMatrix out;
  for (int i = 0; i < A.height(); ++i) {
    SpVec& row = out.addRow();
    for (int j = 0; j < A.width(); ++j) row.insEnd(A.acc(i, j), j);
    row.width = A.width();
  }
  return out;
}

TEST_F(SolveMatrix, StructuredMatricesAreSolved) {
  strict(1e-24);
  for (const int n : {1, 10, 200}) {
    Vector diagonal(n);
    for (int i = 0; i < n; ++i) diagonal[i] = 1.0 + i % 5;
    DiagonalMatrix D(&diagonal);
    SparseMatrix d = sparseImage(D);
    expectSolved(&D, d, "DiagonalMatrix");

    IdentityMatrix I(n);
    I.s = 4.0;
    SparseMatrix s = sparseImage(I);
    expectSolved(&I, s, "IdentityMatrix");

    BandedMatrix B(n, 4);
    for (int i = 0; i < n; ++i) {
      B.e(i, i) = 4.0;
      if (i > 0) B.e(i, i - 1) = -1.0;
      if (i + 1 < n) B.e(i, i + 1) = -1.0;
    }
    SparseMatrix b = sparseImage(B);
    expectSolved(&B, b, "BandedMatrix");
  }
}

TEST_F(SolveMatrix, AQuadraticProgramIsSolved) {
  strict(1e-24);
  SparseMatrix H = randomSparse(12, true), J;
  for (int i = 0; i < 3; ++i) J.addRow().insEnd(1.0 + i, 4 * i);
  for (auto& row : J.rows) row->width = 12;
  SQPMatrix Q(&H.m, &J.m);
  // with a positive value the whole matrix is positive definite enough for every solver
  Q.lowerDiagonal = 9.0;
  SparseMatrix q = sparseImage(Q);
  expectSolved(&Q, q, "SQPMatrix");
}

TEST_F(SolveMatrix, TheBlocksOfAQuadraticProgramMayBeStructured) {
  strict(1e-24);
  Vector diagonal(12);
  for (int i = 0; i < 12; ++i) diagonal[i] = 2.0 + i % 5;
  DiagonalMatrix D(&diagonal);
  IdentityMatrix I(12);
  SparseMatrix J;
  for (int i = 0; i < 3; ++i) J.addRow().insEnd(0.5, 4 * i);
  for (auto& row : J.rows) row->width = 12;
  for (SpMat* H : {static_cast<SpMat*>(&D), static_cast<SpMat*>(&I)}) {
    SparseMatrix h = H == &D ? sparseImage(D) : sparseImage(I);
    SQPMatrix Q(H, &J.m), plain(&h.m, &J.m);
    Q.lowerDiagonal = plain.lowerDiagonal = 9.0;
    Q.hessianShift = plain.hessianShift = 1.0;
    SparseMatrix q = sparseImage(plain);
    expectSolved(&Q, q, "SQPMatrix of structured blocks");
  }
}

TEST_F(SolveMatrix, StructuredMatricesStayAsTheyAreForEverybodyElse) {
  const CapturedOutput captured;
  Vector diagonal(3), x(3);
  diagonal = 1.0;
  x = 1.0;
  DiagonalMatrix D(&diagonal);
  const SpMat& A = D;
  EXPECT_EQ(A.height(), 0);
  EXPECT_NE(captured.err().find("not implemented"), std::string::npos);
  Vector results[3] = {Vector(2), Vector(2), Vector(2)};
  A.mult(&x, results);
  EXPECT_EQ(results[2][1], 1.0) << "an array of vectors";
}

TEST_F(SolveMatrix, AClassWithoutTypeInformationIsSolved) {
  strict(1e-24);
  SparseMatrix same(2, 2, {3, 1, 1, 2});
  expectSolved(matrixWithoutTypeInformation(), same, "class compiled with -fno-rtti");
}

}  // namespace
