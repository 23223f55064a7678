#pragma once

#include "limber/linalg/Vector.h"
#include "problem.h"

/// The kinds of systems.
enum class System {
  LeastSquares,  ///< min |A x - b|, which is A^T A x = A^T b
  Square,        ///< A x = b
  Constraints    ///< A A^T y = b
};

/// How well x solves the system.
struct Residual {
  double size;      ///< |r|; for least squares |A^T r|
  double relative;  ///< its ratio to the same residual of x = 0
  double scaled;    ///< its ratio to the numbers that went into it; about 1e-16 is what rounding leaves
};

/// The residual, recomputed from the file's own entries in extended precision: nothing is dropped, whatever
/// its size. With a shift, the operator A or A A^T gains that multiple of the identity.
Residual residualOf(System system, const SparseProblem& problem, const Vector& x, const Vector& b,
                    double shift);

/// The right-hand side of the system whose solution is all ones: A 1, or A A^T 1. Throws InputError if its
/// norm is too large or too small for a double.
Vector rightHandSideOfOnes(System system, const SparseProblem& problem);

/// The formula of Residual::scaled, as text.
const char* scaledFormula(System system, bool shifted);
