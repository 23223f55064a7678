#include "problem.h"

#include <algorithm>
#include <new>

std::size_t sortAndAddUp(std::vector<Entry>* entries) {
  const auto before = [](const Entry& a, const Entry& b) {
    return a.row != b.row ? a.row < b.row : a.column < b.column;
  };
  if (!std::is_sorted(entries->begin(), entries->end(), before)) {
    std::stable_sort(entries->begin(), entries->end(), before);
  }
  std::size_t kept = 0;
  for (const Entry& entry : *entries) {
    if (kept > 0 && !before((*entries)[kept - 1], entry)) {
      (*entries)[kept - 1].value += entry.value;
    } else {
      (*entries)[kept++] = entry;
    }
  }
  const std::size_t repeated = entries->size() - kept;
  entries->resize(kept);
  return repeated;
}

RowMatrix::RowMatrix(const SparseProblem& problem, Rule rule) : matrix_(problem.rows) {
  if (matrix_.numRows != problem.rows) throw std::bad_alloc();
  const auto end = problem.entries.end();
  for (auto first = problem.entries.begin(); first != end;) {
    auto last = first;
    while (last != end && last->row == first->row) ++last;
    const auto count = static_cast<std::size_t>(last - first);
    SpVec& row = addRow(first->row, count);
    for (; first != last; ++first) {
      if (rule == Contract) {
        const int before = row.numEntries;
        row.ins(first->value, first->column);
        if (row.numEntries == before && first->value != 0.0) ++dropped_;
        continue;
      }
      row.values.data[row.numEntries] = first->value;
      row.indices.data[row.numEntries] = first->column;
      row.values.count = row.indices.count = ++row.numEntries;
      row.width = first->column + 1;
    }
  }
  // The matrix must have its full width even if its last columns have no entries.
  if (problem.rows == 0) return;
  if (!matrix_.rows[0]) addRow(0, 1);
  matrix_.rows[0]->width = problem.columns;
}

SpVec& RowMatrix::addRow(int i, std::size_t room) {
  const int wanted = static_cast<int>(room);
  SpVec& row = rows_.emplace_back(wanted);
  if (row.values.capacity < wanted || row.indices.capacity < wanted) throw std::bad_alloc();
  matrix_.rows[i] = &row;
  return row;
}
