#include "limber/linalg/LinComb.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "limber/linalg/SpVec.h"
#include "tests/linalg/Vectors.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

std::vector<SpVec*> pointersTo(std::vector<SpVec>& rows) {
  std::vector<SpVec*> pointers;
  for (SpVec& row : rows) pointers.push_back(&row);
  return pointers;
}

struct Statistics {
  int at[4];
  Statistics() { std::copy(linCombStats, linCombStats + 4, at); }
  std::vector<int> since() const {
    std::vector<int> difference;
    for (int i = 0; i < 4; ++i) difference.push_back(linCombStats[i] - at[i]);
    return difference;
  }
};

std::vector<SpVec> threeRows() {
  return {rowOf({{0, 1.0}, {4, 2.0}}), rowOf({{1, 10.0}, {4, 20.0}}), rowOf({{4, 200.0}, {6, 300.0}})};
}

// Three terms or more, one insertion at a time. The active terms stay in order, except that the last one
// replaces a term that has run out.
void plainMerge(const std::vector<double>& coefficients, const std::vector<SpVec>& rows, SpVec& out) {
  struct Cursor {
    double coefficient;
    const SpVec* row;
    int k;
  };
  std::vector<Cursor> active;
  int longest = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    active.push_back({coefficients[i], &rows[i], 0});
    longest = std::max(longest, rows[i].numEntries);
  }
  if (out.maxEntries < 2 * longest) out.grow(2 * longest);
  out.zero();
  int last = -1;
  for (;;) {
    for (std::size_t i = 0; i < active.size();) {
      Cursor& c = active[i];
      while (c.k < c.row->numEntries && c.row->indices[c.k] <= last) ++c.k;
      if (c.k < c.row->numEntries) {
        ++i;
      } else {
        c = active.back();
        active.pop_back();
      }
    }
    if (active.empty()) break;
    int at = active[0].row->indices[active[0].k];
    for (const Cursor& c : active) at = std::min(at, c.row->indices[c.k]);
    double sum = 0.0;
    for (const Cursor& c : active)
      if (c.row->indices[c.k] == at) sum += c.coefficient * c.row->values[c.k];
    out.insEnd(sum, at);
    last = at;
  }
  out.width = last + 1;
}

}  // namespace

TEST(LinComb, NoUsableTermEmptiesTheOutput) {
  SpVec empty, row = rowOf({{1, 1.0}}), out = rowOf({{2, 2.0}});
  SpVec* rows[] = {&row, nullptr, &empty};
  const Vector coefficients = vectorOf({0.0, 1.0, 1.0});
  const Statistics before;
  linComb(&coefficients, rows, &out);
  EXPECT_EQ(out.numEntries, 0);
  EXPECT_EQ(out.width, -1);
  EXPECT_EQ(before.since(), (std::vector<int>{1, 1, 0, 0}));
}

TEST(LinComb, WithoutCoefficientsThereIsNoTermAndTheRowsAreNotRead) {
  SpVec row = rowOf({{1, 1.0}}), out = rowOf({{2, 2.0}}), second = out;
  SpVec* rows[] = {&row};
  const Vector none;
  const Statistics before;
  linComb(&none, nullptr, &out);
  linComb(&none, rows, &second);
  for (const SpVec* empty : {&out, &second}) {
    EXPECT_EQ(empty->numEntries, 0);
    EXPECT_EQ(empty->width, -1);
  }
  EXPECT_EQ(before.since(), (std::vector<int>{2, 2, 0, 0}));
}

TEST(LinComb, ARowThatIsAlsoTheOutputIsEmptiedFirstOrScaledInPlace) {
  SpVec a = rowOf({{1, 1.0}, {4, 2.0}}), b = rowOf({{2, 3.0}}), out = rowOf({{1, 10.0}, {7, 20.0}});
  SpVec* rows[] = {&a, &out, &b};
  const Vector only = vectorOf({0.0, 0.5, 0.0}), two = vectorOf({2.0, 1.0, 0.0}),
               all = vectorOf({2.0, 1.0, 1.0});
  linComb(&only, rows, &out);
  EXPECT_EQ(entriesOf(out), (Entries{{1, 5.0}, {7, 10.0}}));
  linComb(&two, rows, &out);
  EXPECT_EQ(entriesOf(out), (Entries{{1, 2.0}, {4, 4.0}}));
  linComb(&all, rows, &out);
  EXPECT_EQ(entriesOf(out), (Entries{{1, 2.0}, {2, 3.0}, {4, 4.0}}));
}

