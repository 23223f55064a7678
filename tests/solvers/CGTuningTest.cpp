#include "limber/solvers/CGTuning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "tests/solvers/TinyProblems.h"

namespace {

// All tuning variables as text.
std::string all() {
  std::string text;
  for (const double x : {cg_tol, cg_goNoWhereSc, cg_epsilon, cgradDefinizer, cgradEps, cgradTol, cgradNeptune,
                         bicg_checkBiCG, bicg_zeroStep}) {
    text += std::to_string(std::log(2.0 + std::fabs(x))) + " " + std::to_string(1e9 * x) + " ";
  }
  for (const int n : {cg_maxIters, cg_maxRestarts, cg_reset_resid, cg_verbosity, cgradMAXX, cgradMAXB,
                      maxCGradPasses, bicg_numZeroSteps}) {
    text += std::to_string(n) + " ";
  }
  for (const void* p : {static_cast<const void*>(cgradDribble), static_cast<const void*>(cgradDampV),
                        static_cast<const void*>(cgradMassVec), reinterpret_cast<const void*>(cg_observer),
                        static_cast<const void*>(cg_observerData)}) {
    text += std::to_string(reinterpret_cast<std::size_t>(p)) + " ";
  }
  return text;
}

Vector spare(3);

void changeAll() {
  for (double* x : {&cg_tol, &cg_goNoWhereSc, &cg_epsilon, &cgradDefinizer, &cgradEps, &cgradTol,
                    &cgradNeptune, &bicg_checkBiCG, &bicg_zeroStep}) {
    *x += 3.0;
  }
  cgradNeptune = 5.0;
  for (int* n : {&cg_maxIters, &cg_maxRestarts, &cg_reset_resid, &cg_verbosity, &cgradMAXX, &cgradMAXB,
                 &maxCGradPasses, &bicg_numZeroSteps}) {
    *n += 3;
  }
  cgradDribble = stderr;
  cgradDampV = cgradMassVec = &spare;
  cg_observer = [](int, double, void*) { return 0; };
  cg_observerData = &spare;
}

TEST(CGTuning, PutsEveryVariableBack) {
  const std::string before = all();
  {
    const CGTuning tuning;
    EXPECT_EQ(all(), before) << "nothing is set";
    changeAll();
    EXPECT_NE(all(), before);
  }
  EXPECT_EQ(all(), before);
  {
    const CGTuning tuning(1e-6, spare);
    changeAll();
  }
  EXPECT_EQ(all(), before);
}

TEST(CGTuning, PutsEveryVariableBackWhenTheScopeIsLeftByAnException) {
  const std::string before = all();
  try {
    const CGTuning tuning(1e-6, spare);
    throw std::runtime_error("left");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(all(), before);
}

TEST(CGTuning, BoundsTheResidualByTheRightHandSide) {
  const Vector b = toVector({3, 4});
  const CGTuning tuning(0.01, b);
  EXPECT_LT(0.05 * 0.05, cg_tol) << "the bound itself counts as solved";
  EXPECT_NEAR(cg_tol, 0.0025, 1e-15);
  EXPECT_LT(cgradEps, cg_tol);
  EXPECT_LE(cgradEps * cgradEps, 1e-15 * cg_tol);
}

TEST(CGTuning, WhatHasNoSquareCountsAsTheSmallestBound) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double size : {0.0, 1e-200, 1e200, infinity, std::nan("")}) {
    const Vector b = toVector({size});
    const CGTuning tuning(1e-10, b);
    EXPECT_EQ(cg_tol, std::numeric_limits<double>::min()) << size;
  }
  const Vector b = toVector({1});
  const CGTuning tuning(0.0, b);
  EXPECT_EQ(cg_tol, std::numeric_limits<double>::min());
}

// tridiag(-1, 4, -1)
SparseMatrix chain(int n, double scale) {
  SparseMatrix A;
  for (int i = 0; i < n; ++i) {
    SpVec& row = A.addRow();
    if (i > 0) row.insEnd(-scale, i - 1);
    row.insEnd(4.0 * scale, i);
    if (i + 1 < n) row.insEnd(-scale, i + 1);
    row.width = n;
  }
  return A;
}

int bicg(SpMat* A, Vector* x, Vector* b, double* rsq) {
  int iterations;
  return biCGrad(A, x, b, *rsq, iterations, 1) == CGI_SOLVED ? iterations : -1;
}

TEST(CGTuning, SolvesWhatFailsWithTheToleranceAlone) {
  SparseMatrix A = chain(100, 1.0);
  Vector b(100), x(100);
  b = 1.0;
  double rsq;
  {
    const CGTuning tuning;
    cg_tol = 1e-20 * b.magSq();
    EXPECT_LT(ncgradA(&A.m, &x, &b, &rsq), 0) << "cg_epsilon stays where it is";
  }
  x = 0.0;
  const CGTuning tuning(1e-10, b);
  EXPECT_GT(ncgradA(&A.m, &x, &b, &rsq), 0);
  EXPECT_LE(std::sqrt(rsq), 1e-10 * b.mag());
}

// The matrix and the right-hand side may be large or small, within the limits that the contracts of the
// product with A^T and of the older family set.
TEST(CGTuning, SolvesAtManyScales) {
  struct {
    const char* name;
    int (*solve)(SpMat*, Vector*, Vector*, double*);
    bool transposed, older;
  } const solvers[] = {{"ncgradA", ncgradA, false, false},
                       {"ncgradAtA", ncgradAtA, true, false},
                       {"cgradA", cgradA, false, true},
                       {"biCGrad", bicg, true, false}};
  for (const auto& each : solvers) {
    for (const double scale : {1e-9, 1.0, 1e9}) {
      for (const double size : {1e-20, 1.0, 1e20}) {
        if ((each.transposed && scale * size < 1e-3) || (each.older && size > 1.0)) continue;
        SparseMatrix A = chain(100, scale);
        Vector b(100), x(100), w(100), t(100);
        for (int i = 0; i < 100; ++i) b[i] = size * std::sin(1.0 + i);
        const CGTuning tuning(1e-8, b);
        double rsq = -1.0;
        EXPECT_GT(each.solve(&A.m, &x, &b, &rsq), 0) << each.name << " " << scale << " " << size;
        A.m.mult(&x, &w);
        if (each.solve == ncgradAtA) {
          t = w;
          A.m.multT(&t, &w);
        }
        w -= b;
        // (the older family ends by the change, not by the residual)
        EXPECT_LE(w.mag(), 1.1e-8 * b.mag()) << each.name << " " << scale << " " << size;
      }
    }
  }
}

}  // namespace
