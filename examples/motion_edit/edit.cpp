#include "edit.h"

#include <algorithm>
#include <cmath>

#include "input_error.h"

namespace {

/// The solver's tuning while it lives: a relative tolerance, and no absolute floor under the curvature.
class Tuning {
 public:
  explicit Tuning(double tolerance) : tol_(cg_tol), epsilon_(cg_epsilon), restarts_(cg_maxRestarts) {
    cg_tol = tolerance;
    cg_epsilon = 1e-200;
    cg_maxRestarts = 2;
  }
  ~Tuning() {
    cg_tol = tol_;
    cg_epsilon = epsilon_;
    cg_maxRestarts = restarts_;
  }
  Tuning(const Tuning&) = delete;
  Tuning& operator=(const Tuning&) = delete;

 private:
  double tol_, epsilon_;
  int restarts_;
};

double heightOf(const Skeleton& skeleton) {
  const double height = skeleton.height();
  if (!(height > 0.0)) throw InputError("the skeleton has no extent: all its bones have length zero");
  return height;
}

/// The joint that owns channel c.
const Joint& owner(const Clip& clip, int c) {
  std::size_t j = 0;
  for (std::size_t k = 0; k < clip.joints.size(); k++) {
    if (!clip.joints[k].channels.empty() && clip.joints[k].firstChannel <= c) j = k;
  }
  return clip.joints[j];
}

}  // namespace

Edit::Edit(Clip* clip, const std::vector<Constraint>& constraints, const EditOptions& options)
    : clip_(*clip),
      original_(*clip),
      constraints_(constraints),
      skeleton_(clip_),
      height_(heightOf(skeleton_)),
      spline_(clip->frames, options.knotSpacing),
      jacobian_(constraints_, spline_, clip->channels),
      coefficients_(jacobian_.unknowns()),
      masses_(jacobian_.unknowns()),
      weights_(jacobian_.unknowns()),
      damping_(jacobian_.rows()),
      lambda_(jacobian_.rows()),
      step_(jacobian_.unknowns()) {
  const double position = options.positionStiffness / height_;
  for (int i = 0; i < masses_.size(); i++) {
    masses_[i] = clip_.channel(i % clip_.channels).rotation ? 1.0 : position * position;
    weights_[i] = 1.0 / masses_[i];
  }
}

void Edit::linearize(double damping) {
  jacobian_.linearize(clip_, skeleton_);
  double trace = 0.0;
  for (int i = 0; i < jacobian_.rows(); i++) trace += jacobian_.matrix()->row(i)->weightedL2(&weights_);
  damping_ = damping * trace / jacobian_.rows();
}

int Edit::solve(EditOptions::Preconditioning preconditioning, double relative) {
  HSpMat* const J = jacobian_.matrix();
  Vector* const c = jacobian_.residual();
  const Tuning tuning(relative * relative * c->magSq());
  const auto iterate = [&](Preconditioner* preconditioner) {
    double rsq = 0.0;
    lambda_ = 0.0;
    return ncgradJVJt(J, &lambda_, c, &rsq, &masses_, &damping_, preconditioner);
  };
  // The preconditioners multiply by their weights where the solver divides by its masses.
  int iterations = 0;
  if (preconditioning == EditOptions::None) {
    iterations = iterate(nullptr);
  } else if (preconditioning == EditOptions::Jacobi) {
    JJtPrecond diagonal(J, &weights_, &damping_);
    iterations = iterate(&diagonal);
  } else {
    JJtCholeskyPrecond banded(J, jacobian_.halfBandwidth(), &weights_, &damping_);
    iterations = iterate(&banded);
  }
  J->multT(&lambda_, &step_);
  // Unknowns behind the last that J has hold what an earlier step left there.
  const int touched = step_.size();
  step_.grow(jacobian_.unknowns());
  for (int i = touched; i < step_.size(); i++) step_[i] = 0.0;
  step_ /= masses_;
  return iterations;
}

void Edit::apply(double scale) {
  Vector moved(0);
  moved = coefficients_;
  moved.scaleAdd(scale, &step_);
  for (int f = 0; f < clip_.frames; f++) {
    const Spline::Basis basis = spline_.at(f);
    for (int c = 0; c < clip_.channels; c++) {
      double change = 0.0;
      for (int k = 0; k < 4; k++) change += basis.weight[k] * moved[(basis.first + k) * clip_.channels + c];
      clip_.frame(f)[c] = original_.frame(f)[c] + change;
    }
  }
}

void Edit::accept(double scale) { coefficients_.scaleAdd(scale, &step_); }

double Edit::misses(double* largest) const {
  double sum = 0.0;
  *largest = 0.0;
  for (const Constraint& wish : constraints_) {
    const double miss = (wish.target - skeleton_.position(wish.joint, clip_.frame(wish.frame))).length();
    sum += wish.weight * wish.weight * miss * miss;
    if (miss > *largest) *largest = miss;
  }
  if (!std::isfinite(sum)) *largest = sum;
  return sum;
}

void Edit::measureChange(EditResult* result) const {
  for (int c = 0; c < clip_.channels; c++) {
    if (!clip_.channel(c).rotation) continue;
    const auto change = [&](int f) { return clip_.frame(f)[c] - original_.frame(f)[c]; };
    for (int f = 0; f < clip_.frames; f++) {
      if (std::fabs(change(f)) > result->largestChange) {
        result->largestChange = std::fabs(change(f));
        result->largestChangeOf = owner(clip_, c).name;
      }
      if (f > 0 && f + 1 < clip_.frames) {
        const double bend = std::fabs(change(f - 1) - 2.0 * change(f) + change(f + 1));
        result->largestBend = std::max(result->largestBend, bend);
      }
    }
  }
}
