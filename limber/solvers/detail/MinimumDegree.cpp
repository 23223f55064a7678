#include "limber/solvers/detail/MinimumDegree.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace limber::detail {
namespace {

// The nodes sorted by degree: one doubly linked list for each degree.
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

// The nodes that are ordered together, as chains.
class Groups {
 public:
  explicit Groups(int n) : next_(n, -1), last_(n) {
    for (int i = 0; i < n; ++i) last_[i] = i;
  }
  // Appends the chain of j to that of i.
  void append(int i, int j) {
    next_[last_[i]] = j;
    last_[i] = last_[j];
  }
  void list(int i, Ints* out) const {
    for (; i >= 0; i = next_[i]) out->push(i);
  }

 private:
  Ints next_, last_;
};

// The graph during the elimination. The elimination of a node joins its neighbours to a clique, which gets
// the number of the node and absorbs the cliques of the node. The cliques of the beginning have the numbers
// from n on. A node stands for all nodes that were found to have the same neighbours: its weight is their
// number. Nodes that are eliminated, postponed or represented by another one have the weight 0.
class QuotientGraph {
 public:
  QuotientGraph(Lists neighbours, Lists cliques)
      : n_(neighbours.count()),
        cliques_(cliques.count()),
        start_(std::move(neighbours.start)),
        neighbour_(std::move(neighbours.number)),
        member_(std::move(cliques.number)) {
    for (int i = 0; i < n_; ++i) size_[i] = start_[i + 1] - start_[i];
    postponeFullNodes();
    for (int c = 0; c < cliques_; ++c) {
      const int id = n_ + c;
      memberStart_[id] = cliques.start[c];
      memberCount_[id] = cliques.size(c);
      for (int k = cliques.start[c]; k < cliques.start[c + 1]; ++k) cliqueWeight_[id] += weight_[member_[k]];
      created_.push(id);
    }
    if (cliques_ > 0) {
      cliqueCount_ = size_;
      for (int& c : neighbour_) c += n_;
    }
    for (int i = n_ - 1; i >= 0; --i) {
      if (weight_[i] > 0) degrees_.insert(i, firstDegree(i));
    }
  }

  bool eliminate(double mostEntries, Ints* order) {
    double entries = 0.0;
    Ints pivots;
    while (left_ > 0) {
      if (member_.size() > 2.0 * liveMembers_ + n_) compact();
      ++stamp_;
      const int p = degrees_.takeLeast();
      int eliminated = std::exchange(weight_[p], 0), reachedWeight = 0;
      gather(p);
      measureOutside();
      for (const int i : reached_) {
        if (update(i, p)) {
          reachedWeight += weight_[i];
        } else {
          eliminated += std::exchange(weight_[i], 0);
          groups_.append(p, i);
        }
      }
      entries += eliminated * (reachedWeight + 0.5 * (eliminated - 1.0));
      if (entries > mostEntries) return false;
      left_ -= eliminated;
      pivots.push(p);
      if (reachedWeight == 0) continue;
      mergeTwins();
      store(p, reachedWeight);
    }
    order->resize(0);
    for (const int p : pivots) groups_.list(p, order);
    for (const int i : postponed_) order->push(i);
    return true;
  }

 private:
  // Nodes with many neighbours are met in nearly all eliminations, which would take quadratic time.
  void postponeFullNodes() {
    const double full = std::max(16.0, 10.0 * std::sqrt(static_cast<double>(n_)));
    for (int i = 0; i < n_; ++i) {
      if (size_[i] <= full) continue;
      weight_[i] = 0;
      postponed_.push(i);
      --left_;
    }
  }

  int firstDegree(int i) const {
    double degree = 0.0;
    const int* const list = neighbour_.data() + start_[i];
    for (int k = 0; k < size_[i]; ++k) {
      degree += k < cliqueCount_[i] ? cliqueWeight_[list[k]] - 1 : weight_[list[k]];
    }
    return static_cast<int>(std::min(degree, left_ - 1.0));
  }

  // Moves the members of the remaining cliques together.
  void compact() {
    int to = 0, kept = 0;
    for (const int c : created_) {
      if (cliqueWeight_[c] == 0) continue;
      std::copy_n(member_.data() + memberStart_[c], memberCount_[c], member_.data() + to);
      memberStart_[c] = to;
      to += memberCount_[c];
      created_[kept++] = c;
    }
    created_.resize(kept);
    member_.resize(to);
  }

  // Collects the neighbours of p, whose cliques become part of its own.
  void gather(int p) {
    reached_.resize(0);
    const int* const list = neighbour_.data() + start_[p];
    for (int k = 0; k < cliqueCount_[p]; ++k) {
      const int c = list[k];
      if (cliqueWeight_[c] == 0) continue;
      for (int m = memberStart_[c]; m < memberStart_[c] + memberCount_[c]; ++m) visit(member_[m]);
      absorb(c);
    }
    for (int k = cliqueCount_[p]; k < size_[p]; ++k) visit(list[k]);
  }

  void visit(int i) {
    if (weight_[i] == 0 || seen_[i] == stamp_) return;
    seen_[i] = stamp_;
    reached_.push(i);
    degrees_.remove(i);
  }

  void absorb(int clique) {
    cliqueWeight_[clique] = 0;
    liveMembers_ -= memberCount_[clique];
  }

