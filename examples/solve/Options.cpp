#include "Options.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "limber/solvers/CGTuning.h"

namespace {

const char help[] =
    "usage: solve [OPTION...] MATRIX\n"
    "Solves with the sparse matrix A of a Matrix Market coordinate file, plain or gzip-compressed.\n"
    "\n"
    "  --ls              least squares, min |A x - b| (the default)\n"
    "  --spd             A x = b, A symmetric positive definite\n"
    "  --jjt             A A^T y = b\n"
    "  --bicg            A x = b, A square, by bi-conjugate gradients\n"
    "  --shadow KIND     of --bicg: residual (the default) or product, the first shadow residual\n"
    "  --precond KIND    of --jjt: jacobi, or banded:N with half bandwidth N\n"
    "  --dense KIND      also solve with a dense factorization, as a check: lu, qr, svd or chol\n"
    "  --matlab FILE     writes A and b as MATLAB statements, which Octave reads too\n"
    "  --old             with the older family of solvers\n"
    "  -b FILE           the right-hand side: as many numbers as A has rows, or a Matrix Market array;\n"
    "                    default: A times ones (--jjt: A A^T times ones)\n"
    "  -p PATH           look for the files in these directories, separated by ; or :\n"
    "  --tol X           squared residual that counts as solved (cg_tol; --old: cgradEps)\n"
    "                    default: 1e-18 times that of the start from zero\n"
    "  --restarts N      passes (cg_maxRestarts)\n"
    "  --max-iters N     iterations of a pass, in multiples of the larger side (cg_maxIters)\n"
    "  --reset N         recompute the residual every N iterations (cg_reset_resid; 0: never)\n"
    "  --stagnation X    give up a pass after this many iterations without a new best, in multiples of the\n"
    "                    larger side (cg_goNoWhereSc)\n"
    "  --epsilon X       curvature that counts as singular (cg_epsilon; default 1e-12 times --tol)\n"
    "  --definizer X     add X times the identity (cgradDefinizer; --spd and --jjt)\n"
    "  --old-tol X       relative change of the squared residual that ends --old (cgradTol; default 1e-12)\n"
    "  --old-passes N    iterations of --old, in multiples of the unknowns (maxCGradPasses)\n"
    "  --verbose N       1: restarts and outcomes, 2: also a line an iteration (cg_verbosity)\n"
    "  --trace FILE      writes the solver's trace\n"
    "  --help            prints this\n"
    "\n"
    "Exit status: 0 solved, 1 bad input, 2 not solved.\n";

struct RealOption {
  const char* name;
  double* variable;
};
struct IntOption {
  const char* name;
  int* variable;
  int least;
};

const RealOption realOptions[] = {{"--stagnation", &cg_goNoWhereSc},
                                  {"--epsilon", &cg_epsilon},
                                  {"--definizer", &cgradDefinizer},
                                  {"--old-tol", &cgradTol}};
const IntOption intOptions[] = {{"--restarts", &cg_maxRestarts, 1},
                                {"--max-iters", &cg_maxIters, 0},
                                {"--reset", &cg_reset_resid, 0},
                                {"--old-passes", &maxCGradPasses, 0},
                                {"--verbose", &cg_verbosity, 0}};

bool complain(const char* option, const char* expected) {
  std::fprintf(stderr, "solve: %s: expected %s (see solve --help)\n", option, expected);
  return false;
}

template <class T>
bool convert(const char* text, T& value) {
  const char* const last = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, last, value);
  return error == std::errc() && stop == last;
}

bool takePreconditioner(const char* option, const std::string& kind, Options& options) {
  const std::string banded = "banded:";
  if (kind == "jacobi") {
    options.preconditioner = kind;
    return true;
  }
  if (kind.compare(0, banded.size(), banded) == 0 &&
      convert(kind.c_str() + banded.size(), options.bandwidth) && options.bandwidth >= 0) {
    options.preconditioner = "banded";
    return true;
  }
  return complain(option, "jacobi or banded:N");
}

/// An option with a value; false, after a message, when it is unknown or its value no good.
bool take(const char* option, const char* value, Options& options) {
  struct {
    const char* name;
    std::string* text;
  } const texts[] = {{"-b", &options.rightHandSide},
                     {"-p", &options.searchPath},
                     {"--trace", &options.trace},
                     {"--matlab", &options.matlab}};
  const auto is = [option](const char* name) { return std::strcmp(option, name) == 0; };
  for (const auto& text : texts) {
    if (!is(text.name)) continue;
    if (!value) return complain(option, "an argument");
    *text.text = value;
    options.hasSearchPath = options.hasSearchPath || is("-p");
    return true;
  }
  if (is("--dense")) {
    options.dense = value ? value : "";
    const bool known =
        options.dense == "lu" || options.dense == "qr" || options.dense == "svd" || options.dense == "chol";
    return known || complain(option, "lu, qr, svd or chol");
  }
  if (is("--shadow")) {
    const std::string kind = value ? value : "";
    options.shadowIsResidual = kind == "residual";
    return kind == "residual" || kind == "product" || complain(option, "residual or product");
  }
  if (is("--precond")) return takePreconditioner(option, value ? value : "", options);
  for (const RealOption& real : realOptions) {
    if (!is(real.name)) continue;
    if (!value || !convert(value, *real.variable) || !std::isfinite(*real.variable))
      return complain(option, "a number");
    options.hasEpsilon = options.hasEpsilon || real.variable == &cg_epsilon;
    return true;
  }
  if (is("--tol")) {
    options.hasTolerance = true;
    if (!value || !convert(value, cg_tol) || !(cg_tol > 0.0) || !std::isfinite(cg_tol))
      return complain(option, "a number above 0");
    cgradEps = cg_tol;
    return true;
  }
  for (const IntOption& whole : intOptions) {
    if (!is(whole.name)) continue;
    if (!value || !convert(value, *whole.variable) || *whole.variable < whole.least)
      return complain(option, whole.least ? "a whole number, 1 or more" : "a whole number, 0 or more");
    return true;
  }
  return complain(option, "a known option");
}

}  // namespace

bool readOptions(int argc, char** argv, Options& options, int& status) {
  status = 1;
  cgradTol = 1e-12;
  for (int i = 1; i < argc; i++) {
    const std::string word = argv[i];
    if (word == "--help") {
      std::fputs(help, stdout);
      status = 0;
      return false;
    }
    if (word == "--ls" || word == "--spd" || word == "--jjt" || word == "--bicg") {
      options.method = word == "--ls"    ? Method::LeastSquares
                       : word == "--spd" ? Method::Spd
                       : word == "--jjt" ? Method::JJt
                                         : Method::BiCG;
    } else if (word == "--old") {
      options.older = true;
    } else if (word.size() > 1 && word[0] == '-') {
      if (!take(argv[i], i + 1 < argc ? argv[i + 1] : nullptr, options)) return false;
      i++;
    } else if (options.matrix.empty()) {
      options.matrix = word;
    } else {
      return complain(argv[i], "one matrix");
    }
  }
  if (options.older && options.method == Method::BiCG)
    return complain("--old", "--ls, --spd or --jjt with it");
  if (!options.preconditioner.empty() && (options.older || options.method != Method::JJt))
    return complain("--precond", "--jjt with it, and not --old");
  if (options.matrix.empty()) return complain("MATRIX", "the file of a matrix");
  return true;
}
