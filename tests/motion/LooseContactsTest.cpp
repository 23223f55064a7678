// Contacts that cannot be held firmly without jerking or bending a joint too far are held loosely around
// that moment only, and the report says so.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "limber_motion/motion.h"
#include "tests/motion/StandingFigure.h"

using namespace limber::motion;

namespace {

// Holds the feet where they stand, which must succeed.
Report planted(Clip* clip, const EditOptions& options = EditOptions()) {
  Edit edit(*clip, options);
  edit.plant(findContacts(*clip));
  Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  return report;
}

bool mentions(const Report& report, const std::string& what) {
  return std::any_of(report.notes.begin(), report.notes.end(),
                     [&](const std::string& note) { return note.find(what) != std::string::npos; });
}

}  // namespace

// The toes bend by 60 degrees so slowly that they stand all the time. Held firmly, they would have to turn by
// 30 degrees at both ends.
TEST(LooseContacts, ToesThatBendSlowlyAreNotTurnedTooFar) {
  Clip clip = standing(120, 30.0);
  for (int f = 0; f < clip.frames; ++f) {
    angle(&clip, f, "RightToe", 'X') = 30.0 * degree * std::sin(3.14159 * (f - 60.0) / 120.0);
    angle(&clip, f, "LeftUpLeg", 'Z') = 0.3 * degree * std::sin(0.2 * f);
  }
  const Clip before = clip;
  const Report report = planted(&clip);
  EXPECT_TRUE(report.turn <= 20.0 * degree) << report.turn / degree;
  EXPECT_GT(report.looseFrames, 0);
  EXPECT_LT(report.looseFrames, report.heldFrames);
  EXPECT_TRUE(mentions(report, "RightToe")) << textOf(report);
  EXPECT_FALSE(mentions(report, "Left")) << textOf(report);
  EXPECT_NE(textOf(report).find("held loosely"), std::string::npos);
  EXPECT_NE(jsonOf(report).find("\"looseFrames\": " + std::to_string(report.looseFrames)), std::string::npos);
  const Quality quality = measureQuality(before, clip);
  EXPECT_TRUE(quality.skateAfter < 0.5 * quality.skateBefore) << quality.skateAfter;
  EXPECT_TRUE(quality.largestEdgeJerk <= 3.0) << quality.largestEdgeJerk;
}

// The recorded angle of the toes jumps in single frames. Held firmly there, they would have to turn by 22
// degrees. Only their ends follow, in few frames; the foot stands.
TEST(LooseContacts, AJumpingAngleLoosensOnlyWhatItMoves) {
  Clip clip = standing(240, 120.0);
  for (int f = 0; f < clip.frames; ++f) clip.frame(f)[0] = 0.01 * std::sin(0.05 * f);
  for (const int f : {80, 150}) angle(&clip, f, "RightToe", 'X') = 22.0 * degree;
  const Clip before = clip;
  const Report report = planted(&clip);
  EXPECT_GT(report.looseFrames, 0);
  EXPECT_LE(report.looseFrames, 40) << textOf(report);
  EXPECT_TRUE(mentions(report, "RightToe.End is held loosely")) << textOf(report);
  EXPECT_FALSE(mentions(report, "RightToe is held loosely")) << textOf(report);
  EXPECT_FALSE(mentions(report, "RightFoot is held loosely")) << textOf(report);
  EXPECT_TRUE(report.turn <= 20.0 * degree) << report.turn / degree;
}

// The end of a toe whose angle jumps is aimed at a place that its bone reaches from the toe. A nearer or
// farther aim would pull the toe off its place, and the whole leg would have to be loose.
TEST(LooseContacts, ALooseEndKeepsTheLengthOfItsBone) {
  for (const int rate : {30, 60, 120}) {
    SCOPED_TRACE(rate);
    Clip clip = standing(2 * rate, rate);
    for (int f = 0; f < clip.frames; ++f) clip.frame(f)[0] = 0.01 * std::sin(6.0 * f / rate);
    for (int f = rate; f < rate + rate / 30; ++f) angle(&clip, f, "RightToe", 'X') = 25.0 * degree;
    const Report report = planted(&clip);
    ASSERT_EQ(report.notes.size(), 1U) << textOf(report);
    EXPECT_TRUE(mentions(report, "RightToe.End is held loosely")) << textOf(report);
    EXPECT_LE(report.looseFrames, rate / 5);
  }
}

