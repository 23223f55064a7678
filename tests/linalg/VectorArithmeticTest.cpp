#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "limber/foundation/Output.h"
#include "limber/linalg/Vector.h"
#include "tests/linalg/Vectors.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

const double notANumber = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

// Each operation of a five-vector with a three-vector, by reference and by pointer, and the other way round.
struct Pair {
  Vector five = vectorOf({10, 20, 30, 40, 50});
  Vector three = vectorOf({1, 2, 4});
};

}  // namespace

TEST(VectorArithmetic, PlusActsOnTheCommonPart) {
  Pair a, b, c;
  a.five += a.three;
  expectElements(a.five, {11, 22, 34, 40, 50});
  b.five += &b.three;
  expectElements(b.five, {11, 22, 34, 40, 50});
  c.three += c.five;
  expectElements(c.three, {11, 22, 34});
}

TEST(VectorArithmetic, MinusActsOnTheCommonPart) {
  Pair a, b, c;
  a.five -= a.three;
  expectElements(a.five, {9, 18, 26, 40, 50});
  b.five -= &b.three;
  expectElements(b.five, {9, 18, 26, 40, 50});
  c.three -= c.five;
  expectElements(c.three, {-9, -18, -26});
}

TEST(VectorArithmetic, TimesActsOnTheCommonPart) {
  Pair a, b;
  a.five *= a.three;
  expectElements(a.five, {10, 40, 120, 40, 50});
  b.three *= b.five;
  expectElements(b.three, {10, 40, 120});
}

TEST(VectorArithmetic, DivisionActsOnTheCommonPart) {
  Pair a, b, c;
  a.five /= a.three;
  expectElements(a.five, {10, 10, 7.5, 40, 50});
  b.five /= &b.three;
  expectElements(b.five, {10, 10, 7.5, 40, 50});
  c.three /= c.five;
  expectElements(c.three, {0.1, 0.1, 4.0 / 30.0});
}

TEST(VectorArithmetic, DivisionByZeroIsNotTested) {
  Vector v = vectorOf({1, -1, 0});
  const Vector zeros(3);
  v /= zeros;
  EXPECT_EQ(v[0], inf);
  EXPECT_EQ(v[1], -inf);
  EXPECT_TRUE(std::isnan(v[2]));
}

TEST(VectorArithmetic, OperationsWithItself) {
  Vector v = vectorOf({1, 2, 3, 4, 5, 6, 7});
  v += v;
  expectElements(v, {2, 4, 6, 8, 10, 12, 14});
  v *= v;
  expectElements(v, {4, 16, 36, 64, 100, 144, 196});
  v.scaleAdd(-0.5, &v);
  expectElements(v, {2, 8, 18, 32, 50, 72, 98});
  v /= &v;
  expectElements(v, {1, 1, 1, 1, 1, 1, 1});
  const Vector& itself = v;
  v -= itself;
  expectElements(v, {0, 0, 0, 0, 0, 0, 0});
}

TEST(VectorArithmetic, OverlappingArraysAreTakenInAscendingOrder) {
  double array[4] = {1, 1, 1, 1};
  Vector head(3, array);
  Vector tail(3, array + 1);
  tail += head;
  EXPECT_EQ(array[3], 4.0);
  EXPECT_EQ(array[2], 3.0);
}

TEST(VectorArithmetic, NumbersActOnAllElements) {
  Vector v = vectorOf({1, 2, 3, 4, 5});
  v += 0.5;
  expectElements(v, {1.5, 2.5, 3.5, 4.5, 5.5});
  v += 1;
  expectElements(v, {2.5, 3.5, 4.5, 5.5, 6.5});
  v += 0;
  v *= 2.0;
  expectElements(v, {5, 7, 9, 11, 13});
  v *= 3;
  expectElements(v, {15, 21, 27, 33, 39});
  v.scale(-1.0);
  expectElements(v, {-15, -21, -27, -33, -39});
  v.grow(2);
  v.scale(0.0);
  v.grow(5);
  expectElements(v, {0, 0, -27, -33, -39});
}

