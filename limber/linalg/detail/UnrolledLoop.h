#pragma once

/// @file
/// Loops of few steps without a test for each step.

#include <type_traits>

namespace limber::detail {

template <int count>
using Count = std::integral_constant<int, count>;

/// Runs n steps in blocks of 16, 8, 4, 2 and 1: fewer branches and mispredictions than one test per step.
/// Calls block(Count<c>()) for each block of c steps, and ends early when a call returns false.
template <class Block>
[[gnu::always_inline]] inline void inUnrolledBlocks(int n, Block block) {
  for (; n >= 16; n -= 16) {
    if (!block(Count<16>())) return;
  }
  if (n <= 0) return;
  if ((n & 8) != 0 && !block(Count<8>())) return;
  if ((n & 4) != 0 && !block(Count<4>())) return;
  if ((n & 2) != 0 && !block(Count<2>())) return;
  if ((n & 1) != 0) block(Count<1>());
}

}  // namespace limber::detail
