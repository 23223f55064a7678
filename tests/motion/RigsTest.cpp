// Skeletons as other programs build them: with a motionless reference before the hips, with markers on the
// ground, on a treadmill, with a folded rest pose.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "limber_motion/motion.h"
#include "tests/motion/StandingFigure.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh")); }

// The clip with a new root that never moves and that carries a marker on the ground.
Clip withReference(Clip clip) {
  clip.text = nullptr;
  Joint root = clip.joints[0], marker = root;
  root.name = "Reference";
  root.offset = Pnt3();
  marker = {"Reference.End", 0, Pnt3(), {}, 0, true};
  const int own = static_cast<int>(root.channels.size());
  for (Joint& joint : clip.joints) {
    joint.parent = joint.parent < 0 ? 0 : joint.parent + 2;
    joint.firstChannel += own;
  }
  clip.joints.insert(clip.joints.begin(), {root, marker});
  std::vector<double> values;
  for (int f = 0; f < clip.frames; ++f) {
    values.insert(values.end(), static_cast<std::size_t>(own), 0.0);
    values.insert(values.end(), clip.frame(f), clip.frame(f) + clip.channels);
  }
  clip.channels += own;
  clip.values = values;
  return clip;
}

TEST(Rigs, AMotionlessReferenceIsNotTheBody) {
  const Clip plain = walk(), clip = withReference(plain);
  const Skeleton skeleton(clip);
  EXPECT_EQ(skeleton.carrier(), clip.find("Hips"));
  EXPECT_EQ(skeleton.height(), Skeleton(plain).height());
  const Contacts contacts = findContacts(clip), expected = findContacts(plain);
  ASSERT_EQ(contacts.list.size(), expected.list.size());
  for (std::size_t i = 0; i < contacts.list.size(); ++i) {
    EXPECT_EQ(contacts.list[i].joint, expected.list[i].joint + 2);
    EXPECT_EQ(contacts.list[i].first, expected.list[i].first);
    EXPECT_EQ(contacts.list[i].last, expected.list[i].last);
  }
}

// A marker on the ground below the hips, in another unit. Its last bone is so short that it counts as none.
TEST(Rigs, AMarkerIsNoFoot) {
  Clip clip = standing(60, 30.0);
  for (double& value : clip.values) value *= 100.0;
  for (Joint& joint : clip.joints) joint.offset *= 100.0;
  const int feet = static_cast<int>(findContacts(clip).feet.size());
  clip.joints.push_back({"Marker", 0, Pnt3(0, -92, 0), {}, clip.channels, false});
  const int marker = static_cast<int>(clip.joints.size()) - 1;
  clip.joints.push_back({"Marker.End", marker, Pnt3(1e-5, 0, 0), {}, clip.channels, true});
  EXPECT_EQ(findContacts(clip).feet.size(), static_cast<std::size_t>(feet));
}

TEST(Rigs, AnEditMovesTheBodyAndNotItsReference) {
  Clip clip = withReference(walk());
  const Clip before = clip;
  Edit edit(clip);
  edit.plant(findContacts(clip));
  const Report report = edit.solve();
  EXPECT_TRUE(report.met);
  const int own = static_cast<int>(clip.joints[0].channels.size());
  double reference = 0.0, hips = 0.0;  // the largest changes, angles in radians and positions in heights
  for (int f = 0; f < clip.frames; ++f) {
    for (int c = 0; c < 2 * own; ++c) {
      const double unit = clip.channel(c).rotation ? 1.0 : report.height;
      double& most = c < own ? reference : hips;
      most = std::max(most, std::fabs(clip.frame(f)[c] - before.frame(f)[c]) / unit);
    }
  }
  EXPECT_GT(hips, 1e-3);
  EXPECT_LT(reference, 0.01 * hips);
}

TEST(Rigs, ABodyThatWalksOnTheSpotHasNoContacts) {
  Clip clip = walk();
  const int last = clip.frames - 1;
  for (int c = 0; c < 6; ++c) {
    if (clip.channel(c).rotation || clip.channel(c).axis == 'Y') continue;
    const double way = clip.frame(last)[c] - clip.frame(0)[c];
    for (int f = 0; f <= last; ++f) clip.frame(f)[c] -= way * f / last;
  }
  const Contacts contacts = findContacts(clip);
  EXPECT_TRUE(contacts.list.empty());
  EXPECT_NE(contacts.note.find("no feet found: the feet slide at about "), std::string::npos)
      << contacts.note;
  EXPECT_NE(contacts.note.find("if it walks on the spot, add its path to the root first"), std::string::npos);
  Clip edited = clip;
  Edit edit(edited);
  edit.plant(contacts);
  EXPECT_FALSE(edit.solve().met);
  EXPECT_EQ(edited.values, clip.values);
}

// In the rest pose, the leg points up beside the trunk.
TEST(Rigs, TheHeightOfAFoldedRestPoseIsThatOfTheMotion) {
  const TemporaryDirectory directory;
  const std::string hierarchy =
      "HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\nCHANNELS 3 Xposition Yposition Zposition\n"
      "JOINT Chest\n{\nOFFSET 0 1 0\nCHANNELS 1 Xrotation\nEnd Site\n{\nOFFSET 0 4 0\n}\n}\n"
      "JOINT Leg\n{\nOFFSET 0 0 0\nCHANNELS 1 Xrotation\nEnd Site\n{\nOFFSET 0 4.5 0\n}\n}\n}\n";
  const auto heightWith = [&](const char* leg) {
    std::string motion = "MOTION\nFrames: 5\nFrame Time: 0.04\n";
    for (int f = 0; f < 5; ++f) motion += std::to_string(100 * f) + " 5 0 0 " + leg + "\n";
    return Skeleton(readClip(directory.write("clip.bvh", hierarchy + motion))).height();
  };
  EXPECT_TRUE(tolerance::close(heightWith("180"), 9.5, 1e-12));
  EXPECT_EQ(heightWith("100"), 5.0);  // the leg hangs a little lower than the hips: 5.8, not much more
}

}  // namespace
