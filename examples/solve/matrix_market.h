#pragma once

#include <string>
#include <vector>

#include "problem.h"

/// Reads a matrix from a Matrix Market file, plain or gzip-compressed: coordinate or array; real, integer or
/// pattern (every entry is 1); general, symmetric or skew-symmetric. Explicit zeros of a coordinate file are
/// entries. Entries may come in any order; those of one place are added up, with a note. The sizes that the
/// file declares are held against its length and the memory at hand before anything is allocated.
/// `searchPath` may be null. Throws InputError, and std::bad_alloc when memory ends.
SparseProblem readMatrix(const std::string& file, const char* searchPath);

/// Reads `size` numbers: words separated by white space, or a Matrix Market file of one column, coordinate or
/// array. `found` receives the name of the file that was opened.
std::vector<double> readVector(const std::string& file, const char* searchPath, int size, std::string* found);
