// The report as text for people and as JSON for programs.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "limber_motion/motion.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFile.h"

namespace {

using namespace limber::motion;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(Report, JsonIsUtf8WhateverTheNamesHold) {
  Report report;
  report.missJoint = "J\xF6rg \"the\\arm\"\t";                           // Latin-1
  report.turnJoint = "F\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x99\x82";  // UTF-8
  report.reasons = {"\xED\xA0\x80", "\xC0\xAF", "\xE2\x82"};             // a surrogate, overlong, cut
  const std::string json = jsonOf(report);
  EXPECT_TRUE(contains(json, "\"missJoint\": \"J\\u00f6rg \\\"the\\\\arm\\\"\\u0009\"")) << json;
  EXPECT_TRUE(contains(json, "\"turnJoint\": \"" + report.turnJoint + "\"")) << json;
  EXPECT_TRUE(contains(json, "[\"\\u00ed\\u00a0\\u0080\", \"\\u00c0\\u00af\", \"\\u00e2\\u0082\"]")) << json;
}

TEST(Report, JsonNumbersAreTheSameInEveryLocale) {
  Report report;
  report.turn = 0.123456789012;
  report.edgeJerk = std::numeric_limits<double>::infinity();
  report.steps.push_back({1, true, 0.5, 1e-7, 1.0, 0.25, 0.125, 120});
  const CommaLocale comma;
  const std::string json = jsonOf(report);
  EXPECT_TRUE(contains(json, "\"turn\": 0.123456789,")) << json;
  EXPECT_TRUE(contains(json, "\"edgeJerk\": null,")) << json;
  EXPECT_TRUE(contains(json,
                       "{\"number\": 1, \"exact\": true, \"before\": 0.5, \"after\": 1e-07, \"scale\": 1, "
                       "\"turn\": 0.25, \"seconds\": 0.125, \"frames\": 120}"))
      << json;
}

TEST(Report, TextNamesTheJointsAndFramesOfTheWorstPlaces) {
  Report report;
  report.height = 10.0;
  report.missAfter = 0.02;
  report.missJoint = "LeftToe";
  report.missFrame = 7;
  report.reasons = {"the reason"};
  const std::string text = textOf(report);
  EXPECT_EQ(text.find("Not met.\n  the reason\n"), 0u) << text;
  EXPECT_TRUE(
      contains(text, "largest miss    0.02 heights (0.2 in the clip's unit), before 0, LeftToe in frame 7\n"))
      << text;
}

// Each figure is computed here from the two clips and the contacts alone.
TEST(Report, AgreesWithTheEditedClip) {
  Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  const Clip before = clip;
  const Contacts contacts = findContacts(clip);
  Edit edit(clip);
  edit.plant(contacts);
  const Report report = edit.solve();
  ASSERT_EQ(report.looseFrames, 0);
  const Skeleton skeleton(before);
  const double height = skeleton.height();
  const auto slide = [&](const Clip& in, const Contact& contact, int f) {
    const Pnt3 way =
        skeleton.position(contact.joint, in.frame(f + 1)) - skeleton.position(contact.joint, in.frame(f));
    return std::hypot(way.x, way.z) / height / before.frameTime;
  };
  double miss = 0.0, skateBefore = 0.0, skateAfter = 0.0, fastest = 0.0, turn = 0.0;
  int held = 0, slides = 0, changed = 0;
  for (const Contact& contact : contacts.list) {
    for (int f = contact.first; f <= contact.last; ++f) {
      ++held;
      miss =
          std::max(miss, (skeleton.position(contact.joint, clip.frame(f)) - contact.place).length() / height);
      if (f == contact.last) continue;
      ++slides;
      skateBefore += slide(before, contact, f);
      skateAfter += slide(clip, contact, f);
      fastest = std::max(fastest, slide(clip, contact, f));
    }
  }
  for (int f = 0; f < clip.frames; ++f) {
    changed += !std::equal(clip.frame(f), clip.frame(f) + clip.channels, before.frame(f));
    for (int c = 0; c < clip.channels; ++c) {
      if (skeleton.isRotation(c))
        turn = std::max(
            turn, std::fabs(std::remainder(clip.frame(f)[c] - before.frame(f)[c], 2.0 * std::acos(-1.0))));
    }
  }
  EXPECT_EQ(report.heldFrames, held);
  EXPECT_EQ(report.framesChanged, changed);
  EXPECT_NEAR(report.missAfter, miss, 1e-9);
  EXPECT_NEAR(report.skateBefore, skateBefore / slides, 1e-9);
  EXPECT_NEAR(report.skateAfter, skateAfter / slides, 1e-9);
  EXPECT_NEAR(report.fastestAfter, fastest, 1e-9);
  EXPECT_NEAR(report.turn, turn, 1e-9);
}

}  // namespace