TEST(VectorArithmetic, SumIsLimitedByTheSmallestOfThree) {
  Vector a = vectorOf({1, 2, 3, 4}), b = vectorOf({10, 20, 30});
  Vector v = vectorOf({5, 5, 5, 5, 5});
  v.sum(&a, &b);
  expectElements(v, {11, 22, 33, 5, 5});
  Vector shortOne(2);
  shortOne.sum(&a, &b);
  expectElements(shortOne, {11, 22});
  v.sum(&b, &a);
  expectElements(v, {11, 22, 33, 5, 5});
}

TEST(VectorArithmetic, ScaleAddByMemberAndFunction) {
  Pair a, b;
  a.five.scaleAdd(2.0, &a.three);
  expectElements(a.five, {12, 24, 38, 40, 50});
  scaleAdd(&b.three, 0.5, &b.five);
  expectElements(b.three, {6, 12, 19});
}

TEST(VectorArithmetic, ScaleAddRoundsTheProductFirst) {
  // (1 + e)(1 - e) rounds to 1; a fused operation would leave -e^2.
  const double e = tolerance::epsilon;
  Vector v = vectorOf({-1.0}), w = vectorOf({1.0 - e});
  v.scaleAdd(1.0 + e, &w);
  EXPECT_EQ(v[0], 0.0);
  Vector a = vectorOf({1.0 + e, -1.0}), b = vectorOf({1.0 - e, 1.0});
  EXPECT_EQ(dot(&a, &b), 0.0);
}

TEST(VectorArithmetic, ScaleCopyTakesTheSize) {
  Vector src = vectorOf({1, 2, 3, 4, 5, 6}), shorter(2), longer(9);
  scaleCopy(-2.0, &src, &shorter);
  expectElements(shorter, {-2, -4, -6, -8, -10, -12});
  EXPECT_EQ(shorter.maxSize(), 16);
  scaleCopy(0.5, &src, &longer);
  expectElements(longer, {0.5, 1, 1.5, 2, 2.5, 3});
  scaleCopy(3.0, &src, &src);
  expectElements(src, {3, 6, 9, 12, 15, 18});
}

// What is left in the storage behind the size may become visible again, so no operation writes there.
TEST(VectorArithmetic, NoOperationWritesBehindTheSize) {
  const std::function<void(Vector&, Vector&)> operations[] = {
      [](Vector& v, Vector& w) { v += w; },
      [](Vector& v, Vector& w) { v -= w; },
      [](Vector& v, Vector& w) { v *= w; },
      [](Vector& v, Vector& w) { v /= w; },
      [](Vector& v, Vector& w) { v = w; },
      [](Vector& v, Vector&) { v = 5.0; },
      [](Vector& v, Vector&) { v += 5.0; },
      [](Vector& v, Vector&) { v *= 5.0; },
      [](Vector& v, Vector&) { v.scale(5.0); },
      [](Vector& v, Vector& w) { v.sum(&w, &w); },
      [](Vector& v, Vector& w) { v.scaleAdd(2, &w); },
      [](Vector& v, Vector& w) { scaleCopy(2, &w, &v); },
  };
  for (const auto& operation : operations) {
    for (const int n : {0, 1, 3, 4, 7, 16}) {
      Vector v(20), w(20);
      v = 7.0;
      w = 3.0;
      v.count = w.count = n;
      operation(v, w);
      EXPECT_EQ(n, v.count);
      for (int i = 0; i < n; ++i) EXPECT_NE(7.0, v[i]);
      for (int i = n; i < 20; ++i) EXPECT_EQ(7.0, v.data[i]) << &operation - operations << " " << n;
    }
  }
}

TEST(VectorArithmetic, MagnitudeIsOfAllElements) {
  Vector v = vectorOf({1, 2, 3, 4, 5});
  EXPECT_EQ(v.magSq(), 55.0);
  EXPECT_EQ(magSq(&v), 55.0);
  EXPECT_EQ(v.mag(), std::sqrt(55.0));
  EXPECT_EQ(Vector().magSq(), 0.0);
  EXPECT_FALSE(std::signbit(Vector().magSq()));
}

