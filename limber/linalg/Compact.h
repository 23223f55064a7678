#pragma once

/// @file
/// The row-sparse image of any matrix.

#include "limber/Api.h"

class HSpMat;
class SpMat;

/// Appends the rows of m + diagAdd I, read through acc, to a row-sparse matrix that all calls share and that
/// the library owns; values of magnitude 1e-12 or less are left out. A non-zero reset first empties the
/// shared matrix and its pool of rows, which overwrites the result of the previous call; ncompact_clock then
/// times the call.
///
/// Without reset, row i of m is appended to the entries of the existing row i, if there is one, and that row
/// then appears twice in the shared matrix.
LIMBER_API HSpMat* naiveCompact(SpMat* m, double diagAdd, int unused, int reset);
