// Compares one step of the classical Runge-Kutta method with Boost.odeint's runge_kutta4 on a std::vector.
// Both have the same cheap right-hand side, so this measures the stepping. The peer may inline its right-hand
// side; Limber calls a virtual function. The goal is a ratio of at most 1.
#include <benchmark/benchmark.h>

#include <boost/numeric/odeint/stepper/runge_kutta4.hpp>
#include <memory>
#include <random>
#include <vector>

#include "bench/support/Ratio.h"
#include "limber/linalg/Vector.h"
#include "limber/ode/Integrand.h"
#include "limber/ode/RK4Solver.h"

namespace {

using State = std::vector<double>;

// Decay, the cheapest right-hand side that reads the state.
void slopes(const double* __restrict__ x, double* __restrict__ dxdt, int size) {
  for (int i = 0; i < size; ++i) dxdt[i] = -0.25 * x[i];
}

class Decay : public Integrand {
 public:
  int fprime(Vector* x, double, Vector* dxdt) override {
    slopes(x->data, dxdt->data, x->size());
    return 0;
  }
};

// The peer's counterpart of an Integrand.
class PeerIntegrand {
 public:
  virtual void fprime(const State& x, double, State& dxdt) = 0;
};

class PeerDecay : public PeerIntegrand {
 public:
  // Not inlined: in this file the compiler sees that there is no other class, and would not make virtual
  // calls.
  __attribute__((noinline)) void fprime(const State& x, double, State& dxdt) override {
    slopes(x.data(), dxdt.data(), static_cast<int>(x.size()));
  }
};

// The time of a pass depends on where malloc puts its arrays: a store delays a later load of another array if
// their addresses agree in the last 12 bits. The ratio is therefore the median over placements, each with
// blocks of random sizes between the arrays of both sides.
constexpr int placements = 41;

template <class Right>
void compare(benchmark::State& state, Right right) {
  const int size = static_cast<int>(state.range(0));
  std::mt19937 random(1);
  std::vector<double> ours, peers, ratios;
  for (auto _ : state) {
    std::vector<std::unique_ptr<char[]>> strays;
    const auto stray = [&] { strays.emplace_back(new char[64 + random() % 8192]); };
    Decay decay;
    stray();
    RK4Solver solver(&decay, size);
    stray();
    Vector x(size);
    x = 1.0;
    stray();
    State y(static_cast<std::size_t>(size), 1.0);
    stray();
    boost::numeric::odeint::runge_kutta4<State> peer;
    double t = 0.0, u = 0.0;
    const double dt = 1e-3;
    const Turns turns = byTurns(
        200, 20000 / (size + 14),
        [&] {
          solver.step(&x, t, dt);
          t += dt;
        },
        [&] {
          peer.do_step(right, y, u, dt);
          u += dt;
        });
    ours.push_back(turns.ours);
    peers.push_back(turns.peer);
    ratios.push_back(turns.ratio);
    benchmark::DoNotOptimize(x.data);
    benchmark::DoNotOptimize(y.data());
  }
  state.counters["limber_ns"] = median(ours);
  state.counters["peer_ns"] = median(peers);
  state.counters["ratio"] = median(ratios);
}

void Rk4Step(benchmark::State& state) {
  PeerDecay decay;
  PeerIntegrand* right = &decay;
  benchmark::DoNotOptimize(right);  // the compiler must not know which integrand it is
  compare(state, [right](const State& x, State& dxdt, double t) { right->fprime(x, t, dxdt); });
}
BENCHMARK(Rk4Step)->Arg(6)->Arg(30)->Arg(100)->Arg(1000)->Arg(10000)->Iterations(placements);

void Rk4StepInlinedPeer(benchmark::State& state) {
  compare(state, [](const State& x, State& dxdt, double) {
    slopes(x.data(), dxdt.data(), static_cast<int>(x.size()));
  });
}
BENCHMARK(Rk4StepInlinedPeer)->Arg(6)->Arg(1000)->Iterations(placements);

}  // namespace