TEST(VectorArithmetic, DotIsOfTheCommonPart) {
  Pair p;
  EXPECT_EQ(dot(&p.five, &p.three), 170.0);
  EXPECT_EQ(dot(&p.three, &p.five), 170.0);
  Vector none;
  EXPECT_EQ(dot(&none, &p.five), 0.0);
}

TEST(VectorArithmetic, SumsRunInAscendingOrderFromZero) {
  // Each 1 is lost next to 2^53 when added one by one after it, and kept when added before it.
  const double big = 9007199254740992.0;
  Vector late = vectorOf({big, 1, 1, 1, 1, 1, 1, 1}), early = vectorOf({1, 1, 1, 1, 1, 1, 1, big});
  Vector ones(8);
  ones = 1.0;
  EXPECT_EQ(dot(&late, &ones), big);
  EXPECT_EQ(dot(&early, &ones), big + 8.0);                  // 7 + 2^53 rounds to even
  Vector root = vectorOf({94906267.0, 1.0, 1.0, 1.0, 1.0});  // above 2^53, squared, where no 1 shows any more
  EXPECT_EQ(root.magSq(), 9007199515875288.0);
  Vector negative = vectorOf({-0.0});
  EXPECT_FALSE(std::signbit(dot(&negative, &ones)));  // 0.0 + -0.0
}

TEST(VectorArithmetic, AddElemsTakesTheSlotBehindTheLast) {
  Vector v(5, 8);
  v = 1.0;
  v.data[5] = 100.0;
  v.data[6] = 1000.0;
  EXPECT_EQ(v.addElems(), 105.0);
  Vector full = vectorOf({1, 2, 3, 4, 5});
  EXPECT_EQ(full.addElems(), 15.0);  // the storage ends with the last element
  full.grow(2);
  EXPECT_EQ(full.addElems(), 6.0);
  full.grow(0);
  EXPECT_EQ(full.addElems(), 1.0);
  full.grow(-1);
  EXPECT_EQ(full.addElems(), 0.0);
}

TEST(VectorArithmetic, AddElemsAfterAReallocationIsThePlainSum) {
  Vector v = vectorOf({1, 2, 4});
  v.resize(5);
  ASSERT_EQ(v.maxSize(), 16);
  EXPECT_EQ(v.addElems(), 7.0);
}

TEST(VectorArithmetic, AddElemsRunsFromTheEnd) {
  const double big = 9007199254740992.0;
  EXPECT_EQ(vectorOf({big, 1, 1, 1, 1, 1, 1}).addElems(), big + 6.0);
  EXPECT_EQ(vectorOf({1, 1, 1, 1, 1, 1, big}).addElems(), big);
}

TEST(VectorSearch, BracketsInAnAscendingVector) {
  const Vector v = vectorOf({0, 1, 2});
  const double at[] = {-1, 0, 0.5, 1, 1.5, 2, 3};
  const int expected[] = {0, 0, 0, 1, 1, 1, 2};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(v.closestToInSorted(at[i]), expected[i]) << at[i];
}

TEST(VectorSearch, ShortVectorsAreDecidedByTheirEnds) {
  const Vector one = vectorOf({5}), two = vectorOf({5, 6});
  EXPECT_EQ(one.closestToInSorted(4), 0);
  EXPECT_EQ(one.closestToInSorted(5), 0);
  EXPECT_EQ(one.closestToInSorted(6), 0);
  EXPECT_EQ(two.closestToInSorted(5.5), 0);
  EXPECT_EQ(two.closestToInSorted(6), 0);
  EXPECT_EQ(two.closestToInSorted(6.5), 1);
  EXPECT_EQ(Vector().closestToInSorted(1.0), 0);
}

// Among equal elements, the result is the one that the search probes first, not the last one.
TEST(VectorSearch, AnExactHitIsGivenWhereItIsProbed) {
  const Vector middle = vectorOf({0, 1, 1, 1, 2}), front = vectorOf({0, 0, 0, 1});
  EXPECT_EQ(middle.closestToInSorted(1), 2);
  EXPECT_EQ(front.closestToInSorted(0), 1);
  const Vector ends = vectorOf({0, 1, 1, 1}), pair = vectorOf({3, 3});
  EXPECT_EQ(ends.closestToInSorted(1), 1);
  EXPECT_EQ(pair.closestToInSorted(3), 0);
}

