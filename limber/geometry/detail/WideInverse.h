#pragma once

#include <cstdint>

namespace limber::detail {

/// The search for a pivot compares the upper half of an element's magnitude, with its place in the lowest
/// four bits.
constexpr int placeBits = 15, magnitudeBits = INT32_MAX & ~placeBits;

/// True if the pivot is usable: finite and not (nearly) zero.
inline bool isPivotKey(std::uint32_t key) {
  constexpr std::uint32_t smallest = placeBits + 1, infinity = 0x7ff00000;
  return key - smallest < infinity - smallest;
}

/// Inverts one row-major 4x4 matrix by full-pivoting elimination with 256-bit vectors, to the bits of
/// gaussJordan(). Returns false and does not change `m` if the machine has no such vectors or if a pivot is
/// zero, infinite or a NaN: gaussJordan() then inverts the matrix and reports.
bool invertWide(double* m);

}  // namespace limber::detail
