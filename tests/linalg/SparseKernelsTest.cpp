#include <gtest/gtest.h>

#include <random>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/SparseSum.h"
#include "tests/linalg/Vectors.h"
#include "tests/support/Tolerance.h"

namespace {

// out = sa a + sb b entry by entry, one insertion at a time, in the order and with the limits of ssum.
void plainSum(const SpVec& a, double sa, const SpVec& b, double sb, SpVec& out) {
  out.zero();
  int ka = 0, kb = 0;
  for (;;) {
    const int atA = ka < a.numEntries ? a.indices[ka] : 100000;
    const int atB = kb < b.numEntries ? b.indices[kb] : 100000;
    if (atA >= 10000 && atB >= 10000) return;
    if (atA == atB)
      out.insEnd(sa * a.values[ka++] + sb * b.values[kb++], atA);
    else if (atA < atB)
      out.insEnd(sa * a.values[ka++], atA);
    else
      out.insEnd(sb * b.values[kb++], atB);
  }
}

void expectSameRow(const SpVec& a, const SpVec& b) {
  ASSERT_EQ(entriesOf(a), entriesOf(b));
  EXPECT_EQ(a.width, b.width);
  EXPECT_EQ(a.values.size(), b.values.size());
  EXPECT_EQ(a.indices.size(), b.indices.size());
  EXPECT_EQ(a.values.maxSize(), b.values.maxSize());
  EXPECT_EQ(a.indices.capacity, b.indices.capacity);
  EXPECT_EQ(a.maxEntries, b.maxEntries);
  EXPECT_TRUE(tolerance::sameBits(a.values.data, b.values.data, a.numEntries));
}

}  // namespace

TEST(SparseDot, SumsOverCommonIndices) {
  SpVec a = rowOf({{1, 2.0}, {4, 3.0}, {6, 5.0}, {9, 1.0}});
  SpVec b = rowOf({{0, 7.0}, {4, 10.0}, {5, 1.0}, {6, 100.0}});
  EXPECT_EQ(dot(a, b), 530.0);
  EXPECT_EQ(dot(b, a), 530.0);
}

TEST(SparseDot, NothingInCommonIsZero) {
  SpVec none, low = rowOf({{0, 1.0}, {3, 1.0}}), high = rowOf({{4, 1.0}, {5, 1.0}}), gap = rowOf({{1, 1.0}});
  EXPECT_EQ(dot(none, low), 0.0);
  EXPECT_EQ(dot(low, none), 0.0);
  EXPECT_EQ(dot(low, high), 0.0);
  EXPECT_EQ(dot(high, low), 0.0);
  EXPECT_EQ(dot(low, gap), 0.0);
}

TEST(SparseDot, RangesThatTouchInOneIndexOverlap) {
  SpVec low = rowOf({{0, 1.0}, {4, 2.0}}), high = rowOf({{4, 3.0}, {5, 1.0}});
  EXPECT_EQ(dot(low, high), 6.0);
  EXPECT_EQ(dot(high, low), 6.0);
}

TEST(SparseDot, WeightsByIndex) {
  SpVec a = rowOf({{0, 2.0}, {2, 3.0}}), b = rowOf({{1, 9.0}, {2, 5.0}});
  Vector w = vectorOf({7, 11, 0.5});
  EXPECT_EQ(sdot(&a, &b, &w), 7.5);
  EXPECT_EQ(sdot(&a, &b, nullptr), 15.0);
}

TEST(SparseDot, WeightTimesSecondTimesFirst) {
  // (0.1 * 0.7) * 0.3 and the other groupings have different last bits.
  SpVec a = rowOf({{0, 0.3}}), b = rowOf({{0, 0.7}});
  Vector w = vectorOf({0.1});
  EXPECT_TRUE(tolerance::sameBits(sdot(&a, &b, &w), 0.1 * 0.7 * 0.3));
  std::mt19937_64 random(8);
  for (int trial = 0; trial < 200; ++trial) {
    const Vector x = randomVector(random, 3);
    SpVec p = rowOf({{0, x[0]}}), q = rowOf({{0, x[1]}});
    Vector weight = vectorOf({x[2]});
    ASSERT_TRUE(tolerance::sameBits(sdot(&p, &q, &weight), x[2] * x[1] * x[0]));
    ASSERT_TRUE(tolerance::sameBits(p.weightedL2(&weight), x[2] * (x[0] * x[0])));
  }
}

TEST(SparseDot, AgreesWithTheDenseSumBitForBit) {
  std::mt19937_64 random(4);
  for (int trial = 0; trial < 300; ++trial) {
    SpVec a = randomRow(random, 60, 0.4), b = randomRow(random, 60, 0.4);
    Vector w = randomVector(random, 60), dense = randomVector(random, 60);
    double both = 0.0, weighted = 0.0, withDense = 0.0;
    for (int i = 0; i < 60; ++i) {
      if (a.v(i) != 0.0) withDense += dense[i] * a.v(i);
      if (a.v(i) == 0.0 || b.v(i) == 0.0) continue;
      both += a.v(i) * b.v(i);
      weighted += w[i] * b.v(i) * a.v(i);
    }
    ASSERT_TRUE(tolerance::sameBits(dot(a, b), both));
    ASSERT_TRUE(tolerance::sameBits(sdot(&a, &b, &w), weighted));
    ASSERT_TRUE(tolerance::sameBits(dot(a, &dense), withDense));
    ASSERT_TRUE(tolerance::sameBits(dot(&dense, a), withDense));
  }
}

