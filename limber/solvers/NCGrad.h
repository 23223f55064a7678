#pragma once

/// @file
/// Solves by conjugate gradients. x is the start on entry and the solution on return; *rsqOut (may be null)
/// receives the final squared residual of the system solved.
///
/// All return the number of iterations k when the system is solved, -k when all restarts are used, and -1
/// when it is singular. So -1 may also mean that the only pass ended after one iteration, and 0 that
/// cg_maxRestarts allows no pass: *rsqOut tells.
///
/// A right-hand side with |b|^2 < cg_epsilon sets x to zero and returns 0, except in ncgradAAt. An x or b
/// that is shorter than A needs is warned of, and the solve goes on. A must not change during a solve.

#include "limber/Api.h"

class Preconditioner;
class SpMat;
class Vector;

/// A x = b, with A symmetric positive definite. (Contract: a singular system returns -k as well, so -1 means
/// here that the first iteration found it singular, or that the only pass ended after one.)
LIMBER_API int ncgradA(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A^T A x = b: b is already A^T times the right-hand side.
LIMBER_API int ncgradAtA(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// Least squares, min |A x - b|: A^T A x = A^T b.
LIMBER_API int ncgrad(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A^T (A x + d 1) = A^T b. (Contract: d is added to each element of the product, it is no multiple of x.)
LIMBER_API int ncgradDamp(SpMat* A, Vector* x, Vector* b, double* rsqOut, double d);
/// (A A^T + diag(dampV)) y = b, with y in x; dampV and pre may be null. (Contract: a zero right-hand
/// side leaves cgradDampV set, so later products are still damped.)
LIMBER_API int ncgradJJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* dampV, Preconditioner* pre);
/// (A diag(mass)^-1 A^T + diag(dampV)) y = b, with y in x; mass, dampV and pre may be null. Sizes that do not
/// fit are warned of, and the solve goes on. (Contract: a zero right-hand side leaves cgradDampV and
/// cgradMassVec set.)
LIMBER_API int ncgradJVJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* mass, Vector* dampV,
                          Preconditioner* pre);
/// A A^T y = b, with y in x: neither damped nor weighted.
LIMBER_API int ncgradAAt(SpMat* A, Vector* x, Vector* b, double* rsqOut);
