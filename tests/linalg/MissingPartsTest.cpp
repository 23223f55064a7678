// Matrices whose storage, rows or elements are missing: the operations leave out what is not there.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>

#include "limber/foundation/Output.h"
#include "limber/linalg/GaussJordan.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/STMLapack.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/SparseProducts.h"
#include "limber/linalg/WierdMatrices.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"

namespace {

// A matrix that keeps the storage of 3 x 3 elements while it has none.
ResizeMatrix withoutElements(int rows, int columns) {
  ResizeMatrix m(3, 3);
  m.grow(rows, columns);
  return m;
}

TEST(MissingParts, ABandWithoutSomeOfItsRowsHasZerosThere) {
  BandedMatrix band(5, 4);
  for (int i = 0; i < 5; ++i) band.e(i, i) = 1.0 + i;
  double* const kept = band.data[1];
  band.data[1] = nullptr;
  EXPECT_EQ(band.acc(1, 1), 0.0);
  EXPECT_EQ(band.acc(2, 2), 3.0);
  Vector x(5), y;
  x = 1.0;
  band.mult(&x, &y);
  expectElements(y, {1, 0, 3, 4, 5});
  band.multT(&x, &y);
  expectElements(y, {1, 0, 3, 4, 5});
  band.scalar(2.0);
  CapturedOutput output;
  band.printVals();
  EXPECT_EQ(output.out(), "0 0 2 0 \n\n0 0 6 0 \n0 0 8 0 \n0 0 10 0 \n");
  band.zero();
  EXPECT_EQ(band.acc(4, 4), 0.0);
  EXPECT_EQ(kept[2], 2.0);
  band.data[1] = kept;
}

TEST(MissingParts, ABandLeavesOutTheElementsThatItsVectorLacks) {
  BandedMatrix band(6, 4);
  for (int i = 0; i < 6; ++i) {
    band.e(i, i) = 2.0;
    if (i < 5) band.e(i, i + 1) = 1.0;
  }
  Vector x(2), y;  // with room for four elements
  x[0] = 3.0;
  x[1] = 5.0;
  band.mult(&x, &y);
  ASSERT_EQ(y.size(), 6);
  EXPECT_EQ(y[0], 11.0);
  EXPECT_EQ(y[1], 10.0);
  EXPECT_EQ(y[4], 0.0);
  EXPECT_EQ(y[5], 0.0);
}

TEST(MissingParts, RowsThatAreNullAreLeftOut) {
  SpVec second = rowOf({{2, 5.0}}), empty;
  HSpMat m(4);
  m.rows[1] = &second;
  m.rows[3] = &empty;
  EXPECT_EQ(m.width(), 3);
  EXPECT_EQ(m.left(), 2);
  EXPECT_EQ(m.acc(0, 2), 0.0);
  EXPECT_EQ(m.acc(1, 2), 5.0);
  m.scalar(2.0);
  EXPECT_EQ(second.v(2), 10.0);
  CapturedOutput output;
  m.print();
  const std::string onlyRows = output.out();
  output.clear();
  second.print();
  empty.print();
  EXPECT_EQ(onlyRows, output.out());
  output.clear();
  m.portray();
  const std::string pictures = output.out();
  output.clear();
  second.portray(3);
  stdoutPrintf("\n");
  empty.portray(3);
  stdoutPrintf("\n");
  EXPECT_EQ(pictures, output.out());
  output.clear();
  m.printStats();
  EXPECT_EQ(output.out(), "HSpMat (4 3) (1 non-zero, 100 total MaqSq)\n");
}

TEST(MissingParts, ARowEndsBehindItsLastEntryWhateverItsStorageHolds) {
  SpVec row = rowOf({{0, 2.0}, {1, 3.0}, {2, 5.0}});
  row.numEntries = 2;
  Vector v(3);
  v = 1.0;
  EXPECT_EQ(dot(row, &v), 5.0);
}

TEST(MissingParts, ConvertingAndMultiplyingLeavesOutMissingRows) {
  SpVec first = rowOf({{0, 2.0}, {3, 4.0}});
  HSpMat m(2);
  m.rows[0] = &first;
  ResizeMatrix dense(1, 1);
  convertMat(m, dense);
  EXPECT_EQ(elementsOf(dense), (std::vector<std::vector<double>>{{2, 0, 0, 4}, {0, 0, 0, 0}}));
  first.compact(0.0);  // the width now excludes the last entry
  convertMat(m, dense);
  EXPECT_EQ(elementsOf(dense), (std::vector<std::vector<double>>{{2, 0, 0}, {0, 0, 0}}));

  FullMatrix a = matrixOf({{3, 1}}), out(2, 2);
  out.e(1, 0) = 9.0;
  multT(a, m, out);  // a has neither a second row nor a fourth column
  EXPECT_EQ(elementsOf(out), (std::vector<std::vector<double>>{{6, 0}, {0, 0}}));
  FullMatrix none(0, 0);
  multT(a, m, none);
  multT(m, m, none);
  EXPECT_EQ(none.data, nullptr);
}

TEST(MissingParts, ADenseMatrixWithoutStorageHasNoElements) {
  const FullMatrix none(0, 3), rows(2, 0);
  EXPECT_EQ(none.acc(0, 0), 0.0);
  Vector v(2);
  none.column(1, &v);
  EXPECT_EQ(v.size(), 0);
  EXPECT_EQ(capturedStdout([&rows] {
              rows.print(stdout);
              std::fflush(stdout);
            }),
            "\n\n");
  CapturedOutput output;
  rows.printC(0, "%g ");
  EXPECT_EQ(output.out(), "\n\n");
}

TEST(MissingParts, AMatrixOfKind1AnswersEachElementWithAMessage) {
  FullMatrix m = matrixOf({{1, 2}, {3, 4}});
  m.kind = 1;
  double got = 5.0;
  const std::string said = capturedStderr([&] { got = m(0, 1); });
  EXPECT_EQ(got, 0.0);
  EXPECT_EQ(said, " FullMatrix::operator() : out of bounds access (0 1) (2 2)\n");
}

TEST(MissingParts, AMatrixThatIsTooLargeForTheAddressSpaceIsEmpty) {
  CapturedOutput output;
  const FullMatrix m(INT_MAX, INT_MAX);
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.rows(), 0);
  EXPECT_NE(output.err().find("NEW fails - memory problem"), std::string::npos);
}

