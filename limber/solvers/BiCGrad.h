#pragma once

/// @file
/// Bi-conjugate gradients (Fletcher 1976) for square systems that need not be symmetric.
/// A must not change during a solve.

#include "limber/Api.h"
#include "limber/solvers/CGStatus.h"

class SpMat;
class Vector;

/// Above 0, the loss of bi-conjugacy |r_new . r~_old| / |r_new|^2 at which a pass ends. 0.0: no test.
extern LIMBER_API double bicg_checkBiCG;
/// Iterations without a new best after which a step that does not improve ends the pass. 5.
extern LIMBER_API int bicg_numZeroSteps;
/// A step that takes less than this fraction off the squared residual does not improve. 0.01.
extern LIMBER_API double bicg_zeroStep;

/// r = b - A x, overwriting r, which takes A's height as its length. Returns r.
LIMBER_API Vector* residual(SpMat* A, Vector* x, Vector* b, Vector* r);
/// Solves A x = b by up to cg_maxRestarts passes of biCGradI, each from the x of the one before. The first
/// shadow residual is r itself when shadowIsResidual is not 0, else A r. rsq receives the last squared
/// residual, iterations the number of all iterations. An x or b that is too short is warned of. Returns
/// CGI_SOLVED, CGI_SINGULAR, CGI_BICG_CANT_START or CGI_TOO_MANY_RESTARTS. Tuned by cg_tol, cg_epsilon,
/// cg_maxIters, cg_maxRestarts, cg_reset_resid, cg_verbosity and the variables above.
LIMBER_API CGIStatus biCGrad(SpMat* A, Vector* x, Vector* b, double& rsq, int& iterations,
                             int shadowIsResidual);
/// One pass. r, rr (r~), p, pp (p~), q and scratch are work vectors, best receives the best iterate; all
/// grow. A number that is not finite ends the pass with CGI_SINGULAR and never reaches x.
LIMBER_API CGIStatus biCGradI(SpMat* A, Vector* x, Vector* b, double& rsq, int& iter, Vector* r, Vector* rr,
                              Vector* p, Vector* pp, Vector* q, Vector* scratch, Vector* best, int maxIters,
                              int shadowIsResidual);
