// Matrices: Limber and its peers Eigen, GLM and Imath on the same values. All except GLM store rows; Limber
// and Imath act on row vectors.
#include <benchmark/benchmark.h>

#include <Eigen/LU>
#include <array>

#include "bench/geometry/Peers.h"
#include "limber/linalg/detail/GaussJordan.h"

namespace {

template <class T>
using Array = std::vector<T, Eigen::aligned_allocator<T>>;

template <class Out, class A, class B, class F>
void overArrays(benchmark::State& state, const A& a, const B& b, F f) {
  Array<Out> out(a.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < a.size(); ++i) f(a[i], b[i], out[i]);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

template <class M>
struct Inputs {
  std::vector<M> a, b;
  decltype(allToEigen(a)) eigenA = allToEigen(a), eigenB = allToEigen(b);
  decltype(allToGlm(a)) glmA = allToGlm(a), glmB = allToGlm(b);
  decltype(allToImath(a)) imathA = allToImath(a), imathB = allToImath(b);
};

const Inputs<Matrix3x3> in3{random3x3(5), random3x3(6)};
const Inputs<Matrix4x4> in4{random4x4(7), random4x4(8)};
const std::vector<Pnt3> points = randomPoints(9);
const auto eigenPoints = allToEigen(points);
const auto glmPoints = allToGlm(points);
const auto imathPoints = allToImath(points);

template <class M>
void productLimber(benchmark::State& state, const Inputs<M>& in) {
  overArrays<M>(state, in.a, in.b, [](const M& a, const M& b, M& c) { multMatrix(&a, &b, &c); });
}
template <class M>
void productEigen(benchmark::State& state, const Inputs<M>& in) {
  using E = std::decay_t<decltype(in.eigenA[0])>;
  overArrays<E>(state, in.eigenA, in.eigenB, [](const E& a, const E& b, E& c) { c.noalias() = a * b; });
}
template <class M>
void productGlm(benchmark::State& state, const Inputs<M>& in) {
  using G = std::decay_t<decltype(in.glmA[0])>;
  overArrays<G>(state, in.glmA, in.glmB, [](const G& a, const G& b, G& c) { c = b * a; });
}
template <class M>
void productImath(benchmark::State& state, const Inputs<M>& in) {
  using I = std::decay_t<decltype(in.imathA[0])>;
  overArrays<I>(state, in.imathA, in.imathB, [](const I& a, const I& b, I& c) { c = a * b; });
}

void Product3Limber(benchmark::State& state) { productLimber(state, in3); }
void Product3Eigen(benchmark::State& state) { productEigen(state, in3); }
void Product3Glm(benchmark::State& state) { productGlm(state, in3); }
void Product3Imath(benchmark::State& state) { productImath(state, in3); }
void Product4Limber(benchmark::State& state) { productLimber(state, in4); }
void Product4Eigen(benchmark::State& state) { productEigen(state, in4); }
void Product4Glm(benchmark::State& state) { productGlm(state, in4); }
void Product4Imath(benchmark::State& state) { productImath(state, in4); }

// A point through the first three columns of a general 4x4. Imath's product of a vector and a matrix divides
// by w, and its multDirMatrix does not translate. Adding the translation to the latter gives what the others
// compute.
void PointLimber(benchmark::State& state) {
  overArrays<Pnt3>(state, in4.a, points,
                   [](const Matrix4x4& m, const Pnt3& p, Pnt3& out) { out = transformMatrix(&m, p); });
}
void PointEigen(benchmark::State& state) {
  overArrays<Eigen::RowVector3d>(state, in4.eigenA, eigenPoints,
                                 [](const EigenRow4& m, const Eigen::Vector3d& p, Eigen::RowVector3d& out) {
                                   out.noalias() = p.transpose() * m.topLeftCorner<3, 3>();
                                   out += m.block<1, 3>(3, 0);
                                 });
}
void PointGlm(benchmark::State& state) {
  overArrays<glm::dvec3>(state, in4.glmA, glmPoints,
                         [](const glm::dmat4& m, const glm::dvec3& p, glm::dvec3& out) {
                           out = glm::dvec3(m * glm::dvec4(p, 1.0));
                         });
}
void PointImath(benchmark::State& state) {
  overArrays<Imath::V3d>(state, in4.imathA, imathPoints,
                         [](const Imath::M44d& m, const Imath::V3d& p, Imath::V3d& out) {
                           m.multDirMatrix(p, out);
                           out += m.translation();
                         });
}

void Inverse4Limber(benchmark::State& state) {
  overArrays<Matrix4x4>(state, in4.a, in4.a, [](const Matrix4x4& m, const Matrix4x4&, Matrix4x4& out) {
    out = m;
    benchmark::DoNotOptimize(invertMatrix(&out, 0));
  });
}
// The most common matrices, whose pivots tie, inverted by the fastest way on this machine and by the plain
// elimination.
const Array<Matrix4x4>& commonMatrices(int kind) {
  static const auto all = [] {
    std::array<Array<Matrix4x4>, 6> kinds;
    const std::vector<Pnt3> shifts = randomPoints(12);
    const std::vector<Quat> turns = randomQuats(13);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      Matrix4x4 identity, translation, axis, scale, rigid;
      transMatrix(&translation, shifts[i].x, shifts[i].y, shifts[i].z);
      rotMatrix(&axis, "xyz"[i % 3], 3.0 * shifts[i].x);
      scale.m[0][0] = scale.m[1][1] = scale.m[2][2] = 2.0 + shifts[i].x;
      quaternionMatrix(turns[i].w, turns[i].x, turns[i].y, turns[i].z, &rigid);
      shifts[i].toArray(rigid.m[3]);
      const Matrix4x4 row[6] = {identity, translation, axis, scale, rigid, in4.a[i]};
      for (std::size_t k = 0; k < 6; ++k) kinds[k].push_back(row[k]);
    }
    return kinds;
  }();
  return all[static_cast<std::size_t>(kind)];
}
void labelKind(benchmark::State& state) {
  static const char* const names[] = {"identity",      "translation", "axis rotation",
                                      "uniform scale", "rigid",       "general"};
  state.SetLabel(names[state.range(0)]);
}
void Inverse4CommonLimber(benchmark::State& state) {
  const auto& in = commonMatrices(static_cast<int>(state.range(0)));
  overArrays<Matrix4x4>(state, in, in, [](const Matrix4x4& m, const Matrix4x4&, Matrix4x4& out) {
    out = m;
    benchmark::DoNotOptimize(invertMatrix(&out, 0));
  });
  labelKind(state);
}
void Inverse4CommonPlain(benchmark::State& state) {
  const auto& in = commonMatrices(static_cast<int>(state.range(0)));
  overArrays<Matrix4x4>(state, in, in, [](const Matrix4x4& m, const Matrix4x4&, Matrix4x4& out) {
    out = m;
    limber::detail::GaussJordanWatcher watcher;
    limber::detail::gaussJordanFixed<4>(&out.m[0][0], 4, watcher);
  });
  labelKind(state);
}
void Inverse4EigenUnpivoted(benchmark::State& state) {
  overArrays<EigenRow4>(state, in4.eigenA, in4.eigenA,
                        [](const EigenRow4& m, const EigenRow4&, EigenRow4& out) { out = m.inverse(); });
}
// A copy and an inversion in place, as Limber's interface requires.
void Inverse4EigenUnpivotedInPlace(benchmark::State& state) {
  overArrays<EigenRow4>(state, in4.eigenA, in4.eigenA,
                        [](const EigenRow4& m, const EigenRow4&, EigenRow4& out) {
                          out = m;
                          benchmark::DoNotOptimize(out);
                          out = out.inverse().eval();
                        });
}
void Inverse4EigenFullPivoting(benchmark::State& state) {
  overArrays<EigenRow4>(
      state, in4.eigenA, in4.eigenA,
      [](const EigenRow4& m, const EigenRow4&, EigenRow4& out) { out = m.fullPivLu().inverse(); });
}
void Inverse4ImathPivoting(benchmark::State& state) {
  overArrays<Imath::M44d>(
      state, in4.imathA, in4.imathA,
      [](const Imath::M44d& m, const Imath::M44d&, Imath::M44d& out) { out = m.gjInverse(); });
}

}  // namespace

BENCHMARK(Product3Limber);
BENCHMARK(Product3Eigen);
BENCHMARK(Product3Glm);
BENCHMARK(Product3Imath);
BENCHMARK(Product4Limber);
BENCHMARK(Product4Eigen);
BENCHMARK(Product4Glm);
BENCHMARK(Product4Imath);
BENCHMARK(PointLimber);
BENCHMARK(PointEigen);
BENCHMARK(PointGlm);
BENCHMARK(PointImath);
BENCHMARK(Inverse4Limber);
BENCHMARK(Inverse4CommonLimber)->DenseRange(0, 5);
BENCHMARK(Inverse4CommonPlain)->DenseRange(0, 5);
BENCHMARK(Inverse4EigenUnpivoted);
BENCHMARK(Inverse4EigenUnpivotedInPlace);
BENCHMARK(Inverse4EigenFullPivoting);
BENCHMARK(Inverse4ImathPivoting);
