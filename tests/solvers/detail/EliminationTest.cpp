// The order and the fill of an elimination against a plain one on a table of booleans.
#include "limber/solvers/detail/Elimination.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

using Graph = std::vector<std::set<int>>;

Graph graphOf(const Dense& symmetric) {
  Graph graph(static_cast<std::size_t>(symmetric.height()));
  for (int i = 0; i < symmetric.height(); ++i) {
    for (int j = 0; j < symmetric.height(); ++j) {
      if (i != j && symmetric(i, j) != 0.0) graph[static_cast<std::size_t>(i)].insert(j);
    }
  }
  return graph;
}

// Removes i from the graph, after joining its neighbours with each other. Returns them.
std::set<int> remove(Graph* graph, int i) {
  const std::set<int> around = (*graph)[static_cast<std::size_t>(i)];
  for (const int a : around) {
    std::set<int>& of = (*graph)[static_cast<std::size_t>(a)];
    of.insert(around.begin(), around.end());
    of.erase(a);
    of.erase(i);
  }
  (*graph)[static_cast<std::size_t>(i)].clear();
  return around;
}

// The number of entries of the factor when the unknown of the least degree is always next.
int leastDegreeFill(Graph graph) {
  const int n = static_cast<int>(graph.size());
  std::vector<bool> gone(graph.size());
  int fill = 0;
  for (int k = 0; k < n; ++k) {
    int best = -1;
    for (int i = 0; i < n; ++i) {
      const std::size_t at = static_cast<std::size_t>(i);
      if (!gone[at] && (best < 0 || graph[at].size() < graph[static_cast<std::size_t>(best)].size()))
        best = i;
    }
    gone[static_cast<std::size_t>(best)] = true;
    fill += static_cast<int>(remove(&graph, best).size());
  }
  return fill;
}

// The order is a permutation, and each row of the factor holds what the elimination leaves.
void expectFactorOf(const Elimination& e, Graph graph) {
  const int n = static_cast<int>(graph.size());
  ASSERT_EQ(n, e.order.size());
  ASSERT_EQ(n, e.position.size());
  ASSERT_EQ(n + 1, e.start.size());
  EXPECT_EQ(0, e.start[0]);
  EXPECT_EQ(e.index.size(), e.start[n]);
  for (int k = 0; k < n; ++k) {
    ASSERT_EQ(k, e.position[e.order[k]]);
    std::set<int> row;
    for (const int i : remove(&graph, e.order[k])) row.insert(e.position[i]);
    const std::vector<int> expected(row.begin(), row.end());
    const std::vector<int> found(e.index.begin() + e.start[k], e.index.begin() + e.start[k + 1]);
    EXPECT_EQ(expected, found) << "row " << k;
    EXPECT_EQ(row.empty() ? n : *row.begin(), e.parent(k));
  }
}

Dense randomSymmetric(Dice* dice, int n, int edges) {
  Dense A(n, n);
  for (int i = 0; i < n; ++i) A(i, i) = 1.0;
  for (int k = 0; k < edges; ++k) {
    const int i = dice->below(n), j = dice->below(n);
    A(i, j) = A(j, i) = 1.0;
  }
  return A;
}

Dense randomRows(Dice* dice, int m, int n, int perRow) {
  Dense A(m, n);
  for (int i = 0; i < m; ++i) {
    for (int k = dice->below(perRow + 1); k > 0; --k) A(i, dice->below(n)) = 1.0;
  }
  return A;
}

Dense grid(int k) {
  Dense A(k * k, k * k);
  for (int i = 0; i < k * k; ++i) {
    A(i, i) = 4.0;
    if (i % k > 0) A(i, i - 1) = A(i - 1, i) = -1.0;
    if (i >= k) A(i, i - k) = A(i - k, i) = -1.0;
  }
  return A;
}

TEST(Elimination, OfASymmetricMatrixHasTheFillOfItsOrder) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 1 + dice.below(30);
    const Dense A = randomSymmetric(&dice, n, dice.below(3 * n));
    Elimination e;
    ASSERT_TRUE(eliminateSymmetric(A.rows(), Allowance(), &e));
    expectFactorOf(e, graphOf(A));
    double operations = 0.0;
    for (int k = 0; k < n; ++k) {
      const double entries = e.start[k + 1] - e.start[k] + 1.0;
      operations += entries * entries;
    }
    EXPECT_EQ(operations, e.operations);
  }
}

TEST(Elimination, OfColumnsHasTheFillOfTheNormalMatrix) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const Dense A = randomRows(&dice, 1 + dice.below(40), 1 + dice.below(20), 4);
    Elimination e;
    ASSERT_TRUE(eliminateColumns(A.rows(), Allowance(), &e));
    expectFactorOf(e, graphOf(A.transposed().times(A)));
  }
}

TEST(Elimination, LeavesTreesWithoutFill) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 2 + dice.below(60);
    Dense A(n, n);
    for (int i = 1; i < n; ++i) {
      const int parent = dice.below(i);
      A(i, parent) = A(parent, i) = 1.0;
    }
    Elimination e;
    ASSERT_TRUE(eliminateSymmetric(A.rows(), Allowance(), &e));
    EXPECT_EQ(n - 1, e.index.size());
  }
}

