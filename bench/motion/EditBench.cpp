// The smooth edit.
//
// step: forms, factors and solves the system R + J^T W J of one Gauss-Newton step, with 1000 frames, 60
// channels and 12 constraint rows a frame. The peer is Eigen's SimplicialLDLT with the same J and R. The
// argument is 1 with the third-derivative term of the measure and 0 without it; an edit has stages of both
// kinds. The goal is a ratio (ours / peer) of at most 1/3, with the same step.
//
// edit: the whole edit with its report, of 1000 and of 10000 frames. The goals are 1 s, and 12 times that.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <Eigen/Sparse>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/support/Ratio.h"
#include "bench/support/SwayingClip.h"
#include "limber_motion/motion.h"

using namespace limber::motion;

namespace {

using Sparse = Eigen::SparseMatrix<double>;

// The rows of J, from the same derivatives.
Sparse sparseOf(const Skeleton& skeleton, const Clip& clip, const std::vector<Constraint>& constraints) {
  std::vector<Eigen::Triplet<double>> entries;
  Pose pose;
  int row = 0;
  for (const Constraint& constraint : constraints) {
    skeleton.pose(clip.frame(constraint.frame), &pose);
    for (const int c : skeleton.chain(constraint.joint)) {
      Pnt3 slope = skeleton.derivative(pose, constraint.joint, c);
      for (int axis = 0; axis < 3; ++axis) {
        entries.emplace_back(row + axis, constraint.frame * clip.channels + c, slope.v()[axis]);
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
  const Clip clip = swaying::clipOf(1000);
  const Skeleton skeleton(clip);
  const std::vector<Constraint> constraints = swaying::constraintsFor(clip);
  // Only the channels that move a held joint, as in the edit. The peer's ordering finds the others by itself.
  std::vector<int> channels;
  for (int c = 0; c < clip.channels; ++c) {
    const auto moves = [&](const Constraint& w) {
      const std::vector<int>& chain = skeleton.chain(w.joint);
      return std::find(chain.begin(), chain.end(), c) != chain.end();
    };
    if (std::any_of(constraints.begin(), constraints.begin() + 4, moves)) channels.push_back(c);
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
  for (const Constraint& w : constraints) list.push_back({w.frame, w.joint, w.target, weight, false, false});
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
    const Sparse jacobian = sparseOf(skeleton, clip, constraints);
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
  const Clip start = swaying::clipOf(static_cast<int>(state.range(0)));
  const std::vector<Constraint> constraints = swaying::constraintsFor(start);
  Report report;
  for (auto _ : state) {
    Clip clip = start;
    Edit edit(clip);
    edit.add(constraints);
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
