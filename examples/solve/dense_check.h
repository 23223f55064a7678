#pragma once

#include "report.h"

/// Solves the same problem with the dense factorization that the options name, as a check of the result; does
/// nothing when they name none. It is meant for small problems: it throws InputError if the problem is too
/// large or the factorization fails, and OutOfMemory before memory runs out.
DenseCheck checkDensely(const Options& options, const SparseProblem& problem, const Vector& b,
                        const Result& result);
