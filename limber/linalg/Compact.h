#pragma once

/// @file
/// The row-sparse image of any matrix.

#include "limber/Api.h"

class HSpMat;
class SpMat;

/// Appends the rows of m + diagAdd I, read through acc, to a row-sparse matrix that all calls share and that
/// the library owns; values of magnitude 1e-12 or less are left out. With a non-zero reset the shared matrix
/// and its pool of rows start anew (and ncompact_clock times the call), which overwrites the result of the
/// call before.
///
/// Without reset, row i of m is appended to the entries of the existing row i, if there is one, and that row
/// then appears twice in the shared matrix.
LIMBER_API HSpMat* naiveCompact(SpMat* m, double diagAdd, int unused, int reset);