TEST(MissingParts, TheRangeOfTheDiagonalHasBothItsEnds) {
  const FullMatrix m = matrixOf({{1, 9, 9, 9}, {9, 3, 9, 9}, {9, 9, -2, 9}, {9, 9, 9, 2}});
  double low = 0.0, high = 0.0;
  m.traceRange(low, high);
  EXPECT_EQ(low, -2.0);
  EXPECT_EQ(high, 3.0);
}

// The argument is an array with a vector for each column.
TEST(MissingParts, EliminationSkipsTheElementsThatTheRightHandSideLacks) {
  FullMatrix A(6, 6);
  for (int i = 0; i < 6; ++i) A.e(i, 5 - i) = 2.0;  // every step swaps rows
  A.e(0, 0) = 1.0;
  FullMatrix same(A);
  Vector b[6];  // with room for four elements each
  b[0].grow(2);
  b[0][0] = 3.0;
  gaussj(A, nullptr, b);
  EXPECT_EQ(b[0].size(), 2);
  gaussj(same, nullptr, nullptr);
  EXPECT_EQ(elementsOf(A), elementsOf(same));
  FullMatrix none(0, 0);
  gaussj(none, nullptr, b);
  EXPECT_EQ(none.data, nullptr);
}

TEST(MissingParts, LapackFindsNothingToDoWithoutRowsOrColumns) {
  ResizeMatrix rows = withoutElements(0, 3), columns = withoutElements(3, 0);
  ASSERT_TRUE(rows.data && columns.data);
  Vector tau(3), b(3);
  b = 4.0;
  EXPECT_EQ(cholFactorBanded(&columns), -3);
  EXPECT_EQ(cholSolveBanded(&columns, &b), -3);
  EXPECT_EQ(cholCondEst(&columns), 0.0);
  CapturedOutput output;
  EXPECT_EQ(qrFactor(&rows, &tau), 0);
  EXPECT_EQ(qObtain(&rows, &tau), 0);
  EXPECT_EQ(qtransTimes(&rows, &tau, &b), 0);
  FullMatrix lu = matrixOf({{2, 0, 0}, {0, 2, 0}, {0, 0, 2}});
  long pivots[3];
  EXPECT_EQ(luFactor(&lu, pivots), 0);
  EXPECT_EQ(luSolve(&lu, pivots, &columns), 0);
  EXPECT_EQ(columns.rows(), 3);
  EXPECT_EQ(columns.columns(), 0);
  FullMatrix noRows(0, 4);
  solveUTri(&lu, &columns, 3);
  matrixMultiply(&lu, &columns, &columns);
  matrixMultiply(&rows, &lu, &rows);
  solveUTri(&lu, &noRows, 0);
  EXPECT_EQ(elementsOf(lu), (std::vector<std::vector<double>>{{2, 0, 0}, {0, 2, 0}, {0, 0, 2}}));
}

