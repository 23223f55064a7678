#pragma once

/// @file
/// The memory that the BLAS allocates for itself.

namespace limber::detail {

/// Makes sure that the BLAS has its own buffer. OpenBLAS allocates 128 MB of address space in the first call
/// that needs them and loops for ever if it cannot. So the first call of this function checks that they are
/// available and makes OpenBLAS allocate them. Returns false, after a report, if there is no memory; a later
/// call tries again. Other BLAS libraries have no such buffer.
bool ensureBlasMemory();

}  // namespace limber::detail
