#pragma once

/// @file
/// The memory that the BLAS allocates for itself.

namespace limber::detail {

/// True when the BLAS has its own buffer. OpenBLAS takes 128 MB of address space at the first call that needs
/// it and tries for ever when it cannot have them, so the first call of this function makes sure that they
/// are there, and takes them. False, after a report, when there is no memory; a later call tries again. Other
/// BLAS libraries have no such buffer.
bool blasHasMemory();

}  // namespace limber::detail
