// The parts of the motion editor: curves, derivative rows, the banded system, foot plants, and whole edits.

#include <gtest/gtest.h>

#include <cmath>

#include "edit.h"
#include "foot_plants.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using limber::motion::readClip;
using limber::motion::sortByFrame;

const std::string data = sourceFile("examples/data/");

Clip walk() { return readClip((data + "walk.bvh").c_str(), nullptr); }

TEST(Spline, WeightsAreAPartitionOfUnity) {
  for (const int spacing : {1, 2, 7, 500}) {
    const Spline spline(120, spacing);
    for (int f = 0; f < 120; f++) {
      const Spline::Basis basis = spline.at(f);
      double sum = 0.0;
      for (const double w : basis.weight) {
        EXPECT_GE(w, 0.0);
        sum += w;
      }
      EXPECT_TRUE(tolerance::close(sum, 1.0, 4 * tolerance::epsilon)) << spacing << " " << f;
      EXPECT_GE(basis.first, 0);
      EXPECT_LE(basis.first + 3, spline.coefficients() - 1);
    }
  }
}

TEST(Spline, ReproducesStraightLines) {
  const Spline spline(50, 7);
  for (int f = 0; f < 50; f++) {
    const Spline::Basis basis = spline.at(f);
    double value = 0.0;
    for (int k = 0; k < 4; k++) value += basis.weight[k] * (basis.first + k - 1) * 7;
    EXPECT_TRUE(tolerance::close(value, f, 64 * tolerance::epsilon * 50)) << f;
  }
}

TEST(Spline, FramesBeyondItsReachShareNoCoefficient) {
  const Spline spline(100, 5);
  for (int f = 0; f + spline.reach() < 100; f++) {
    EXPECT_GT(spline.at(f + spline.reach()).first, spline.at(f).first + 3);
  }
}

// Central differences with step h err by h^2 / 6 and eps / h times lengths below 1000.
TEST(Jacobian, RowsAreTheDerivativesByCoefficients) {
  const double h = 1e-4, allowed = 1000 * (h * h / 6 + 4 * tolerance::epsilon / h);
  Clip clip = walk();
  const Skeleton skeleton(clip);
  const Spline spline(clip.frames, 6);
  const std::vector<Constraint> wishes = {{40, clip.find("LeftHand"), Pnt3(1, 2, 3), 2.0}};
  Jacobian jacobian(wishes, spline, clip.channels);
  jacobian.linearize(clip, skeleton);
  const Clip before = clip;
  for (int i = 0; i < jacobian.unknowns(); i += 13) {
    Pnt3 at[2];
    for (const int side : {0, 1}) {
      const Spline::Basis basis = spline.at(40);
      clip = before;
      const int k = i / clip.channels - basis.first;
      if (k >= 0 && k < 4) clip.frame(40)[i % clip.channels] += (side ? h : -h) * basis.weight[k];
      at[side] = skeleton.position(wishes[0].joint, clip.frame(40));
    }
    EXPECT_TRUE(tolerance::close(jacobian.matrix()->acc(0, i), 2.0 * (at[1].x - at[0].x) / (2 * h), allowed))
        << i;
    EXPECT_TRUE(tolerance::close(jacobian.matrix()->acc(2, i), 2.0 * (at[1].z - at[0].z) / (2 * h), allowed))
        << i;
  }
}

TEST(Jacobian, HalfBandwidthIsTheLargestDistanceOfRowsThatMeet) {
  const Clip clip = walk();
  const Skeleton skeleton(clip);
  const Spline spline(clip.frames, 3);
  std::vector<Constraint> wishes;
  for (int f = 0; f < clip.frames; f += 2) wishes.push_back({f, clip.find("LeftFoot"), Pnt3(), 1.0});
  wishes.push_back({50, clip.find("RightFoot"), Pnt3(), 1.0});
  sortByFrame(&wishes);
  Jacobian jacobian(wishes, spline, clip.channels);
  jacobian.linearize(clip, skeleton);
  int widest = 0;
  for (int i = 0; i < jacobian.rows(); i++) {
    for (int j = i + 1; j < jacobian.rows(); j++) {
      if (dot(*jacobian.matrix()->row(i), *jacobian.matrix()->row(j)) != 0.0)
        widest = std::max(widest, j - i);
    }
  }
  EXPECT_GE(jacobian.halfBandwidth(), widest);
  EXPECT_LE(jacobian.halfBandwidth(), widest + 3);
}

