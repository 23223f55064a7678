#pragma once

/// @file
/// The storage of dense matrices.

#include <cstdint>

class FullMatrix;

namespace limber::detail {

/// Allocates n doubles and the spare one after them, zeroed if `cleared`. Null for n < 1 and after a failed
/// allocation, which is reported.
double* newDense(std::int64_t n, bool cleared);

/// The number of values in m's storage, without the spare one; 0 without storage.
std::int64_t denseCount(const FullMatrix& m);

/// The number of doubles that m's storage is known to hold, without the spare one. This is more than
/// denseCount in a ResizeMatrix that used to be larger.
std::int64_t denseRoom(const FullMatrix& m);

/// True if m's elements may be read in its storage instead of through the virtual operator(): the class does
/// not override operator(), and operator() would reject none of the elements.
bool runsOnStorage(const FullMatrix& m);

/// Makes m the owner of a storage of n doubles. Its previous storage is not released.
void setDenseStorage(FullMatrix& m, double* data, std::int64_t n);

/// Makes m empty: no rows, no columns, kind 1. It must have no storage to release.
void makeEmpty(FullMatrix& m);

/// Keeps storage without an owner reachable until the process ends.
void keepAlive(double* data);

}  // namespace limber::detail
