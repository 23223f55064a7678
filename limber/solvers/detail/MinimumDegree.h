#pragma once

/// @file
/// The approximate minimum degree order.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

/// Lists of numbers: list i is number[start[i]] ... number[start[i + 1] - 1].
struct Lists {
  Ints start, number;

  int count() const { return start.size() > 0 ? start.size() - 1 : 0; }
  int size(int i) const { return start[i + 1] - start[i]; }
};

/// Computes an order of the nodes of a graph in which an elimination has little fill (Amestoy, Davis and Duff
/// 1996). `neighbours` has the neighbours of each node, or, if there are cliques, the cliques of each node;
/// `cliques` has the nodes of each clique, and no other edges exist. Nodes with lists of more than 16 and
/// than 10 sqrt(n) numbers, for n nodes, are last. Returns false if the fill without these is more than
/// `mostEntries`.
bool minimumDegree(Lists neighbours, Lists cliques, double mostEntries, Ints* order);

}  // namespace limber::detail
