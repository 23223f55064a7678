// Compares the dense and banded factorizations with direct calls of the same BLAS and LAPACK (goal: a ratio
// of at most 1.05) and with Eigen (goal: at most 1). `ratio` is Limber's time over the peer's.
#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <algorithm>
#include <random>
#include <vector>

#include "bench/support/Ratio.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/STMLapack.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/LapackCalls.h"

namespace {

using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

void fill(double* x, std::ptrdiff_t n) {
  std::mt19937_64 engine(1);
  std::normal_distribution<double> normal;
  for (std::ptrdiff_t i = 0; i < n; ++i) x[i] = normal(engine);
}

// Compares Limber's time with both peers'. `scale` calls of the smallest work take about 20 ms.
template <class Ours, class Direct, class EigenPeer>
void race(benchmark::State& state, int calls, Ours ours, Direct direct, EigenPeer eigen) {
  Turns a{}, b{};
  for (auto _ : state) {
    a = byTurns(41, calls, ours, direct);
    b = byTurns(21, calls, ours, eigen);
  }
  state.counters["ours_us"] = a.ours * 1e-3;
  state.counters["direct_us"] = a.peer * 1e-3;
  state.counters["ratio_direct"] = a.ratio;
  state.counters["eigen_us"] = b.peer * 1e-3;
  state.counters["ratio_eigen"] = b.ratio;
}

void multiply(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  FullMatrix a(n, n), b(n, n), c(n, n);
  fill(a.data, n * n);
  fill(b.data, n * n);
  const Rows ea = Eigen::Map<Rows>(a.data, n, n), eb = Eigen::Map<Rows>(b.data, n, n);
  Rows ec(n, n);
  const double one = 1.0, zero = 0.0;
  race(
      state, std::max(1, 40000000 / (n * n * n)), [&] { matrixMultiply(&a, &b, &c); },
      [&] { dgemm_("N", "N", &n, &n, &n, &one, b.data, &n, a.data, &n, &zero, c.data, &n, 1, 1); },
      [&] { ec.noalias() = ea * eb; });
}
BENCHMARK(multiply)->Arg(64)->Arg(256)->Arg(1000)->Iterations(1)->Unit(benchmark::kMillisecond);

void solveLu(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  FullMatrix original(n, n), a(n, n);
  fill(original.data, n * n);
  Vector b(n), x(n);
  fill(b.data, n);
  std::vector<long> pivots(static_cast<std::size_t>(n));
  std::vector<int> ints(static_cast<std::size_t>(n));
  const Eigen::MatrixXd ea = Eigen::Map<Rows>(original.data, n, n);
  Eigen::VectorXd eb = Eigen::Map<Eigen::VectorXd>(b.data, n), ex(n);
  const int one = 1;
  int info = 0;
  const auto restore = [&] {
    std::copy_n(original.data, n * n, a.data);
    x = b;
  };
  race(
      state, std::max(1, 30000000 / (n * n * n)),
      [&] {
        restore();
        luFactor(&a, pivots.data());
        luSolve(&a, pivots.data(), &x);
      },
      [&] {
        restore();
        dgetrf_(&n, &n, a.data, &n, ints.data(), &info);
        dgetrs_("T", &n, &one, a.data, &n, ints.data(), x.data, &n, &info, 1);
      },
      [&] { ex = ea.partialPivLu().solve(eb); });
}
BENCHMARK(solveLu)->Arg(100)->Arg(500)->Iterations(1)->Unit(benchmark::kMillisecond);

void svd(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  FullMatrix original(n, n), a(n, n), u(n, n), s(1, n), vt(n, n);
  fill(original.data, n * n);
  const Eigen::MatrixXd ea = Eigen::Map<Rows>(original.data, n, n);
  const int length = 400000;
  std::vector<double> work(length);
  int info = 0;
  Eigen::BDCSVD<Eigen::MatrixXd> peer;
  race(
      state, 2,
      [&] {
        std::copy_n(original.data, n * n, a.data);
        svdDecomp(&a, &u, &s, &vt);
      },
      [&] {
        std::copy_n(original.data, n * n, a.data);
        dgesvd_("A", "A", &n, &n, a.data, &n, s.data, vt.data, &n, u.data, &n, work.data(), &length, &info, 1,
                1);
      },
      [&] { peer.compute(ea, Eigen::ComputeFullU | Eigen::ComputeFullV); });
}
BENCHMARK(svd)->Arg(100)->Iterations(1)->Unit(benchmark::kMillisecond);

// Factor and solve. Eigen has no band matrices. In its place the direct calls are repeated, which shows the
// noise.
void bandedCholesky(benchmark::State& state) {
  const int n = 12000, kd = 24, width = kd + 1, one = 1;
  FullMatrix original(n, width), band(n, width);
  fill(original.data, static_cast<std::ptrdiff_t>(n) * width);
  for (int i = 0; i < n; ++i) original.e(i, kd) = 200.0;
  Vector b(n), x(n);
  fill(b.data, n);
  int info = 0;
  const auto restore = [&] {
    std::copy_n(original.data, n * width, band.data);
    x = b;
  };
  const auto direct = [&] {
    restore();
    dpbtrf_("U", &n, &kd, band.data, &width, &info, 1);
    dpbtrs_("U", &n, &kd, &one, band.data, &width, x.data, &n, &info, 1);
  };
  race(
      state, 2,
      [&] {
        restore();
        cholFactorBanded(&band);
        cholSolveBanded(&band, &x);
      },
      direct, direct);
  state.counters.erase("eigen_us");
  state.counters.erase("ratio_eigen");
}
BENCHMARK(bandedCholesky)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
