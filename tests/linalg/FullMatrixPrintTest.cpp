#include <gtest/gtest.h>

#include "limber/linalg/FullMatrix.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFile.h"

namespace {

std::string printed(const FullMatrix& m) {
  const TemporaryDirectory directory;
  const std::string path = directory / "matrix";
  std::FILE* const file = std::fopen(path.c_str(), "w");
  m.print(file);
  std::fclose(file);
  return readText(path);
}

TEST(FullMatrixPrint, OneLineARowWithZerosAsIntegers) {
  EXPECT_EQ(printed(matrixOf({{1.5, 0}, {-0.0, 123456.789}})), " 1.5000       0 \n      0 123456.7890 \n");
  EXPECT_EQ(printed(matrixOf({{2.5, 1}})), " 2.5000  1.0000 \n");
}

TEST(FullMatrixPrint, HasADecimalPointInEveryLocale) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "cannot make a locale here";
  EXPECT_EQ(printed(matrixOf({{1.5}})), " 1.5000 \n");
}

TEST(FullMatrixPrint, NothingWithoutRows) {
  EXPECT_EQ(printed(FullMatrix(0, 3)), "");
  EXPECT_EQ(printed(FullMatrix(-1, -1)), "");
}

TEST(FullMatrixPrint, FormattedRowsGoThroughTheChannel) {
  const FullMatrix m = matrixOf({{1, 2, 3}, {4, 5, 6}});
  using Print = void (FullMatrix::*)(int, const char*) const;
  for (const Print print : {&FullMatrix::printC, &FullMatrix::printF}) {
    for (const int n : {0, -1, 3, 9}) {
      CapturedOutput output;
      (m.*print)(n, "%g,");
      EXPECT_EQ(output.out(), "1,2,3,\n4,5,6,\n");
    }
    CapturedOutput output;
    (m.*print)(2, "<%4.1f>");
    EXPECT_EQ(output.out(), "< 1.0>< 2.0>\n< 4.0>< 5.0>\n");
  }
}

}  // namespace
