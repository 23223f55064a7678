#include "contract_families.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <new>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "limber/solvers/NewCGrad.h"
#include "limber/solvers/OldCGrad.h"
#include "watch.h"

namespace {

// The residual of a family's start from zero, relative to which its default tolerance is set.
constexpr double relativeTolerance = 1e-9;

// Like the other entry points, returns the iterations, or a negative number.
int runBiCG(const Options& options, HSpMat* A, Vector* x, Vector* b, double* rsq) {
  int iterations = 0;
  const CGIStatus status = biCGrad(A, x, b, *rsq, iterations, options.shadowIsResidual);
  if (status == CGI_SOLVED) return iterations;
  return status == CGI_SINGULAR ? -1 : -std::max(iterations, 2);
}

int runJJt(const Options& options, HSpMat* A, Vector* x, Vector* b, double* rsq) {
  if (options.preconditioner == "jacobi") {
    JJtPrecond jacobi(A, nullptr, nullptr);
    return ncgradJJt(A, x, b, rsq, nullptr, &jacobi);
  }
  if (options.preconditioner == "banded") {
    JJtCholeskyPrecond banded(A, options.bandwidth, nullptr, nullptr);
    return ncgradJJt(A, x, b, rsq, nullptr, &banded);
  }
  return ncgradJJt(A, x, b, rsq, nullptr, nullptr);
}

int run(const Options& options, HSpMat* A, Vector* x, Vector* b, double* rsq) {
  const bool older = options.family == Family::Older;
  switch (options.method) {
    case Method::LeastSquares:
      return older ? cgrad(A, x, b, rsq) : ncgrad(A, x, b, rsq);
    case Method::Spd:
      return older ? cgradA(A, x, b, rsq) : ncgradA(A, x, b, rsq);
    case Method::BiCG:
      return runBiCG(options, A, x, b, rsq);
    default:
      return older ? cgradJJt(A, x, b, rsq, nullptr) : runJJt(options, A, x, b, rsq);
  }
}

std::string problemOf(const Options& options) {
  const char* const words = options.method == Method::LeastSquares ? "least squares, min |A x - b|"
                            : options.method == Method::Spd        ? "A x = b"
                            : options.method == Method::BiCG       ? "A x = b, bi-conjugate gradients"
                                                                   : "A A^T y = b";
  return std::string(words) + (options.family == Family::Older ? " (older family)" : "");
}

// Lets the watch see every iteration as long as it exists.
class Observed {
 public:
  explicit Observed(Watch& watch) {
    cg_observer = Watch::observe;
    cg_observerData = &watch;
  }
  ~Observed() {
    cg_observer = nullptr;
    cg_observerData = nullptr;
  }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;
};

// Sets the squared residual that counts as solved and, well below it, the curvature that counts as zero.
void setTolerances(const Options& options, double startSize) {
  const double relative = relativeTolerance * startSize;
  const double square = relative * relative;
  // If the square of the start is zero or infinite, no absolute tolerance fits; the smallest one is used.
  if (!options.hasTolerance) cg_tol = cgradEps = std::isfinite(square) ? std::max(square, 1e-300) : 1e300;
  if (!options.hasEpsilon) cg_epsilon = std::min(cg_epsilon, 1e-12 * cg_tol);
}

std::string counted(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

void noteWhatIsDropped(const RowMatrix& rows, const Vector& b, Result& result) {
  if (rows.dropped() > 0) {
    result.notes.push_back(counted(rows.dropped(), "entry", "entries") + " below 1e-12 " +
                           (rows.dropped() == 1 ? "is" : "are") + " not stored by the family");
  }
  if (result.method != Method::LeastSquares) return;
  const auto tiny = [](double value) { return value != 0.0 && std::fabs(value) <= 1e-12; };
  const auto left = static_cast<std::size_t>(std::count_if(b.data, b.data + b.size(), tiny));
  if (left > 0) {
    result.notes.push_back(counted(left, "number", "numbers") + " of b below 1e-12 " +
                           (left == 1 ? "counts" : "count") + " as zero in the family's product with A^T");
  }
}

// The residual computed from the file's entries decides, not the family's own result.
void describe(const Options& options, int returned, bool stopped, Result& result) {
  // The newer family ends at the tolerance, up to rounding. The older one ends when the squared residual
  // changes by less than the tolerance, so its residual may be a few times larger.
  const double allowance = options.family == Family::Older ? 10.0 : 1.0 + 1e-6;
  const Residual& residual = result.residual;
  const bool small = options.hasTolerance ? residual.size <= std::sqrt(cg_tol) * allowance
                                          : residual.relative <= relativeTolerance * allowance;
  if (small || isAtLimitOfPrecision(residual)) {
    result.status = exitSolved;
    result.outcome = "solved";
  } else if (stopped) {
    result.status = exitStopped;
    result.outcome = endedByCtrlC;
  } else if (returned >= 0) {
    result.outcome = "not solved: the residual of the file's entries is above the tolerance";
  } else if (options.family == Family::Older) {
    result.outcome = returned == -1 ? "singular" : "iteration limit reached";
  } else if (options.method == Method::Spd) {
    result.outcome = "not solved: singular, or all restarts are used up";
  } else {
    result.outcome = returned == -1 ? "singular" : "not solved: all restarts are used up";
  }
}

}  // namespace

Result solveByFamily(const Options& options, const SparseProblem& problem, const Vector& b) {
  RowMatrix rows(problem, RowMatrix::Contract);
  const System system = systemOf(options.method);
  const int unknowns = system == System::Constraints ? problem.rows : problem.columns;
  Result result;
  result.method = options.method;
  result.problem = problemOf(options);
  result.x.grow(unknowns);
  Vector right(b);
  if (result.x.size() != unknowns || right.size() != b.size()) throw std::bad_alloc();
  setTolerances(options, residualOf(system, problem, result.x, b, 0.0).size);

  Watch watch;
  const Observed observed(watch);
  const auto start = std::chrono::steady_clock::now();
  result.rsq = 0.0;
  const int returned = run(options, &rows.matrix(), &result.x, &right, &result.rsq);
  result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (result.x.size() != unknowns) throw std::bad_alloc();

  // A negative number is minus the iterations only in the newer family, where -1 may also mean singular.
  if (returned >= 0 || (options.family != Family::Older && returned < -1))
    result.iterations = std::abs(returned);
  result.residual = residualOf(system, problem, result.x, b, options.definizer);
  noteWhatIsDropped(rows, b, result);
  describe(options, returned, watch.stopped(), result);
  return result;
}
