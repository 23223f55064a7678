#include "options.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

#include "input_error.h"
#include "limber/Api.h"
#include "numbers.h"
#include "program_name.h"

namespace {

using limber::motion::Up;

constexpr double radians = 3.14159265358979323846 / 180.0;

// This text follows "usage:" and the name of the program.
const char usage[] = R"( [OPTION...] CLIP.bvh [SCRIPT.txt]

Changes a motion clip as little and as smoothly as possible so that joints are where the script says.
Without a script the feet are held where they stand. Writes OUTPUT.bvh and the drawings OUTPUT.ai,
OUTPUT-speed.ai and OUTPUT-convergence.ai. Lengths are in the clip's unit, or in body heights where it
says so.

  -o OUTPUT            stem of the files written (edited); never the clip itself
  -p PATH              search path of the clip and the script, elements separated by ';' or ':'
  --list-plants        lists where the feet stand, and edits nothing; the other arguments are only checked
  --write-constraints FILE  also writes where the feet stand as a script, to be changed and used
  --up AXIS            the axis that points up: x, y, z, -x, -y, -z or auto (auto: found from the motion)
  --smooth SECONDS     time constant of the change: larger is smoother and reaches further (0.16)
  --knots SECONDS      between the knots of coarse curves (0: one unknown per frame)
  --stiff NAME=VALUE   how much a joint resists being turned (6 root, 5 toes and fingers, 3 spine, 1 limbs);
                       may be given for several joints
  --most-turn DEGREES  no joint angle is changed by more (60)
  --ground             keeps the feet above the ground
  --goal X             largest miss, in body heights (1e-4)
  --steps N            Gauss-Newton steps of one attempt (8); as many again if targets of
                       the script are missed after them
  --report FILE.json   writes the report as JSON too
  --figures N          stick figures in the drawing (7)
  --no-pictures        writes no drawings
  --preconditioners    compares preconditioners for the first step's system, and also draws
                       OUTPUT-preconditioners.ai
  --version            prints the version

A script has one constraint per line. '#' begins a comment. Frames count from 1:
  FRAMES JOINT X Y Z [WEIGHT] [ease IN [OUT]]
                       the joint must be at (X, Y, Z) in FRAMES, which is 12 or 10-25
  hold FRAMES JOINT [at FRAME] [WEIGHT] [ease IN [OUT]]
                       the joint stays where the clip has it in FRAME (the first of FRAMES)
  plants               the feet are also held where they stand
A weight below 1 only pulls. With ease, the weight rises over IN frames and falls over OUT.

Exit status:
  0  met: every joint is within the goal of its target in every frame
  1  input that cannot be used, output that cannot be written, or constraints that no motion can
     meet: no feet found, targets that contradict each other or are out of reach, feet held in every
     frame
  2  the goal was not met: the steps, the largest turn or a smooth motion stood in the way
  3  not enough memory
With 2 the best motion that was found is written; with 1 only if the constraints cannot be met.
)";

class ArgumentReader {
 public:
  ArgumentReader(int count, char** arguments) : count_(count), arguments_(arguments) {}

  Options read() {
    for (at_ = 1; at_ < count_; ++at_) readOne(arguments_[at_]);
    if (options_.clip.empty())
      throw InputError(programName() + ": no clip named; --help shows how to call it");
    return options_;
  }

