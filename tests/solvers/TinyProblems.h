#pragma once

#include <memory>
#include <vector>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"

/// Problems small enough to be solved on paper, for every solver, preconditioner and factorization.

struct TinyProblem {
  const char* name;
  int rows, columns;
  /// Row after row.
  std::vector<double> a, b;
  /// Weights V of the columns and damping D of the rows.
  std::vector<double> mass, damp;
  /// The x of A x = b if A is symmetric positive definite, else empty.
  std::vector<double> direct;
  /// The shortest x that minimises |A x - b|.
  std::vector<double> leastSquares;
  /// (A V^-1 A^T + D) y = b.
  std::vector<double> dual;
};

inline const std::vector<TinyProblem>& tinyProblems() {
  static const std::vector<TinyProblem> all = {
      //  [2] x = [6]                    x = 3
      //  2 2/2 + 1 = 3                  y = 2
      {"number", 1, 1, {2}, {6}, {2}, {1}, {3}, {3}, {2}},

      //  wall --o--o--o-- wall, three masses on springs:
      //  [ 2 -1  0]     [1]             x = (1, 1, 1)
      //  [-1  2 -1] x = [0]             A (A y) = b, so A y = (1, 1, 1) and y = (1.5, 2, 1.5)
      //  [ 0 -1  2]     [1]
      {"springs",
       3,
       3,
       {2, -1, 0, -1, 2, -1, 0, -1, 2},
       {1, 0, 1},
       {1, 1, 1},
       {0, 0, 0},
       {1, 1, 1},
       {1, 1, 1},
       {1.5, 2, 1.5}},

      //  3 |   o                        the line c + m t through (0, 1), (1, 3), (2, 2)
      //  2 |       o                    m = ((-1)(-1) + 0 1 + 1 0) / 2 = 0.5, c = 2 - m = 1.5
      //  1 o                            A A^T + I = [2 1 1; 1 3 3; 1 3 6]
      //    +---+---+                    y = (0, 4/3, -1/3)
      {"line fit",
       3,
       2,
       {1, 0, 1, 1, 1, 2},
       {1, 3, 2},
       {1, 1},
       {1, 1, 1},
       {},
       {1.5, 0.5},
       {0, 4.0 / 3.0, -1.0 / 3.0}},

      //  two constraints on three particles of mass 1, 2, 4:
      //  [1 1 0]     [3   ]             A V^-1 A^T + D = [1.5+0.5  0.5 ; 0.5  0.75]
      //  [0 1 1] x = [1.75]             y = (1.1, 1.6)
      //                                 shortest x = A^T (A A^T)^-1 b = (4.25, 4.75, 0.5) / 3
      {"constraints",
       2,
       3,
       {1, 1, 0, 0, 1, 1},
       {3, 1.75},
       {1, 2, 4},
       {0.5, 0},
       {},
       {4.25 / 3.0, 4.75 / 3.0, 0.5 / 3.0},
       {1.1, 1.6}},
  };
  return all;
}

inline Vector toVector(const std::vector<double>& elements) {
  Vector v(static_cast<int>(elements.size()));
  for (int i = 0; i < v.count; ++i) v[i] = elements[static_cast<std::size_t>(i)];
  return v;
}

inline std::vector<double> toElements(const Vector& v) { return {v.data, v.data + v.count}; }

inline FullMatrix toDense(int rows, int columns, const std::vector<double>& a) {
  FullMatrix m(rows, columns);
  for (std::size_t k = 0; k < a.size(); ++k) m.data[k] = a[k];
  return m;
}

/// A row-sparse matrix and its rows.
struct SparseMatrix {
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat m{0};

  SparseMatrix() = default;
  /// Takes the rows of a dense matrix, without zeros.
  SparseMatrix(int height, int width, const std::vector<double>& a) {
    for (int i = 0; i < height; ++i) {
      SpVec& row = addRow();
      for (int j = 0; j < width; ++j) row.insEnd(a[static_cast<std::size_t>(i * width + j)], j);
      row.width = width;
    }
  }
  SpVec& addRow() {
    rows.push_back(std::make_unique<SpVec>(1));
    m.add(rows.back().get());
    return *rows.back();
  }
};
