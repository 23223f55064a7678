// How the steps of an edit follow one another: after a step of which little could be taken, the next one is
// damped.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "limber_motion/motion.h"
#include "tests/motion/StandingFigure.h"

using namespace limber::motion;

namespace {

// A reach of the right foot in one frame. The knee is bent by `knee` before. The target is at `length` times
// the length of the straight leg from the hip, `forward` and `aside` of straight down. All angles are in
// degrees.
struct LegReach {
  double knee, length, forward, aside;
};

Report reached(const LegReach& leg, bool hipStays) {
  Clip clip = standing(60, 30.0);
  for (int f = 0; f < clip.frames; ++f) {
    angle(&clip, f, "RightLeg", 'X') = leg.knee * degree;
    angle(&clip, f, "RightUpLeg", 'X') = -0.5 * leg.knee * degree;
  }
  const Pnt3 hip = Skeleton(clip).position(clip.find("RightUpLeg"), clip.frame(30));
  const double straight = 0.42 + std::hypot(0.4, 0.02);
  const double forward = leg.forward * degree, aside = leg.aside * degree;
  const Pnt3 way(std::sin(aside) * std::cos(forward), -std::cos(aside) * std::cos(forward),
                 std::cos(aside) * std::sin(forward));
  Edit edit(clip);
  edit.reach(30, "RightFoot", hip + way * (leg.length * straight));
  if (hipStays) edit.reach(30, "RightUpLeg", hip);
  return edit.solve();
}

}  // namespace

// The first step overshoots so far that only a quarter of it is taken. Without damping, so would the next
// steps, and with much more damping, they would be too short. Both ways the reach would be given up.
TEST(Steps, AreDampedAfterOneThatOvershootsFar) {
  const std::vector<LegReach> legs = {{20, 0.844, 36, -37}, {10, 0.857, -17, 21}, {20, 0.89, -25, -19},
                                      {20, 0.99, 36, 23},   {1, 0.97, 2, 30},     {24, 0.92, -36, 7}};
  for (const LegReach& leg : legs) {
    const Report report = reached(leg, true);
    SCOPED_TRACE(textOf(report));
    EXPECT_TRUE(report.met);
    ASSERT_GE(report.steps.size(), 2U);
    EXPECT_EQ(report.steps[0].scale, 0.25);
    EXPECT_EQ(report.steps[1].scale, 1.0);
    EXPECT_LE(report.steps.size(), 6U);
  }
}

// A damped step would be too short here.
TEST(Steps, AreNotDampedAfterOneOfWhichHalfIsTaken) {
  for (const LegReach& leg :
       {LegReach{21, 0.87, 5, 7}, LegReach{16, 0.875, -16, 11}, LegReach{0.4, 0.83, 22, 3}}) {
    const Report report = reached(leg, false);
    SCOPED_TRACE(textOf(report));
    EXPECT_TRUE(report.met);
    EXPECT_EQ(report.steps[0].scale, 0.5);
    EXPECT_LE(report.steps.size(), 4U);
  }
}

// Before the last stage, these kicks are far from their targets, and the last stage meets them.
TEST(Steps, OfTheLastStageMeetTargetsThatAreStillFar) {
  for (const LegReach& leg : {LegReach{10, 0.95, 100, 0}, LegReach{10, 0.9, 70, 0}}) {
    const Report report = reached(leg, true);
    EXPECT_TRUE(report.met) << textOf(report);
    EXPECT_LE(report.steps.size(), 8U);
  }
}

TEST(Steps, AreAsManyAgainIfATargetOfTheUserNeedsThem) {
  const Report report = reached({20, 0.9, 100, 0}, true);
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_GT(report.steps.size(), 8U);
  EXPECT_LE(report.steps.size(), 16U);
}

// The steps towards this kick turn the hip too far, although another way would meet it. The foot comes nearer
// as far as the motion stays smooth, and the report speaks only of the steps.
TEST(Steps, LeadBackToASmoothMotionIfTheyTurnJointsTooFar) {
  const Report report = reached({10, 0.95, 60, 0}, true);
  EXPECT_FALSE(report.met);
  EXPECT_TRUE(report.bodyJerk <= 1.7) << textOf(report);
  EXPECT_TRUE(report.turn <= 20.0 * degree) << textOf(report);
  ASSERT_EQ(report.reasons.size(), 1U);
  EXPECT_NE(report.reasons[0].find("the steps towards it turn joints by more than the 60 degrees allowed"),
            std::string::npos)
      << report.reasons[0];
}
