#pragma once

#include <memory>
#include <string>
#include <vector>

#include "input_error.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"

/// A sparse matrix and the rows it points at, which the matrix does not own.
struct SparseProblem {
  std::string path;  ///< the file that was opened
  int rows = 0, columns = 0;
  long entries = 0;  ///< of the matrix: those of the file, and the mirrored ones of a symmetric file
  std::vector<std::unique_ptr<SpVec>> storage;
  std::unique_ptr<HSpMat> matrix;
};

/// Reads a Matrix Market coordinate file, plain or gzip-compressed: general or symmetric; real, integer or
/// pattern (each entry 1). Explicit zeros are entries. `searchPath` may be null. Throws InputError.
SparseProblem readMatrix(const std::string& file, const char* searchPath);

/// Reads `size` numbers: words separated by whitespace, or a Matrix Market array of one column.
std::vector<double> readVector(const std::string& file, const char* searchPath, int size);
