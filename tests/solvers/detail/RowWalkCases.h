#pragma once

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "limber/solvers/detail/RowWalk.h"
#include "tests/support/Tolerance.h"

namespace row_walk {

using limber::detail::RowWalk;

constexpr int lanes = RowWalk::lanes;
constexpr int columns = 40;
constexpr int lowest = 7;

// A panel of the columns 7 ... 46, and rows with entries in some of them.
struct Case {
  Case(unsigned seed, bool weighted) : panel(columns * lanes), weights(20), values(RowWalk::maxRows) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    for (double& x : panel) x = random() % 3 ? normal(random) : 0.0;
    for (double& x : weights) x = normal(random);
    for (int c = 0; c < columns; ++c) {
      if (random() % 2) indices.push_back(lowest + c);
    }
    const std::size_t entries = indices.size();
    for (std::vector<double>& row : values) {
      for (std::size_t e = 0; e < entries; ++e) row.push_back(normal(random));
    }
    const int end = static_cast<int>(entries);
    const int begin = end > 2 ? static_cast<int>(random() % 3) : 0;
    walk = {indices.data(), begin, end, {}, weighted ? weights.data() : nullptr, 20, panel.data(), lowest};
    for (int r = 0; r < RowWalk::maxRows; ++r) walk.values[r] = values[static_cast<std::size_t>(r)].data();
  }

  double expected(int r, int k) const {
    double sum = 0.0;
    for (int e = walk.begin; e < walk.end; ++e) {
      const int index = walk.indices[e];
      double x = walk.values[r][e];
      if (walk.weights) x = (index < 20 ? walk.weights[index] : 0.0) * x;
      sum += x * walk.panel[(index - lowest) * lanes + k];
    }
    return sum;
  }

  std::vector<double> panel, weights;
  std::vector<std::vector<double>> values;
  std::vector<int> indices;
  RowWalk walk;
};

// Compares walkRows with sums in the order of the entries.
inline void expectPlainBits() {
  for (unsigned seed = 0; seed < 60; ++seed) {
    for (const bool weighted : {false, true}) {
      const Case c(seed, weighted);
      for (int count = 1; count <= RowWalk::maxRows; ++count) {
        double sums[RowWalk::maxRows][lanes];
        for (auto& row : sums)
          for (double& x : row) x = -77.0;
        limber::detail::walkRows(c.walk, count, sums);
        for (int r = 0; r < RowWalk::maxRows; ++r) {
          for (int k = 0; k < lanes; ++k) {
            EXPECT_TRUE(tolerance::sameBits(sums[r][k], r < count ? c.expected(r, k) : -77.0))
                << seed << " " << count << " " << r << " " << k;
          }
        }
      }
    }
  }
}

}  // namespace row_walk
