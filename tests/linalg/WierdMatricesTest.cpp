#include "limber/linalg/WierdMatrices.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>

#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(IdentityMatrix, n) == sizeof(void*));
static_assert(offsetof(IdentityMatrix, s) == 2 * sizeof(void*));
static_assert(offsetof(DiagonalMatrix, diag) == sizeof(void*));
static_assert(offsetof(DiagonalMatrix, owns) == 2 * sizeof(void*));
static_assert(offsetof(BandedMatrix, maxRows) == sizeof(void*));
static_assert(offsetof(BandedMatrix, rows) == sizeof(void*) + sizeof(int));
static_assert(offsetof(BandedMatrix, maxWidth) == sizeof(void*) + 2 * sizeof(int));
static_assert(offsetof(BandedMatrix, bw) == sizeof(void*) + 3 * sizeof(int));
static_assert(offsetof(BandedMatrix, data) == sizeof(void*) + 4 * sizeof(int));
static_assert(offsetof(SQPMatrix, H) == sizeof(void*));
static_assert(offsetof(SQPMatrix, J) == 2 * sizeof(void*));
static_assert(offsetof(SQPMatrix, hessianShift) == 3 * sizeof(void*));
static_assert(offsetof(SQPMatrix, lowerDiagonal) == 3 * sizeof(void*) + sizeof(double));
#pragma GCC diagnostic pop

// On a const matrix the three do not compile, because they would call the interface's operations.
template <class M, class = void>
constexpr bool hasSizes = false;
template <class M>
constexpr bool
    hasSizes<M, std::void_t<decltype(std::declval<M&>().height()), decltype(std::declval<M&>().width()),
                            decltype(std::declval<M&>().acc(0, 0))>> = true;
static_assert(hasSizes<IdentityMatrix> && !hasSizes<const IdentityMatrix>);
static_assert(hasSizes<DiagonalMatrix> && !hasSizes<const DiagonalMatrix>);
static_assert(hasSizes<BandedMatrix> && !hasSizes<const BandedMatrix>);
static_assert(hasSizes<SQPMatrix> && !hasSizes<const SQPMatrix>);

// Through an SpMat&, height, width and acc are the operations of the interface.
void expectInterfaceWarnings(SpMat& m) {
  CapturedOutput output;
  EXPECT_EQ(m.height(), 0);
  EXPECT_EQ(m.width(), 0);
  EXPECT_EQ(m.acc(0, 0), 0.0);
  ASSERT_EQ(output.errCalls().size(), 9u);
  EXPECT_EQ(output.errCalls()[1], "Function (generic sparse matrix height) not implemented");
  EXPECT_EQ(output.errCalls()[4], "Function (generic sparse matrix width) not implemented");
  EXPECT_EQ(output.errCalls()[7], "Function (generic sparse matrix acc) not implemented");
}

#if !defined(_WIN32)
// The new operations are in the slots after the eight of the interface.
template <class M>
void expectSlots(M& m, int size) {
  void** const table = *reinterpret_cast<void***>(static_cast<SpMat*>(&m));
  EXPECT_EQ(reinterpret_cast<int (*)(M*)>(table[8])(&m), size);
  EXPECT_EQ(reinterpret_cast<int (*)(M*)>(table[9])(&m), size);
  EXPECT_EQ(reinterpret_cast<double (*)(M*, int, int)>(table[10])(&m, 0, 0), m.acc(0, 0));
}
#else
template <class M>
void expectSlots(M&, int) {}
#endif

TEST(IdentityMatrix, IsTheScaledIdentity) {
  IdentityMatrix m(4);
  EXPECT_EQ(m.s, 1.0);
  EXPECT_EQ(m.height(), 4);
  EXPECT_EQ(m.width(), 4);
  m.s = 2.5;
  EXPECT_EQ(m.acc(2, 2), 2.5);
  EXPECT_EQ(m.acc(2, 3), 0.0);
}

TEST(IdentityMatrix, MultScalesIntoAVectorOfTheSameSize) {
  IdentityMatrix m(2);
  m.s = 3.0;
  Vector x = vectorOf({1, 2, 5}), y = vectorOf({9, 9, 9, 9});
  m.mult(&x, &y);
  expectElements(y, {3, 6, 15});
}

