#pragma once

#include <string>
#include <vector>

#include "editor.h"

/// An edit in the making: the motion as the original plus smooth curves, and the constraints linearized about
/// it.
class Edit {
 public:
  /// The clip, which the edit changes, and the constraints must outlive it. Throws InputError when the
  /// skeleton has no extent.
  Edit(Clip* clip, const std::vector<Constraint>& constraints, const EditOptions& options);

  /// The skeleton's height: what misses are measured against.
  double height() const { return height_; }
  /// J, c and the damping D = `damping` times the mean diagonal of J V^-1 J^T.
  void linearize(double damping);
  /// Solves for the step until the squared residual has become `relative`^2 of the first one; the iterations
  /// of conjugate gradients, negative when they gave up.
  int solve(EditOptions::Preconditioning preconditioning, double relative);
  /// The clip becomes the accepted motion with `scale` times the step added.
  void apply(double scale);
  void accept(double scale);

  /// The sum of the squared weighted misses, and the largest miss.
  double misses(double* largest) const;
  /// The largest change of an angle and its largest second difference.
  void measureChange(EditResult* result) const;

  Jacobian& jacobian() { return jacobian_; }
  const Vector& weights() const { return weights_; }
  const Vector& damping() const { return damping_; }
  const Vector& step() const { return step_; }

 private:
  Clip& clip_;
  const Clip original_;
  const std::vector<Constraint>& constraints_;
  Skeleton skeleton_;
  double height_;
  Spline spline_;
  Jacobian jacobian_;
  Vector coefficients_, masses_, weights_, damping_, lambda_, step_;
};
