// Constraints that no smooth motion can meet: what the report says, and that the motion stays acceptable.

#include <gtest/gtest.h>

#include <cmath>

#include "limber_motion/motion.h"
#include "tests/support/TemporaryFile.h"

using namespace limber::motion;

namespace {

class ImpossibleConstraints : public testing::Test {
 protected:
  ImpossibleConstraints()
      : clip(readClip(sourceFile("examples/data/walk.bvh"))), before(clip), skeleton(clip) {}

  Pnt3 at(int frame, const char* joint) const {
    return skeleton.position(clip.find(joint), before.frame(frame));
  }
  Pnt3 up(double heights) const { return Pnt3(0, heights * skeleton.height(), 0); }

  // Solves with the contacts, if wanted, and checks what holds for every result.
  Report solve(const std::vector<Constraint>& constraints, bool plants = true) {
    Edit edit(clip);
    if (plants) edit.plant(findContacts(before));
    edit.add(constraints);
    const Report report = edit.solve();
    for (const double value : clip.values) EXPECT_TRUE(std::isfinite(value));
    EXPECT_TRUE(report.turn <= 1.0473) << report.turn;
    EXPECT_FALSE(report.met);
    EXPECT_FALSE(report.reasons.empty());
    const Quality quality = measureQuality(before, clip);
    EXPECT_TRUE(quality.largestEdgeJerk <= 3.0) << quality.largestEdgeJerk;
    EXPECT_TRUE(quality.bodyJerk <= 1.7) << quality.bodyJerk;
    return report;
  }

  std::vector<Constraint> inFrames(int first, int last, const char* joint, const Pnt3& target) const {
    std::vector<Constraint> constraints;
    for (int f = first; f <= last; ++f) constraints.push_back({f, clip.find(joint), target, 1.0});
    return constraints;
  }

  Clip clip;
  const Clip before;
  const Skeleton skeleton;
};

std::string first(const Report& report) { return report.reasons.empty() ? "" : report.reasons[0]; }

}  // namespace

TEST_F(ImpossibleConstraints, OneFrameBeyondTheArmsLengthIsApproachedAndPlantsStand) {
  const Pnt3 target = at(60, "LeftHand") + up(1.0);
  const Report report = solve({{60, clip.find("LeftHand"), target, 1.0}});
  EXPECT_TRUE(report.impossible);
  EXPECT_NE(first(report).find("LeftHand in frame 61"), std::string::npos) << first(report);
  EXPECT_NE(first(report).find("reach only"), std::string::npos) << first(report);
  EXPECT_LT((skeleton.position(clip.find("LeftHand"), clip.frame(60)) - target).length(),
            (at(60, "LeftHand") - target).length());
  EXPECT_LT(report.skateAfter, 0.1 * report.skateBefore);
}

TEST_F(ImpossibleConstraints, FiftyFramesBeyondTheArmsLength) {
  EXPECT_TRUE(solve(inFrames(30, 79, "LeftHand", at(55, "LeftHand") + up(1.0))).impossible);
}

TEST_F(ImpossibleConstraints, BeyondTheArmsLengthIsImpossibleWithoutPlantsToo) {
  const Report report = solve({{60, clip.find("LeftHand"), at(60, "LeftHand") + up(10.0), 1.0}}, false);
  EXPECT_TRUE(report.impossible);
  EXPECT_NE(first(report).find("from Hips"), std::string::npos) << first(report);
}

TEST_F(ImpossibleConstraints, HipsThatStayWhileTheFeetWalkOn) {
  EXPECT_TRUE(solve(inFrames(0, 119, "Hips", at(0, "Hips"))).impossible);
}

TEST_F(ImpossibleConstraints, HipsAndHeadThatStayWhileTheFeetWalkOn) {
  std::vector<Constraint> constraints = inFrames(20, 99, "Hips", at(20, "Hips"));
  for (const Constraint& c : inFrames(20, 99, "Head", at(20, "Head"))) constraints.push_back(c);
  EXPECT_TRUE(solve(constraints).impossible);
}