  // Computes the weight outside of the reached nodes for each clique that contains some of them.
  void measureOutside() {
    for (const int i : reached_) {
      const int* const list = neighbour_.data() + start_[i];
      for (int k = 0; k < cliqueCount_[i]; ++k) {
        const int c = list[k];
        if (seen_[c] != stamp_) {
          seen_[c] = stamp_;
          outside_[c] = cliqueWeight_[c];
        }
        outside_[c] -= weight_[i];
      }
    }
  }

  // Shortens the lists of the reached node i, adds the new clique p, and bounds its degree from above. False
  // if i has no neighbours outside of that clique.
  bool update(int i, int p) {
    int* const list = neighbour_.data() + start_[i];
    double degree = 0.0;
    unsigned hash = 0;
    int kept = 0;
    for (int k = 0; k < cliqueCount_[i]; ++k) {
      const int c = list[k];
      if (cliqueWeight_[c] == 0) continue;
      if (outside_[c] == 0) {
        absorb(c);
        continue;
      }
      degree += outside_[c];
      hash += static_cast<unsigned>(c);
      list[kept++] = c;
    }
    const int cliques = kept;
    for (int k = cliqueCount_[i]; k < size_[i]; ++k) {
      const int j = list[k];
      if (weight_[j] == 0 || seen_[j] == stamp_) continue;
      degree += weight_[j];
      hash += static_cast<unsigned>(j);
      list[kept++] = j;
    }
    if (kept == 0) return false;
    // there is space, because p or one of its cliques was in the list
    list[kept] = list[cliques];
    list[cliques] = p;
    cliqueCount_[i] = cliques + 1;
    size_[i] = kept + 1;
    hash_[i] = hash;
    outsideDegree_[i] = static_cast<int>(std::min(degree, degrees_.degree(i) + 0.0));
    return true;
  }

  // Merges the reached nodes that have the same neighbours. The hash of a list tells which ones to compare.
  void mergeTwins() {
    const auto bucketOf = [this](int i) { return static_cast<int>(hash_[i] % static_cast<unsigned>(n_)); };
    for (const int i : reached_) {
      if (weight_[i] == 0) continue;
      nextInBucket_[i] = bucket_[bucketOf(i)];
      bucket_[bucketOf(i)] = i;
    }
    for (const int first : reached_) {
      if (weight_[first] == 0) continue;
      int i = std::exchange(bucket_[bucketOf(first)], -1);
      for (; i >= 0 && nextInBucket_[i] >= 0; i = nextInBucket_[i]) {
        if (weight_[i] == 0) continue;
        ++stamp_;
        for (int k = start_[i]; k < start_[i] + size_[i]; ++k) seen_[neighbour_[k]] = stamp_;
        for (int j = nextInBucket_[i]; j >= 0; j = nextInBucket_[j]) {
          if (weight_[j] == 0 || !twins(i, j)) continue;
          weight_[i] += std::exchange(weight_[j], 0);
          groups_.append(i, j);
        }
      }
    }
  }

  // True if two reached nodes have the same neighbours. The list of i is marked.
  bool twins(int i, int j) const {
    if (size_[i] != size_[j] || cliqueCount_[i] != cliqueCount_[j] || hash_[i] != hash_[j]) return false;
    const int* const list = neighbour_.data() + start_[j];
    return std::all_of(list, list + size_[j], [this](int c) { return seen_[c] == stamp_; });
  }

  // Stores the reached nodes as the clique p, and sorts them in by their new degrees.
  void store(int p, int reachedWeight) {
    memberStart_[p] = member_.size();
    for (const int i : reached_) {
      if (weight_[i] == 0) continue;
      member_.push(i);
      const double others = reachedWeight - weight_[i];
      degrees_.insert(i, static_cast<int>(std::min(outsideDegree_[i] + others, left_ - weight_[i] + 0.0)));
    }
    memberCount_[p] = member_.size() - memberStart_[p];
    liveMembers_ += memberCount_[p];
    cliqueWeight_[p] = reachedWeight;
    created_.push(p);
  }

  const int n_, cliques_;  // the numbers of nodes and of the cliques of the beginning
  int left_ = n_;          // the number of nodes that are neither eliminated nor postponed
  int stamp_ = 0;          // of the current elimination or comparison
  // for each node, its cliques and then its neighbours without a common clique
  Ints start_, size_{n_}, cliqueCount_{n_}, neighbour_;
  Ints weight_{n_, 1};
  // for each clique, the place of its members and their weight, which is 0 after it was absorbed
  Ints memberStart_{n_ + cliques_}, memberCount_{n_ + cliques_}, cliqueWeight_{n_ + cliques_}, member_;
  Ints created_;                      // the cliques, in the order of their members
  int liveMembers_ = member_.size();  // the members of the cliques that are not absorbed
  Ints seen_{n_ + cliques_};          // the stamp at which a node or clique was seen
  Ints outside_{
      n_ + cliques_};  // the weight of the members of a clique that the current elimination did not reach
  Ints reached_;       // the neighbours of the node that is eliminated
  Ints outsideDegree_{n_};  // a bound of the degree of a reached node without the reached ones
  Ints postponed_;
  Array<unsigned> hash_{n_};
  Ints bucket_{n_, -1}, nextInBucket_{n_};
  DegreeLists degrees_{n_};
  Groups groups_{n_};
};
}  // namespace

bool minimumDegree(Lists neighbours, Lists cliques, double mostEntries, Ints* order) {
  return QuotientGraph(std::move(neighbours), std::move(cliques)).eliminate(mostEntries, order);
}

}  // namespace limber::detail
