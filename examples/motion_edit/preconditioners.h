#pragma once

#include <string>
#include <vector>

#include "limber_motion/motion.h"

/// How conjugate gradients converge with one preconditioner.
struct Convergence {
  std::string name;
  std::vector<double> residuals;  ///< after each iteration, divided by the initial residual
  double seconds = 0.0;           ///< including the construction of the preconditioner
};

/// Solves (J R^-1 J^T + W^-1) lambda = c, the dual system of the edit's first step, with several
/// preconditioners: none, the diagonal, the blocks of single frames, and the factor of R + J^T W J that the
/// edit itself computes. With the last one, one iteration is enough. R is the measure of smoothness; J, c and
/// W are the derivatives, misses and weights of `constraints`, which are sorted by frame.
std::vector<Convergence> comparePreconditioners(const limber::motion::Clip& clip,
                                                const std::vector<limber::motion::Constraint>& constraints,
                                                const limber::motion::EditOptions& options);
