// Reads a sparse matrix from a Matrix Market file and solves with it: see solve --help.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "DenseCheck.h"
#include "Options.h"
#include "Solution.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/MatLab.h"

namespace {

void report(const Options& options, const SparseProblem& problem, const Solution& solution) {
  const char* const methods[] = {"least squares, min |A x - b|", "A x = b", "A A^T y = b",
                                 "A x = b, bi-conjugate gradients"};
  std::printf("matrix            %s\n", problem.path.c_str());
  std::printf("size              %d x %d\n", problem.rows, problem.columns);
  std::printf("entries           %ld\n", problem.entries);
  std::printf("problem           %s%s\n", methods[static_cast<int>(options.method)],
              options.older ? " (older family)" : "");
  // A negative result is minus the iterations only in the newer family, where -1 may also mean singular.
  if (solution.result >= 0 || (!options.older && solution.result < -1))
    std::printf("iterations        %d\n", std::abs(solution.result));
  std::printf("status            %s\n", statusOf(options, solution));
  std::printf("squared residual  %g  of the system solved\n", solution.rsq);
  std::printf("scaled residual   %g  %s\n", solution.scaled, scaledFormula(options.method));
  std::printf("time              %.3f ms\n", solution.seconds * 1e3);
  if (!options.preconditioner.empty()) std::printf("preconditioner    %s\n", options.preconditioner.c_str());
}

void dump(const std::string& file, const SparseProblem& problem, Vector& b) {
  std::FILE* const out = std::fopen(file.c_str(), "w");
  if (!out) throw InputError(file + ":0: expected a file that can be written");
  writeMatLab(out, "A", problem.matrix.get());
  std::fprintf(out, "\n");
  writeMatLab(out, "b", &b);
  if (std::fclose(out) != 0) throw InputError(file + ":0: expected a file that can be written");
}

int run(const Options& options) {
  const char* const path = options.hasSearchPath ? options.searchPath.c_str() : nullptr;
  const SparseProblem problem = readMatrix(options.matrix, path);
  const bool square = options.method == Method::Spd || options.method == Method::BiCG;
  if (square && problem.rows != problem.columns)
    throw InputError(problem.path + ":0: expected a square matrix for --spd and --bicg");
  Vector b = rightHandSide(options, problem);
  if (!options.trace.empty()) {
    cgradDribble = std::fopen(options.trace.c_str(), "w");
    if (!cgradDribble) throw InputError(options.trace + ":0: expected a trace file that can be written");
  }
  if (!options.matlab.empty()) dump(options.matlab, problem, b);
  const Vector given(b);
  const Solution solution = solve(options, problem, b);
  if (cgradDribble) {
    std::fclose(cgradDribble);
    cgradDribble = nullptr;
  }
  report(options, problem, solution);
  if (!options.dense.empty()) {
    const Vector dense = solveDense(options, problem, given);
    std::printf("dense check       %s: |x - dense x| / |dense x| = %g\n", options.dense.c_str(),
                relativeDifference(solution.x, dense));
  }
  return isSolved(options, solution) ? 0 : 2;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int status;
  if (!readOptions(argc, argv, options, status)) return status;
  try {
    return run(options);
  } catch (const InputError& error) {
    std::fprintf(stderr, "%s\n", error.what());
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "%s:0: expected a problem that fits into memory\n", options.matrix.c_str());
  }
  return 1;
}
