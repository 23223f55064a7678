#pragma once

/// @file
/// How dense matrices hold their values.

#include <cstdint>

class FullMatrix;

namespace limber::detail {

/// n doubles and the spare one behind them, zeroed or not. Null after a failed allocation, which is reported,
/// and for n < 1.
double* newDense(std::int64_t n, bool cleared);

/// Number of values in m's storage, the spare one not counted; 0 without storage.
std::int64_t denseCount(const FullMatrix& m);

/// Number of doubles that m's storage is known to hold, the spare one not counted: more than its values in a
/// ResizeMatrix that has been larger.
std::int64_t denseRoom(const FullMatrix& m);

/// Whether m's elements may be reached in its storage instead of through the virtual operator(): the class
/// does not override it, and it would refuse none of them.
bool runsOnStorage(const FullMatrix& m);

/// Makes m the owner of a storage of n doubles. The storage it had before is not released.
void setDenseStorage(FullMatrix& m, double* data, std::int64_t n);

/// Empties m, which has no storage to release: no rows, no columns, kind 1.
void makeEmpty(FullMatrix& m);

/// Keeps storage that nobody owns any more reachable until the process ends.
void keepAlive(double* data);

}  // namespace limber::detail
