// Compares one iteration of conjugate gradients with Eigen's on the same matrices and right-hand sides. Both
// solve from zero with a fixed number of iterations in turns, including the set-up and the last check.
// `ratio` is Limber's time over the peer's; the goal is at most 1.
#include <benchmark/benchmark.h>

#include <Eigen/IterativeLinearSolvers>
#include <Eigen/Sparse>
#include <memory>
#include <random>
#include <vector>

#include "bench/support/Ratio.h"
#include "limber/limber.h"

namespace {

using Sparse = Eigen::SparseMatrix<double, Eigen::RowMajor>;

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

// A pass with a given number of iterations. The entry points limit it only to a multiple of the size.
class Pass {
 public:
  Pass(Problem& problem, CGMultFun mult) : p_(problem), mult_(mult) {
    if (mult == multFunAtA) {
      p_.matrix.multT(&p_.b, &right_);
    } else {
      right_ = p_.b;
    }
    // runs no pass: sets how long a pass may go without improvement
    double first, last;
    int total;
    CGIStatus status = CGI_SOLVED;
    cg_maxRestarts = 0;
    mcgradI(&p_.matrix, &p_.x, &right_, first, last, total, status, mult, nullptr);
  }

  bool run(int iterations) {
    p_.x = 0.0;
    int iter = 0, bestIter = 0;
    double rsq;
    pureCGrad(&p_.matrix, &p_.x, &right_, mult_, &r_, &d_, &q_, iterations + 1, iter, bestIter, rsq, &best_,
              nullptr, &z_);
    return iter == iterations + 1;
  }

 private:
  Problem& p_;
  CGMultFun mult_;
  Vector right_, r_, q_, d_, z_, best_;
};

template <class Solver>
void race(benchmark::State& state, CGMultFun mult) {
  Problem& p = problem(static_cast<int>(state.range(0)));
  const int iterations = static_cast<int>(state.range(1));
  stdoutF = silent;
  cg_tol = 1e-300;
  cg_epsilon = 1e-300;
  cg_reset_resid = 0;
  cg_goNoWhereSc = 1e9;
  Pass pass(p, mult);
  Solver solver;
  solver.setTolerance(1e-300);
  solver.setMaxIterations(iterations);
  Eigen::VectorXd x;
  bool whole = true;
  Turns turns{};
  for (auto _ : state) {
    turns = byTurns(
        state.range(0) % 2 == 0 ? 101 : 41, 1, [&] { whole = pass.run(iterations) && whole; },
        [&] {
          solver.compute(p.sparse);
          x = solver.solve(p.eb);
          benchmark::DoNotOptimize(x.data());
          whole = solver.iterations() >= iterations && whole;
        });
  }
  if (!whole) state.SkipWithError("ended early");
  state.counters["ratio"] = turns.ratio;
  state.counters["limber_us"] = 1e-3 * turns.ours / iterations;
  state.counters["eigen_us"] = 1e-3 * turns.peer / iterations;
}

using EigenLeastSquares = Eigen::LeastSquaresConjugateGradient<Sparse, Eigen::IdentityPreconditioner>;
using EigenCG = Eigen::ConjugateGradient<Sparse, Eigen::Lower | Eigen::Upper, Eigen::IdentityPreconditioner>;

void leastSquares(benchmark::State& state) { race<EigenLeastSquares>(state, multFunAtA); }
void symmetric(benchmark::State& state) { race<EigenCG>(state, multFunA); }

// 0: 2000 x 2000, 30 entries per row; 1: 20000 x 30000, 12 per row; 2 and 3: symmetric ones of 2000 and
// 20000, which are solved in fewer than 200 iterations.
BENCHMARK(leastSquares)
    ->ArgNames({"problem", "iterations"})
    ->ArgsProduct({{0, 1}, {40, 200}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(symmetric)
    ->ArgNames({"problem", "iterations"})
    ->ArgsProduct({{2, 3}, {40}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
