// Each fast path is taken where it should be, and only there. The results do not show that, because they have
// the same bits either way. So this program counts the calls of functions inside the library: the linker
// (--wrap) replaces each of them by one that counts and then calls it.

#include <gtest/gtest.h>

#include <charconv>
#include <memory>
#include <string>
#include <utility>

#include "limber/foundation/detail/WideVectors.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/detail/WideInverse.h"
#include "limber/io/Reader.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/RowProducts.h"
#include "limber/linalg/detail/SlicedRows.h"
#include "limber/ode/RK4Solver.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/RowWalk.h"
#include "limber/solvers/detail/SolveMatrix.h"
#include "tests/ode/Systems.h"
#include "tests/solvers/RandomJacobian.h"
#include "tests/solvers/detail/DenseModel.h"
#include "tests/support/TemporaryFile.h"

using namespace limber::detail;

// Counts the calls of the function with this symbol in the variable NAME. A member function has its object as
// its first parameter here. The build reads the symbols from these lines.
#define COUNTED(name, symbol, result, parameters, arguments) \
  result real_##name parameters asm("__real_" symbol);       \
  result wrap_##name parameters asm("__wrap_" symbol);       \
  static int name;                                           \
  result wrap_##name parameters {                            \
    ++name;                                                  \
    return real_##name arguments;                            \
  }

// clang-format off
using Sums = double (*)[RowWalk::lanes];
COUNTED(walks, "_ZN6limber6detail8walkRowsERKNS0_7RowWalkEiPA8_d",
        void, (const RowWalk& walk, int count, Sums sums), (walk, count, sums))
COUNTED(merges, "_Z4sdotP5SpVecS0_P6Vector",
        double, (SpVec* a, SpVec* b, Vector* w), (a, b, w))
COUNTED(rowProducts, "_ZN6limber6detail15rowsTimesVectorEPKP5SpVeciRK6VectorPd",
        void, (SpVec* const* rows, int n, const Vector& x, double* y), (rows, n, x, y))
COUNTED(normalRowProducts, "_ZN6limber6detail21normalRowsTimesVectorEPKP5SpVeciRK6VectordRS5_S8_",
        void, (SpVec* const* rows, int n, const Vector& x, double s, Vector& t, Vector& y), (rows, n, x, s, t, y))
COUNTED(slicedProducts, "_ZNK6limber6detail10SlicedRows8multiplyEPKdPd",
        void, (const SlicedRows* rows, const double* x, double* y), (rows, x, y))
COUNTED(slicedProductsWithoutTiny, "_ZNK6limber6detail10SlicedRows19multiplyWithoutTinyEPKdPd",
        void, (const SlicedRows* rows, const double* x, double* y), (rows, x, y))
COUNTED(slicedProductsInside, "_ZNK6limber6detail10SlicedRows14multiplyInsideEPKdibPd",
        void, (const SlicedRows* rows, const double* x, int room, bool tiny, double* y), (rows, x, room, tiny, y))
COUNTED(slicedNormalProducts, "_ZNK6limber6detail10SlicedRows14multiplyNormalEPKddPdS4_",
        void, (const SlicedRows* rows, const double* x, double s, double* t, double* y), (rows, x, s, t, y))
COUNTED(scaledAdditions, "_ZN6Vector8scaleAddEdPS_",
        void, (Vector* y, double s, Vector* x), (y, s, x))
COUNTED(conversions, "_ZSt10from_charsPKcS0_RdSt12chars_format",
        std::from_chars_result, (const char* from, const char* to, double& x, std::chars_format f), (from, to, x, f))
COUNTED(slowConversions, "_ZN6limber6detail7cStrtodEPKcPPc",
        double, (const char* from, char** end), (from, end))
// clang-format on

