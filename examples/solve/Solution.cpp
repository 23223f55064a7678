#include "Solution.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "limber/solvers/NewCGrad.h"
#include "limber/solvers/OldCGrad.h"

namespace {

/// Frobenius norm.
double norm(const SparseProblem& problem) {
  double sum = 0.0;
  for (const auto& row : problem.storage)
    if (row) sum += row->magSq();
  return std::sqrt(sum);
}

Vector constant(int size, double value) {
  Vector v;
  v.grow(size);
  for (int i = 0; i < size; i++) v[i] = value;
  return v;
}

/// b - M x, where M is A A^T for the method jjt and A otherwise.
Vector residual(Method method, const HSpMat& A, const Vector& x, const Vector& b) {
  Vector between, product;
  if (method == Method::JJt) {
    A.multT(&x, &between);
    A.mult(&between, &product);
  } else {
    A.mult(&x, &product);
  }
  Vector r = constant(b.size(), 0.0);
  for (int i = 0; i < b.size(); i++) r[i] = b[i] - product[i];
  return r;
}

/// How far x is from a solution, as a share of the numbers that went into it.
double scaledResidual(Method method, const SparseProblem& problem, const Vector& x, const Vector& b) {
  const double a = norm(problem);
  Vector r = residual(method, *problem.matrix, x, b);
  double scale = a * x.mag() + b.mag();
  if (method == Method::JJt) scale = a * a * x.mag() + b.mag();
  if (method == Method::LeastSquares) {
    Vector gradient;
    problem.matrix->multT(&r, &gradient);
    r = gradient;
    scale *= a;
  }
  return scale > 0.0 ? r.mag() / scale : r.mag();
}

/// The squared residual of the start from zero: of b, or of A^T b for least squares.
double startRsq(Method method, const HSpMat& A, const Vector& b) {
  Vector right;
  if (method == Method::LeastSquares)
    A.multT(&b, &right);
  else
    right = b;
  return right.magSq();
}

/// As the other entry points: the iterations, or less than 0.
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
  switch (options.method) {
    case Method::LeastSquares:
      return options.older ? cgrad(A, x, b, rsq) : ncgrad(A, x, b, rsq);
    case Method::Spd:
      return options.older ? cgradA(A, x, b, rsq) : ncgradA(A, x, b, rsq);
    case Method::BiCG:
      return runBiCG(options, A, x, b, rsq);
    default:
      return options.older ? cgradJJt(A, x, b, rsq, nullptr) : runJJt(options, A, x, b, rsq);
  }
}

}  // namespace

Vector rightHandSide(const Options& options, const SparseProblem& problem) {
  if (!options.rightHandSide.empty()) {
    const char* const path = options.hasSearchPath ? options.searchPath.c_str() : nullptr;
    const std::vector<double> values = readVector(options.rightHandSide, path, problem.rows);
    Vector b = constant(problem.rows, 0.0);
    for (int i = 0; i < problem.rows; i++) b[i] = values[static_cast<std::size_t>(i)];
    return b;
  }
  const bool transposed = options.method == Method::JJt;
  const Vector ones = constant(transposed ? problem.rows : problem.columns, 1.0);
  const Vector zeros = constant(problem.rows, 0.0);
  Vector b = residual(options.method, *problem.matrix, ones, zeros);
  for (int i = 0; i < b.size(); i++) b[i] = -b[i];
  return b;
}

Solution solve(const Options& options, const SparseProblem& problem, Vector& b) {
  HSpMat& A = *problem.matrix;
  const double startFromZero = startRsq(options.method, A, b);
  if (!options.hasTolerance && startFromZero > 0.0) cg_tol = cgradEps = 1e-18 * startFromZero;
  // The library's limit is absolute; a squared residual this small needs one below it.
  if (!options.hasEpsilon) cg_epsilon = std::min(cg_epsilon, 1e-12 * cg_tol);
  Solution solution;
  solution.x = constant(options.method == Method::JJt ? problem.rows : problem.columns, 0.0);
  const auto start = std::chrono::steady_clock::now();
  solution.result = run(options, &A, &solution.x, &b, &solution.rsq);
  solution.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  solution.scaled = scaledResidual(options.method, problem, solution.x, b);
  return solution;
}

// The older family calls a system singular also when the solution is exact and no direction is left; the
// newer one returns minus no iterations when it was allowed none.
bool isSolved(const Options& options, const Solution& solution) {
  if (options.older) return solution.result >= 0 || solution.rsq <= cgradEps;
  return solution.result >= 0 && solution.rsq <= cg_tol;
}

const char* statusOf(const Options& options, const Solution& solution) {
  if (isSolved(options, solution)) return "solved";
  if (options.older) return solution.result == -1 ? "singular" : "iteration limit reached";
  if (options.method == Method::Spd) return "not solved: singular, or all restarts used";
  return solution.result == -1 ? "singular" : "not solved: all restarts used";
}

const char* scaledFormula(Method method) {
  switch (method) {
    case Method::LeastSquares:
      return "|A^T (b - A x)| / (|A| (|A| |x| + |b|))";
    case Method::Spd:
    case Method::BiCG:
      return "|b - A x| / (|A| |x| + |b|)";
    default:
      return "|b - A A^T y| / (|A|^2 |y| + |b|)";
  }
}
