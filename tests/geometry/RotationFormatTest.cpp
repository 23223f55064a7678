// What single formats promise in addition to the laws for all formats: documented values and degenerate
// input.
#include <gtest/gtest.h>

#include <limits>

#include "tests/geometry/RotationFormats.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace formats;
using tolerance::close;
using tolerance::epsilon;

namespace {

const double quietNaN = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

Matrix3x3 rows(const double (&a)[9]) {
  Matrix3x3 m;
  std::memcpy(m.m, a, sizeof a);
  return m;
}

double angleFrom(const RotHelper* rot, const Matrix3x3& m) {
  double a = 99.0;
  rot->fromMatrix(&m, &a);
  return a;
}

}  // namespace

TEST(OneAxisFormat, AngleComesBackWithItsSign) {
  for (const Format& format : {Format{"X", xRot, 1}, Format{"Y", yRot, 1}, Format{"Z", zRot, 1}})
    for (const double a : {-0.5, 0.5, -3.0, 3.0, 1.0})
      EXPECT_TRUE(close(angleFrom(format.rot, singleAxis(format.name[0], a)), a, 16 * epsilon))
          << format.name << a;
}

TEST(OneAxisFormat, HalfTurnsComeBackAsPiOrMinusPi) {
  for (const Format& format : {Format{"X", xRot, 1}, Format{"Y", yRot, 1}, Format{"Z", zRot, 1}}) {
    EXPECT_EQ(angleFrom(format.rot, singleAxis(format.name[0], pi)), pi);
    EXPECT_EQ(angleFrom(format.rot, singleAxis(format.name[0], -pi)), -pi);
  }
  // The negated sine exactly zero, of either sign: not strictly positive.
  EXPECT_EQ(angleFrom(xRot, rows({1, 0, 0, 0, -1, 0, 0, 0, -1})), pi);
  EXPECT_EQ(angleFrom(xRot, rows({1, 0, 0, 0, -1, 0, 0, -0.0, -1})), pi);
}

TEST(OneAxisFormat, CosinesBeyondOneAreClamped) {
  EXPECT_EQ(angleFrom(xRot, rows({1, 0, 0, 0, 1 + 1e-12, 0, 0, 0, 1})), 0.0);
  EXPECT_EQ(angleFrom(yRot, rows({1.5, 0, 0, 0, 1, 0, 0, 0, 1})), 0.0);
  EXPECT_EQ(angleFrom(zRot, rows({-1.5, 0, 0, 0.1, 1, 0, 0, 0, 1})), -pi);
  EXPECT_EQ(angleFrom(zRot, rows({-1.5, 0, 0, -0.1, 1, 0, 0, 0, 1})), pi);
}

TEST(OneAxisFormat, AnotherAxisRotationIsReadByTwoEntriesAlone) {
  EXPECT_TRUE(close(angleFrom(xRot, singleAxis('Z', 0.5)), 0.5, 16 * epsilon));
}

TEST(OneAxisFormat, NaNCosineGivesNaNAndNaNSineThePositiveAngle) {
  EXPECT_TRUE(std::isnan(angleFrom(xRot, rows({1, 0, 0, 0, quietNaN, 0, 0, 0, 1}))));
  EXPECT_TRUE(close(angleFrom(xRot, rows({1, 0, 0, 0, 0, 1, 0, quietNaN, 0})), pi / 2, epsilon));
}

TEST(OneAxisFormat, DerivativeOfXIsTheStatedTable) {
  double p = 0.3, d[9];
  xRot->matrixDeriv(&p, d);
  const double c = std::cos(0.3), s = std::sin(0.3), wanted[9] = {0, 0, 0, 0, -s, c, 0, -c, -s};
  EXPECT_TRUE(close(d, wanted, 9, epsilon));
  EXPECT_FALSE(std::signbit(d[3]) || std::signbit(d[6]));
}

TEST(TwoAxisFormat, FromMatrixWarnsAndGivesZeros) {
  for (const RotHelper* rot : {zxRot, zyRot, xyRot}) {
    CapturedOutput output;
    double p[3] = {1, 2, 3};
    const Matrix3x3 m;
    rot->fromMatrix(&m, p);
    EXPECT_EQ(output.out(), "WARNING: Can't convert matrix to 2 dof rotation\n");
    EXPECT_EQ(p[0], 0.0);
    EXPECT_EQ(p[1], 0.0);
    EXPECT_EQ(p[2], 3.0);
  }
}

