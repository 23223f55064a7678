#include "limber/graphics/AIPSWriter.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>

#include "limber/geometry/Pnt3.h"
#include "tests/graphics/Drawings.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFile.h"

namespace {

TEST(AIPSMatrix, HasTenDoublesInTheDocumentedOrderAndStartsAsIdentity) {
  static_assert(std::is_standard_layout_v<AIPSMatrix> && sizeof(AIPSMatrix) == 10 * sizeof(double));
  const AIPSMatrix t;
  const double expected[] = {0, 0, 0, 0, 1, 0, 0, 1, 0, 0};
  const double* const fields[] = {&t.x0, &t.y0, &t.x1, &t.y1, &t.a, &t.b, &t.c, &t.d, &t.tx, &t.ty};
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(*fields[i], expected[i]) << i;
    EXPECT_EQ(fields[i], &t.x0 + i);
  }
}

TEST(AIPSMatrix, CopiesAllTenValues) {
  AIPSMatrix t;
  double* const v = &t.x0;
  for (int i = 0; i < 10; ++i) v[i] = i + 0.5;
  const AIPSMatrix copy(t);
  AIPSMatrix assigned;
  assigned = t;
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ((&copy.x0)[i], i + 0.5);
    EXPECT_EQ((&assigned.x0)[i], i + 0.5);
  }
}

TEST(AIPSWriter, HasItsFieldsInTheDocumentedOrder) {
  static_assert(std::is_standard_layout_v<AIPSWriter>);
  EXPECT_EQ(offsetof(AIPSWriter, stream), 0u);
  EXPECT_EQ(offsetof(AIPSWriter, stack), sizeof(void*));
  EXPECT_EQ(offsetof(AIPSWriter, name), 2 * sizeof(void*));
  EXPECT_EQ(offsetof(AIPSWriter, groupCount), 3 * sizeof(void*));
}

TEST(AIPSWriter, WritesHeaderPenAndTrailerAroundNothing) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "empty.ai";
  { AIPSWriter writer(path.c_str()); }
  EXPECT_EQ(readText(path), header + pen + trailer);
  EXPECT_EQ(output.out(), "AIPS finished file " + path + "\n");
  EXPECT_EQ(output.err(), "");
}

TEST(AIPSWriter, TheOneArgumentFormHasABoxOf576By720) {
  CapturedOutput output;
  TemporaryDirectory directory;
  AIPSWriter writer((directory / "box.ai").c_str());
  const AIPSMatrix* t = writer.top();
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->x0, 0);
  EXPECT_EQ(t->y0, 0);
  EXPECT_EQ(t->x1, 576);
  EXPECT_EQ(t->y1, 720);
  EXPECT_EQ(t->tx, 0);
  EXPECT_EQ(t->ty, 0);
  EXPECT_EQ(writer.stack.count(), 1);
  EXPECT_EQ(writer.groupCount, 0);
}

TEST(AIPSWriter, TheBoundingBoxIsThePageWhateverTheBox) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "small.ai";
  {
    AIPSWriter writer(nullptr, path.c_str(), 10, 20, 30, 50);
    EXPECT_EQ(writer.top()->x0, 10);
    EXPECT_EQ(writer.top()->y1, 50);
  }
  EXPECT_EQ(readText(path), header + pen + trailer);
}

TEST(AIPSWriter, UnbalancedGroupsAreWarnedOfAtTheEnd) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "groups.ai";
  {
    AIPSWriter writer(path.c_str());
    writer.beginGroup();
    writer.beginGroup();
    writer.endGroup();
    EXPECT_EQ(writer.groupCount, 1);
  }
  EXPECT_EQ(readText(path), header + pen + "u\nu\nU\n" + trailer);
  // The message has no placeholder for the count, so it is printed unchanged.
  const std::vector<std::string> expected = {"WARNING @ (AIPS:69) :", "Bogus group count at AIPS close!",
                                             "\n"};
  EXPECT_EQ(output.errCalls(), expected);
}

TEST(AIPSWriter, MoreGroupsEndedThanBegunAreWarnedOfToo) {
  CapturedOutput output;
  TemporaryDirectory directory;
  {
    AIPSWriter writer((directory / "groups.ai").c_str());
    writer.endGroup();
    EXPECT_EQ(writer.groupCount, -1);
  }
  EXPECT_EQ(output.err(), "WARNING @ (AIPS:69) :Bogus group count at AIPS close!\n");
}

TEST(AIPSWriter, PenOperators) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.setWidth(2.5);
              w.stroke();
              w.fill();
              w.closeFillAndStroke();
              w.setLineCap(1);
              w.setLineJoin(2);
              w.reset();
            }),
            "2.5 w\nS\nf\nb\n1 J\n2 j\n" + pen);
}

TEST(AIPSWriter, DashIsSolidWhenOnIsNotPositive) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.setDash(0, 5);
              w.setDash(-1, 5);
              w.setDash(3, 1.5);
            }),
            "[]0 d\n[]0 d\n[3 1.5]0 d\n");
}

TEST(AIPSWriter, GraysGoThroughNormColorWithoutComplement) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.strokeGray(0.25);
              w.fillGray(0.75);
              w.strokeGray(255);
              w.fillGray(51);
              w.strokeGray(1.01);
            }),
            "0.25 G\n0.75 g\n1 G\n0.2 g\n1.01 G\n");
}

TEST(AIPSWriter, ColoursAreWrittenAsTheirComplement) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.strokeRGB(1, 0, 0, nullptr);
              w.strokeRGB(255, 0, 0, nullptr);
              w.strokeRGB(1.01, 0, 0, nullptr);
              w.fillRGB(0.25, 0.5, 0.75);
              w.strokeRGB(0, 0, 1, "Sky");
              w.fillRGB(0, 255, 0, "Leaf");
              w.fillRGB(1, 1, 1, "");
              w.strokeRGB(Pnt3(0.5, 0, 1));
              w.fillRGB(Pnt3(1, 0.25, 0.5));
            }),
            "0 1 1 0 K\n0 1 1 0 K\n-0.01 1 1 0 K\n0.75 0.5 0.25 0 k\n1 1 0 0 (Sky) 0 X\n1 0 1 0 (Leaf) 0 x\n"
            "0 0 0 0 () 0 x\n"
            "0.5 1 0 0 K\n0 0.75 0.5 0 k\n");
}

TEST(AIPSWriter, NormColorMultipliesByTheStatedConstantAbove101) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const AIPSWriter writer((directory / "n.ai").c_str());
  EXPECT_EQ(writer.normColor(1.01), 1.01);
  EXPECT_EQ(writer.normColor(1.02), 1.02 * 0.00392156862745098);
  EXPECT_EQ(writer.normColor(8.25), 8.25 * 0.00392156862745098);
  EXPECT_NE(writer.normColor(8.25), 8.25 / 255);
  EXPECT_EQ(writer.normColor(-3.0), -3.0);
}

TEST(AIPSWriter, OutputIsInTheCLocale) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "localedef cannot make a locale here";
  EXPECT_EQ(drawn([](AIPSWriter& w) { w.setWidth(1.5); }), "1.5 w\n");
}

TEST(AIPSWriter, AprFormatsToTheStream) {
  EXPECT_EQ(drawn([](AIPSWriter& w) { w.apr("%% %s %d\n", "note", 7); }), "% note 7\n");
}

}  // namespace
