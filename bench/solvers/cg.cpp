// One iteration of conjugate gradients against Eigen's, on the same matrices and right-hand sides. Each
// measurement is a solve of a fixed number of iterations from zero, set-up and last check included; the
// ratio of two items_per_second is that of the time of an iteration.
#include <benchmark/benchmark.h>

#include <Eigen/IterativeLinearSolvers>
#include <Eigen/Sparse>
#include <memory>
#include <random>
#include <vector>

#include "limber/limber.h"

namespace {

using Sparse = Eigen::SparseMatrix<double, Eigen::RowMajor>;
constexpr int iterations = 40;

struct Problem {
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat matrix{0};
  Sparse sparse;
  Vector b, x;
  Eigen::VectorXd eb;

  Problem(int height, int width, int perRow, bool symmetric)
      : sparse(height, width), b(height), x(width), eb(height) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> column(0, width - 1);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::vector<Eigen::Triplet<double>> entries;
    for (int i = 0; i < height; ++i) {
      for (int k = 0; k < (symmetric ? perRow / 2 : perRow); ++k) {
        const int j = column(random);
        const double v = value(random);
        entries.emplace_back(i, j, v);
        if (symmetric) entries.emplace_back(j, i, v);
      }
      if (symmetric) entries.emplace_back(i, i, 2.0 * perRow);
    }
    sparse.setFromTriplets(entries.begin(), entries.end());
    for (int i = 0; i < height; ++i) {
      rows.push_back(std::make_unique<SpVec>(static_cast<int>(sparse.innerVector(i).nonZeros())));
      for (Sparse::InnerIterator it(sparse, i); it; ++it)
        rows.back()->insEnd(it.value(), static_cast<int>(it.col()));
      rows.back()->width = width;
      matrix.add(rows.back().get());
      b[i] = value(random);
      eb[i] = b[i];
    }
  }
};

Problem& problem(int which) {
  static Problem all[] = {
      {2000, 2000, 30, false}, {20000, 30000, 12, false}, {2000, 2000, 30, true}, {20000, 20000, 12, true}};
  return all[which];
}

int silent(const char*) { return 0; }

template <int (*entry)(SpMat*, Vector*, Vector*, double*)>
void limberIteration(benchmark::State& state) {
  Problem& p = problem(static_cast<int>(state.range(0)));
  stdoutF = silent;
  cg_tol = 1e-300;
  cg_epsilon = 1e-300;
  cg_reset_resid = 0;
  cg_goNoWhereSc = 1e9;
  // the limit is a multiple of the size: a pass of a fixed number of iterations needs the core
  Vector t;
  if (entry == ncgrad) {
    t.grow(p.matrix.width());
    p.matrix.multT(&p.b, &t);
  } else {
    t = p.b;
  }
  Vector r, q, d, z, best;
  // no passes: sets how long a pass may go without improvement
  double first, last;
  int total;
  CGIStatus status = CGI_SOLVED;
  cg_maxRestarts = 0;
  mcgradI(&p.matrix, &p.x, &t, first, last, total, status, multFunA, nullptr);
  for (auto _ : state) {
    p.x = 0.0;
    int iter = 0, bestIter = 0;
    double rsq;
    pureCGrad(&p.matrix, &p.x, &t, entry == ncgrad ? multFunAtA : multFunA, &r, &d, &q, iterations + 1, iter,
              bestIter, rsq, &best, nullptr, &z);
    if (iter != iterations + 1) state.SkipWithError("ended early");
  }
  state.SetItemsProcessed(state.iterations() * iterations);
}

template <class Solver>
void eigenIteration(benchmark::State& state) {
  Problem& p = problem(static_cast<int>(state.range(0)));
  Solver solver;
  solver.setTolerance(1e-300);
  solver.setMaxIterations(iterations);
  solver.compute(p.sparse);
  Eigen::VectorXd x;
  for (auto _ : state) {
    x = solver.solve(p.eb);
    benchmark::DoNotOptimize(x.data());
    if (solver.iterations() < iterations) state.SkipWithError("ended early");
  }
  state.SetItemsProcessed(state.iterations() * iterations);
}

using EigenLeastSquares = Eigen::LeastSquaresConjugateGradient<Sparse, Eigen::IdentityPreconditioner>;
using EigenCG = Eigen::ConjugateGradient<Sparse, Eigen::Lower | Eigen::Upper, Eigen::IdentityPreconditioner>;

void LeastSquaresLimber(benchmark::State& state) { limberIteration<ncgrad>(state); }
void LeastSquaresEigen(benchmark::State& state) { eigenIteration<EigenLeastSquares>(state); }
void SymmetricLimber(benchmark::State& state) { limberIteration<ncgradA>(state); }
void SymmetricEigen(benchmark::State& state) { eigenIteration<EigenCG>(state); }

BENCHMARK(LeastSquaresLimber)->Arg(0)->Arg(1);
BENCHMARK(LeastSquaresEigen)->Arg(0)->Arg(1);
BENCHMARK(SymmetricLimber)->Arg(2)->Arg(3);
BENCHMARK(SymmetricEigen)->Arg(2)->Arg(3);

}  // namespace
