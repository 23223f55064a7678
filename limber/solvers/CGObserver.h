#pragma once

/// @file
/// Who watches a solve.

/// Watches a solve. It is called once an iteration, after the step, with the number of the iteration, counted
/// from 1 through the whole solve, its squared residual, and the caller's data. 0 lets the solve go on;
/// anything else ends it, without a restart, with the best iterate so far.
typedef int (*CGObserver)(int iteration, double rsq, void* data);
