#pragma once

/// @file
/// The operators M of the usual normal-equation forms, applied to a vector without ever forming M.

#include "limber/Api.h"

class SpMat;
class Vector;

/// out = M in for the operator that a solver is given with A. in and out are different vectors.
typedef void (*CGMultFun)(SpMat* A, const Vector* in, Vector* out);

/// w = A v; then, while cgradDefinizer > 0, w += cgradDefinizer v; then, while cgradDampV is set,
/// w[i] += cgradDampV[i] v[i] for i below the length of cgradDampV (as far as w and v have room). Overwrites
/// w, which grows to A's height.
LIMBER_API void multFunA(SpMat* A, const Vector* v, Vector* w);
/// w = A V^-1 A^T v, with V the diagonal of cgradMassVec (the identity while that is null); then the terms of
/// cgradDefinizer and cgradDampV, the latter for i below the length of w (as far as cgradDampV has room).
/// Overwrites w, which grows to A's height.
LIMBER_API void multFunJJt(SpMat* A, const Vector* v, Vector* w);
/// w = A^T (A v + d 1), where d is the constant of ncgradDamp during that solve, and else 0. (Contract: it is
/// added to each element of the product, it is no multiple of v.) Overwrites w, which grows to A's width.
LIMBER_API void multFunAtA(SpMat* A, const Vector* v, Vector* w);
