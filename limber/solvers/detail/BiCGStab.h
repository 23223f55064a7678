#pragma once

/// @file
/// BiCGSTAB (van der Vorst 1992), preconditioned from the right.

#include "limber/solvers/detail/ConjugateGradients.h"

namespace limber::detail {

/// Solves A d = r from d = 0 for a square A and overwrites r. d is the iterate with the smallest residual.
/// Both limits of the goal refer to the residual itself: `residual` to its norm as the caller counts it,
/// `relative` to its plain norm.
Outcome biCGStab(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run);

}  // namespace limber::detail
