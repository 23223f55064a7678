#pragma once

#include "result.h"

/// Solves from zero by the conjugate-gradient family or the bi-conjugate gradients that the options name.
/// They keep rules of their own: entries within 1e-12 are not stored, multipliers within 1e-12 count as zero
/// in products with A^T. What that drops is counted in the notes, and whether the system is solved is decided
/// by the file's own entries. Throws std::bad_alloc when memory ends.
Result solveByFamily(const Options& options, const SparseProblem& problem, const Vector& b);