TEST(IdentityMatrix, ReachesTheInterfaceThroughTheBase) {
  IdentityMatrix m(4);
  m.s = 2.0;
  expectInterfaceWarnings(m);
  expectSlots(m, 4);
}

TEST(IdentityMatrix, InheritsWhatItDoesNotList) {
  IdentityMatrix m(1);
  CapturedOutput output;
  Vector x(1), y(1);
  m.multT(&x, &y);
  m.scalar(2.0);
  ASSERT_EQ(output.errCalls().size(), 6u);
  EXPECT_EQ(output.errCalls()[1], "Function (generic sparse matrix multT) not implemented");
  EXPECT_EQ(output.errCalls()[4], "Function (generic SpMat scalar) not implemented");
}

TEST(IdentityMatrix, CopiesItsFields) {
  IdentityMatrix m(3), other(1);
  m.s = 4.0;
  const IdentityMatrix copy(m);
  other = m;
  EXPECT_EQ(copy.n, 3);
  EXPECT_EQ(copy.s, 4.0);
  EXPECT_EQ(other.n, 3);
  EXPECT_EQ(other.s, 4.0);
}

TEST(DiagonalMatrix, UsesTheCallersVector) {
  Vector d = vectorOf({1, 2, 3});
  DiagonalMatrix m(&d);
  EXPECT_EQ(m.owns, 0);
  EXPECT_EQ(m.diag, &d);
  EXPECT_EQ(m.height(), 3);
  EXPECT_EQ(m.width(), 3);
  EXPECT_EQ(m.acc(1, 1), 2.0);
  EXPECT_EQ(m.acc(1, 2), 0.0);
  EXPECT_EQ(m.acc(3, 3), 0.0);
  EXPECT_EQ(m.acc(-1, -1), 0.0);
}

TEST(DiagonalMatrix, OfASizeOwnsZeros) {
  DiagonalMatrix m(7);
  EXPECT_EQ(m.owns, 1);
  EXPECT_EQ(m.height(), 7);
  EXPECT_EQ(m.acc(6, 6), 0.0);
  expectInterfaceWarnings(m);
  expectSlots(m, 7);
}

TEST(DiagonalMatrix, MultFillsOneResultVectorARow) {
  Vector d = vectorOf({2, 3});
  DiagonalMatrix m(&d);
  Vector x = vectorOf({10, 100});
  Vector y[2] = {vectorOf({9, 9, 9}), vectorOf({9})};
  m.mult(&x, y);
  expectElements(y[0], {20, 20, 20});
  expectElements(y[1], {300});
}

TEST(DiagonalMatrix, MultReadsTheSlotsBehindTheShorterOperand) {
  Vector d = vectorOf({1, 2, 3, 4, 5});
  DiagonalMatrix m(&d);
  Vector x = vectorOf({1, 1, 7, 8});
  x.grow(2);  // the storage still holds 7 and 8; it ends before slot 4
  Vector y[5] = {vectorOf({9}), vectorOf({9}), vectorOf({9}), vectorOf({9}), vectorOf({9})};
  m.mult(&x, y);
  expectElements(y[2], {21});
  expectElements(y[3], {32});
  expectElements(y[4], {0});
}

TEST(DiagonalMatrix, MultWritesAsManyVectorsAsTheLongerOperand) {
  Vector d = vectorOf({2, 9});
  d.grow(1);  // the storage still holds 9
  DiagonalMatrix m(&d);
  Vector x = vectorOf({10, 100, 1, 1, 1});
  Vector y[5] = {vectorOf({7}), vectorOf({7}), vectorOf({7}), vectorOf({7}), vectorOf({7})};
  m.mult(&x, y);
  expectElements(y[0], {20});
  expectElements(y[1], {900});
  expectElements(y[4], {0});
}

