#include "options.h"

#include <set>
#include <vector>

#include "input_error.h"
#include "limber/solvers/CGTuning.h"
#include "numbers.h"
#include "program_name.h"

const char usage[] =
    " [OPTION...] MATRIX\n"
    "Solves with the matrix A of a Matrix Market file (coordinate or array), plain or gzip-compressed.\n"
    "\n"
    "Kinds of problems (default: the kind that suits the matrix, which the report names):\n"
    "  --ls              least squares, min |A x - b|\n"
    "  --spd             A x = b, A symmetric positive definite\n"
    "  --square          A x = b, A square\n"
    "  --jjt             A A^T y = b\n"
    "\n"
    "  -b FILE           the right-hand side: as many numbers as A has rows, or a Matrix Market file;\n"
    "                    default: A times ones (--jjt: A A^T times ones)\n"
    "  -x FILE           writes the solution as a Matrix Market array; to /dev/stdout, the report goes to "
    "standard\n"
    "                    error\n"
    "  --report FILE     writes the report as JSON\n"
    "  -p PATH           looks for the files in these directories, separated by ; or :\n"
    "  --relative X      residual that counts as solved, relative to the right-hand side (1e-10)\n"
    "  --max-iterations N  largest number of iterations (default: many times the unknowns)\n"
    "  --precond KIND    none; with --jjt also jacobi, or banded:N with half bandwidth N\n"
    "                    default: the one that suits the system\n"
    "  --dense KIND      also solves with a dense factorization, as a check: lu, qr, svd or chol\n"
    "  --matlab FILE     writes A and b as MATLAB statements, which Octave reads too\n"
    "\n"
    "The conjugate-gradient families, which keep absolute tolerances and do not store entries within 1e-12:\n"
    "  --family KIND     newer or older, with --ls (its default), --spd or --jjt\n"
    "  --old             the same as --family older\n"
    "  --bicg            A x = b, A square, by bi-conjugate gradients\n"
    "  --shadow KIND     first shadow residual of --bicg: residual (the default) or product\n"
    "  --tol X           squared residual that counts as solved (cg_tol; older: cgradEps: it ends when "
    "the\n"
    "                    squared residual changes by less, and up to 100 times X counts as solved)\n"
    "                    default: 1e-18 times that of the start from zero\n"
    "  --trace FILE      writes the solver's trace\n"
    "Only for the newer family and --bicg:\n"
    "  --restarts N      passes (cg_maxRestarts)\n"
    "  --max-iters N     iterations of a pass, in multiples of the larger side (cg_maxIters)\n"
    "  --reset N         recomputes the residual every N iterations (cg_reset_resid; 0: never)\n"
    "  --stagnation X    gives up a pass after this many iterations without a new best, in multiples of the\n"
    "                    larger side (cg_goNoWhereSc; not --bicg)\n"
    "  --epsilon X       curvature that counts as singular (cg_epsilon; default 1e-12 times --tol)\n"
    "  --definizer X     adds X times the identity (cgradDefinizer; --spd and --jjt)\n"
    "  --verbose N       1: restarts and outcomes, 2: also a line per iteration (cg_verbosity)\n"
    "Only for the older family:\n"
    "  --old-tol X       relative change of the squared residual that ends it (cgradTol; default 1e-12)\n"
    "  --old-passes N    iterations, in multiples of the unknowns (maxCGradPasses)\n"
    "\n"
    "  --help            prints this text\n"
    "  --version         prints the version\n"
    "\n"
    "Ctrl-C ends a solve with the best solution so far, which is reported and written. A second one ends the "
    "program.\n"
    "\n"
    "Exit status:\n"
    "  0  solved: the residual, recomputed from the file's entries, is small enough\n"
    "  1  input or options that cannot be used, or output that cannot be written\n"
    "  2  not solved\n"
    "  3  not enough memory\n"
    "  4  ended by Ctrl-C\n";

