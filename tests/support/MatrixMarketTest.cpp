#include "tests/support/MatrixMarket.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFile.h"

namespace {

TEST(MatrixMarket, SymmetricFilesHoldBothTriangles) {
  const TemporaryDirectory directory;
  MatrixMarket file(directory.writeGz(
      "m", "%%MatrixMarket matrix coordinate real symmetric\n% note\n2 2 2\n1 1 .5\n2 1 +3\n"));
  EXPECT_EQ(file.error, "");
  EXPECT_EQ(file.entries(), 3);
  EXPECT_EQ(file.matrix().acc(0, 0), 0.5);
  EXPECT_EQ(file.matrix().acc(0, 1), 3.0);
  EXPECT_EQ(file.matrix().acc(1, 0), 3.0);
}

TEST(MatrixMarket, PatternEntriesAreOneAndWidthIsKept) {
  const TemporaryDirectory directory;
  MatrixMarket file(directory.write("m", "%%MatrixMarket matrix coordinate pattern general\n2 5 1\n1 3\n"));
  EXPECT_EQ(file.matrix().acc(0, 2), 1.0);
  EXPECT_EQ(file.matrix().width(), 5);
  EXPECT_EQ(file.matrix().height(), 2);
}

TEST(MatrixMarket, ErrorsAreTold) {
  const TemporaryDirectory directory;
  EXPECT_NE(MatrixMarket(directory / "none").error, "");
  EXPECT_NE(MatrixMarket(directory.write("a", "1 1 1\n")).error, "");
  EXPECT_NE(
      MatrixMarket(directory.write("b", "%%MatrixMarket matrix coordinate real general\n1 1 1\n2 1 1\n"))
          .error,
      "");
}

}  // namespace
