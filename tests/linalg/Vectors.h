#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <random>
#include <utility>
#include <vector>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"

/// Vectors and rows from their elements, and the comparison with such a list.

using Entries = std::vector<std::pair<int, double>>;

inline Vector vectorOf(const std::vector<double>& elements) {
  Vector v(static_cast<int>(elements.size()));
  for (int i = 0; i < v.size(); ++i) v[i] = elements[static_cast<std::size_t>(i)];
  return v;
}

inline void expectElements(const Vector& v, const std::vector<double>& elements) {
  EXPECT_EQ(std::vector<double>(v.data, v.data + v.size()), elements);
}

/// A row with these entries exactly in this order.
inline SpVec rowOf(const Entries& entries) {
  SpVec row;
  for (const auto& [index, value] : entries) row.insEnd(value, index);
  return row;
}

inline Entries entriesOf(const SpVec& row) {
  Entries entries;
  for (int k = 0; k < row.numEntries; ++k) entries.emplace_back(row.indices[k], row.values[k]);
  return entries;
}

/// A row of about `density` of the indices 0 ... n - 1.
inline SpVec randomRow(std::mt19937_64& random, int n, double density) {
  std::uniform_real_distribution<double> chance(0.0, 1.0), value(-1.0, 1.0);
  SpVec row;
  for (int i = 0; i < n; ++i)
    if (chance(random) < density) row.insEnd(value(random), i);
  return row;
}

inline Vector randomVector(std::mt19937_64& random, int n) {
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  Vector v(n);
  for (int i = 0; i < n; ++i) v[i] = value(random);
  return v;
}
