// Functions with a null operand do nothing, or what their documentation says.
#include <gtest/gtest.h>

#include "limber/linalg/GaussJordan.h"
#include "limber/linalg/STMLapack.h"
#include "limber/linalg/SparseDot.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"

namespace {

Vector* const noVector = nullptr;
FullMatrix* const noMatrix = nullptr;

TEST(NullOperands, LeaveAVectorAsItIs) {
  Vector v = vectorOf({1, 2, 3}), w = vectorOf({4, 5, 6});
  v = static_cast<const Vector*>(nullptr);
  v += noVector;
  v -= noVector;
  v /= noVector;
  v.scaleAdd(2.0, noVector);
  v.sum(noVector, &w);
  v.sum(&w, noVector);
  scaleAdd(&v, 2.0, noVector);
  scaleCopy(2.0, noVector, &v);
  expectElements(v, {1, 2, 3});
  scaleAdd(noVector, 2.0, &v);
  scaleCopy(2.0, &v, noVector);
  EXPECT_EQ(dot(noVector, &v), 0.0);
  EXPECT_EQ(dot(&v, noVector), 0.0);
  EXPECT_EQ(magSq(noVector), 0.0);
}

TEST(NullOperands, LeaveARowAsItIs) {
  SpVec row = rowOf({{1, 3.0}, {2, 4.0}}), out = row;
  EXPECT_EQ(row.weightedL2(nullptr), 25.0);
  row.scatter(nullptr);
  row.gather(nullptr);
  row.scatterAdd(nullptr, 2.0);
  row.sprint(nullptr);
  EXPECT_EQ(entriesOf(row), (Entries{{1, 3.0}, {2, 4.0}}));
  EXPECT_EQ(dot(row, noVector), 0.0);
  EXPECT_EQ(dot(noVector, row), 0.0);
  Vector weights = vectorOf({1, 1, 1});
  EXPECT_EQ(sdot(nullptr, &row, &weights), 0.0);
  EXPECT_EQ(sdot(&row, nullptr, &weights), 0.0);
  EXPECT_EQ(sdot(&row, &row, nullptr), 25.0);
}

TEST(NullOperands, ReturnTheirArgumentOrNothing) {
  CapturedOutput output;
  FullMatrix a = matrixOf({{2, 0}, {0, 4}}), c(2, 2);
  Vector b = vectorOf({2, 4}), tau(2);
  long pivots[2] = {1, 2};
  matrixMultiply(nullptr, &a, &c);
  matrixMultiply(&a, nullptr, &c);
  matrixMultiply(&a, &a, nullptr);
  EXPECT_EQ(luFactor(noMatrix, pivots), 0);
  EXPECT_EQ(luFactor(&a, nullptr), -5);
  EXPECT_EQ(luInvert(noMatrix), 0);
  EXPECT_EQ(luInvert(noMatrix, pivots), 0);
  EXPECT_EQ(luInvert(&a, nullptr), -4);
  EXPECT_EQ(luSolve(noMatrix, pivots, &b), 0);
  EXPECT_EQ(luSolve(&a, nullptr, &b), -6);
  EXPECT_EQ(luSolve(&a, pivots, noVector), -7);
  EXPECT_EQ(luSolve(&a, pivots, noMatrix), -7);
  EXPECT_EQ(qrFactor(noMatrix, &tau), 0);
  EXPECT_EQ(qrFactor(&a, nullptr), -5);
  tau.grow(2);
  EXPECT_EQ(qtransTimes(noMatrix, &tau, &b), 0);
  EXPECT_EQ(qtransTimes(&a, nullptr, &b), -8);
  EXPECT_EQ(qtransTimes(&a, &tau, noVector), -9);
  EXPECT_EQ(qtransTimes(&a, &tau, noMatrix), -9);
  EXPECT_EQ(qObtain(noMatrix, &tau), 0);
  EXPECT_EQ(qObtain(&a, nullptr), -6);
  EXPECT_EQ(cholFactorBanded(nullptr), 0);
  EXPECT_EQ(cholSolveBanded(nullptr, &b), 0);
  EXPECT_EQ(cholSolveBanded(&a, nullptr), -7);
  EXPECT_EQ(cholCondEst(nullptr), 0.0);
  compactBanded(nullptr, &c, 2, 1);
  compactBanded(&a, nullptr, 2, 1);
  EXPECT_EQ(svdDecomp(nullptr, &a, &a, &a), -5);
  EXPECT_EQ(svdDecomp(&a, &a, nullptr, &a), -7);
  EXPECT_EQ(svdDecomp(&a, &a, &a, nullptr), -8);
  EXPECT_EQ(svdDecomp(&a, nullptr, &a, &a), -10);
  EXPECT_EQ(elementsOf(a), (std::vector<std::vector<double>>{{2, 0}, {0, 4}}));
  EXPECT_EQ(elementsOf(c), (std::vector<std::vector<double>>{{0, 0}, {0, 0}}));
  expectElements(b, {2, 4});
  gaussj(a, nullptr, nullptr);
  EXPECT_EQ(elementsOf(a), (std::vector<std::vector<double>>{{0.5, 0}, {0, 0.25}}));
}

}  // namespace
