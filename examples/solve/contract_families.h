#pragma once

#include "result.h"

/// Solves from zero by the conjugate-gradient family or the bi-conjugate gradients that the options name. By
/// their rules, entries within 1e-12 are not stored, and multipliers within 1e-12 count as zero in products
/// with A^T. The notes count the dropped entries, and the file's entries decide whether the system is solved.
/// Throws std::bad_alloc if there is no memory.
Result solveByFamily(const Options& options, const SparseProblem& problem, const Vector& b);
