#include "limber/linalg/FullMatrix.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "limber/linalg/ResizeMatrix.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"

namespace {

using Rows = std::vector<std::vector<double>>;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(FullMatrix, kind) == sizeof(void*));
static_assert(offsetof(FullMatrix, numRows) == sizeof(void*) + sizeof(int));
static_assert(offsetof(FullMatrix, numColumns) == sizeof(void*) + 2 * sizeof(int));
static_assert(offsetof(FullMatrix, data) == 2 * sizeof(void*) + 2 * sizeof(int));
static_assert(sizeof(FullMatrix) == 3 * sizeof(void*) + 2 * sizeof(int));
#pragma GCC diagnostic pop
static_assert(!std::is_convertible_v<int, FullMatrix>, "A * 2 must not compile");
static_assert(!std::is_constructible_v<FullMatrix, int, int, int>, "temporaries are the operators' own");

TEST(FullMatrix, NewOneIsZeroOfKind0) {
  const FullMatrix m(2, 3);
  EXPECT_EQ(m.kind, 0);
  EXPECT_EQ(m.rows(), 2);
  EXPECT_EQ(m.columns(), 3);
  EXPECT_EQ(m.height(), 2);
  EXPECT_EQ(m.width(), 3);
  EXPECT_EQ(elementsOf(m), (Rows{{0, 0, 0}, {0, 0, 0}}));
}

TEST(FullMatrix, WithoutElementsHasKind1) {
  for (const auto& [r, c] : {std::pair(0, 5), std::pair(5, 0), std::pair(0, 0), std::pair(-1, 2)}) {
    const FullMatrix m(r, c);
    EXPECT_EQ(m.kind, 1);
    EXPECT_EQ(m.rows(), r);
    EXPECT_EQ(m.columns(), c);
  }
}

TEST(FullMatrix, StorageOnlyHasNoShape) {
  const FullMatrix m(6);
  EXPECT_EQ(m.kind, 0);
  EXPECT_EQ(m.rows(), 0);
  EXPECT_EQ(m.columns(), 0);
  const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(m.data);
  for (int k = 0; k < 6; ++k) EXPECT_EQ(bytes[k], 0);
  EXPECT_EQ(FullMatrix(0).kind, 1);
  EXPECT_EQ(FullMatrix(-4).kind, 1);
}

TEST(FullMatrix, AccessOutOfBoundsPrintsAndGivesTheSpare) {
  const FullMatrix m(2, 3);
  double* spare = nullptr;
  EXPECT_EQ(capturedStderr([&] { spare = &m(2, 0); }),
            " FullMatrix::operator() : out of bounds access (2 0) (2 3)\n");
  EXPECT_EQ(capturedStderr([&] { EXPECT_EQ(&m(-1, 1), spare); }),
            " FullMatrix::operator() : out of bounds access (-1 1) (2 3)\n");
  EXPECT_EQ(capturedStderr([&] { EXPECT_EQ(&m(0, 4), spare); }),
            " FullMatrix::operator() : out of bounds access (0 4) (2 3)\n");
  EXPECT_EQ(capturedStderr([&] { EXPECT_EQ(&FullMatrix(0, 5)(0, 0), spare); }),
            " FullMatrix::operator() : out of bounds access (0 0) (0 5)\n");
}

TEST(FullMatrix, SpareIsZeroEachTimeItIsHandedOut) {
  const FullMatrix m(1, 1);
  capturedStderr([&] {
    m(5, 5) = 3.0;
    EXPECT_EQ(m(6, 6), 0.0);
  });
}

TEST(FullMatrix, ColumnEqualToTheWidthIsAccepted) {
  FullMatrix m = matrixOf({{1, 2}, {3, 4}});
  EXPECT_EQ(capturedStderr([&] {
              EXPECT_EQ(&m(0, 2), &m.e(1, 0));
              m(1, 2) = 7.0;  // the spare element after the storage
              EXPECT_EQ(m(1, 2), 7.0);
            }),
            "");
  EXPECT_EQ(elementsOf(m), (Rows{{1, 2}, {3, 4}}));
}

TEST(FullMatrix, Kind1RefusesEveryElement) {
  FullMatrix m = matrixOf({{1, 2}});
  m.kind = 1;
  EXPECT_EQ(capturedStderr([&] { m(0, 1); }), " FullMatrix::operator() : out of bounds access (0 1) (1 2)\n");
}

