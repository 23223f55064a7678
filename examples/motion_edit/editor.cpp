#include "editor.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>

namespace {

constexpr double leastDamping = 1e-9, mostDamping = 1e-2;

double secondsNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

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

/// The motion as the original plus smooth curves, and the constraints linearized about it.
class Edit {
 public:
  Edit(Clip* clip, const std::vector<Constraint>& constraints, const EditOptions& options)
      : clip_(*clip),
        original_(*clip),
        constraints_(constraints),
        skeleton_(clip_),
        spline_(clip->frames, options.knotSpacing),
        jacobian_(constraints_, spline_, clip->channels),
        coefficients_(jacobian_.unknowns()),
        masses_(jacobian_.unknowns()),
        weights_(jacobian_.unknowns()),
        damping_(jacobian_.rows()),
        lambda_(jacobian_.rows()),
        step_(jacobian_.unknowns()) {
    const double position = options.positionStiffness / skeleton_.height();
    for (int i = 0; i < masses_.size(); i++) {
      masses_[i] = clip_.channel(i % clip_.channels).rotation ? 1.0 : position * position;
      weights_[i] = 1.0 / masses_[i];
    }
  }

  const Skeleton& skeleton() const { return skeleton_; }

  /// J, c and the damping D = `damping` times the mean diagonal of J V^-1 J^T.
  void linearize(double damping) {
    jacobian_.linearize(clip_, skeleton_);
    double trace = 0.0;
    for (int i = 0; i < jacobian_.rows(); i++) trace += jacobian_.matrix()->row(i)->weightedL2(&weights_);
    damping_ = damping * trace / jacobian_.rows();
  }

  /// Solves for the step; the iterations of conjugate gradients, negative when they gave up.
  int solve(EditOptions::Preconditioning preconditioning, double relative) {
    HSpMat* const J = jacobian_.matrix();
    Vector* const c = jacobian_.residual();
    std::unique_ptr<JJtPrecond> diagonal;
    std::unique_ptr<JJtCholeskyPrecond> banded;
    Preconditioner* chosen = nullptr;
    // The preconditioners multiply by their weights where the solver divides by its masses.
    if (preconditioning == EditOptions::Jacobi) {
      diagonal = std::make_unique<JJtPrecond>(J, &weights_, &damping_);
      chosen = diagonal.get();
    } else if (preconditioning == EditOptions::Banded) {
      banded = std::make_unique<JJtCholeskyPrecond>(J, jacobian_.halfBandwidth(), &weights_, &damping_);
      chosen = banded.get();
    }
    const Tuning tuning(relative * relative * c->magSq());
    lambda_ = 0.0;
    double rsq = 0.0;
    const int iterations = ncgradJVJt(J, &lambda_, c, &rsq, &masses_, &damping_, chosen);
    J->multT(&lambda_, &step_);
    step_.grow(jacobian_.unknowns());
    step_ /= masses_;
    return iterations;
  }

  /// The clip with `scale` times the step added.
  void apply(double scale) {
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
  void accept(double scale) { coefficients_.scaleAdd(scale, &step_); }

  /// The sum of the squared weighted misses, and the largest miss.
  double misses(double* largest) const {
    double sum = 0.0;
    *largest = 0.0;
    for (const Constraint& wish : constraints_) {
      const double miss = (wish.target - skeleton_.position(wish.joint, clip_.frame(wish.frame))).length();
      sum += wish.weight * wish.weight * miss * miss;
      if (!(miss <= *largest)) *largest = miss;
    }
    return sum;
  }

  void measureChange(EditResult* result) const {
    for (int c = 0; c < clip_.channels; c++) {
      if (!clip_.channel(c).rotation) continue;
      const auto change = [&](int f) { return clip_.frame(f)[c] - original_.frame(f)[c]; };
      for (int f = 0; f < clip_.frames; f++) {
        if (std::fabs(change(f)) > result->largestChange) {
          result->largestChange = std::fabs(change(f));
          result->largestChangeOf = jointOf(c);
        }
        if (f > 0 && f + 1 < clip_.frames) {
          const double bend = std::fabs(change(f - 1) - 2.0 * change(f) + change(f + 1));
          result->largestBend = std::max(result->largestBend, bend);
        }
      }
    }
  }

 private:
  std::string jointOf(int c) const {
    std::string name;
    for (const Joint& joint : clip_.joints) {
      if (!joint.channels.empty() && joint.firstChannel <= c) name = joint.name;
    }
    return name;
  }

  Clip& clip_;
  const Clip original_;
  const std::vector<Constraint>& constraints_;
  Skeleton skeleton_;
  Spline spline_;
  Jacobian jacobian_;
  Vector coefficients_, masses_, weights_, damping_, lambda_, step_;
};

}  // namespace

EditResult editMotion(Clip* clip, const std::vector<Constraint>& constraints, const EditOptions& options,
                      const std::function<void(const EditStep&)>& progress) {
  const double begun = secondsNow();
  Edit edit(clip, constraints, options);
  EditResult result;
  result.goal = options.goal * edit.skeleton().height();
  double sum = edit.misses(&result.missBefore);
  double miss = result.missBefore;
  double damping = options.damping;
  while (!(miss <= result.goal) && result.steps < options.steps) {
    EditStep step;
    const double stepBegun = secondsNow();
    step.number = ++result.steps;
    step.before = miss;
    edit.linearize(damping);
    step.iterations = edit.solve(options.preconditioning, 1e-8);
    double trial = sum;
    for (step.scale = 1.0; step.scale > 1e-3; step.scale *= 0.5) {
      edit.apply(step.scale);
      trial = edit.misses(&step.after);
      if (trial < sum) break;
    }
    const bool better = trial < sum;
    if (better) {
      edit.accept(step.scale);
    } else {
      edit.apply(step.scale = 0.0);
      step.after = step.before;
    }
    step.seconds = secondsNow() - stepBegun;
    // Full steps show that the linearization can be trusted, halved ones that it cannot (Levenberg 1944).
    damping =
        step.scale == 1.0 ? std::max(0.1 * damping, leastDamping) : std::min(10.0 * damping, mostDamping);
    result.iterations += std::abs(step.iterations);
    if (progress) progress(step);
    if (!better) break;
    sum = trial;
    miss = step.after;
  }
  result.missAfter = miss;
  result.met = miss <= result.goal;
  edit.measureChange(&result);
  result.seconds = secondsNow() - begun;
  return result;
}

// The solver's own trace, read back: a line "... rsq(VALUE) ..." an iteration.
std::vector<double> convergence(const Clip& clip, const std::vector<Constraint>& constraints,
                                const EditOptions& options, EditOptions::Preconditioning preconditioning) {
  Clip copy = clip;
  Edit edit(&copy, constraints, options);
  edit.linearize(options.damping);
  std::vector<double> history;
  std::FILE* const trace = std::tmpfile();
  if (!trace) return history;
  cgradDribble = trace;
  edit.solve(preconditioning, 1e-8);
  cgradDribble = nullptr;
  std::rewind(trace);
  char line[512];
  while (std::fgets(line, sizeof line, trace)) {
    const std::string text = line;
    const std::size_t at = text.find("rsq(");
    if (text.find("cg:iter") == std::string::npos || at == std::string::npos) continue;
    // The trace's first line has its two labels swapped: the squared residual stands behind "obj (".
    const std::size_t from = history.empty() ? text.find("obj (") + 5 : at + 4;
    history.push_back(std::strtod(text.c_str() + from, nullptr));
  }
  std::fclose(trace);
  return history;
}
