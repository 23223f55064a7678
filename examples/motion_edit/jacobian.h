#pragma once

#include <vector>

#include "constraints.h"
#include "spline.h"

/// The linearized constraints of an edit: J d = c, where d are the changes of the curves' coefficients. Rows
/// stand in frame order, three a constraint (x, y, z), scaled by its weight; the unknown of curve (channel) c
/// and coefficient k has the index k channels + c, so that rows of frames far apart have no index in common
/// and J J^T is banded.
class Jacobian {
 public:
  Jacobian(const std::vector<Constraint>& constraints, const Spline& spline, int channels);
  ~Jacobian();
  Jacobian(const Jacobian&) = delete;
  Jacobian& operator=(const Jacobian&) = delete;

  /// J and c at the motion `clip`.
  void linearize(const Clip& clip, const Skeleton& skeleton);

  HSpMat* matrix() { return &matrix_; }
  Vector* residual() { return &residual_; }
  int rows() const { return 3 * static_cast<int>(constraints_.size()); }
  int unknowns() const { return spline_.coefficients() * channels_; }
  /// The half bandwidth of J J^T: no two rows further apart have an index in common.
  int halfBandwidth() const;

 private:
  const std::vector<Constraint>& constraints_;
  const Spline& spline_;
  int channels_;
  HSpMat matrix_;
  std::vector<SpVec*> rows_;
  Vector residual_;
  SpVec byChannel_[3];
};
