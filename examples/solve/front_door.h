#pragma once

#include "result.h"

/// Solves from zero by the front door: what the options name, or what suits the matrix. Throws std::bad_alloc
/// when memory ends and InputError for numbers that the solvers refuse.
Result solveByFrontDoor(const Options& options, const SparseProblem& problem, const Vector& b);
