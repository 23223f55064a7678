#include <gtest/gtest.h>

#include <string>

#include "limber/linalg/IntVec.h"
#include "limber/linalg/LinComb.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/SparseSum.h"
#include "limber/linalg/Vector.h"
#include "tests/linalg/Vectors.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/allocations/Allocations.h"

namespace {

// Runs `work` with its k-th allocation failing, for k = 0, 1, ... until none fails. `work` creates everything
// that it changes. Returns how many failed.
template <class Work>
int failEach(Work work, bool andAllAfter = false) {
  for (int k = 0;; ++k) {
    CapturedOutput output;
    bool happened;
    {
      allocations::FailAt trap(k, andAllAfter);
      work();
      happened = trap.happened();
    }
    if (!happened) {
      EXPECT_EQ(output.err(), "");
      return k;
    }
  }
}

bool reports(const std::string& text) {
  return text.rfind("FATAL ERROR@(Vectors:", 0) == 0 &&
         text.find("):NEW fails - memory problem\n") != std::string::npos;
}

void expectEmpty(const Vector& v) {
  EXPECT_EQ(v.size(), 0);
  EXPECT_EQ(v.maxSize(), 4);
  EXPECT_EQ(v.data, v.localData);
}

// A row may be complete or cut short, but all entries that it counts must exist.
void expectValid(const SpVec& row) {
  EXPECT_GE(row.numEntries, 0);
  EXPECT_LE(row.numEntries, row.values.maxSize());
  EXPECT_LE(row.numEntries, row.indices.capacity);
  EXPECT_EQ(row.values.size(), row.numEntries);
  EXPECT_EQ(row.indices.size(), row.numEntries);
}

}  // namespace

TEST(VectorAllocation, ShortVectorsAllocateNothing) {
  Vector(4).push(1.0);  // from now on the statistics contain the pair
  const long before = allocations::count();
  Vector v(4), w(2, 3), x;
  x = v;
  x += w;
  x.push(1.0);
  x.grow(1);
  x.push(2.0);
  Vector copy(w);
  const long after = allocations::count() - before;
  EXPECT_EQ(after, 1);  // the push beyond four
}

TEST(VectorAllocation, NothingIsAllocatedWithinTheCapacity) {
  Vector v(2, 100), w(50);
  SpVec a = rowOf({{0, 1.0}, {4, 2.0}}), b = rowOf({{1, 1.0}, {4, 2.0}}), c(b), out(20);
  const Vector coefficients = vectorOf({1, 2, 3});
  SpVec* rows[] = {&a, &b, &c};
  const long before = allocations::count();
  v = w;
  v.scaleAdd(2.0, &w);
  ssum(a, 1.0, b, 1.0, out);
  linComb(&coefficients, rows, &out);
  out = a;
  EXPECT_EQ(dot(a, b), 4.0);
  EXPECT_EQ(allocations::count(), before);
}

TEST(VectorAllocation, AFailedConstructionIsReportedAndLeavesAnEmptyVector) {
  CapturedOutput output;
  auto* trap = new allocations::FailAt(0, true);
  Vector v(5), w(2, 7), x(6, nullptr), y(5, __FILE__, __LINE__);
  delete trap;
  ASSERT_EQ(output.errCalls().size(), 4u);
  for (const std::string& report : output.errCalls()) EXPECT_TRUE(reports(report)) << report;
  for (Vector* each : {&v, &w, &x, &y}) {
    expectEmpty(*each);
    *each = 1.0;
    each->push(3.0);
    expectElements(*each, {3.0});
  }
}

TEST(VectorAllocation, AFailedCopyIsEmpty) {
  const Vector src(9);
  CapturedOutput output;
  auto* trap = new allocations::FailAt(0, true);
  const Vector copy(src);
  delete trap;
  EXPECT_GE(output.errCalls().size(), 1u);
  EXPECT_TRUE(reports(output.err()));
  expectEmpty(copy);
}

