// Reads a matrix from a Matrix Market file and solves with it: see solve --help.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>

#include "contract_families.h"
#include "dense_check.h"
#include "failure.h"
#include "front_door.h"
#include "input_error.h"
#include "limber/limber.h"
#include "matrix_market.h"
#include "output_file.h"
#include "program_name.h"
#include "report.h"

namespace {

int printOnStandardError(const char* text) { return std::fputs(text, stderr); }

// The right-hand side b that the command line asks for. `file` receives the name of the file that was read,
// and the problem receives the notes on it.
Vector rightHandSide(const Options& options, SparseProblem& problem, std::string* file) {
  if (options.rightHandSide.empty()) return rightHandSideOfOnes(systemOf(options.method), problem);
  const NumberFile read = readVector(options.rightHandSide, options.path(), problem.rows);
  *file = read.path;
  problem.notes.insert(problem.notes.end(), read.notes.begin(), read.notes.end());
  Vector b(problem.rows);
  if (b.size() != problem.rows) throw std::bad_alloc();
  std::copy(read.values.begin(), read.values.end(), b.data);
  return b;
}

// No output may replace an input or another output.
void requireDistinctFiles(const Options& options, const std::string& matrix, const std::string& b) {
  const struct {
    const char* option;
    const std::string& file;
  } outputs[] = {{"-x", options.solution},
                 {"--report", options.json},
                 {"--trace", options.trace},
                 {"--matlab", options.matlab}};
  const auto same = [](const std::string& one, const std::string& other) {
    return !one.empty() && !other.empty() && one != "/dev/null" && sameFile(one, other);
  };
  for (const auto& output : outputs) {
    const std::string complaint = programName() + ": " + output.option + ": expected another file than ";
    if (same(output.file, matrix)) throw InputError(complaint + "the matrix, " + quoted(matrix.c_str()));
    if (same(output.file, b)) throw InputError(complaint + "the right-hand side, " + quoted(b.c_str()));
    for (const auto* other = outputs; other != &output; ++other) {
      if (same(output.file, other->file)) throw InputError(complaint + "that of " + other->option);
    }
  }
}

void dump(const std::string& file, const SparseProblem& problem, Vector& b) {
  RowMatrix rows(problem, RowMatrix::All);
  OutputFile out(file);
  writeMatLab(out.stream(), "A", &rows.matrix());
  std::fprintf(out.stream(), "\n");
  writeMatLab(out.stream(), "b", &b);
  out.finish();
}

// The trace of a family, which is written while it solves.
class Trace {
 public:
  explicit Trace(const std::string& file) : file_(file) {
    if (file.empty()) return;
    cgradDribble = std::fopen(file.c_str(), "w");
    if (!cgradDribble) throw InputError(file, 0, "expected a trace file that can be written");
  }
  ~Trace() { close(); }
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;

  void finish() {
    if (!close()) throw InputError(file_, 0, "could not be written completely");
  }

 private:
  static bool close() {
    if (!cgradDribble) return true;
    const bool written = std::ferror(cgradDribble) == 0;
    const bool closed = std::fclose(cgradDribble) == 0;
    cgradDribble = nullptr;
    return written && closed;
  }
  const std::string& file_;
};

bool isFinite(const Vector& x) {
  return std::all_of(x.data, x.data + x.size(), [](double value) { return std::isfinite(value); });
}

// Prints and writes a result. An error is printed and remembered, and the other outputs are still made.
class Delivery {
 public:
  template <class Step>
  void attempt(const Step& step) {
    try {
      step();
    } catch (...) {
      status_ = reportException(programName().c_str());
    }
  }
  // Writes a complete file by `write`, or none.
  template <class Write>
  void file(const std::string& path, const Write& write) {
    if (path.empty()) return;
    attempt([&] {
      OutputFile out(path);
      write(out.stream());
      out.finish();
    });
  }
  int status(int solved) const { return status_ == exitSolved ? solved : status_; }

 private:
  int status_ = exitSolved;
};

Result solve(const Options& options, const SparseProblem& problem, const Vector& b) {
  Trace trace(options.trace);
  Result result = options.family == Family::FrontDoor ? solveByFrontDoor(options, problem, b)
                                                      : solveByFamily(options, problem, b);
  trace.finish();
  if (QuietAllocations::failed() && result.status == exitNotSolved) throw std::bad_alloc();
  return result;
}

int run(const Options& options) {
  SparseProblem problem = readMatrix(options.matrix, options.path());
  const bool square =
      options.method == Method::Spd || options.method == Method::Square || options.method == Method::BiCG;
  if (square && problem.rows != problem.columns) {
    throw InputError(problem.path, 0,
                     "expected a square matrix for --spd, --square and --bicg; --ls takes any shape");
  }
  std::string fileOfB;
  Vector b = rightHandSide(options, problem, &fileOfB);
  requireDistinctFiles(options, problem.path, fileOfB);
  if (!options.matlab.empty()) dump(options.matlab, problem, b);

  Result result = solve(options, problem, b);
  Delivery delivery;
  if (isFinite(result.x)) {
    delivery.file(options.solution, [&](std::FILE* out) { writeSolution(result, out); });
  } else if (!options.solution.empty()) {
    result.notes.push_back("the solution holds numbers that are not finite and was not written");
  }
  DenseCheck check;
  delivery.attempt([&] { check = checkDensely(options, problem, b, result); });
  delivery.file(options.json, [&](std::FILE* out) { writeJson(options, problem, result, check, out); });
  printReport(options, problem, result, check, isStandardOutput(options.solution) ? stderr : stdout);
  return delivery.status(result.status);
}

int start(int argc, char** argv) {
  Options options;
  const QuietAllocations quiet;
  switch (readOptions(argc, argv, options)) {
    case Command::Help:
      std::printf("usage: %s%s", programName().c_str(), usage);
      return exitSolved;
    case Command::Version:
      std::printf("%s (Limber %s)\n", programName().c_str(), limberVersion());
      return exitSolved;
    default:
      if (isStandardOutput(options.solution)) stdoutF = printOnStandardError;
      return run(options);
  }
}

}  // namespace

int main(int argc, char** argv) {
  setProgramName(argv[0], "limber-solve");
  try {
    const int status = start(argc, argv);
    requireStandardOutput(programName());
    return status;
  } catch (...) {
    return reportException(programName().c_str());
  }
}