TEST(DiagonalMatrix, CopiesShareTheVectorAndTheFlag) {
  std::optional<DiagonalMatrix> m(std::in_place, 9);
  DiagonalMatrix copy(*m), assigned(2);
  assigned = copy;
  DiagonalMatrix& same = assigned;
  assigned = same;
  EXPECT_EQ(copy.diag, m->diag);
  EXPECT_EQ(assigned.diag, m->diag);
  EXPECT_EQ(copy.owns, 1);
  m.reset();
  copy.diag->e(8) = 4.0;  // the vector still exists: two others hold it
  EXPECT_EQ(assigned.acc(8, 8), 4.0);
}

Vector quadraticX() { return vectorOf({1, 2, 3, 4, 5}); }

TEST(SQPMatrix, AssemblesItsBlocks) {
  FullMatrix h = matrixOf({{1, 2}, {2, 5}});
  OwnRows j({{{0, 7.0}}, {{1, 8.0}}, {{0, 9.0}, {1, 10.0}}});
  SQPMatrix q(&h, &j.matrix);
  EXPECT_EQ(q.hessianShift, 0.0);
  EXPECT_EQ(q.lowerDiagonal, 0.0);
  q.hessianShift = 0.5;
  q.lowerDiagonal = -3.0;
  EXPECT_EQ(q.height(), 5);
  EXPECT_EQ(q.width(), 5);
  const double expected[5][5] = {
      {1.5, 2, 7, 0, 9}, {2, 5.5, 0, 8, 10}, {7, 0, -3, 0, 0}, {0, 8, 0, -3, 0}, {9, 10, 0, 0, -3}};
  for (int r = 0; r < 5; ++r)
    for (int c = 0; c < 5; ++c) EXPECT_EQ(q.acc(r, c), expected[r][c]) << r << " " << c;
  expectInterfaceWarnings(q);
  expectSlots(q, 5);
}

TEST(SQPMatrix, ProductsAgreeWithItsElements) {
  FullMatrix h = matrixOf({{1, 2}, {2, 5}});
  OwnRows j({{{0, 7.0}}, {{1, 8.0}}, {{0, 9.0}, {1, 10.0}}});
  SQPMatrix q(&h, &j.matrix);
  q.hessianShift = 0.5;
  q.lowerDiagonal = -3.0;
  const Vector x = quadraticX();
  Vector y(9), yT;
  q.mult(&x, &y);
  q.multT(&x, &yT);
  std::vector<double> expected;
  for (int r = 0; r < 5; ++r) {
    double sum = 0.0;
    for (int c = 0; c < 5; ++c) sum += q.acc(r, c) * x[c];
    expected.push_back(sum);
  }
  expectElements(y, expected);  // whole numbers and halves: no rounding
  expectElements(yT, expected);
}

TEST(SQPMatrix, SmallProductAfterALargeOneHasNoLeftovers) {
  std::mt19937_64 random(31);
  FullMatrix large = randomMatrix(random, 60, 60), largeJ = randomMatrix(random, 20, 60);
  SQPMatrix q(&large, &largeJ);
  const Vector x = randomVector(random, 80);
  Vector y;
  q.mult(&x, &y);
  FullMatrix small = matrixOf({{2}}), smallJ = matrixOf({{3}});
  SQPMatrix s(&small, &smallJ);
  const Vector two = vectorOf({1, 10});
  s.mult(&two, &y);
  expectElements(y, {32, 3});
}

TEST(SQPMatrix, DenseJacobianMayBeTallerThanTheHessian) {
  FullMatrix h = matrixOf({{2}}), j = matrixOf({{3}, {4}, {5}});
  SQPMatrix q(&h, &j);
  const Vector x = vectorOf({1, 10, 100, 1000});
  Vector y;
  q.mult(&x, &y);
  expectElements(y, {5432, 3, 4, 5});
}

TEST(SQPMatrix, ShortOperandStaysInItsStorage) {
  FullMatrix h = matrixOf({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}), j = matrixOf({{1, 1, 1}, {1, 1, 1}});
  SQPMatrix q(&h, &j);
  Vector x(1), y;
  x = 0.0;
  for (double& slot : x.localData) slot = 0.0;
  x[0] = 1.0;
  q.mult(&x, &y);
  expectElements(y, {1, 0, 0, 1, 1});
}