TEST(Constraints, AreSortedByFrameAndTheLastWishCounts) {
  std::vector<Constraint> wishes = {
      {5, 1, Pnt3(1, 0, 0), 1}, {2, 1, Pnt3(), 1}, {5, 0, Pnt3(), 1}, {5, 1, Pnt3(9, 0, 0), 1}};
  sortByFrame(&wishes);
  ASSERT_EQ(wishes.size(), 3u);
  EXPECT_EQ(wishes[0].frame, 2);
  EXPECT_EQ(wishes[1].joint, 0);
  EXPECT_EQ(wishes[2].target.x, 9);
}

TEST(FootPlants, AreFoundOnBothFeetAndNotOnHands) {
  const Clip clip = walk();
  const std::vector<Constraint> plants = findFootPlants(clip, Skeleton(clip), 8, 2);
  int left = 0, right = 0;
  for (const Constraint& plant : plants) {
    const std::string& name = clip.joints[static_cast<std::size_t>(plant.joint)].name;
    EXPECT_TRUE(name == "LeftToeBase" || name == "RightToeBase") << name;
    left += name == "LeftToeBase";
    right += name == "RightToeBase";
  }
  EXPECT_GT(left, 20);
  EXPECT_GT(right, 20);
}

double changeOf(const Clip& before, const Clip& after, int f, int c) {
  return after.frame(f)[c] - before.frame(f)[c];
}

/// From knot to knot the change of each channel is a cubic: its fourth difference, of weights 16 in all,
/// vanishes but for the rounding of the values that the change was added to.
void expectCurves(const Clip& before, const Clip& after, int spacing) {
  ASSERT_EQ(spacing, 4);
  for (int c = 0; c < before.channels; c++) {
    double size = 0.0;
    for (int f = 0; f < before.frames; f++) size = std::max(size, std::fabs(after.frame(f)[c]));
    for (int f = 0; f + 4 < before.frames; f += 4) {
      const auto change = [&](int i) { return changeOf(before, after, f + i, c); };
      const double fourth = change(0) - 4 * change(1) + 6 * change(2) - 4 * change(3) + change(4);
      ASSERT_TRUE(tolerance::small(fourth, 16 * 4 * tolerance::epsilon * (size + 1))) << f << " " << c;
    }
  }
}

double largestBend(const Clip& before, const Clip& after) {
  double most = 0.0;
  for (int c = 0; c < before.channels; c++) {
    if (!before.channel(c).rotation) continue;
    for (int f = 1; f + 1 < before.frames; f++) {
      const auto change = [&](int i) { return changeOf(before, after, f + i, c); };
      most = std::max(most, std::fabs(change(1) - 2 * change(0) + change(-1)));
    }
  }
  return most;
}

/// The edit meets its goal by a change that is smooth.
void expectMet(const Clip& before, const std::vector<Constraint>& wishes, const EditOptions& options) {
  Clip clip = before;
  const EditResult result = editMotion(&clip, wishes, options, nullptr);
  EXPECT_TRUE(result.met) << result.missAfter << " of " << result.goal;
  EXPECT_GT(result.missBefore, result.goal);
  const Skeleton skeleton(clip);
  for (const Constraint& wish : wishes) {
    const double miss = (skeleton.position(wish.joint, clip.frame(wish.frame)) - wish.target).length();
    EXPECT_TRUE(tolerance::small(miss, result.goal * (1 + 1e-12)));
  }
  EXPECT_TRUE(tolerance::relative(result.goal, 1e-4 * skeleton.height(), 4 * tolerance::epsilon));
  EXPECT_TRUE(tolerance::small(result.largestChange, 1.5)) << result.largestChangeOf;
  expectCurves(before, clip, options.knotSpacing);
  EXPECT_TRUE(tolerance::close(result.largestBend, largestBend(before, clip), 8 * tolerance::epsilon * 7));
  // Cubic splines with knots h frames apart that stay within m: their coefficients stay within 3 m (the
  // system that gives them from the values at the knots is diagonally dominant by a third), so their second
  // derivative at a knot, 6 (value - coefficient) / h^2, within 24 m / h^2.
  const double most = 24.0 * result.largestChange / (options.knotSpacing * options.knotSpacing);
  EXPECT_TRUE(tolerance::small(result.largestBend, most));
  ::testing::Test::RecordProperty("largestSecondDifference", std::to_string(result.largestBend));
}

TEST(MotionEdit, MeetsTheFootPlantsOfTheOwnClip) {
  const Clip clip = walk();
  const std::vector<Constraint> plants = findFootPlants(clip, Skeleton(clip), 8, 2);
  ASSERT_GE(plants.size(), 40u);
  expectMet(clip, plants, EditOptions());
}