namespace {

// A band matrix with `entries` in each row.
Jacobian band(int rows, int entries) {
  Jacobian J(7);
  for (int i = 0; i < rows; ++i) J.addRow(i, entries, 1.0);
  return J;
}

// Counts the walks and the merges that make all dot products of J's rows.
void makeDots(const Jacobian& J) {
  walks = merges = 0;
  const std::unique_ptr<ResizeMatrix> dots(buildJJt(&J.matrix, nullptr, nullptr, nullptr, 0.0));
}

TEST(FastPaths, DotsOfRowsWithTheSameIndicesAreWalkedFourRowsAtATime) {
  Jacobian J(1);
  J.addFrames(1, 24, 5, 0);
  makeDots(J);
  // Three panels of eight rows, each against itself and the rows below it.
  EXPECT_EQ(walks, 6 + 4 + 2);
  EXPECT_EQ(merges, 0);
}

TEST(FastPaths, DotsOfRowsWithOtherIndicesAreWalkedRowByRow) {
  makeDots(band(24, 5));
  EXPECT_EQ(walks, 24 + 16 + 8);
  EXPECT_EQ(merges, 0);
}

TEST(FastPaths, OnlyTheDotsOfARowThatIsNotInOrderAreMerged) {
  const Jacobian J = band(24, 5);
  std::swap(J.rows[20]->indices.data[1], J.rows[20]->indices.data[2]);
  makeDots(J);
  EXPECT_EQ(walks, 23 + 15 + 7);
  // Row 20 with all rows; its dot with itself needs no merge. In its own panel it meets each row twice.
  EXPECT_GE(merges, 23);
  EXPECT_LE(merges, 23 + 8);
}

TEST(FastPaths, RowsThatReachTooFarForAPanelAreMerged) {
  Jacobian J(2);
  for (int i = 0; i < 8; ++i) {
    J.addRow(i, 3, 1.0);
    J.rows.back()->ins(1.5, 65536 + i);
  }
  makeDots(J);
  EXPECT_EQ(walks, 0);
  EXPECT_GE(merges, 28);
}

// How many of 20 products of a solve with this matrix use its rows as they are; the others use a copy.
int productsWithoutCopy(const Jacobian& J) {
  const SolveMatrix A(&J.matrix);
  Vector x(J.matrix.width()), y(J.matrix.numRows);
  x = 1.0;
  rowProducts = slicedProducts = 0;
  for (int product = 0; product < 20; ++product) A.mult(&x, &y);
  EXPECT_EQ(rowProducts + slicedProducts, 20);
  return rowProducts;
}

TEST(FastPaths, ALongSolveMultipliesByACopy) {
  EXPECT_EQ(productsWithoutCopy(band(32, 5)), 9);
  EXPECT_EQ(productsWithoutCopy(band(31, 5)), 20) << "the rows are in the nearest cache anyway";
  EXPECT_EQ(productsWithoutCopy(band(1023, 128)), 9);
  EXPECT_EQ(productsWithoutCopy(band(1024, 128)), 3) << "2^17 entries";
}

TEST(FastPaths, ALongSolveOfNormalEquationsMultipliesByACopyInOnePass) {
  const Jacobian J = band(100, 5);
  const SolveMatrix A(&J.matrix);
  Vector x(J.matrix.width()), t(100), y(J.matrix.width());
  x = 1.0;
  normalRowProducts = slicedNormalProducts = 0;
  for (int product = 0; product < 10; ++product) A.normalMult(&x, 0.0, &t, &y);
  EXPECT_EQ(normalRowProducts, 4) << "each counts as two products";
  EXPECT_EQ(slicedNormalProducts, 6);
}

TEST(FastPaths, AnIterativeMethodOfTheFrontDoorMultipliesByACopyFromItsFourthProduct) {
  Dense identity(40, 40);
  for (int i = 0; i < 40; ++i) identity(i, i) = 1.0;
  const SparseRows rows = identity.rows();
  RowsMap map(rows);
  double x[40] = {}, y[40];
  slicedProducts = 0;
  for (int product = 1; product < 4; ++product) map.multiply(x, y);
  EXPECT_EQ(slicedProducts, 0);
  for (int product = 4; product <= 20; ++product) map.multiply(x, y);
  EXPECT_EQ(slicedProducts, 17);
}

TEST(FastPaths, ASlicedMatrixChecksIndicesOnlyWhereAnOperandIsTooShort) {
  const Jacobian J = band(40, 5);
  const SlicedMatrix A(J.matrix);
  Vector x(A.width()), shortX(A.width() - 1), y(A.height()), shortY(A.height() - 1), out(0);
  slicedProducts = slicedProductsWithoutTiny = slicedProductsInside = 0;
  A.mult(&x, &out);
  EXPECT_EQ(slicedProducts, 1);
  A.multT(&y, &out);
  EXPECT_EQ(slicedProductsWithoutTiny, 1);
  EXPECT_EQ(slicedProductsInside, 0);
  A.mult(&shortX, &out);
  A.multT(&shortY, &out);
  EXPECT_EQ(slicedProductsInside, 2);
}

TEST(FastPaths, AUsualMatrixIsInvertedInWideRegisters) {
  double m[16] = {4, 1, 0, 2, 1, 5, 1, 0, 0, 1, 6, 1, 2, 0, 1, 7};
  EXPECT_EQ(invertWide(m), useWideVectors());
}

TEST(FastPaths, AStepOfRungeKuttaNeedsNoPassOfItsOwnForEachVector) {
  Decay decay;
  RK4Solver solver(&decay, 20);
  Vector x(20);
  x = 1.0;
  scaledAdditions = 0;
  solver.step(&x, 0.0, 0.1);
  EXPECT_EQ(scaledAdditions, 0);
}

// Reads the words of `text` as numbers. Sets the counts of the two slower conversions.
void read(const std::string& text) {
  const TemporaryDirectory directory;
  Reader reader(directory.write("numbers.txt", text).c_str(), nullptr);
  conversions = slowConversions = 0;
  double number;
  while (reader.getReal(number, 0)) {
  }
}

TEST(FastPaths, DecimalsAreReadWithoutTheLibraryOfTheCompiler) {
  read("0 7 -12 3.25 -0.001 1234567.125 0.1234567890123456 123456.7890123456 9.9999999\n");
  EXPECT_EQ(conversions, 0);
  EXPECT_EQ(slowConversions, 0);
}

TEST(FastPaths, ExponentsLongIntegersAndManyDigitsAreReadByFromChars) {
  read("1e5 -2.5e-7 17976931348623157 3.14159265358979323846264338327950288\n");
  EXPECT_EQ(conversions, 4);
  EXPECT_EQ(slowConversions, 0);
}

TEST(FastPaths, OnlyWordsThatFromCharsReadsOtherwiseAreReadByStrtod) {
  read("0x1p3 1e999 -1e-999 0x10\n");
  EXPECT_EQ(slowConversions, 4);
}

}  // namespace
