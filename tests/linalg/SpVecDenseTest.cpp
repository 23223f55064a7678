#include <gtest/gtest.h>

#include "limber/foundation/Output.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"
#include "tests/linalg/Vectors.h"
#include "tests/support/CapturedOutput.h"

// Sparse rows with dense vectors, and their texts.

TEST(SpVecDense, Magnitudes) {
  const SpVec row = rowOf({{2, 3.0}, {5, -4.0}});
  EXPECT_EQ(row.magSq(), 25.0);
  EXPECT_EQ(row.mag(), 5.0);
  EXPECT_EQ(row.addElems(), -1.0);
  const SpVec none;
  EXPECT_EQ(none.magSq(), 0.0);
  EXPECT_EQ(none.mag(), 0.0);
  EXPECT_EQ(none.addElems(), 0.0);
}

TEST(SpVecDense, SumsCountEntriesAfterCompact) {
  SpVec row = rowOf({{2, 3.0}, {5, 0.5}, {6, 4.0}});
  row.compact(1.0);
  EXPECT_EQ(row.magSq(), 25.0);
  EXPECT_EQ(row.addElems(), 7.0);
}

TEST(SpVecDense, AddElemsRunsInEntryOrder) {
  const double big = 9007199254740992.0;
  EXPECT_EQ(rowOf({{0, big}, {1, 1.0}, {2, 1.0}}).addElems(), big);
  EXPECT_EQ(rowOf({{0, 1.0}, {1, 1.0}, {2, big}}).addElems(), big + 2.0);
}

TEST(SpVecDense, WeightedMagnitude) {
  const SpVec row = rowOf({{1, 3.0}, {2, -4.0}});
  const Vector w = vectorOf({100, 2, 0.5});
  EXPECT_EQ(row.weightedL2(&w), 26.0);
  EXPECT_EQ(row.weightedL2(nullptr), 25.0);
}

TEST(SpVecDense, DotWithAVector) {
  SpVec row = rowOf({{0, 2.0}, {3, -1.0}});
  Vector v = vectorOf({1, 50, 50, 4, 50});
  EXPECT_EQ(dot(row, &v), -2.0);
  EXPECT_EQ(dot(&v, row), -2.0);
  SpVec none;
  EXPECT_EQ(dot(none, &v), 0.0);
}

TEST(SpVecDense, IndicesReachTheWholeStorageAndNoFurther) {
  SpVec row = rowOf({{-1, 7.0}, {1, 2.0}, {4, 3.0}, {9, 5.0}, {2000000000, 5.0}});
  Vector v = vectorOf({1, 1, 1, 1, 1, 1});
  v.grow(2);  // the slot at 4 is after the last element, but in the storage
  EXPECT_EQ(dot(row, &v), 5.0);
  EXPECT_EQ(row.weightedL2(&v), 13.0);
  row.scatterAdd(&v, 10.0);
  v.grow(6);
  expectElements(v, {1, 21, 1, 1, 31, 1});
  SpVec other = rowOf({{1, 1.0}, {4, 1.0}, {9, 1.0}});
  EXPECT_EQ(sdot(&row, &other, &v), 2.0 * 21.0 + 3.0 * 31.0);
}

TEST(SpVecDense, ScatterAddAccumulates) {
  const SpVec row = rowOf({{0, 2.0}, {2, -1.0}});
  Vector v = vectorOf({1, 2, 3});
  row.scatterAdd(&v, 0.5);
  expectElements(v, {2, 2, 2.5});
}

TEST(SpVecDense, GatherAppendsWhatIsNotZero) {
  SpVec row = rowOf({{8, 1.0}});
  Vector v = vectorOf({0, 2, -0.0, 1e-13, 3});
  row.gather(&v);
  EXPECT_EQ(entriesOf(row), (Entries{{8, 1.0}, {1, 2.0}, {4, 3.0}}));
  EXPECT_EQ(row.width, 5);
}

