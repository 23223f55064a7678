#include "limber/solvers/detail/RowDots.h"

#include <cstddef>
#include <new>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"

namespace limber::detail {

namespace {

constexpr int lanes = RowPanel::rows;
// Rows that reach further than this (4 MB of panel) are taken one by one.
constexpr long long largestRange = 65536;

double* panel = nullptr;
int panelColumns = 0;

/// Room for so many columns; new ones are zeros, as all are between two loads.
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

const SpVec* filledRow(const HSpMat& matrix, int i) {
  const SpVec* const row = matrix.rows[i];
  return row && row->numEntries > 0 && row->values.data && row->indices.data ? row : nullptr;
}

/// acc[k] = sum of value times place k of the panel's column, for the entries inside its range.
template <class Value>
void walk(const SpVec& row, int begin, unsigned lowest, unsigned columns, Value value, double* acc) {
  double sums[lanes] = {};
  const int* const indices = row.indices.data;
  for (int e = begin; e < row.numEntries; e++) {
    const unsigned column = static_cast<unsigned>(indices[e]) - lowest;
    if (column >= columns) break;
    const double x = value(e);
    const double* const places = panel + static_cast<std::size_t>(column) * lanes;
    for (int k = 0; k < lanes; k++) sums[k] += x * places[k];
  }
  for (int k = 0; k < lanes; k++) acc[k] = sums[k];
}

}  // namespace

void RowPanel::load(int first, int count) {
  clear();
  first_ = first;
  count_ = count;
  connected_ = false;
  int lowest = 0;
  int highest = 0;
  for (int k = 0; k < count; k++) {
    const SpVec* const row = filledRow(matrix_, first + k);
    if (!row) continue;
    for (int e = 0; e < row->numEntries; e++) {
      const int index = row->indices.data[e];
      lowest = connected_ ? std::min(lowest, index) : index;
      highest = connected_ ? std::max(highest, index) : index;
      connected_ = true;
    }
  }
  const long long range = static_cast<long long>(highest) - lowest + 1;
  if (!connected_ || range > largestRange || !reserve(static_cast<int>(range))) return;
  lowest_ = lowest;
  columns_ = static_cast<int>(range);
  for (int k = 0; k < count; k++) {
    const SpVec* const row = filledRow(matrix_, first + k);
    for (int e = 0; row && e < row->numEntries; e++) {
      panel[static_cast<std::size_t>(row->indices.data[e] - lowest_) * lanes + static_cast<std::size_t>(k)] =
          row->values.data[e];
    }
  }
}

void RowPanel::clear() {
  std::fill_n(panel, static_cast<std::size_t>(columns_) * lanes, 0.0);
  columns_ = 0;
}

void RowPanel::dots(int j, double* out) const {
  std::fill_n(out, lanes, 0.0);
  const SpVec* const row = filledRow(matrix_, j);
  if (!row || !connected_) return;
  if (columns_ > 0) {
    const int* const indices = row->indices.data;
    const int* const end = indices + row->numEntries;
    const int begin = static_cast<int>(std::lower_bound(indices, end, lowest_) - indices);
    const unsigned lowest = static_cast<unsigned>(lowest_);
    const unsigned columns = static_cast<unsigned>(columns_);
    const double* const values = row->values.data;
    if (weights_) {
      const double* const w = weights_->data;
      const unsigned known = static_cast<unsigned>(std::max(weights_->capacity, 0));
      walk(
          *row, begin, lowest, columns,
          [=](int e) {
            const unsigned index = static_cast<unsigned>(indices[e]);
            return index < known ? w[index] * values[e] : 0.0;
          },
          out);
    } else {
      walk(
          *row, begin, lowest, columns, [values](int e) { return values[e]; }, out);
    }
  }
  // Zero times infinity is no zero: such a row is merged instead, as every row is where there is no panel.
  for (int k = 0; k < count_; k++) {
    if (columns_ > 0 && !std::isnan(out[k])) continue;
    const SpVec* const other = filledRow(matrix_, first_ + k);
    out[k] =
        other ? sdot(const_cast<SpVec*>(other), const_cast<SpVec*>(row), const_cast<Vector*>(weights_)) : 0.0;
  }
}

}  // namespace limber::detail