// The sum of squares of the third differences of a joint's positions, in the clip's unit.
double abruptness(const Clip& clip, const std::string& joint) {
  const Skeleton skeleton(clip);
  const int j = clip.find(joint);
  double sum = 0.0;
  for (int f = 0; f + 3 < clip.frames; ++f) {
    const Pnt3 third = skeleton.position(j, clip.frame(f + 3)) -
                       skeleton.position(j, clip.frame(f + 2)) * 3.0 +
                       skeleton.position(j, clip.frame(f + 1)) * 3.0 - skeleton.position(j, clip.frame(f));
    sum += third.lengthSq();
  }
  return sum;
}

TEST(LooseContacts, DoNotTremble) {
  Clip clip = standing(240, 60.0);
  unsigned random = 1;
  for (int f = 0; f < clip.frames; ++f) {
    angle(&clip, f, "RightToe", 'X') = 30.0 * degree * std::sin(3.14159 * (f - 120.0) / 240.0);
    for (const char axis : {'X', 'Z'}) {
      random = random * 1664525U + 1013904223U;
      angle(&clip, f, "RightUpLeg", axis) = 0.02 * degree * (random / 4294967296.0 - 0.5);
    }
  }
  const Clip before = clip;
  const Report report = planted(&clip);
  EXPECT_GT(report.looseFrames, 0) << textOf(report);
  const double was = abruptness(before, "RightToe.End"), is = abruptness(clip, "RightToe.End");
  EXPECT_TRUE(is <= 1e-4 * was) << is / was;
}

// A long clip with one such movement in its middle: after at most 8 steps, only the frames near it are
// edited again, and they join the others smoothly.
TEST(LooseContacts, FramesFarFromThemAreEditedOnce) {
  Clip before = standing(900, 30.0);
  for (int f = 0; f < before.frames; ++f) {
    const double x = (f - 450.0) / 60.0;
    angle(&before, f, "RightToe", 'X') = 70.0 * degree * x * std::exp(-x * x);
    before.frame(f)[0] = 0.01 * std::sin(0.1 * f);
  }
  for (const double knots : {0.0, 0.15}) {
    SCOPED_TRACE(knots);
    Clip clip = before;
    EditOptions options;
    options.knots = knots;
    const Report report = planted(&clip, options);
    EXPECT_GT(report.looseFrames, 0) << textOf(report);
    ASSERT_GT(report.steps.size(), 8U) << textOf(report);
    EXPECT_EQ(report.steps[0].frames, clip.frames);
    for (std::size_t i = 8; i < report.steps.size(); ++i) EXPECT_LT(report.steps[i].frames, 450) << i;
    const Quality quality = measureQuality(before, clip);
    EXPECT_TRUE(quality.largestEdgeJerk <= 3.0) << quality.largestEdgeJerk;
    EXPECT_TRUE(quality.bodyJerk <= 1.3) << quality.bodyJerk;
  }
}

// The loosely held frames begin right after a pose in which the body is elsewhere.
TEST(LooseContacts, AreNotDrawnTowardsAPoseInFront) {
  Clip clip = standing(121, 30.0);
  clip.frame(0)[2] = -1.0;
  for (int f = 1; f < clip.frames; ++f)
    angle(&clip, f, "RightToe", 'X') = 30.0 * degree * std::sin(3.14159 * (f - 61.0) / 120.0);
  const Report report = planted(&clip);
  EXPECT_GT(report.looseFrames, 0) << textOf(report);
  EXPECT_TRUE(report.fastestAfter <= 0.05) << report.fastestAfter;
}

TEST(LooseContacts, FirmContactsAreNotLoosened) {
  Clip clip = standing(90, 30.0);
  for (int f = 0; f < clip.frames; ++f) clip.frame(f)[0] = 0.01 * std::sin(0.1 * f);
  const Report report = planted(&clip);
  EXPECT_EQ(report.looseFrames, 0) << textOf(report);
  EXPECT_EQ(textOf(report).find("loosely"), std::string::npos);
}

