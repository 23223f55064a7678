#pragma once

/// @file
/// The row-sparse image of any matrix.

#include "limber/Api.h"

class HSpMat;
class SpMat;

/// Appends the rows of m + diagAdd I, read through acc, to a row-sparse matrix that all calls share and that
/// the library owns; values of magnitude below 1e-12 are left out. With a non-zero reset the shared matrix
/// and its pool of rows start anew (and ncompact_clock times the call): the result of the call before is
/// gone.
///
/// Without reset (deliberately) row i of m is appended to the entries of the shared matrix's row i, where it
/// has one, and that row is listed once more.
LIMBER_API HSpMat* naiveCompact(SpMat* m, double diagAdd, int unused, int reset);
