// A Gauss-Newton step of the motion editor.
//
// step: derivatives, matrix, solve and step on a clip of 1000 frames and 60 channels, against the same step
// with the matrix assembled in Eigen and solved with its SimplicialLLT (both take the derivatives by channel
// from the same skeleton). The arguments are position constraints a frame (three rows each) and frames
// between knots. Wanted: a ratio (ours / peer) of 0.5 or less.
//
// preconditioner: the first solve of the demo's edit, with the banded preconditioner against none. Wanted:
// 1/20 of the iterations, 1/3 of the time.
#include <benchmark/benchmark.h>

#include <Eigen/Sparse>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "bench/support/Ratio.h"
#include "edit.h"

namespace {

/// Six chains of three joints on a root: 60 channels.
Clip swayingClip(int frames) {
  Clip clip;
  const auto add = [&](const std::string& name, int parent, const Pnt3& offset, const char* positions) {
    Joint joint{name, parent, offset, {}, clip.channels, false};
    for (const char* axis = positions; *axis; axis++) joint.channels.push_back({*axis, false});
    for (const char axis : {'Z', 'X', 'Y'}) joint.channels.push_back({axis, true});
    clip.channels += static_cast<int>(joint.channels.size());
    clip.joints.push_back(joint);
    return static_cast<int>(clip.joints.size()) - 1;
  };
  const int root = add("Root", -1, Pnt3(0, 90, 0), "XYZ");
  for (int chain = 0; chain < 6; chain++) {
    int parent = root;
    for (int k = 0; k < 3; k++) {
      const Pnt3 bone(k == 0 ? 10.0 * chain - 25.0 : 2.0, chain < 3 ? -28.0 : 24.0, 3.0 * k);
      parent = add("Joint" + std::to_string(3 * chain + k), parent, bone, "");
    }
    clip.joints.push_back(
        {"End" + std::to_string(chain), parent, Pnt3(0, chain < 3 ? -20 : 20, 4), {}, clip.channels, true});
  }
  clip.frames = frames;
  clip.frameTime = 1.0 / 120.0;
  for (int f = 0; f < frames; f++) {
    for (int c = 0; c < clip.channels; c++) {
      clip.values.push_back((clip.channel(c).rotation ? 0.3 : 10.0) * std::sin(0.02 * f * (1 + c % 3) + c));
    }
  }
  return clip;
}

/// Joints and ends, `each` a frame, one to two centimetres from where they are.
std::vector<Constraint> wishesFor(const Clip& clip, int each) {
  const Skeleton skeleton(clip);
  std::vector<int> joints;
  for (int j = static_cast<int>(clip.joints.size()) - 1; j > 0; j--) {
    if (clip.joints[static_cast<std::size_t>(j)].endSite)
      joints.insert(joints.begin(), j);
    else if ((j - 1) % 4 == 2)
      joints.push_back(j);
  }
  std::vector<Constraint> wishes;
  for (int f = 0; f < clip.frames; f++) {
    for (int i = 0; i < each; i++) {
      const int joint = joints[static_cast<std::size_t>(i)];
      const Pnt3 shift(std::sin(0.05 * f + i), 1.0, std::cos(0.03 * f - i));
      wishes.push_back({f, joint, skeleton.position(joint, clip.frame(f)) + shift, 1.0});
    }
  }
  sortByFrame(&wishes);
  return wishes;
}

/// The same step in Eigen.
class PeerEdit {
 public:
  PeerEdit(const Clip& clip, const std::vector<Constraint>& constraints, const EditOptions& options,
           const Vector& weights)
      : clip_(clip),
        constraints_(constraints),
        skeleton_(clip),
        spline_(clip.frames, options.knotSpacing),
        weights_(Eigen::Map<const Eigen::VectorXd>(weights.data, weights.size())),
        jacobian_(3 * static_cast<int>(constraints.size()), weights.size()),
        residual_(jacobian_.rows()) {}