TEST(SQPMatrix, CompactIsTheSharedRowSparseImage) {
  FullMatrix h = matrixOf({{1, 0}, {0, 5}});
  OwnRows j({{{1, 8.0}}});
  SQPMatrix q(&h, &j.matrix);
  SpMat* const image = q.compact(0.5, 0, 1);
  ASSERT_EQ(image->height(), 3);
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) EXPECT_EQ(image->acc(r, c), q.acc(r, c) + (r == c ? 0.5 : 0.0));
  EXPECT_EQ(static_cast<HSpMat*>(image)->row(0)->numEntries, 1);
  FullMatrix other = matrixOf({{1}});
  EXPECT_EQ(static_cast<SpMat&>(other).SpMat::compact(0.0, 0, 1), image);
}

TEST(SQPMatrix, CopiesShareTheBlocks) {
  FullMatrix h = matrixOf({{1}});
  OwnRows j({{{0, 8.0}}});
  SQPMatrix q(&h, &j.matrix), other(nullptr, nullptr);
  q.hessianShift = 2.0;
  const SQPMatrix copy(q);
  other = q;
  EXPECT_EQ(copy.H, &h);
  EXPECT_EQ(other.J, &j.matrix);
  EXPECT_EQ(other.hessianShift, 2.0);
}

TEST(SQPMatrix, StatisticsPrintFiveLines) {
  FullMatrix h = matrixOf({{3, 4}, {0, -2}});
  OwnRows j({{{0, 6.0}, {1, 8.0}}, {{1, 1.0}}});
  SQPMatrix q(&h, &j.matrix);
  CapturedOutput output;
  qpMatStats(&q);
  EXPECT_EQ(output.outCalls(),
            (std::vector<std::string>{"   // QP Matrix size 4 x 4. 9 entries (56.25%)\n",
                                      "  //  Hessian (2 2), 3 entries. Range (-2->4). Abs range=(0 4)\n",
                                      "  ||      row mag=(5->2)\n", "  \\\\  Constraint Jacobian 3 entries\n",
                                      "   \\\\    max row mag=10\n"}));
}

// 4 and 5 entries: 4 + 2 * 5 is neither 4 * 5 nor 4 + 5. All other numbers differ from each other too.
TEST(SQPMatrix, StatisticsCountTheJacobianTwice) {
  FullMatrix h = matrixOf({{3, 0, -1}, {0, 8, 0}, {0.5, 0, 0}});
  OwnRows j({{{0, 2.0}, {1, 1.0}, {2, -2.0}}, {{0, 6.0}, {2, 8.0}}});
  SQPMatrix q(&h, &j.matrix);
  CapturedOutput output;
  qpMatStats(&q);
  EXPECT_EQ(output.out(),
            "   // QP Matrix size 5 x 5. 14 entries (56%)\n"
            "  //  Hessian (3 3), 4 entries. Range (-1->8). Abs range=(0 8)\n"
            "  ||      row mag=(8->0.5)\n"
            "  \\\\  Constraint Jacobian 5 entries\n"
            "   \\\\    max row mag=10\n");
}

TEST(SQPMatrix, StatisticsOfNoHessianShowWhereTheMinimaStart) {
  FullMatrix h(0, 0);
  OwnRows j({{{0, 2.0}}});
  SQPMatrix q(&h, &j.matrix);
  CapturedOutput output;
  qpMatStats(&q);
  EXPECT_EQ(output.outCalls()[1], "  //  Hessian (0 0), 0 entries. Range (0->0). Abs range=(1e+19 0)\n");
  EXPECT_EQ(output.outCalls()[2], "  ||      row mag=(0->1e+19)\n");
}

TEST(SQPMatrix, StatisticsRangeAlwaysIncludesZero) {
  FullMatrix h = matrixOf({{3}});
  OwnRows j;
  SQPMatrix q(&h, &j.matrix);
  CapturedOutput output;
  qpMatStats(&q);
  EXPECT_EQ(output.outCalls()[1], "  //  Hessian (1 1), 1 entries. Range (0->3). Abs range=(3 3)\n");
}

}  // namespace
