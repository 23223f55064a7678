// Quaternions: Limber and its peers Eigen, GLM and Imath on the same values. Limber's product normalizes by
// contract, so the peers' products are normalized too; the rows "ProductPlain" are the peers without
// normalization.
#include <benchmark/benchmark.h>

#include "bench/geometry/Peers.h"

namespace {

// Computes one element of the result from one element of each input, `count` times per pass.
template <class Out, class A, class B, class F>
void overArrays(benchmark::State& state, const A& a, const B& b, F f) {
  Out out(a.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < a.size(); ++i) out[i] = f(a[i], b[i], i);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

const std::vector<Quat> quatsA = randomQuats(1), quatsB = randomQuats(2);
const std::vector<Pnt3> points = randomPoints(3);
const std::vector<double> times = randomTimes(4);
const auto eigenA = allToEigen(quatsA), eigenB = allToEigen(quatsB);
const auto glmA = allToGlm(quatsA), glmB = allToGlm(quatsB);
const auto imathA = allToImath(quatsA), imathB = allToImath(quatsB);
const auto eigenPoints = allToEigen(points);
const auto glmPoints = allToGlm(points);
const auto imathPoints = allToImath(points);

using Quats = std::vector<Quat>;
using Points = std::vector<Pnt3>;
using EigenQuats = std::vector<EigenQuat, Eigen::aligned_allocator<EigenQuat>>;
using EigenPoints = std::vector<Eigen::Vector3d, Eigen::aligned_allocator<Eigen::Vector3d>>;
using GlmQuats = std::vector<glm::dquat>;
using GlmPoints = std::vector<glm::dvec3>;
using ImathQuats = std::vector<Imath::Quatd>;
using ImathPoints = std::vector<Imath::V3d>;

void ProductLimber(benchmark::State& state) {
  overArrays<Quats>(state, quatsA, quatsB, [](const Quat& a, const Quat& b, std::size_t) { return a * b; });
}
void ProductEigen(benchmark::State& state) {
  overArrays<EigenQuats>(state, eigenA, eigenB, [](const EigenQuat& a, const EigenQuat& b, std::size_t) {
    return (b * a).normalized();
  });
}
void ProductGlm(benchmark::State& state) {
  overArrays<GlmQuats>(state, glmA, glmB, [](const glm::dquat& a, const glm::dquat& b, std::size_t) {
    return glm::normalize(b * a);
  });
}
void ProductImath(benchmark::State& state) {
  overArrays<ImathQuats>(
      state, imathA, imathB,
      [](const Imath::Quatd& a, const Imath::Quatd& b, std::size_t) { return (b * a).normalized(); });
}
void ProductPlainEigen(benchmark::State& state) {
  overArrays<EigenQuats>(state, eigenA, eigenB,
                         [](const EigenQuat& a, const EigenQuat& b, std::size_t) { return b * a; });
}
void ProductPlainGlm(benchmark::State& state) {
  overArrays<GlmQuats>(state, glmA, glmB,
                       [](const glm::dquat& a, const glm::dquat& b, std::size_t) { return b * a; });
}
void ProductPlainImath(benchmark::State& state) {
  overArrays<ImathQuats>(state, imathA, imathB,
                         [](const Imath::Quatd& a, const Imath::Quatd& b, std::size_t) { return b * a; });
}

// Each product waits for the previous one, as along a chain of joints.
template <class Q, class Qs, class F>
void downAChain(benchmark::State& state, const Q& identity, const Qs& turns, F f) {
  for (auto _ : state) {
    Q q = identity;
    for (const Q& turn : turns) q = f(q, turn);
    benchmark::DoNotOptimize(q);
  }
  state.SetItemsProcessed(state.iterations() * count);
}
void ProductChainLimber(benchmark::State& state) {
  downAChain(state, Quat(), quatsB, [](const Quat& a, const Quat& b) { return a * b; });
}
void ProductChainEigen(benchmark::State& state) {
  downAChain(state, EigenQuat(1.0, 0.0, 0.0, 0.0), eigenB,
             [](const EigenQuat& a, const EigenQuat& b) { return (b * a).normalized(); });
}
void ProductChainGlm(benchmark::State& state) {
  downAChain(state, glm::dquat(1.0, 0.0, 0.0, 0.0), glmB,
             [](const glm::dquat& a, const glm::dquat& b) { return glm::normalize(b * a); });
}
void ProductChainImath(benchmark::State& state) {
  downAChain(state, Imath::Quatd(), imathB,
             [](const Imath::Quatd& a, const Imath::Quatd& b) { return (b * a).normalized(); });
}

void RotateLimber(benchmark::State& state) {
  overArrays<Points>(state, quatsA, points,
                     [](const Quat& q, const Pnt3& p, std::size_t) { return q.Rotate(p); });
}
void RotateEigen(benchmark::State& state) {
  overArrays<EigenPoints>(
      state, eigenA, eigenPoints,
      [](const EigenQuat& q, const Eigen::Vector3d& p, std::size_t) -> Eigen::Vector3d { return q * p; });
}
void RotateGlm(benchmark::State& state) {
  overArrays<GlmPoints>(state, glmA, glmPoints,
                        [](const glm::dquat& q, const glm::dvec3& p, std::size_t) { return q * p; });
}
void RotateImath(benchmark::State& state) {
  overArrays<ImathPoints>(
      state, imathA, imathPoints,
      [](const Imath::Quatd& q, const Imath::V3d& p, std::size_t) { return q.rotateVector(p); });
}

void SlerpLimber(benchmark::State& state) {
  overArrays<Quats>(state, quatsA, quatsB, [](const Quat& a, const Quat& b, std::size_t i) {
    Quat q;
    q.Slerp(a, b, times[i]);
    return q;
  });
}
void SlerpEigen(benchmark::State& state) {
  overArrays<EigenQuats>(state, eigenA, eigenB, [](const EigenQuat& a, const EigenQuat& b, std::size_t i) {
    return a.slerp(times[i], b);
  });
}
void SlerpGlm(benchmark::State& state) {
  overArrays<GlmQuats>(state, glmA, glmB, [](const glm::dquat& a, const glm::dquat& b, std::size_t i) {
    return glm::slerp(a, b, times[i]);
  });
}
void SlerpImath(benchmark::State& state) {
  overArrays<ImathQuats>(state, imathA, imathB,
                         [](const Imath::Quatd& a, const Imath::Quatd& b, std::size_t i) {
                           return Imath::slerpShortestArc(a, b, times[i]);
                         });
}

}  // namespace

BENCHMARK(ProductLimber);
BENCHMARK(ProductEigen);
BENCHMARK(ProductGlm);
BENCHMARK(ProductImath);
BENCHMARK(ProductPlainEigen);
BENCHMARK(ProductPlainGlm);
BENCHMARK(ProductPlainImath);
BENCHMARK(ProductChainLimber);
BENCHMARK(ProductChainEigen);
BENCHMARK(ProductChainGlm);
BENCHMARK(ProductChainImath);
BENCHMARK(RotateLimber);
BENCHMARK(RotateEigen);
BENCHMARK(RotateGlm);
BENCHMARK(RotateImath);
BENCHMARK(SlerpLimber);
BENCHMARK(SlerpEigen);
BENCHMARK(SlerpGlm);
BENCHMARK(SlerpImath);
