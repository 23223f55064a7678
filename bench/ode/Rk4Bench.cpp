// One step of the classical Runge-Kutta method against Boost.odeint's runge_kutta4 on a std::vector, the same
// cheap right-hand side on both sides: what is compared is the stepping. The peer may inline its right-hand
// side, ours is reached through the virtual operation. Wanted: a ratio of 1 or less.
#include <benchmark/benchmark.h>

#include <boost/numeric/odeint/stepper/runge_kutta4.hpp>
#include <vector>

#include "bench/support/Ratio.h"
#include "limber/linalg/Vector.h"
#include "limber/ode/Integrand.h"
#include "limber/ode/RK4Solver.h"

namespace {

using State = std::vector<double>;

/// Damped oscillators: x' = y, y' = -x - 0.01 y for every pair of elements.
void slopes(const double* __restrict__ x, double* __restrict__ dxdt, int size) {
  for (int i = 0; i < size; i += 2) {
    dxdt[i] = x[i + 1];
    dxdt[i + 1] = -x[i] - 0.01 * x[i + 1];
  }
}

class Oscillators : public Integrand {
 public:
  int fprime(Vector* x, double, Vector* dxdt) override {
    slopes(x->data, dxdt->data, x->size());
    return 0;
  }
};

void Rk4Step(benchmark::State& state) {
  const int size = static_cast<int>(state.range(0));
  Oscillators oscillators;
  RK4Solver solver(&oscillators, size);
  Vector x(size);
  x = 1.0;
  State y(static_cast<std::size_t>(size), 1.0);
  boost::numeric::odeint::runge_kutta4<State> peer;
  const auto right = [](const State& from, State& to, double) {
    slopes(from.data(), to.data(), static_cast<int>(from.size()));
  };
  double t = 0.0, u = 0.0;
  const double dt = 1e-3;
  compareByTurns(
      state, 20000 / (size + 14),
      [&] {
        solver.step(&x, t, dt);
        t += dt;
      },
      [&] {
        peer.do_step(right, y, u, dt);
        u += dt;
      });
  benchmark::DoNotOptimize(x.data);
  benchmark::DoNotOptimize(y.data());
}
BENCHMARK(Rk4Step)->Arg(6)->Arg(30)->Arg(100)->Arg(1000)->Arg(10000);

}  // namespace
