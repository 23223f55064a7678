// Dense and sparse kernels, and Eigen's on the same data.

#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <Eigen/SparseCore>
#include <random>
#include <set>
#include <vector>

#include "limber/limber.h"

namespace {

using SparseVector = Eigen::SparseVector<double>;

struct Dense {
  Vector a, b;
  Eigen::VectorXd ea, eb;

  explicit Dense(int n) : a(n), b(n), ea(n), eb(n) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (int i = 0; i < n; ++i) {
      ea[i] = a[i] = value(random);
      eb[i] = b[i] = value(random);
    }
  }
};

// Rows of 50 entries at random places among `width`. With `shuffled`, each merge takes other rows in random
// order; without it the same few rows repeat, a pattern that the branch predictor learns.
struct Sparse {
  static constexpr unsigned count = 256;
  std::vector<SpVec> rows;
  std::vector<SparseVector> peers;
  bool shuffled;
  unsigned state = 1, fixed = 0;

  explicit Sparse(const benchmark::State& run) : rows(count), peers(count), shuffled(run.range(1)) {
    const int width = static_cast<int>(run.range(0));
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (unsigned k = 0; k < count; ++k) {
      std::set<int> places;
      while (places.size() < 50) places.insert(static_cast<int>(random() % static_cast<unsigned>(width)));
      peers[k].resize(width);
      for (const int i : places) {
        const double x = value(random);
        rows[k].insEnd(x, i);
        peers[k].insert(i) = x;
      }
    }
  }
  unsigned next() { return shuffled ? (state = state * 1664525u + 1013904223u) >> 24 : fixed++ % 6; }
  SpVec& row() { return rows[next()]; }
  SparseVector& peer() { return peers[next()]; }
};

// One dense operation; each step processes `n` numbers.
template <class F>
void run(benchmark::State& state, F step) {
  Dense d(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    step(d);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The name of an operation, Limber's statement and Eigen's.
#define DENSE(name, ours, theirs)                            \
  void name##_Limber(benchmark::State& state) {              \
    run(state, [](Dense& d) { ours; });                      \
  }                                                          \
  void name##_Eigen(benchmark::State& state) {               \
    run(state, [](Dense& d) { theirs; });                    \
  }                                                          \
  BENCHMARK(name##_Limber)->Arg(10)->Arg(1000)->Arg(100000); \
  BENCHMARK(name##_Eigen)->Arg(10)->Arg(1000)->Arg(100000);

DENSE(Dot, benchmark::DoNotOptimize(dot(&d.a, &d.b)), benchmark::DoNotOptimize(d.ea.dot(d.eb)))
DENSE(MagSq, benchmark::DoNotOptimize(d.a.magSq()), benchmark::DoNotOptimize(d.ea.squaredNorm()))
DENSE(ScaleAdd, d.a.scaleAdd(1e-9, &d.b), d.ea += 1e-9 * d.eb)
DENSE(Plus, d.a += d.b, d.ea += d.eb)
DENSE(Times, d.a *= 1.0000001, d.ea *= 1.0000001)

void Ssum_Limber(benchmark::State& state) {
  Sparse s(state);
  SpVec out(100);
  for (auto _ : state) {
    const SpVec &a = s.row(), &b = s.row();
    ssum(a, 0.5, b, -2.0, out);
    benchmark::ClobberMemory();
  }
}

void Ssum_Eigen(benchmark::State& state) {
  Sparse s(state);
  SparseVector out(s.peers[0].size());
  for (auto _ : state) {
    const SparseVector &a = s.peer(), &b = s.peer();
    out = 0.5 * a + -2.0 * b;
    benchmark::ClobberMemory();
  }
}

void LinComb3_Limber(benchmark::State& state) {
  Sparse s(state);
  SpVec out(100);
  Vector coefficients(3);
  coefficients[0] = 0.5;
  coefficients[1] = -2.0;
  coefficients[2] = 3.0;
  for (auto _ : state) {
    SpVec* rows[] = {&s.row(), &s.row(), &s.row()};
    linComb(&coefficients, rows, &out);
    benchmark::ClobberMemory();
  }
}

void LinComb3_Eigen(benchmark::State& state) {
  Sparse s(state);
  SparseVector out(s.peers[0].size());
  for (auto _ : state) {
    const SparseVector &a = s.peer(), &b = s.peer(), &c = s.peer();
    out = 0.5 * a + -2.0 * b + 3.0 * c;
    benchmark::ClobberMemory();
  }
}

void SparseDot_Limber(benchmark::State& state) {
  Sparse s(state);
  for (auto _ : state) {
    SpVec &a = s.row(), &b = s.row();
    benchmark::DoNotOptimize(dot(a, b));
  }
}

void SparseDot_Eigen(benchmark::State& state) {
  Sparse s(state);
  for (auto _ : state) {
    const SparseVector &a = s.peer(), &b = s.peer();
    benchmark::DoNotOptimize(a.dot(b));
  }
}

#define SPARSE(name)                                                                             \
  BENCHMARK(name##_Limber)->ArgsProduct({{100, 1000}, {0, 1}})->ArgNames({"width", "shuffled"}); \
  BENCHMARK(name##_Eigen)->ArgsProduct({{100, 1000}, {0, 1}})->ArgNames({"width", "shuffled"});

SPARSE(Ssum)
SPARSE(LinComb3)
SPARSE(SparseDot)

}  // namespace
