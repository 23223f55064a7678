#include <gtest/gtest.h>

#include "tests/geometry/RotationFormats.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace formats;
using tolerance::close;
using tolerance::epsilon;

namespace {

// Entries are sums of at most four products of numbers of at most 1, each factor off by at most an ulp or
// two. A product of two such matrices triples the error.
constexpr double matrixTolerance = 16 * epsilon;

// Calls `law` on all critical and random poses of all nine formats that have parameters.
template <class Law>
void forAllPoses(Law law) {
  for (const Format& format : namedFormats())
    for (const std::array<double, 4>& pose : poses(format)) {
      SCOPED_TRACE(std::string(format.name) + " " + std::to_string(pose[0]) + " " + std::to_string(pose[1]) +
                   " " + std::to_string(pose[2]) + " " + std::to_string(pose[3]));
      law(format, pose.data());
      if (::testing::Test::HasFailure()) return;
    }
}

double determinant(const Matrix3x3& a) {
  const double(*m)[3] = a.m;
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
         m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

Matrix3x3 transposed(const Matrix3x3& a) {
  Matrix3x3 t;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) t.m[i][j] = a.m[j][i];
  return t;
}

}  // namespace

TEST(RotationLaws, MatricesAreOrthogonalWithDeterminantOne) {
  forAllPoses([](const Format& format, const double* p) {
    const Matrix3x3 m = matrixOf(format.rot, p);
    EXPECT_TRUE(closeEntries(product(m, transposed(m)), Matrix3x3(), matrixTolerance));
    EXPECT_TRUE(close(determinant(m), 1.0, matrixTolerance));
  });
}

TEST(RotationLaws, MatricesAreProductsOfTheSingleAxisTables) {
  forAllPoses([](const Format& format, const double* p) {
    EXPECT_TRUE(closeEntries(matrixOf(format.rot, p), expected(format.name, p), matrixTolerance));
  });
}

TEST(RotationLaws, QuaternionOfNameAndParametersTurnsPointsAsTheMatrixDoes) {
  RandomGeometry dice(99);
  forAllPoses([&](const Format& format, const double* p) {
    if (format.params == 4) return;
    const Quat q(format.name, p);
    const Matrix3x3 m = matrixOf(format.rot, p);
    const Pnt3 point = dice.point();
    // Three normalized products and the rotation itself.
    EXPECT_TRUE(closePoints(q.Rotate(point), transformMatrix(&m, point), 4 * matrixTolerance));
  });
}

TEST(RotationLaws, MatrixOfZXYIsThatOfMakeRot) {
  for (const std::array<double, 4>& p : poses({"ZXY", zxyRot, 3})) {
    Matrix4x4 wide, m4;
    makeRot(p[1], p[2], p[0], &wide);
    const Matrix3x3 m = matrixOf(zxyRot, p.data());
    as4x4(&m, &m4);
    ASSERT_TRUE(closeEntries(wide, m4, matrixTolerance));
  }
}

// Central differences with step h have an error of h^2/6 max |f'''| and, if each value is off by at most e,
// another one of e/h. In one angle every entry is A cos + B sin + C with A^2 + B^2 <= 1. Along one quaternion
// component, at norm 1, an entry is a ratio of quadratics whose denominator has its zeros at distance 1.
// Within 1/2 it is at most 9, so by Cauchy's estimate |f'''| <= 6 * 9 / (1/2)^3 = 432. For norm r the
// derivatives of order k scale with r^-k.
TEST(RotationLaws, DerivativeBlocksMatchCentralDifferences) {
  forAllPoses([](const Format& format, const double* pose) {
    double p[4] = {pose[0], pose[1], pose[2], pose[3]};
    double norm = 1.0, third = 1.0, blocks[36];
    if (format.params == 4) {
      norm = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2] + p[3] * p[3]);
      third = 432.0 / (norm * norm * norm);
      if (p[1] == 0.0 && p[2] == 0.0 && p[3] == 0.0) p[0] = norm = 1.0, third = 432.0;
    }
    format.rot->matrixDeriv(p, blocks);
    const double h = std::cbrt(3 * matrixTolerance / third);
    for (int k = 0; k < format.params; ++k) {
      double high[4] = {p[0], p[1], p[2], p[3]}, low[4] = {p[0], p[1], p[2], p[3]};
      high[k] += h, low[k] -= h;
      const Matrix3x3 above = matrixOf(format.rot, high), below = matrixOf(format.rot, low);
      const double tol = h * h / 6 * third + matrixTolerance / h;
      for (int e = 0; e < 9; ++e) {
        const double slope = (above.m[e / 3][e % 3] - below.m[e / 3][e % 3]) / (high[k] - low[k]);
        ASSERT_TRUE(close(blocks[9 * k + e], slope, tol)) << "parameter " << k << " entry " << e;
      }
    }
  });
}

TEST(RotationLaws, DerivativesWriteNineDoublesAParameterAndNoMore) {
  for (const Format& format : namedFormats()) {
    double p[4] = {0.4, 0.3, -0.2, 0.1}, blocks[37];
    for (double& x : blocks) x = 77.0;
    format.rot->matrixDeriv(p, blocks);
    for (int e = 9 * format.params; e < 37; ++e) EXPECT_EQ(blocks[e], 77.0) << format.name << " " << e;
    for (int e = 0; e < 9 * format.params; ++e) EXPECT_NE(blocks[e], 77.0) << format.name << " " << e;
  }
}

