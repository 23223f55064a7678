#include "options.h"

#include <cstdio>
#include <cstdlib>

#include "input_error.h"
#include "limber/Api.h"
#include "numbers.h"

namespace {

constexpr double radians = 3.14159265358979323846 / 180.0;

const char usage[] =
    "usage: motion_edit [OPTION...] CLIP.bvh [SCRIPT.txt]\n"
    "\n"
    "Changes a motion clip as little and as smoothly as possible so that joints are where the script says; "
    "without\n"
    "a script the feet are held where they stand. Writes OUTPUT.bvh and the drawings OUTPUT.ai, "
    "OUTPUT-speed.ai and\n"
    "OUTPUT-convergence.ai. Lengths are in the clip's unit, or in body heights where it says so.\n"
    "\n"
    "  -o OUTPUT            stem of the files written (edited); never the clip itself\n"
    "  -p PATH              search path of the clip and the script, elements separated by ';' or ':'\n"
    "  --list-plants        lists where the feet stand, and edits nothing\n"
    "  --write-constraints FILE  also writes where the feet stand as a script, to be changed and used\n"
    "  --smooth SECONDS     time constant of the change: larger is smoother and reaches further (0.2)\n"
    "  --knots SECONDS      between the knots of coarse curves (0: one unknown a frame)\n"
    "  --stiff NAME=VALUE   resistance of a joint against turning, times its default; may be given often\n"
    "  --most-turn DEGREES  no joint angle is changed by more (60)\n"
    "  --ground             keeps the feet above the ground\n"
    "  --goal X             largest miss, in body heights (1e-4)\n"
    "  --steps N            Gauss-Newton steps at most (8)\n"
    "  --report FILE.json   writes the report as JSON too\n"
    "  --figures N          stick figures in the drawing (7)\n"
    "  --no-pictures        writes no drawings\n"
    "  --version            prints the version\n"
    "\n"
    "A script holds one wish a line, '#' begins a comment, frames count from 1:\n"
    "  FRAMES JOINT X Y Z [WEIGHT] [ease IN [OUT]]            the joint shall be at (X, Y, Z); FRAMES is 12 "
    "or\n"
    "                                                         10-25\n"
    "  hold FRAMES JOINT [at FRAME] [WEIGHT] [ease IN [OUT]]  it stays where the clip has it in FRAME (the "
    "first\n"
    "                                                         of FRAMES)\n"
    "  plants                                                 the feet are held where they stand, too\n"
    "A weight below 1 pulls only. With ease it rises over IN frames and falls over OUT.\n"
    "\n"
    "Exit status: 0 all is met; 1 bad input, or wishes that nobody can meet; 2 the goal was not met; 3 not "
    "enough\n"
    "memory. With 2, and with 1 for such wishes, the best motion that was found is written.\n";

class ArgumentReader {
 public:
  ArgumentReader(int count, char** arguments) : count_(count), arguments_(arguments) {}

  Options read() {
    for (at_ = 1; at_ < count_; at_++) readOne(arguments_[at_]);
    if (options_.clip.empty()) throw InputError("motion_edit: no clip named; --help shows what can be said");
    return options_;
  }

 private:
  void readOne(const std::string& word) {
    if (word == "--help") {
      std::fputs(usage, stdout);
      std::exit(std::fflush(stdout) == 0 ? 0 : 1);
    } else if (word == "--version") {
      std::printf("motion_edit (Limber %s)\n", limberVersion());
      std::exit(std::fflush(stdout) == 0 ? 0 : 1);
    } else if (word == "-o") {
      options_.output = value(word);
      if (options_.output.empty() || options_.output.back() == '/') {
        throw InputError("motion_edit: -o needs the stem of file names, found " +
                         quoted(options_.output.c_str()));
      }
    } else if (word == "-p") {
      options_.searchPath = value(word);
      options_.searched = true;
    } else if (word == "--list-plants") {
      options_.listPlants = true;
    } else if (word == "--write-constraints") {
      options_.plantScript = value(word);
    } else if (word == "--report") {
      options_.report = value(word);
    } else if (word == "--no-pictures") {
      options_.pictures = false;
    } else if (word == "--ground") {
      options_.edit.ground = true;
    } else if (word == "--smooth") {
      options_.edit.smooth = positive(word);
    } else if (word == "--knots") {
      options_.edit.knots = number(word, 0.0);
    } else if (word == "--most-turn") {
      options_.edit.mostTurn = positive(word) * radians;
    } else if (word == "--goal") {
      options_.edit.goal = positive(word);
    } else if (word == "--steps") {
      options_.edit.mostSteps = whole(word, 1);
    } else if (word == "--figures") {
      options_.figures = whole(word, 1);
    } else if (word == "--stiff") {
      readStiffness(value(word));
    } else if (word.size() > 1 && word[0] == '-') {
      throw InputError("motion_edit: unknown option " + quoted(word.c_str()) + "; --help shows all");
    } else if (options_.clip.empty()) {
      options_.clip = word;
    } else if (options_.script.empty()) {
      options_.script = word;
    } else {
      throw InputError("motion_edit: one clip and one script at most, found also " + quoted(word.c_str()));
    }
  }

  void readStiffness(const std::string& word) {
    const std::size_t equals = word.rfind('=');
    double stiffness;
    if (equals == std::string::npos || equals == 0 || !parseReal(word.c_str() + equals + 1, &stiffness) ||
        !(stiffness > 0.0)) {
      throw InputError("motion_edit: --stiff needs a joint and a number above 0 as in Hips=4, found " +
                       quoted(word.c_str()));
    }
    options_.edit.stiffness[word.substr(0, equals)] = stiffness;
  }

  std::string value(const std::string& option) {
    if (++at_ >= count_) throw InputError("motion_edit: " + option + " needs a value");
    return arguments_[at_];
  }

  int whole(const std::string& option, int least) {
    const std::string word = value(option);
    int number;
    if (!parseInt(word.c_str(), &number) || number < least) {
      throw InputError("motion_edit: " + option + " needs a whole number from " + std::to_string(least) +
                       ", found " + quoted(word.c_str()));
    }
    return number;
  }

  double number(const std::string& option, double least) {
    const std::string word = value(option);
    double number;
    if (!parseReal(word.c_str(), &number) || number < least) {
      throw InputError("motion_edit: " + option + " needs a number from 0, found " + quoted(word.c_str()));
    }
    return number;
  }

  double positive(const std::string& option) {
    const std::string word = value(option);
    double number;
    if (!parseReal(word.c_str(), &number) || !(number > 0.0)) {
      throw InputError("motion_edit: " + option + " needs a number above 0, found " + quoted(word.c_str()));
    }
    return number;
  }

  int count_;
  char** arguments_;
  int at_ = 0;
  Options options_;
};

}  // namespace

Options readOptions(int count, char** arguments) { return ArgumentReader(count, arguments).read(); }