TEST(FullMatrix, AccIsTheStoredPlaceAndStaysInTheStorage) {
  const FullMatrix m = matrixOf({{1, 2}, {3, 4}});
  EXPECT_EQ(m.acc(1, 0), 3.0);
  EXPECT_EQ(m.acc(0, 3), 4.0);
  EXPECT_EQ(m.acc(100, 0), 0.0);
  EXPECT_EQ(m.acc(-1, 0), 0.0);
}

TEST(FullMatrix, RowPointerAndElementAreTheStorage) {
  const FullMatrix m = matrixOf({{1, 2}, {3, 4}});
  EXPECT_EQ(m[1], m.data + 2);
  EXPECT_EQ(&m.e(1, 1), m.data + 3);
}

TEST(FullMatrix, ColumnIsCopiedIntoAGrownVector) {
  const FullMatrix m = matrixOf({{1, 2}, {3, 4}, {5, 6}});
  Vector v;
  m.column(1, &v);
  expectElements(v, {2, 4, 6});
}

TEST(FullMatrix, BadColumnIsReportedAndNothingCopied) {
  const FullMatrix m = matrixOf({{1, 2}});
  Vector v = vectorOf({9});
  for (const int c : {-1, 2}) {
    CapturedOutput output;
    m.column(c, &v);
    EXPECT_EQ(output.err().rfind("ERR: Bad column to full matrix @ (Vectors:", 0), 0u);
    expectElements(v, {9});
  }
}

TEST(FullMatrix, PutRowCopiesTheCommonPart) {
  FullMatrix m(2, 3);
  Vector shorter = vectorOf({1, 2}), longer = vectorOf({3, 4, 5, 6});
  m.putRow(0, &longer);
  m.putRow(1, &shorter);
  EXPECT_EQ(elementsOf(m), (Rows{{3, 4, 5}, {1, 2, 0}}));
}

TEST(FullMatrix, PutRowWritesNothingBehindItsRow) {
  FullMatrix m(3, 2);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 2; ++j) m.e(i, j) = 10 * i + j + 1;
  m.data[6] = 77.0;  // the spare element
  Vector longer = vectorOf({-1, -2, -3, -4});
  m.putRow(1, &longer);
  EXPECT_EQ(elementsOf(m), (Rows{{1, 2}, {-1, -2}, {21, 22}}));
  m.putRow(2, &longer);
  EXPECT_EQ(elementsOf(m), (Rows{{1, 2}, {-1, -2}, {-1, -2}}));
  EXPECT_EQ(m.data[6], 77.0);
  Vector one = vectorOf({5});
  m.putRow(0, &one);
  EXPECT_EQ(elementsOf(m), (Rows{{5, 2}, {-1, -2}, {-1, -2}}));
}

TEST(FullMatrix, PutRowWithABadRowIsReportedAndStaysInTheStorage) {
  FullMatrix m(2, 2);
  m.data[4] = 77.0;  // the spare element
  Vector v = vectorOf({1, 2});
  for (const int r : {-1, 2, 1000}) {
    CapturedOutput output;
    m.putRow(r, &v);
    EXPECT_EQ(output.err().rfind("ERR: Bad row to full matrix @ (Vectors:", 0), 0u);
  }
  EXPECT_EQ(elementsOf(m), (Rows{{0, 0}, {0, 0}}));
  EXPECT_EQ(m.data[4], 77.0);
}

TEST(FullMatrix, CopyIsDeepAndKeepsTheKind) {
  FullMatrix m = matrixOf({{1, 2}});
  m.kind = 3;
  const FullMatrix copy(m);
  m.e(0, 0) = 9;
  EXPECT_EQ(copy.kind, 3);
  EXPECT_EQ(elementsOf(copy), (Rows{{1, 2}}));
}

TEST(FullMatrix, CopyOfATemporaryTakesItsStorage) {
  FullMatrix m = matrixOf({{1, 2}});
  m.kind = 2;
  double* const storage = m.data;
  const FullMatrix copy(m);
  EXPECT_EQ(copy.data, storage);
  EXPECT_EQ(copy.kind, 0);
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.kind, 2);
}

