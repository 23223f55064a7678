// A figure that does not move has no jerk that an edit could be compared with. Its edits are compared with a
// calm movement instead.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "limber_motion/motion.h"
#include "tests/motion/Scaled.h"
#include "tests/motion/StandingFigure.h"

using namespace limber::motion;

namespace {

// A figure that stands with bent knees and does not move for `seconds`.
Clip still(double seconds, double rate, double unit) {
  Clip clip = standing(static_cast<int>(seconds * rate), rate);
  for (int f = 0; f < clip.frames; ++f) {
    for (const std::string side : {"Left", "Right"}) {
      angle(&clip, f, side + "UpLeg", 'X') = -10.0 * degree;
      angle(&clip, f, side + "Leg", 'X') = 20.0 * degree;
      angle(&clip, f, side + "Foot", 'X') = -10.0 * degree;
    }
  }
  return scaled(clip, unit);
}

std::vector<Clip> stillFigures() {
  std::vector<Clip> clips;
  for (const double rate : {24.0, 30.0, 60.0, 120.0}) {
    for (const double unit : {0.01, 1.0, 39.37}) clips.push_back(still(2.0, rate, unit));
  }
  clips.push_back(still(5.0, 30.0, 100.0));
  return clips;
}

// Asks a joint to be `way` heights from its place in the middle of the clip.
Report reached(Clip* clip, const std::string& joint, const Pnt3& way, const EditOptions& options) {
  const Contacts contacts = findContacts(*clip);
  Edit edit(*clip, options);
  const Skeleton skeleton(*clip);
  const int f = clip->frames / 2, j = clip->find(joint);
  if (joint == "Head") edit.plant(contacts);
  edit.reach(f, j, skeleton.position(j, clip->frame(f)) + way * skeleton.height());
  return edit.solve();
}

// The figure moves forward by `heights` in the whole time of the clip, as smoothly as it can from rest to
// rest.
Clip movedForward(Clip clip, double heights) {
  const double way = heights * Skeleton(clip).height();
  for (int f = 0; f < clip.frames; ++f) {
    const double t = static_cast<double>(f) / (clip.frames - 1);
    clip.frame(f)[2] += way * t * t * t * (10.0 - 15.0 * t + 6.0 * t * t);
  }
  return clip;
}

}  // namespace

TEST(StillFigure, MeetsReachesSmoothlyAndWithFirmFeet) {
  for (const Clip& before : stillFigures()) {
    SCOPED_TRACE(std::to_string(before.frames) + " frames of " + std::to_string(before.frameTime) +
                 " s, height " + std::to_string(Skeleton(before).height()));
    for (const auto& [joint, way] : {std::pair<std::string, Pnt3>{"Head", Pnt3(0.015, -0.03, 0.02)},
                                     {"RightFoot", Pnt3(0, 0.06, 0.08)}}) {
      Clip clip = before;
      const Report report = reached(&clip, joint, way, {});
      EXPECT_TRUE(report.met) << joint << '\n' << textOf(report);
      EXPECT_EQ(report.looseFrames, 0) << joint << '\n' << textOf(report);
      EXPECT_TRUE(report.bodyJerk <= 1.7) << joint << '\n' << textOf(report);
      EXPECT_TRUE(measureQuality(before, clip).largestEdgeJerk <= 3.0) << joint << '\n' << textOf(report);
    }
  }
}

// The feet stand, and the body is too short for the target. The figure leans towards it.
TEST(StillFigure, ComesNearerToATargetThatIsOutOfReach) {
  for (const Clip& before : stillFigures()) {
    Clip clip = before;
    const Report report = reached(&clip, "Head", Pnt3(0, 0.06, 0.08), {});
    SCOPED_TRACE(textOf(report));
    EXPECT_TRUE(report.impossible);
    EXPECT_TRUE(report.missAfter <= 0.95 * report.missBefore);
    EXPECT_TRUE(report.bodyJerk <= 1.7);
  }
}

// Two steps are too few for this target.
TEST(StillFigure, ComesNearerToATargetThatItsStepsDoNotMeet) {
  EditOptions options;
  options.mostSteps = 1;
  for (const Clip& before : stillFigures()) {
    Clip clip = before;
    const Report report = reached(&clip, "RightFoot", Pnt3(0, 0.06, 0.08), options);
    SCOPED_TRACE(textOf(report));
    EXPECT_FALSE(report.met);
    EXPECT_TRUE(report.missAfter <= 0.95 * report.missBefore);
    EXPECT_TRUE(report.bodyJerk <= 1.7);
  }
}

TEST(StillFigure, KeepsItsBitsIfOnlyContactsAreHeld) {
  for (const Clip& before : stillFigures()) {
    Clip clip = before;
    Edit edit(clip);
    edit.plant(findContacts(clip));
    const Report report = edit.solve();
    EXPECT_TRUE(report.met) << textOf(report);
    EXPECT_EQ(report.looseFrames, 0) << textOf(report);
    EXPECT_EQ(clip.values, before.values);
  }
}

// The calm movement is 0.3 heights in one second: sqrt(720) * 0.3 = 8.05 heights / s^3.
TEST(StillFigure, IsComparedWithACalmMovement) {
  for (const double rate : {120.0, 480.0}) {
    for (const double unit : {0.01, 1.0, 100.0}) {
      const Clip clip = still(1.0 + 1.0 / rate, rate, unit);
      ASSERT_EQ(clip.frames, static_cast<int>(rate) + 1);
      for (const double heights : {0.1, 0.3, 0.6}) {
        const double ratio = measureQuality(clip, movedForward(clip, heights)).bodyJerk;
        const double expected = std::sqrt(720.0) * heights / 8.0;
        EXPECT_NEAR(ratio, expected, expected * 5.0 / rate);  // the first and last frame are not covered
      }
      Clip jump = clip;
      for (int f = clip.frames / 2; f < clip.frames; ++f) jump.frame(f)[2] += 0.01 * Skeleton(clip).height();
      EXPECT_GT(measureQuality(clip, jump).bodyJerk, 1.7);
    }
  }
}

// A figure that moves more than calmly is compared with its own movement.
TEST(StillFigure, IsNotTheMeasureOfOneThatMoves) {
  const Clip clip = still(1.0, 60.0, 1.0);
  const Clip moving = movedForward(clip, 0.5);
  EXPECT_EQ(measureQuality(moving, moving).bodyJerk, 1.0);
  EXPECT_NEAR(measureQuality(moving, movedForward(moving, 0.5)).bodyJerk, 2.0, 1e-6);
  EXPECT_LT(measureQuality(clip, clip).bodyJerk, 1e-6);
}