namespace {

[[noreturn]] void refuse(const std::string& sentence) {
  throw InputError(programName() + ": " + sentence + " (see " + programName() + " --help)");
}

[[noreturn]] void complain(const std::string& option, const std::string& expected) {
  refuse(option + ": expected " + expected);
}

// The solvers that use an option.
enum Users : unsigned { FrontDoor = 1, Newer = 2, Older = 4, BiCG = 8, Everybody = 15 };

Users userOf(const Options& options) {
  if (options.method == Method::BiCG) return BiCG;
  return options.family == Family::FrontDoor ? FrontDoor : options.family == Family::Newer ? Newer : Older;
}

// The end of a sentence about an option that only these solvers use.
const char* restrictionTo(unsigned users) {
  switch (users) {
    case FrontDoor:
      return " does not go with --family, --old or --bicg";
    case Newer:
      return " is only for --family newer";
    case Older:
      return " is only for --family older";
    case BiCG:
      return " is only for --bicg";
    case Newer | BiCG:
      return " is only for --family newer and --bicg";
    case FrontDoor | Newer:
      return " does not go with --family older or --bicg";
    default:
      return " is only for --family and --bicg";
  }
}

class CommandLine {
 public:
  CommandLine(int count, char** arguments, Options& options)
      : count_(count), arguments_(arguments), options_(options) {}

  Command read() {
    cgradTol = 1e-12;
    for (at_ = 1; at_ < count_; ++at_) {
      const std::string word = arguments_[at_];
      if (word == "--help") return Command::Help;
      if (word == "--version") return Command::Version;
      readOne(word);
    }
    if (options_.matrix.empty()) complain("MATRIX", "the file of a matrix");
    combine();
    return Command::Solve;
  }

 private:
  void readOne(const std::string& word) {
    if (word.size() < 2 || word[0] != '-') {
      if (!options_.matrix.empty()) complain(word, "one matrix");
      options_.matrix = word;
    } else if (!takeMethod(word) && !takeText(word) && !takeNumber(word) && !takeKind(word)) {
      complain(word, "a known option");
    }
  }

  // The value of the current option.
  std::string value(const std::string& option, const std::string& expected) {
    if (++at_ >= count_) complain(option, expected);
    return arguments_[at_];
  }

  bool takeMethod(const std::string& word) {
    const struct {
      const char* name;
      Method method;
    } methods[] = {{"--ls", Method::LeastSquares},
                   {"--spd", Method::Spd},
                   {"--square", Method::Square},
                   {"--jjt", Method::JJt},
                   {"--bicg", Method::BiCG}};
    for (const auto& one : methods) {
      if (word != one.name) continue;
      if (options_.method != Method::Automatic && options_.method != one.method) complain(word, "one method");
      options_.method = one.method;
      return true;
    }
    if (word != "--old" && word != "--family") return false;
    const std::string kind = word == "--old" ? "older" : value(word, "newer or older");
    if (kind != "newer" && kind != "older") complain(word, "newer or older");
    const Family family = kind == "newer" ? Family::Newer : Family::Older;
    if (options_.family != Family::FrontDoor && options_.family != family) complain(word, "one family");
    options_.family = family;
    return true;
  }

  bool takeText(const std::string& word) {
    const struct {
      const char* name;
      std::string* text;
      unsigned users;
    } texts[] = {{"-b", &options_.rightHandSide, Everybody},
                 {"-x", &options_.solution, Everybody},
                 {"--report", &options_.json, Everybody},
                 {"--matlab", &options_.matlab, Everybody},
                 {"--trace", &options_.trace, Newer | Older | BiCG}};
    for (const auto& one : texts) {
      if (word != one.name) continue;
      *one.text = value(word, "an argument");
      if (one.text->empty()) complain(word, "an argument");
      isFor(word, one.users);
      return true;
    }
    return false;
  }

  bool takeNumber(const std::string& word) {
    const struct {
      const char* name;
      double* variable;
      bool positive;
      unsigned users;
    } reals[] = {
        {"--relative", &options_.relative, true, FrontDoor}, {"--tol", &cg_tol, true, Newer | Older | BiCG},
        {"--stagnation", &cg_goNoWhereSc, false, Newer},     {"--epsilon", &cg_epsilon, false, Newer | BiCG},
        {"--definizer", &options_.definizer, true, Newer},   {"--old-tol", &cgradTol, false, Older}};
    for (const auto& one : reals) {
      if (word != one.name) continue;
      const char* const expected = one.positive ? "a number above 0" : "a number";
      double number;
      if (!parseReal(value(word, expected).c_str(), &number) || (one.positive && !(number > 0.0))) {
        complain(word, expected);
      }
      *one.variable = number;
      isFor(word, one.users);
      return true;
    }
    const struct {
      const char* name;
      int* variable;
      int least;
      unsigned users;
    } integers[] = {{"--max-iterations", &options_.maxIterations, 1, FrontDoor},
                    {"--restarts", &cg_maxRestarts, 1, Newer | BiCG},
                    {"--max-iters", &cg_maxIters, 0, Newer | BiCG},
                    {"--reset", &cg_reset_resid, 0, Newer | BiCG},
                    {"--old-passes", &maxCGradPasses, 0, Older},
                    {"--verbose", &cg_verbosity, 0, Newer | BiCG}};
    for (const auto& one : integers) {
      if (word != one.name) continue;
      const char* const expected = one.least ? "a whole number, 1 or more" : "a whole number, 0 or more";
      int number;
      if (!parseInt(value(word, expected).c_str(), &number) || number < one.least) complain(word, expected);
      *one.variable = number;
      isFor(word, one.users);
      return true;
    }
    return false;
  }

