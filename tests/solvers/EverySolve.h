#pragma once

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "limber/linalg/SpMat.h"
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/TinyProblems.h"

/// An n x n matrix, symmetric and diagonally dominant if requested, with rows of different lengths.
inline SparseMatrix randomSparse(int n, bool symmetric) {
  std::mt19937 engine(3);
  std::vector<double> a(static_cast<std::size_t>(n * n));
  const auto at = [&a, n](int i, int j) -> double& { return a[static_cast<std::size_t>(i * n + j)]; };
  std::normal_distribution<double> normal;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < i; ++j) {
      if (engine() % 9 != 0) continue;
      at(i, j) = normal(engine);
      at(j, i) = symmetric ? at(i, j) : 0.5 * normal(engine);
    }
  }
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (int j = 0; j < n; ++j) sum += std::fabs(at(i, j));
    at(i, i) = 1.01 * sum + 0.01 * i;
  }
  return SparseMatrix(n, n, a);
}

/// An entry point of one of the three families.
struct EntryPoint {
  const char* name;
  std::function<int(SpMat*, Vector*, Vector*, double*)> solve;
};

inline std::vector<EntryPoint> entryPoints(Vector& damp, Vector& mass, Preconditioner& identity) {
  return {
      {"ncgradA", ncgradA},
      {"ncgradAtA", ncgradAtA},
      {"ncgrad", ncgrad},
      {"ncgradAAt", ncgradAAt},
      {"ncgradDamp", [](SpMat* A, Vector* x, Vector* b, double* r) { return ncgradDamp(A, x, b, r, 0.01); }},
      {"ncgradJJt",
       [&](SpMat* A, Vector* x, Vector* b, double* r) { return ncgradJJt(A, x, b, r, &damp, &identity); }},
      {"ncgradJVJt", [&](SpMat* A, Vector* x, Vector* b,
                         double* r) { return ncgradJVJt(A, x, b, r, &mass, &damp, nullptr); }},
      {"cgrad", cgrad},
      {"cgradA", cgradA},
      {"cgradAAt", cgradAAt},
      {"cgradJVJt",
       [&](SpMat* A, Vector* x, Vector* b, double* r) { return cgradJVJt(A, x, b, r, &mass, &damp); }},
      {"biCGrad",
       [](SpMat* A, Vector* x, Vector* b, double* r) {
         int iterations = 0;
         biCGrad(A, x, b, *r, iterations, 1);
         return iterations;
       }},
  };
}
