// Clips that a program builds or changes, and the mistakes that it may make.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "limber_motion/motion.h"
#include "tests/support/TemporaryFile.h"

using namespace limber::motion;

namespace {

// A root on which two bones hang.
Clip twoBones() {
  Clip clip;
  clip.joints = {{"Root", -1, Pnt3(), {{'Y', false}, {'X', true}}, 0, false},
                 {"Left", 0, Pnt3(1, 2, 0), {{'Z', true}}, 2, false},
                 {"Left.End", 1, Pnt3(0, 3, 0), {}, 0, true},
                 {"Right", 0, Pnt3(-1, 2, 0), {{'Z', true}}, 3, false},
                 {"Right.End", 3, Pnt3(0, 3, 0), {}, 0, true}};
  clip.channels = 4;
  clip.frames = 2;
  clip.frameTime = 0.04;
  clip.values = {1, 0.1, 0.2, 0.3, 1, 0.15, 0.25, 0.35};
  return clip;
}

std::string errorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Error& error) {
    return error.what();
  }
  return "no error";
}

}  // namespace

TEST(OwnClip, IsWrittenAndReadBack) {
  const Clip clip = twoBones();
  const TemporaryDirectory folder;
  writeClip(clip, folder / "fork.bvh");
  const Clip again = readClip(folder / "fork.bvh");
  ASSERT_EQ(again.joints.size(), clip.joints.size());
  for (std::size_t j = 0; j < clip.joints.size(); ++j) {
    EXPECT_EQ(again.joints[j].name, clip.joints[j].name);
    EXPECT_EQ(again.joints[j].parent, clip.joints[j].parent);
  }
  ASSERT_EQ(again.values.size(), clip.values.size());
  for (std::size_t i = 0; i < clip.values.size(); ++i)
    EXPECT_TRUE(std::fabs(again.values[i] - clip.values[i]) <= 1e-7) << i;
}

TEST(OwnClip, IsRefusedWithItsFaultByEveryFunctionThatTakesAClip) {
  struct Case {
    std::function<void(Clip*)> spoil;
    std::string message;
  };
  const Case cases[] = {
      {[](Clip* c) { c->joints.clear(); }, "the clip has no joints"},
      {[](Clip* c) { c->joints[3].parent = 4; },
       "the joint 'Right' has the parent 4: the first joint has -1, every other one an earlier joint"},
      {[](Clip* c) { c->joints[3].parent = -1; },
       "the joint 'Right' has the parent -1: the first joint has -1, every other one an earlier joint"},
      {[](Clip* c) { c->joints[0].parent = 0; },
       "the joint 'Root' has the parent 0: the first joint has -1, every other one an earlier joint"},
      {[](Clip* c) { c->joints[3].parent = 2; }, "the joint 'Right' hangs on an end site"},
      {[](Clip* c) { c->joints[3].endSite = true; }, "the joint 'Right' is an end site with channels"},
      {[](Clip* c) { c->joints[1].offset.z = std::nan(""); },
       "the joint 'Left' has an offset that is not finite"},
      {[](Clip* c) { c->joints[3].firstChannel = 2; },
       "the joint 'Right' has the first channel 2 instead of 3"},
      {[](Clip* c) { c->joints[3].channels[0].axis = 'z'; },
       "the joint 'Right' has a channel whose axis is not X, Y or Z"},
      {[](Clip* c) { c->channels = 5; }, "the clip has 5 channels, but its joints have 4"},
      {[](Clip* c) { c->values.pop_back(); }, "the clip has 7 values for 2 frames of 4 channels"},
      {[](Clip* c) { c->frames = 3; }, "the clip has 8 values for 3 frames of 4 channels"},
      {[](Clip* c) { c->frameTime = 0.0; }, "the frame time of the clip is not a number above 0"},
      {[](Clip* c) { c->values[6] = INFINITY; },
       "frame 2 of the clip has a channel of Left that is not a finite number"},
  };
  for (const Case& one : cases) {
    Clip clip = twoBones();
    one.spoil(&clip);
    const std::function<void()> calls[] = {[&] { Skeleton{clip}; },
                                           [&] { Edit{clip}; },
                                           [&] { findContacts(clip); },
                                           [&] { textOf(clip); },
                                           [&] { findUp(clip); },
                                           [&] { findStands(clip); },
                                           [&] { measureQuality(clip, clip); },
                                           [&] { upright(clip); },
                                           [&] { findGimbalLock(clip); },
                                           [&] { unwrapAngles(&clip); }};
    for (const auto& call : calls) EXPECT_EQ(errorOf(call), one.message);
  }
}