TEST(TwoAxisFormat, EntriesOfZXAreAsWritten) {
  const double p[2] = {0.4, -1.1};
  const double cz = std::cos(0.4), sz = std::sin(0.4), cx = std::cos(-1.1), sx = std::sin(-1.1);
  EXPECT_TRUE(closeEntries(matrixOf(zxRot, p),
                           rows({cz, sz, 0, -sz * cx, cz * cx, sx, sz * sx, -cz * sx, cx}), epsilon));
}

TEST(TwoAxisFormat, NaNAngleSpoilsOnlyItsEntries) {
  const double p[2] = {quietNaN, 0.5};
  const Matrix3x3 m = matrixOf(zxRot, p);
  EXPECT_EQ(m.m[0][2], 0.0);
  EXPECT_EQ(m.m[1][2], std::sin(0.5));
  EXPECT_TRUE(std::isnan(m.m[0][0]) && std::isnan(m.m[1][0]) && std::isnan(m.m[2][1]));
}

TEST(ThreeAxisFormat, ScaledRowsGiveTheSameAnglesButForTheYOfZXY) {
  for (RotHelper* rot : {zxyRot, xyzRot}) {
    const double p[3] = {0.4, -0.6, 1.2};
    Matrix3x3 m = matrixOf(rot, p);
    for (auto& row : m.m)
      for (double& x : row) x *= 1024.0;
    double back[3];
    rot->fromMatrix(&m, back);
    EXPECT_TRUE(close(back, p, rot == zxyRot ? 2 : 3, 16 * epsilon)) << rot->name();
  }
}

TEST(ThreeAxisFormat, ExactGimbalLockKeepsTheMatrix) {
  const Matrix3x3 tilted = rows({0, 0, -1, 1, 0, 0, 0, -1, 0}), up = rows({1, 0, 0, 0, 0, 1, 0, -1, 0}),
                  across = rows({0, 0, -1, 0, 1, 0, 1, 0, 0});
  for (RotHelper* rot : {zxyRot, xyzRot})
    for (const Matrix3x3& m : {tilted, up, across}) {
      double p[3];
      rot->fromMatrix(&m, p);
      EXPECT_TRUE(closeEntries(matrixOf(rot, p), m, 16 * epsilon)) << rot->name();
    }
}

TEST(ThreeAxisFormat, ThirdRowIsReadForItsFirstEntryAtMost) {
  const double p[3] = {0.4, -0.6, 1.2};
  for (RotHelper* rot : {zxyRot, xyzRot}) {
    Matrix3x3 m = matrixOf(rot, p);
    m.m[2][1] = m.m[2][2] = quietNaN;
    if (rot == zxyRot) m.m[2][0] = quietNaN;
    double back[3];
    rot->fromMatrix(&m, back);
    EXPECT_TRUE(close(back, p, 3, 16 * epsilon)) << rot->name();
  }
}

TEST(ThreeAxisFormat, ZeroMatrixGivesMultiplesOfPiAndNaNGivesNaN) {
  for (RotHelper* rot : {zxyRot, xyzRot}) {
    Matrix3x3 m = rows({0, 0, 0, 0, 0, 0, 0, 0, 0});
    double p[3];
    rot->fromMatrix(&m, p);
    for (const double a : p) EXPECT_TRUE(close(std::sin(a), 0.0, epsilon)) << rot->name();
    m = Matrix3x3();
    m.m[1][0] = quietNaN;
    rot->fromMatrix(&m, p);
    EXPECT_TRUE(std::isnan(p[rot == zxyRot ? 0 : 2])) << rot->name();
    EXPECT_TRUE(std::isnan(p[rot == zxyRot ? 2 : 0])) << rot->name();
  }
}

TEST(QuaternionFormat, PureScalarIsTheIdentityAndOnlyZeroIsReportedAndRepaired) {
  for (const double w : {0.0, 2.0, -3.0}) {
    CapturedOutput output;
    double q[4] = {w, 0, 0, 0};
    Matrix3x3 m = counting3();
    qRot->toMatrix(q, &m);
    EXPECT_EQ(output.out(), w == 0.0 ? "WARNING: 0,0,0,0 quaternion!!!\n" : "");
    EXPECT_EQ(q[0], w == 0.0 ? 1.0 : w);
    EXPECT_TRUE(closeEntries(m, Matrix3x3(), 0.0));
  }
}

