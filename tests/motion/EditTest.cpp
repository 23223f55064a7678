// The smooth edit of a clip.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "limber_motion/motion.h"
#include "tests/motion/Resample.h"
#include "tests/support/TemporaryFile.h"

using namespace limber::motion;

namespace {

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh")); }

// The largest acceleration of the change of a joint, in the clip's unit per second squared.
double acceleration(const Clip& before, const Clip& after, int joint) {
  const Skeleton skeleton(before);
  const auto change = [&](int f) {
    return skeleton.position(joint, after.frame(f)) - skeleton.position(joint, before.frame(f));
  };
  double most = 0.0;
  for (int f = 1; f + 1 < before.frames; ++f)
    most = std::max(most, (change(f + 1) - change(f) * 2.0 + change(f - 1)).length());
  return most / (before.frameTime * before.frameTime);
}

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
    for (int f = contact.first; f <= contact.last; ++f) {
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

TEST(Edit, AReachOfOneFrameIsAsGentleAtEveryFrameRate) {
  for (const double knots : {0.0, 0.15}) {
    double at30 = 0.0;
    for (const int rate : {30, 120}) {
      Clip clip = resampled(walk(), rate);
      const Clip before = clip;
      const int hand = clip.find("LeftHand"), frame = 2 * rate;
      EditOptions options;
      options.knots = knots;
      Edit edit(clip, options);
      edit.reach(frame, hand, Skeleton(clip).position(hand, clip.frame(frame)) + Pnt3(0.0, 20.0, 0.0));
      const Report report = edit.solve();
      EXPECT_TRUE(report.met) << textOf(report);
      const double most = acceleration(before, clip, hand);
      if (rate == 30) at30 = most;
      EXPECT_LT(most, 1.5 * at30) << rate << " frames a second, knots of " << knots << " s";
    }
  }
}

// The body turns through half a turn, where its angle leaps from 180 to -180 degrees.
TEST(Edit, ALeapOfAnAngleByAWholeTurnMakesNoDifference) {
  constexpr double pi = 3.14159265358979323846;
  Clip plain = walk();
  plain.text = nullptr;
  int turn = 0;
  while (!plain.channel(turn).rotation || plain.channel(turn).axis != 'Y') ++turn;
  Clip leaping = plain;
  for (int f = 0; f < plain.frames; ++f) {
    plain.frame(f)[turn] += 2.0 * pi * f / plain.frames;
    leaping.frame(f)[turn] = std::remainder(plain.frame(f)[turn], 2.0 * pi);
  }
  const Clip before = leaping;
  for (Clip* clip : {&plain, &leaping}) {
    const int hand = clip->find("LeftHand");
    Edit edit(*clip);
    edit.reach(60, hand, Skeleton(*clip).position(hand, clip->frame(60)) + Pnt3(0.0, 20.0, 0.0));
    EXPECT_TRUE(edit.solve().met);
  }
  for (int f = 0; f < plain.frames; ++f) {
    EXPECT_LE(std::fabs(leaping.frame(f)[turn]), pi);
    for (int c = 0; c < plain.channels; ++c) {
      const double off = leaping.frame(f)[c] - plain.frame(f)[c];
      EXPECT_TRUE(std::fabs(plain.channel(c).rotation ? std::remainder(off, 2.0 * pi) : off) <= 1e-6) << f;
    }
  }
}

TEST(Edit, HoldsAJointWhereItIsBesidePlants) {
  Clip clip = walk();
  const Skeleton skeleton(clip);
  const int head = clip.find("Head");
  const Pnt3 place = skeleton.position(head, clip.frame(30));
  Edit edit(clip);
  edit.plant(findContacts(clip));
  edit.hold(30, 33, head);
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  for (int f = 30; f <= 33; ++f) {
    EXPECT_LE((skeleton.position(head, clip.frame(f)) - place).length(), 1e-4 * skeleton.height()) << f;
  }
}

// The frames of a ramp only pull, so the joint approaches its place and leaves it more gently.
TEST(Edit, AnEasedHoldIsAsAScriptWouldHaveItAndGentler) {
  const TemporaryDirectory directory;
  Clip eased = walk(), scripted = walk(), firm = walk();
  const Clip before = eased;
  const Skeleton skeleton(before);
  const int hand = before.find("LeftHand");
  Edit easedEdit(eased), scriptedEdit(scripted), firmEdit(firm);
  easedEdit.hold(40, 59, "LeftHand", 6, 5);
  scriptedEdit.add(
      readScript(directory.write("script.txt", "hold 41-60 LeftHand ease 6 5\n"), nullptr, before)
          .constraints);
  firmEdit.hold(40, 59, hand);
  const Report report = easedEdit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_EQ(report.heldFrames, 9);
  EXPECT_TRUE(scriptedEdit.solve().met);
  EXPECT_TRUE(firmEdit.solve().met);
  EXPECT_EQ(eased.values, scripted.values);
  const Pnt3 place = skeleton.position(hand, before.frame(40));
  for (int f = 46; f <= 54; ++f)
    EXPECT_LE((skeleton.position(hand, eased.frame(f)) - place).length(), 1e-4 * skeleton.height()) << f;
  const double gentle = acceleration(before, eased, hand), abrupt = acceleration(before, firm, hand);
  EXPECT_TRUE(gentle < 0.8 * abrupt) << gentle << " " << abrupt;
}

TEST(Edit, RefusesASecondTargetForTheSameJointAndFrame) {
  Clip clip = walk();
  Edit edit(clip);
  edit.reach(3, 5, Pnt3(1, 2, 3));
  edit.reach(3, 5, Pnt3(1, 2, 4));
  EXPECT_THROW(edit.solve(), Error);
}

TEST(Edit, TakesAJointByItsNameToo) {
  Clip byIndex = walk(), byName = byIndex;
  Edit one(byIndex), same(byName);
  const Pnt3 place = Skeleton(byIndex).position(byIndex.find("LeftHand"), byIndex.frame(40)) + Pnt3(0, 5, 0);
  one.reach(40, byIndex.find("LeftHand"), place);
  same.reach(40, "LeftHand", place);
  one.hold(60, 62, byIndex.find("LeftHand"));
  same.hold(60, 62, "LeftHand");
  one.solve();
  same.solve();
  EXPECT_EQ(byName.values, byIndex.values);
  try {
    same.reach(40, "Lefthand", place);
    FAIL() << "there is none";
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), "there is no joint called 'Lefthand' in the clip");
  }
}

