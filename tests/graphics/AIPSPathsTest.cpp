#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "limber/graphics/AIPSWriter.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/TemporaryFile.h"

namespace {

// The bytes that `draw` adds to a drawing whose box is (100, 200)-(300, 600).
template <class Draw>
std::string drawn(Draw draw) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "drawing.ai";
  AIPSWriter writer(nullptr, path.c_str(), 100, 200, 300, 600);
  std::fflush(writer.stream);
  const std::size_t before = readText(path).size();
  draw(writer);
  std::fflush(writer.stream);
  return readText(path).substr(before);
}

TEST(AIPSWriter, MoveAndLineWriteNoLineEnd) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.m(1, 2);
              w.L(3.5, -4);
            }),
            "1 2 m 3.5 -4 L ");
}

TEST(AIPSWriter, CoordinatesAreWrittenAsPrintfWritesThem) {
  const DecimalPoint point;
  std::vector<double> numbers = {
      1.7976931348623157e308, 999999.5, 9999995.0, 99999.95, 123456.5, 123457.5, 0.001, 1e22};
  std::mt19937_64 random(8);
  while (numbers.size() < 20000) {
    const std::uint64_t bits = random();
    double any;
    std::memcpy(&any, &bits, sizeof any);
    if (std::isfinite(any) && !(std::fabs(any) < 0.001)) numbers.push_back(any);
    numbers.push_back(static_cast<double>(bits % 2000000) + 0.5);
    numbers.push_back(1.0 + static_cast<double>(bits % 100000000) * 1e-4);
  }
  std::string expected;
  for (const double number : numbers) {
    char text[100];
    std::snprintf(text, sizeof text, "%g 7 m %g 7 L %g 7 m %g 7 L S\n", number, number, number, number);
    expected += text;
  }
  EXPECT_EQ(drawn([&](AIPSWriter& w) {
              for (const double number : numbers) {
                w.m(number, 7);
                w.L(number, 7);
                w.line2(number, 7, number, 7);
              }
            }),
            expected);
}

TEST(AIPSWriter, CoordinatesBelowAThousandthAreZero) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.m(0.0004, -0.00099);
              w.m(0.001, -0.001);
            }),
            "0 0 m 0.001 -0.001 m ");
}

TEST(AIPSWriter, TransformIgnoresXInTheSecondRowAndAddsCAndD) {
  CapturedOutput output;
  TemporaryDirectory directory;
  AIPSWriter w((directory / "t.ai").c_str());
  AIPSMatrix* t = w.top();
  t->a = 2;
  t->b = 3;
  t->c = 5;
  t->d = 7;
  t->tx = 11;
  t->ty = 13;
  double X, Y;
  w.transform(10, 100, X, Y);
  EXPECT_EQ(X, 2 * 10 + 3 * 100 + 11);
  EXPECT_EQ(Y, (5 + 7) * 100 + 13);
}

TEST(AIPSWriter, SetBoxTransformsTheBoxAndMovesTheOrigin) {
  drawn([](AIPSWriter& w) {
    w.top()->a = 2;
    w.top()->d = 3;
    w.top()->tx = 100;
    w.top()->ty = -50;
    w.setBox(10, 20, 30, 40);
    const AIPSMatrix& t = *w.top();
    EXPECT_EQ(t.x0, 120);
    EXPECT_EQ(t.y0, 10);
    EXPECT_EQ(t.x1, 180);
    EXPECT_EQ(t.y1, 130);
    EXPECT_EQ(t.tx, 120);
    EXPECT_EQ(t.ty, 10);
    EXPECT_EQ(t.a, 2);
    EXPECT_EQ(t.d, 3);
  });
}

TEST(AIPSWriter, FlipBoxMovesTheOriginUpAndTurnsYRound) {
  drawn([](AIPSWriter& w) {
    w.top()->c = 0.5;
    w.top()->ty = 7;
    w.flipBox();
    EXPECT_EQ(w.top()->ty, 407);
    EXPECT_EQ(w.top()->c, -0.5);
    EXPECT_EQ(w.top()->d, -1);
    EXPECT_EQ(w.top()->a, 1);
  });
}

TEST(AIPSWriter, ForceAspectChangesTheHeightOnly) {
  drawn([](AIPSWriter& w) {
    w.forceAspect(0.25);
    EXPECT_EQ(w.top()->y1, 250);
    EXPECT_EQ(w.top()->x1, 300);
  });
}

