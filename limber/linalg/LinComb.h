#pragma once

/// @file
/// Linear combinations of sparse rows.

#include "limber/Api.h"

class SpVec;
class Vector;

/// How linComb was used: [0] calls, [1] calls without a usable term, [2] with one, [3] with two.
extern LIMBER_API int linCombStats[4];

/// out = the sum of coeffs[k] rows[k] over the terms whose coefficient is not 0.0 and whose row is neither
/// null nor empty, in one merge of at most 120 terms; each further one is reported and skipped. Two terms go
/// through ssum, with its limit of indices. If `coeffs` is empty, `rows` is not read and may be null. Not
/// re-entrant.
///
/// `out` may be the only usable row, which is then scaled in place. With two terms or more, a row that is
/// also the output is emptied before the merge and adds nothing.
LIMBER_API void linComb(const Vector* coeffs, SpVec** rows, SpVec* out);
