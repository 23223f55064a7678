#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/HSpMat.h"
#include "tests/linalg/Vectors.h"

/// Matrices from their elements, and the comparison with such a list.

inline FullMatrix matrixOf(const std::vector<std::vector<double>>& rows) {
  FullMatrix m(static_cast<int>(rows.size()), static_cast<int>(rows.empty() ? 0 : rows[0].size()));
  for (int i = 0; i < m.rows(); ++i)
    for (int j = 0; j < m.columns(); ++j)
      m.e(i, j) = rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
  return m;
}

inline std::vector<std::vector<double>> elementsOf(const FullMatrix& m) {
  std::vector<std::vector<double>> rows;
  for (int i = 0; i < m.rows(); ++i) rows.emplace_back(m[i], m[i] + m.columns());
  return rows;
}

inline FullMatrix randomMatrix(std::mt19937_64& random, int r, int c) {
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  FullMatrix m(r, c);
  for (int i = 0; i < r; ++i)
    for (int j = 0; j < c; ++j) m.e(i, j) = value(random);
  return m;
}

/// A row-sparse matrix that owns its rows.
struct OwnRows {
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat matrix{0};

  OwnRows() = default;
  explicit OwnRows(const std::vector<Entries>& entries) {
    for (const Entries& row : entries) add(rowOf(row));
  }
  void add(const SpVec& row) {
    rows.push_back(std::make_unique<SpVec>(row));
    matrix.add(rows.back().get());
  }
  static OwnRows random(std::mt19937_64& random, int h, int w, double density) {
    OwnRows made;
    for (int i = 0; i < h; ++i) made.add(randomRow(random, w, density));
    return made;
  }
};

/// Deletes the image that FullMatrix::compact returns.
inline void deleteImage(SpMat* image) {
  HSpMat* const sparse = static_cast<HSpMat*>(image);
  for (int i = 0; i < sparse->height(); ++i) delete sparse->row(i);
  delete sparse;
}