TEST(AIPSWriter, SetCoordsScalesBothRows) {
  drawn([](AIPSWriter& w) {
    AIPSMatrix& t = *w.top();
    t.b = 2;
    t.c = 3;
    w.setCoords(10, 10);
    EXPECT_EQ(t.a, 20);
    EXPECT_EQ(t.b, 40);
    EXPECT_EQ(t.c, 120);
    EXPECT_EQ(t.d, 40);
  });
}

TEST(AIPSWriter, PushCopiesAndPopRestores) {
  drawn([](AIPSWriter& w) {
    w.setCoords(10, 20);
    w.push();
    EXPECT_EQ(w.stack.count(), 2);
    EXPECT_EQ(w.top()->a, 20);
    w.top()->a = 5;
    w.pop();
    EXPECT_EQ(w.top()->a, 20);
    EXPECT_EQ(w.stack.count(), 1);
  });
}

TEST(AIPSWriter, AnEmptyStackDrawsWithTheIdentity) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.pop();
              w.pop();
              EXPECT_EQ(w.top(), nullptr);
              w.setBox(0, 0, 1, 1);
              w.flipBox();
              w.forceAspect(2);
              w.setCoords(1, 1);
              w.m(3, 4);
              w.strokeBox();
              w.push();
              EXPECT_EQ(w.top()->a, 1);
              w.L(5, 6);
            }),
            "3 4 m 0 0 m 0 0 L 0 0 L 0 0 L 0 0 L s\n5 6 L ");
}

TEST(AIPSWriter, BoxesAreInPagePoints) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.setCoords(1, 1);
              w.strokeBox();
              w.fillBox();
              w.clipBoxStart(2);
              w.clipBoxEnd();
            }),
            "100 200 m 300 200 L 300 600 L 100 600 L 100 200 L s\n"
            "100 200 m 300 200 L 300 600 L 100 600 L 100 200 L f\n"
            "q 102 202 m 298 202 L 298 598 L 102 598 L 102 202 L h W n\nQ\n");
}

TEST(AIPSWriter, LineIsAnOpenPolyline) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.line(0);
              w.line(-1, 1.0, 2.0);
              w.line(1, 1.0, 2.0);
              w.line(3, 0.0, 0.0, 1.0, 2.0, 3.0, 4.0);
              w.line2(1, 2, 3, 4);
            }),
            "S\nS\n1 2 m S\n0 0 m 1 2 L 3 4 L S\n1 2 m 3 4 L S\n");
}

TEST(AIPSWriter, IntegerCoordinatesDrawWhatTheySay) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.line(2, 0, 0, 10, 10);
              w.line(2, 0.5f, 1, 10L, 2.5);
              w.poly(3, 0, 0, 10, 0, 10, 10);
            }),
            "0 0 m 10 10 L S\n0.5 1 m 10 2.5 L S\n0 0 m 10 0 L 10 10 L 0 0 L f\n");
}

TEST(AIPSWriter, TheCFormsTakeDoubles) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              void (AIPSWriter::*line)(int, ...) = &AIPSWriter::line;
              void (AIPSWriter::*poly)(int, ...) = &AIPSWriter::poly;
              void (AIPSWriter::*both)(int, ...) = &AIPSWriter::polyAndStroke;
              void (AIPSWriter::*closed)(int, ...) = &AIPSWriter::closedLine;
              (w.*line)(2, 1.0, 2.0, 3.0, 4.0);
              (w.*poly)(2, 1.0, 2.0, 3.0, 4.0);
              (w.*both)(2, 1.0, 2.0, 3.0, 4.0);
              (w.*closed)(0, 1.0, 2.0);
            }),
            "1 2 m 3 4 L S\n1 2 m 3 4 L 1 2 L f\n1 2 m 3 4 L 1 2 L b\n1 2 m 1 2 L s\n");
}

TEST(AIPSWriter, ClosedFormsRepeatTheFirstPointWhateverTheCount) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.poly(0, 1, 2);
              w.polyAndStroke(-3, 1, 2);
              w.closedLine(1, 1, 2);
              w.closedLine(3, 0, 0, 4, 0, 4, 3);
            }),
            "1 2 m 1 2 L f\n1 2 m 1 2 L b\n1 2 m 1 2 L s\n0 0 m 4 0 L 4 3 L 0 0 L s\n");
}

