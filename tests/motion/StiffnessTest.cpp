// Stiffness: by default the root resists a change most, then the spine, then the limbs, and the user may
// choose other values.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>

#include "limber_motion/motion.h"
#include "tests/support/TemporaryFile.h"

namespace {

using namespace limber::motion;

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh")); }

double stiffnessOf(const Clip& clip, const char* joint, const std::map<std::string, double>& byName = {}) {
  const int j = clip.find(joint);
  EXPECT_GE(j, 0) << joint;
  return jointStiffness(clip, Skeleton(clip), byName).at(static_cast<std::size_t>(j));
}

// The largest change of an angle of a joint, in radians.
double turned(const Clip& before, const Clip& after, const char* joint) {
  const Joint& of = before.joints[static_cast<std::size_t>(before.find(joint))];
  double most = 0.0;
  for (std::size_t k = 0; k < of.channels.size(); ++k) {
    const int c = of.firstChannel + static_cast<int>(k);
    for (int f = 0; f < before.frames && of.channels[k].rotation; ++f)
      most = std::max(most, std::fabs(after.frame(f)[c] - before.frame(f)[c]));
  }
  return most;
}

// The clip after its left hand was raised by 0.12 heights in the middle.
Clip withRaisedHand(const EditOptions& options) {
  Clip clip = walk();
  const Skeleton skeleton(clip);
  const Pnt3 hand = skeleton.position(clip.find("LeftHand"), clip.frame(60));
  Edit edit(clip, options);
  edit.reach(60, "LeftHand", hand + Pnt3(0, 0.12 * skeleton.height(), 0));
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  return clip;
}

TEST(Stiffness, TheRootIsStifferThanTheSpineAndThatThanTheLimbs) {
  const Clip clip = walk();
  EXPECT_GT(stiffnessOf(clip, "Hips"), stiffnessOf(clip, "Spine"));
  for (const char* limb : {"LeftUpLeg", "LeftLeg", "LeftArm", "LeftForeArm"})
    EXPECT_GT(stiffnessOf(clip, "Spine"), stiffnessOf(clip, limb)) << limb;
  EXPECT_GT(stiffnessOf(clip, "LeftToeBase"), stiffnessOf(clip, "LeftLeg")) << "short bones turn far";
}

TEST(Stiffness, IsReplacedByTheUserForSingleJoints) {
  const Clip clip = walk();
  EXPECT_EQ(stiffnessOf(clip, "LeftArm", {{"LeftArm", 7.5}}), 7.5);
  EXPECT_EQ(stiffnessOf(clip, "Hips", {{"LeftArm", 7.5}}), stiffnessOf(clip, "Hips"));
  EXPECT_THROW(jointStiffness(clip, Skeleton(clip), {{"Tail", 1.0}}), Error);
  for (const double bad : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_THROW(jointStiffness(clip, Skeleton(clip), {{"LeftArm", bad}}), Error) << bad;
}

TEST(Stiffness, AStifferArmTurnsLess) {
  const Clip before = walk(), usual = withRaisedHand(EditOptions());
  EditOptions options;
  options.stiffness["LeftArm"] = 20.0;
  const Clip stiff = withRaisedHand(options);
  EXPECT_LT(turned(before, stiff, "LeftArm"), 0.5 * turned(before, usual, "LeftArm"));
}

TEST(Stiffness, ARaisedHandLeavesTheFeetAlone) {
  const Clip before = walk(), after = withRaisedHand(EditOptions());
  const Skeleton skeleton(before);
  double most = 0.0;
  for (const char* foot : {"LeftFoot", "RightFoot"}) {
    const int j = before.find(foot);
    for (int f = 0; f < before.frames; ++f)
      most = std::max(
          most, (skeleton.position(j, after.frame(f)) - skeleton.position(j, before.frame(f))).length());
  }
  EXPECT_LT(most, 0.06 * skeleton.height()) << most / skeleton.height();
}

// The hand reaches forward, up and a little outward.
TEST(Stiffness, AReachTurnsTheArmMoreThanTheSpineAndThatMoreThanTheRoot) {
  const Clip before = walk();
  Clip after = before;
  const Skeleton skeleton(before);
  const double height = skeleton.height();
  Edit edit(after);
  edit.reach(60, "LeftHand",
             skeleton.position(before.find("LeftHand"), before.frame(60)) + Pnt3(0.05, 0.25, 0.2) * height);
  const Report report = edit.solve();
  ASSERT_TRUE(report.met) << textOf(report);
  EXPECT_GT(turned(before, after, "LeftArm"), 2.0 * turned(before, after, "Chest"));
  EXPECT_GT(turned(before, after, "Chest"), 2.0 * turned(before, after, "Hips"));
  const struct {
    const char* joint;
    double most;  // heights
  } others[] = {
      {"Hips", 0.03}, {"Head", 0.04}, {"RightHand", 0.075}, {"LeftFoot", 0.025}, {"RightFoot", 0.025}};
  for (const auto& other : others) {
    const int j = before.find(other.joint);
    double moved = 0.0;
    for (int f = 0; f < before.frames; ++f)
      moved = std::max(
          moved, (skeleton.position(j, after.frame(f)) - skeleton.position(j, before.frame(f))).length());
    EXPECT_LT(moved, other.most * height) << other.joint << " " << moved / height;
  }
}

TEST(Stiffness, OfAJointThatTheClipDoesNotHaveIsRefusedBeforeTheEdit) {
  Clip clip = walk();
  EditOptions options;
  options.stiffness["Tail"] = 1.0;
  EXPECT_THROW(Edit(clip, options), Error);
}

}  // namespace
