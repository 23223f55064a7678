#pragma once

/// @file
/// The function that watches a solve.

/// Watches a solve. It is called once per iteration, after the step, with the number of the iteration
/// (counted from 1 through the whole solve), its squared residual and the caller's data. If it returns 0 the
/// solve continues; any other value ends it, without a restart, with the best iterate so far.
typedef int (*CGObserver)(int iteration, double rsq, void* data);
