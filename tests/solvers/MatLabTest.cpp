#include "limber/solvers/MatLab.h"

#include <gtest/gtest.h>

#include <string>

#include "limber/linalg/Vector.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/support/CommaLocale.h"

namespace {

template <class T>
std::string dumped(const char* name, T* what) {
  FILE* const file = std::tmpfile();
  writeMatLab(file, name, what);
  std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
  std::rewind(file);
  text.resize(std::fread(text.data(), 1, text.size(), file));
  std::fclose(file);
  return text;
}

Vector counting(int n) {
  Vector v(n);
  for (int i = 0; i < n; ++i) v[i] = i + 1;
  return v;
}

TEST(MatLab, SmallMatrixEndsWithoutALineEnd) {
  FullMatrix m = toDense(2, 3, {1, 0.5, -2, 0, 1e-20, 123456789});
  EXPECT_EQ(dumped("A", &m), "A = [\n     1, 0.5, -2;\n     0, 1e-20, 1.23457e+08];");
}

TEST(MatLab, NothingIsWrittenOfNothingOrToNoFile) {
  FullMatrix m = toDense(1, 1, {2.0});
  Vector v = counting(3);
  EXPECT_EQ(dumped("A", static_cast<SpMat*>(nullptr)) + dumped("v", static_cast<Vector*>(nullptr)), "");
  writeMatLab(nullptr, "A", &m);
  writeMatLab(nullptr, "v", &v);
}

TEST(MatLab, MatrixWithoutRows) {
  HSpMat empty(0);
  EXPECT_EQ(dumped("A", &empty), "A = [\n];");
}

TEST(MatLab, FormChangesAtForty) {
  const auto isSmall = [](int rows, int columns) {
    FullMatrix m(rows, columns);
    return dumped("A", &m).rfind("A = [\n", 0) == 0;
  };
  EXPECT_TRUE(isSmall(39, 39));
  EXPECT_FALSE(isSmall(40, 1));
  EXPECT_FALSE(isSmall(1, 40));
  EXPECT_TRUE(isSmall(39, 1));
}

// 1 x 40: nine entries, the last of them a zero in the last column.
TEST(MatLab, SparseFormWritesEightAtATimeAndTheLastColumn) {
  FullMatrix m(1, 40);
  for (int j = 0; j < 8; ++j) m.e(0, 2 * j) = 0.5 + j;
  EXPECT_EQ(dumped("M", &m),
            "clear sparsei; clear sparsej; clear sparsev;\n"
            "sparsei(1:8) = [1 1 1 1 1 1 1 1 ];\n"
            "sparsej(1:8) = [1 3 5 7 9 11 13 15 ];\n"
            "sparsev(1:8) = [0.5 1.5 2.5 3.5 4.5 5.5 6.5 7.5 ];\n"
            "sparsei(9:9) = [1 ];\n"
            "sparsej(9:9) = [40 ];\n"
            "sparsev(9:9) = [0 ];\n"
            "M = full(sparse(sparsei,sparsej,sparsev));\n\n");
}

TEST(MatLab, ExactlyEightEntriesLeaveNoRemainder) {
  FullMatrix m(1, 40);
  for (int j = 0; j < 8; ++j) m.e(0, 39 - j) = 1.0;
  const std::string text = dumped("M", &m);
  EXPECT_NE(text.find("sparsei(1:8)"), std::string::npos);
  EXPECT_EQ(text.find("sparsei(9"), std::string::npos);
}

TEST(MatLab, AllZeroSparseFormHasOneEntryARow) {
  FullMatrix m(40, 2);
  const std::string text = dumped("Z", &m);
  EXPECT_NE(text.find("sparsei(33:40) = [33 34 35 36 37 38 39 40 ];\nsparsej(33:40) = [2 2 2 2 2 2 2 2 ];\n"
                      "sparsev(33:40) = [0 0 0 0 0 0 0 0 ];\n"),
            std::string::npos);
  EXPECT_EQ(text.find("sparsei(41"), std::string::npos);
}

TEST(MatLab, VectorsInChunksOfTen) {
  Vector none(0), nine = counting(9), ten = counting(10), more = counting(12);
  EXPECT_EQ(dumped("v", &none), "clear v;\n");
  EXPECT_EQ(dumped("v", &nine), "clear v;\nv(1:9) = [1 2 3 4 5 6 7 8 9 ];\n");
  EXPECT_EQ(dumped("v", &ten), "clear v;\nv(1:10) = [1 2 3 4 5 6 7 8 9 10 ];\n");
  EXPECT_EQ(dumped("v", &more), "clear v;\nv(1:10) = [1 2 3 4 5 6 7 8 9 10 ];\nv(11:12) = [11 12 ];\n");
}

TEST(MatLab, NumbersHaveAPointInAnyLocale) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "cannot make a locale here";
  FullMatrix m = toDense(1, 1, {0.5});
  Vector v = toVector({0.25});
  EXPECT_EQ(dumped("A", &m), "A = [\n     0.5];");
  EXPECT_EQ(dumped("v", &v), "clear v;\nv(1:1) = [0.25 ];\n");
}

}  // namespace
