// Constraint scripts, and the foot plants that are found without one.

#include <gtest/gtest.h>

#include "limber_motion/motion.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

class Script : public ::testing::Test {
 protected:
  Script() : clip(readClip(directory.write("clip.bvh", smallClip).c_str(), nullptr)), skeleton(clip) {}

  std::vector<Constraint> read(const std::string& text) const {
    return readScript(directory.write("script.txt", text), nullptr, clip).constraints;
  }

  // The error message without the directory; empty if there was no error.
  std::string problem(const std::string& text) const {
    try {
      read(text);
    } catch (const Error& error) {
      return std::string(error.what()).substr(directory.path().size() + 1);
    }
    return "";
  }

  TemporaryDirectory directory;
  const Clip clip;
  const Skeleton skeleton;
};

TEST_F(Script, SaysWhereAJointShallBe) {
  const std::vector<Constraint> constraints = read("2 Arm 1 -2 .5\n1 Arm.End +1e1 0 0 2.5\n");
  ASSERT_EQ(constraints.size(), 2u);
  EXPECT_EQ(constraints[1].frame, 1);
  EXPECT_EQ(constraints[1].joint, 1);
  EXPECT_EQ((constraints[1].target - Pnt3(1, -2, 0.5)).length(), 0.0);
  EXPECT_EQ(constraints[1].weight, 1.0);
  EXPECT_EQ(constraints[0].frame, 0);
  EXPECT_EQ(constraints[0].joint, 2);
  EXPECT_EQ(constraints[0].target.x, 10.0);
  EXPECT_EQ(constraints[0].weight, 2.5);
}

TEST_F(Script, ARangeIsAConstraintForEachOfItsFrames) {
  const std::vector<Constraint> constraints = read("1-2 Arm 1 2 3 4");
  ASSERT_EQ(constraints.size(), 2u);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(constraints[static_cast<std::size_t>(i)].frame, i);
    EXPECT_EQ(constraints[static_cast<std::size_t>(i)].target.z, 3.0);
    EXPECT_EQ(constraints[static_cast<std::size_t>(i)].weight, 4.0);
  }
}

TEST_F(Script, HoldKeepsAJointWhereItIsInAFrame) {
  const Pnt3 first = skeleton.position(2, clip.frame(0)), second = skeleton.position(2, clip.frame(1));
  ASSERT_GT((first - second).length(), 1.0);
  const std::vector<Constraint> own = read("hold 1-2 Arm.End\n"), at = read("hold 1-2 Arm.End at 2\n");
  ASSERT_EQ(own.size(), 2u);
  ASSERT_EQ(at.size(), 2u);
  for (const std::size_t i : {0u, 1u}) {
    EXPECT_EQ((own[i].target - first).length(), 0.0);
    EXPECT_EQ((at[i].target - second).length(), 0.0);
    EXPECT_EQ(at[i].weight, 1.0);
  }
  const std::vector<Constraint> weighed = read("hold 2 Arm.End 7\nhold 1 Arm at 2 3\n");
  ASSERT_EQ(weighed.size(), 2u);
  EXPECT_EQ((weighed[1].target - second).length(), 0.0);
  EXPECT_EQ(weighed[1].weight, 7.0);
  EXPECT_EQ(weighed[0].weight, 3.0);
}

TEST_F(Script, PlantsStandBesideItsOwnLines) {
  const auto script = [&](const char* text) {
    return readScript(directory.write("script.txt", text), nullptr, clip);
  };
  EXPECT_FALSE(script("1 Arm 1 2 3\n").plants);
  EXPECT_TRUE(script("plants # as found\n1 Arm 1 2 3\n").plants);
  EXPECT_EQ(script("plants\n1 Arm 1 2 3\n").constraints.size(), 1u);
  EXPECT_EQ(problem("plants 3\n"), "script.txt:1: expected the end of the line, found '3'");
}

TEST_F(Script, ASecondTargetForAJointInAFrameIsRefusedWithBothLines) {
  EXPECT_EQ(problem("# first\n1-2 Arm 1 2 3\n1 Arm.End 0 0 0\nhold 2 Arm\n"),
            "script.txt:4: a second target for Arm in frame 2; line 2 has one");
  EXPECT_EQ(problem("1 Arm 1 2 3\n1 Arm 1 2 3\n"),
            "script.txt:2: a second target for Arm in frame 1; line 1 has one");
}

