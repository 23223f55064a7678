#pragma once

#include "MatrixMarket.h"
#include "Options.h"
#include "limber/linalg/Vector.h"

/// Solves the same problem with a dense factorization, as a check: for small problems. Throws InputError when
/// the problem is too large, or when the factorization fails.
Vector solveDense(const Options& options, const SparseProblem& problem, const Vector& b);

/// |x - y| / |y|.
double relativeDifference(const Vector& x, const Vector& y);
