#pragma once

/// @file
/// Entry points of the older conjugate-gradient family. Each returns what cgradI returns: the number of
/// iterations, -1 for a singular system (or for an exact solution, see cgradI), -9 at the iteration limit.
/// The only tuning variables used here are cgradEps, cgradTol, cgradNeptune, maxCGradPasses, cgradMAXX,
/// cgradMAXB, cgradDribble and the observer. If x or b is shorter than A needs, but not empty, a warning is
/// printed and the solve continues. A must not change during a solve.

#include "limber/Api.h"

class SpMat;
class Vector;

/// Least squares, min |A x - b|: residual A^T (b - A x), curvature |A d|^2.
LIMBER_API int cgrad(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A x = b, with A symmetric positive definite.
LIMBER_API int cgradA(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A A^T y = b, with y in x.
LIMBER_API int cgradAAt(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// (A A^T + diag(dampV)) y = b, with y in x; dampV may be null.
LIMBER_API int cgradJJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* dampV);
/// (A diag(mass)^-1 A^T + diag(dampV)) y = b, with y in x; mass and dampV may be null.
LIMBER_API int cgradJVJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* mass, Vector* dampV);
