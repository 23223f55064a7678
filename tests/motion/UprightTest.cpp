// Clips in which another axis than y points up: the axis is found, and an edit does the same as with y.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "limber_motion/motion.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

constexpr double pi = 3.14159265358979323846;

class EveryUp : public ::testing::TestWithParam<Up> {};

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh")); }

// The same motion in coordinates in which `up` is up.
Clip withUp(Up up) {
  Clip clip = walk();
  clip.text = nullptr;
  clip.up = up;
  for (Joint& joint : clip.joints) {
    joint.offset = fromUpright(joint.offset, up);
    for (std::size_t c = 0; c < joint.channels.size(); ++c) {
      Pnt3 axis;
      axis.v()[joint.channels[c].axis - 'X'] = 1.0;
      const Pnt3 turned = fromUpright(axis, up);
      const int k = turned.x != 0.0 ? 0 : turned.y != 0.0 ? 1 : 2;
      joint.channels[c].axis = static_cast<char>('X' + k);
      const int channel = joint.firstChannel + static_cast<int>(c);
      for (int f = 0; f < clip.frames; ++f) clip.frame(f)[channel] *= turned.v()[k];
    }
  }
  return clip;
}

// The walk under an additional root that lifts it along y and turns it about x in every frame. The offsets of
// the skeleton still stand along y.
Clip turnedAboutX(double angle, double lift) {
  const Clip clip = walk();
  Clip turned = clip;
  turned.text = nullptr;
  turned.channels += 2;
  for (Joint& joint : turned.joints) {
    joint.parent += 1;
    joint.firstChannel += 2;
  }
  turned.joints.insert(turned.joints.begin(), {"World", -1, Pnt3(), {{'Y', false}, {'X', true}}, 0, false});
  turned.values.clear();
  for (int f = 0; f < clip.frames; ++f) {
    turned.values.insert(turned.values.end(), {lift, angle});
    turned.values.insert(turned.values.end(), clip.frame(f), clip.frame(f) + clip.channels);
  }
  return turned;
}

TEST_P(EveryUp, PointsAreTurnedAndNotMirrored) {
  const Up up = GetParam();
  const Pnt3 a(1, 2, 3), b(-4, 5, 0.5);
  const Pnt3 cross = a * b, turned = upright(a, up) * upright(b, up);
  EXPECT_TRUE(upright(cross, up) == turned) << "a cross product is turned too";
  EXPECT_TRUE(fromUpright(upright(a, up), up) == a);
  const Pnt3 top = fromUpright(Pnt3(0, 1, 0), up);
  EXPECT_EQ(nameOf(up).back(), "xyz"[top.x != 0.0 ? 0 : top.y != 0.0 ? 1 : 2]);
  EXPECT_EQ(nameOf(up)[0] == '-', top.x + top.y + top.z < 0.0);
}

TEST_P(EveryUp, IsFound) {
  Clip clip = withUp(GetParam());
  clip.up = Up::Y;
  EXPECT_EQ(nameOf(findUp(clip)), nameOf(GetParam()));
  for (Joint& joint : clip.joints) joint.offset *= 1e-3;
  for (int c = 0; c < clip.channels; ++c) {
    for (int f = 0; f < clip.frames && !clip.channel(c).rotation; ++f) clip.frame(f)[c] *= 1e-3;
  }
  EXPECT_EQ(nameOf(findUp(clip)), nameOf(GetParam())) << "in a larger unit";
}

TEST_P(EveryUp, TheSameEditIsMade) {
  Clip standing = walk(), clip = withUp(GetParam());
  ASSERT_EQ(Skeleton(clip).height(), Skeleton(standing).height());
  const Contacts contacts = findContacts(clip), same = findContacts(standing);
  ASSERT_EQ(contacts.list.size(), same.list.size());
  EXPECT_EQ(contacts.ground, same.ground);
  for (std::size_t i = 0; i < same.list.size(); ++i) {
    EXPECT_EQ(contacts.list[i].first, same.list[i].first);
    EXPECT_TRUE(upright(contacts.list[i].place, clip.up) == same.list[i].place) << i;
  }
  const auto edit = [](Clip* edited, const Contacts& feet) {
    EditOptions options;
    options.ground = true;
    options.mostSteps = 3;
    Edit change(*edited, options);
    change.plant(feet);
    return change.solve();
  };
  const Report report = edit(&clip, contacts), expected = edit(&standing, same);
  EXPECT_EQ(report.skateAfter, expected.skateAfter);
  EXPECT_EQ(report.edgeJerk, expected.edgeJerk);
  EXPECT_EQ(report.belowAfter, expected.belowAfter);
  EXPECT_EQ(report.turn, expected.turn);
  EXPECT_EQ(upright(clip).values, standing.values);
  EXPECT_EQ(report.notes.size(), expected.notes.size() + (GetParam() == Up::Y ? 0 : 1));
}

INSTANTIATE_TEST_SUITE_P(Up, EveryUp,
                         ::testing::Values(Up::X, Up::Y, Up::Z, Up::MinusX, Up::MinusY, Up::MinusZ),
                         [](const auto& one) {
                           const std::string name = nameOf(one.param);
                           return name[0] == '-' ? "Minus" + name.substr(1) : name;
                         });

TEST(Upright, TheAxisIsFoundIfOnlyTheRootTurnsTheBody) {
  EXPECT_EQ(nameOf(findUp(turnedAboutX(0.5 * pi, 0.0))), "z");
  EXPECT_EQ(nameOf(findUp(turnedAboutX(-0.5 * pi, 0.0))), "-z");
}

TEST(Upright, ABodyThatLiesOnTheGroundIsNotTakenAsStanding) {
  for (const double side : {-1.0, 1.0}) {
    Clip lying = turnedAboutX(side * 0.5 * pi, 0.0);
    double lowest = 0.0;
    for (const Pnt3& at : Skeleton(lying).positions(lying.frame(0))) lowest = std::min(lowest, at.y);
    lying.frame(0)[0] -= lowest;
    const std::vector<double> pose(lying.frame(0), lying.frame(0) + lying.channels);
    for (int f = 0; f < lying.frames; ++f) {
      std::copy(pose.begin(), pose.end(), lying.frame(f));
      lying.frame(f)[lying.joints[1].firstChannel + 1] = 0.0;  // the middle of the body is near the origin
      lying.frame(f)[lying.joints[1].firstChannel + 4] += 0.05 * std::sin(0.1 * f);
    }
    EXPECT_EQ(nameOf(findUp(lying)), "y");
  }
}

TEST(Upright, AThingWithoutLegsStandsAlongY) {
  Clip rod;
  rod.joints = {{"Rod", -1, Pnt3(), {{'X', true}}, 0, false}, {"Rod.End", 0, Pnt3(3, 0, 0), {}, 1, true}};
  rod.channels = 1;
  rod.frames = 2;
  rod.frameTime = 0.04;
  rod.values = {0.0, 0.1};
  EXPECT_EQ(nameOf(findUp(rod)), "y");
}

TEST(Upright, TheHeightOfASkeletonWhoseOffsetsLieIsItsLength) {
  Clip clip = turnedAboutX(0.5 * pi, 0.0);
  clip.up = Up::Z;
  EXPECT_NEAR(Skeleton(clip).height() / Skeleton(walk()).height(), 1.0, 0.1);
}

}  // namespace