  /// Row by row in ascending order: the fastest way to fill a sparse matrix of Eigen.
  void linearize() {
    jacobian_.setZero();
    SpVec byChannel[3];
    int row = 0;
    for (const Constraint& wish : constraints_) {
      const Pnt3 miss = wish.target - skeleton_.position(wish.joint, clip_.frame(wish.frame), byChannel);
      const Spline::Basis basis = spline_.at(wish.frame);
      const double misses[3] = {miss.x, miss.y, miss.z};
      for (int axis = 0; axis < 3; axis++, row++) {
        const SpVec& slopes = byChannel[axis];
        jacobian_.startVec(row);
        for (int k = 0; k < 4; k++) {
          for (int e = 0; e < slopes.numEntries; e++) {
            jacobian_.insertBack(row, (basis.first + k) * clip_.channels + slopes.indices.data[e]) =
                wish.weight * basis.weight[k] * slopes.values.data[e];
          }
        }
        residual_[row] = wish.weight * misses[axis];
      }
    }
    jacobian_.finalize();
  }

  const Eigen::VectorXd& solve(double relativeDamping) {
    const Eigen::SparseMatrix<double, Eigen::RowMajor> weighted = jacobian_ * weights_.asDiagonal();
    Eigen::SparseMatrix<double> normal = weighted * jacobian_.transpose();
    const double damping = relativeDamping * normal.diagonal().sum() / static_cast<double>(normal.rows());
    for (int i = 0; i < normal.rows(); i++) normal.coeffRef(i, i) += damping;
    solver_.compute(normal);
    step_ = weights_.asDiagonal() * (jacobian_.transpose() * solver_.solve(residual_));
    return step_;
  }

 private:
  const Clip& clip_;
  const std::vector<Constraint>& constraints_;
  const Skeleton skeleton_;
  const Spline spline_;
  Eigen::VectorXd weights_;
  Eigen::SparseMatrix<double, Eigen::RowMajor> jacobian_;
  Eigen::VectorXd residual_, step_;
  Eigen::SimplicialLLT<Eigen::SparseMatrix<double>> solver_;
};

void step(benchmark::State& state) {
  const Clip start = swayingClip(1000);
  const std::vector<Constraint> wishes = wishesFor(start, static_cast<int>(state.range(0)));
  EditOptions options;
  options.knotSpacing = static_cast<int>(state.range(1));
  Clip clip = start;
  Edit edit(&clip, wishes, options);
  PeerEdit peer(start, wishes, options, edit.weights());
  const auto ours = [&] {
    edit.linearize(options.damping);
    if (edit.solve(EditOptions::Banded, 1e-8) < 0) std::abort();
  };
  const auto theirs = [&] {
    peer.linearize();
    peer.solve(options.damping);
  };
  ours();
  theirs();
  const Eigen::Map<const Eigen::VectorXd> mine(edit.step().data, edit.step().size());
  const double apart = (mine - peer.solve(options.damping)).norm() / mine.norm();
  if (!(apart < 1e-6)) {
    std::fprintf(stderr, "the steps differ by %g\n", apart);
    std::abort();
  }
  for (auto _ : state) {
    const Turns turns = byTurns(state.range(0) > 6 ? 3 : 7, 1, ours, theirs);
    state.counters["ours_ms"] = turns.ours * 1e-6;
    state.counters["peer_ms"] = turns.peer * 1e-6;
    state.counters["ratio"] = turns.ratio;
  }
}
BENCHMARK(step)->Args({4, 4})->Args({12, 4})->Args({12, 1})->Iterations(1)->Unit(benchmark::kMillisecond);

void preconditioner(benchmark::State& state) {
  const Clip start = readClip(LIMBER_EXAMPLE_DATA "/walk.bvh", nullptr);
  std::vector<Constraint> wishes =
      readConstraints(LIMBER_EXAMPLE_DATA "/walk_constraints.txt", nullptr, start, Skeleton(start));
  sortByFrame(&wishes);
  const EditOptions options;
  Clip clip = start;
  Edit edit(&clip, wishes, options);
  edit.linearize(options.damping);
  int banded = 0, none = 0;
  for (auto _ : state) {
    const Turns turns = byTurns(
        7, 1, [&] { banded = edit.solve(EditOptions::Banded, 1e-8); },
        [&] { none = edit.solve(EditOptions::None, 1e-8); });
    state.counters["ours_ms"] = turns.ours * 1e-6;
    state.counters["peer_ms"] = turns.peer * 1e-6;
    state.counters["ratio"] = turns.ratio;
  }
  if (banded <= 0 || none <= 0) std::abort();
  state.counters["iterations"] = banded;
  state.counters["peer_iterations"] = none;
}
BENCHMARK(preconditioner)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
