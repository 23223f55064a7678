#pragma once

/// @file
/// BiCGSTAB (van der Vorst 1992), preconditioned from the right.

#include "limber/solvers/detail/ConjugateGradients.h"

namespace limber::detail {

/// A d = r from d = 0 for a square A; r is overwritten. d is the iterate of the smallest residual. Both goals
/// count the residual itself: `residual` in the caller's norm, `relative` plainly.
Outcome biCGStab(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run);

}  // namespace limber::detail