TEST(SpVecDense, GatherOfTheRowsOwnValuesEnds) {
  SpVec row = rowOf({{3, 1.0}, {5, 2.0}, {9, 4.0}});
  row.gather(&row.values);
  EXPECT_EQ(entriesOf(row), (Entries{{3, 1.0}, {5, 2.0}, {9, 4.0}, {0, 1.0}, {1, 2.0}, {2, 4.0}}));
  EXPECT_EQ(row.width, 3);
}

TEST(SpVecDense, ScatterFillsTheVectorsOfAnArray) {
  Vector array[4] = {3, 2, 6, 1};
  for (Vector& v : array) v = 9.0;
  rowOf({{0, 1.5}, {2, 2.5}}).scatter(array);
  expectElements(array[0], {1.5, 1.5, 1.5});
  expectElements(array[1], {9, 9});
  expectElements(array[2], {2.5, 2.5, 2.5, 2.5, 2.5, 2.5});
  expectElements(array[3], {9});
  rowOf({{3, 4.0}}).scatter(array);
  expectElements(array[0], {0, 0, 0});
  expectElements(array[3], {4});
}

TEST(SpVecDense, ScatterIntoOneVectorFillsItWithTheEntryAtZero) {
  Vector v = vectorOf({1, 2, 3});
  rowOf({{0, 7.0}}).scatter(&v);
  expectElements(v, {7, 7, 7});
  SpVec().scatter(&v);
  expectElements(v, {0, 0, 0});
  v = 1.0;
  rowOf({{-2, 7.0}}).scatter(&v);  // an index before the array: skipped
  expectElements(v, {0, 0, 0});
}

TEST(SpVecText, PrintShowsFourEntries) {
  CapturedOutput output;
  rowOf({{2, 2.0}, {15, -4.126}}).print();
  EXPECT_EQ(output.out(), "SpVec [2 of 4] width [16] (2  2.00)(15 -4.13)\n");
  output.clear();
  SpVec(7).print();
  EXPECT_EQ(output.out(), "SpVec [0 of 7] width [-1] \n");
  output.clear();
  SpVec row = rowOf({{0, 1.0}, {1, 2.0}, {2, 3.0}, {3, 4.0}});
  row.print();
  EXPECT_EQ(output.out(), "SpVec [4 of 4] width [4] (0  1.00)(1  2.00)(2  3.00)(3  4.00)\n");
  output.clear();
  row.insEnd(5.0, 4);
  row.print();
  EXPECT_EQ(output.out(), "SpVec [5 of 4] width [5] (0  1.00)(1  2.00)(2  3.00)(3  4.00)...\n");
  output.clear();
  row.insEnd(123456.789, 5);
  row.print();
  EXPECT_EQ(output.out(), "SpVec [6 of 4] width [6] (0  1.00)(1  2.00)(2  3.00)(3  4.00)...\n");
}

TEST(SpVecText, SprintWritesTheNumbersOnly) {
  char text[100];
  rowOf({{2, 2.0}, {15, -4.0}}).sprint(text);
  EXPECT_STREQ(text, "SpVec [2 of 4] width [16]");
  rowOf({{2, 2.0}}).sprint(nullptr);  // there is nowhere to write
}

TEST(SpVecText, PortrayIsDense) {
  CapturedOutput output;
  const SpVec row = rowOf({{1, 2.5}, {3, -1.0}, {9, 8.0}});
  row.portray(5);
  EXPECT_EQ(output.out(), "[0 2.5 0 -1 0 ...]");
  output.clear();
  row.portray(0);
  EXPECT_EQ(output.out(), "[...]");
  output.clear();
  char format[] = "<%.1f>";
  char* const before = numberPrintFormat;
  numberPrintFormat = format;
  row.portray(2);
  numberPrintFormat = before;
  EXPECT_EQ(output.out(), "[<0.0><2.5>...]");
}
