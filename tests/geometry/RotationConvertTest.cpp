#include <gtest/gtest.h>

#include <algorithm>

#include "tests/geometry/RotationFormats.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace formats;
using tolerance::epsilon;
using tolerance::sameBits;

namespace {

constexpr int targets = 11;
const char* const targetNames[targets] = {"...", "QRST", "X",   "Y",   "Z",  "ZX",
                                          "ZY",  "XY",   "XYZ", "ZXY", "zxy"};

// What happens to each pair of formats:
//   =  no change      .  no change, whatever the target
//   Q  Quat(name, params)                      M  through the matrix
//   R  "Can't get 'FROM' rotation in format"   U  "Can't get rotation in format"
//   V  "Unknown rotation format"
// or the angles' new places, 0 1 the old parameters and - a zero.
struct Row {
  const char* from;
  const char* outcome[targets];
};
const Row table[] = {
    //        ...  QRST  X    Y    Z    ZX    ZY    XY    XYZ    ZXY    zxy
    {"QRST", {"V", "=", "R", "R", "R", "R", "R", "R", "M", "M", "V"}},
    {"X", {"U", "Q", "=", "R", "R", "-0", "R", "0-", "0--", "-0-", "U"}},
    {"Y", {"U", "Q", "R", "=", "R", "R", "-0", "-0", "-0-", "--0", "U"}},
    {"Z", {"U", "Q", "R", "R", "=", "0-", "0-", "R", "--0", "0--", "U"}},
    {"ZX", {"U", "Q", "R", "R", "R", "=", "R", "R", "M", "01-", "U"}},
    {"ZY", {"U", "Q", "R", "R", "R", "R", "=", "R", "M", "0-1", "U"}},
    {"XY", {"U", "Q", "R", "R", "R", "R", "R", "=", "01-", "-01", "U"}},
    {"XYZ", {"R", "Q", "R", "R", "R", "R", "R", "R", "=", "M", "R"}},
    {"ZXY", {"R", "Q", "R", "R", "R", "R", "R", "R", "M", "=", "R"}},
};

RotHelper* formatOf(const char* name) {
  for (const Format& format : namedFormats())
    if (std::string(format.name) == name) return format.rot;
  return nullptr;
}

// What `params` must hold afterwards, and what must be printed.
void expectOutcome(const Row& row, int t, const std::array<double, 4>& before, const double* after,
                   const std::string& printed) {
  const std::string from = row.from, to = targetNames[t], outcome = row.outcome[t];
  std::array<double, 4> wanted = before;
  std::string warning;
  double tol = 0.0;
  if (outcome == "Q") {
    Quat(row.from, before.data()).Get(wanted.data());
  } else if (outcome == "M") {
    Matrix3x3 m = matrixOf(formatOf(row.from), before.data());
    formatOf(targetNames[t])->fromMatrix(&m, wanted.data());
  } else if (outcome == "R") {
    warning = "WARNING: Can't get '" + from + "' rotation in format " + to + "\n";
  } else if (outcome == "U") {
    warning = "WARNING: Can't get rotation in format " + to + "\n";
  } else if (outcome == "V") {
    warning = "WARNING: Unknown rotation format " + to + "\n";
  } else if (outcome != "=") {
    for (std::size_t k = 0; k < outcome.size(); ++k)
      wanted[k] = outcome[k] == '-' ? 0.0 : before[static_cast<std::size_t>(outcome[k] - '0')];
  }
  EXPECT_TRUE(tolerance::close(after, wanted.data(), 4, tol)) << from << " to " << to;
  EXPECT_EQ(printed, warning) << from << " to " << to;
  if (warning.empty()) {
    // The rotation is the same, whichever way it was converted. Through Quat there are at most four more
    // roundings per element.
    EXPECT_TRUE(closeEntries(expected(to, after), expected(from, before.data()), 64 * epsilon))
        << from << " to " << to;
  }
}

std::array<double, 4> somePose(RandomGeometry& dice, const char* from) {
  const Quat q = dice.quat();
  if (std::string(from) == "QRST") return {q.w, q.x, q.y, q.z};
  return {pi * q.x, pi * q.y, pi * q.z, 42.0};
}

}  // namespace

TEST(RotationConvert, ConvertToDoesWhatTheTableSaysForEveryPair) {
  RandomGeometry dice(3);
  for (const Row& row : table)
    for (int t = 0; t < targets; ++t)
      for (int i = 0; i < 50; ++i) {
        std::array<double, 4> p = somePose(dice, row.from);
        const std::array<double, 4> before = p;
        CapturedOutput output;
        formatOf(row.from)->convertTo(p.data(), targetNames[t]);
        expectOutcome(row, t, before, p.data(), output.out());
        EXPECT_EQ(output.err(), "");
        ASSERT_FALSE(HasFailure());
      }
}

