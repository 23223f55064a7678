#include "limber/solvers/detail/Transversal.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {
namespace {

// Matches columns with rows along entries that are at least a given share of the largest entry in their
// column.
class Matching {
 public:
  explicit Matching(const SparseRows& A)
      : columns_(A.transposed()),
        rowOf_(A.width, -1),
        columnOf_(A.height, -1),
        seen_(A.height, -1),
        at_(A.width),
        largest_(A.width) {
    for (int j = 0; j < A.width; ++j) {
      for (int k = columns_.start[j]; k < columns_.start[j + 1]; ++k) {
        largest_[j] = std::max(largest_[j], std::fabs(columns_.value[k]));
      }
    }
  }

  // Keeps the diagonal where it is at least that share of the largest entry in its column.
  void keepDiagonal(double share) {
    for (int j = 0; j < rowOf_.size(); ++j) {
      for (int k = columns_.start[j]; k < columns_.start[j + 1]; ++k) {
        if (columns_.index[k] == j && large(j, k, share)) match(j, j);
      }
    }
  }
  void extend(double share) {
    for (int j = 0; j < rowOf_.size(); ++j) {
      if (rowOf_[j] < 0) augment(j, share);
    }
  }
  int finish(Ints* row) {
    int matched = 0, freeRow = 0;
    row->resize(rowOf_.size());
    for (int j = 0; j < rowOf_.size(); ++j) matched += rowOf_[j] >= 0;
    for (int j = 0; j < rowOf_.size(); ++j) {
      if (rowOf_[j] < 0) {
        while (columnOf_[freeRow] >= 0) ++freeRow;
        match(freeRow, j);
      }
      (*row)[j] = rowOf_[j];
    }
    return matched;
  }

 private:
  bool large(int j, int k, double share) const {
    const double v = std::fabs(columns_.value[k]);
    return v > 0.0 && v >= share * largest_[j];
  }
  void match(int i, int j) {
    rowOf_[j] = i;
    columnOf_[i] = j;
  }
  // Searches, depth first, for an alternating path from the column to a free row.
  void augment(int from, double share) {
    ++round_;
    path_.resize(0);
    path_.push(from);
    at_[from] = columns_.start[from];
    while (path_.size() > 0) {
      const int j = path_[path_.size() - 1];
      int found = -1;
      for (int k = columns_.start[j]; k < columns_.start[j + 1]; ++k) {
        if (columnOf_[columns_.index[k]] < 0 && large(j, k, share)) found = columns_.index[k];
      }
      if (found >= 0) {
        for (int p = path_.size() - 1; p >= 0; --p) {
          const int before = rowOf_[path_[p]];
          match(found, path_[p]);
          found = before;
        }
        return;
      }
      bool deeper = false;
      for (int& k = at_[j]; k < columns_.start[j + 1] && !deeper; ++k) {
        const int i = columns_.index[k];
        if (seen_[i] == round_ || !large(j, k, share)) continue;
        seen_[i] = round_;
        const int next = columnOf_[i];
        at_[next] = columns_.start[next];
        path_.push(next);
        deeper = true;
      }
      if (!deeper) path_.resize(path_.size() - 1);
    }
  }

  const SparseRows columns_;
  Ints rowOf_, columnOf_, seen_, at_, path_;
  Doubles largest_;
  int round_ = 0;
};

}  // namespace

int transversal(const SparseRows& A, Ints* row) {
  Matching matching(A);
  matching.keepDiagonal(0.1);
  for (const double share : {0.5, 0.1, 0.01, 0.0}) matching.extend(share);
  return matching.finish(row);
}

}  // namespace limber::detail