TEST(ScriptOfAWalk, EasingRaisesTheWeightAndLowersItAgain) {
  const TemporaryDirectory directory;
  const Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  const std::string path =
      directory.write("script.txt", "11-20 LeftHand 1 2 3 2 ease 3 1\nhold 31-33 LeftHand ease 1\n");
  const std::vector<Constraint> constraints = readScript(path, nullptr, clip).constraints;
  ASSERT_EQ(constraints.size(), 13u);
  const auto smooth = [](double u) { return u * u * (3 - 2 * u); };
  const double weights[] = {smooth(0.25), 0.5, smooth(0.75), 2, 2, 2, 2, 2, 2, 0.5, 0.5, 1, 0.5};
  for (std::size_t i = 0; i < 13; ++i)
    EXPECT_TRUE(tolerance::close(constraints[i].weight, weights[i], 1e-15)) << i;
}

TEST(ScriptOfAWalk, WrittenContactsReadBackAsTheSamePlaces) {
  const TemporaryDirectory directory;
  Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  clip.joints[static_cast<std::size_t>(clip.find("LeftFoot"))].name = "Left";
  clip.joints[static_cast<std::size_t>(clip.find("LeftToeBase"))].name = "Left 7 toes";
  const Contacts contacts = findContacts(clip);
  writeScript(contacts, clip, directory / "plants.txt");
  const std::vector<Constraint> wanted = constraintsOf(contacts),
                                found = readScript(directory / "plants.txt", nullptr, clip).constraints;
  ASSERT_EQ(found.size(), wanted.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    EXPECT_EQ(found[i].frame, wanted[i].frame);
    EXPECT_EQ(found[i].joint, wanted[i].joint);
    EXPECT_LT((found[i].target - wanted[i].target).length(), 1e-8 * Skeleton(clip).height());
  }
}

TEST_F(Script, CommentsBlankLinesAndLineEndsMakeNoDifference) {
  const std::vector<Constraint> constraints =
      read("# 9 Leg\r\n\r\n \t\r\n1 Arm 1 2 3 # as it was\r\n#2 Arm 1 2 3\r\n2 Arm 1 2 3 4 #\r\n");
  ASSERT_EQ(constraints.size(), 2u);
  EXPECT_EQ(constraints[0].weight, 1.0);
  EXPECT_EQ(constraints[1].weight, 4.0);
  EXPECT_TRUE(read("").empty());
  EXPECT_TRUE(read("# nothing\n\n").empty());
}

TEST_F(Script, LinesMayBeLong) {
  for (const std::size_t length : {509u, 510u, 511u, 512u, 4095u, 4096u, 5000u}) {
    const std::string wide = "1 Arm 1 2" + std::string(length - 10, ' ') + "3\n";
    ASSERT_EQ(wide.size(), length + 1);
    const std::vector<Constraint> constraints =
        read(wide + "#" + std::string(length, '#') + "\n2 Arm 4 5 6\n");
    ASSERT_EQ(constraints.size(), 2u) << length;
    EXPECT_EQ(constraints[0].target.z, 3.0);
    EXPECT_EQ(constraints[1].target.x, 4.0);
    EXPECT_EQ(problem(wide + " \n \n2 Arm 4 5\n"),
              "script.txt:4: expected a coordinate, found the end of the line");
  }
  EXPECT_EQ(problem("1 Arm 1 2 " + std::string(600, '3')),
            "script.txt:1: expected a coordinate, found '" + std::string(40, '3') + "...'");
}

TEST_F(Script, EmptyLinesAreCounted) {
  EXPECT_EQ(problem("1 Arm 1 2 3\n\n2 Arm 4 5\n"),
            "script.txt:3: expected a coordinate, found the end of the line");
}

