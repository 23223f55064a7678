// Products of row-sparse matrices with dense vectors, and those of Eigen's row-major sparse matrix in the
// same run.
#include <benchmark/benchmark.h>

#include <Eigen/Sparse>
#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "bench/support/Ratio.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"

namespace {

using Peer = Eigen::SparseMatrix<double, Eigen::RowMajor>;

// The stored columns of all rows, and the end of each row.
struct Pattern {
  std::vector<int> columns;
  std::vector<std::size_t> ends;
};

// One matrix in both forms, with operands.
struct Problem {
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat ours{0};
  std::unique_ptr<SlicedMatrix> sliced;
  Peer peer;
  Vector x, xT, y, yT;
  Eigen::VectorXd px, pxT, py, pyT;

  Problem(int h, int w, const Pattern& pattern) : peer(h, w) {
    std::mt19937 random(17);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<Eigen::Triplet<double>> triplets;
    triplets.reserve(pattern.columns.size());
    rows.reserve(static_cast<std::size_t>(h));
    std::size_t k = 0;
    for (int i = 0; i < h; ++i) {
      const std::size_t end = pattern.ends[static_cast<std::size_t>(i)];
      rows.push_back(std::make_unique<SpVec>(static_cast<int>(end - k)));
      for (; k < end; ++k) {
        const double value = uniform(random);
        rows.back()->ins(value, pattern.columns[k]);
        triplets.emplace_back(i, pattern.columns[k], value);
      }
    }
    for (const auto& row : rows) ours.add(row.get());
    peer.setFromTriplets(triplets.begin(), triplets.end());
    peer.makeCompressed();
    x.grow(w);
    xT.grow(h);
    px.resize(w);
    pxT.resize(h);
    for (int j = 0; j < w; ++j) px[j] = x[j] = uniform(random);
    for (int i = 0; i < h; ++i) pxT[i] = xT[i] = uniform(random);
    py.resize(h);
    pyT.resize(w);
    sliced = std::make_unique<SlicedMatrix>(ours);
  }
};

// perRow different columns in each row.
Pattern scattered(int h, int w, int perRow) {
  std::mt19937 random(5);
  std::uniform_int_distribution<int> column(0, w - 1);
  Pattern pattern;
  for (int i = 0; i < h; ++i) {
    const auto row = pattern.columns.size();
    while (pattern.columns.size() < row + static_cast<std::size_t>(perRow)) {
      const int j = column(random);
      const auto start = pattern.columns.begin() + static_cast<long>(row);
      if (std::find(start, pattern.columns.end(), j) == pattern.columns.end()) pattern.columns.push_back(j);
    }
    std::sort(pattern.columns.begin() + static_cast<long>(row), pattern.columns.end());
    pattern.ends.push_back(pattern.columns.size());
  }
  return pattern;
}

// A five-point stencil on a grid with `across` points per line.
Pattern stencil(int n, int across) {
  Pattern pattern;
  for (int i = 0; i < n; ++i) {
    for (const int j : {i - across, i - 1, i, i + 1, i + across}) {
      if (j >= 0 && j < n) pattern.columns.push_back(j);
    }
    pattern.ends.push_back(pattern.columns.size());
  }
  return pattern;
}

Problem& problem(int which) {
  static std::unique_ptr<Problem> made[4];
  if (!made[which]) {
    made[which] = which == 0   ? std::make_unique<Problem>(2000, 2000, scattered(2000, 2000, 30))
                  : which == 1 ? std::make_unique<Problem>(20000, 30000, scattered(20000, 30000, 12))
                  : which == 2 ? std::make_unique<Problem>(200000, 200000, stencil(200000, 447))
                               : std::make_unique<Problem>(4000000, 4000000, stencil(4000000, 2000));
  }
  return *made[which];
}

// Calls both in turns, `calls` times each. The counter "ratio" is Limber's time over the peer's.
template <class Ours, class Theirs>
void inTurns(benchmark::State& state, Ours ours, Theirs theirs, const char* peer = "eigen_us") {
  const int calls[] = {200, 40, 4, 1}, turnsOf[] = {101, 101, 101, 15};
  const auto which = state.range(0);
  Turns turns{};
  for (auto _ : state) turns = byTurns(turnsOf[which], calls[which], ours, theirs);
  state.counters["ratio"] = turns.ratio;
  state.counters["limber_us"] = 1e-3 * turns.ours;
  state.counters[peer] = 1e-3 * turns.peer;
}

// Multiplies by an HSpMat or by a SlicedMatrix made from it.
template <class Matrix>
void product(benchmark::State& state, Problem& p, const Matrix& ours) {
  inTurns(
      state, [&] { ours.mult(&p.x, &p.y); },
      [&p] {
        p.py.noalias() = p.peer * p.px;
        benchmark::DoNotOptimize(p.py.data());
      });
  for (int i = 0; i < p.y.size(); ++i) {
    if (!(std::abs(p.y[i] - p.py[i]) <= 1e-10)) state.SkipWithError("the products differ");
  }
}

template <class Matrix>
void transposed(benchmark::State& state, Problem& p, const Matrix& ours) {
  inTurns(
      state, [&] { ours.multT(&p.xT, &p.yT); },
      [&p] {
        p.pyT.noalias() = p.peer.transpose() * p.pxT;
        benchmark::DoNotOptimize(p.pyT.data());
      });
  for (int i = 0; i < p.yT.size(); ++i) {
    if (!(std::abs(p.yT[i] - p.pyT[i]) <= 1e-10)) state.SkipWithError("the products differ");
  }
}

Problem& problemOf(const benchmark::State& state) { return problem(static_cast<int>(state.range(0))); }

void productByVector(benchmark::State& state) {
  Problem& p = problemOf(state);
  product(state, p, p.ours);
}

void transposedByVector(benchmark::State& state) {
  Problem& p = problemOf(state);
  transposed(state, p, p.ours);
}

void slicedByVector(benchmark::State& state) {
  Problem& p = problemOf(state);
  product(state, p, *p.sliced);
}

void slicedTransposedByVector(benchmark::State& state) {
  Problem& p = problemOf(state);
  transposed(state, p, *p.sliced);
}

// Shows how far a product is from the speed of memory. The peer adds up an array with as many bytes as the
// values, the indices, x and y.
void slicedAgainstMemory(benchmark::State& state) {
  Problem& p = problemOf(state);
  const Eigen::Index entries = p.peer.nonZeros(), rows = p.peer.rows();
  const Eigen::VectorXd bytes = Eigen::VectorXd::Random((12 * entries + 16 * rows) / 8);
  inTurns(
      state, [&] { p.sliced->mult(&p.x, &p.y); }, [&] { benchmark::DoNotOptimize(bytes.sum()); }, "peer_us");
}

// 0: 2000 x 2000, 30 entries per row; 1: 20000 x 30000, 12 per row; 2 and 3: five-point stencils of 200000
// and 4000000.
BENCHMARK(productByVector)->DenseRange(0, 2)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(transposedByVector)->DenseRange(0, 2)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(slicedByVector)->DenseRange(0, 3)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(slicedTransposedByVector)->DenseRange(0, 3)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(slicedAgainstMemory)->Arg(3)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
