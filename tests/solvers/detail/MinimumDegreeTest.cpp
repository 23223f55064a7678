// The minimum degree order, on graphs whose best fill is known.
#include "limber/solvers/detail/MinimumDegree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

using Sets = std::vector<std::set<int>>;

Lists listsOf(const Sets& sets) {
  Lists lists;
  lists.start.push(0);
  for (const std::set<int>& numbers : sets) {
    for (const int i : numbers) lists.number.push(i);
    lists.start.push(lists.number.size());
  }
  return lists;
}

void connect(Sets* graph, int i, int j) {
  if (i == j) return;
  (*graph)[static_cast<std::size_t>(i)].insert(j);
  (*graph)[static_cast<std::size_t>(j)].insert(i);
}

// The order of a graph of edges, which must be a permutation.
std::vector<int> orderOf(const Sets& graph, double mostEntries = 1e9) {
  Ints order;
  EXPECT_TRUE(minimumDegree(listsOf(graph), Lists(), mostEntries, &order));
  std::vector<int> sorted(order.begin(), order.end());
  std::sort(sorted.begin(), sorted.end());
  for (std::size_t i = 0; i < graph.size(); ++i) EXPECT_EQ(static_cast<int>(i), sorted.at(i));
  return {order.begin(), order.end()};
}

// The number of entries of the factor for this order.
int fillOf(Sets graph, const std::vector<int>& order) {
  int fill = 0;
  for (const int i : order) {
    const std::set<int> around = std::exchange(graph[static_cast<std::size_t>(i)], {});
    fill += static_cast<int>(around.size());
    for (const int a : around) {
      std::set<int>& of = graph[static_cast<std::size_t>(a)];
      of.insert(around.begin(), around.end());
      of.erase(a);
      of.erase(i);
    }
  }
  return fill;
}

// A tree of n nodes, each of which is replaced by `copies` nodes that are connected with each other.
Sets thickTree(Dice* dice, int n, int copies) {
  Sets graph(static_cast<std::size_t>(n * copies));
  for (int i = 0; i < n; ++i) {
    const int parent = i > 0 ? dice->below(i) : i;
    for (int a = 0; a < copies; ++a) {
      for (int b = 0; b < copies; ++b) {
        connect(&graph, i * copies + a, i * copies + b);
        connect(&graph, i * copies + a, parent * copies + b);
      }
    }
  }
  return graph;
}

TEST(MinimumDegree, LeavesThickTreesWithoutFill) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const Sets graph = thickTree(&dice, 2 + dice.below(20), 1 + dice.below(5));
    int ends = 0;
    for (const std::set<int>& around : graph) ends += static_cast<int>(around.size());
    EXPECT_EQ(ends / 2, fillOf(graph, orderOf(graph)));
  }
}

TEST(MinimumDegree, CountsTheFillExactly) {
  for (unsigned seed = 1; seed <= 80; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 2 + dice.below(60);
    Sets graph(static_cast<std::size_t>(n));
    for (int k = dice.below(3 * n); k >= 0; --k) connect(&graph, dice.below(n), dice.below(n));
    // no list is longer than 16, so no node is postponed
    if (std::any_of(graph.begin(), graph.end(), [](const auto& around) { return around.size() > 16; }))
      continue;
    const int fill = fillOf(graph, orderOf(graph));
    Ints order;
    EXPECT_TRUE(minimumDegree(listsOf(graph), Lists(), fill, &order));
    EXPECT_EQ(fill == 0, minimumDegree(listsOf(graph), Lists(), fill == 0 ? 0.0 : fill - 1.0, &order));
  }
}

TEST(MinimumDegree, PostponesNodesWithManyNeighbours) {
  // two hubs of a wheel with 1000 nodes, and a chain between the others
  const int n = 1000;
  Sets graph(n);
  for (int i = 2; i < n; ++i) {
    connect(&graph, 0, i);
    connect(&graph, 1, i);
    if (i > 2) connect(&graph, i - 1, i);
  }
  const std::vector<int> order = orderOf(graph);
  EXPECT_LE(std::max(order[n - 2], order[n - 1]), 1);
  EXPECT_EQ(3 * (n - 2), fillOf(graph, order));
}

// The cliques of a chain of overlapping squares, 0 1 2 3, 2 3 4 5, ..., in any order of the nodes.
TEST(MinimumDegree, OrdersAUnionOfCliques) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int squares = 1 + dice.below(40), n = 2 * squares + 2;
    std::vector<int> name(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
      const int other = dice.below(i + 1);
      name[static_cast<std::size_t>(i)] = name[static_cast<std::size_t>(other)];
      name[static_cast<std::size_t>(other)] = i;
    }
    Sets cliques(static_cast<std::size_t>(squares)), of(static_cast<std::size_t>(n)), graph(of.size());
    for (int c = 0; c < squares; ++c) {
      for (int a = 2 * c; a < 2 * c + 4; ++a) {
        const int i = name[static_cast<std::size_t>(a)];
        cliques[static_cast<std::size_t>(c)].insert(i);
        of[static_cast<std::size_t>(i)].insert(c);
        for (int b = 2 * c; b < a; ++b) connect(&graph, i, name[static_cast<std::size_t>(b)]);
      }
    }
    Ints order;
    ASSERT_TRUE(minimumDegree(listsOf(of), listsOf(cliques), 1e9, &order));
    EXPECT_EQ(5 * squares + 1, fillOf(graph, {order.begin(), order.end()}));
  }
}

TEST(MinimumDegree, OfNoNodesIsEmpty) {
  EXPECT_TRUE(orderOf(Sets()).empty());
  EXPECT_EQ(3U, orderOf(Sets(3)).size());
}

}  // namespace
