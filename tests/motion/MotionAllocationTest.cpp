// Each allocation of each call fails once: the call throws std::bad_alloc or an Error, or the library reports
// the missing memory. Clips and files then are as they were.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "limber/foundation/Output.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber_motion/motion.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/allocations/Allocations.h"

namespace {

using namespace limber::motion;

int reports = 0;
int count(const char*) {
  ++reports;
  return 0;
}

// The small skeleton in motion, for `frames` frames.
std::string longClip(int frames) {
  std::string text = smallHierarchy + "MOTION\nFrames: " + std::to_string(frames) + "\nFrame Time: 0.04\n";
  for (int f = 0; f < frames; ++f) {
    const double t = 0.1 * f;
    for (const double v :
         {0.1 * t, 0.2 * t, 1.0, 10.0 * std::sin(t), 5.0 * std::cos(t), 3.0 * t, 20.0 * std::sin(t), 0.5}) {
      text += std::to_string(v) + " ";
    }
    text += "\n";
  }
  return text;
}

// Runs `call` with its k-th allocation failing, for k = 0, 1, ... at growing distances, until none fails.
// `check` is told whether the call threw. Returns the number of failures.
int failEach(const char* what, const std::function<void()>& call, const std::function<void(bool)>& check) {
  const OutputFunction before = stderrF;
  stderrF = count;
  int failures = 0;
  for (long k = 0;; k += 1 + k / 60) {
    bool threw = false, happened = false;
    reports = 0;
    {
      const allocations::FailAt fail(k);
      try {
        call();
      } catch (const std::bad_alloc&) {
        threw = true;
      } catch (const Error&) {
        threw = true;
      }
      happened = fail.happened();
    }
    EXPECT_TRUE(happened || (!threw && reports == 0)) << what << " " << k;
    check(threw);
    if (!happened) break;
    ++failures;
  }
  stderrF = before;
  EXPECT_GT(failures, 0) << what << " allocates nothing";
  return failures;
}

void nothing(bool) {}

class MotionAllocation : public ::testing::Test {
 protected:
  MotionAllocation() : path(directory.write("clip.bvh", longClip(24))), clip(readClip(path)) {}

  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  TemporaryDirectory directory;
  const std::string path;
  Clip clip;
};

TEST_F(MotionAllocation, ReadingAndWritingClips) {
  failEach(
      "readClip", [&] { EXPECT_EQ(readClip(path).values, clip.values); }, nothing);
  failEach(
      "readClip along a path",
      [&] { EXPECT_EQ(readClip("clip.bvh", directory.path().c_str()).values, clip.values); }, nothing);
  const std::string text = textOf(clip), out = directory.write("out.bvh", "earlier");
  failEach(
      "textOf", [&] { EXPECT_EQ(textOf(clip), text); }, nothing);
  failEach(
      "writeClip", [&] { writeClip(clip, out); },
      [&](bool threw) {
        EXPECT_EQ(readFile(out), threw ? "earlier" : text);
        EXPECT_EQ(files(), (std::set<std::string>{"clip.bvh", "out.bvh"}));
      });
  EXPECT_EQ(readFile(out), text);
  failEach(
      "findGimbalLock", [&] { findGimbalLock(clip, 3.0); }, nothing);
}

TEST_F(MotionAllocation, SkeletonsContactsAndScripts) {
  const int hand = clip.find("Arm.End");
  failEach(
      "Skeleton", [&] { EXPECT_EQ(Skeleton(clip).joints(), 3); }, nothing);
  const Skeleton skeleton(clip);
  failEach(
      "positions", [&] { EXPECT_EQ(skeleton.positions(clip.frame(1)).size(), 3u); }, nothing);
  failEach(
      "position with its derivative",
      [&] {
        SpVec rows[3];
        skeleton.position(hand, clip.frame(1), rows);
      },
      nothing);
  failEach(
      "findContacts", [&] { findContacts(clip); }, nothing);
  failEach(
      "findStands", [&] { findStands(clip); }, nothing);
  failEach(
      "measureQuality", [&] { EXPECT_EQ(measureQuality(clip, clip).turn, 0.0); }, nothing);
  Contacts contacts;
  contacts.list = {{hand, 2, 9, Pnt3(1, 2, 3)}, {hand, 12, 15, Pnt3(1, 2, 4)}};
  contacts.feet = {hand};
  const std::vector<Constraint> all = constraintsOf(contacts);
  ASSERT_EQ(all.size(), 12u);
  failEach(
      "constraintsOf", [&] { EXPECT_EQ(constraintsOf(contacts).size(), 12u); }, nothing);
  failEach(
      "contactsBeside", [&] { contactsBeside(contacts, all); }, nothing);
  const std::string text = scriptOf(contacts, clip), out = directory.write("script.txt", "earlier");
  failEach(
      "scriptOf", [&] { EXPECT_EQ(scriptOf(contacts, clip), text); }, nothing);
  failEach(
      "writeScript", [&] { writeScript(contacts, clip, out); },
      [&](bool threw) { EXPECT_EQ(readFile(out), threw ? "earlier" : text); });
  failEach(
      "readScript", [&] { EXPECT_EQ(readScript(out, nullptr, clip).constraints.size(), 12u); }, nothing);
}

TEST_F(MotionAllocation, TheMeasureOfAChange) {
  const std::vector<double> masses = {1.0, 2.0};
  failEach(
      "Smoothness", [&] { EXPECT_EQ(Smoothness(20, masses, 0.04, 0.16, 0.05).height(), 40); }, nothing);
  const Smoothness measure(20, masses, 0.04, 0.16, 0.05);
  Vector x(40);
  x = 1.0;
  failEach(
      "mult",
      [&] {
        Vector y;
        measure.mult(&x, &y);
        EXPECT_TRUE(y.size() == 40 || reports > 0);
      },
      nothing);
}

// An edit that fails leaves the clip as it was; one that says that the targets are met has met them.
TEST_F(MotionAllocation, AnEditLeavesTheClipOrMeetsItsTargets) {
  const Clip original = clip;
  const int hand = clip.find("Arm.End");
  const Skeleton skeleton(clip);
  const Pnt3 target = skeleton.position(hand, clip.frame(11)) + Pnt3(0.4, -0.3, 0.2);
  bool met = false;
  const int failures = failEach(
      "Edit",
      [&] {
        Edit edit(clip);
        edit.reach(11, hand, target);
        met = edit.solve().met;
      },
      [&](bool threw) {
        if (threw) {
          EXPECT_EQ(clip.values, original.values);
        } else {
          for (const double v : clip.values) ASSERT_TRUE(std::isfinite(v));
          if (met) {
            EXPECT_LE((skeleton.position(hand, clip.frame(11)) - target).length(),
                      1.01e-4 * skeleton.height());
          }
        }
        met = false;
        clip = original;
      });
  EXPECT_GT(failures, 50);
}

TEST_F(MotionAllocation, Reports) {
  Edit edit(clip);
  edit.hold(3, 8, clip.find("Arm.End"));
  const Report report = edit.solve();
  const std::string text = textOf(report), json = jsonOf(report);
  failEach(
      "textOf", [&] { EXPECT_EQ(textOf(report), text); }, nothing);
  failEach(
      "jsonOf", [&] { EXPECT_EQ(jsonOf(report), json); }, nothing);
}

}  // namespace