TEST(MissingParts, LapackFindsNothingToDoWithoutStorage) {
  FullMatrix square(3, 3);
  delete[] square.data;
  square.data = nullptr;
  FullMatrix other = matrixOf({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
  Vector tau(3);
  long pivots[3];
  CapturedOutput output;
  EXPECT_EQ(qrFactor(&square, &tau), 0);
  EXPECT_EQ(luFactor(&square, pivots), 0);
  EXPECT_EQ(cholFactorBanded(&square), 0);
  matrixMultiply(&other, &other, &square);
  EXPECT_EQ(square.data, nullptr);
}

TEST(MissingParts, SingularValuesOfAWideMatrixFillTheirRoom) {
  FullMatrix A = matrixOf({{3, 0, 0, 0, 4}, {0, 2, 0, 0, 0}}), U(2, 2), S(1, 2), Vt(5, 5);
  CapturedOutput output;
  EXPECT_EQ(svdDecomp(&A, &U, &S, &Vt), 0);
  EXPECT_NEAR(S.e(0, 0), 5.0, 1e-13);
  EXPECT_NEAR(S.e(0, 1), 2.0, 1e-13);
}

TEST(MissingParts, OnlySquareMatricesHaveAnInverse) {
  for (const int columns : {500, 600}) {  // more than the fixed workspace, twice
    FullMatrix m(1000, columns);
    m.e(999, columns - 1) = 3.0;
    EXPECT_EQ(m.invert(), 0);
    EXPECT_EQ(m.kind, 1);
    EXPECT_EQ(m.e(999, columns - 1), 3.0);
  }
}

TEST(MissingParts, StatisticsOfAQuadraticProgramLeaveOutMissingRows) {
  FullMatrix h = matrixOf({{3, 0}, {0, 8}}), dense = matrixOf({{1, 2}});
  SpVec row = rowOf({{0, 3.0}, {1, 4.0}});
  HSpMat j(2);
  j.rows[1] = &row;
  SQPMatrix q(&h, &j), unknown(&h, &dense);
  CapturedOutput output;
  qpMatStats(&q);
  EXPECT_NE(output.out().find("Constraint Jacobian 2 entries\n   \\\\    max row mag=5\n"), std::string::npos)
      << output.out();
  output.clear();
  qpMatStats(&unknown);
  EXPECT_NE(output.out().find("Constraint Jacobian 0 entries\n   \\\\    max row mag=0\n"), std::string::npos)
      << output.out();
}

class NoRows : public SpMat {
 public:
  int height() const override { return 0; }
  int width() const override { return 3; }
  double acc(int, int) const override { return 7.0; }
};

TEST(MissingParts, ASlicedMatrixWithoutRowsHasATransposedProductOfZeros) {
  const SlicedMatrix sliced{NoRows()};
  EXPECT_EQ(sliced.height(), 0);
  ASSERT_EQ(sliced.width(), 3);
  Vector x(1), y(3);
  y = 5.0;
  sliced.multT(&x, &y);
  expectElements(y, {0, 0, 0});
  sliced.mult(&x, &y);
  EXPECT_EQ(y.size(), 0);
}

// With an infinity among the values, a row is left out only where its factor is tiny.
TEST(MissingParts, ASlicedMatrixWithAnInfinityLeavesOutEntriesBehindItsWidth) {
  OwnRows rows({{{0, 2.0}, {4, 3.0}}, {{1, HUGE_VAL}}, {}, {{2, 7.0}}});
  rows.rows[0]->compact(0.0);  // the width now excludes the last entry
  const SlicedMatrix sliced(rows.matrix);
  ASSERT_EQ(sliced.width(), 4);
  Vector x(4), y;
  x[0] = 5.0;
  x[2] = x[3] = 3.0;
  sliced.multT(&x, &y);
  expectElements(y, {10, 0, 21, 0});
}

}  // namespace
