// The smooth edit.
//
// step: one Gauss-Newton step's system, R + J^T W J of 1000 frames, 60 channels and 12 constraint rows a
// frame: formed, factored and solved by us, and by Eigen's SimplicialLDLT from the same J and R. The argument
// is the measure's third-derivative term (1 with, 0 without: the two kinds of stage of an edit). Wanted: a
// ratio (ours / peer) of 1/3 or less, and the same step.
//
// edit: the whole edit, report included, of 1000 and of 10000 frames. Wanted: 1 s at most, and 12 times that.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <Eigen/Sparse>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/support/Ratio.h"
#include "limber_motion/motion.h"

using namespace limber::motion;

namespace {

// Six chains of three joints on a root: 60 channels.
Clip swayingClip(int frames) {
  Clip clip;
  const auto add = [&](const std::string& name, int parent, const Pnt3& offset, const char* positions) {
    Joint joint{name, parent, offset, {}, clip.channels, false};
    for (const char* axis = positions; *axis; ++axis) joint.channels.push_back({*axis, false});
    for (const char axis : {'Z', 'X', 'Y'}) joint.channels.push_back({axis, true});
    clip.channels += static_cast<int>(joint.channels.size());
    clip.joints.push_back(joint);
    return static_cast<int>(clip.joints.size()) - 1;
  };
  const int root = add("Root", -1, Pnt3(0, 90, 0), "XYZ");
  for (int chain = 0; chain < 6; ++chain) {
    int parent = root;
    for (int k = 0; k < 3; ++k) {
      const Pnt3 bone(k == 0 ? 10.0 * chain - 25.0 : 2.0, chain < 3 ? -28.0 : 24.0, 3.0 * k);
      parent = add("Joint" + std::to_string(3 * chain + k), parent, bone, "");
    }
    clip.joints.push_back(
        {"End" + std::to_string(chain), parent, Pnt3(0, chain < 3 ? -20 : 20, 4), {}, clip.channels, true});
  }
  clip.frames = frames;
  clip.frameTime = 1.0 / 120.0;
  for (int f = 0; f < frames; ++f) {
    for (int c = 0; c < clip.channels; ++c) {
      clip.values.push_back((clip.channel(c).rotation ? 0.3 : 10.0) * std::sin(0.02 * f * (1 + c % 3) + c));
    }
  }
  return clip;
}

// Four ends of the skeleton in each frame, a hundredth of the height from where they are: 12 rows.
std::vector<Constraint> wishesFor(const Clip& clip) {
  const Skeleton skeleton(clip);
  std::vector<Constraint> wishes;
  for (int f = 0; f < clip.frames; ++f) {
    int found = 0;
    for (int j = 0; j < skeleton.joints() && found < 4; ++j) {
      if (!clip.joints[static_cast<std::size_t>(j)].endSite) continue;
      const Pnt3 shift(std::sin(0.05 * f + j), 1.0, std::cos(0.03 * f - j));
      wishes.push_back({f, j, skeleton.position(j, clip.frame(f)) + shift, 1.0});
      ++found;
    }
  }
  sortByFrame(&wishes);
  return wishes;
}

using Sparse = Eigen::SparseMatrix<double>;

// The rows of J, from the same derivatives.
Sparse sparseOf(const Skeleton& skeleton, const Clip& clip, const std::vector<Constraint>& wishes) {
  std::vector<Eigen::Triplet<double>> entries;
  Pose pose;
  int row = 0;
  for (const Constraint& wish : wishes) {
    skeleton.pose(clip.frame(wish.frame), &pose);
    for (const int c : skeleton.chain(wish.joint)) {
      Pnt3 slope = skeleton.derivative(pose, wish.joint, c);
      for (int axis = 0; axis < 3; ++axis) {
        entries.emplace_back(row + axis, wish.frame * clip.channels + c, slope.v()[axis]);
      }
    }
    row += 3;
  }
  Sparse jacobian(row, clip.frames * clip.channels);
  jacobian.setFromTriplets(entries.begin(), entries.end());
  return jacobian;
}

Sparse sparseOf(const Smoothness& measure) {
  std::vector<Eigen::Triplet<double>> entries;
  const int n = measure.channels();
  for (int i = 0; i < measure.height(); ++i) {
    for (int k = -3; k <= 3; ++k) {
      const int j = i + k * n;
      if (j >= 0 && j < measure.width() && measure.acc(i, j) != 0.0)
        entries.emplace_back(i, j, measure.acc(i, j));
    }
  }
  Sparse matrix(measure.height(), measure.width());
  matrix.setFromTriplets(entries.begin(), entries.end());
  return matrix;
}

void step(benchmark::State& state) {
  const Clip clip = swayingClip(1000);
  const Skeleton skeleton(clip);
  const std::vector<Constraint> wishes = wishesFor(clip);
  // As the edit does: only channels that move a held joint. The peer's ordering finds the others itself.
  std::vector<int> channels;
  for (int c = 0; c < clip.channels; ++c) {
    const auto moves = [&](const Constraint& w) {
      const std::vector<int>& chain = skeleton.chain(w.joint);
      return std::find(chain.begin(), chain.end(), c) != chain.end();
    };
    if (std::any_of(wishes.begin(), wishes.begin() + 4, moves)) channels.push_back(c);
  }
  const std::vector<double> masses = channelMasses(clip, skeleton, jointStiffness(clip, skeleton));
  std::vector<double> picked;
  for (const int c : channels) picked.push_back(masses[static_cast<std::size_t>(c)]);
  const double smooth = 0.16, weight = 1e5 / (skeleton.height() * skeleton.height());
  const double round = state.range(0) ? 0.75 * smooth : 0.0;
  const Smoothness measure(clip.frames, picked, clip.frameTime, smooth, round);
  const Curves curves(clip.frames, 0);
  Holds holds(skeleton, curves, channels);
  std::vector<Hold> list;
  for (const Constraint& w : wishes) list.push_back({w.frame, w.joint, w.target, weight, false, false});
  const Vector none(measure.height());
  Vector step(0);
  const auto ours = [&] {
    holds.linearize(list, clip);
    StepSystem system(measure, holds, 0.0);
    if (!system.factored()) std::abort();
    system.solve(none, 1, &step);
  };
  const Sparse size = sparseOf(Smoothness(clip.frames, masses, clip.frameTime, smooth, round));
  Eigen::SimplicialLDLT<Sparse> solver;
  Eigen::VectorXd theirStep;
  const auto theirs = [&] {
    const Sparse jacobian = sparseOf(skeleton, clip, wishes);
    const Sparse normal = size + Sparse(weight * Sparse(jacobian.transpose()) * jacobian);
    solver.compute(normal);
    const Eigen::Map<const Eigen::VectorXd> misses(holds.misses().data, holds.misses().size());
    theirStep = solver.solve(weight * (jacobian.transpose() * misses));
  };
  ours();
  theirs();
  const Eigen::Map<const Eigen::VectorXd> mine(step.data, step.size());
  Eigen::VectorXd theirPart(mine.size());
  for (int i = 0; i < mine.size(); ++i) {
    const int n = static_cast<int>(channels.size());
    theirPart[i] = theirStep[i / n * clip.channels + channels[static_cast<std::size_t>(i % n)]];
  }
  const double apart = (mine - theirPart).norm() / theirStep.norm();
  if (!(apart < 1e-6)) {
    std::fprintf(stderr, "the steps differ by %g\n", apart);
    std::abort();
  }
  for (auto _ : state) {
    const Turns turns = byTurns(3, 1, ours, theirs);
    state.counters["ours_ms"] = turns.ours * 1e-6;
    state.counters["peer_ms"] = turns.peer * 1e-6;
    state.counters["ratio"] = turns.ratio;
  }
}
BENCHMARK(step)->Arg(1)->Arg(0)->Iterations(1)->Unit(benchmark::kMillisecond);

void edit(benchmark::State& state) {
  const Clip start = swayingClip(static_cast<int>(state.range(0)));
  const std::vector<Constraint> wishes = wishesFor(start);
  Report report;
  for (auto _ : state) {
    Clip clip = start;
    Edit edit(clip);
    edit.add(wishes);
    report = edit.solve();
  }
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["steps"] = static_cast<double>(report.steps.size());
  state.counters["miss"] = report.missAfter;
  state.counters["process_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}
BENCHMARK(edit)->Arg(1000)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
