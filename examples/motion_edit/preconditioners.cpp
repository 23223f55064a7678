#include "preconditioners.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <deque>

#include "limber/limber.h"

namespace {

using namespace limber::motion;

constexpr double firmness = 1e4;   // weight of a constraint, per height^2
constexpr double accuracy = 1e-8;  // largest relative residual
constexpr int mostIterations = 400;

ResizeMatrix bandOf(const Smoothness& measure, const Holds* holds) {
  const int kd = std::max(measure.halfBandwidth(), holds ? holds->halfBandwidth() : 0);
  ResizeMatrix band(measure.height(), kd + 1);
  measure.addTo(1.0, &band);
  if (holds) holds->addSquareTo(&band);
  cholFactorBanded(&band);
  return band;
}

// The matrix J R^-1 J^T + W^-1. It is never formed.
class DualSystem : public SpMat {
 public:
  DualSystem(const Smoothness& measure, const Holds& holds)
      : holds_(holds), factor_(bandOf(measure, nullptr)) {}

  int height() const override { return holds_.height(); }
  int width() const override { return holds_.height(); }
  void mult(const Vector* x, Vector* y) const override {
    Vector forces(0);
    holds_.multT(x, &forces);
    cholSolveBanded(&factor_, &forces);
    holds_.mult(&forces, y);
    for (int i = 0; i < height(); ++i)
      (*y)[i] += (*x)[i] / holds_.list()[static_cast<std::size_t>(i / 3)].weight;
  }
  void multT(const Vector* x, Vector* y) const override { mult(x, y); }
  // The element (i, j), computed by a product. This is slow, but the solver does not use it.
  double acc(int i, int j) const override {
    Vector unit(height()), column(0);
    unit[j] = 1.0;
    mult(&unit, &column);
    return column[i];
  }

 private:
  const Holds& holds_;
  mutable ResizeMatrix factor_;  // the functions that solve with it need a non-const matrix
};

// (J R^-1 J^T + W^-1)^-1 = W - W J (R + J^T W J)^-1 J^T W, computed with the factor that the edit uses
// (Woodbury 1950).
class PrimalFactor : public Preconditioner {
 public:
  PrimalFactor(const Smoothness& measure, const Holds& holds)
      : holds_(holds), factor_(bandOf(measure, &holds)) {}

  void solve(const Vector* r, Vector* z) override {
    Vector pulls(*r), change(0);
    weigh(&pulls);
    holds_.multT(&pulls, &change);
    cholSolveBanded(&factor_, &change);
    holds_.mult(&change, z);
    *z *= -1.0;
    *z += *r;
    weigh(z);
  }

 private:
  void weigh(Vector* v) const {
    for (int i = 0; i < holds_.height(); ++i)
      (*v)[i] *= holds_.list()[static_cast<std::size_t>(i / 3)].weight;
  }

  const Holds& holds_;
  ResizeMatrix factor_;
};

int record(int, double rsq, void* data) {
  std::vector<double>& residuals = *static_cast<std::vector<double>*>(data);
  residuals.push_back(std::sqrt(rsq));
  return residuals.size() >= mostIterations;
}

// The channels that move a constrained joint, in ascending order.
std::vector<int> channelsOf(const Skeleton& skeleton, const std::vector<Constraint>& constraints) {
  std::vector<int> channels;
  for (const Constraint& constraint : constraints) {
    const std::vector<int>& chain = skeleton.chain(constraint.joint);
    channels.insert(channels.end(), chain.begin(), chain.end());
  }
  std::sort(channels.begin(), channels.end());
  channels.erase(std::unique(channels.begin(), channels.end()), channels.end());
  return channels;
}

// Copies the rows of J in the form that the library's preconditioners need.
void copyRows(const Holds& holds, const Skeleton& skeleton, const std::vector<int>& channels,
              std::deque<SpVec>* storage, HSpMat* rows) {
  for (int i = 0; i < holds.height(); ++i) {
    storage->emplace_back();
    const Hold& hold = holds.list()[static_cast<std::size_t>(i / 3)];
    for (const int c : skeleton.chain(hold.joint)) {
      const auto place = std::lower_bound(channels.begin(), channels.end(), c) - channels.begin();
      const int j = hold.frame * static_cast<int>(channels.size()) + static_cast<int>(place);
      storage->back().insEnd(holds.acc(i, j), j);
    }
    rows->add(&storage->back());
  }
}

// Solves the system with the preconditioner that `make` constructs.
template <class Make>
Convergence converge(const char* name, DualSystem& system, Vector misses, Make make) {
  Convergence run = {name, {}, 0.0};
  const auto begun = std::chrono::steady_clock::now();
  auto preconditioner = make();
  const CGTuning tuning(accuracy, misses);
  cg_observer = record;
  cg_observerData = &run.residuals;
  Vector x(misses.size());
  double rsq, rsqOut;
  int iterations;
  CGIStatus status;
  mcgradI(&system, &x, &misses, rsq, rsqOut, iterations, status, multFunA, &preconditioner);
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
  for (double& residual : run.residuals) residual /= misses.mag();
  return run;
}

}  // namespace

std::vector<Convergence> comparePreconditioners(const Clip& original,
                                                const std::vector<Constraint>& constraints,
                                                const EditOptions& options) {
  Clip clip = original;
  unwrapAngles(&clip);
  const Skeleton skeleton(clip);
  const std::vector<int> channels = channelsOf(skeleton, constraints);
  const std::vector<double> all =
      channelMasses(clip, skeleton, jointStiffness(clip, skeleton, options.stiffness));
  std::vector<double> masses;
  for (const int c : channels) masses.push_back(all[static_cast<std::size_t>(c)]);
  const Smoothness measure(clip.frames, masses, clip.frameTime, options.smooth, 0.75 * options.smooth);
  const Curves curves(clip.frames, 0);
  Holds holds(skeleton, curves, channels);
  std::vector<Hold> list;
  const double weight = firmness / (skeleton.height() * skeleton.height());
  for (const Constraint& constraint : constraints) {
    list.push_back({constraint.frame, constraint.joint, constraint.target,
                    weight * constraint.weight * constraint.weight, false, false});
  }
  holds.linearize(list, clip);

  std::deque<SpVec> storage;
  HSpMat rows(0);
  copyRows(holds, skeleton, channels, &storage, &rows);
  Vector spread(measure.height()), damping(holds.height());  // the diagonals of R^-1 and W^-1
  for (int i = 0; i < spread.size(); ++i) {
    spread[i] = measure.flexibility() / masses[static_cast<std::size_t>(i) % masses.size()];
  }
  for (int i = 0; i < damping.size(); ++i) damping[i] = 1.0 / list[static_cast<std::size_t>(i / 3)].weight;

  DualSystem system(measure, holds);
  const Vector misses(holds.misses());
  return {converge("none", system, misses, [] { return Preconditioner(); }),
          converge("diagonal", system, misses, [&] { return JJtPrecond(&rows, &spread, &damping); }),
          converge("blocks of frames", system, misses,
                   [&] { return JJtCholeskyPrecond(&rows, halfBandwidth(&rows), &spread, &damping); }),
          converge("factor of the edit", system, misses, [&] { return PrimalFactor(measure, holds); })};
}