TEST(SparseDot, NothingIsTakenFromNoOperand) {
  SpVec a = rowOf({{0, 2.0}});
  Vector w = vectorOf({3.0});
  EXPECT_EQ(dot(a, nullptr), 0.0);
  EXPECT_EQ(dot(nullptr, a), 0.0);
  EXPECT_EQ(sdot(nullptr, &a, &w), 0.0);
  EXPECT_EQ(sdot(&a, nullptr, nullptr), 0.0);
}

TEST(SparseSum, MergesWithFactors) {
  const SpVec a = rowOf({{0, 1.0}, {3, 2.0}}), b = rowOf({{1, 10.0}, {3, 20.0}, {7, 30.0}});
  SpVec out = rowOf({{50, 1.0}});
  ssum(a, 2.0, b, -1.0, out);
  EXPECT_EQ(entriesOf(out), (Entries{{0, 2.0}, {1, -10.0}, {3, -16.0}, {7, -30.0}}));
  EXPECT_EQ(out.width, 8);
  EXPECT_EQ(out.values.size(), 4);
  EXPECT_EQ(out.indices.size(), 4);
}

TEST(SparseSum, PlainSum) {
  SpVec a = rowOf({{0, 1.0}, {3, 2.0}}), b = rowOf({{3, 20.0}}), out;
  sum(a, b, out);
  EXPECT_EQ(entriesOf(out), (Entries{{0, 1.0}, {3, 22.0}}));
}

TEST(SparseSum, CancelledAndTinySumsVanish) {
  const SpVec a = rowOf({{0, 1.0}, {3, 2.0}, {5, 1.0}}), b = rowOf({{3, 2.0}, {5, 1.0 - 2e-12}, {8, 1e-12}});
  SpVec out;
  ssum(a, 1.0, b, -1.0, out);
  EXPECT_EQ(entriesOf(out), (Entries{{0, 1.0}, {5, 1.0 - (1.0 - 2e-12)}}));
  ssum(a, 1e-13, b, 1e-13, out);
  EXPECT_EQ(out.numEntries, 0);
  EXPECT_EQ(out.width, -1);
}

TEST(SparseSum, LastIndexMayVanish) {
  const SpVec a = rowOf({{0, 1.0}, {9, 2.0}}), b = rowOf({{9, 2.0}});
  SpVec out;
  ssum(a, 1.0, b, -1.0, out);
  EXPECT_EQ(out.width, 1);
}

TEST(SparseSum, IndicesFromTenThousandOnAreLeftOut) {
  SpVec out;
  ssum(rowOf({{9999, 1.0}}), 1.0, rowOf({{10001, 1.0}}), 1.0, out);
  EXPECT_EQ(entriesOf(out), (Entries{{9999, 1.0}}));
  ssum(rowOf({{10001, 1.0}}), 1.0, rowOf({{5, 2.0}, {9998, 2.0}, {10000, 2.0}}), 1.0, out);
  EXPECT_EQ(entriesOf(out), (Entries{{5, 2.0}, {9998, 2.0}}));
  ssum(rowOf({{10000, 1.0}}), 1.0, rowOf({{10000, 1.0}}), 1.0, out);
  EXPECT_EQ(out.numEntries, 0);
  ssum(SpVec(), 1.0, rowOf({{1, 1.0}, {100000, 1.0}}), 1.0, out);
  EXPECT_EQ(entriesOf(out), (Entries{{1, 1.0}}));
  ssum(rowOf({{1, 1.0}, {200000, 1.0}}), 1.0, SpVec(), 1.0, out);
  EXPECT_EQ(entriesOf(out), (Entries{{1, 1.0}}));
}

TEST(SparseSum, ARowThatIsAlsoTheOutputCountsAsEmpty) {
  SpVec a = rowOf({{0, 1.0}, {3, 2.0}}), b = rowOf({{1, 10.0}, {3, 20.0}});
  ssum(a, 1.0, b, 2.0, a);
  EXPECT_EQ(entriesOf(a), (Entries{{1, 20.0}, {3, 40.0}}));
  ssum(a, 1.0, b, 3.0, b);
  EXPECT_EQ(entriesOf(b), (Entries{{1, 20.0}, {3, 40.0}}));
  ssum(a, 1.0, a, 1.0, a);
  EXPECT_EQ(a.numEntries, 0);
}

TEST(SparseSum, EqualsInsertingOneByOneBitForBit) {
  std::mt19937_64 random(5);
  SpVec out, plain;
  for (int trial = 0; trial < 300; ++trial) {
    const int n = trial % 3 == 0 ? 10100 : 80;
    const SpVec a = randomRow(random, n, trial % 3 == 0 ? 0.01 : 0.5);
    const SpVec b = randomRow(random, n, trial % 2 == 0 ? 0.02 : 0.9);
    const Vector s = randomVector(random, 2);
    ssum(a, s[0], b, s[1], out);
    plainSum(a, s[0], b, s[1], plain);
    expectSameRow(out, plain);
  }
}

TEST(SparseSum, UnorderedRowsTakeTheSameSteps) {
  const SpVec a = rowOf({{5, 1.0}, {2, 2.0}, {2, 3.0}, {9, 1.0}}),
              b = rowOf({{4, 1.0}, {2, 7.0}, {20000, 1.0}});
  SpVec out, plain;
  ssum(a, 1.0, b, 1.0, out);
  plainSum(a, 1.0, b, 1.0, plain);
  expectSameRow(out, plain);
}
