#include "limber/solvers/detail/RowDots.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/detail/RowWalk.h"

namespace limber::detail {

namespace {

constexpr int lanes = RowPanel::rows;
// Rows that extend over more columns than this, a panel of 4 MB, are merged.
constexpr long long largestRange = 65536;

double* panel = nullptr;
int panelColumns = 0;

// Makes room for this many columns. New columns are zeros, as all columns are between two loads.
bool reserve(int columns) {
  if (columns <= panelColumns) return true;
  const int larger = std::max(columns, 2 * panelColumns);
  double* const fresh = new (std::nothrow) double[static_cast<std::size_t>(larger) * lanes]();
  if (!fresh) return false;
  delete[] panel;
  panel = fresh;
  panelColumns = larger;
  return true;
}

double* columnOf(int column) { return panel + static_cast<std::ptrdiff_t>(column) * lanes; }

bool isAscending(const SpVec& row) {
  for (int e = 1; e < row.numEntries; ++e) {
    if (row.indices.data[e - 1] >= row.indices.data[e]) return false;
  }
  return true;
}

bool isFilled(const SpVec* row) {
  return row && row->numEntries > 0 && row->values.data && row->indices.data;
}

bool sameIndices(const SpVec* a, const SpVec* b) {
  return isFilled(a) && isFilled(b) && a->numEntries == b->numEntries &&
         std::memcmp(a->indices.data, b->indices.data,
                     static_cast<std::size_t>(a->numEntries) * sizeof(int)) == 0;
}

}  // namespace

IndexRuns::IndexRuns(const HSpMat& matrix) {
  const int n = matrix.numRows;
  if (n < 1) return;
  lengths_.reset(new (std::nothrow) int[static_cast<std::size_t>(n)]);
  if (!lengths_) return;
  int* const lengths = lengths_.get();
  for (int j = n - 1; j >= 0; --j) {
    if (j + 1 < n && sameIndices(matrix.rows[j], matrix.rows[j + 1])) {
      lengths[j] = lengths[j + 1] > 0 ? lengths[j + 1] + 1 : 0;
    } else {
      lengths[j] = isFilled(matrix.rows[j]) && isAscending(*matrix.rows[j]) ? 1 : 0;
    }
  }
}

void RowPanel::load(int first, int count) {
  clear();
  first_ = first;
  count_ = count;
  merged_ = false;
  long long lowest = largestRange;
  long long highest = -1;
  bool found = false;
  for (int i = first; i < first + count; ++i) {
    if (runs_.at(i) == 0) {
      merged_ = true;
      continue;
    }
    const IntVec& indices = matrix_.rows[i]->indices;
    const int last = indices.data[matrix_.rows[i]->numEntries - 1];
    lowest = found ? std::min<long long>(lowest, indices.data[0]) : indices.data[0];
    highest = found ? std::max<long long>(highest, last) : last;
    found = true;
  }
  const long long range = highest - lowest + 1;
  if (!found || range > largestRange || !reserve(static_cast<int>(range))) return;
  lowest_ = static_cast<int>(lowest);
  columns_ = static_cast<int>(range);
  for (int k = 0; k < count;) {
    const int run = std::max(1, std::min(runs_.at(first + k), count - k));
    const SpVec* const row = matrix_.rows[first + k];
    const int entries = runs_.at(first + k) > 0 ? row->numEntries : 0;
    const double* values[lanes];
    for (int r = 0; r < run && entries > 0; ++r) values[r] = matrix_.rows[first + k + r]->values.data;
    for (int e = 0; e < entries; ++e) {
      double* const place = columnOf(row->indices.data[e] - lowest_) + k;
      for (int r = 0; r < run; ++r) place[r] = values[r][e];
    }
    k += run;
  }
}

void RowPanel::clear() {
  std::fill_n(panel, static_cast<std::size_t>(columns_) * lanes, 0.0);
  columns_ = 0;
}

void RowPanel::walk(int j, int together, double (*out)[rows]) const {
  const SpVec& row = *matrix_.rows[j];
  const int* const indices = row.indices.data;
  const int* const end = indices + row.numEntries;
  const int highest = lowest_ + columns_ - 1;
  const int* const from = *indices >= lowest_ ? indices : std::lower_bound(indices, end, lowest_);
  const int* const to = end[-1] <= highest ? end : std::upper_bound(from, end, highest);
  RowWalk entries{
      indices, static_cast<int>(from - indices), static_cast<int>(to - indices), {}, nullptr, 0, panel,
      lowest_};
  for (int r = 0; r < together; ++r) entries.values[r] = matrix_.rows[j + r]->values.data;
  if (weights_) {
    entries.weights = weights_->data;
    entries.known = static_cast<unsigned>(std::max(weights_->capacity, 0));
  }
  walkRows(entries, together, out);
}

void RowPanel::merge(int j, int k, double (*out)[rows]) const {
  SpVec* const a = matrix_.rows[first_ + k];
  SpVec* const b = matrix_.rows[j];
  if (first_ + k == j && a && !weights_) {
    // A merge would lose terms of a row that is not in ascending order, but its squared norm does not.
    (*out)[k] = a->magSq();
    return;
  }
  (*out)[k] = a && b ? sdot(a, b, const_cast<Vector*>(weights_)) : 0.0;
}

void RowPanel::dots(int j, int together, double (*out)[rows]) const {
  const bool walked = columns_ > 0 && runs_.at(j) > 0;
  if (walked) walk(j, together, out);
  for (int r = 0; r < together; ++r) {
    // Zero times infinity is a NaN, which no merge would compute. So rows with a NaN are merged.
    double sum = 0.0;
    for (int k = 0; walked && k < lanes; ++k) sum += out[r][k];
    if (walked && !merged_ && !std::isnan(sum)) continue;
    for (int k = 0; k < count_; ++k) {
      if (!walked || runs_.at(first_ + k) == 0 || std::isnan(sum)) merge(j + r, k, out + r);
    }
  }
}

}  // namespace limber::detail
