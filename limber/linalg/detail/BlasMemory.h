#pragma once

/// @file
/// The memory that the BLAS allocates for itself.

namespace limber::detail {

/// True when the BLAS has its own buffer. OpenBLAS allocates 128 MB of address space in the first call that
/// needs them and loops for ever if it cannot, so the first call of this function checks that they are
/// available and makes OpenBLAS allocate them. False, after a report, when there is no memory; a later call
/// tries again. Other BLAS libraries have no such buffer.
bool blasHasMemory();

}  // namespace limber::detail