TEST_F(ImpossibleConstraints, FeetThatStandInEveryFrameHaveAMessageOfTheirOwn) {
  std::vector<Constraint> constraints = inFrames(0, 119, "LeftFoot", at(0, "LeftFoot"));
  for (const Constraint& c : inFrames(0, 119, "RightFoot", at(0, "RightFoot"))) constraints.push_back(c);
  const Report report = solve(constraints, false);
  EXPECT_TRUE(report.impossible);
  EXPECT_NE(first(report).find("is held in all 120 frames"), std::string::npos) << first(report);
}

// Neither target is met at the cost of the other one.
TEST_F(ImpossibleConstraints, TwoPlacesInNeighbouringFrames) {
  const int hand = clip.find("LeftHand");
  const Pnt3 was = at(60, "LeftHand");
  for (const bool plants : {true, false}) {
    clip = before;
    const Report report = solve({{60, hand, was + up(0.3), 1.0}, {61, hand, was + up(-0.3), 1.0}}, plants);
    EXPECT_TRUE(report.impossible);
    EXPECT_NE(first(report).find("frames 61 and 62"), std::string::npos) << first(report);
    const Pnt3 is = skeleton.position(hand, clip.frame(60));
    EXPECT_GT((is - was - up(0.3)).length(), 0.1 * skeleton.height());
  }
}

TEST_F(ImpossibleConstraints, AHandThroughTheFloor) {
  solve(inFrames(30, 79, "LeftHand", at(55, "LeftHand") + up(-1.2)));
}

// In frame 31, the hand would be far from the elbow; in frame 71, it is out of reach by less.
TEST_F(ImpossibleConstraints, TheWorstTargetOfAJointIsNamed) {
  const Report report = solve({{30, clip.find("LeftHand"), at(30, "LeftHand") + up(0.5), 1.0},
                               {30, clip.find("LeftForeArm"), at(30, "LeftForeArm") + up(-0.4), 1.0},
                               {70, clip.find("LeftHand"), at(70, "LeftHand") + up(1.0), 1.0}},
                              false);
  EXPECT_TRUE(report.impossible);
  EXPECT_NE(first(report).find("in frame 31"), std::string::npos) << textOf(report);
}

TEST_F(ImpossibleConstraints, EndsOfABoneThatIsShorterThanTheirTargetsAreApart) {
  std::vector<Constraint> constraints = inFrames(40, 60, "LeftFoot", at(50, "LeftFoot"));
  for (const Constraint& c : inFrames(40, 60, "LeftLeg", at(50, "LeftFoot") + up(0.6)))
    constraints.push_back(c);
  EXPECT_TRUE(solve(constraints, false).impossible);
}

TEST_F(ImpossibleConstraints, WhatOnlyTheLargestTurnKeepsFromBeingMetIsNotImpossible) {
  EditOptions options;
  options.mostTurn = 0.05;
  Edit edit(clip, options);
  edit.plant(findContacts(clip));
  edit.reach(60, clip.find("LeftHand"), at(60, "LeftHand") + up(0.2));
  const Report report = edit.solve();
  EXPECT_FALSE(report.met);
  EXPECT_FALSE(report.impossible);
  EXPECT_NE(first(report).find("2.865 degrees allowed"), std::string::npos) << first(report);
  EXPECT_TRUE(report.turn <= 0.05) << report.turn;
}

TEST_F(ImpossibleConstraints, AGoalFinerThanNumbersIsOnlyNotMet) {
  EditOptions options;
  options.goal = 1e-30;
  Edit edit(clip, options);
  edit.plant(findContacts(clip));
  const Report report = edit.solve();
  EXPECT_FALSE(report.met);
  EXPECT_FALSE(report.impossible) << first(report);
  EXPECT_TRUE(report.missAfter <= 1e-6) << report.missAfter;
}

TEST_F(ImpossibleConstraints, OtherJointsMakeUpForOneThatMayNotTurnFurther) {
  EditOptions options;
  options.mostTurn = 0.35;
  Edit edit(clip, options);
  edit.reach(60, clip.find("LeftHand"), at(60, "LeftHand") + up(0.3));
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_TRUE(report.turn <= 0.35) << report.turn;
}
