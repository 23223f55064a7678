#include "limber/geometry/Quat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>

#include "tests/geometry/RandomGeometry.h"
#include "tests/geometry/ScalarQuat.h"
#include "tests/support/CapturedOutput.h"

namespace {

static_assert(offsetof(Quat, w) == 0 && offsetof(Quat, x) == 8 && offsetof(Quat, y) == 16 &&
              offsetof(Quat, z) == 24 && sizeof(Quat) == 32);

constexpr double eps = tolerance::epsilon;
const double root = std::sqrt(0.5);

// The Hamilton product p q by its definition.
Quat hamilton(const Quat& p, const Quat& q) {
  return Quat(p.w * q.w - p.x * q.x - p.y * q.y - p.z * q.z, p.w * q.x + p.x * q.w + p.y * q.z - p.z * q.y,
              p.w * q.y - p.x * q.z + p.y * q.w + p.z * q.x, p.w * q.z + p.x * q.y - p.y * q.x + p.z * q.w);
}

TEST(Quat, IsMadeAsTheIdentityOrAsGiven) {
  EXPECT_TRUE(sameQuats(Quat(), Quat(1.0, 0.0, 0.0, 0.0)));
  const Quat q(2.0, 3.0, 4.0, 5.0);
  EXPECT_EQ(q.w, 2.0);
  EXPECT_EQ(q.x, 3.0);
  EXPECT_EQ(q.y, 4.0);
  EXPECT_EQ(q.z, 5.0);
  EXPECT_TRUE(sameQuats(Quat(q), q));
  Quat p;
  EXPECT_EQ(&(p = q), &p);
  EXPECT_TRUE(sameQuats(p, q));
  p.Identity();
  EXPECT_TRUE(sameQuats(p, Quat()));
}

TEST(Quat, SetNormalizes) {
  Quat q;
  q.Set(0.0, 3.0, 0.0, 4.0);
  EXPECT_TRUE(sameQuats(q, Quat(0.0, 3.0 * (1.0 / 5.0), 0.0, 4.0 * (1.0 / 5.0))));
}

TEST(Quat, ArraysHoldTheScalarFirst) {
  const double in[4] = {2.0, 3.0, 4.0, 5.0};
  double out[4], w = 0.0, x = 0.0, y = 0.0, z = 0.0;
  Quat q;
  q.fromArray(in);
  q.Get(out);
  EXPECT_TRUE(tolerance::sameBits(out, in, 4));  // not normalized
  q.Get(w, x, y, z);
  EXPECT_TRUE(sameQuats(Quat(w, x, y, z), q));
}

TEST(Quat, InvertConjugates) {
  Quat q(2.0, 3.0, -4.0, 5.0);
  q.Invert();
  EXPECT_TRUE(sameQuats(q, Quat(2.0, -3.0, 4.0, -5.0)));
}

TEST(Quat, NormalizeMultipliesByTheReciprocal) {
  Quat q(2.0, 4.0, 5.0, 2.0);
  q.Normalize();
  const double r = 1.0 / 7.0;
  EXPECT_TRUE(sameQuats(q, Quat(2.0 * r, 4.0 * r, 5.0 * r, 2.0 * r)));
  EXPECT_NE(5.0 * r, 5.0 / 7.0);  // division would give other bits
}

TEST(Quat, NormalizeRoundsRootAndReciprocalNearOne) {
  // Squared lengths at every distance from 1. Near 1 the library takes a short cut to the same two roundings.
  int near = 0;
  for (int k = -1100000; k <= 1100000; k += (k > -3000 && k < 3000) ? 1 : 97) {
    for (const double x : {0.0, 0x1p-27, 0x1.8p-27, 0x1p-26}) {
      Quat q(1.0 + k * (k < 0 ? 0x1p-53 : 0x1p-52) / 2.0, x, 0.0, 0.0);
      volatile double n2 = q.w * q.w + x * x;
      volatile double length = std::sqrt(n2);
      const double r = 1.0 / length;
      const Quat expected(q.w * r, x * r, 0.0, 0.0);
      q.Normalize();
      ASSERT_TRUE(sameQuats(q, expected)) << k << ' ' << x;
      if (n2 != 1.0 && std::fabs(n2 - 1.0) < 16 * eps) ++near;
    }
  }
  EXPECT_GT(near, 100);
}

TEST(Quat, NormalizingZeroGivesTheIdentitySilently) {
  CapturedOutput captured;
  Quat q(0.0, -0.0, 0.0, 0.0);
  q.Normalize();
  EXPECT_TRUE(sameQuats(q, Quat()));
  EXPECT_EQ(captured.out() + captured.err(), "");
}

TEST(QuatProduct, IsTheHamiltonProductOfTheOtherOrderNormalized) {
  RandomGeometry random(31);
  for (int i = 0; i < 2000; ++i) {
    const Quat a = random.quat(), b = random.quat();
    Quat expected = hamilton(b, a);
    expected.Normalize();
    // The factored form adds eight products below 2 with at most six roundings each on the way.
    EXPECT_TRUE(closeQuats(a * b, expected, 32.0 * eps));
  }
}

TEST(QuatProduct, UnitVectorsMultiplyAsIJK) {
  const Quat i(0.0, 1.0, 0.0, 0.0), j(0.0, 0.0, 1.0, 0.0), k(0.0, 0.0, 0.0, 1.0);
  // a * b is the Hamilton product b a.
  EXPECT_TRUE(closeQuats(j * i, k, 0.0));
  EXPECT_TRUE(closeQuats(k * j, i, 0.0));
  EXPECT_TRUE(closeQuats(i * k, j, 0.0));
  EXPECT_TRUE(closeQuats(i * j, Quat(0.0, 0.0, 0.0, -1.0), 0.0));
  EXPECT_TRUE(closeQuats(i * i, Quat(-1.0, 0.0, 0.0, 0.0), 0.0));
}

TEST(QuatProduct, AddsTheFactoredProductsFromLeftToRight) {
  // The bits of the factored product, for numbers where the form with sixteen products has other bits.
  RandomGeometry random(32);
  int differ = 0;
  for (int n = 0; n < 200; ++n) {
    const Quat a = random.quat(), b = random.quat();
    const double A = (a.w + a.x) * (b.w + b.x), B = (a.z - a.y) * (b.y - b.z), C = (b.w - b.x) * (a.y + a.z),
                 D = (b.y + b.z) * (a.w - a.x), E = (a.x + a.y) * (b.x + b.z), F = (a.x - a.y) * (b.x - b.z),
                 G = (a.w - a.z) * (b.w + b.y), H = (a.w + a.z) * (b.w - b.y);
    Quat expected(B + (-E - F + G + H) * 0.5, A - (E + F + G + H) * 0.5, C + (E - F + G - H) * 0.5,
                  D + (E - F - G + H) * 0.5);
    expected.Normalize();
    EXPECT_TRUE(sameQuats(a * b, expected));
    Quat plain = hamilton(b, a);
    plain.Normalize();
    if (!sameQuats(plain, expected)) ++differ;
  }
  EXPECT_GT(differ, 100);
}

TEST(QuatProduct, HasTheSameBitsWithAndWithoutPairsOfLanes) {
  static constexpr double special[] = {0.0,       -0.0,      1.0,        -1.0,     0.5,
                                       2.0,       0x1p-1074, -0x1p-1030, 0x1p-540, 0x1p511,
                                       -0x1p1023, 1e-160,    -3e150,     0.1,      -0.1};
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  // The sign bit of a NaN is not specified.
  const auto same = [](const Quat& p, const double* values) {
    double v[4];
    p.Get(v);
    for (int i = 0; i < 4; ++i)
      if (!(std::isnan(v[i]) && std::isnan(values[i])) && !tolerance::sameBits(v[i], values[i])) return false;
    return true;
  };
  RandomGeometry random(38);
  const auto pick = [&random](int kind) {
    const double x = random.number();
    if (kind == 1) return special[static_cast<int>(7.5 * (x + 1.0)) % 15];
    if (kind == 2) return x < -0.9 ? nan : x > 0.9 ? infinity : x > 0.8 ? -infinity : x;
    if (kind == 3) return x < -0.3 ? -0.0 : x < 0.3 ? 0.0 : x < 0.6 ? 1.0 : -1.0;
    return x;
  };
  for (int n = 0; n < 20000; ++n) {
    double a[4], b[4], product[4], unit[4];
    for (double& x : a) x = pick(n % 4);
    for (double& x : b) x = pick(n % 4);
    if (n % 8 == 4) {  // unit, as rotations are
      random.quat().Get(a);
      random.quat().Get(b);
    }
    scalarProduct(a, b, product);
    scalarNormalize(a, unit);
    Quat p(a[0], a[1], a[2], a[3]);
    ASSERT_TRUE(same(p * Quat(b[0], b[1], b[2], b[3]), product)) << n;
    p.Normalize();
    ASSERT_TRUE(same(p, unit)) << n;
  }
}

TEST(QuatProduct, NormalizesItsResult) {
  const Quat q(3.0, 1.0, -2.0, 0.5);
  Quat unit(q);
  unit.Normalize();
  // One more rounding of each of the numbers that the factored form adds, all below |q|.
  EXPECT_TRUE(closeQuats(Quat() * q, unit, 8.0 * eps));
  EXPECT_TRUE(closeQuats(q * Quat(), unit, 8.0 * eps));
}

TEST(QuatProduct, TimesTheInverseIsTheIdentity) {
  RandomGeometry random(33);
  for (int i = 0; i < 500; ++i) {
    const Quat q = random.quat();
    Quat inverse(q);
    inverse.Invert();
    EXPECT_TRUE(closeQuats(q * inverse, Quat(), 32.0 * eps));
  }
}

TEST(QuatProduct, WithZeroIsTheIdentity) {
  CapturedOutput captured;
  EXPECT_TRUE(sameQuats(Quat(0.0, 0.0, 0.0, 0.0) * Quat(0.5, 0.5, 0.5, 0.5), Quat()));
  EXPECT_EQ(captured.out() + captured.err(), "");
}

TEST(QuatProduct, TheResultMayBeAFactor) {
  RandomGeometry random(34);
  const Quat a = random.quat(), b = random.quat();
  const Quat ab = a * b;
  Quat left(a), right(b);
  left = left * b;
  right = a * right;
  EXPECT_TRUE(sameQuats(left, ab));
  EXPECT_TRUE(sameQuats(right, ab));
}

TEST(QuatProduct, QuarterTurnsAboutZThenX) {
  // 45 degree halves: every component is +-1/2 up to the rounding of sqrt(1/2).
  const Quat z(root, 0.0, 0.0, root), x(root, root, 0.0, 0.0);
  EXPECT_TRUE(closeQuats(z * x, Quat(0.5, 0.5, -0.5, 0.5), 8.0 * eps));
}

TEST(Quat, DivUndoesANormalizedCopy) {
  RandomGeometry random(35);
  for (int i = 0; i < 500; ++i) {
    const Quat a = random.quat(), q = random.quat();
    const Quat scaled(-3.0 * q.w, -3.0 * q.x, -3.0 * q.y, -3.0 * q.z);
    Quat conjugate(q);
    conjugate.Invert();
    const Quat expected = a * conjugate;
    const Quat d = a.Div(scaled);
    EXPECT_TRUE(closeQuats(d, Quat(-expected.w, -expected.x, -expected.y, -expected.z), 32.0 * eps));
    EXPECT_TRUE(closeQuats((a * q).Div(q), a, 64.0 * eps));
  }
  EXPECT_TRUE(
      closeQuats(Quat(0.0, 1.0, 0.0, 0.0).Div(Quat(0.0, 0.0, 0.0, 0.0)), Quat(0.0, 1.0, 0.0, 0.0), 0.0));
}

TEST(QuatRotate, TurnsByTheRightHand) {
  const Quat z(root, 0.0, 0.0, root);
  EXPECT_TRUE(closePoints(z.Rotate(Pnt3(1.0, 0.0, 0.0)), Pnt3(0.0, 1.0, 0.0), 4.0 * eps));
  EXPECT_TRUE(closePoints(z.RotateInv(Pnt3(0.0, 1.0, 0.0)), Pnt3(1.0, 0.0, 0.0), 4.0 * eps));
  // (1, 1, 1, 1) / 2 takes x to y, y to z and z to x, exactly.
  EXPECT_EQ(Quat(0.5, 0.5, 0.5, 0.5).Rotate(Pnt3(1.0, 2.0, 3.0)), Pnt3(3.0, 1.0, 2.0));
  EXPECT_EQ(Quat(0.5, 0.5, 0.5, 0.5).RotateInv(Pnt3(3.0, 1.0, 2.0)), Pnt3(1.0, 2.0, 3.0));
}

TEST(QuatRotate, IsTheTwoHamiltonProducts) {
  RandomGeometry random(36);
  for (int i = 0; i < 2000; ++i) {
    // Any length up to 2.
    const Quat q(random.number(), random.number(), random.number(), random.number());
    const Pnt3 p = random.point();
    Quat inverse(q);
    inverse.Invert();
    const Quat there = hamilton(hamilton(q, Quat(0.0, p.x, p.y, p.z)), inverse);
    const Quat back = hamilton(hamilton(inverse, Quat(0.0, p.x, p.y, p.z)), q);
    // Terms below |q|^2 |p| <= 7, some ten of them, each with up to five roundings.
    EXPECT_TRUE(closePoints(q.Rotate(p), Pnt3(there.x, there.y, there.z), 7.0 * 50.0 * eps));
    EXPECT_TRUE(closePoints(q.RotateInv(p), Pnt3(back.x, back.y, back.z), 7.0 * 50.0 * eps));
  }
}

TEST(QuatRotate, DoesNotNormalize) {
  EXPECT_EQ(Quat(1.0, 1.0, 1.0, 1.0).Rotate(Pnt3(1.0, 2.0, 3.0)), Pnt3(12.0, 4.0, 8.0));
  EXPECT_EQ(Quat(0.0, 0.0, 0.0, 0.0).Rotate(Pnt3(1.0, 2.0, 3.0)), Pnt3());
}

TEST(QuatRotate, WhatIsNotFiniteGivesNan) {
  for (double bad : {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
    for (int k = 0; k < 7; ++k) {
      Quat q(1.0, 0.0, 0.0, 0.0);
      Pnt3 p(0.0, 1.0, 0.0);
      (k < 4 ? (&q.w)[k] : p.v()[k - 4]) = bad;
      for (const Pnt3& turned : {q.Rotate(p), q.RotateInv(p)})
        EXPECT_TRUE(std::isnan(turned.x) && std::isnan(turned.y) && std::isnan(turned.z)) << bad << k;
    }
}

TEST(QuatRotate, LengthsWhoseSquareIsInRangeOnlyScale) {
  RandomGeometry random(38);
  const Quat q = random.quat();
  const Pnt3 p = random.point();
  for (int exponent : {-400, -100, 100, 400}) {
    const double s = std::ldexp(1.0, exponent);
    const Pnt3 scaled = Quat(s * q.w, s * q.x, s * q.y, s * q.z).Rotate(p);
    EXPECT_EQ(scaled, q.Rotate(p) * std::ldexp(1.0, 2 * exponent)) << exponent;
    EXPECT_EQ(q.Rotate(p * s), q.Rotate(p) * s) << exponent;
  }
  EXPECT_FALSE(std::isfinite(Quat(0.0, 1e200, 0.0, 0.0).Rotate(Pnt3(1.0, 2.0, 3.0)).y));
}

TEST(QuatRotate, ByAProductIsByTheFirstAndThenTheSecond) {
  RandomGeometry random(37);
  const Quat z(root, 0.0, 0.0, root), x(root, root, 0.0, 0.0);
  for (int i = 0; i < 500; ++i) {
    const Quat a = i ? random.quat() : z, b = i ? random.quat() : x;
    const Pnt3 p = random.point();
    EXPECT_TRUE(closePoints((a * b).Rotate(p), b.Rotate(a.Rotate(p)), 128.0 * eps));
  }
}

}  // namespace
