#pragma once

#include <cstdint>

namespace limber::detail {

/// What the search for a pivot compares: the upper half of an element's magnitude, with its place in the
/// lowest four bits.
constexpr int placeBits = 15, magnitudeBits = INT32_MAX & ~placeBits;

/// Whether the largest key is that of a pivot to go on with: neither zero, or next to it, nor infinite or a
/// NaN.
inline bool isPivotKey(std::uint32_t key) {
  constexpr std::uint32_t smallest = placeBits + 1, infinity = 0x7ff00000;
  return key - smallest < infinity - smallest;
}

/// The full-pivoting elimination of one row-major 4x4 matrix with the widest vectors of this machine, to the
/// bits of gaussJordan(). False, with `m` untouched, where the machine has none and where a pivot is zero or
/// a NaN turns up: these are gaussJordan()'s, with its reports.
bool invertWide(double* m);

/// The ways behind it, with 256-bit vectors where machineHasWideVectors() and 512-bit ones where
/// machineHasAvx512(). The second leaves more matrices untouched: those where several magnitudes may be the
/// largest, or the largest is infinite.
bool invertAvx2(double* m);
bool machineHasAvx512();
bool invertAvx512(double* m);

}  // namespace limber::detail
