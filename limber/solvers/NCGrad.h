#pragma once

/// @file
/// Solves by conjugate gradients. x is the start on entry and the solution on return; *rsqOut (may be null)
/// receives the final squared residual of the system solved.
///
/// All return the number of iterations k if the system is solved, -k if all restarts are used up, and -1 if
/// the system is singular. So -1 may also mean that the only pass ended after one iteration, and 0 may mean
/// that cg_maxRestarts allows no pass; *rsqOut shows which case it is.
///
/// A right-hand side with |b|^2 < cg_epsilon sets x to zero and returns 0, except in ncgradAAt. If x or b is
/// shorter than A needs, a warning is printed and the solve continues. A must not change during a solve.

#include "limber/Api.h"

class Preconditioner;
class SpMat;
class Vector;

/// A x = b, with A symmetric positive definite. Contract: a singular system returns -k as well, so -1 means
/// here that the first iteration found it singular, or that the only pass ended after one.
LIMBER_API int ncgradA(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A^T A x = b: b is already A^T times the right-hand side.
LIMBER_API int ncgradAtA(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// Least squares, min |A x - b|: A^T A x = A^T b.
LIMBER_API int ncgrad(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A^T (A x + d 1) = A^T b. Contract: d is added to each element of the product and not multiplied by x. This
/// operator is not linear, so conjugate gradients only come near the solution. With a small cg_tol a solve
/// uses up its restarts. For the exact solution, call ncgrad with b - d 1.
LIMBER_API int ncgradDamp(SpMat* A, Vector* x, Vector* b, double* rsqOut, double d);
/// (A A^T + diag(dampV)) y = b, with y in x; dampV and pre may be null. Contract: a zero right-hand side
/// leaves cgradDampV set, so later products are still damped.
LIMBER_API int ncgradJJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* dampV, Preconditioner* pre);
/// (A diag(mass)^-1 A^T + diag(dampV)) y = b, with y in x; mass, dampV and pre may be null. If the sizes do
/// not fit, a warning is printed and the solve continues. Contract: a zero right-hand side leaves cgradDampV
/// and cgradMassVec set.
LIMBER_API int ncgradJVJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* mass, Vector* dampV,
                          Preconditioner* pre);
/// A A^T y = b, with y in x, without damping and weights.
LIMBER_API int ncgradAAt(SpMat* A, Vector* x, Vector* b, double* rsqOut);
