#pragma once

#include "result.h"

/// Solves from zero by the front door, with the method that the options name or that suits the matrix. Throws
/// std::bad_alloc if there is no memory and InputError for numbers that the solvers refuse.
Result solveByFrontDoor(const Options& options, const SparseProblem& problem, const Vector& b);