TEST(LinComb, WithoutAnArgumentNothingHappens) {
  SpVec row = rowOf({{1, 1.0}}), out = rowOf({{2, 2.0}});
  SpVec* rows[] = {&row};
  const Vector one = vectorOf({1.0});
  const Statistics before;
  linComb(nullptr, rows, &out);
  linComb(&one, nullptr, &out);
  linComb(&one, rows, nullptr);
  EXPECT_EQ(entriesOf(out), (Entries{{2, 2.0}}));
  EXPECT_EQ(before.since(), (std::vector<int>{0, 0, 0, 0}));
}

TEST(LinComb, OneTermIsAScaledCopy) {
  std::vector<SpVec> rows = threeRows();
  SpVec out;
  const Vector coefficients = vectorOf({0.0, -0.5, -0.0});
  const Statistics before;
  linComb(&coefficients, pointersTo(rows).data(), &out);
  EXPECT_EQ(entriesOf(out), (Entries{{1, -5.0}, {4, -10.0}}));
  EXPECT_EQ(out.width, 5);
  EXPECT_EQ(before.since(), (std::vector<int>{1, 0, 1, 0}));
  const Vector tiny = vectorOf({1e-14});
  linComb(&tiny, pointersTo(rows).data(), &out);
  EXPECT_EQ(out.numEntries, 2);  // scaled, not inserted
  const Vector least = vectorOf({5e-324});
  const Statistics again;
  linComb(&least, pointersTo(rows).data(), &out);
  EXPECT_EQ(again.since(), (std::vector<int>{1, 0, 1, 0}));  // a term: not exactly 0.0
}

TEST(LinComb, TwoTermsAreASum) {
  std::vector<SpVec> rows = threeRows();
  rows[2].insEnd(5.0, 10000);
  SpVec out;
  const Vector coefficients = vectorOf({1.0, 0.0, 2.0});
  const Statistics before;
  linComb(&coefficients, pointersTo(rows).data(), &out);
  EXPECT_EQ(entriesOf(out), (Entries{{0, 1.0}, {4, 402.0}, {6, 600.0}}));  // 10000 is beyond the sum's limit
  EXPECT_EQ(before.since(), (std::vector<int>{1, 0, 0, 1}));
}

TEST(LinComb, ThreeTermsMergeWithoutALimitOfIndices) {
  std::vector<SpVec> rows = threeRows();
  rows[2].insEnd(5.0, 10000);
  rows[0].insEnd(5.0, 200000);
  SpVec out(1);
  const Vector coefficients = vectorOf({1.0, 2.0, -1.0});
  const Statistics before;
  linComb(&coefficients, pointersTo(rows).data(), &out);
  EXPECT_EQ(entriesOf(out),
            (Entries{{0, 1.0}, {1, 20.0}, {4, -158.0}, {6, -300.0}, {10000, -5.0}, {200000, 5.0}}));
  EXPECT_EQ(out.width, 200001);
  EXPECT_EQ(out.values.size(), 6);
  EXPECT_EQ(out.maxEntries, 6);
  EXPECT_EQ(before.since(), (std::vector<int>{1, 0, 0, 0}));
}

TEST(LinComb, WidthIsOfTheLastIndexEvenWhereItsSumVanished) {
  std::vector<SpVec> rows = {rowOf({{0, 1.0}, {9, 1.0}}), rowOf({{9, 1.0}}), rowOf({{9, 2.0}})};
  SpVec out;
  const Vector coefficients = vectorOf({1.0, 1.0, -1.0});
  linComb(&coefficients, pointersTo(rows).data(), &out);
  EXPECT_EQ(entriesOf(out), (Entries{{0, 1.0}}));
  EXPECT_EQ(out.width, 10);
  rows[0] = rowOf({{9, 1.0}});
  linComb(&coefficients, pointersTo(rows).data(), &out);
  EXPECT_EQ(out.numEntries, 0);
  EXPECT_EQ(out.width, 10);
}

TEST(LinComb, KeepsTheRoomThatTheOutputHas) {
  std::vector<SpVec> rows = threeRows();
  SpVec out(50);
  const Vector coefficients = vectorOf({1.0, 1.0, 1.0});
  linComb(&coefficients, pointersTo(rows).data(), &out);
  EXPECT_EQ(out.maxEntries, 50);
}

