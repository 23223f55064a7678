#include "DenseCheck.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "limber/foundation/Output.h"
#include "limber/limber.h"

namespace {

constexpr double mostElements = 4e6;

/// The factorizations say on the standard-output channel that they begin; a report is no place for that.
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
  throw InputError(problem.path + ":0: expected a matrix that " + factorization + " can factor (INFO " +
                   std::to_string(info) + ")");
}

/// A system M x = c with M square, or for least squares with more rows than columns.
struct DenseSystem {
  ResizeMatrix M;
  Vector c;
};

/// M = A, or A A^T for jjt, with the multiple of the identity that --definizer adds; c = b. For least squares
/// with a factorization that wants a square matrix, M = A^T A and c = A^T b.
DenseSystem assemble(const Options& options, const SparseProblem& problem, const Vector& b) {
  DenseSystem system{ResizeMatrix(problem.rows, problem.columns), b};
  const double shift = cgradDefinizer > 0.0 ? cgradDefinizer : 0.0;
  if (options.method == Method::JJt) {
    buildJJt(problem.matrix.get(), &system.M, nullptr, nullptr, shift);
    return system;
  }
  for (int i = 0; i < problem.rows; i++) {
    const SpVec* const row = problem.matrix->row(i);  // null where the file has no entry
    for (int k = 0; row && k < row->numEntries; k++) system.M.e(i, row->indices[k]) = row->values[k];
  }
  if (options.method == Method::Spd) {
    for (int i = 0; i < problem.rows; i++) system.M.e(i, i) += shift;
  }
  if (options.method == Method::LeastSquares && (options.dense == "lu" || options.dense == "chol")) {
    const FullMatrix transposed = system.M.transpose();
    DenseSystem normal{ResizeMatrix(problem.columns, problem.columns), Vector(problem.columns)};
    transposed.mult(&b, &normal.c);
    matrixMultiply(&transposed, &system.M, &normal.M);
    return normal;
  }
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
  for (int i = 0; i < system.M.columns(); i++) {
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

/// The solution of least norm: singular values below epsilon times the largest count as zero.
Vector bySvd(const SparseProblem& problem, DenseSystem& system) {
  const int m = system.M.rows(), n = system.M.columns();
  FullMatrix U(m, m), S(1, n), Vt(n, n);
  const int info = svdDecomp(&system.M, &U, &S, &Vt);
  if (info != 0) failed(problem, "the singular value decomposition", info);
  Vector projected(m), x(n);
  U.multT(&system.c, &projected);
  Vector scaled(n);
  const double least = 2.2e-16 * std::max(m, n) * S.e(0, 0);
  for (int k = 0; k < std::min(m, n); k++) scaled[k] = S.e(0, k) > least ? projected[k] / S.e(0, k) : 0.0;
  Vt.multT(&scaled, &x);
  return x;
}

}  // namespace

Vector solveDense(const Options& options, const SparseProblem& problem, const Vector& b) {
  const double largest = std::max(problem.rows, problem.columns);
  if (largest * largest > mostElements || problem.rows < 1 || problem.columns < 1)
    throw InputError(problem.path + ":0: expected a problem of 1 to 2000 rows and columns for --dense");
  const Quiet quiet;
  DenseSystem system = assemble(options, problem, b);
  if (options.dense == "lu") return byLu(problem, system);
  if (options.dense == "qr") return byQr(problem, system);
  if (options.dense == "chol") return byCholesky(problem, system);
  return bySvd(problem, system);
}

double relativeDifference(const Vector& x, const Vector& y) {
  double difference = 0.0, size = 0.0;
  for (int i = 0; i < std::min(x.size(), y.size()); i++) {
    difference = std::hypot(difference, x[i] - y[i]);
    size = std::hypot(size, y[i]);
  }
  return size > 0.0 ? difference / size : difference;
}
