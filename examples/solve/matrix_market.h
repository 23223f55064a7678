#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "problem.h"

/// For a number of rows, returns the first one to keep and one past the last. Empty: all are kept.
using RowSelection = std::function<std::pair<int, int>(int rows)>;

/// Reads a matrix from a Matrix Market file, plain or gzip-compressed: coordinate or array; real, integer or
/// pattern (every entry is 1); general, symmetric or skew-symmetric. Explicit zeros of a coordinate file are
/// entries. Entries may be in any order; those of the same place are added up, with a note. The declared
/// sizes are compared with the length of the file and the available memory before anything is allocated.
/// `searchPath` may be null. Entries of rows that are not kept are read and dropped; the rows keep their
/// numbers. Throws InputError, and std::bad_alloc if there is no memory.
SparseProblem readMatrix(const std::string& file, const char* searchPath, const RowSelection& keep = {});

/// The numbers of a file.
struct NumberFile {
  std::string path;  ///< the file that was opened
  std::vector<double> values;
  std::vector<std::string> notes;  ///< what the user should know about the file
};

/// Reads `size` numbers: words separated by white space, or a Matrix Market file of one column, coordinate or
/// array. The result contains the numbers that are kept.
NumberFile readVector(const std::string& file, const char* searchPath, int size,
                      const RowSelection& keep = {});