TEST_F(Script, EveryMistakeIsNamedWithItsPlace) {
  const struct {
    const char* line;
    const char* message;
  } all[] = {
      {"Arm 1 2 3", "expected a frame or a range of frames such as 10-25, found 'Arm'"},
      {"0 Arm 1 2 3", "frame 0 is not in the clip, which has frames 1 to 2"},
      {"3 Arm 1 2 3", "frame 3 is not in the clip, which has frames 1 to 2"},
      {"-1 Arm 1 2 3", "frame -1 is not in the clip, which has frames 1 to 2"},
      {"1-3 Arm 1 2 3", "frame 3 is not in the clip, which has frames 1 to 2"},
      {"99999999999 Arm 1 2 3", "expected a frame or a range of frames such as 10-25, found '99999999999'"},
      {"1- Arm 1 2 3", "expected a frame or a range of frames such as 10-25, found '1-'"},
      {"1.5 Arm 1 2 3", "expected a frame or a range of frames such as 10-25, found '1.5'"},
      {"2-1 Arm 1 2 3", "the range '2-1' ends before it begins"},
      {"1", "expected a joint, found the end of the line"},
      {"1 Leg 1 2 3", "the clip has no joint called 'Leg'"},
      {"1 arm 1 2 3", "the clip has no joint called 'arm'"},
      {"1 Arm", "expected a coordinate, found the end of the line"},
      {"1 Arm 1 2 # 3", "expected a coordinate, found the end of the line"},
      {"1 Arm 1 nan 3", "expected a coordinate, found 'nan'"},
      {"1 Arm 1 2 1e400", "expected a coordinate, found '1e400'"},
      {"1 Arm 1 2 -inf", "expected a coordinate, found '-inf'"},
      {"1 Arm 1 2 1e16", "expected a coordinate, found '1e16'"},
      {"1 Arm 1 2 3 0", "expected a weight above 0"},
      {"1 Arm 1 2 3 -1", "expected a weight above 0"},
      {"1 Arm 1 2 3 nan", "expected a weight, found 'nan'"},
      {"1 Arm 1 2 3 4 5", "expected the end of the line, found '5'"},
      {"hold", "expected a frame or a range of frames, found the end of the line"},
      {"hold 1 Arm at", "expected a frame, found the end of the line"},
      {"hold 1 Arm at 3", "frame 3 is not in the clip, which has frames 1 to 2"},
      {"hold 1 Arm at 1 1 1", "expected the end of the line, found '1'"},
      {"hold 1 Arm on 1", "expected a weight, found 'on'"},
      {"1 Arm 1 2 3 ease", "expected the frames of a ramp, found the end of the line"},
      {"1 Arm 1 2 3 ease 0.5", "expected the frames of a ramp, found '0.5'"},
      {"1 Arm 1 2 3 ease -1", "expected a ramp of 0 frames or more"},
      {"1 Arm 1 2 3 ease 1 1", "ramps of 1 and 1 frames are longer than the range of 1"},
  };
  for (const auto& one : all) {
    EXPECT_EQ(problem(std::string("# first\n \n") + one.line + "\n2 Arm 1 2 3\n"),
              std::string("script.txt:3: ") + one.message);
  }
}

TEST_F(Script, CompressedScriptsAreReadAndTruncatedOnesRefused) {
  const std::string text = "1 Arm 1 2 3\n2 Arm 1 2 3\n";
  const std::string packed = readFile(directory.writeGz("script.txt.gz", text));
  EXPECT_EQ(read(packed).size(), 2u);
  // Not even the checksum at the end may be missing, because half a script has only half of the constraints.
  for (std::size_t length = 2; length < packed.size(); ++length) {
    EXPECT_NE(problem(packed.substr(0, length)), "") << length;
  }
  EXPECT_NE(problem(packed.substr(0, packed.size() - 4)).find("damaged or cut short"), std::string::npos);
  // Also if the text fills zlib's buffer exactly.
  const std::string full =
      readFile(directory.writeGz("full.gz", text + std::string(16383 - text.size(), ' ') + "\n"));
  EXPECT_EQ(read(full).size(), 2u);
  EXPECT_NE(problem(full.substr(0, full.size() - 8)).find("damaged or cut short"), std::string::npos);
}

TEST(SortByFrame, LeavesEachJointItsLastConstraintOfAFrame) {
  std::vector<Constraint> constraints = {{5, 1, Pnt3(1, 0, 0), 1}, {3, 2, Pnt3(2, 0, 0), 1},
                                         {5, 0, Pnt3(3, 0, 0), 1}, {5, 1, Pnt3(4, 0, 0), 1},
                                         {3, 2, Pnt3(5, 0, 0), 1}, {5, 1, Pnt3(6, 0, 0), 1}};
  sortByFrame(&constraints);
  ASSERT_EQ(constraints.size(), 3u);
  const double targets[] = {5, 3, 6};
  const int frames[] = {3, 5, 5}, joints[] = {2, 0, 1};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(constraints[i].target.x, targets[i]);
    EXPECT_EQ(constraints[i].frame, frames[i]);
    EXPECT_EQ(constraints[i].joint, joints[i]);
  }
}

}  // namespace
