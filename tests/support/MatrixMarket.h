#pragma once

#include <memory>
#include <string>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"

/// A sparse matrix read from a Matrix Market coordinate file, plain or gzip-compressed: general or symmetric,
/// real, integer or pattern.
class MatrixMarket {
 public:
  /// `error` is empty if the file was read.
  explicit MatrixMarket(const std::string& path);
  HSpMat& matrix() { return matrix_; }
  int entries() const;
  std::string error;

 private:
  void read(const std::string& text);
  std::vector<std::unique_ptr<SpVec>> rows_;
  HSpMat matrix_{0};
};