TEST(LinComb, OnlyAsManyRowsAsCoefficients) {
  std::vector<SpVec> rows = threeRows();
  SpVec out;
  const Vector coefficients = vectorOf({3.0});
  linComb(&coefficients, pointersTo(rows).data(), &out);
  EXPECT_EQ(entriesOf(out), (Entries{{0, 3.0}, {4, 6.0}}));
}

TEST(LinComb, ATermThatIsAlsoTheOutputCountsAsEmptyInAMerge) {
  std::vector<SpVec> rows = threeRows();
  const Vector coefficients = vectorOf({1.0, 1.0, 1.0});
  linComb(&coefficients, pointersTo(rows).data(), &rows[0]);
  EXPECT_EQ(entriesOf(rows[0]), (Entries{{1, 10.0}, {4, 220.0}, {6, 300.0}}));
  const Vector one = vectorOf({2.0});
  linComb(&one, pointersTo(rows).data(), &rows[0]);
  EXPECT_EQ(entriesOf(rows[0]), (Entries{{1, 20.0}, {4, 440.0}, {6, 600.0}}));
}

TEST(LinComb, AtMost120TermsTakePart) {
  std::vector<SpVec> rows;
  for (int k = 0; k < 124; ++k) rows.push_back(rowOf({{0, 1.0}, {k + 1, 1.0}}));
  std::vector<SpVec*> pointers = pointersTo(rows);
  Vector coefficients(124);
  coefficients = 1.0;
  coefficients[60] = 0.0;  // not a term
  CapturedOutput output;
  SpVec out;
  linComb(&coefficients, pointers.data(), &out);
  ASSERT_EQ(output.errCalls().size(), 3u);
  for (const std::string& report : output.errCalls())
    EXPECT_EQ(report.rfind("ERR: too many spvecs in lincomb @ (Vectors:", 0), 0u) << report;
  EXPECT_EQ(out.v(0), 120.0);
  EXPECT_EQ(out.numEntries, 121);
  EXPECT_EQ(out.v(121), 1.0);  // the term of row 120
  EXPECT_EQ(out.v(122), 0.0);
  output.clear();
  coefficients.grow(121);
  linComb(&coefficients, pointers.data(), &out);
  EXPECT_EQ(output.err(), "");
}

TEST(LinComb, EqualsInsertingOneByOneBitForBit) {
  std::mt19937_64 random(6);
  for (int trial = 0; trial < 300; ++trial) {
    const int terms = 3 + trial % 9;
    std::vector<SpVec> rows;
    std::vector<double> coefficients;
    for (int k = 0; k < terms; ++k) {
      rows.push_back(randomRow(random, 20 + 5 * k, k % 2 ? 0.8 : 0.1));
      if (rows.back().numEntries == 0) rows.back().insEnd(1.0, 7);
      coefficients.push_back(randomVector(random, 1)[0]);
    }
    SpVec out(trial % 7), plain(trial % 7);
    const Vector c = vectorOf(coefficients);
    linComb(&c, pointersTo(rows).data(), &out);
    plainMerge(coefficients, rows, plain);
    ASSERT_EQ(entriesOf(out), entriesOf(plain));
    ASSERT_TRUE(tolerance::sameBits(out.vs(), plain.vs(), plain.numEntries));
    EXPECT_EQ(out.width, plain.width);
    EXPECT_EQ(out.values.size(), out.numEntries);
    EXPECT_EQ(out.values.maxSize(), plain.values.maxSize());
    EXPECT_EQ(out.maxEntries, plain.maxEntries);
  }
}

TEST(LinComb, UnorderedRowsTakeTheSameSteps) {
  std::vector<SpVec> rows = {rowOf({{5, 1.0}, {2, 2.0}, {8, 3.0}}), rowOf({{3, 1.0}, {3, 7.0}, {9, 1.0}}),
                             rowOf({{-4, 1.0}, {6, 1.0}})};
  const Vector c = vectorOf({1.0, 2.0, 3.0});
  SpVec out, plain;
  linComb(&c, pointersTo(rows).data(), &out);
  plainMerge({1.0, 2.0, 3.0}, rows, plain);
  EXPECT_EQ(entriesOf(out), entriesOf(plain));
  EXPECT_EQ(out.width, plain.width);
}
