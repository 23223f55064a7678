// The normal equations of a motion: frames of constraints, whose rows have entries at the variables of their
// frame and at some of the next. Goals: buildJJtBand is 5 times as fast as Eigen's sparse J J^T, and the
// solve with JJtCholeskyPrecond, from J to the multipliers, is 4 times as fast as Eigen's SimplicialLDLT in
// natural ordering and as CHOLMOD after cholmod_aat, including their assembly from the same stored J. `ratio`
// is Limber's time over the peer's.
#include <benchmark/benchmark.h>

#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>
#include <cmath>
#include <memory>
#include <random>
#include <vector>
#ifdef LIMBER_BENCH_CHOLMOD
#include <cholmod.h>
#endif

#include "bench/support/Ratio.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/JJtCholeskyPrecond.h"

namespace {

constexpr int frames = 1000, constraints = 12, own = 60, next = 30;
constexpr int rows = frames * constraints, bandwidth = 2 * constraints - 1;
constexpr double damping = 1e-3;

using Sparse = Eigen::SparseMatrix<double, Eigen::RowMajor>;

struct Motion {
  // With a `density` below 1, each row has its own random subset of those columns.
  explicit Motion(double density) : J(0), peer(rows, frames * own + next), damp(rows), b(rows), x(rows) {
    std::mt19937_64 engine(1);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<Eigen::Triplet<double>> entries;
    for (int i = 0; i < rows; ++i) {
      auto row = std::make_unique<SpVec>(own + next);
      const int first = i / constraints * own;
      for (int j = first; j < first + own + next; ++j) {
        if (uniform(engine) < density) row->ins(normal(engine), j);
      }
      for (int e = 0; e < row->numEntries; ++e) entries.emplace_back(i, row->indices.data[e], row->e(e));
      J.add(row.get());
      owned.push_back(std::move(row));
      b[i] = normal(engine);
    }
    damp = damping;
    peer.setFromTriplets(entries.begin(), entries.end());
    peer.makeCompressed();
  }
  HSpMat J;
  std::vector<std::unique_ptr<SpVec>> owned;
  Sparse peer;
  Vector damp, b, x;
};

template <class Ours, class Peer>
void race(benchmark::State& state, int calls, Ours ours, Peer peer) {
  Turns result{};
  for (auto _ : state) result = byTurns(9, calls, ours, peer);
  state.counters["ours_ms"] = result.ours * 1e-6;
  state.counters["peer_ms"] = result.peer * 1e-6;
  state.counters["ratio"] = result.ratio;
}

void checkClose(benchmark::State& state, const Vector& ours, const double* peer) {
  double worst = 0.0, scale = 0.0;
  for (int i = 0; i < rows; ++i) {
    worst = std::max(worst, std::fabs(ours[i] - peer[i]));
    scale = std::max(scale, std::fabs(peer[i]));
  }
  if (!(worst <= 1e-6 * scale)) state.SkipWithError("the two solutions differ");
}

void buildBand(benchmark::State& state) {
  Motion m(static_cast<double>(state.range(0)) / 100.0);
  ResizeMatrix band(1);
  Sparse product;
  race(
      state, 2,
      [&] { benchmark::DoNotOptimize(buildJJtBand(&m.J, bandwidth, &band, nullptr, nullptr, 0.0)); },
      [&] {
        product = m.peer * m.peer.transpose();
        benchmark::DoNotOptimize(product.valuePtr());
      });
}
BENCHMARK(buildBand)->ArgName("percent")->Arg(100)->Arg(50)->Iterations(1)->Unit(benchmark::kMillisecond);

void ourSolve(Motion& m) {
  JJtCholeskyPrecond solver(&m.J, bandwidth, nullptr, &m.damp);
  solver.solve(&m.b, &m.x);
}

void solveAgainstEigen(benchmark::State& state) {
  Motion m(1.0);
  Eigen::VectorXd lambda;
  race(
      state, 1, [&] { ourSolve(m); },
      [&] {
        using Columns = Eigen::SparseMatrix<double>;
        Columns system = m.peer * m.peer.transpose();
        for (int i = 0; i < rows; ++i) system.coeffRef(i, i) += damping;
        Eigen::SimplicialLDLT<Columns, Eigen::Lower, Eigen::NaturalOrdering<int>> factor(system);
        lambda = factor.solve(Eigen::Map<Eigen::VectorXd>(m.b.data, rows));
      });
  checkClose(state, m.x, lambda.data());
}
BENCHMARK(solveAgainstEigen)->Iterations(1)->Unit(benchmark::kMillisecond);

#ifdef LIMBER_BENCH_CHOLMOD
void solveAgainstCholmod(benchmark::State& state) {
  Motion m(1.0);
  cholmod_common common;
  cholmod_start(&common);
  common.nmethods = 1;
  common.method[0].ordering = CHOLMOD_NATURAL;
  common.postorder = 0;
  // CHOLMOD stores columns. The rows of J are the columns of J^T.
  cholmod_sparse jt{};
  jt.nrow = static_cast<std::size_t>(m.peer.cols());
  jt.ncol = rows;
  jt.nzmax = static_cast<std::size_t>(m.peer.nonZeros());
  jt.p = m.peer.outerIndexPtr();
  jt.i = m.peer.innerIndexPtr();
  jt.x = m.peer.valuePtr();
  jt.itype = CHOLMOD_INT;
  jt.xtype = CHOLMOD_REAL;
  jt.sorted = jt.packed = 1;
  cholmod_dense b{};
  b.nrow = b.nzmax = b.d = rows;
  b.ncol = 1;
  b.x = m.b.data;
  b.xtype = CHOLMOD_REAL;
  std::vector<double> lambda(rows);
  race(
      state, 1, [&] { ourSolve(m); },
      [&] {
        cholmod_sparse* j = cholmod_transpose(&jt, 1, &common);
        cholmod_sparse* product = cholmod_aat(j, nullptr, 0, 1, &common);
        product->stype = 1;
        double beta[2] = {damping, 0.0};
        cholmod_factor* factor = cholmod_analyze(product, &common);
        cholmod_factorize_p(product, beta, nullptr, 0, factor, &common);
        cholmod_dense* x = cholmod_solve(CHOLMOD_A, factor, &b, &common);
        std::copy_n(static_cast<double*>(x->x), rows, lambda.begin());
        cholmod_free_dense(&x, &common);
        cholmod_free_factor(&factor, &common);
        cholmod_free_sparse(&product, &common);
        cholmod_free_sparse(&j, &common);
      });
  checkClose(state, m.x, lambda.data());
  cholmod_finish(&common);
}
BENCHMARK(solveAgainstCholmod)->Iterations(1)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
