// Checks that edited clips keep the bounds, by the measures of Quality.h, and checks these measures.

#include "limber_motion/Quality.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "limber_motion/motion.h"
#include "tests/motion/Bounds.h"
#include "tests/motion/Resample.h"
#include "tests/motion/Scaled.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/TemporaryFile.h"

using namespace limber::motion;

namespace {

constexpr double degrees = 3.14159265358979323846 / 180.0;

class EditedClip : public testing::TestWithParam<Bounds> {};

}  // namespace

TEST_P(EditedClip, StandsStillAndMovesAsSmoothlyAsBefore) {
  LIMBER_NEEDS_DATA(path, std::string(GetParam().clip) + ".bvh");
  expectGood(readClip(path), GetParam(), GetParam().clip);
}

TEST_P(EditedClip, DoesSoAtOtherFrameRates) {
  LIMBER_NEEDS_DATA(path, std::string(GetParam().clip) + ".bvh");
  const Clip clip = readClip(path);
  for (const double rate : {30.0, 60.0, 120.0}) {
    expectGood(resampled(clip, rate), GetParam(), GetParam().clip + (" at " + std::to_string(rate)));
  }
}

TEST_P(EditedClip, DoesSoInEveryUnit) {
  LIMBER_NEEDS_DATA(path, std::string(GetParam().clip) + ".bvh");
  const Clip clip = readClip(path);
  if (clip.frames * clip.frameTime > 10.0) return;
  for (const double unit : {0.01, 1.0 / 2.54}) expectGood(scaled(clip, unit), GetParam(), GetParam().clip);
}

INSTANTIATE_TEST_SUITE_P(Quality, EditedClip,
                         testing::Values(Bounds{"walk01", 0.004, 1.3}, Bounds{"mocapbank", 0.0005, 1.7},
                                         Bounds{"cmu_02_01_walk", 0.01, 1.3}, Bounds{"cmu_05_03", 0.02, 1.3}),
                         [](const auto& of) { return std::string(of.param.clip); });

TEST(Quality, OurWalkWithItsScriptStandsStillInTheScriptedFrames) {
  Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  const Script script = readScript(sourceFile("examples/data/walk_constraints.txt"), nullptr, clip);
  Edit edit(clip);
  edit.add(script.constraints);
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_TRUE(report.missAfter <= 1e-4) << report.missAfter;
  EXPECT_TRUE(report.skateAfter <= 0.0005) << report.skateAfter;
  EXPECT_TRUE(report.edgeJerk <= 1.25) << report.edgeJerk;
}

TEST(Quality, AClipComparedWithItselfHasNotChanged) {
  const Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  const std::vector<Stand> stands = {{clip.find("LeftFoot"), 2, 20}, {clip.find("RightFoot"), 22, 40}};
  const Quality quality = measureQuality(clip, clip, stands, 0.0);
  EXPECT_EQ(quality.stands, 2);
  EXPECT_EQ(quality.standingFrames, 36);
  EXPECT_EQ(quality.skateBefore, quality.skateAfter);
  EXPECT_EQ(quality.edgeJerk, 1.0);
  EXPECT_EQ(quality.largestEdgeJerk, 1.0);
  EXPECT_EQ(quality.bodyJerk, 1.0);
  EXPECT_EQ(quality.turn, 0.0);
}

TEST(Quality, TheFirstChannelCountsIfItTurns) {
  Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  clip.text = nullptr;
  std::vector<Channel>& channels = clip.joints[0].channels;
  std::rotate(channels.begin(), channels.begin() + 3, channels.end());
  for (int f = 0; f < clip.frames; ++f) std::rotate(clip.frame(f), clip.frame(f) + 3, clip.frame(f) + 6);
  ASSERT_TRUE(clip.channel(0).rotation);
  const Clip before = clip;
  clip.frame(7)[0] += 0.25;
  EXPECT_NEAR(measureQuality(before, clip).turn, 0.25, 1e-12);
}

TEST(Quality, RefusesClipsOfDifferentFrames) {
  const Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  Clip other = clip;
  --other.frames;
  EXPECT_THROW(measureQuality(clip, other), Error);
}

// Some checkouts have an independent program with the same measures beside them.
TEST_P(EditedClip, IsMeasuredAsByTheRulerBesideTheCheckout) {
  LIMBER_NEEDS_DATA(path, std::string(GetParam().clip) + ".bvh");
  const std::string tool = path.substr(0, path.rfind("/data/")) + "/tools/motion_quality";
  if (readFile(tool).empty()) GTEST_SKIP() << "no ruler beside this checkout";
  Clip clip = readClip(path);
  const Clip before = clip;
  for (int f = 0; f < clip.frames; ++f) {
    for (int c = 0; c < clip.channels; ++c) clip.frame(f)[c] += 0.02 * std::sin(0.1 * f + c);
  }
  const std::string edited = testing::TempDir() + "limber_quality_" + GetParam().clip + ".bvh";
  writeClip(clip, edited);
  std::FILE* const pipe = popen(("'" + tool + "' '" + path + "' '" + edited + "' 2>&1").c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string text;
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
  pclose(pipe);
  std::remove(edited.c_str());
  const Quality q = measureQuality(before, clip);
  const auto has = [&](const char* format, auto... values) {
    const DecimalPoint point;
    char line[200];
    std::snprintf(line, sizeof line, format, values...);
    EXPECT_NE(text.find(line), std::string::npos) << line << "\nis not in\n" << text;
  };
  has("stands        %d, %d frames", q.stands, q.standingFrames);
  has("skate         mean %.5f -> %.5f, largest %.4f -> %.4f", q.skateBefore, q.skateAfter, q.fastestBefore,
      q.fastestAfter);
  has("wander        %.5f -> %.5f", q.wanderBefore, q.wanderAfter);
  has("edge jerk     mean %.2f, largest %.2f", q.edgeJerk, q.largestEdgeJerk);
  has("body jerk     %.2f", q.bodyJerk);
  has("below ground  %.4f -> %.4f", q.belowBefore, q.belowAfter);
  has("turn          %.2f", q.turn / degrees);
}

// A body that is a root with an end only, both at the same height.
TEST(Quality, ARootWithAnEndStands) {
  std::string text =
      "HIERARCHY\nROOT Base\n{\nOFFSET 0 0 0\nCHANNELS 3 Xposition Yposition Zposition\n"
      "End Site\n{\nOFFSET 1 0 0\n}\n}\nMOTION\nFrames: 10\nFrame Time: 0.04\n";
  for (int f = 0; f < 10; ++f) text += "0 0 0\n";
  const TemporaryDirectory directory;
  const std::vector<Stand> stands = findStands(readClip(directory.write("root.bvh", text)));
  ASSERT_EQ(stands.size(), 2U);
  EXPECT_EQ(stands[0].joint, 0);
  EXPECT_EQ(stands[1].joint, 1);
  EXPECT_EQ(stands[0].end - stands[0].first, 10);
}