TEST(AIPSWriter, PointsThatAreNotThereAreReportedAndLeftOut) {
  std::string errors;
  EXPECT_EQ(drawn([&](AIPSWriter& w) {
              CapturedOutput output;
              w.line(3, 0, 0, 1, 1);
              w.closedLine(9, 5, 6);
              errors = output.err();
            }),
            "0 0 m 1 1 L S\n5 6 m 5 6 L s\n");
  EXPECT_EQ(errors.find("ERR: More points announced than given to AIPSWriter @ (AIPS:"), 0u);
}

TEST(AIPSWriter, CircleIsFourArcsThroughTheCompassPoints) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.setCoords(100, 100);  // 2 points a unit across, 4 upwards
              w.flipBox();
              w.circle(50, 20, 10);
            }),
            "100 280 m\n"
            "111.046 280 120 297.908 120 320 c\n"
            "120 342.092 111.046 360 100 360 c\n"
            "88.954 360 80 342.092 80 320 c\n"
            "80 297.908 88.954 280 100 280 c\n");
}

TEST(AIPSWriter, CirclesOfEitherSignOfRadiusAreTheSame) {
  for (const double r : {1.0, -1.0}) {
    EXPECT_EQ(drawn([r](AIPSWriter& w) { w.circle(0, 0, r); }),
              "0 -1 m\n"
              "0.5523 -1 1 -0.5523 1 0 c\n"
              "1 0.5523 0.5523 1 0 1 c\n"
              "-0.5523 1 -1 0.5523 -1 0 c\n"
              "-1 -0.5523 -0.5523 -1 0 -1 c\n");
  }
}

TEST(AIPSWriter, BoxIsInUserUnitsDotAndTickInPoints) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.setCoords(100, 100);
              w.box(10, 20, 1);
              w.dot(10, 20, 1);
              w.tick(10, 20, 1);
            }),
            "22 84 m 18 84 L 18 76 L 22 76 L 22 84 L b\n"
            "21 81 m 19 81 L 19 79 L 21 79 L 21 81 L b\n"
            "21 81 m 19 79 L S 19 81 m 21 79 L S\n");
}

TEST(AIPSWriter, TextIsAPointTextObjectWrittenUnescaped) {
  EXPECT_EQ(
      drawn([](AIPSWriter& w) {
        w.top()->tx = 5;
        w.text(1, 2, "a (b\\", 9.5, "Helvetica");
      }),
      "0 To 1 0 0 1 6 2 0 Tp TP 0 Tr /_Helvetica 9.5 Tf \n"
      "0 O 0 g 1 w 0 Ts 100 Tz 0 Tt 0 TA 0 0 5 TC 100 100 200 TW 0 Ta 0 0 2 2 3 Th 0 Tq 0 0 Tl 0 Tc 0 Tw\n"
      "(a (b\\) Tx TO\n");
}

#if defined(__GNUC__) && !defined(__clang__)
TEST(AIPSWriter, CallsWithoutCoordinatesAreReportedAndReadNone) {
  const auto reports = [](const char* expected, auto draw) {
    std::string errors;
    EXPECT_EQ(drawn([&](AIPSWriter& w) {
                CapturedOutput output;
                draw(w);
                errors = output.err();
              }),
              expected);
    return errors.find("ERR: More points announced than given to AIPSWriter @ (AIPS:") == 0;
  };
  EXPECT_TRUE(reports("S\n", [](AIPSWriter& w) { w.line(3); }));
  EXPECT_TRUE(reports("f\n", [](AIPSWriter& w) { w.poly(2); }));
  EXPECT_TRUE(reports("b\n", [](AIPSWriter& w) { w.polyAndStroke(0); }));
  EXPECT_TRUE(reports("s\n", [](AIPSWriter& w) { w.closedLine(1); }));
  EXPECT_FALSE(reports("S\n", [](AIPSWriter& w) { w.line(0); }));
}
#endif

TEST(AIPSWriter, PathsAreReachedThroughPointersToMembers) {
  void (AIPSWriter::*const line)(int, ...) = &AIPSWriter::line;
  void (AIPSWriter::*const poly)(int, ...) = &AIPSWriter::poly;
  EXPECT_EQ(drawn([&](AIPSWriter& w) { (w.*line)(2, 1.0, 2.0, 3.0, 4.0); }), "1 2 m 3 4 L S\n");
  EXPECT_EQ(drawn([&](AIPSWriter& w) { (w.*poly)(1, 1.0, 2.0); }), "1 2 m 1 2 L f\n");
}

}  // namespace