TEST(OwnClip, IsNotWrittenIfItsJointsAreInAnotherOrder) {
  Clip clip = twoBones();
  std::swap(clip.joints[2], clip.joints[3]);
  clip.joints[4].parent = 2;
  EXPECT_EQ(Skeleton(clip).joints(), 5);
  EXPECT_EQ(
      errorOf([&] { textOf(clip); }),
      "the skeleton cannot be written as BVH: each joint must stand after its parent and all that hangs "
      "on the parent's earlier children");
  clip = twoBones();
  clip.joints[1].name = "Left\nArm";
  EXPECT_EQ(errorOf([&] { textOf(clip); }),
            "the skeleton cannot be written as BVH: its text:7: expected {, found 'Arm'");
}

TEST(OwnClip, TheEditRefusesOptionsThatAreNotUsable) {
  const double nan = std::nan("");
  Clip clip = twoBones();
  EditOptions options;
  options.smooth = nan;
  EXPECT_EQ(errorOf([&] { Edit(clip, options); }), "EditOptions::smooth is not a time from 0 to 1e6 seconds");
  options = EditOptions();
  options.knots = -1.0;
  EXPECT_EQ(errorOf([&] { Edit(clip, options); }), "EditOptions::knots is not a number from 0 on");
  options = EditOptions();
  options.goal = 0.0;
  EXPECT_EQ(errorOf([&] { Edit(clip, options); }), "EditOptions::goal is not a number above 0");
  options = EditOptions();
  options.mostTurn = nan;
  EXPECT_EQ(errorOf([&] { Edit(clip, options); }), "EditOptions::mostTurn is not a number above 0");
  options = EditOptions();
  options.mostSteps = 0;
  EXPECT_EQ(errorOf([&] { Edit(clip, options); }), "EditOptions::mostSteps is not a number from 1 to 1000");
}

TEST(OwnClip, TheEditRefusesPlacesThatTheClipDoesNotHave) {
  Clip clip = twoBones();
  Edit edit(clip);
  Contacts contacts;
  contacts.list = {{2, 0, 2, Pnt3(), 1}};
  EXPECT_EQ(errorOf([&] { edit.plant(contacts); }),
            "Left.End cannot be held in frame 3 of a clip of 2 frames");
  contacts.list = {{5, 0, 1, Pnt3(), 1}};
  EXPECT_EQ(errorOf([&] { edit.plant(contacts); }),
            "there is no joint 5 in the clip, which has joints 0 to 4");
  EXPECT_EQ(errorOf([&] { edit.hold(1, 0, 2); }),
            "Left.End is to be held from frame 2 to the earlier frame 1");
  EXPECT_EQ(errorOf([&] { edit.reach(0, 2, Pnt3(), -1.0); }),
            "the target of Left.End in frame 1 has a weight that is not a number from 0 on");
  EXPECT_EQ(errorOf([&] { edit.reach(0, 2, Pnt3(), std::numeric_limits<double>::infinity()); }),
            "the target of Left.End in frame 1 has a weight that is not a number from 0 on");
  contacts.list = {{2, 0, 1, Pnt3(0, std::nan(""), 0), 1}};
  EXPECT_EQ(errorOf([&] { edit.plant(contacts); }),
            "the place of a contact of Left.End is not a finite point");
  contacts.list.clear();
  contacts.feet = {2};
  contacts.first = 2;
  EXPECT_EQ(errorOf([&] { edit.plant(contacts); }),
            "Left.End cannot be held in frame 3 of a clip of 2 frames");
  EXPECT_EQ(errorOf([&] { edit.hold(0, 2147483647, 2); }),
            "Left.End cannot be held in frame 2147483648 of a clip of 2 frames");
  EXPECT_EQ(errorOf([&] { edit.hold(0, 1, 2, 2, 1); }),
            "ramps of 2 and 1 frames are longer than the range of 2");
  EXPECT_EQ(errorOf([&] { edit.hold(0, 1, 2, -1, 0); }), "expected a ramp of 0 frames or more");
}

TEST(OwnClip, NothingStandsOutsideItsFrames) {
  Clip clip = twoBones();
  for (const Stand& stand :
       {Stand{-1, 0, 2}, Stand{5, 0, 2}, Stand{2, -1, 2}, Stand{2, 1, 1}, Stand{2, 0, 3}})
    EXPECT_EQ(errorOf([&] { measureQuality(clip, clip, {stand}, 0.0); }), "a stand is not within the clip");
  clip.frames = 0;
  clip.values.clear();
  EXPECT_EQ(errorOf([&] { findContacts(clip); }), "the clip has no frames");
  EXPECT_EQ(errorOf([&] { measureQuality(clip, clip); }), "the clip has no frames");
}
