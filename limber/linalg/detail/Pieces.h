#pragma once

/// @file
/// Loops over the entries of sparse rows in straight pieces.

#include <type_traits>

namespace limber::detail {

template <int count>
using Count = std::integral_constant<int, count>;

/// Calls piece(Count<c>()) for sizes c that add up to n: 16 as often as it fits, then 8, 4, 2 and 1 where
/// they are needed. Ends early when a call returns false. Fewer branches than one an entry, and fewer wrong
/// guesses at the end of a row.
template <class Piece>
[[gnu::always_inline]] inline void inPieces(int n, Piece piece) {
  for (; n >= 16; n -= 16) {
    if (!piece(Count<16>())) return;
  }
  if (n <= 0) return;
  if ((n & 8) != 0 && !piece(Count<8>())) return;
  if ((n & 4) != 0 && !piece(Count<4>())) return;
  if ((n & 2) != 0 && !piece(Count<2>())) return;
  if ((n & 1) != 0) piece(Count<1>());
}

}  // namespace limber::detail
