// Quat::FromDirections and the rotation vector, which are accurate for every input, and what the documented
// formulas give for the same input. References are computed in long double or with exact integers.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "limber/geometry/Quat.h"
#include "limber/geometry/QuatTransform.h"
#include "limber/geometry/RotHelper.h"
#include "tests/geometry/LongQuats.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace reference;

// Checks image and axis; the exact axis is given where long double would lose it.
::testing::AssertionResult turnsShortest(const Pnt3& from, const Pnt3& to, const Vec& axis) {
  Quat q;
  q.FromDirections(&from, &to);
  const Vec a = unit(Vec(from)), b = unit(Vec(to));
  const Real image = length(rotated(q, a) - b);
  const Real off = length(unit(Vec(q.x, q.y, q.z)) - unit(axis));
  if (image <= allowed && off <= allowed && q.w >= 0.0 && normError(q) <= 8 * unitOfRounding)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "image off by " << image << ", axis by " << off << ", w = " << q.w;
}

TEST(QuatFromDirections, IsTheShortestTurnOfRandomDirections) {
  LIMBER_NEEDS_WIDE_LONG_DOUBLE();
  RandomGeometry random(81);
  for (int i = 0; i < 20000; ++i) {
    const Pnt3 from = random.point() * std::pow(10.0, i % 7), to = random.point() * std::pow(10.0, -(i % 5));
    EXPECT_TRUE(turnsShortest(from, to, cross(Vec(from), Vec(to))));
  }
}

#ifdef __SIZEOF_INT128__
__extension__ typedef __int128 Wide;

// The cross product of points with integer components below 2^52, exactly, rounded once.
Vec exactCross(const Pnt3& a, const Pnt3& b) {
  const auto component = [](double p, double q, double r, double s) {
    return static_cast<Real>(Wide(static_cast<long long>(p)) * static_cast<long long>(q) -
                             Wide(static_cast<long long>(r)) * static_cast<long long>(s));
  };
  return Vec(component(a.y, b.z, a.z, b.y), component(a.z, b.x, a.x, b.z), component(a.x, b.y, a.y, b.x));
}

TEST(QuatFromDirections, KeepsTheAxisNextToParallelAndOppositeDirections) {
  LIMBER_NEEDS_WIDE_LONG_DOUBLE();
  RandomGeometry random(82);
  const double size = std::ldexp(1.0, 51);
  for (int i = 0; i < 20000; ++i) {
    const double sign = i % 2 ? 1.0 : -1.0, step = std::ldexp(1.0, i % 50);
    const auto integer = [&](double x) { return std::trunc(x); };
    const Pnt3 p = random.point(), d = random.point();
    const Pnt3 from(integer(size * p.x), integer(size * p.y), integer(size * p.z));
    const Pnt3 to(sign * (from.x + integer(step * d.x)), sign * (from.y + integer(step * d.y)),
                  sign * (from.z + integer(step * d.z)));
    const Vec axis = exactCross(from, to);
    if (length(axis) == 0) continue;  // parallel after all
    EXPECT_TRUE(turnsShortest(from, to, axis)) << i;
  }
}
#endif

TEST(QuatFromDirections, OfOppositeDirectionsIsAHalfTurnAboutAnAxisAcross) {
  RandomGeometry random(83);
  CapturedOutput captured;
  for (int i = 0; i < 5000; ++i) {
    Pnt3 from = random.point();
    if (i < 27) from = Pnt3(i / 9 - 1, i / 3 % 3 - 1, i % 3 - 1);
    if (i == 13) continue;                               // the zero point
    const Pnt3 to = from * -std::ldexp(1.0, i % 5 - 2);  // exactly opposite
    Quat q;
    q.FromDirections(&from, &to);
    EXPECT_EQ(q.w, 0.0);
    EXPECT_LE(normError(q), 8 * unitOfRounding);
    EXPECT_LE(length(rotated(q, unit(Vec(from))) - unit(Vec(to))), allowed);
    EXPECT_LE(std::fabs(q.x * Real(from.x) + q.y * Real(from.y) + q.z * Real(from.z)), allowed);
    // The axis has no part along the smallest component.
    const double part[3] = {q.x, q.y, q.z},
                 size[3] = {std::fabs(from.x), std::fabs(from.y), std::fabs(from.z)};
    EXPECT_EQ(part[std::min_element(size, size + 3) - size], 0.0);
  }
  EXPECT_EQ(captured.out() + captured.err(), "");
}

TEST(QuatFromDirections, OfParallelDirectionsIsExactlyTheIdentity) {
  RandomGeometry random(84);
  for (int i = 0; i < 1000; ++i) {
    const Pnt3 from = random.point(), to = from * std::ldexp(1.0, i % 9 - 4);
    Quat q;
    q.FromDirections(&from, &to);
    EXPECT_TRUE(closeQuats(q, Quat(), 0.0));
  }
}

