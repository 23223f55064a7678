#include "options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "input_error.h"
#include "numbers.h"

namespace {

const char usage[] =
    "usage: motion_edit [OPTION...] CLIP.bvh [CONSTRAINTS.txt]\n"
    "\n"
    "Changes a motion clip as little and as smoothly as possible so that joints are where the script says; "
    "without a\n"
    "script the feet are held where they stand. Writes OUTPUT.bvh and the drawings OUTPUT.ai, "
    "OUTPUT-convergence.ai.\n"
    "\n"
    "  -o OUTPUT        stem of the files written (edited)\n"
    "  -p PATH          search path of the clip and the script, elements separated by ';' or ':'\n"
    "  --knots N        frames between the knots of the change's curves (4)\n"
    "  --precond KIND   none, jacobi or banded (banded)\n"
    "  --goal X         largest miss, as a part of the skeleton's height (1e-4)\n"
    "  --steps N        Gauss-Newton steps at most (40)\n"
    "  --damping X      added to the diagonal of the system, relative to its mean, in the first step (1e-4)\n"
    "  --stiffness X    of the root's position against the joint angles (25)\n"
    "  --figures N      stick figures in the drawing (9)\n"
    "  --plant N        shortest foot plant that is looked for, in frames (8)\n"
    "  --no-compare     draw the convergence of the chosen preconditioner only\n"
    "\n"
    "A script holds one wish a line, '#' begins a comment, frames count from 1:\n"
    "  FRAMES JOINT X Y Z [WEIGHT]           the joint shall be at (X, Y, Z); FRAMES is 12 or 10-25\n"
    "  hold FRAMES JOINT [at FRAME] [WEIGHT]  it stays where the clip has it in FRAME (the first of "
    "FRAMES)\n";

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
      std::exit(0);
    } else if (word == "-o") {
      options_.output = value(word);
    } else if (word == "-p") {
      options_.searchPath = value(word);
    } else if (word == "--knots") {
      options_.edit.knotSpacing = whole(word, 1);
    } else if (word == "--steps") {
      options_.edit.steps = whole(word, 1);
    } else if (word == "--figures") {
      options_.figures = whole(word, 1);
    } else if (word == "--plant") {
      options_.shortestPlant = whole(word, 1);
    } else if (word == "--goal") {
      options_.edit.goal = positive(word);
    } else if (word == "--damping") {
      options_.edit.damping = positive(word);
    } else if (word == "--stiffness") {
      options_.edit.positionStiffness = positive(word);
    } else if (word == "--no-compare") {
      options_.compare = false;
    } else if (word == "--precond") {
      options_.edit.preconditioning = preconditioning(value(word));
    } else if (word.size() > 1 && word[0] == '-') {
      throw InputError("motion_edit: unknown option " + quoted(word.c_str()) + "; --help shows all");
    } else if (options_.clip.empty()) {
      options_.clip = word;
    } else if (options_.constraints.empty()) {
      options_.constraints = word;
    } else {
      throw InputError("motion_edit: one clip and one script at most, found also " + quoted(word.c_str()));
    }
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

  double positive(const std::string& option) {
    const std::string word = value(option);
    double number;
    if (!parseReal(word.c_str(), &number) || !(number > 0.0)) {
      throw InputError("motion_edit: " + option + " needs a number above 0, found " + quoted(word.c_str()));
    }
    return number;
  }

  static EditOptions::Preconditioning preconditioning(const std::string& word) {
    if (word == "none") return EditOptions::None;
    if (word == "jacobi") return EditOptions::Jacobi;
    if (word == "banded") return EditOptions::Banded;
    throw InputError("motion_edit: --precond takes none, jacobi or banded, found " + quoted(word.c_str()));
  }

  int count_;
  char** arguments_;
  int at_ = 0;
  Options options_;
};

}  // namespace

Options readOptions(int count, char** arguments) { return ArgumentReader(count, arguments).read(); }
