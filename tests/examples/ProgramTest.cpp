// Runs the motion editor like a user, and checks its output, its exit status and its files.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "limber_motion/motion.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/Program.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

const std::string data = sourceFile("examples/data");

// Checks that every move and line of the drawing is on its page of 576 x 720 points, and returns their
// number.
int strokesOnThePage(const std::string& drawing) {
  std::istringstream words(drawing);
  int strokes = 0;
  double x = -1.0, y = -1.0;  // the two words before the operator
  for (std::string word; words >> word;) {
    if (word == "m" || word == "L") {
      EXPECT_TRUE(x >= 0 && x <= 576 && y >= 0 && y <= 720) << x << " " << y;
      ++strokes;
    }
    x = y;
    y = std::strtod(word.c_str(), nullptr);
  }
  return strokes;
}

class MotionEditProgram : public ::testing::Test {
 protected:
  // Runs it in the temporary directory.
  ProgramRun run(const std::vector<std::string>& arguments) const {
    return runProgram(MOTION_EDIT_PROGRAM, arguments, directory.path());
  }

  // The names of the files that are in the directory now, sorted.
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
  const ProgramRun result =
      run({"-p", data, "-o", "out", "--report", "out.json", "walk.bvh", "walk_constraints.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "") << "no progress line into a pipe";
  EXPECT_TRUE(
      says(result.out,
           "walk.bvh: 25 joints and end sites, 63 channels, 120 frames, 30 a second, body height 168\n"))
      << result.out;
  EXPECT_TRUE(says(result.out, "\n0 contacts of 6 joints, 279 targets in 279 frames of joints\n"))
      << result.out;
  EXPECT_TRUE(says(result.out, "wrote out.bvh, out.ai, out-speed.ai, out-convergence.ai and out.json\n"))
      << result.out;
  EXPECT_FALSE(says(result.out, " cm"));
  EXPECT_EQ(files(),
            (std::set<std::string>{"out.bvh", "out.ai", "out-speed.ai", "out-convergence.ai", "out.json"}));
  EXPECT_TRUE(says(readFile(directory / "out.json"), "\"met\": true"));

  const Clip edited = readClip(directory / "out.bvh");
  const std::vector<Constraint> constraints =
      readScript(data + "/walk_constraints.txt", nullptr, readClip(data + "/walk.bvh")).constraints;
  const Skeleton skeleton(edited);
  ASSERT_EQ(constraints.size(), 279u);
  for (const Constraint& constraint : constraints) {
    EXPECT_LT(
        (skeleton.position(constraint.joint, edited.frame(constraint.frame)) - constraint.target).length(),
        1e-4 * skeleton.height());
  }
}

TEST_F(MotionEditProgram, DrawsFiguresPathsSpeedsAndConvergence) {
  EXPECT_EQ(run({"-p", data, "-o", "out", "walk.bvh", "walk_constraints.txt"}).status, 0);
  const struct {
    const char* name;
    int strokes;
    std::set<std::string> texts;
  } drawings[] = {
      {"out.ai", 1500, {"left side blue, right side orange", "Paths of hands and ankles", "from above"}},
      {"out-speed.ai", 200, {"Horizontal speed", "before: mean 0", "after: mean "}},
      {"out-convergence.ai", 5, {"Convergence", "goal", "1e-4"}}};
  for (const auto& one : drawings) {
    const std::string drawing = readFile(directory / one.name);
    EXPECT_EQ(drawing.compare(0, 11, "%!PS-Adobe-"), 0) << one.name;
    EXPECT_TRUE(says(drawing, "\n%%EOF\n")) << one.name;
    EXPECT_FALSE(says(drawing, "nan") || says(drawing, "inf")) << one.name;
    EXPECT_GT(strokesOnThePage(drawing), one.strokes) << one.name;
    for (const std::string& text : one.texts) EXPECT_TRUE(says(drawing, text)) << one.name << " " << text;
  }
}

TEST_F(MotionEditProgram, HoldsTheFeetWithoutAScript) {
  const ProgramRun result = run({"--no-pictures", data + "/walk.bvh"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(says(result.out, " contacts of 6 joints, 0 targets in ")) << result.out;
  EXPECT_TRUE(says(result.out, "note: the feet never stand still")) << result.out;
  EXPECT_EQ(files(), (std::set<std::string>{"edited.bvh"}));
}

TEST_F(MotionEditProgram, ListsWhereTheFeetStandAndEditsNothing) {
  const ProgramRun result = run({"--list-plants", data + "/walk.bvh"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(says(result.out, "\nLeftToeBase.End ")) << result.out;
  EXPECT_TRUE(files().empty());
}

TEST_F(MotionEditProgram, ChecksWhatIsNamedBesideAListOfPlants) {
  const std::string walk = data + "/walk.bvh";
  directory.write("bad.txt", "1 Tail 1 2 3\n");
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } cases[] = {{{walk, "none.txt"}, "none.txt: cannot be opened"},
               {{walk, "bad.txt"}, "bad.txt:1: the clip has no joint called 'Tail'"},
               {{walk, "--report", "no/r.json"}, "no/r.json: cannot be written: "},
               {{walk, "-o", "no/out"}, "no/out.bvh: cannot be written: "},
               {{walk, "--stiff", "Tail=2"}, "there is no joint called 'Tail'"}};
  for (const auto& one : cases) {
    std::vector<std::string> arguments = one.arguments;
    arguments.push_back("--list-plants");
    const ProgramRun result = run(arguments);
    EXPECT_EQ(result.status, 1) << one.message;
    EXPECT_TRUE(says(result.err, one.message)) << result.err;
  }
  EXPECT_EQ(files(), std::set<std::string>{"bad.txt"});
}

TEST_F(MotionEditProgram, WritesWhereTheFeetStandAsAScriptThatDoesTheSame) {
  ASSERT_EQ(
      run({"--no-pictures", "--write-constraints", "plants.txt", "-o", "found", data + "/walk.bvh"}).status,
      0);
  const ProgramRun result = run({"--no-pictures", "-o", "scripted", data + "/walk.bvh", "plants.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  const Clip found = readClip(directory / "found.bvh"), scripted = readClip(directory / "scripted.bvh");
  EXPECT_TRUE(tolerance::close(found.values.data(), scripted.values.data(),
                               static_cast<int>(found.values.size()), 1e-3));
}

TEST_F(MotionEditProgram, HoldsThePlantsBesideTheScriptOnRequest) {
  directory.write("reach.txt", "plants\n60-62 LeftHand 34 128 216 ease 1\n");
  const ProgramRun result = run({"--no-pictures", data + "/walk.bvh", "reach.txt"});
  EXPECT_TRUE(says(result.out, " 3 targets in ")) << result.out;
  EXPECT_FALSE(says(result.out, "\n0 contacts")) << result.out;
}

TEST_F(MotionEditProgram, NeverWritesOverWhatItReads) {
  directory.write("walk.bvh", readFile(data + "/walk.bvh"));
  directory.write("targets.txt", "60 LeftHand 34 128 216\n");
  ASSERT_EQ(symlink("walk.bvh", (directory / "link.bvh").c_str()), 0);
  expectRefused({"-o", "walk", "walk.bvh"},
                "limber-motion-edit: walk.bvh is read, and must not be written over");
  expectRefused({"-o", "./walk", "walk.bvh"},
                "limber-motion-edit: ./walk.bvh is read, and must not be written over");
  expectRefused({"-o", "walk", "link.bvh"},
                "limber-motion-edit: walk.bvh is read, and must not be written over");
  expectRefused({"--report", "targets.txt", "walk.bvh", "targets.txt"},
                "limber-motion-edit: targets.txt is read, and must not be written over");
  expectRefused({"--report", "x", "--write-constraints", "x", "walk.bvh"},
                "limber-motion-edit: x would be written twice");
}

TEST_F(MotionEditProgram, ComparesPreconditionersOnRequestOnly) {
  directory.write("reach.txt", "60 LeftHand 34 128 216\nhold 1-22 LeftFoot\n");
  ASSERT_EQ(run({"-o", "out", data + "/walk.bvh", "reach.txt"}).status, 0);
  EXPECT_EQ(files().count("out-preconditioners.ai"), 0u);
  ASSERT_EQ(run({"--preconditioners", "--no-pictures", "-o", "two", data + "/walk.bvh", "reach.txt"}).status,
            0);
  EXPECT_EQ(files().count("two.ai"), 0u);
  const std::string drawing = readFile(directory / "two-preconditioners.ai");
  EXPECT_GT(strokesOnThePage(drawing), 10);
  for (const char* name : {"none: ", "diagonal: ", "blocks of frames: ", "factor of the edit: "}) {
    EXPECT_TRUE(says(drawing, name)) << name;
  }
}

TEST_F(MotionEditProgram, NeedsAStemForTheFilesItWrites) {
  directory.write("walk.bvh", readFile(data + "/walk.bvh"));
  expectRefused({"-o", "", "walk.bvh"}, "limber-motion-edit: -o needs the stem of file names, found ''");
  expectRefused({"-o", "./", "walk.bvh"}, "limber-motion-edit: -o needs the stem of file names, found './'");
}

TEST_F(MotionEditProgram, FindsACompressedClipAlongASearchPath) {
  ASSERT_EQ(mkdir((directory / "clips").c_str(), 0700), 0);
  directory.writeGz("clips/walk.bvh.gz", readFile(data + "/walk.bvh"));
  const ProgramRun result =
      run({"-p", "none;clips:" + data, "-o", "out", "walk.bvh.gz", "walk_constraints.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(files(),
            (std::set<std::string>{"clips", "out.bvh", "out.ai", "out-speed.ai", "out-convergence.ai"}));
}

TEST_F(MotionEditProgram, DrawsPerformersWhoStayWhereTheyAre) {
  const std::string path = directory.write("small.bvh", smallClip);
  const Clip clip = readClip(path.c_str(), nullptr);
  const Pnt3 end = Skeleton(clip).position(clip.find("Arm.End"), clip.frame(0));
  const DecimalPoint point;
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
  directory.write("much.txt", "plants\n60 LeftHand 34 128 216\n");
  const ProgramRun result = run({"--steps", "1", "-o", "out", data + "/walk.bvh", "much.txt"});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(says(result.err, "limber-motion-edit: ")) << result.err;
  EXPECT_EQ(files().size(), 5u) << "what was reached is written all the same";
}

TEST_F(MotionEditProgram, WritesTheClipAsItIsWhereNoFeetAreFound) {
  directory.write("small.bvh", smallClip);
  const ProgramRun result = run({"small.bvh"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(says(result.err, "limber-motion-edit: no feet found: ")) << result.err;
  EXPECT_EQ(readFile(directory / "edited.bvh"), smallClip);
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
  expectRefused({}, "limber-motion-edit: no clip named; --help shows how to call it");
  expectRefused({"none.bvh"}, "none.bvh: cannot be opened");
  expectRefused({"-p", "a;b", "none.bvh"}, "none.bvh: not found along a;b");
  expectRefused({"bad.bvh"}, "bad.bvh:19: expected a number, found 'nan'");
  expectRefused({"small.bvh", "empty.txt"}, "empty.txt: no constraints in the script");
  expectRefused({"small.bvh", "bad.txt"}, "bad.txt:1: expected a coordinate, found the end of the line");
  expectRefused({"small.bvh", "none.txt"}, "none.txt: cannot be opened");
  expectRefused({"flat.bvh", "good.txt"}, "the skeleton has no extent: all its bones have length zero");
  expectRefused({"small.bvh", "good.txt", "more"},
                "limber-motion-edit: one clip and one script at most, found also 'more'");
  expectRefused({"--fast", "small.bvh"}, "limber-motion-edit: unknown option '--fast'; --help shows all");
  expectRefused({"small.bvh", "-o"}, "limber-motion-edit: -o needs a value");
  expectRefused({"--knots", "-1"}, "limber-motion-edit: --knots needs a number from 0, found '-1'");
  expectRefused({"--steps", "0"},
                "limber-motion-edit: --steps needs a whole number from 1 to 1000, found '0'");
  expectRefused({"--steps", "1001"},
                "limber-motion-edit: --steps needs a whole number from 1 to 1000, found '1001'");
  expectRefused(
      {"--stiff", "Hips"},
      "limber-motion-edit: --stiff needs a joint and a number from 1e-9 to 1e9 as in Hips=4, found 'Hips'");
  expectRefused({"--stiff", "Root=3", "small.bvh"},
                "there is no joint called 'Root' whose stiffness could be set");
  expectRefused({"--goal", "nan"}, "limber-motion-edit: --goal needs a number above 0, found 'nan'");
  expectRefused({"--smooth", "-1"},
                "limber-motion-edit: --smooth needs a number above 0 and at most 1e6, found '-1'");
  expectRefused({"--smooth", "1e300"},
                "limber-motion-edit: --smooth needs a number above 0 and at most 1e6, found '1e300'");
}

TEST_F(MotionEditProgram, EndsWithOneForWhatNobodyCanMeetAndWithTwoForWhatItDidNotReach) {
  const std::string walk = data + "/walk.bvh";
  const struct {
    const char* script;
    std::vector<std::string> options;
    int status;
    const char* message;
  } cases[] = {
      {"60 LeftHand 34 9000 216\n", {}, 1, "bones between them reach only"},
      {"60 LeftHand 34 128 216\n61 LeftHand 34 28 216\n", {}, 1, "no body moves that far"},
      {"hold 1-120 LeftFoot\nhold 1-120 RightFoot\n", {}, 1, "is held in all 120 frames"},
      {"40-60 LeftFoot 0 10 100\n40-60 LeftLeg 0 150 100\n", {}, 1, "bones between them"},
      {"plants\n60 LeftHand 34 128 216\n", {"--goal", "1e-30"}, 2, "the goal is 1e-30"},
      {"plants\n60 LeftHand 34 128 216\n", {"--most-turn", "1"}, 2, "more than the 1 degrees allowed"},
      {"plants\n60 LeftHand 34 128 216\n", {"--steps", "1"}, 2, "the motion that came nearer was not smooth"},
      {"plants\n60 LeftHand 34 128 216\n", {}, 0, ""},
  };
  for (const auto& one : cases) {
    directory.write("script.txt", one.script);
    std::vector<std::string> arguments = {"--no-pictures", "-o", "out", walk, "script.txt"};
    arguments.insert(arguments.begin(), one.options.begin(), one.options.end());
    const ProgramRun result = run(arguments);
    EXPECT_EQ(result.status, one.status) << one.script << result.out << result.err;
    EXPECT_TRUE(says(result.err, one.message)) << one.script << result.err;
    const Quality quality = measureQuality(readClip(walk), readClip(directory / "out.bvh"));
    EXPECT_TRUE(quality.largestEdgeJerk <= 3.01 && quality.bodyJerk <= 1.71)
        << one.script << quality.largestEdgeJerk << " " << quality.bodyJerk;
  }
}

TEST_F(MotionEditProgram, NamesWhatItCannotWriteBeforeItReadsTheClip) {
  std::filesystem::create_directory(directory / "folder.bvh");
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{"-o", "no/out"}, {"--report", "no/out.json"}, {"-o", "folder"}}) {
    std::vector<std::string> arguments = options;
    arguments.push_back("none.bvh");
    const ProgramRun result = run(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(says(result.err, "cannot be written: ")) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(files(), std::set<std::string>{"folder.bvh"});
  }
}

TEST_F(MotionEditProgram, CallsItselfByTheNameByWhichItIsCalled) {
  ASSERT_EQ(symlink(MOTION_EDIT_PROGRAM, (directory / "my-editor").c_str()), 0);
  const ProgramRun result = runProgram(directory / "my-editor", {}, directory.path());
  EXPECT_EQ(result.err, "my-editor: no clip named; --help shows how to call it\n");
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
  for (const std::string full : {"out.bvh", "out.ai", "out-speed.ai", "out-convergence.ai"}) {
    ASSERT_EQ(symlink("/dev/full", (directory / (full + ".part")).c_str()), 0);
    const ProgramRun result = run({"-o", "out", data + "/walk.bvh", data + "/walk_constraints.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, full + ": could not be written completely\n");
    EXPECT_TRUE(files().empty()) << full << ": " << *files().begin();
  }
}

TEST_F(MotionEditProgram, NamesItsVersion) {
  const ProgramRun result = run({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, std::string("limber-motion-edit (Limber ") + limberVersion() + ")\n");
}

TEST_F(MotionEditProgram, HelpsWithStatusZero) {
  const ProgramRun result = run({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.compare(0, 26, "usage: limber-motion-edit "), 0);
  for (const char* option :
       {"-o ", "-p ", "--list-plants ", "--write-constraints ", "--smooth ", "--knots ", "--stiff ",
        "--most-turn ", "--ground ", "--goal ", "--steps ", "--report ", "--figures ", "--no-pictures "}) {
    EXPECT_TRUE(says(result.out, std::string("\n  ") + option)) << option;
  }
  EXPECT_TRUE(says(result.out, "Exit status:\n  0  met: ")) << result.out;
}

}  // namespace
