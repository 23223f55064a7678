#pragma once

namespace limber::detail {

/// Counts one reallocation of a vector with `oldCapacity` for `requested` elements.
void countVectorResize(int requested, int oldCapacity);

}  // namespace limber::detail