TEST(VectorSearch, GivesTheLastElementNotAbove) {
  std::mt19937_64 random(11);
  std::uniform_int_distribution<int> step(1, 3);
  for (int trial = 0; trial < 200; ++trial) {
    Vector v;
    int at = 0;
    for (int i = 0; i < 3 + trial % 40; ++i) v.push(at += step(random));
    for (double x = 0.0; x <= at + 1.0; x += 0.5) {
      int expected = 0;
      for (int i = 0; i < v.size(); ++i)
        if (v[i] <= x) expected = i;
      if (x == v[v.size() - 1]) expected = v.size() - 2;  // the last element is never probed
      ASSERT_EQ(v.closestToInSorted(x), expected) << x;
    }
  }
}

TEST(VectorLerp, InterpolatesAndExtrapolates) {
  const Vector v = vectorOf({0, 10, 20});
  const double at[] = {-1, 0, 0.5, 1, 1.5, 2, 3};
  const double expected[] = {-10, 0, 5, 10, 15, 20, 30};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(v.lerp(at[i]), expected[i]) << at[i];
}

TEST(VectorLerp, UsesTheSegmentOfEachEnd) {
  const Vector v = vectorOf({1, 3, 100, 50});
  EXPECT_EQ(v.lerp(-2.0), -3.0);
  EXPECT_EQ(v.lerp(4.0), 0.0);
  EXPECT_EQ(v.lerp(2.25), 0.75 * 100 + 0.25 * 50);
  EXPECT_TRUE(std::isnan(v.lerp(notANumber)));
}

TEST(VectorLerp, FormulasHoldBitForBit) {
  const Vector v = vectorOf({0.1, 0.7, 0.3});
  EXPECT_EQ(v.lerp(-0.3), 0.1 + (0.7 - 0.1) * -0.3);
  EXPECT_EQ(v.lerp(1.3), (1.0 - (1.3 - 1)) * 0.7 + (1.3 - 1) * 0.3);
  EXPECT_EQ(v.lerp(2.3), 0.7 + (0.3 - 0.7) * (2.3 - 3 + 2.0));
}

// The ends belong to the extrapolations, which round and overflow differently.
TEST(VectorLerp, TheEndsAreExtrapolated) {
  EXPECT_TRUE(std::isnan(vectorOf({1e308, -1e308}).lerp(0.0)));
  const double last = vectorOf({0, 1e16, 1}).lerp(2.0);
  EXPECT_EQ(last, 1e16 + (1.0 - 1e16) * 1.0);
  EXPECT_NE(last, 1.0);
}

TEST(VectorLerp, ShortVectorsStayInTheirStorage) {
  double array[1] = {5.0};
  const Vector one(1, array);
  EXPECT_EQ(one.lerp(-1.0), 5.0);
  EXPECT_EQ(one.lerp(3.0), 5.0);
  EXPECT_EQ(Vector().lerp(1.0), 0.0);
}

TEST(VectorPrint, ElementsInBrackets) {
  CapturedOutput output;
  vectorOf({1, 2, 3}).print();
  EXPECT_EQ(output.out(), "[1 2 3 ]");
  output.clear();
  Vector().print();
  EXPECT_EQ(output.out(), "[]");
}

TEST(VectorPrint, FollowsTheNumberFormat) {
  CapturedOutput output;
  char format[] = "%.2f;";
  char* const before = numberPrintFormat;
  numberPrintFormat = format;
  vectorOf({1, -0.125}).print();
  numberPrintFormat = before;
  EXPECT_EQ(output.out(), "[1.00;-0.12;]");
}

TEST(VectorSearch, LerpOnAnAdoptedArrayOfLengthZeroReadsNothing) {
  double array[2] = {3.0, 5.0};
  const Vector adopted(0, array), none(0, static_cast<double*>(nullptr));
  for (const double t : {-1.0, 0.0, 0.5, 2.0}) {
    EXPECT_EQ(adopted.lerp(t), 0.0);
    EXPECT_EQ(none.lerp(t), 0.0);
  }
}
