#include "limber/linalg/IntVec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>

#include "limber/linalg/StaticVector.h"
#include "limber/linalg/Vector.h"
#include "tests/support/CapturedOutput.h"

static_assert(offsetof(IntVec, count) == 0 && offsetof(IntVec, capacity) == sizeof(int), "leading fields");
static_assert(offsetof(IntVec, data) == 2 * sizeof(int), "the elements follow both counts");
static_assert(offsetof(StaticVector, count) == offsetof(Vector, count), "the leading fields of Vector");
static_assert(offsetof(StaticVector, capacity) == offsetof(Vector, capacity), "the leading fields of Vector");
static_assert(offsetof(StaticVector, data) == offsetof(Vector, data), "the leading fields of Vector");
static_assert(sizeof(StaticVector) == 2 * sizeof(int) + sizeof(double*), "no storage of its own");

namespace {

struct Filled {
  IntVec v;
  explicit Filled(std::initializer_list<int> elements) : v(static_cast<int>(elements.size())) {
    std::copy(elements.begin(), elements.end(), v.data);
  }
};

}  // namespace

TEST(IntVec, DefaultHasNoStorage) {
  const IntVec v;
  EXPECT_EQ(v.size(), 0);
  EXPECT_EQ(v.capacity, 0);
  EXPECT_EQ(v.data, nullptr);
}

TEST(IntVec, RoomIsTheLargerOfBoth) {
  const IntVec a(3), b(2, 7), c(0, 5), d(6, 2);
  EXPECT_EQ(a.size(), 3);
  EXPECT_EQ(a.capacity, 3);
  EXPECT_EQ(b.size(), 2);
  EXPECT_EQ(b.capacity, 7);
  EXPECT_EQ(c.size(), 0);
  EXPECT_EQ(c.capacity, 5);
  EXPECT_NE(c.data, nullptr);
  EXPECT_EQ(d.size(), 6);
  EXPECT_EQ(d.capacity, 6);
}

TEST(IntVec, NegativeSizesAllocateNothingWild) {
  const IntVec v(-3, -1);
  EXPECT_EQ(v.size(), -3);
  EXPECT_EQ(v.capacity, 0);
}

TEST(IntVec, AssignmentSharesTheArray) {
  IntVec a(3);
  a[1] = 5;
  IntVec b;
  b = a;
  EXPECT_EQ(b.data, a.data);
  EXPECT_EQ(b.size(), 3);
  EXPECT_EQ(b.capacity, 3);
  b[1] = 6;
  EXPECT_EQ(a[1], 6);
  b.data = nullptr;  // only one of the two may be destroyed with the array
}

TEST(IntVec, CopiesShareTheArray) {
  IntVec a(3);
  IntVec b(a);
  EXPECT_EQ(b.data, a.data);
  EXPECT_EQ(b.size(), 3);
  b.data = nullptr;
}

TEST(IntVec, Prints) {
  CapturedOutput output;
  Filled({1, -20, 3}).v.print();
  EXPECT_EQ(output.out(), "[1 -20 3 ]");
  output.clear();
  IntVec().print();
  EXPECT_EQ(output.out(), "[]");
}

TEST(IntVec, RangeReportsFirstOccurrences) {
  const Filled filled({3, 1, 1, 7, 7});
  int lo, loIndex, hi, hiIndex;
  filled.v.range(lo, loIndex, hi, hiIndex);
  EXPECT_EQ(lo, 1);
  EXPECT_EQ(loIndex, 1);
  EXPECT_EQ(hi, 7);
  EXPECT_EQ(hiIndex, 3);
  lo = hi = -100;
  filled.v.range(lo, hi);
  EXPECT_EQ(lo, 1);
  EXPECT_EQ(hi, 7);
}

TEST(IntVec, RangeOfEqualElementsStaysAtTheFirst) {
  int lo, loIndex, hi, hiIndex;
  Filled({-4, -4}).v.range(lo, loIndex, hi, hiIndex);
  EXPECT_EQ(lo, -4);
  EXPECT_EQ(loIndex, 0);
  EXPECT_EQ(hi, -4);
  EXPECT_EQ(hiIndex, 0);
}

TEST(IntVec, RangeOfAnEmptyVectorIsZero) {
  int lo = 9, loIndex = 9, hi = 9, hiIndex = 9;
  const IntVec none(0, 4);
  none.range(lo, loIndex, hi, hiIndex);
  EXPECT_EQ(lo, 0);
  EXPECT_EQ(loIndex, 0);
  EXPECT_EQ(hi, 0);
  EXPECT_EQ(hiIndex, 0);
  lo = hi = 9;
  none.range(lo, hi);
  EXPECT_EQ(lo, 0);
  EXPECT_EQ(hi, 0);
}

TEST(StaticVector, ViewsTheArray) {
  double array[3] = {1, 2, 3};
  StaticVector v(3, array);
  EXPECT_EQ(v.size(), 3);
  EXPECT_EQ(v.capacity, 3);
  EXPECT_EQ(v.data, array);
  v[1] = 20.0;
  EXPECT_EQ(array[1], 20.0);
}

TEST(StaticVector, AssignmentViewsTheSameArray) {
  double array[3] = {1, 2, 3}, other[2] = {8, 9};
  StaticVector v(3, array), w(2, other);
  w = v;
  EXPECT_EQ(w.data, array);
  EXPECT_EQ(w.size(), 3);
  EXPECT_EQ(w.capacity, 3);
  EXPECT_EQ(other[0], 8.0);
  const StaticVector copy(v);
  EXPECT_EQ(copy.data, array);
}
