#pragma once

#include <functional>
#include <string>
#include <vector>

#include "names.h"

/// How an edit is solved.
struct EditOptions {
  enum Preconditioning { None, Jacobi, Banded };
  Preconditioning preconditioning = Banded;
  int knotSpacing = 4;    ///< frames between the knots of the change's curves
  int steps = 40;         ///< at most
  double goal = 1e-4;     ///< largest miss, as a part of the skeleton's height
  double damping = 1e-4;  ///< of the first step: added to the diagonal, relative to its mean
  double positionStiffness =
      25.0;  ///< resistance of the root's position: a radian costs what height / this much costs
};

/// What one Gauss-Newton step did.
struct EditStep {
  int number;
  double before, after;  ///< largest miss, in the clip's unit
  double scale;          ///< the part of the step that was taken
  int iterations;        ///< of conjugate gradients; negative when they gave up
  double seconds;
};

struct EditResult {
  bool met = false;
  double missBefore = 0.0, missAfter = 0.0, goal = 0.0;  ///< in the clip's unit
  double largestChange = 0.0;                            ///< of a joint angle, radians
  std::string largestChangeOf;                           ///< its joint
  double largestBend = 0.0;  ///< second difference of an angle's change, radians a frame^2
  int steps = 0, iterations = 0;
  double seconds = 0.0;
};

/// Changes `clip` so that the constraints are met, by smooth curves added to its channels. Each Gauss-Newton
/// step takes the smallest change, in the norm of the channels' masses V, that meets the linearized
/// constraints:
///     (J V^-1 J^T + D) lambda = c,   step = V^-1 J^T lambda,
/// and is halved until the misses get smaller. `progress` is called after each step.
EditResult editMotion(Clip* clip, const std::vector<Constraint>& constraints, const EditOptions& options,
                      const std::function<void(const EditStep&)>& progress);

/// The squared residual after each iteration of the first step's system under one preconditioning.
std::vector<double> convergence(const Clip& clip, const std::vector<Constraint>& constraints,
                                const EditOptions& options, EditOptions::Preconditioning preconditioning);