  bool takeKind(const std::string& word) {
    if (word == "-p") {
      options_.searchPath = value(word, "an argument");
    } else if (word == "--dense") {
      const char* const expected = "lu, qr, svd or chol";
      options_.dense = value(word, expected);
      if (!std::set<std::string>{"lu", "qr", "svd", "chol"}.count(options_.dense)) complain(word, expected);
    } else if (word == "--shadow") {
      const char* const expected = "residual or product";
      const std::string kind = value(word, expected);
      if (kind != "residual" && kind != "product") complain(word, expected);
      options_.shadowIsResidual = kind == "residual";
      isFor(word, BiCG);
    } else if (word == "--precond") {
      takePreconditioner(word, value(word, "none, jacobi or banded:N"));
      isFor(word, FrontDoor | Newer);
    } else {
      return false;
    }
    return true;
  }

  void takePreconditioner(const std::string& option, const std::string& kind) {
    const std::string banded = "banded:";
    options_.preconditioner = kind;
    if (kind == "none" || kind == "jacobi") return;
    if (kind.compare(0, banded.size(), banded) != 0 ||
        !parseInt(kind.c_str() + banded.size(), &options_.bandwidth) || options_.bandwidth < 0) {
      complain(option, "none, jacobi or banded:N");
    }
    options_.preconditioner = "banded";
  }

  void isFor(const std::string& option, unsigned users) {
    if (users != Everybody) special_.push_back({option, users});
  }

  // Refuses options that do not apply, once all are known.
  void combine() {
    const Method method = options_.method;
    if (method == Method::BiCG && options_.family != Family::FrontDoor) {
      refuse(std::string(options_.family == Family::Older ? "--old" : "--family") +
             " does not go with --bicg");
    }
    if (method == Method::Square && options_.family != Family::FrontDoor) {
      refuse("--square does not go with --family or --old");
    }
    const Users user = userOf(options_);
    for (const auto& [option, users] : special_) {
      if (!(users & user)) refuse(option + restrictionTo(users));
      if (option == "--definizer" && method != Method::Spd && method != Method::JJt) {
        refuse(option + " is only for --spd and --jjt");
      }
    }
    if (!options_.preconditioner.empty() && options_.preconditioner != "none" && method != Method::JJt) {
      refuse("--precond " + options_.preconditioner + " is only for --jjt");
    }
    for (const auto& one : special_) options_.hasTolerance = options_.hasTolerance || one.option == "--tol";
    for (const auto& one : special_) options_.hasEpsilon = options_.hasEpsilon || one.option == "--epsilon";
    if (user == Older && options_.hasTolerance) cgradEps = cg_tol;
    if (options_.definizer > 0.0) cgradDefinizer = options_.definizer;
    if (user == BiCG) options_.family = Family::Newer;
    if (options_.family != Family::FrontDoor && method == Method::Automatic)
      options_.method = Method::LeastSquares;
  }

  struct Special {
    std::string option;
    unsigned users;
  };

  int count_;
  char** arguments_;
  int at_ = 0;
  Options& options_;
  std::vector<Special> special_;  // the given options that only some solvers use
};

}  // namespace

Command readOptions(int argc, char** argv, Options& options) {
  return CommandLine(argc, argv, options).read();
}

System systemOf(Method method) {
  if (method == Method::LeastSquares) return System::LeastSquares;
  return method == Method::JJt ? System::Constraints : System::Square;
}
