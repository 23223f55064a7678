// The motion editor run as a user runs it: what it says, how it ends, what it leaves behind.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "names.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/Program.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using limber::motion::readClip;

const std::string data = sourceFile("examples/data");

/// Every move and line of the drawing is on its page of 576 x 720 points; returns how many there are.
int strokesOnThePage(const std::string& drawing) {
  std::istringstream words(drawing);
  int strokes = 0;
  double x = -1.0, y = -1.0;  // the two words in front
  for (std::string word; words >> word;) {
    if (word == "m" || word == "L") {
      EXPECT_TRUE(x >= 0 && x <= 576 && y >= 0 && y <= 720) << x << " " << y;
      strokes++;
    }
    x = y;
    y = std::strtod(word.c_str(), nullptr);
  }
  return strokes;
}

class MotionEditProgram : public ::testing::Test {
 protected:
  /// Runs it in the temporary directory.
  ProgramRun run(const std::vector<std::string>& arguments) const {
    return runProgram(MOTION_EDIT_PROGRAM, arguments, directory.path());
  }

  /// What is in the directory now, names in order.
  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  void expectRefused(const std::vector<std::string>& arguments, const std::string& message) const {
    const std::set<std::string> before = files();
    const ProgramRun result = run(arguments);
    EXPECT_EQ(result.status, 1) << message;
    EXPECT_EQ(result.err, message + "\n");
    EXPECT_EQ(files(), before) << message;
  }

  TemporaryDirectory directory;
};

