#pragma once

/// @file
/// Multiplies a vector by the operator M of the usual forms of normal equations, without forming M.

#include "limber/Api.h"

class SpMat;
class Vector;

/// out = M in for the operator that a solver is given with A. in and out are different vectors.
typedef void (*CGMultFun)(SpMat* A, const Vector* in, Vector* out);

/// w = A v; then, if cgradDefinizer > 0, w += cgradDefinizer v; then, if cgradDampV is set, w[i] +=
/// cgradDampV[i] v[i] for i below the length of cgradDampV and inside the storage of w and v. Overwrites w,
/// which grows to A's height.
LIMBER_API void multFunA(SpMat* A, const Vector* v, Vector* w);
/// w = A V^-1 A^T v, where V is the diagonal matrix of cgradMassVec (the identity if that is null); then the
/// terms of cgradDefinizer and cgradDampV, the latter for i below the length of w and inside the storage of
/// cgradDampV. Overwrites w, which grows to A's height.
LIMBER_API void multFunJJt(SpMat* A, const Vector* v, Vector* w);
/// w = A^T (A v + d 1), where d is the constant of ncgradDamp during such a solve, and 0 otherwise.
/// Overwrites w, which grows to A's width. Contract: d is added to each element of the product and not
/// multiplied by v.
LIMBER_API void multFunAtA(SpMat* A, const Vector* v, Vector* w);
