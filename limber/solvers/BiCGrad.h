#pragma once

/// @file
/// Bi-conjugate gradients (Fletcher 1976) for square systems that need not be symmetric.
/// A must not change during a solve.

#include "limber/Api.h"
#include "limber/solvers/CGStatus.h"

class SpMat;
class Vector;

/// The loss of bi-conjugacy |r_new . r~_old| / |r_new|^2 at which a pass ends; 0.0, the default, turns the
/// test off.
extern LIMBER_API double bicg_checkBiCG;
/// After this many iterations without a new best, a step that does not improve ends the pass. Default 5.
extern LIMBER_API int bicg_numZeroSteps;
/// A step that reduces the squared residual by less than this fraction does not improve. Default 0.01.
extern LIMBER_API double bicg_zeroStep;

/// r = b - A x, overwriting r, whose length becomes A's height. Returns r.
LIMBER_API Vector* residual(SpMat* A, Vector* x, Vector* b, Vector* r);
/// Solves A x = b by up to cg_maxRestarts passes of biCGradI, each from the x of the previous one. The first
/// shadow residual is r itself if shadowIsResidual is not 0, else A r. rsq receives the last squared
/// residual, iterations the total number of iterations. A warning says if x or b is too short. Returns
/// CGI_SOLVED, CGI_SINGULAR, CGI_BICG_CANT_START or CGI_TOO_MANY_RESTARTS. Tuned by cg_tol, cg_epsilon,
/// cg_maxIters, cg_maxRestarts, cg_reset_resid, cg_verbosity and the variables above.
LIMBER_API CGIStatus biCGrad(SpMat* A, Vector* x, Vector* b, double& rsq, int& iterations,
                             int shadowIsResidual);
/// One pass. r, rr (r~), p, pp (p~), q and scratch are work vectors, best receives the best iterate; all of
/// them grow. A number that is not finite ends the pass with CGI_SINGULAR and is never stored in x.
LIMBER_API CGIStatus biCGradI(SpMat* A, Vector* x, Vector* b, double& rsq, int& iter, Vector* r, Vector* rr,
                              Vector* p, Vector* pp, Vector* q, Vector* scratch, Vector* best, int maxIters,
                              int shadowIsResidual);
