// The front door and Eigen's solvers behind plain functions, for compare.py. They take sparse rows in three
// arrays and return x and a few numbers. Times are processor times of one call, without the conversion of
// the matrix.
#include <Eigen/IterativeLinearSolvers>
#include <Eigen/OrderingMethods>
#include <Eigen/Sparse>
#include <Eigen/SparseCholesky>
#include <Eigen/SparseLU>
#include <Eigen/SparseQR>
#include <algorithm>
#include <ctime>

#include "limber/limber.h"
#include "tests/solvers/SolveSystems.h"

namespace {

using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor>;
using Columns = Eigen::SparseMatrix<double>;

// The processor time that this process has used, in seconds.
double now() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

template <class F>
double timed(F f) {
  const double from = now();
  f();
  return now() - from;
}

// A user-defined matrix class that only has sizes and products.
class Foreign final : public SpMat {
 public:
  explicit Foreign(const HSpMat& A, int width) : A_(A), width_(width) {}
  void mult(const Vector* x, Vector* y) const override { A_.mult(x, y); }
  void multT(const Vector* x, Vector* y) const override { A_.multT(x, y); }
  int height() const override { return A_.numRows; }
  int width() const override { return width_; }

 private:
  const HSpMat& A_;
  const int width_;
};

}  // namespace

extern "C" {

struct SparseInput {
  int height, width;
  const int *start, *index;
  const double *value, *b;
};

struct Answer {
  int status, iterations, products;
  double residual, relative, seconds;
  const char* message;
};

// kind: 0 least squares, 1 definite, 2 square, 3 constraints. as: 0 sparse rows, 1 sliced rows, 2 a dense
// matrix, 3 a class that only has its products. The solution is written to x, which is also the start if
// `started` is not 0.
void solveByLimber(const SparseInput* in, int kind, int as, double goal, int started, double* x,
                   Answer* out) {
  Entries entries(in->height, in->width);
  for (int i = 0; i < in->height; ++i) {
    for (int k = in->start[i]; k < in->start[i + 1]; ++k) entries.add(i, in->index[k], in->value[k]);
  }
  const HSpMat& rows = entries.matrix();
  const Foreign foreign(rows, in->width);
  const SlicedMatrix sliced(rows);
  ResizeMatrix dense(as == 2 ? in->height : 0, as == 2 ? in->width : 0);
  if (as == 2) {
    for (int i = 0; i < in->height; ++i) {
      for (int k = in->start[i]; k < in->start[i + 1]; ++k) dense.e(i, in->index[k]) += in->value[k];
    }
  }
  const SpMat& A = as == 1   ? static_cast<const SpMat&>(sliced)
                   : as == 2 ? static_cast<const SpMat&>(dense)
                   : as == 3 ? static_cast<const SpMat&>(foreign)
                             : static_cast<const SpMat&>(rows);
  const int unknowns = kind == 3 ? in->height : in->width;
  Vector b(in->height), solution;
  std::copy_n(in->b, in->height, b.data);
  if (started) {
    solution.grow(unknowns);
    std::copy_n(x, unknowns, solution.data);
  }
  SolveOptions options;
  options.relative = goal;
  SolveReport report{};
  const double seconds = timed([&] {
    report = kind == 0   ? solveLeastSquares(A, b, &solution, options)
             : kind == 1 ? solvePositiveDefinite(A, b, &solution, options)
             : kind == 2 ? solveSquare(A, b, &solution, options)
                         : solveConstraints(rows, nullptr, nullptr, b, &solution, options);
  });
  std::fill_n(x, unknowns, 0.0);
  std::copy_n(solution.data, std::min(unknowns, solution.count), x);
  *out = {report.status,           report.iterations, report.products, report.residual,
          report.relativeResidual, seconds,           report.message};
}

// method: 0 CG, 1 LDLT, 2 LSCG, 3 QR, 4 BiCGSTAB, 5 BiCGSTAB with ILUT, 6 LU. The status is 0 if Eigen
// reports success.
void solveByEigen(const SparseInput* in, int method, double goal, double* x, Answer* out) {
  const Eigen::Map<const Matrix> map(in->height, in->width, in->start[in->height], in->start, in->index,
                                     in->value);
  const Matrix A = map;
  const Columns C = A;
  const Eigen::Map<const Eigen::VectorXd> b(in->b, in->height);
  Eigen::VectorXd y = Eigen::VectorXd::Zero(in->width);
  bool good = false;
  const auto iterative = [&](auto solver) {
    solver.setTolerance(goal);
    out->seconds = timed([&] {
      solver.compute(A);
      y = solver.solve(b);
    });
    out->iterations = static_cast<int>(solver.iterations());
    good = solver.info() == Eigen::Success;
  };
  const auto direct = [&](auto* solver) {
    out->seconds = timed([&] {
      solver->compute(C);
      good = solver->info() == Eigen::Success;
      if (good) y = solver->solve(b);
    });
  };
  *out = Answer{};
  if (method == 0) iterative(Eigen::ConjugateGradient<Matrix, Eigen::Lower | Eigen::Upper>());
  if (method == 2) iterative(Eigen::LeastSquaresConjugateGradient<Matrix>());
  if (method == 4) iterative(Eigen::BiCGSTAB<Matrix>());
  if (method == 5) iterative(Eigen::BiCGSTAB<Matrix, Eigen::IncompleteLUT<double>>());
  Eigen::SimplicialLDLT<Columns> cholesky;
  Eigen::SparseQR<Columns, Eigen::COLAMDOrdering<int>> qr;
  Eigen::SparseLU<Columns> lu;
  if (method == 1) direct(&cholesky);
  if (method == 3) direct(&qr);
  if (method == 6) direct(&lu);
  out->status = good ? 0 : 1;
  std::copy_n(y.data(), in->width, x);
}
}
