#pragma once

/// @file
/// Who watches a solve.

/// Called once an iteration, after the step, with the number of the iteration (from 1), the squared residual
/// and the caller's data. 0: the solve goes on. Anything else ends it with the best iterate so far.
typedef int (*CGObserver)(int iteration, double rsq, void* data);