TEST(QuatFromDirections, ServesVectorsOfEverySize) {
  LIMBER_NEEDS_WIDE_LONG_DOUBLE();
  const double tiny = 1e-300, huge = 1e300, least = std::numeric_limits<double>::denorm_min();
  EXPECT_TRUE(turnsShortest(Pnt3(tiny, 2 * tiny, 3 * tiny), Pnt3(huge, -huge, huge), Vec(5, 2, -3)));
  EXPECT_TRUE(turnsShortest(Pnt3(least, 0, 0), Pnt3(0, 1.7e308, 0), Vec(0, 0, 1)));
  // Angles far below the rounding of 1, and angles that differ from half a turn by as little.
  EXPECT_TRUE(turnsShortest(Pnt3(3, 0, 0), Pnt3(5, 2 * tiny, tiny), Vec(0, -1, 2)));
  EXPECT_TRUE(turnsShortest(Pnt3(3, 0, 0), Pnt3(-5, 2 * tiny, tiny), Vec(0, -1, 2)));
  Quat q;
  const Pnt3 x(3.0, 0.0, 0.0), nearX(5.0, 2e-300, 0.0), opposite(-4.0, 2e-200, 0.0);
  q.FromDirections(&x, &nearX);
  EXPECT_TRUE(tolerance::relative(q.z, 2e-301, allowed));
  q.FromDirections(&x, &opposite);
  EXPECT_TRUE(tolerance::relative(q.w, 2.5e-201, allowed));
}

TEST(QuatFromDirections, AZeroVectorIsReportedAndCountsAsUp) {
  CapturedOutput captured;
  const Pnt3 zero, x(2.0, 0.0, 0.0), up(0.0, 1.0, 0.0);
  Quat q, expected;
  q.FromDirections(&zero, &x);
  EXPECT_EQ(captured.err(), "ERR: Normalizing Zero Point! @ (Pnt3:236)\n");
  expected.FromDirections(&up, &x);
  EXPECT_TRUE(closeQuats(q, expected, 0.0));
  captured.clear();
  q.FromDirections(&zero, &zero);
  EXPECT_EQ(captured.err(),
            "ERR: Normalizing Zero Point! @ (Pnt3:236)\nERR: Normalizing Zero Point! @ (Pnt3:236)\n");
  EXPECT_TRUE(closeQuats(q, Quat(), 0.0));
}

TEST(QuatFromDirections, OfWhatIsNotFiniteIsNotFinite) {
  const double bad[] = {std::nan(""), std::numeric_limits<double>::infinity(),
                        -std::numeric_limits<double>::infinity()};
  for (double value : bad)
    for (int k = 0; k < 3; ++k) {
      Pnt3 from(0.5, -0.25, 2.0);
      const Pnt3 to(1.0, 0.0, 0.0);
      from.v()[k] = value;
      Quat q;
      q.FromDirections(&from, &to);
      EXPECT_FALSE(finite(q)) << value << " " << k;
      q.FromDirections(&to, &from);
      EXPECT_FALSE(finite(q)) << value << " " << k;
      q.FromRotationVector(&from);
      EXPECT_FALSE(finite(q)) << value << " " << k;
    }
}

// The results of the documented formula for opposite directions. The documentation quotes these figures.
TEST(QuatFromDirections, TheStatedFormulaFailsForEveryOppositeDirection) {
  RandomGeometry random(85);
  int notFinite = 0, nearZero = 0, unitLength = 0;
  for (int i = 0; i < 20000; ++i) {
    const Pnt3 from = random.point(), to = from * -1.0;
    Quat q;
    q.FromVectors(&from, &to);
    if (!finite(q))
      ++notFinite;
    else
      (normError(q) > 0.9 ? nearZero : unitLength)++;
  }
  EXPECT_NEAR(notFinite / 20000.0, 0.70, 0.05);
  EXPECT_NEAR(nearZero / 20000.0, 0.30, 0.05);
  EXPECT_EQ(unitLength, 0);
}

TEST(QuatFromRotationVector, TurnsByItsLengthAboutItself) {
  RandomGeometry random(91);
  for (int i = 0; i < 20000; ++i) {
    const Pnt3 v = random.point() * 3.5;  // up to 6: most of two turns of the quaternion
    const Real angle = length(Vec(v));
    Quat q;
    q.FromRotationVector(&v);
    EXPECT_TRUE(isRotation(q, std::cos(angle / 2), (std::sin(angle / 2) / angle) * Vec(v)));
    EXPECT_LE(normError(q), 8 * unitOfRounding);
  }
}

