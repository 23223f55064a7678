#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "limber/geometry/Quat.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"

namespace {

constexpr double eps = tolerance::epsilon;
const std::string zeroPoint = "ERR: Normalizing Zero Point! @ (Pnt3:236)\n";

double dot(const Pnt3& a, const Pnt3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

Pnt3 unit(Pnt3 p) {
  p.normalize();
  return p;
}

TEST(QuatFromVectors, IsTheShortestTurn) {
  RandomGeometry random(51);
  for (int i = 0; i < 1000; ++i) {
    const Pnt3 from = random.point(), to = random.point();
    Quat q;
    q.FromVectors(&from, &to);
    const double cosine = dot(unit(from), unit(to));
    // Dividing by s = sqrt(2 (1 + cos)) magnifies the rounding of 1 + cos.
    const double tol = 32 * eps / (1.0 + cosine);
    EXPECT_TRUE(closePoints(q.Rotate(unit(from)), unit(to), tol));
    EXPECT_TRUE(tolerance::close(q.x * from.x + q.y * from.y + q.z * from.z, 0.0, tol));  // about a x b
    EXPECT_GE(q.w, 0.0);
  }
}

TEST(QuatFromVectors, IsExactlyTheFormula) {
  const Pnt3 x(2.0, 0.0, 0.0), y(0.0, 3.0, 0.0);
  Quat q;
  q.FromVectors(&x, &y);
  const double s = std::sqrt(2.0);
  EXPECT_TRUE(sameQuats(q, Quat(s * 0.5, 0.0, 0.0, 1.0 / s)));
  EXPECT_EQ(x, Pnt3(2.0, 0.0, 0.0));
  EXPECT_EQ(y, Pnt3(0.0, 3.0, 0.0));
  // Only roots, products and quotients: the same bits everywhere. 1 / s multiplies, and nothing is
  // normalized.
  RandomGeometry random(54);
  int divided = 0;
  for (int i = 0; i < 200; ++i) {
    const Pnt3 from = random.point(), to = random.point(), cross = unit(from) * unit(to);
    q.FromVectors(&from, &to);
    const double root = std::sqrt(2.0 * (1.0 + dot(unit(from), unit(to)))), r = 1.0 / root;
    EXPECT_TRUE(sameQuats(q, Quat(root * 0.5, cross.x * r, cross.y * r, cross.z * r)));
    if (!sameQuats(q, Quat(root * 0.5, cross.x / root, cross.y / root, cross.z / root))) ++divided;
  }
  EXPECT_GT(divided, 20);
}

TEST(QuatFromVectors, OfParallelVectorsIsTheIdentity) {
  const Pnt3 a(0.0, 0.0, 2.0), b(0.0, 0.0, 9.0);
  Quat q;
  q.FromVectors(&a, &b);
  EXPECT_TRUE(closeQuats(q, Quat(), 0.0));
}

TEST(QuatFromVectors, OfOppositeVectorsIsNotFinite) {
  const Pnt3 a(1.0, 0.0, 0.0), b(-4.0, 0.0, 0.0);
  Quat q;
  CapturedOutput captured;
  q.FromVectors(&a, &b);
  EXPECT_EQ(q.w, 0.0);
  EXPECT_FALSE(std::isfinite(q.x) || std::isfinite(q.y) || std::isfinite(q.z));
  EXPECT_EQ(captured.out() + captured.err(), "");
}

TEST(QuatFromVectors, OfOppositeVectorsHangsOnTheRoundingOfTheCosine) {
  RandomGeometry random(53);
  int zero = 0, below = 0, above = 0;
  for (int i = 0; i < 1000; ++i) {
    const Pnt3 a = random.point(), b = a * -1.0;
    Quat q;
    q.FromVectors(&a, &b);
    const Pnt3 u = unit(a);
    const double s2 = 1.0 - dot(u, u);  // each product is that of u with -u, negated
    if (s2 == 0.0) {
      ++zero;
      EXPECT_EQ(q.w, 0.0);
      EXPECT_FALSE(std::isfinite(q.x) || std::isfinite(q.y) || std::isfinite(q.z));
    } else if (s2 < 0.0) {
      ++below;
      EXPECT_TRUE(std::isnan(q.w) && std::isnan(q.x) && std::isnan(q.y) && std::isnan(q.z));
    } else {
      ++above;
      EXPECT_TRUE(sameQuats(q, Quat(std::sqrt(2.0 * s2) * 0.5, 0.0, 0.0, 0.0)));
      EXPECT_LT(q.w, 1e-7);
    }
  }
  EXPECT_GT(zero, 50);
  EXPECT_GT(below, 50);
  EXPECT_GT(above, 50);
}

TEST(QuatFromVectors, OfAZeroVectorReportsAndTakesUp) {
  CapturedOutput captured;
  const Pnt3 zero, y(0.0, 2.0, 0.0);
  Quat q;
  q.FromVectors(&zero, &y);
  EXPECT_EQ(captured.err(), zeroPoint);
  EXPECT_TRUE(closeQuats(q, Quat(), 0.0));
  captured.clear();
  q.FromVectors(&zero, &zero);
  EXPECT_EQ(captured.err(), zeroPoint + zeroPoint);
}

TEST(QuatFromTwoPairs, TurnsOneVectorExactlyAndThePlaneWithIt) {
  RandomGeometry random(52);
  for (int i = 0; i < 1000; ++i) {
    const Quat turn = random.quat();
    const Pnt3 from1 = random.point(), from2 = random.point(), to1 = turn.Rotate(from1),
               to2 = turn.Rotate(from2);
    Quat q;
    q.FromVectors(&from1, &from2, &to1, &to2);
    // Both shortest turns divide by 1 + cos of their angle; the normals lose to the sine between the vectors.
    Quat first;
    first.FromVectors(&from1, &to1);
    const Pnt3 n1 = unit(first.Rotate(from2 * from1)), n2 = unit(to2 * to1);
    const double sine = (from1 * from2).length() / (from1.length() * from2.length());
    const double tol = 64 * eps / ((1.0 + dot(unit(from1), unit(to1))) * (1.0 + dot(n1, n2)) * sine);
    EXPECT_TRUE(closePoints(q.Rotate(unit(from1)), unit(to1), tol));
    EXPECT_TRUE(closePoints(q.Rotate(unit(from2)), unit(to2), tol));
    EXPECT_TRUE(tolerance::close(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z, 1.0, 8 * eps));
  }
}

TEST(QuatFromTwoPairs, IsTheProductOfTheTwoStatedTurns) {
  RandomGeometry random(55);
  for (int i = 0; i < 200; ++i) {
    const Pnt3 from1 = random.point(), from2 = random.point(), to1 = random.point(), to2 = random.point();
    Quat first, second, q;
    first.FromVectors(&from1, &to1);
    const Pnt3 turned = first.Rotate(from2 * from1), wanted = to2 * to1;
    second.FromVectors(&turned, &wanted);
    q.FromVectors(&from1, &from2, &to1, &to2);
    EXPECT_TRUE(sameQuats(q, first * second));
  }
}

TEST(QuatFromTwoPairs, TheSecondVectorsOnlyGiveThePlane) {
  const Pnt3 x(1.0, 0.0, 0.0), y(0.0, 1.0, 0.0), z(0.0, 0.0, 1.0), skew(5.0, 0.0, 3.0);
  // x to y, and the plane of (x, y) to that of (y, skew), which is that of (y, x + 0.6 z).
  Quat q;
  q.FromVectors(&x, &y, &y, &skew);
  EXPECT_TRUE(closePoints(q.Rotate(x), y, 16 * eps));
  const double r = 1.0 / std::sqrt(34.0);
  EXPECT_TRUE(closePoints(q.Rotate(y), Pnt3(5.0 * r, 0.0, 3.0 * r), 64 * eps));
  EXPECT_TRUE(closePoints(q.Rotate(z), Pnt3(3.0 * r, 0.0, -5.0 * r), 64 * eps));
}

TEST(QuatFromTwoPairs, OppositeFirstVectorsAreNotFinite) {
  const Pnt3 x(1.0, 0.0, 0.0), y(0.0, 1.0, 0.0), minus(-1.0, 0.0, 0.0);
  Quat q;
  CapturedOutput captured;
  q.FromVectors(&x, &y, &minus, &y);
  EXPECT_TRUE(std::isnan(q.w) && std::isnan(q.x) && std::isnan(q.y) && std::isnan(q.z));
  // The turned normal is NaN, which is reported as a zero point.
  EXPECT_EQ(captured.err(), zeroPoint);
}

TEST(QuatFromTwoPairs, OppositeNormalsAreNotFinite) {
  // A half turn about x: the first turn is the identity, the normals are opposite.
  const Pnt3 x(1.0, 0.0, 0.0), y(0.0, 1.0, 0.0), minus(0.0, -1.0, 0.0);
  Quat q;
  q.FromVectors(&x, &y, &x, &minus);
  EXPECT_TRUE(std::isnan(q.w) && std::isnan(q.x) && std::isnan(q.y) && std::isnan(q.z));
}

TEST(QuatFromTwoPairs, ParallelVectorsHaveNoPlaneAndReport) {
  const Pnt3 x(1.0, 0.0, 0.0), twice(2.0, 0.0, 0.0), z(0.0, 0.0, 1.0);
  CapturedOutput captured;
  Quat q;
  q.FromVectors(&x, &twice, &x, &z);  // the normal of (x, x) counts as (0, 1, 0), that of (x, z) is z x x = y
  EXPECT_EQ(captured.err(), zeroPoint);
  EXPECT_TRUE(closeQuats(q, Quat(), 0.0));
}

}  // namespace
