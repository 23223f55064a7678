// The kinematics of a clip's skeleton: positions, and their derivatives by the channels.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "limber/linalg/SpVec.h"
#include "limber_motion/motion.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh").c_str(), nullptr); }

// The error of central differences with step h is h^2 |p'''| / 6 + eps |p| / h. Lengths are below 1000 and
// angles are in radians, so with h = 1e-4 it is below 1000 (h^2 / 6 + 4 eps / h) in each coordinate.
void expectDerivatives(const Clip& clip, int joint, const std::vector<double>& frame) {
  const double h = 1e-4, allowed = 1000 * (h * h / 6 + 4 * tolerance::epsilon / h);
  const Skeleton skeleton(clip);
  SpVec rows[3];
  const Pnt3 p = skeleton.position(joint, frame.data(), rows);
  EXPECT_TRUE(tolerance::small((p - skeleton.position(joint, frame.data())).length(), 1e-10));
  for (int c = 0; c < clip.channels; ++c) {
    std::vector<double> low = frame, high = frame;
    low[static_cast<std::size_t>(c)] -= h;
    high[static_cast<std::size_t>(c)] += h;
    const Pnt3 difference = skeleton.position(joint, high.data()) - skeleton.position(joint, low.data());
    EXPECT_TRUE(tolerance::close(rows[0].v(c), difference.x / (2 * h), allowed)) << joint << " channel " << c;
    EXPECT_TRUE(tolerance::close(rows[1].v(c), difference.y / (2 * h), allowed)) << joint << " channel " << c;
    EXPECT_TRUE(tolerance::close(rows[2].v(c), difference.z / (2 * h), allowed)) << joint << " channel " << c;
  }
}

// A frame of the clip with every channel moved.
std::vector<double> disturbed(const Clip& clip, int f, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<double> frame(clip.frame(f), clip.frame(f) + clip.channels);
  for (double& value : frame) value += 1e-2 * (static_cast<double>(random() % 2000) - 1000);
  return frame;
}

TEST(Skeleton, DerivativeRowsAgreeWithCentralDifferences) {
  const Clip clip = walk();
  for (const int f : {0, 17, 119}) {
    for (const char* name : {"Head.End", "LeftToeBase", "RightHand", "Hips"}) {
      const int joint = clip.find(name);
      ASSERT_GE(joint, 0) << name;
      expectDerivatives(clip, joint, disturbed(clip, f, 7));
    }
  }
}

// Some of the orders are rotation formats of the library, the others are composed of single axes.
TEST(Skeleton, DerivativeRowsAgreeForEveryOrderOfChannels) {
  const TemporaryDirectory directory;
  for (const std::string order :
       {"X", "Y", "Z", "XY", "YX", "XZ", "ZX", "YZ", "ZY", "XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX"}) {
    std::string channels = "CHANNELS " + std::to_string(order.size() + 1) + " Yposition", numbers = "0";
    for (const char axis : order) channels += std::string(" ") + axis + "rotation";
    for (std::size_t i = 1; i < 7 + order.size(); ++i) numbers += " 10";
    const std::string hierarchy =
        with(with(smallHierarchy, "CHANNELS 2 Xrotation Yposition", channels), "0 5 0", "1 5 2");
    const std::string motion = "MOTION\nFrames: 1\nFrame Time: 1\n" + numbers + "\n";
    const Clip clip = readClip(directory.write("clip.bvh", hierarchy + motion).c_str(), nullptr);
    for (unsigned seed = 1; seed < 6; ++seed) {
      expectDerivatives(clip, clip.find("Arm.End"), disturbed(clip, 0, seed));
    }
  }
}

TEST(Skeleton, AllPositionsAgreeWithEachAlone) {
  const Clip clip = walk();
  const Skeleton skeleton(clip);
  const std::vector<Pnt3> all = skeleton.positions(clip.frame(33));
  for (int j = 0; j < static_cast<int>(clip.joints.size()); ++j) {
    const Pnt3 alone = skeleton.position(j, clip.frame(33));
    EXPECT_TRUE(tolerance::close((all[static_cast<std::size_t>(j)] - alone).length(), 0.0, 1e-10)) << j;
  }
}

}  // namespace