TEST(QuatFromRotationVector, IsExactForTinyAngles) {
  RandomGeometry random(92);
  for (int exponent = -1; exponent >= -307; --exponent) {
    const Pnt3 v = random.point() * std::pow(10.0, exponent);
    const Real angle = length(Vec(v)),
               factor = exponent < -5 ? Real(0.5) - angle * angle / 48 : std::sin(angle / 2) / angle;
    Quat q;
    q.FromRotationVector(&v);
    EXPECT_TRUE(tolerance::close(q.w, static_cast<double>(std::cos(angle / 2)), 0.5 * tolerance::epsilon));
    const double vector[3] = {q.x, q.y, q.z};
    for (int k = 0; k < 3; ++k)
      EXPECT_TRUE(tolerance::relative(vector[k], static_cast<double>(factor * v.v()[k]), allowed))
          << exponent;
    const Pnt3 back = q.RotationVector();
    for (int k = 0; k < 3; ++k) EXPECT_TRUE(tolerance::relative(back.v()[k], v.v()[k], allowed)) << exponent;
    if (exponent < -9 && exponent > -150) {
      Quat stated;
      stated.FromAxisAngle(&v, static_cast<double>(angle));  // no angle is left
      EXPECT_EQ(stated.w, 1.0);
      EXPECT_EQ(Pnt3(stated.x, stated.y, stated.z), Pnt3());
      EXPECT_EQ(q.Log(), Pnt3());
    }
  }
}

TEST(QuatFromRotationVector, OfZeroIsTheIdentity) {
  const Pnt3 zero;
  Quat q(0.0, 1.0, 0.0, 0.0);
  q.FromRotationVector(&zero);
  EXPECT_TRUE(closeQuats(q, Quat(), 0.0));
}

TEST(QuatRotationVector, IsTheInverseUpToHalfATurn) {
  RandomGeometry random(93);
  for (int i = 0; i < 20000; ++i) {
    const Vec axis = unit(Vec(random.point()));
    const Real angle = i % 3 == 0 ? pi - std::pow(Real(10), -(i % 15)) : pi * (i % 1000) / Real(1001);
    const Pnt3 v(static_cast<double>(angle * axis.x), static_cast<double>(angle * axis.y),
                 static_cast<double>(angle * axis.z));
    Quat q;
    q.FromRotationVector(&v);
    const Pnt3 back = q.RotationVector(), minus = Quat(-q.w, -q.x, -q.y, -q.z).RotationVector();
    EXPECT_LE(length(Vec(back) - Vec(v)), allowed * std::fmax(1.0L, angle)) << angle;
    EXPECT_LE(length(Vec(minus) - Vec(v)), allowed * std::fmax(1.0L, angle)) << angle;
    EXPECT_LE(back.length(), pi * (1 + allowed));
  }
}

TEST(QuatRotationVector, OfAHalfTurnHasTheLengthPi) {
  EXPECT_TRUE(
      closePoints(Quat(0.0, 0.0, 0.6, -0.8).RotationVector(), Pnt3(0.0, 0.6 * pi, -0.8 * pi), allowed * pi));
  EXPECT_EQ(Quat(0.0, 1.0, 0.0, 0.0).RotationVector(), Pnt3(pi, 0.0, 0.0));
}

TEST(QuatRotationVector, OfAQuaternionWithoutVectorPartIsZero) {
  for (double w : {1.0, -1.0, 7.0, 0.0, -0.0, 1e-300})
    EXPECT_EQ(Quat(w, 0.0, 0.0, 0.0).RotationVector(), Pnt3());
}

TEST(QuatRotationVector, DoesNotDependOnTheNorm) {
  RandomGeometry random(94);
  for (int i = 0; i < 1000; ++i) {
    const Quat q = random.quat();
    const double s = std::ldexp(1.0, i - 500);
    EXPECT_TRUE(
        closePoints(Quat(s * q.w, s * q.x, s * q.y, s * q.z).RotationVector(), q.RotationVector(), allowed));
  }
}

TEST(QuatRotationVector, ServesQuaternionsAtTheEndsOfTheRange) {
  for (const double s : {0x1p-1074, 0x1p-1030, 0x1p-1000, 0x1p1000, 0x1p1023}) {
    EXPECT_EQ(Quat(0.0, s, 0.0, 0.0).RotationVector(), Pnt3(pi, 0.0, 0.0)) << s;
    EXPECT_EQ(Quat(-s, s, -s, s).RotationVector(), Quat(-1.0, 1.0, -1.0, 1.0).RotationVector()) << s;
  }
}

TEST(QuatRotationVector, TakesTheShortWay) {
  const Pnt3 v(0.0, 0.0, 5.0);  // 5 radians forwards are 2 pi - 5 backwards
  Quat q;
  q.FromRotationVector(&v);
  EXPECT_TRUE(closePoints(q.RotationVector(), Pnt3(0.0, 0.0, 5.0 - 2 * pi), allowed * 5));
}

}  // namespace
