#include "limber/solvers/detail/Elimination.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {
namespace {

// The unknowns sorted by degree: one doubly linked list for each degree.
class DegreeLists {
 public:
  explicit DegreeLists(int n) : first_(n + 1, -1), next_(n, -1), previous_(n, -1), degree_(n, 0) {}

  void insert(int i, int degree) {
    degree_[i] = degree;
    previous_[i] = -1;
    next_[i] = first_[degree];
    if (next_[i] >= 0) previous_[next_[i]] = i;
    first_[degree] = i;
    least_ = std::min(least_, degree);
  }
  void remove(int i) {
    if (next_[i] >= 0) previous_[next_[i]] = previous_[i];
    if (previous_[i] >= 0) {
      next_[previous_[i]] = next_[i];
    } else {
      first_[degree_[i]] = next_[i];
    }
  }
  int takeLeast() {
    while (first_[least_] < 0) ++least_;
    const int i = first_[least_];
    remove(i);
    return i;
  }
  int degree(int i) const { return degree_[i]; }

 private:
  Ints first_, next_, previous_, degree_;
  int least_ = 0;
};

// The quotient graph: the remaining cliques, and for each unknown the cliques that contain it. A clique with
// an eliminated unknown has been absorbed by the clique that the elimination created.
class QuotientGraph {
 public:
  QuotientGraph(int n, int cliques) : n_(n), of_(n), gone_(n, 0), mark_(n, -1) {
    members_.reserve(cliques + n);
    for (int c = 0; c < cliques; ++c) addClique();
  }
  void join(int clique, int i) {
    members_[clique].push(i);
    of_[i].push(clique);
  }

  // Computes the order and, if `pattern` is true, the rows of the factor. False if the factor has more than
  // `mostEntries` entries.
  bool eliminate(double mostEntries, bool pattern, Elimination* out);

 private:
  int addClique() {
    members_.push(Ints());
    outside_.push(0);
    stamp_.push(-1);
    return members_.size() - 1;
  }
  void absorb(int c) {
    members_[c].release();
    stamp_[c] = dead;
  }
  int firstDegree(int i) const {
    double degree = 0.0;
    for (const int c : of_[i]) degree += members_[c].size() - 1;
    return static_cast<int>(std::min(degree, n_ - 1.0));
  }
  void gather(int p, int step, Ints* reached);
  void update(int step, const Ints& reached, int left, DegreeLists* lists);

  static constexpr int dead = -2;
  const int n_;
  Array<Ints> of_, members_;
  Ints gone_, mark_;
  // The number of members of each clique that the last elimination did not reach; valid if the clique has the
  // stamp of that step.
  Ints outside_, stamp_;
};

// Collects all unknowns that share a clique with p, which is eliminated.
void QuotientGraph::gather(int p, int step, Ints* reached) {
  reached->resize(0);
  gone_[p] = 1;
  mark_[p] = step;
  for (const int c : of_[p]) {
    for (const int i : members_[c]) {
      if (mark_[i] == step) continue;
      mark_[i] = step;
      reached->push(i);
    }
    absorb(c);
  }
  of_[p].release();
}

// Replaces the cliques that the new clique covers, and updates the degrees of its members.
void QuotientGraph::update(int step, const Ints& reached, int left, DegreeLists* lists) {
  for (const int i : reached) {
    Ints& mine = of_[i];
    int kept = 0;
    for (const int c : mine) {
      if (stamp_[c] == dead) continue;
      if (stamp_[c] != step) {
        stamp_[c] = step;
        outside_[c] = members_[c].size();
      }
      --outside_[c];
      mine[kept++] = c;
    }
    mine.resize(kept);
  }
  const int clique = addClique();
  const int size = reached.size();
  for (const int i : reached) {
    Ints& mine = of_[i];
    double degree = size - 1;
    int kept = 0;
    for (const int c : mine) {
      if (stamp_[c] == dead) continue;
      if (outside_[c] == 0) {
        absorb(c);
        continue;
      }
      degree += outside_[c];
      mine[kept++] = c;
    }
    mine.resize(kept);
    mine.push(clique);
    lists->remove(i);
    const double before = lists->degree(i) + (size - 1.0);
    lists->insert(i, static_cast<int>(std::min({degree, before, left - 1.0})));
  }
  members_[clique] = reached;
}

bool QuotientGraph::eliminate(double mostEntries, bool pattern, Elimination* out) {
  DegreeLists lists(n_);
  for (int i = n_ - 1; i >= 0; --i) lists.insert(i, firstDegree(i));
  out->order.resize(n_);
  out->position.resize(n_);
  out->start.assign(n_ + 1, 0);
  out->index.resize(0);
  Ints reached;
  double entries = 0.0;
  for (int k = 0; k < n_; ++k) {
    const int p = lists.takeLeast();
    out->order[k] = p;
    out->position[p] = k;
    gather(p, k, &reached);
    entries += reached.size();
    if (entries > mostEntries) return false;
    if (pattern) {
      for (const int i : reached) out->index.push(i);
    }
    out->start[k + 1] = out->index.size();
    if (reached.size() > 0) update(k, reached, n_ - k - 1, &lists);
  }
  for (int& i : out->index) i = out->position[i];
  for (int k = 0; k < n_; ++k) {
    std::sort(out->index.data() + out->start[k], out->index.data() + out->start[k + 1]);
  }
  return true;
}

int entriesOf(const SparseRows& A, int i) { return A.start[i + 1] - A.start[i]; }

}  // namespace

bool eliminateColumns(const SparseRows& A, const Allowance& allowance, Elimination* out) {
  QuotientGraph graph(A.width, A.height);
  for (int i = 0; i < A.height; ++i) {
    if (entriesOf(A, i) > 30000) return false;
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) graph.join(i, A.index[k]);
  }
  if (!graph.eliminate(allowance.entries, true, out)) return false;
  // rows go from each column to the next one that they reach, at most as many as the column has entries
  const int n = A.width;
  Doubles rows(n + 1);
  for (int i = 0; i < A.height; ++i) {
    int first = n;
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) first = std::min(first, out->position[A.index[k]]);
    rows[first] += 1.0;
  }
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
  int edges = 0;
  for (int i = 0; i < n; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) edges += A.index[k] > i;
  }
  QuotientGraph graph(n, edges);
  edges = 0;
  for (int i = 0; i < n; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
      if (A.index[k] <= i) continue;
      graph.join(edges, i);
      graph.join(edges++, A.index[k]);
    }
  }
  if (!graph.eliminate(allowance.entries, true, out)) return false;
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
  QuotientGraph graph(A.width, A.height);
  for (int i = 0; i < A.height; ++i) {
    if (entriesOf(A, i) > full) continue;
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) graph.join(i, A.index[k]);
  }
  Elimination elimination;
  if (graph.eliminate(2e8, false, &elimination)) {
    order->swap(elimination.order);
    return;
  }
  order->resize(A.width);
  for (int j = 0; j < A.width; ++j) (*order)[j] = j;
}

}  // namespace limber::detail
