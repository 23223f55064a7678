#pragma once

#include "report.h"

/// Solves the same problem with the dense factorization that the options name, as a check of the result; does
/// nothing when they name none. For small problems: throws InputError when the problem is too large, or when
/// the factorization fails, and OutOfMemory before memory ends.
DenseCheck checkDensely(const Options& options, const SparseProblem& problem, const Vector& b,
                        const Result& result);