TEST(Edit, RefusesNumbersThatAreNotFinite) {
  Clip clip = walk();
  clip.frame(4)[7] = std::nan("");
  EXPECT_THROW(Edit{clip}, Error);
  Clip good = walk();
  Edit edit(good);
  EXPECT_THROW(edit.reach(0, 5, Pnt3(0, std::nan(""), 0)), Error);
  EXPECT_THROW(edit.reach(120, 5, Pnt3()), Error);
  EXPECT_THROW(edit.reach(0, 500, Pnt3()), Error);
}

TEST(Edit, SaysThatNothingIsHeldAndLeavesTheClipAlone) {
  Clip clip = walk();
  const std::vector<double> values = clip.values;
  const Report report = Edit(clip).solve();
  EXPECT_FALSE(report.met);
  EXPECT_TRUE(report.impossible);
  ASSERT_EQ(report.reasons.size(), 1u);
  EXPECT_EQ(report.reasons[0], "nothing is to be held");
  EXPECT_EQ(clip.values, values);
}

TEST(Edit, HoldsTheFeetAndSaysSoWhenAHandCannotReach) {
  Clip clip = walk();
  const Skeleton skeleton(clip);
  const int hand = clip.find("LeftHand");
  Edit edit(clip);
  edit.plant(findContacts(clip));
  edit.reach(10, hand, skeleton.position(hand, clip.frame(10)) + Pnt3(0, 400, 0));
  const Report report = edit.solve();
  EXPECT_FALSE(report.met);
  EXPECT_TRUE(report.impossible);
  ASSERT_FALSE(report.reasons.empty());
  EXPECT_NE(report.reasons[0].find("LeftHand"), std::string::npos) << report.reasons[0];
  EXPECT_NE(report.reasons[0].find("frame 11"), std::string::npos) << report.reasons[0];
  EXPECT_TRUE(report.turn <= 1.0473) << report.turn;
  for (const double value : clip.values) ASSERT_TRUE(std::isfinite(value));
}

TEST(Edit, TellsAnObserverOfEachStepAndEndsWhenItSaysSo) {
  Clip clip = walk();
  int seen = 0;
  EditOptions options;
  options.observer = [&](const EditStep& step) { return ++seen == step.number && seen < 2; };
  Edit edit(clip, options);
  edit.plant(findContacts(clip));
  const Report report = edit.solve();
  EXPECT_EQ(seen, 2);
  EXPECT_FALSE(report.met);
  EXPECT_EQ(report.steps.size(), 2u);
}

TEST(Edit, KeepsFeetAboveTheGroundWhenAsked) {
  Clip clip = walk();
  EditOptions options;
  options.ground = true;
  Edit edit(clip, options);
  edit.plant(findContacts(clip));
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_TRUE(report.belowAfter <= 1e-4) << report.belowAfter;
}

// With knots, one hold depends on unknowns of several times, also if only a few of them are bound.
TEST(Edit, KeepsToTheLargestTurnWithKnotsToo) {
  Clip clip = walk();
  const Skeleton skeleton(clip);
  EditOptions options;
  options.knots = 0.3;
  options.mostTurn = 0.15;
  Edit edit(clip, options);
  const int hand = clip.find("LeftHand");
  for (const int f : {30, 60, 90})
    edit.reach(f, hand, skeleton.position(hand, clip.frame(f)) + Pnt3(0.0, 0.1 * skeleton.height(), 0.0));
  const Report report = edit.solve();
  EXPECT_LE(report.turn, options.mostTurn * (1.0 + 1e-9));
  EXPECT_TRUE(report.missAfter <= report.missBefore) << textOf(report);
}

TEST(Edit, OneFrameIsEditedToo) {
  Clip clip = walk();
  clip.frames = 1;
  clip.values.resize(static_cast<std::size_t>(clip.channels));
  clip.text = nullptr;
  const Skeleton skeleton(clip);
  const int hand = clip.find("LeftHand");
  Edit edit(clip);
  edit.reach(0, hand, skeleton.position(hand, clip.frame(0)) + Pnt3(3, 5, 0));
  EXPECT_TRUE(edit.solve().met);
}
