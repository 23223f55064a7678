#pragma once

#include <memory>
#include <random>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"

/// A row-sparse matrix that owns its rows, filled from a seed.
struct Jacobian {
  explicit Jacobian(unsigned seed) : engine(seed), matrix(0) {}

  /// Appends a row with entries in `density` of the columns first ... first + count - 1.
  void addRow(int first, int count, double density) {
    auto row = std::make_unique<SpVec>(count > 4 ? count : 4);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    for (int j = first; j < first + count; ++j) {
      const double value = normal(engine);
      if (uniform(engine) < density) row->ins(value, j);
    }
    matrix.add(row.get());
    rows.push_back(std::move(row));
  }

  /// Adds `frames` frames of `constraints` rows. Each row has entries in the `own` columns of its frame and
  /// in `next` columns of the next one.
  void addFrames(int frames, int constraints, int own, int next) {
    for (int f = 0; f < frames; ++f) {
      for (int c = 0; c < constraints; ++c) addRow(f * own, own + next, 1.0);
    }
  }

  std::mt19937_64 engine;
  HSpMat matrix;
  std::vector<std::unique_ptr<SpVec>> rows;
};