TEST(FullMatrix, AssignmentCopiesAndKeepsTheOldStorageAlive) {
  FullMatrix m = matrixOf({{1, 2}}), source = matrixOf({{3}, {4}});
  source.kind = 3;
  double* const old = m.data;
  EXPECT_EQ(&(m = source), &m);
  EXPECT_EQ(m.kind, 3);
  EXPECT_EQ(elementsOf(m), (Rows{{3}, {4}}));
  EXPECT_NE(m.data, source.data);
  EXPECT_EQ(old[0], 1.0);
  EXPECT_EQ(old[1], 2.0);
}

TEST(FullMatrix, AssignmentToItselfKeepsTheValues) {
  FullMatrix m = matrixOf({{1, 2}});
  const FullMatrix& same = m;
  m = same;
  EXPECT_EQ(elementsOf(m), (Rows{{1, 2}}));
}

TEST(FullMatrix, ManyAssignmentsStayReachable) {
  FullMatrix m(1, 1);
  for (int i = 0; i < 200; ++i) m = matrixOf({{static_cast<double>(i)}});
  EXPECT_EQ(m.e(0, 0), 199.0);
}

TEST(FullMatrix, ZeroIdentityAndScale) {
  FullMatrix m = matrixOf({{1, 2, 3}, {4, 5, 6}});
  m.scale(2.0);
  EXPECT_EQ(elementsOf(m), (Rows{{2, 4, 6}, {8, 10, 12}}));
  m.scalar(0.5);
  EXPECT_EQ(elementsOf(m), (Rows{{1, 2, 3}, {4, 5, 6}}));
  m.identity();
  EXPECT_EQ(elementsOf(m), (Rows{{1, 0, 0}, {0, 1, 0}}));
  m.zero();
  EXPECT_EQ(elementsOf(m), (Rows{{0, 0, 0}, {0, 0, 0}}));
}

TEST(FullMatrix, FixDiagsRaisesGoodDiagonalsAndIsolatesBadOnes) {
  FullMatrix m = matrixOf({{2, 1, 1}, {1, 3, 1}, {1, 1, 1e-6}, {7, 7, 7}});
  m.fixDiags(0.5, 1e-3);
  EXPECT_EQ(elementsOf(m), (Rows{{2.5, 1, 0}, {1, 3.5, 0}, {0, 0, 1}, {7, 7, 0}}));
}

TEST(FullMatrix, FixDiagsTakesTheMinimumItselfAsGood) {
  FullMatrix m = matrixOf({{0.25}});
  m.fixDiags(1.0, 0.25);
  EXPECT_EQ(m.e(0, 0), 1.25);
}

TEST(FullMatrix, TraceAndItsRange) {
  const FullMatrix m = matrixOf({{2, 9, 9}, {9, -1, 9}});
  EXPECT_EQ(m.trace(), 1.0);
  double lo = 0.0, hi = 0.0;
  m.traceRange(lo, hi);
  EXPECT_EQ(lo, -1.0);
  EXPECT_EQ(hi, 2.0);
  matrixOf({{5}}).traceRange(lo, hi);
  EXPECT_EQ(lo, 5.0);
  EXPECT_EQ(hi, 5.0);
  FullMatrix(0, 0).traceRange(lo, hi);
  EXPECT_EQ(lo, 0.0);
  EXPECT_EQ(hi, 0.0);
}

TEST(FullMatrix, TransposeInPlaceTakesNewStorage) {
  FullMatrix m = matrixOf({{1, 2, 3}, {4, 5, 6}});
  double* const old = m.data;
  m.transposeInPlace();
  EXPECT_NE(m.data, old);
  EXPECT_EQ(elementsOf(m), (Rows{{1, 4}, {2, 5}, {3, 6}}));
  FullMatrix empty(0, 3);
  empty.transposeInPlace();
  EXPECT_EQ(empty.rows(), 3);
  EXPECT_EQ(empty.columns(), 0);
}

TEST(FullMatrix, DegenerateSizesHaveNothingToWorkOn) {
  for (const auto& [r, c] : {std::pair(0, 0), std::pair(0, 4), std::pair(4, 0)}) {
    FullMatrix m(r, c);
    Vector x(4), y = vectorOf({1, 2, 3, 4});
    m.zero();
    m.identity();
    m.scale(2.0);
    m.fixDiags(1.0, 1.0);
    EXPECT_EQ(m.trace(), 0.0);
    FullMatrix copy(m);
    copy = m;
    EXPECT_EQ(copy.kind, 1);
    EXPECT_EQ(m == copy, 1);
    EXPECT_EQ(copy.rows(), r);
  }
}

}  // namespace
