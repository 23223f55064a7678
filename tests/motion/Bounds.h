#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "limber_motion/motion.h"

/// The bounds that an animator accepts for a clip whose feet are held.
struct Bounds {
  const char* clip;
  double skate, bodyJerk;
};

/// Lets names of tests show the clip instead of the bytes of the bounds.
inline void PrintTo(const Bounds& bounds, std::ostream* out) { *out << bounds.clip; }

/// Edits the clip with its contacts and default options, and checks the bounds.
inline void expectGood(limber::motion::Clip clip, const Bounds& bounds, const std::string& what) {
  using namespace limber::motion;
  constexpr double degrees = 3.14159265358979323846 / 180.0;
  const Clip before = clip;
  const Contacts contacts = findContacts(clip);
  Edit edit(clip);
  edit.plant(contacts);
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << what << "\n" << textOf(report);
  EXPECT_TRUE(report.missAfter <= 1e-4) << what;
  if (report.looseFrames == 0) {
    EXPECT_LE(report.steps.size(), 8u) << what;
  }
  const Quality quality = measureQuality(before, clip);
  EXPECT_GT(quality.standingFrames, 10) << what;
  EXPECT_TRUE(quality.skateAfter <= bounds.skate) << what << ": " << quality.skateAfter;
  EXPECT_TRUE(quality.edgeJerk <= 1.1) << what << ": " << quality.edgeJerk;
  EXPECT_TRUE(quality.largestEdgeJerk <= 3.0) << what << ": " << quality.largestEdgeJerk;
  EXPECT_TRUE(quality.bodyJerk <= bounds.bodyJerk) << what << ": " << quality.bodyJerk;
  EXPECT_TRUE(quality.belowAfter <= quality.belowBefore) << what << ": " << quality.belowAfter;
  EXPECT_TRUE(quality.turn <= 20.0 * degrees) << what << ": " << quality.turn / degrees;
}