TEST(MotionEdit, EveryPreconditionerFindsTheSameStep) {
  const Clip before = walk();
  const Skeleton skeleton(before);
  std::vector<Constraint> wishes;
  for (int f = 10; f < 110; f += 10) {
    wishes.push_back({f, before.find("LeftHand"),
                      skeleton.position(before.find("LeftHand"), before.frame(f)) + Pnt3(2, 5, 1), 1.0});
  }
  EditOptions options;
  options.steps = 1;
  Clip clips[3] = {before, before, before};
  for (const auto kind : {EditOptions::None, EditOptions::Jacobi, EditOptions::Banded}) {
    options.preconditioning = kind;
    editMotion(&clips[kind], wishes, options, nullptr);
  }
  for (std::size_t i = 0; i < before.values.size(); i++) {
    EXPECT_TRUE(tolerance::close(clips[0].values[i], clips[2].values[i], 1e-5)) << i;
    EXPECT_TRUE(tolerance::close(clips[1].values[i], clips[2].values[i], 1e-5)) << i;
  }
}

// No motion makes the Jacobian narrower from one step to the next, so its rows are cut by hand.
TEST(MotionEdit, ANarrowerJacobianLeavesNoUnknownAnEarlierStep) {
  Clip clip = walk();
  const int hand = clip.find("LeftHand");
  const std::vector<Constraint> wishes = {
      {60, hand, Skeleton(clip).position(hand, clip.frame(60)) + Pnt3(2, 5, 1), 1.0}};
  const EditOptions options;
  Edit edit(&clip, wishes, options);
  edit.linearize(options.damping);
  const HSpMat& J = *edit.jacobian().matrix();
  const int width = J.width();
  edit.solve(EditOptions::None, 1e-8);
  ASSERT_NE(edit.step()[width - 1], 0.0);
  for (int i = 0; i < J.height(); i++) {
    J.row(i)->zero();
    J.row(i)->insEnd(1.0, i);
  }
  ASSERT_LT(J.width(), width);
  edit.solve(EditOptions::None, 1e-8);
  ASSERT_EQ(edit.step().size(), edit.jacobian().unknowns());
  for (int i = 0; i < edit.step().size(); i++) EXPECT_EQ(edit.step()[i] != 0.0, i < J.width()) << i;
}

TEST(MotionEdit, ReportsAGoalThatCannotBeMet) {
  Clip clip = walk();
  const std::vector<Constraint> wishes = {{60, clip.find("LeftHand"), Pnt3(0, 90, 190), 1.0},
                                          {60, clip.find("LeftForeArm"), Pnt3(0, 90, 900), 1.0}};
  EditOptions options;
  options.steps = 6;
  const EditResult result = editMotion(&clip, wishes, options, nullptr);
  EXPECT_FALSE(result.met);
  for (const double value : clip.values) ASSERT_TRUE(std::isfinite(value));
}

/// A wave and a reach of both hands, on top of plants: at least 40 constraints over the clip.
std::vector<Constraint> reaches(const Clip& clip, const char* const hands[2]) {
  const Skeleton skeleton(clip);
  const double unit = skeleton.height();
  std::vector<Constraint> wishes;
  for (int i = 0; i < 24; i++) {
    const int f = (2 * i + 1) * clip.frames / 48;
    for (const int side : {0, 1}) {
      const int joint = clip.find(hands[side]);
      if (joint < 0) continue;
      const double phase = 0.7 * i + side;
      const Pnt3 shift(0.03 * unit * std::sin(phase), 0.04 * unit * std::cos(phase), 0.02 * unit);
      wishes.push_back({f, joint, skeleton.position(joint, clip.frame(f)) + shift, 1.0});
    }
  }
  sortByFrame(&wishes);
  return wishes;
}

void expectFortyMet(const std::string& path, const char* left, const char* right) {
  const Clip clip = readClip(path.c_str(), nullptr);
  const char* const hands[2] = {left, right};
  const std::vector<Constraint> wishes = reaches(clip, hands);
  ASSERT_GE(wishes.size(), 40u);
  expectMet(clip, wishes, EditOptions());
}

TEST(MotionEdit, MeetsFortyConstraintsOnAPerformerOnTheSpot) {
  LIMBER_NEEDS_DATA(path, "mocapbank.bvh");
  expectFortyMet(path, "LeftWrist", "RightWrist");
}

TEST(MotionEdit, MeetsFortyConstraintsOnARecordedWalk) {
  LIMBER_NEEDS_DATA(path, "cmu_02_01_walk.bvh");
  expectFortyMet(path, "LeftHand", "RightHand");
}

}  // namespace
