#include <gtest/gtest.h>

#include <optional>

#include "limber/linalg/Compact.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/WierdMatrices.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/allocations/Allocations.h"

namespace {

using Rows = std::vector<std::vector<double>>;

// Calls `make` for the operands of `work`, then runs `work` with its k-th allocation failing, for k = 0, 1,
// ... until none fails. `check` is called after each failure. Returns how many allocations there were.
template <class Make, class Work, class Check>
int failEachInTurn(Make make, Work work, Check check) {
  for (int k = 0;; ++k) {
    auto subject = make();
    CapturedOutput output;
    bool happened;
    {
      allocations::FailAt trap(k);
      work(*subject);
      happened = trap.happened();
    }
    if (!happened) {
      EXPECT_EQ(output.err(), "");
      return k;
    }
    EXPECT_NE(output.err().find("NEW fails - memory problem\n"), std::string::npos) << output.err();
    check(*subject);
  }
}

void expectEmpty(const FullMatrix& m) {
  EXPECT_EQ(m.kind, 1);
  EXPECT_EQ(m.rows(), 0);
  EXPECT_EQ(m.columns(), 0);
  EXPECT_EQ(m.data, nullptr);
}

TEST(MatrixAllocation, FailedConstructionIsReportedAndLeavesAnEmptyMatrix) {
  const FullMatrix source = matrixOf({{1, 2}});
  CapturedOutput output;
  auto* const trap = new allocations::FailAt(0, true);
  const FullMatrix a(2, 2), b(9), copy(source);
  const ResizeMatrix c(3, 3), d(7);
  delete trap;
  ASSERT_EQ(output.errCalls().size(), 5u);
  for (const std::string& report : output.errCalls()) {
    EXPECT_EQ(report.rfind("FATAL ERROR@(Vectors:", 0), 0u) << report;
    EXPECT_NE(report.find("):NEW fails - memory problem\n"), std::string::npos) << report;
  }
  for (const FullMatrix* m :
       {&a, &b, &copy, static_cast<const FullMatrix*>(&c), static_cast<const FullMatrix*>(&d)})
    expectEmpty(*m);
  EXPECT_EQ(c.allocated, 0);
  EXPECT_EQ(d.allocated, 0);
}

TEST(MatrixAllocation, FailedOperationsLeaveAnEmptyMatrixThatWorks) {
  const FullMatrix other = matrixOf({{1, 2}, {3, 4}});
  const auto make = [] {
    auto m = std::make_unique<ResizeMatrix>(1, 1);
    m->grow(2, 2);
    m->identity();
    return m;
  };
  const auto check = [](ResizeMatrix& m) {
    expectEmpty(m);
    EXPECT_EQ(m.allocated, 0);
    m.grow(2, 2);
    m.identity();
    EXPECT_EQ(m.trace(), 2.0);
  };
  EXPECT_GE(failEachInTurn(
                make, [](ResizeMatrix& m) { m.grow(9, 9); }, check),
            1);
  EXPECT_GE(failEachInTurn(
                make, [](ResizeMatrix& m) { m.transposeInPlace(); }, check),
            1);
}

TEST(MatrixAllocation, FailedAssignmentLeavesAnEmptyMatrix) {
  const FullMatrix other = matrixOf({{1, 2}, {3, 4}});
  CapturedOutput output;
  FullMatrix m = matrixOf({{5}});
  {
    allocations::FailAt trap(0, true);
    m = other;
  }
  expectEmpty(m);
  m = other;
  EXPECT_EQ(elementsOf(m), (Rows{{1, 2}, {3, 4}}));
}

TEST(MatrixAllocation, FailedOperatorsReturnAnEmptyMatrix) {
  const FullMatrix a = matrixOf({{1, 2}, {3, 4}});
  CapturedOutput output;
  auto* const trap = new allocations::FailAt(0, true);
  const FullMatrix sum = a + a, difference = a - a, transposed = a.transpose();
  delete trap;
  EXPECT_EQ(output.errCalls().size(), 3u);
  for (const FullMatrix* m : {&sum, &difference, &transposed}) expectEmpty(*m);
}

TEST(MatrixAllocation, OperatorsMoveTheirResult) {
  const FullMatrix a = matrixOf({{1, 2}, {3, 4}});
  const long before = allocations::count();
  const FullMatrix sum = a + a;
  EXPECT_EQ(allocations::count(), before + 1);
}

TEST(MatrixAllocation, GrowWithinTheCapacityAllocatesNothing) {
  ResizeMatrix m(20, 20);
  const long before = allocations::count();
  for (int n = 0; n <= 20; ++n) m.grow(n, 20 - n);
  EXPECT_EQ(allocations::count(), before);
}

// Contract: n bytes, not n doubles.
TEST(MatrixAllocation, StorageOnlyClearsItsFirstNBytesOnly) {
  const FullMatrix m(6);
  const ResizeMatrix r(6);
  for (const FullMatrix* const one : {&m, static_cast<const FullMatrix*>(&r)}) {
    const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(one->data);
    for (int k = 0; k < 48; ++k) EXPECT_EQ(bytes[k], k < 6 ? 0 : allocations::freshByte) << k;
  }
}

TEST(MatrixAllocation, PoolOfCompactedRowsGrowsByTwiceWhatIsMissing) {
  // The other tests here use far fewer rows than 500.
  ResizeMatrix tall(3000, 1);
  naiveCompact(&tall, 0.0, 0, 1);
  tall.grow(5500, 1);
  tall.zero();
  const long before = allocations::count();
  naiveCompact(&tall, 0.0, 0, 1);
  EXPECT_LE(allocations::count() - before, 2) << "the pointer array may grow, the pool has its rows";
}

TEST(MatrixAllocation, RepeatedCompactionsAllocateNothing) {
  FullMatrix m(40, 30);
  m.identity();
  naiveCompact(&m, 0.0, 0, 1);
  const long before = allocations::count();
  for (int k = 0; k < 5; ++k) naiveCompact(&m, 1.0, 0, 1);
  EXPECT_EQ(allocations::count(), before);
}

TEST(MatrixAllocation, ProductsIntoFittingVectorsAllocateNothing) {
  std::mt19937_64 random(5);
  OwnRows m = OwnRows::random(random, 30, 20, 0.5);
  const Vector x = randomVector(random, 20), xT = randomVector(random, 30);
  Vector y(30), yT(20);
  const long before = allocations::count();
  m.matrix.mult(&x, &y);
  m.matrix.multT(&xT, &yT);
  EXPECT_EQ(allocations::count(), before);
}

TEST(MatrixAllocation, FailedRowArrayKeepsTheRowsThereWere) {
  SpVec row;
  CapturedOutput output;
  HSpMat m(0);
  {
    allocations::FailAt trap(0, true);
    m.add(&row);
    m.clear();
  }
  EXPECT_EQ(m.height(), 0);
  for (int i = 0; i < 6; ++i) m.add(&row);
  {
    allocations::FailAt trap(0, true);
    m.add(&row);
  }
  EXPECT_EQ(m.height(), 6);
  EXPECT_EQ(m.row(5), &row);
  EXPECT_EQ(output.errCalls().size(), 3u);
  auto* const trap = new allocations::FailAt(0, true);
  HSpMat sized(4);
  delete trap;
  EXPECT_EQ(sized.height(), 0);
}

TEST(MatrixAllocation, FailedTransposedProductIsEmpty) {
  OwnRows m({{{0, 1.0}}, {{99, 1.0}}});
  Vector x = vectorOf({1, 1}), y;
  CapturedOutput output;
  {
    allocations::FailAt trap(0, true);
    m.matrix.multT(&x, &y);
  }
  EXPECT_EQ(y.size(), 0);
  EXPECT_NE(output.err(), "");
}

TEST(MatrixAllocation, DenseImageAfterAFailureHasTheRowsThatFit) {
  FullMatrix m(3, 3);
  m.identity();
  for (int k = 0;; ++k) {
    CapturedOutput output;
    SpMat* image = nullptr;
    bool happened;
    {
      allocations::FailAt trap(k);
      image = m.compact(0.0, 0, 0);
      happened = trap.happened();
    }
    if (image) deleteImage(image);
    if (!happened) break;
    EXPECT_NE(output.err(), "");
  }
}

TEST(MatrixAllocation, NaiveImageAfterAFailureHasTheRowsThatFit) {
  FullMatrix tall(9000, 1);  // more rows than any test here has used
  for (int k : {0, 1, 2, 100, 5000}) {
    CapturedOutput output;
    {
      allocations::FailAt trap(k, true);
      naiveCompact(&tall, 1.0, 0, 1);
    }
    EXPECT_LE(naiveCompact(&tall, 1.0, 0, 1)->height(), 9000);
  }
  EXPECT_EQ(naiveCompact(&tall, 1.0, 0, 1)->height(), 9000);
}

TEST(MatrixAllocation, FailedBandIsReportedWithItsLineAndEmpty) {
  const char* const message = "ERR: Can't allocated banded matrix! @ (WierdMatrices:";
  for (int k = 0; k < 4; ++k) {
    CapturedOutput output;
    auto* const trap = new allocations::FailAt(k);
    BandedMatrix m(3, 4);
    delete trap;
    EXPECT_EQ(output.err(), message + std::string(k == 0 ? "270)\n" : "274)\n"));
    EXPECT_EQ(m.height(), 0);
    EXPECT_EQ(m.data, nullptr);
    m.zero();
    EXPECT_EQ(m.acc(0, 0), 0.0);
  }
}

TEST(MatrixAllocation, GrownBandsRowsHaveTheWidthThatWasAllocatedAtFirst) {
  BandedMatrix m(1, 7);
  CapturedOutput output;
  m.growbw(2, 1);
  EXPECT_EQ(allocations::lastSize(), 7 * sizeof(double));
}

TEST(MatrixAllocation, FailedBandGrowthIsReportedAndEmpty) {
  for (int k = 0; k < 14; ++k) {
    BandedMatrix m(3, 4);
    BandedMatrix copy(m);
    m.e(1, 1) = 2.0;
    CapturedOutput output;
    auto* const trap = new allocations::FailAt(k);
    m.growbw(5, 2);
    const bool happened = trap->happened();
    delete trap;
    if (!happened) break;
    EXPECT_NE(output.err(), "");
    EXPECT_EQ(m.data, nullptr);
    EXPECT_EQ(copy.acc(1, 1), 2.0);
  }
}

TEST(MatrixAllocation, FailedSlicedMatrixIsReportedAndEmpty) {
  OwnRows m({{{0, 1.0}, {3, 2.0}}, {{1, 4.0}}});
  FullMatrix full = matrixOf({{1, 0, 2}, {0, 3, 0}});
  const SlicedMatrix original(m.matrix);
  const auto check = [](auto make) {
    for (int k = 0;; ++k) {
      CapturedOutput output;
      bool happened;
      Vector x(3), y(5), yT(5);
      x = 1.0;
      {
        std::optional<allocations::FailAt> trap(k);
        const SlicedMatrix made = make();
        happened = trap->happened();
        trap.reset();
        EXPECT_EQ(made.height(), happened ? 0 : 2);
        EXPECT_EQ(made.width() > 0, !happened);
        made.mult(&x, &y);
        made.multT(&x, &yT);
        EXPECT_EQ(y.size(), made.height());
        EXPECT_EQ(yT.size(), made.width());
      }
      if (!happened) return k;
      EXPECT_NE(output.err().find("NEW fails - memory problem\n"), std::string::npos) << output.err();
    }
  };
  EXPECT_GT(check([&m] { return SlicedMatrix(m.matrix); }), 10);
  EXPECT_GT(check([&full] { return SlicedMatrix(static_cast<const SpMat&>(full)); }), 10);
  EXPECT_GT(check([&original] { return SlicedMatrix(original); }), 5);
}

TEST(MatrixAllocation, FailedDiagonalIsEmpty) {
  CapturedOutput output;
  auto* const trap = new allocations::FailAt(0, true);
  DiagonalMatrix m(7);
  delete trap;
  EXPECT_EQ(output.err().rfind("FATAL ERROR@(WierdMatrices:", 0), 0u);
  EXPECT_EQ(m.height(), 0);
  EXPECT_EQ(m.acc(0, 0), 0.0);
}

}  // namespace
