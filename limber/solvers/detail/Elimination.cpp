#include "limber/solvers/detail/Elimination.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber/solvers/detail/MinimumDegree.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {
namespace {

// Sorts pairs into lists: pairs(add) calls add(i, number) for each number of list i.
template <class Pairs>
Lists listsOf(int count, Pairs pairs) {
  Lists lists;
  lists.start.assign(count + 1, 0);
  pairs([&](int i, int) { ++lists.start[i + 1]; });
  for (int i = 0; i < count; ++i) lists.start[i + 1] += lists.start[i];
  lists.number.resize(lists.start[count]);
  Ints next = lists.start;
  pairs([&](int i, int number) { lists.number[next[i]++] = number; });
  return lists;
}

// For each position, the next position in the factor's graph: the parent in the elimination tree (Liu 1990).
// earlier.number has, for each position, the earlier ones with an edge to it. The root's parent is -1.
Ints eliminationTree(const Lists& earlier) {
  const int n = earlier.count();
  Ints parent(n, -1), ancestor(n, -1);
  for (int k = 0; k < n; ++k) {
    for (int e = earlier.start[k]; e < earlier.start[k + 1]; ++e) {
      for (int j = earlier.number[e]; j >= 0 && j < k;) {
        const int above = ancestor[j];
        ancestor[j] = k;
        if (above < 0) parent[j] = k;
        j = above;
      }
    }
  }
  return parent;
}

// Calls visit(j, k) for each entry of the factor above its diagonal, row by row for ascending k: the
// ancestors of the earlier positions are reached as well.
template <class Visit>
void visitFactor(const Lists& earlier, const Ints& parent, Visit visit) {
  const int n = earlier.count();
  Ints mark(n, -1);
  for (int k = 0; k < n; ++k) {
    mark[k] = k;
    for (int e = earlier.start[k]; e < earlier.start[k + 1]; ++e) {
      for (int j = earlier.number[e]; mark[j] != k; j = parent[j]) {
        mark[j] = k;
        visit(j, k);
      }
    }
  }
}

void invertOrder(Elimination* out) {
  const int n = out->order.size();
  out->position.resize(n);
  for (int k = 0; k < n; ++k) out->position[out->order[k]] = k;
}

// Computes the rows of the factor for the order. False if it has more than `mostEntries` entries.
bool fillRows(const Lists& earlier, double mostEntries, Elimination* out) {
  const int n = earlier.count();
  const Ints parent = eliminationTree(earlier);
  double entries = 0.0;
  Ints next(n);
  visitFactor(earlier, parent, [&](int j, int) { ++next[j], entries += 1.0; });
  if (entries > mostEntries) return false;
  out->start.assign(n + 1, 0);
  for (int k = 0; k < n; ++k) {
    out->start[k + 1] = out->start[k] + next[k];
    next[k] = out->start[k];
  }
  out->index.resize(out->start[n]);
  visitFactor(earlier, parent, [&](int j, int k) { out->index[next[j]++] = k; });
  return true;
}

int entriesOf(const SparseRows& A, int i) { return A.start[i + 1] - A.start[i]; }

// The order of the columns for the factor of A^T A, without rows of more than `longest` entries.
bool orderOfColumns(const SparseRows& A, double longest, double mostEntries, Ints* order) {
  const auto pairs = [&](auto add) {
    for (int i = 0; i < A.height; ++i) {
      if (entriesOf(A, i) > longest) continue;
      for (int k = A.start[i]; k < A.start[i + 1]; ++k) add(i, A.index[k]);
    }
  };
  Lists rows = listsOf(A.height, pairs);
  Lists columns = listsOf(A.width, [&](auto add) { pairs([&](int i, int j) { add(j, i); }); });
  return minimumDegree(std::move(columns), std::move(rows), mostEntries, order);
}

}  // namespace

bool eliminateColumns(const SparseRows& A, const Allowance& allowance, Elimination* out) {
  for (int i = 0; i < A.height; ++i) {
    if (entriesOf(A, i) > 30000) return false;
  }
  const int n = A.width;
  if (!orderOfColumns(A, n, allowance.entries, &out->order)) return false;
  invertOrder(out);
  // The elimination of the first column of a row joins the other ones, so these edges are enough.
  Ints first(A.height, n);
  for (int i = 0; i < A.height; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k)
      first[i] = std::min(first[i], out->position[A.index[k]]);
  }
  const Lists earlier = listsOf(n, [&](auto add) {
    for (int i = 0; i < A.height; ++i) {
      for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
        if (out->position[A.index[k]] != first[i]) add(out->position[A.index[k]], first[i]);
      }
    }
  });
  if (!fillRows(earlier, allowance.entries, out)) return false;
  // rows go from each column to the next one that they reach, at most as many as the column has entries
  Doubles rows(n + 1);
  for (const int k : first) rows[k] += 1.0;
  out->operations = 0.0;
  for (int k = 0; k < n; ++k) {
    const double entries = out->start[k + 1] - out->start[k];
    out->operations += 6.0 * rows[k] * (entries + 1.0);
    rows[out->parent(k)] += std::max(0.0, std::min(rows[k] - 1.0, entries));
  }
  return out->operations <= allowance.operations;
}

bool eliminateSymmetric(const SparseRows& A, const Allowance& allowance, Elimination* out) {
  const int n = A.height;
  Lists neighbours = listsOf(n, [&](auto add) {
    for (int i = 0; i < n; ++i) {
      for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
        if (A.index[k] > i) add(i, A.index[k]), add(A.index[k], i);
      }
    }
  });
  if (!minimumDegree(std::move(neighbours), Lists(), allowance.entries, &out->order)) return false;
  invertOrder(out);
  const Lists earlier = listsOf(n, [&](auto add) {
    for (int i = 0; i < n; ++i) {
      const int at = out->position[i];
      for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
        const int to = out->position[A.index[k]];
        if (to != at) add(std::max(at, to), std::min(at, to));
      }
    }
  });
  if (!fillRows(earlier, allowance.entries, out)) return false;
  out->operations = 0.0;
  for (int k = 0; k < n; ++k) {
    const double entries = out->start[k + 1] - out->start[k] + 1.0;
    out->operations += entries * entries;
  }
  return out->operations <= allowance.operations;
}

Elimination bandElimination(int n, int halfBandwidth) {
  Elimination band;
  band.order.resize(n);
  band.start.resize(n + 1);
  for (int k = 0; k < n; ++k) {
    band.order[k] = k;
    band.start[k] = band.index.size();
    for (int j = k + 1; j <= std::min(k + halfBandwidth, n - 1); ++j) band.index.push(j);
  }
  band.start[n] = band.index.size();
  band.position = band.order;
  return band;
}

void orderColumns(const SparseRows& A, Ints* order) {
  const double full = std::max(16.0, 10.0 * std::sqrt(static_cast<double>(A.width)));
  if (orderOfColumns(A, full, 2e8, order)) return;
  order->resize(A.width);
  for (int j = 0; j < A.width; ++j) (*order)[j] = j;
}

}  // namespace limber::detail