TEST(RotationLaws, AnglesFromAMatrixGiveThatMatrix) {
  for (const Format& format : angleFormats()) {
    if (format.params == 2) continue;
    for (const std::array<double, 4>& pose : poses(format)) {
      const Matrix3x3 m = matrixOf(format.rot, pose.data());
      double back[3] = {9, 9, 9};
      format.rot->fromMatrix(&m, back);
      // A single angle comes from an arc cosine, which loses half the digits near 0 and pi.
      const double tol = format.params == 1 ? 2 * std::sqrt(epsilon) : 2 * matrixTolerance;
      ASSERT_TRUE(closeEntries(matrixOf(format.rot, back), m, tol))
          << format.name << " " << pose[0] << " " << pose[1] << " " << pose[2];
    }
  }
}

TEST(RotationLaws, AnglesFromRandomMatricesAreStableAtGimbalLock) {
  RandomGeometry dice(5);
  for (const double off : {0.0, 1e-16, 1e-12, 1e-8, 1e-4})
    for (const double side : {-1.0, 1.0})
      for (int i = 0; i < 100; ++i) {
        const double p[3] = {pi * dice.number(), side * (pi / 2 - off), pi * dice.number()};
        for (RotHelper* rot : {zxyRot, xyzRot}) {
          const Matrix3x3 m = matrixOf(rot, p);
          double back[3];
          rot->fromMatrix(&m, back);
          ASSERT_TRUE(closeEntries(matrixOf(rot, back), m, 2 * matrixTolerance)) << rot->name() << " " << off;
        }
      }
}

TEST(RotationLaws, QuaternionFromAMatrixGivesThatMatrix) {
  RandomGeometry dice(17);
  for (int i = 0; i < 500; ++i) {
    const Matrix3x3 m = rotationOf(dice.quat());
    // There is no shortest turn of a vector to its negative, and near that case errors grow as 1/s.
    const double s1 = std::sqrt(2 * (1 + m.m[0][0]));
    if (s1 < 0.2) continue;
    double q[4];
    qRot->fromMatrix(&m, q);
    const Quat shortest(q[0], q[1], q[2], q[3]);
    ASSERT_TRUE(close(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3], 1.0, matrixTolerance));
    Quat first;
    const Pnt3 x(1, 0, 0), y(0, 1, 0), toX(m.m[0]);
    first.FromVectors(&x, &toX);
    const Pnt3 turned = first.Rotate(y);
    const double s2 = std::sqrt(2 + 2 * (turned.x * m.m[1][0] + turned.y * m.m[1][1] + turned.z * m.m[1][2]));
    if (s2 < 0.2) continue;
    ASSERT_TRUE(closeEntries(rotationOf(shortest), m, matrixTolerance / (0.2 * 0.2)));
  }
}

TEST(RotationLaws, ZeroIsTheIdentityAndWritesOnlyTheParameters) {
  for (const Format& format : namedFormats()) {
    double p[5] = {7, 7, 7, 7, 7};
    format.rot->zero(p);
    for (int k = 0; k < format.params; ++k) EXPECT_EQ(p[k], format.params == 4 && k == 0 ? 1.0 : 0.0);
    for (int k = format.params; k < 5; ++k) EXPECT_EQ(p[k], 7.0);
    EXPECT_TRUE(closeEntries(matrixOf(format.rot, p), Matrix3x3(), 0.0));
  }
}

TEST(RotationLaws, NamesAreExactAndAsLongAsTheParameters) {
  for (const Format& format : namedFormats()) {
    EXPECT_STREQ(format.rot->name(), format.name);
    EXPECT_EQ(std::strlen(format.rot->name()), static_cast<std::size_t>(format.params));
  }
  EXPECT_STREQ(nullRot->name(), "...");
}

TEST(RotationLaws, TheNullFormatTouchesAndPrintsNothing) {
  CapturedOutput output;
  const RotHelper own;
  for (const RotHelper* null : {static_cast<const RotHelper*>(nullRot), &own}) {
    double p[4] = {1, 2, 3, 4}, blocks[36];
    for (double& x : blocks) x = 5.0;
    Matrix3x3 m = counting3();
    null->toMatrix(p, &m);
    null->fromMatrix(&m, p);
    null->matrixDeriv(p, blocks);
    null->setX(p, 9), null->setY(p, 9), null->setZ(p, 9);
    for (const char* target : {"...", "QRST", "X", "Y", "Z", "ZX", "ZY", "XY", "XYZ", "ZXY", "nonsense"})
      null->convertTo(p, target);
    null->zero(p);
    null->Set('X', p, 9);
    EXPECT_STREQ(null->name(), "...");
    for (int k = 0; k < 4; ++k) EXPECT_EQ(p[k], k + 1.0);
    for (const double x : blocks) EXPECT_EQ(x, 5.0);
    EXPECT_TRUE(sameEntries(m, counting3()));
  }
  EXPECT_EQ(output.out() + output.err(), "");
}
