#include "front_door.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "input_error.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/Solve.h"
#include "watch.h"

namespace {

const char* inWords(Method method) {
  switch (method) {
    case Method::LeastSquares:
      return "least squares, min |A x - b|";
    case Method::Spd:
      return "A x = b, symmetric positive definite";
    case Method::JJt:
      return "A A^T y = b";
    default:
      return "A x = b";
  }
}

bool isSymmetric(const SparseProblem& problem) {
  if (problem.rows != problem.columns) return false;
  std::vector<Entry> mirrored = problem.entries;
  for (Entry& entry : mirrored) std::swap(entry.row, entry.column);
  sortAndAddUp(&mirrored);
  const auto same = [](const Entry& a, const Entry& b) {
    return a.row == b.row && a.column == b.column && a.value == b.value;
  };
  return std::equal(mirrored.begin(), mirrored.end(), problem.entries.begin(), problem.entries.end(), same);
}

bool hasPositiveDiagonal(const SparseProblem& problem) {
  const auto positive = [](const Entry& entry) { return entry.row == entry.column && entry.value > 0.0; };
  return std::count_if(problem.entries.begin(), problem.entries.end(), positive) == problem.rows;
}

// The preconditioner that the command line names; null if the front door chooses. It is a shared pointer
// because that remembers the class of the object, and Preconditioner's destructor is not virtual.
std::shared_ptr<Preconditioner> preconditioner(const Options& options, HSpMat& A) {
  if (options.preconditioner == "none") return std::make_shared<Preconditioner>();
  if (options.preconditioner == "jacobi") return std::make_shared<JJtPrecond>(&A, nullptr, nullptr);
  if (options.preconditioner == "banded") {
    return std::make_shared<JJtCholeskyPrecond>(&A, options.bandwidth, nullptr, nullptr);
  }
  return nullptr;
}

// The library's sentence with the names of this program's options instead of the library's.
std::string forUsers(std::string message) {
  const char* const names[][2] = {
      {"solveSquare", "--square"}, {"solveLeastSquares", "--ls"}, {"maxIterations", "--max-iterations"}};
  for (const auto& [function, option] : names) {
    const std::size_t at = message.find(function);
    if (at != std::string::npos) message.replace(at, std::strlen(function), option);
  }
  return message;
}

class Solver {
 public:
  Solver(const Options& options, const SparseProblem& problem, const Vector& b)
      : problem_(problem),
        b_(b),
        rows_(problem, RowMatrix::All),
        preconditioner_(preconditioner(options, rows_.matrix())) {
    options_.relative = options.relative;
    options_.maxIterations = options.maxIterations;
    options_.preconditioner = preconditioner_.get();
    options_.observer = Watch::observe;
    options_.observerData = &watch_;
  }

  Result solve(Method method) {
    Result result;
    result.method = method;
    result.problem = inWords(method);
    const SolveReport report = call(method, &result.x);
    if (report.status == SOLVE_BAD_INPUT) refuse(report.message);
    result.iterations = report.iterations;
    result.products = report.products;
    result.seconds = report.seconds;
    result.residual = residualOf(systemOf(method), problem_, result.x, b_, 0.0);
    describe(report, result);
    return result;
  }

 private:
  SolveReport call(Method method, Vector* x) {
    HSpMat& A = rows_.matrix();
    switch (method) {
      case Method::LeastSquares:
        return solveLeastSquares(A, b_, x, options_);
      case Method::Spd:
        return solvePositiveDefinite(A, b_, x, options_);
      case Method::JJt:
        return solveConstraints(A, nullptr, nullptr, b_, x, options_);
      default:
        return solveSquare(A, b_, x, options_);
    }
  }

  [[noreturn]] void refuse(const char* message) const {
    if (std::strstr(message, "memory")) throw std::bad_alloc();
    throw InputError(problem_.path, 0, "cannot be solved with: " + forUsers(message));
  }

  // The residual computed from the file's entries decides, not the solver's own result.
  void describe(const SolveReport& report, Result& result) const {
    constexpr double rounding = 1.01;  // the two residuals have different rounding errors
    if (result.residual.relative <= options_.relative * rounding) {
      result.status = exitSolved;
      result.outcome = "solved";
    } else if (isAtLimitOfPrecision(result.residual)) {
      result.status = exitSolved;
      result.outcome = "solved to the limit of precision";
    } else if (report.status == SOLVE_STOPPED) {
      result.status = exitStopped;
      result.outcome = endedByCtrlC;
    } else if (report.status == SOLVE_CONVERGED) {
      result.outcome = "not solved: the residual of the file's entries is larger than the solver's";
    } else {
      result.outcome = "not solved: " + forUsers(report.message);
    }
  }

  const SparseProblem& problem_;
  const Vector& b_;
  RowMatrix rows_;
  std::shared_ptr<Preconditioner> preconditioner_;
  SolveOptions options_;
  Watch watch_;
};

Result solveAutomatically(Solver& solver, const SparseProblem& problem) {
  if (problem.rows != problem.columns) {
    Result result = solver.solve(Method::LeastSquares);
    result.notes.push_back("chosen because A is not square");
    return result;
  }
  if (!isSymmetric(problem) || !hasPositiveDiagonal(problem)) {
    Result result = solver.solve(Method::Square);
    result.notes.push_back("chosen because A is square");
    return result;
  }
  Result definite = solver.solve(Method::Spd);
  definite.notes.push_back("chosen because A is symmetric with a positive diagonal");
  if (definite.status != exitNotSolved) return definite;
  Result square = solver.solve(Method::Square);
  square.notes.push_back("chosen because A is square; as symmetric positive definite it is " +
                         definite.outcome);
  // Only a smaller residual that is not a NaN replaces the first result.
  return square.residual.relative < definite.residual.relative || square.status != exitNotSolved ? square
                                                                                                 : definite;
}

}  // namespace

Result solveByFrontDoor(const Options& options, const SparseProblem& problem, const Vector& b) {
  Solver solver(options, problem, b);
  if (options.method != Method::Automatic) return solver.solve(options.method);
  return solveAutomatically(solver, problem);
}
