#pragma once

#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Spline.h"

namespace limber::motion {

/// The linearized constraints of an edit: J d = c, where d are the changes of the curves' coefficients. Rows
/// stand in frame order, three a constraint (x, y, z), scaled by its weight; the unknown of curve (channel) c
/// and coefficient k has the index k channels + c, so that rows of frames far apart have no index in common
/// and J J^T is banded.
class LIMBER_MOTION_API Jacobian {
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

}  // namespace limber::motion
