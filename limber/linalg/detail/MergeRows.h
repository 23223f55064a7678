#pragma once

/// @file
/// Merging index lists without branches on which list comes next: that cannot be predicted, and each guess
/// that fails costs more than the step.

#include <cstdint>
#include <cstring>

namespace limber::detail {

/// All bits where a > b, none elsewhere, without a comparison that the compiler could turn into a branch.
inline std::int64_t maskAbove(std::int64_t a, std::int64_t b) { return (b - a) >> 63; }

/// x, or 0.0 where the mask is set.
inline double unlessMasked(std::int64_t mask, double x) {
  std::int64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  bits &= ~mask;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

/// a where the mask is set, b elsewhere.
inline std::int64_t chosen(std::int64_t mask, std::int64_t a, std::int64_t b) { return b ^ ((a ^ b) & mask); }

/// Merges two lists of indices: visit(index, notA, notB, ka, kb), notA and notB masks, for the smaller of the
/// two current indices, or for both where they are equal, until a list ends or visit returns false. `ka` and
/// `kb` are left at the first entries not visited.
template <class Visit>
inline void mergeRows(const int* ia, int na, const int* ib, int nb, int& ka, int& kb, Visit visit) {
  std::int64_t i = 0, j = 0;
  if (na > 0 && nb > 0) {
    std::int64_t a = ia[0], b = ib[0];
    for (;;) {
      const std::int64_t notA = maskAbove(a, b), notB = maskAbove(b, a);
      // The next indices are loaded before it is known which of them are wanted.
      const bool last = i == na - 1 || j == nb - 1;
      const std::int64_t nextA = last ? 0 : ia[i + 1], nextB = last ? 0 : ib[j + 1];
      if (!visit(static_cast<int>(chosen(notA, b, a)), notA, notB, i, j)) break;
      i += 1 + notA;
      j += 1 + notB;
      if (last) {
        if (i == na || j == nb) break;
        a = ia[i];
        b = ib[j];
        continue;
      }
      a = chosen(notA, a, nextA);
      b = chosen(notB, b, nextB);
    }
  }
  ka = static_cast<int>(i);
  kb = static_cast<int>(j);
}

}  // namespace limber::detail
