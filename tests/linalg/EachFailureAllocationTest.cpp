// Calls every constructor and function of the room that allocates, with its k-th allocation failing, for
// every k until none fails. It must report, nothing may crash, and the next call must work.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "limber/linalg/LinComb.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/STMLapack.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/SparseProducts.h"
#include "limber/linalg/SparseSum.h"
#include "limber/linalg/WierdMatrices.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/allocations/Allocations.h"

namespace {

struct Operation {
  const char* name;
  std::function<void()> work;
};

void identity(FullMatrix& m) {
  for (int i = 0; i < m.numRows; ++i) {
    for (int j = 0; j < m.numColumns; ++j) m.e(i, j) = i == j ? 1.0 : 0.0;
  }
}

TEST(EachFailure, IsReportedAndLeavesAllUsable) {
  const FullMatrix full = matrixOf({{4, 1, 0}, {1, 5, 2}, {0, 2, 6}});
  OwnRows sparse({{{0, 1.0}, {2, 2.0}}, {{1, 4.0}, {7, 1.0}}, {{3, 1.0}}});
  const SlicedMatrix sliced(sparse.matrix);
  const SpVec row = rowOf({{0, 1.0}, {3, 2.0}, {9, 4.0}, {11, 1.0}, {12, 1.0}});
  const DiagonalMatrix diagonal(9);
  const BandedMatrix band(6, 4);
  const Vector x = vectorOf({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  const Vector coefficients = vectorOf({1, 2, 3});
  const std::vector<Operation> operations = {
      {"Vector(n)", [] { Vector v(9); }},
      {"Vector(n, room)", [] { Vector v(2, 9); }},
      {"Vector(v)", [&] { Vector v(x); }},
      {"grow", [] { Vector().grow(9); }},
      {"resize", [] { Vector().resize(9); }},
      {"push",
       [] {
         for (Vector v(4); v.size() > 0 && v.size() < 9;) v.push(1.0);
       }},
      {"assign",
       [&] {
         Vector v;
         v = x;
       }},
      {"scaleCopy",
       [&] {
         Vector v, from(x);
         scaleCopy(2.0, &from, &v);
       }},
      {"IntVec", [] { IntVec v(3, 9); }},
      {"SpVec(n)", [] { SpVec v(9); }},
      {"SpVec(v)", [&] { SpVec v(row); }},
      {"SpVec::init",
       [] {
         SpVec v(0);
         v.init(30);
       }},
      {"SpVec::grow",
       [] {
         SpVec v(0);
         v.grow(30);
       }},
      {"SpVec::ins",
       [] {
         SpVec v(0);
         for (int i = 20; i > 0; --i) v.ins(1.0, i);
       }},
      {"SpVec::insEnd",
       [] {
         SpVec v(0);
         for (int i = 0; i < 20; ++i) v.insEnd(1.0, i);
       }},
      {"SpVec::gather",
       [&] {
         SpVec v(0);
         Vector from(x);
         v.gather(&from);
       }},
      {"copy",
       [&] {
         SpVec v(0);
         copy(row, v);
       }},
      {"ssum",
       [&] {
         SpVec v(0);
         ssum(row, 1.0, row, 1.0, v);
       }},
      {"linComb",
       [&] {
         SpVec a(row), v(0);
         SpVec* rows[] = {&a, &a, &a};
         linComb(&coefficients, rows, &v);
       }},
      {"FullMatrix(r, c)", [] { FullMatrix m(3, 3); }},
      {"FullMatrix(n)", [] { FullMatrix m(9); }},
      {"FullMatrix(m)", [&] { FullMatrix m(full); }},
      {"FullMatrix = m",
       [&] {
         FullMatrix m(1, 1);
         m = full;
       }},
      {"m + m", [&] { const FullMatrix m = full + full; }},
      {"m - m", [&] { const FullMatrix m = full - full; }},
      {"m * m", [&] { const FullMatrix m = full * full; }},
      {"m *= m",
       [&] {
         FullMatrix m(full);
         m *= full;
       }},
      {"transpose", [&] { const FullMatrix m = full.transpose(); }},
      {"transposeInPlace",
       [&] {
         FullMatrix m(full);
         m.transposeInPlace();
       }},
      {"inverse", [&] { const FullMatrix m = full.inverse(); }},
      {"column",
       [] {
         FullMatrix m(9, 2);
         Vector v;
         m.column(1, &v);
       }},
      {"FullMatrix::compact",
       [&] {
         FullMatrix m(full);
         if (SpMat* image = m.compact(0.0, 0, 0)) deleteImage(image);
       }},
      {"ResizeMatrix",
       [&] {
         ResizeMatrix m(full);
         m.grow(9, 9);
       }},
      {"HSpMat",
       [&] {
         HSpMat m(3), other(m), third(0);
         third = sparse.matrix;
         for (int i = 0; i < 9; ++i) other.add(sparse.matrix.row(0));
       }},
      {"HSpMat::clear",
       [] {
         HSpMat m(0);
         m.clear();
       }},
      {"HSpMat::mult",
       [&] {
         Vector y;
         OwnRows m;
         for (int i = 0; i < 9; ++i) m.matrix.add(nullptr);
         m.matrix.mult(&x, &y);
       }},
      {"HSpMat::multT",
       [&] {
         Vector y;
         sparse.matrix.multT(&x, &y);
       }},
      {"SlicedMatrix::multT",
       [&] {
         Vector y;
         sliced.multT(&x, &y);
       }},
      {"SlicedMatrix = m",
       [&] {
         SlicedMatrix m{HSpMat(0)};
         m = sliced;
       }},
      {"convertMat",
       [&] {
         ResizeMatrix m(0);
         convertMat(sparse.matrix, m);
       }},
      {"DiagonalMatrix",
       [&] {
         DiagonalMatrix m(9), other(m), third(diagonal);
         third = m;
       }},
      {"BandedMatrix",
       [&] {
         BandedMatrix m(6, 4), other(band);
         other = m;
       }},
      {"BandedMatrix::mult",
       [&] {
         Vector y;
         band.mult(&x, &y);
       }},
      {"IdentityMatrix::mult",
       [&] {
         Vector y;
         IdentityMatrix(12).mult(&x, &y);
       }},
      {"invert",
       [] {
         FullMatrix m(70, 70);
         if (m.data) identity(m);
         m.invert();
       }},
      {"SQPMatrix::mult",
       [&] {
         Vector y;
         FullMatrix hessian(full), jacobian(full);
         SQPMatrix(&hessian, &jacobian).mult(&x, &y);
       }},
      {"luInvert",
       [&] {
         FullMatrix m(full);
         luInvert(&m);
       }},
      {"luSolve",
       [&] {
         FullMatrix m(full), b(full);
         long pivots[3];
         luFactor(&m, pivots);
         luSolve(&m, pivots, &b);
       }},
  };
  for (const Operation& operation : operations) {
    int k = 0;
    for (;; ++k) {
      ASSERT_LT(k, 200) << operation.name;
      std::string reported;
      bool happened;
      {
        CapturedOutput output;
        allocations::FailAt trap(k);
        operation.work();
        happened = trap.happened();
        reported = output.err();
      }
      if (!happened) {
        EXPECT_EQ(reported, "") << operation.name;
        break;
      }
    }
    EXPECT_GT(k, 0) << operation.name << " allocates nothing";
  }
}

// The storage that an assigned matrix had stays alive, and a list of such storages grows now and then. Only
// a leak checker can tell that it did not.
TEST(EachFailure, ToNoteAnEarlierStorageLeavesTheAssignedMatrixWhole) {
  const FullMatrix from = matrixOf({{1, 2}, {3, 4}});
  FullMatrix to(3, 3);
  bool happened = false;
  for (int i = 0; i < 200 && !happened; ++i) {
    double* const earlier = to.data;
    {
      allocations::FailAt trap(1);
      to = from;
      happened = trap.happened();
    }
    if (happened) delete[] earlier;
  }
  EXPECT_TRUE(happened);
  EXPECT_EQ(elementsOf(to), elementsOf(from));
}

}  // namespace