bool says(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(MotionEditProgram, MeetsTheScriptOfTheDemo) {
  const ProgramRun result = run({"-p", data, "-o", "out", "walk.bvh", "walk_constraints.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(
      says(result.out, "walk.bvh: 25 joints and end sites, 63 channels, 120 frames, height 168.0 cm\n"))
      << result.out;
  EXPECT_TRUE(says(result.out, "\n279 position constraints\n"));
  EXPECT_TRUE(says(result.out, "  step  1: largest miss "));
  EXPECT_TRUE(says(result.out, " iterations "));
  EXPECT_TRUE(says(result.out, "largest constraint error: "));
  EXPECT_TRUE(says(result.out, "largest joint change: "));
  EXPECT_TRUE(says(result.out, "wrote out.bvh, out.ai and out-convergence.ai\n"));
  EXPECT_EQ(files(), (std::set<std::string>{"out.bvh", "out.ai", "out-convergence.ai"}));
  const Clip edited = readClip((directory / "out.bvh").c_str(), nullptr);
  EXPECT_EQ(edited.frames, 120);
  for (const char* name : {"out.ai", "out-convergence.ai"}) {
    const std::string drawing = readFile(directory / name);
    EXPECT_EQ(drawing.compare(0, 11, "%!PS-Adobe-"), 0) << name;
    EXPECT_TRUE(says(drawing, "\n%%EOF\n")) << name;
    EXPECT_FALSE(says(drawing, "nan") || says(drawing, "inf")) << name;
    EXPECT_GT(strokesOnThePage(drawing), 1000) << name;
  }
  const std::string curves = readFile(directory / "out-convergence.ai");
  for (const char* name : {"none: ", "jacobi: ", "banded: "}) EXPECT_TRUE(says(curves, name)) << name;
}

TEST_F(MotionEditProgram, MeetsItWithEveryPreconditioner) {
  directory.write("few.txt", "20-22 LeftHand 34 128 100\n60-62 LeftHand 34 128 216\nhold 90-100 Head\n");
  Clip edited[3];
  int i = 0;
  for (const char* kind : {"none", "jacobi", "banded"}) {
    const ProgramRun result =
        run({"--precond", kind, "--no-compare", "-o", kind, data + "/walk.bvh", "few.txt"});
    EXPECT_EQ(result.status, 0) << kind << result.err;
    const std::string curves = readFile(directory / (std::string(kind) + "-convergence.ai"));
    EXPECT_TRUE(says(curves, std::string(kind) + ": "));
    EXPECT_EQ(says(curves, "jacobi: "), std::string(kind) == "jacobi");
    edited[i++] = readClip((directory / (std::string(kind) + ".bvh")).c_str(), nullptr);
  }
  // On the same way: each step's solve stops at 1e-8 of its residual.
  for (int k : {0, 1}) {
    EXPECT_TRUE(tolerance::close(edited[k].values.data(), edited[2].values.data(),
                                 static_cast<int>(edited[2].values.size()), 5e-3));
  }
}

TEST_F(MotionEditProgram, HoldsTheFeetWithoutAScript) {
  const ProgramRun result = run({data + "/walk.bvh"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(says(result.out, " position constraints\n")) << result.out;
  EXPECT_EQ(files(), (std::set<std::string>{"edited.bvh", "edited.ai", "edited-convergence.ai"}));
}

TEST_F(MotionEditProgram, FindsACompressedClipAlongASearchPath) {
  ASSERT_EQ(mkdir((directory / "clips").c_str(), 0700), 0);
  directory.writeGz("clips/walk.bvh.gz", readFile(data + "/walk.bvh"));
  const ProgramRun result =
      run({"-p", "none;clips:" + data, "-o", "out", "walk.bvh.gz", "walk_constraints.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(files(), (std::set<std::string>{"clips", "out.bvh", "out.ai", "out-convergence.ai"}));
}

TEST_F(MotionEditProgram, DrawsPerformersWhoStayWhereTheyAre) {
  const std::string path = directory.write("small.bvh", smallClip);
  const Clip clip = readClip(path.c_str(), nullptr);
  const Pnt3 end = Skeleton(clip).position(clip.find("Arm.End"), clip.frame(0));
  const std::string near =
      std::to_string(end.x + 1) + " " + std::to_string(end.y) + " " + std::to_string(end.z - 2);
  directory.write("near.txt", "1 Arm.End " + near + "\n");
  const ProgramRun result = run({"--figures", "2", "small.bvh", "near.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  const std::string drawing = readFile(directory / "edited.ai");
  EXPECT_GT(strokesOnThePage(drawing), 10);
  EXPECT_TRUE(says(drawing, "figures side by side")) << drawing;
}

TEST_F(MotionEditProgram, SaysSoWhenTheGoalIsNotMet) {
  directory.write("far.txt", "60 LeftHand 0 90 900\n");
  const ProgramRun result = run({"--steps", "3", "-o", "out", data + "/walk.bvh", "far.txt"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(says(result.err, "motion_edit: the goal was not met: a joint is still ")) << result.err;
  EXPECT_EQ(files().size(), 4u) << "what was reached is written all the same";
}

TEST_F(MotionEditProgram, RefusesWhatItCannotUse) {
  directory.write("small.bvh", smallClip);
  directory.write("bad.bvh", with(smallClip, "30 40 50", "30 40 nan"));
  directory.write("flat.bvh",
                  with(with(with(with(smallClip, "0 1 0", "0 0 0"), "0 10 0", "0 0 0"), "0 5 0", "0 0 0"),
                       "40 50", "40 0"));
  directory.write("empty.txt", "# nothing\n");
  directory.write("bad.txt", "1 Arm 1 2\n");
  directory.write("good.txt", "1 Arm 1 2 3\n");
  expectRefused({}, "motion_edit: no clip named; --help shows what can be said");
  expectRefused({"none.bvh"}, "none.bvh: cannot be opened");
  expectRefused({"-p", "a;b", "none.bvh"}, "none.bvh: not found along a;b");
  expectRefused({"bad.bvh"}, "bad.bvh:19: expected a number, found 'nan'");
  expectRefused({"small.bvh"}, "small.bvh: no foot plants found, and no script given");
  expectRefused({"small.bvh", "empty.txt"}, "empty.txt: no constraints in the script");
  expectRefused({"small.bvh", "bad.txt"}, "bad.txt:1: expected a coordinate, found the end of the line");
  expectRefused({"small.bvh", "none.txt"}, "none.txt: cannot be opened");
  expectRefused({"flat.bvh", "good.txt"}, "the skeleton has no extent: all its bones have length zero");
  expectRefused({"small.bvh", "good.txt", "more"},
                "motion_edit: one clip and one script at most, found also 'more'");
  expectRefused({"--fast", "small.bvh"}, "motion_edit: unknown option '--fast'; --help shows all");
  expectRefused({"small.bvh", "-o"}, "motion_edit: -o needs a value");
  expectRefused({"--precond", "best"}, "motion_edit: --precond takes none, jacobi or banded, found 'best'");
  expectRefused({"--knots", "0"}, "motion_edit: --knots needs a whole number from 1, found '0'");
  expectRefused({"--goal", "nan"}, "motion_edit: --goal needs a number above 0, found 'nan'");
  expectRefused({"--damping", "-1"}, "motion_edit: --damping needs a number above 0, found '-1'");
}

TEST_F(MotionEditProgram, LeavesEarlierResultsWhenItFails) {
  directory.write("out.bvh", "the earlier one");
  directory.write("bad.bvh", "HIERARCHY");
  EXPECT_EQ(run({"-o", "out", "bad.bvh"}).status, 1);
  EXPECT_EQ(readFile(directory / "out.bvh"), "the earlier one");
  EXPECT_EQ(files(), (std::set<std::string>{"out.bvh", "bad.bvh"}));
}

TEST_F(MotionEditProgram, SaysWhereItCannotWrite) {
  expectRefused({"-o", "no/such/folder/out", data + "/walk.bvh"},
                "no/such/folder/out.bvh: cannot be written: No such file or directory");
}

TEST_F(MotionEditProgram, LeavesNothingHalfWrittenOnAFullDisk) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  for (const std::string full : {"out.bvh", "out.ai", "out-convergence.ai"}) {
    ASSERT_EQ(symlink("/dev/full", (directory / (full + ".part")).c_str()), 0);
    const ProgramRun result = run({"-o", "out", data + "/walk.bvh", data + "/walk_constraints.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, full + ": could not be written completely\n");
    EXPECT_TRUE(files().empty()) << full << ": " << *files().begin();
  }
}

TEST_F(MotionEditProgram, HelpsWithStatusZero) {
  const ProgramRun result = run({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.compare(0, 19, "usage: motion_edit "), 0);
  for (const char* option : {"-o ", "-p ", "--knots ", "--precond ", "--goal ", "--steps ", "--damping ",
                             "--stiffness ", "--figures ", "--plant ", "--no-compare "}) {
    EXPECT_TRUE(says(result.out, std::string("\n  ") + option)) << option;
  }
}

}  // namespace