 private:
  void readOne(const std::string& word) {
    if (word == "--help") {
      std::printf("usage: %s%s", programName().c_str(), usage);
      std::exit(std::fflush(stdout) == 0 ? 0 : 1);
    } else if (word == "--version") {
      std::printf("%s (Limber %s)\n", programName().c_str(), limberVersion());
      std::exit(std::fflush(stdout) == 0 ? 0 : 1);
    } else if (word == "-o") {
      options_.output = value(word);
      if (options_.output.empty() || options_.output.back() == '/') {
        refuse(word, "the stem of file names", options_.output);
      }
      options_.outputGiven = true;
    } else if (word == "-p") {
      options_.searchPath = value(word);
    } else if (word == "--up") {
      readUp(value(word));
    } else if (word == "--list-plants") {
      options_.listPlants = true;
    } else if (word == "--write-constraints") {
      options_.plantScript = value(word);
    } else if (word == "--report") {
      options_.report = value(word);
    } else if (word == "--no-pictures") {
      options_.pictures = false;
    } else if (word == "--preconditioners") {
      options_.preconditioners = true;
    } else if (word == "--ground") {
      options_.edit.ground = true;
    } else if (word == "--smooth") {
      options_.edit.smooth = positive(word, 1e6, "a number above 0 and at most 1e6");
    } else if (word == "--knots") {
      options_.edit.knots = notNegative(word);
    } else if (word == "--most-turn") {
      options_.edit.mostTurn = positive(word) * radians;
    } else if (word == "--goal") {
      options_.edit.goal = positive(word);
    } else if (word == "--steps") {
      options_.edit.mostSteps = whole(word);
    } else if (word == "--figures") {
      options_.figures = whole(word);
    } else if (word == "--stiff") {
      readStiffness(value(word));
    } else if (word.size() > 1 && word[0] == '-') {
      throw InputError(programName() + ": unknown option " + quoted(word.c_str()) + "; --help shows all");
    } else if (options_.clip.empty()) {
      options_.clip = word;
    } else if (options_.script.empty()) {
      options_.script = word;
    } else {
      throw InputError(programName() + ": one clip and one script at most, found also " +
                       quoted(word.c_str()));
    }
  }

  void readStiffness(const std::string& word) {
    const std::size_t equals = word.rfind('=');
    double stiffness;
    if (equals == std::string::npos || equals == 0 || !parseReal(word.c_str() + equals + 1, &stiffness) ||
        !(stiffness >= 1e-9 && stiffness <= 1e9)) {
      refuse("--stiff", "a joint and a number from 1e-9 to 1e9 as in Hips=4", word);
    }
    options_.edit.stiffness[word.substr(0, equals)] = stiffness;
  }

  void readUp(const std::string& word) {
    options_.up.reset();
    if (word == "auto") return;
    for (const Up up : {Up::X, Up::Y, Up::Z, Up::MinusX, Up::MinusY, Up::MinusZ}) {
      if (word == nameOf(up)) options_.up = up;
    }
    if (!options_.up) refuse("--up", "x, y, z, -x, -y, -z or auto", word);
  }

  std::string value(const std::string& option) {
    if (++at_ >= count_) throw InputError(programName() + ": " + option + " needs a value");
    return arguments_[at_];
  }

  int whole(const std::string& option) {
    const std::string word = value(option);
    int number;
    if (!parseInt(word.c_str(), &number) || number < 1 || number > 1000)
      refuse(option, "a whole number from 1 to 1000", word);
    return number;
  }

  double notNegative(const std::string& option) {
    const std::string word = value(option);
    double number;
    if (!parseReal(word.c_str(), &number) || number < 0.0) refuse(option, "a number from 0", word);
    return number;
  }

  double positive(const std::string& option, double largest = std::numeric_limits<double>::infinity(),
                  const char* range = "a number above 0") {
    const std::string word = value(option);
    double number;
    if (!parseReal(word.c_str(), &number) || !(number > 0.0 && number <= largest))
      refuse(option, range, word);
    return number;
  }

  [[noreturn]] static void refuse(const std::string& option, const char* needs, const std::string& found) {
    throw InputError(programName() + ": " + option + " needs " + needs + ", found " + quoted(found.c_str()));
  }

  int count_;
  char** arguments_;
  int at_ = 0;
  Options options_;
};

}  // namespace

Options readOptions(int count, char** arguments) { return ArgumentReader(count, arguments).read(); }