TEST(QuaternionFormat, DerivativeOfAPureScalarIsTakenAtTheIdentity) {
  double atIdentity[36], d[36], one[4] = {1, 0, 0, 0};
  qRot->matrixDeriv(one, atIdentity);
  // At the identity the matrix changes by twice the cross product with each axis, and not at all with w.
  EXPECT_EQ(atIdentity[9 + 5], 2.0);
  EXPECT_EQ(atIdentity[9 + 7], -2.0);
  for (int e = 0; e < 9; ++e) EXPECT_EQ(atIdentity[e], 0.0);
  for (const double w : {5.0, -0.25, 0.0}) {
    CapturedOutput output;
    double q[4] = {w, 0, 0, 0};
    qRot->matrixDeriv(q, d);
    EXPECT_EQ(q[0], 1.0);
    EXPECT_TRUE(close(d, atIdentity, 36, 0.0));
    EXPECT_EQ(output.out(), w == 0.0 ? "WARNING: 0,0,0,0 quaternion!!!\n" : "");
  }
}

TEST(QuaternionFormat, NormDoesNotMatterNotEvenWhereItsSquareLeavesTheRange) {
  const double q[4] = {0.3, -0.4, 0.5, 0.6};
  const Matrix3x3 m = matrixOf(qRot, q);
  double unit[36];
  double copy[4] = {q[0], q[1], q[2], q[3]};
  qRot->matrixDeriv(copy, unit);
  for (const int exponent : {-1040, -700, -400, -150, -1, 1, 150, 400, 700, 1000}) {
    double scaled[4], d[36];
    for (int k = 0; k < 4; ++k) scaled[k] = std::ldexp(q[k], exponent);
    // Below the smallest normal number the components themselves lose digits.
    const double tol = exponent < -1021 ? std::ldexp(16.0, -1074 - exponent) : 0.0;
    EXPECT_TRUE(closeEntries(matrixOf(qRot, scaled), m, tol)) << exponent;
    if (std::abs(exponent) > 900) continue;  // the derivative itself leaves the range
    qRot->matrixDeriv(scaled, d);
    for (double& x : d) x = std::ldexp(x, exponent);
    EXPECT_TRUE(tolerance::close(d, unit, 36, 0.0)) << exponent;
  }
}

TEST(QuaternionFormat, DerivativeBeyondTheRangeIsInfiniteNotNaN) {
  double q[4] = {0, 4e-324, 0, 0}, d[36];
  qRot->matrixDeriv(q, d);
  for (const double x : d) EXPECT_FALSE(std::isnan(x));
  // x = 1 is the half turn about X, where dM/dw turns about X at twice the rate.
  EXPECT_TRUE(std::isinf(d[5]) && d[5] > 0.0);
  EXPECT_EQ(d[0], 0.0);
}

TEST(QuaternionFormat, NotFiniteComponentsGiveNotFiniteEntries) {
  for (const double bad : {quietNaN, inf}) {
    const double q[4] = {1, bad, 0.5, 0};
    EXPECT_FALSE(std::isfinite(matrixOf(qRot, q).m[1][1]));
  }
}

TEST(QuaternionFormat, HalfTurnAboutAnAxisFromItsMatrixIsNotFinite) {
  // Contract: the shortest turn is not defined here.
  const double diagonals[3][3] = {{1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}};
  for (const auto& a : diagonals) {
    Matrix3x3 m;
    for (int k = 0; k < 3; ++k) m.m[k][k] = a[k];
    double q[4];
    qRot->fromMatrix(&m, q);
    EXPECT_FALSE(std::isfinite(q[0]) && std::isfinite(q[1]) && std::isfinite(q[2]) && std::isfinite(q[3]));
  }
}

TEST(QuaternionFormat, FromMatrixDoesNotReadTheThirdRow) {
  Matrix3x3 m = rotationOf(Quat(0.9, 0.1, 0.2, -0.3)), spoiled = m;
  for (double& x : spoiled.m[2]) x = quietNaN;
  double a[4], b[4];
  qRot->fromMatrix(&m, a);
  qRot->fromMatrix(&spoiled, b);
  EXPECT_TRUE(tolerance::sameBits(a, b, 4));
}
