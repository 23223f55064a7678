// Compares derivative blocks with formulas fused by hand, and Z-X-Y angles from a matrix with Imath's Euler
// extraction.
#include <Imath/ImathEuler.h>
#include <benchmark/benchmark.h>

#include "bench/geometry/Peers.h"
#include "bench/support/Ratio.h"
#include "limber/geometry/Rotation.h"

namespace {

void report(benchmark::State& state, const Turns& t) {
  state.counters["ours_ns"] = t.ours / count;
  state.counters["peer_ns"] = t.peer / count;
  state.counters["ratio"] = t.ratio;
}

// All 36 entries of the quaternion's derivative in one straight line.
void fusedQuaternion(const double* p, double* o) {
  const double w = p[0], x = p[1], y = p[2], z = p[3];
  const double s = 1.0 / (w * w + x * x + y * y + z * z), t = 2.0 * s, k = 2.0 * t * s;
  const double a = k * (y * y + z * z), b = k * (x * y + w * z), c = k * (x * z - w * y);
  const double d = k * (x * y - w * z), e = k * (x * x + z * z), f = k * (y * z + w * x);
  const double g = k * (x * z + w * y), h = k * (y * z - w * x), i = k * (x * x + y * y);
  const double tw = t * w, tx = t * x, ty = t * y, tz = t * z;
  o[0] = w * a, o[1] = tz - w * b, o[2] = -ty - w * c, o[3] = -tz - w * d, o[4] = w * e, o[5] = tx - w * f;
  o[6] = ty - w * g, o[7] = -tx - w * h, o[8] = w * i;
  o[9] = x * a, o[10] = ty - x * b, o[11] = tz - x * c, o[12] = ty - x * d, o[13] = x * e - 2 * tx,
  o[14] = tw - x * f;
  o[15] = tz - x * g, o[16] = -tw - x * h, o[17] = x * i - 2 * tx;
  o[18] = y * a - 2 * ty, o[19] = tx - y * b, o[20] = -tw - y * c, o[21] = tx - y * d, o[22] = y * e,
  o[23] = tz - y * f;
  o[24] = tw - y * g, o[25] = tz - y * h, o[26] = y * i - 2 * ty;
  o[27] = z * a - 2 * tz, o[28] = tw - z * b, o[29] = tx - z * c, o[30] = -tw - z * d, o[31] = z * e - 2 * tz;
  o[32] = ty - z * f, o[33] = tx - z * g, o[34] = ty - z * h, o[35] = z * i;
}

// All 27 entries of the derivative of Y(p2) X(p1) Z(p0) in one straight line.
void fusedZXY(const double* p, double* o) {
  const double cz = std::cos(p[0]), sz = std::sin(p[0]), cx = std::cos(p[1]), sx = std::sin(p[1]);
  const double cy = std::cos(p[2]), sy = std::sin(p[2]), szsx = sz * sx, czsx = cz * sx, szcx = sz * cx,
               czcx = cz * cx;
  o[0] = -sz * cy - czsx * sy, o[1] = cz * cy - szsx * sy, o[2] = 0, o[3] = -czcx, o[4] = -szcx, o[5] = 0;
  o[6] = czsx * cy - sz * sy, o[7] = cz * sy + szsx * cy, o[8] = 0;
  o[9] = -szcx * sy, o[10] = czcx * sy, o[11] = sx * sy, o[12] = szsx, o[13] = -czsx, o[14] = cx;
  o[15] = szcx * cy, o[16] = -czcx * cy, o[17] = -sx * cy;
  o[18] = -cz * sy - szsx * cy, o[19] = czsx * cy - sz * sy, o[20] = -cx * cy, o[21] = 0, o[22] = 0,
  o[23] = 0;
  o[24] = cz * cy - szsx * sy, o[25] = sz * cy + czsx * sy, o[26] = -cx * sy;
}

template <class Fused>
void derivative(benchmark::State& state, RotHelper* format, int params, Fused fused) {
  std::vector<double> p = randomNumbers(params * count, 1);
  std::vector<double> ours(static_cast<std::size_t>(9 * params * count)), peer(ours);
  for (auto _ : state) {
    const Turns t = byTurns(
        51, 20,
        [&] {
          for (int i = 0; i < count; ++i)
            format->matrixDeriv(&p[static_cast<std::size_t>(params * i)],
                                &ours[static_cast<std::size_t>(9 * params * i)]);
          benchmark::DoNotOptimize(ours.data());
        },
        [&] {
          for (int i = 0; i < count; ++i)
            fused(&p[static_cast<std::size_t>(params * i)], &peer[static_cast<std::size_t>(9 * params * i)]);
          benchmark::DoNotOptimize(peer.data());
        });
    report(state, t);
  }
  for (std::size_t i = 0; i < ours.size(); ++i)
    if (!(std::fabs(ours[i] - peer[i]) <= 1e-9 * (1.0 + std::fabs(peer[i]))))
      state.SkipWithError("the two differ");
}

void quaternionDerivative(benchmark::State& state) { derivative(state, qRot, 4, fusedQuaternion); }
void zxyDerivative(benchmark::State& state) { derivative(state, zxyRot, 3, fusedZXY); }

// The same rotations as Limber's and as Imath's matrices. Both act on row vectors.
template <class Ours, class Peer>
void extraction(benchmark::State& state, Ours ours, Peer peer) {
  const std::vector<double> p = randomNumbers(3 * count, 2);
  std::vector<Matrix4x4> wide(count);
  std::vector<Matrix3x3> narrow(count);
  std::vector<double> angles(3 * count), theirs(3 * count);
  for (std::size_t i = 0; i < count; ++i) {
    makeRot(p[3 * i] * 1.5, p[3 * i + 1] * 3, p[3 * i + 2] * 3, &wide[i]);
    double zxy[3] = {p[3 * i + 2] * 3, p[3 * i] * 1.5, p[3 * i + 1] * 3};
    zxyRot->toMatrix(zxy, &narrow[i]);
  }
  const auto imath = allToImath(wide);
  for (auto _ : state) {
    const Turns t = byTurns(
        51, 20,
        [&] {
          for (std::size_t i = 0; i < count; ++i) ours(wide[i], narrow[i], &angles[3 * i]);
          benchmark::DoNotOptimize(angles.data());
        },
        [&] {
          for (std::size_t i = 0; i < count; ++i) peer(imath[i], &theirs[3 * i]);
          benchmark::DoNotOptimize(theirs.data());
        });
    report(state, t);
  }
}

// Y first, then X, then Z in row-vector order.
void imathExtract(const Imath::M44d& m, double* angles) {
  Imath::Eulerd e(Imath::Eulerd::YXZ);
  e.extract(m);
  angles[0] = e.x, angles[1] = e.y, angles[2] = e.z;
}

void factorZXYOfMatrix(benchmark::State& state) {
  extraction(
      state,
      [](Matrix4x4& m, Matrix3x3&, double* a) {
        benchmark::DoNotOptimize(factorZXY(&m, 0, 0, a[0], a[1], a[2], 0));
      },
      imathExtract);
}
void zxyFromMatrix(benchmark::State& state) {
  extraction(
      state, [](Matrix4x4&, Matrix3x3& m, double* a) { zxyRot->fromMatrix(&m, a); }, imathExtract);
}

}  // namespace

BENCHMARK(quaternionDerivative)->Iterations(1);
BENCHMARK(zxyDerivative)->Iterations(1);
BENCHMARK(factorZXYOfMatrix)->Iterations(1);
BENCHMARK(zxyFromMatrix)->Iterations(1);
