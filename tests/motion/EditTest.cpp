// The smooth edit of a clip.

#include <gtest/gtest.h>

#include <cmath>

#include "limber_motion/motion.h"
#include "tests/support/TemporaryFile.h"

using namespace limber::motion;

namespace {

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh")); }

}  // namespace

TEST(Edit, HoldsEveryFrameOfAContactAtOnePlace) {
  Clip clip = walk();
  Edit edit(clip);
  const Contacts contacts = findContacts(clip);
  ASSERT_GT(contacts.list.size(), 0U);
  edit.plant(contacts);
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  const Skeleton skeleton(clip);
  double farthest = 0.0;
  for (const Contact& contact : contacts.list) {
    for (int f = contact.first; f <= contact.last; f++) {
      const Pnt3 at = skeleton.position(contact.joint, clip.frame(f));
      farthest = std::max(farthest, (at - contact.place).length());
    }
  }
  EXPECT_LE(farthest, 1e-4 * skeleton.height());
  EXPECT_LE(report.steps.size(), 8U);
}

TEST(Edit, AReachOfOneFrameFadesOverTheTimeConstantAndLeavesFarFramesAlone) {
  Clip clip = walk();
  const Clip before = clip;
  const Skeleton skeleton(clip);
  const int hand = clip.find("LeftHand");
  const Pnt3 target = skeleton.position(hand, clip.frame(60)) + Pnt3(0.0, 10.0, 0.0);
  Edit edit(clip);
  edit.reach(60, hand, target);
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_LE((skeleton.position(hand, clip.frame(60)) - target).length(), 1e-4 * skeleton.height());
  const auto moved = [&](int f) {
    return (skeleton.position(hand, clip.frame(f)) - skeleton.position(hand, before.frame(f))).length();
  };
  EXPECT_GT(moved(63), 3.0);
  EXPECT_LT(moved(100), 0.15);
}

TEST(Edit, RefusesASecondTargetForTheSameJointAndFrame) {
  Clip clip = walk();
  Edit edit(clip);
  edit.reach(3, 5, Pnt3(1, 2, 3));
  edit.reach(3, 5, Pnt3(1, 2, 4));
  EXPECT_THROW(edit.solve(), Error);
}