TEST(Elimination, TakesTheHubOfAStarLast) {
  const int n = 40;
  Dense A(n, n);
  for (int i = 1; i < n; ++i) A(0, i) = A(i, 0) = 1.0;
  Elimination e;
  ASSERT_TRUE(eliminateSymmetric(A.rows(), Allowance(), &e));
  EXPECT_GE(e.position[0], n - 2);
  EXPECT_EQ(n - 1, e.index.size());
}

// The degrees are upper bounds of the true ones, which costs little fill on the whole.
TEST(Elimination, NeedsHardlyMoreFillThanTheTrueLeastDegree) {
  int fill = 0, least = 0;
  for (unsigned seed = 1; seed <= 60; ++seed) {
    Dice dice(seed);
    const int n = 20 + dice.below(40);
    const Dense A = randomSymmetric(&dice, n, 2 * n);
    Elimination e;
    ASSERT_TRUE(eliminateSymmetric(A.rows(), Allowance(), &e));
    fill += e.index.size();
    least += leastDegreeFill(graphOf(A));
  }
  EXPECT_LE(fill, least + least / 40);
  Elimination e;
  ASSERT_TRUE(eliminateSymmetric(grid(16).rows(), Allowance(), &e));
  const int plain = leastDegreeFill(graphOf(grid(16)));
  EXPECT_LE(e.index.size(), plain + plain / 8);
}

TEST(Elimination, KeepsToTheAllowanceExactly) {
  for (const bool columns : {false, true}) {
    const SparseRows A = grid(6).rows();
    const auto eliminate = [&](const Allowance& allowance, Elimination* e) {
      return columns ? eliminateColumns(A, allowance, e) : eliminateSymmetric(A, allowance, e);
    };
    Elimination e;
    ASSERT_TRUE(eliminate(Allowance(), &e));
    const double entries = e.index.size(), operations = e.operations;
    EXPECT_TRUE(eliminate(Allowance{entries, operations}, &e));
    EXPECT_FALSE(eliminate(Allowance{entries - 1.0, operations}, &e));
    EXPECT_FALSE(eliminate(Allowance{entries, operations * (1.0 - 1e-15) - 1e-9}, &e));
  }
}

// Six operations for each entry of a row of R and each row of A that reaches it.
TEST(Elimination, CountsTheRotationsOfASmallQrFactor) {
  Dense A(3, 2);
  A(0, 0) = A(1, 0) = A(1, 1) = A(2, 1) = 1.0;
  Elimination e;
  ASSERT_TRUE(eliminateColumns(A.rows(), Allowance(), &e));
  // Two rows meet in the first column, of two entries. One of them goes on to meet the third in the second.
  EXPECT_EQ(6.0 * 2 * 2 + 6.0 * 2 * 1, e.operations);
}

TEST(Elimination, RefusesARowOfMoreThan30000Entries) {
  SparseRows A;
  A.height = 1;
  A.width = 30001;
  A.start.push(0);
  for (int j = 0; j < A.width; ++j) {
    A.index.push(j);
    A.value.push(1.0);
  }
  A.start.push(A.width);
  Elimination e;
  EXPECT_FALSE(eliminateColumns(A, Allowance{1e12, 1e18}, &e));
}

TEST(Elimination, OfABandIsItsNaturalOrder) {
  for (const int n : {0, 1, 2, 5, 9}) {
    for (const int half : {0, 1, 3, 20}) {
      const Elimination e = bandElimination(n, half);
      ASSERT_EQ(n + 1, e.start.size());
      for (int k = 0; k < n; ++k) {
        EXPECT_EQ(k, e.order[k]);
        EXPECT_EQ(k, e.position[k]);
        const int last = std::min(k + half, n - 1);
        ASSERT_EQ(last - k, e.start[k + 1] - e.start[k]);
        for (int j = k + 1; j <= last; ++j) EXPECT_EQ(j, e.index[e.start[k] + j - k - 1]);
      }
    }
  }
}

TEST(Elimination, OrdersColumnsAsIfNearlyFullRowsWereNotThere) {
  Dice dice(7);
  const int n = 60;
  Dense A = randomRows(&dice, 70, n, 3), full(71, n);
  for (int i = 0; i < 70; ++i) {
    for (int j = 0; j < n; ++j) full(i, j) = A(i, j);
  }
  // Rows of more than 10 sqrt(columns) entries are left out: no row of 60 columns, and one of 201 entries of
  // 400 columns.
  for (int j = 0; j < n; ++j) full(70, j) = 1.0;
  Ints with, without;
  orderColumns(A.rows(), &without);
  orderColumns(full.rows(), &with);
  std::set<int> all(with.begin(), with.end());
  EXPECT_EQ(static_cast<std::size_t>(n), all.size());
  Dense wide = randomRows(&dice, 300, 400, 3), wideFull(301, 400);
  for (int i = 0; i < 300; ++i) {
    for (int j = 0; j < 400; ++j) wideFull(i, j) = wide(i, j);
  }
  for (int j = 0; j < 201; ++j) wideFull(300, j) = 1.0;
  orderColumns(wide.rows(), &without);
  orderColumns(wideFull.rows(), &with);
  EXPECT_TRUE(std::equal(with.begin(), with.end(), without.begin()));
}

}  // namespace