TEST(RotationConvert, ConvertCopiesAndDoesTheSame) {
  RandomGeometry dice(4);
  for (const Row& row : table)
    for (int t = 0; t < targets; ++t) {
      std::array<double, 4> in = somePose(dice, row.from), out = {42, 42, 42, 42};
      const std::array<double, 4> before = in;
      CapturedOutput output;
      RotHelper::Convert(row.from, targetNames[t], in.data(), out.data());
      std::array<double, 4> inPlace = {42, 42, 42, 42};
      std::copy_n(before.begin(), std::strlen(row.from), inPlace.begin());
      const std::string printed = output.out();
      expectOutcome(row, t, inPlace, out.data(), printed);
      EXPECT_TRUE(sameBits(in.data(), before.data(), 4));
      // The same array for both, and two that overlap by one element.
      std::array<double, 5> shared = {7, before[0], before[1], before[2], before[3]};
      RotHelper::Convert(row.from, targetNames[t], &shared[1], &shared[0]);
      EXPECT_TRUE(sameBits(shared.data(), out.data(), static_cast<int>(std::strlen(row.from))));
      std::array<double, 4> one = inPlace;
      RotHelper::Convert(row.from, targetNames[t], one.data(), one.data());
      EXPECT_TRUE(sameBits(one.data(), out.data(), 4)) << row.from << " " << targetNames[t];
      ASSERT_FALSE(HasFailure());
    }
}

TEST(RotationConvert, RefusalIsByFormatNeverByValue) {
  CapturedOutput output;
  // Every format could represent the identity.
  double identity[4] = {1, 0, 0, 0}, zero[4] = {0, 0, 0, 0};
  qRot->convertTo(identity, "X");
  zxyRot->convertTo(zero, "X");
  zxRot->convertTo(zero, "X");
  EXPECT_EQ(output.out(),
            "WARNING: Can't get 'QRST' rotation in format X\nWARNING: Can't get 'ZXY' rotation in format X\n"
            "WARNING: Can't get 'ZX' rotation in format X\n");
}

TEST(RotationConvert, RefusedZeroQuaternionIsNotRepaired) {
  CapturedOutput output;
  double q[4] = {0, 0, 0, 0};
  qRot->convertTo(q, "ZX");
  EXPECT_EQ(q[0], 0.0);
  EXPECT_EQ(output.out(), "WARNING: Can't get 'QRST' rotation in format ZX\n");
}

TEST(RotationConvert, ZeroQuaternionBecomesZeroAnglesWithItsWarning) {
  CapturedOutput output;
  double q[4] = {0, 0, 0, 0};
  qRot->convertTo(q, "ZXY");
  for (int k = 0; k < 3; ++k) EXPECT_EQ(q[k], 0.0);
  EXPECT_EQ(output.out(), "WARNING: 0,0,0,0 quaternion!!!\n");
}

TEST(RotationConvert, UnknownSourceNamesWarnAndLeaveOut) {
  for (const char* from : {"x", "...", "", "XX", "qrst", "XZ", "YX", "ZXYX", "X "}) {
    CapturedOutput output;
    double in[4] = {1, 2, 3, 4}, out[4] = {5, 6, 7, 8};
    RotHelper::Convert(from, "X", in, out);
    EXPECT_EQ(output.out(), std::string("WARNING: Invalid rotation format ") + from + "\n");
    for (int k = 0; k < 4; ++k) EXPECT_EQ(out[k], k + 5.0);
  }
}

TEST(RotationConvert, UnknownSourceIsReportedBeforeAnUnknownTarget) {
  CapturedOutput output;
  double in[4] = {1, 2, 3, 4}, out[4] = {5, 6, 7, 8};
  RotHelper::Convert("a", "b", in, out);
  EXPECT_EQ(output.out(), "WARNING: Invalid rotation format a\n");
}

TEST(RotationConvert, TargetNamesAreExact) {
  for (const char* to : {"", "x", "qrst", "QRS", "XYZW", "ZXYY", "ZXX", "%s"}) {
    CapturedOutput output;
    double p[4] = {0.1, 0.2, 0.3, 0.4};
    xRot->convertTo(p, to);
    EXPECT_EQ(output.out(), std::string("WARNING: Can't get rotation in format ") + to + "\n");
    EXPECT_EQ(p[0], 0.1);
  }
}

TEST(RotationConvert, NullNamesAreUnknownNames) {
  CapturedOutput output;
  double p[4] = {0.1, 0.2, 0.3, 0.4}, out[4] = {5, 6, 7, 8};
  RotHelper::Convert(nullptr, "X", p, out);
  RotHelper::Convert("X", nullptr, p, p);
  qRot->convertTo(p, nullptr);
  EXPECT_EQ(output.out(),
            "WARNING: Invalid rotation format (null)\nWARNING: Can't get rotation in format (null)\n"
            "WARNING: Unknown rotation format (null)\n");
  EXPECT_EQ(out[0], 5.0);
  EXPECT_EQ(p[0], 0.1);
}

TEST(RotationConvert, HalfTurnsKeepTheirRotation) {
  for (const char* from : {"QRST", "X", "Y", "Z", "ZX", "ZY", "XY", "XYZ", "ZXY"})
    for (const char* to : {"QRST", "XYZ", "ZXY"})
      for (const std::array<double, 4>& pose :
           poses({from, formatOf(from), static_cast<int>(std::strlen(from))}, 0)) {
        std::array<double, 4> p = pose;
        CapturedOutput output;
        RotHelper::Convert(from, to, p.data(), p.data());
        ASSERT_EQ(output.out(), "");
        ASSERT_TRUE(closeEntries(expected(to, p.data()), expected(from, pose.data()), 64 * epsilon))
            << from << " to " << to << " " << pose[0] << " " << pose[1] << " " << pose[2];
      }
}