// The right foot is asked to jump, which loosens it, but not as long as the head cannot reach its target.
TEST(LooseContacts, AreLoosenedOnlyIfTheTargetsOfTheUserAreMet) {
  const Clip standing = ::standing(90, 30.0);
  const int head = standing.find("Head.End");
  const Pnt3 place = Skeleton(standing).position(head, standing.frame(10));
  for (const double up : {0.0, 3.0}) {
    Clip clip = standing;
    Contacts contacts = findContacts(clip);
    for (Contact& contact : contacts.list) {
      if (clip.joints[static_cast<std::size_t>(contact.foot)].name != "RightFoot") continue;
      contact.first = 60;
      contact.place.z += 0.3;
    }
    Edit edit(clip);
    edit.plant(contacts);
    edit.reach(10, head, place + Pnt3(0, up, 0));
    const Report report = edit.solve();
    EXPECT_EQ(report.looseFrames > 0, up == 0.0) << textOf(report);
  }
}

// What the user asks for is held, even if a joint turns far for it.
TEST(LooseContacts, TargetsOfTheUserStayFirm) {
  Clip clip = standing(120, 30.0);
  for (int f = 0; f < clip.frames; ++f)
    angle(&clip, f, "RightToe", 'X') = 30.0 * degree * std::sin(3.14159 * (f - 60.0) / 120.0);
  Clip held = clip;
  Edit edit(held);
  for (const char* joint : {"RightFoot", "RightToe", "RightToe.End"}) {
    const int j = held.find(joint);
    const Pnt3 place = Skeleton(held).position(j, held.frame(60));
    for (int f = 0; f < held.frames; ++f) edit.reach(f, j, place);
  }
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_EQ(report.looseFrames, 0);
  EXPECT_TRUE(report.turn > 25.0 * degree) << report.turn / degree;
}

// A seated figure whose left hip passes through gimbal lock: two angles turn by 150 degrees in a tenth of a
// second, but the leg hardly moves. A smooth change of these angles would swing the leg. So other angles must
// keep the foot still, which slides most in that moment.
TEST(LooseContacts, AJointInGimbalLockIsLeftAlone) {
  Clip clip = standing(120, 60.0);
  for (int f = 0; f < clip.frames; ++f) {
    for (const char* side : {"Left", "Right"}) {
      angle(&clip, f, std::string(side) + "UpLeg", 'X') = -89.5 * degree;
      angle(&clip, f, std::string(side) + "Leg", 'X') = 89.5 * degree;
    }
    const double swing = 150.0 * degree * (0.5 + 0.5 * std::tanh((f - 60.0) / 2.0));
    angle(&clip, f, "LeftUpLeg", 'Z') = swing;
    angle(&clip, f, "LeftUpLeg", 'Y') = swing;
    clip.frame(f)[0] = 0.04 * std::cos(0.06 * (f - 60.0));
    clip.frame(f)[1] = 0.5;
  }
  const Skeleton skeleton(clip);
  const int foot = clip.find("LeftFoot");
  ASSERT_TRUE((skeleton.position(foot, clip.frame(70)) - skeleton.position(foot, clip.frame(50))).length() <
              0.03);
  const Clip before = clip;
  const Report report = planted(&clip);
  EXPECT_GT(report.framesChanged, 0);
  const Quality quality = measureQuality(before, clip);
  EXPECT_TRUE(quality.bodyJerk <= 1.3) << quality.bodyJerk;
  EXPECT_TRUE(quality.largestEdgeJerk <= 3.0) << quality.largestEdgeJerk;
  EXPECT_TRUE(quality.turn <= 20.0 * degree) << quality.turn / degree;
  Clip was = before;
  double most = 0.0;
  for (int f = 58; f <= 62; ++f) {
    for (const char axis : {'X', 'Y', 'Z'}) {
      const double by = angle(&clip, f, "LeftUpLeg", axis) - angle(&was, f, "LeftUpLeg", axis);
      most = std::max(most, std::fabs(std::remainder(by, 360.0 * degree)));
    }
  }
  EXPECT_TRUE(most <= 0.5 * degree) << most / degree << "\n" << textOf(report);
}