TEST(VectorAllocation, AFailedReallocationEmptiesTheVector) {
  for (const int n : {3, 9}) {
    Vector grown(n), pushed(n), assigned(n), scaled(n);
    Vector src(1000);
    pushed.grow(pushed.maxSize());
    CapturedOutput output;
    {
      allocations::FailAt trap(0, true);
      grown.grow(500);
      pushed.push(1.0);
      assigned = src;
      scaleCopy(2.0, &src, &scaled);
    }
    EXPECT_EQ(output.errCalls().size(), 4u);
    for (const std::string& report : output.errCalls()) EXPECT_TRUE(reports(report)) << report;
    for (Vector* v : {&grown, &pushed, &assigned, &scaled}) {
      expectEmpty(*v);
      v->push(2.0);
      expectElements(*v, {2.0});
    }
  }
}

TEST(VectorAllocation, TheResizeTableMayFailInSilence) {
  Vector v(0, 7001);
  CapturedOutput output;
  {
    allocations::FailAt trap(0);  // the new pair of the table fails; the array that follows does not
    v.grow(7002);
  }
  EXPECT_EQ(output.err(), "");
  EXPECT_EQ(v.size(), 7002);
}

TEST(VectorAllocation, EachFailureLeavesValidVectors) {
  const int failed = failEach([] {
    Vector v(3), w(20);
    for (int i = 0; i < 60; ++i) v.push(i);
    w = v;
    Vector copy(v);
    copy.resize(300);
    for (const Vector* each : {&v, &w, &copy}) {
      ASSERT_LE(each->size(), each->maxSize());
      for (int i = 0; i < each->size(); ++i) each->data[i] += 1.0;
    }
  });
  EXPECT_GE(failed, 5);
}

TEST(VectorAllocation, AFailedIntVecIsEmpty) {
  CapturedOutput output;
  auto* trap = new allocations::FailAt(0);
  const IntVec v(3, 9);
  delete trap;
  EXPECT_TRUE(reports(output.err())) << output.err();
  EXPECT_EQ(v.size(), 0);
  EXPECT_EQ(v.capacity, 0);
  EXPECT_EQ(v.data, nullptr);
}

TEST(VectorAllocation, AFailedInsertionEmptiesTheRow) {
  for (const bool append : {false, true}) {
    SpVec row(2);
    row.insEnd(1.0, 0);
    CapturedOutput output;
    {
      allocations::FailAt trap(0, true);
      for (int i = 1; i < 30; ++i) {
        if (append)
          row.insEnd(1.0, i);
        else
          row.ins(1.0, i);
      }
    }
    ASSERT_FALSE(output.errCalls().empty());
    EXPECT_TRUE(reports(output.errCalls()[0]));
    expectValid(row);
    row.zero();
    row.ins(5.0, 3);
    EXPECT_EQ(entriesOf(row), (Entries{{3, 5.0}}));
  }
}

TEST(VectorAllocation, AFailedRowCopyIsEmpty) {
  SpVec src(50), copied;
  for (int i = 0; i < 50; ++i) src.insEnd(1.0, i);
  CapturedOutput output;
  {
    allocations::FailAt trap(0, true);
    copied = src;
  }
  EXPECT_TRUE(reports(output.err())) << output.err();
  expectValid(copied);
  EXPECT_EQ(copied.numEntries, 0);
  EXPECT_EQ(copied.width, -1);
}

TEST(VectorAllocation, EachFailureLeavesValidRows) {
  for (const bool andAllAfter : {false, true}) {
    const int failed = failEach(
        [] {
          SpVec a(9), b(0), out;
          for (int i = 0; i < 40; ++i) a.ins(1.0, (i * 7) % 40);
          for (int i = 0; i < 40; ++i) b.insEnd(1.0, 2 * i);
          SpVec c(a), d(&b);
          ssum(a, 1.0, b, 2.0, out);
          expectValid(out);
          Vector dense(50), coefficients(3);
          dense = 1.0;
          coefficients = 1.0;
          SpVec* rows[] = {&a, &b, &c};
          SpVec merged(1);
          linComb(&coefficients, rows, &merged);
          d.gather(&dense);
          c = d;
          for (const SpVec* row : {&a, &b, &c, &d, &merged}) expectValid(*row);
        },
        andAllAfter);
    EXPECT_GE(failed, 10);
  }
}
