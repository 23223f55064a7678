#include "dense_check.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "failure.h"
#include "input_error.h"
#include "limber/foundation/Output.h"
#include "limber/limber.h"
#include "memory.h"

namespace {

constexpr double mostElements = 4e6;

// Suppresses the lines that the factorizations print on the standard-output channel, which must not appear in
// a report.
class Quiet {
 public:
  Quiet() : channel_(stdoutF) {
    stdoutF = [](const char*) { return 0; };
  }
  ~Quiet() { stdoutF = channel_; }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;

 private:
  OutputFunction channel_;
};

[[noreturn]] void failed(const SparseProblem& problem, const char* factorization, int info) {
  if (QuietAllocations::failed()) throw std::bad_alloc();
  throw InputError(problem.path, 0,
                   std::string("expected a matrix that ") + factorization + " can factor (INFO " +
                       std::to_string(info) + ")");
}

// A system M x = c. M is square, or for least squares it has more rows than columns.
struct DenseSystem {
  ResizeMatrix M;
  Vector c;
};

void addToDiagonal(double shift, FullMatrix& M) {
  if (shift == 0.0) return;
  for (int i = 0; i < M.rows(); ++i) M.e(i, i) += shift;
}

// M = A, or A A^T for constraints, with the multiple of the identity that --definizer adds; c = b. For least
// squares with a factorization that needs a square matrix, M = A^T A and c = A^T b.
DenseSystem assemble(const Options& options, System kind, const SparseProblem& problem, const Vector& b) {
  DenseSystem system{ResizeMatrix(problem.rows, problem.columns), b};
  for (const Entry& entry : problem.entries) system.M.e(entry.row, entry.column) = entry.value;
  const bool wantsSquare = options.dense == "lu" || options.dense == "chol";
  if (kind == System::Constraints) {
    const FullMatrix transposed = system.M.transpose();
    DenseSystem product{ResizeMatrix(problem.rows, problem.rows), b};
    matrixMultiply(&system.M, &transposed, &product.M);
    addToDiagonal(options.definizer, product.M);
    return product;
  }
  if (kind == System::LeastSquares && wantsSquare) {
    const FullMatrix transposed = system.M.transpose();
    DenseSystem normal{ResizeMatrix(problem.columns, problem.columns), Vector(problem.columns)};
    transposed.mult(&b, &normal.c);
    matrixMultiply(&transposed, &system.M, &normal.M);
    return normal;
  }
  addToDiagonal(options.definizer, system.M);
  return system;
}

Vector byLu(const SparseProblem& problem, DenseSystem& system) {
  std::vector<long> pivots(static_cast<std::size_t>(system.M.rows()));
  const int info = luFactor(&system.M, pivots.data());
  if (info != 0) failed(problem, "LU", info);
  luSolve(&system.M, pivots.data(), &system.c);
  return system.c;
}

Vector byQr(const SparseProblem& problem, DenseSystem& system) {
  if (system.M.rows() < system.M.columns()) failed(problem, "QR with at least as many rows as columns", 0);
  Vector tau;
  const int info = qrFactor(&system.M, &tau);
  if (info != 0) failed(problem, "QR", info);
  for (int i = 0; i < system.M.columns(); ++i) {
    if (system.M.e(i, i) == 0.0) failed(problem, "QR with full rank", i + 1);
  }
  qtransTimes(&system.M, &tau, &system.c);
  solveUTri(&system.M, &system.c);
  system.c.grow(system.M.columns());
  return system.c;
}

Vector byCholesky(const SparseProblem& problem, DenseSystem& system) {
  const int n = system.M.rows();
  FullMatrix band(n, n);
  compactBanded(&system.M, &band, n, n - 1);
  const int info = cholFactorBanded(&band);
  if (info != 0) failed(problem, "Cholesky", info);
  cholSolveBanded(&band, &system.c);
  return system.c;
}

// The solution with the smallest norm. Singular values below epsilon times the largest count as zero.
Vector bySvd(const SparseProblem& problem, DenseSystem& system) {
  const int m = system.M.rows(), n = system.M.columns();
  FullMatrix U(m, m), S(1, n), Vt(n, n);
  const int info = svdDecomp(&system.M, &U, &S, &Vt);
  if (info != 0) failed(problem, "the singular value decomposition", info);
  Vector projected(m), x(n);
  U.multT(&system.c, &projected);
  Vector scaled(n);
  const double least = 2.2e-16 * std::max(m, n) * S.e(0, 0);
  for (int k = 0; k < std::min(m, n); ++k) scaled[k] = S.e(0, k) > least ? projected[k] / S.e(0, k) : 0.0;
  Vt.multT(&scaled, &x);
  return x;
}

Vector solveDense(const Options& options, System kind, const SparseProblem& problem, const Vector& b) {
  const Quiet quiet;
  DenseSystem system = assemble(options, kind, problem, b);
  if (options.dense == "lu") return byLu(problem, system);
  if (options.dense == "qr") return byQr(problem, system);
  if (options.dense == "chol") return byCholesky(problem, system);
  return bySvd(problem, system);
}

double relativeDifference(const Vector& x, const Vector& y) {
  double difference = 0.0, size = 0.0;
  for (int i = 0; i < std::min(x.size(), y.size()); ++i) {
    difference = std::hypot(difference, x[i] - y[i]);
    size = std::hypot(size, y[i]);
  }
  return size > 0.0 ? difference / size : difference;
}

}  // namespace

DenseCheck checkDensely(const Options& options, const SparseProblem& problem, const Vector& b,
                        const Result& result) {
  if (options.dense.empty()) return {};
  const double largest = std::max(problem.rows, problem.columns);
  if (largest * largest > mostElements) {
    throw InputError(problem.path, 0, "expected a problem of 1 to 2000 rows and columns for --dense");
  }
  // The matrix, its transpose, the factors, and the buffers of the factorizations.
  requireMemory(problem.path, 5.0 * 8.0 * largest * largest + 1.5e8);
  const Vector dense = solveDense(options, systemOf(result.method), problem, b);
  return {options.dense, relativeDifference(result.x, dense)};
}
