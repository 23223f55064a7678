#include <gtest/gtest.h>

#include "tests/geometry/RotationFormats.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace formats;
using tolerance::epsilon;

namespace {

void setBySlot(const RotHelper* rot, char axis, double* p, double angle) {
  if (axis == 'X') rot->setX(p, angle);
  if (axis == 'Y') rot->setY(p, angle);
  if (axis == 'Z') rot->setZ(p, angle);
}

// The Z-X-Y angles of a format's rotation.
std::array<double, 3> zxyOf(const Format& format, const double* p) {
  const Matrix3x3 m = expected(format.name, p);
  std::array<double, 3> angles;
  zxyRot->fromMatrix(&m, angles.data());
  return angles;
}

}  // namespace

TEST(RotationSet, AnglesOfTheFormatsOwnAxesAreStored) {
  for (const Format& format : angleFormats()) {
    if (std::string(format.name) == "XYZ") continue;
    for (int k = 0; k < format.params; ++k) {
      double bySet[4] = {1, 2, 3, 4}, bySlot[4] = {1, 2, 3, 4}, wanted[4] = {1, 2, 3, 4};
      wanted[k] = 0.7;
      CapturedOutput output;
      format.rot->Set(format.name[k], bySet, 0.7);
      setBySlot(format.rot, format.name[k], bySlot, 0.7);
      EXPECT_TRUE(tolerance::sameBits(bySet, wanted, 4)) << format.name;
      EXPECT_TRUE(tolerance::sameBits(bySlot, wanted, 4)) << format.name;
      EXPECT_EQ(output.out(), "");
    }
  }
}

TEST(RotationSet, AxesTheFormatHasNotWarnAndLeaveTheParameters) {
  const struct {
    RotHelper* rot;
    char axis;
    const char* text;
  } rows[] = {
      {xRot, 'Y', "WARNING:  Setting y-axis rotation on 'X' joint type\n"},
      {xRot, 'Z', "WARNING:  Setting z-axis rotation on 'X' joint type\n"},
      // Contract: the y-axis.
      {yRot, 'X', "WARNING:  Setting y-axis rotation on 'Y' joint type\n"},
      {yRot, 'Z', "WARNING:  Setting z-axis rotation on 'Y' joint type\n"},
      {zRot, 'X', "WARNING:  Setting x-axis rotation on 'Z' joint type\n"},
      {zRot, 'Y', "WARNING:  Setting y-axis rotation on 'Z' joint type\n"},
      {zxRot, 'Y', "WARNING:  Setting y-axis rotation on 'ZX' joint type\n"},
      {zyRot, 'X', "WARNING:  Setting x-axis rotation on 'ZY' joint type\n"},
      {xyRot, 'Z', "WARNING:  Setting z-axis rotation on 'XY' joint type\n"},
  };
  for (const auto& row : rows) {
    CapturedOutput output;
    double p[4] = {1, 2, 3, 4};
    row.rot->Set(row.axis, p, 0.7);
    EXPECT_EQ(output.out(), row.text);
    output.clear();
    setBySlot(row.rot, row.axis, p, 0.7);
    EXPECT_EQ(output.out(), row.text);
    EXPECT_EQ(output.err(), "");
    for (int k = 0; k < 4; ++k) EXPECT_EQ(p[k], k + 1.0);
  }
}

TEST(RotationSet, OtherCharactersWarnAndChangeNothingInEveryFormatTheNullFormatToo) {
  std::vector<Format> all = namedFormats();
  all.push_back({"...", nullRot, 0});
  for (const Format& format : all)
    for (const char axis : {'Q', 'x', 'y', 'z', ' '}) {
      CapturedOutput output;
      double p[4] = {1, 2, 3, 4};
      format.rot->Set(axis, p, 0.7);
      EXPECT_EQ(output.out(), std::string("can't set rotation variable ") + axis + "\n");
      for (int k = 0; k < 4; ++k) EXPECT_EQ(p[k], k + 1.0);
    }
}

TEST(RotationSet, QuaternionAndXYZSetTheAngleOfTheZXYDecomposition) {
  RandomGeometry dice(11);
  for (const Format& format : {Format{"QRST", qRot, 4}, Format{"XYZ", xyzRot, 3}})
    for (const std::array<double, 4>& pose : poses(format, 100))
      for (const char axis : {'X', 'Y', 'Z'}) {
        std::array<double, 3> angles = zxyOf(format, pose.data());
        // At gimbal lock the decomposition is not unique, and it depends on rounding which angle is changed.
        if (std::fabs(std::fabs(angles[1]) - pi / 2) < 1e-3) continue;
        const double angle = 3 * dice.number();
        angles[axis == 'Z' ? 0 : axis == 'X' ? 1 : 2] = angle;
        std::array<double, 4> p = pose;
        CapturedOutput output;
        format.rot->Set(axis, p.data(), angle);
        EXPECT_EQ(output.out(), "");
        // The error of an angle is a rounding error over the cosine of the X angle, which is at least 1e-3
        // here.
        ASSERT_TRUE(closeEntries(expected(format.name, p.data()), expected("ZXY", angles.data()),
                                 64 * epsilon / 1e-3))
            << format.name << " " << axis;
      }
}

TEST(RotationSet, SettingOneAxisOfXYZIsNotStoringIt) {
  double p[3] = {0.3, 0.4, 0.5};
  xyzRot->setY(p, 0.9);
  EXPECT_GT(std::fabs(p[1] - 0.9), 0.01);
}

TEST(RotationSet, QuaternionOfZerosIsSetAfterItsWarning) {
  CapturedOutput output;
  double q[4] = {0, 0, 0, 0};
  qRot->Set('Y', q, 0.5);
  EXPECT_EQ(output.out(), "WARNING: 0,0,0,0 quaternion!!!\n");
  EXPECT_TRUE(tolerance::close(q[0], std::cos(0.25), 4 * epsilon));
  EXPECT_TRUE(tolerance::close(q[2], std::sin(0.25), 4 * epsilon));
}
