#pragma once

#include <cstdint>

namespace limber::detail {

/// What the search for a pivot compares: the upper half of an element's magnitude, with its place in the
/// lowest four bits.
constexpr int placeBits = 15, magnitudeBits = INT32_MAX & ~placeBits;

/// True if the pivot is usable: finite and not (nearly) zero.
inline bool isPivotKey(std::uint32_t key) {
  constexpr std::uint32_t smallest = placeBits + 1, infinity = 0x7ff00000;
  return key - smallest < infinity - smallest;
}

/// Inverts one row-major 4x4 matrix by full-pivoting elimination with 256-bit vectors, to the bits of
/// gaussJordan(). Returns false and leaves `m` as it was where the machine has no such vectors and where a
/// pivot is zero, infinite or a NaN: these matrices are left to gaussJordan() and its reports.
bool invertWide(double* m);

/// The same without asking whether useWideVectors().
bool invertAvx2(double* m);

}  // namespace limber::detail
