// If a vector is too short for the matrix, each call warns once and the solve continues.

#include <gtest/gtest.h>

#include <string>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/support/CapturedOutput.h"

namespace {

int damped(SpMat* A, Vector* x, Vector* b, double* r) { return ncgradDamp(A, x, b, r, 0.0); }
int dual(SpMat* A, Vector* x, Vector* b, double* r) { return ncgradJJt(A, x, b, r, nullptr, nullptr); }
int weighted(SpMat* A, Vector* x, Vector* b, double* r) {
  return ncgradJVJt(A, x, b, r, nullptr, nullptr, nullptr);
}
int oldDual(SpMat* A, Vector* x, Vector* b, double* r) { return cgradJJt(A, x, b, r, nullptr); }
int oldWeighted(SpMat* A, Vector* x, Vector* b, double* r) { return cgradJVJt(A, x, b, r, nullptr, nullptr); }
int bicg(SpMat* A, Vector* x, Vector* b, double* r) {
  int iterations;
  return biCGrad(A, x, b, *r, iterations, 1);
}

const struct {
  const char* name;
  int (*solve)(SpMat*, Vector*, Vector*, double*);
  // The sizes that a 3 x 2 matrix needs, or a 3 x 3 matrix if the system is square.
  int width, unknowns, equations;
} entries[] = {
    {"ncgradA", ncgradA, 3, 3, 3},     {"ncgradAtA", ncgradAtA, 2, 2, 2}, {"ncgrad", ncgrad, 2, 2, 3},
    {"ncgrad", damped, 2, 2, 3},       {"ncgradJJt", dual, 2, 3, 3},      {"ncgradJVJt", weighted, 2, 3, 3},
    {"ncgradAAt", ncgradAAt, 2, 3, 3}, {"cgrad", cgrad, 2, 2, 3},         {"cgradA", cgradA, 3, 3, 3},
    {"cgradAAt", cgradAAt, 2, 3, 3},   {"cgradJJt", oldDual, 2, 3, 3},    {"cgradJVJt", oldWeighted, 2, 3, 3},
    {"biCGrad", bicg, 3, 3, 3},
};

std::string warned(int (*solve)(SpMat*, Vector*, Vector*, double*), int width, int x, int b) {
  const CGTuning tuning;
  maxCGradPasses = 1000;
  SparseMatrix wide(3, 3, {2, 0, 0, 0, 3, 0, 0, 0, 4}), tall(3, 2, {1, 0, 0, 1, 1, 1});
  Vector unknowns(x), right(b);
  right = 1.0;
  double rsq;
  const CapturedOutput captured;
  solve(width == 3 ? &wide.m : &tall.m, &unknowns, &right, &rsq);
  std::string all;
  for (const std::string& call : captured.errCalls()) {
    const std::size_t found = call.find("too short for the matrix");
    if (found != std::string::npos) all += call;
  }
  return all;
}

TEST(ShortVectors, AreWarnedOfOnceACall) {
  for (const auto& e : entries) {
    EXPECT_EQ(warned(e.solve, e.width, e.unknowns, e.equations), "") << e.name;
    EXPECT_EQ(warned(e.solve, e.width, e.unknowns + 2, e.equations + 2), "") << e.name << ", longer";
    const std::string needed = std::to_string(e.unknowns), rows = std::to_string(e.equations);
    const std::string x = warned(e.solve, e.width, 1, e.equations);
    EXPECT_NE(x.find(std::string(e.name) + ": too short for the matrix: x has 1 of " + needed +
                     " elements, b " + rows + " of " + rows),
              std::string::npos)
        << e.name << ": " << x;
    const std::string b = warned(e.solve, e.width, e.unknowns, 1);
    EXPECT_NE(b.find(std::string(e.name) + ": too short for the matrix: x has " + needed + " of " + needed +
                     " elements, b 1 of " + rows),
              std::string::npos)
        << e.name << ": " << b;
    EXPECT_EQ(b.find("too short"), b.rfind("too short")) << e.name << " warns once";
  }
}

// The text that a solve writes to either channel for zero vectors x and b, with a matrix that overrides
// nothing and so reports every call.
std::string told(int (*solve)(SpMat*, Vector*, Vector*, double*), int x, int b) {
  SpMat unasked;
  Vector unknowns(x), right(b);
  unknowns = 3.0;
  double rsq = -1.0;
  const CapturedOutput captured;
  EXPECT_EQ(solve(&unasked, &unknowns, &right, &rsq), 0);
  EXPECT_EQ(solve(nullptr, &unknowns, &right, &rsq), 0);
  EXPECT_EQ(unknowns.magSq(), 0.0);
  cgradDampV = nullptr;
  return captured.out() + captured.err();
}

TEST(ShortVectors, AZeroRightHandSideIsAnsweredInSilenceWithoutTheMatrix) {
  for (const auto solve : {ncgradA, ncgradAtA, dual}) {
    EXPECT_EQ(told(solve, 3, 3), "");
    EXPECT_EQ(told(solve, 1, 3), "");
    EXPECT_EQ(told(solve, 3, 0), "");
  }
  for (const auto solve : {ncgradA, ncgradAtA, ncgrad, dual, weighted}) {
    EXPECT_EQ(warned(solve, 3, 1, 0), "");
  }
}

TEST(ShortVectors, AnEmptyXOrBOfTheOlderFamilyIsAnsweredWithoutTheMatrix) {
  for (const auto solve : {cgrad, cgradA, cgradAAt, oldDual, oldWeighted}) {
    EXPECT_EQ(told(solve, 0, 3), "");
    EXPECT_EQ(told(solve, 0, 0), "");
  }
}

TEST(ShortVectors, EmptyOnesOfTheOlderFamilyAreAnsweredInSilence) {
  for (const auto solve : {cgrad, cgradA, cgradAAt}) {
    EXPECT_EQ(warned(solve, 3, 0, 3), "");
    EXPECT_EQ(warned(solve, 3, 3, 0), "");
  }
}

}  // namespace
