#include "limber/foundation/List.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "tests/support/EmptyPool.h"

namespace {

static_assert(offsetof(ConsCell, item) == 0 && offsetof(ConsCell, next) == sizeof(void*));
static_assert(sizeof(ConsCell) == 2 * sizeof(void*));
static_assert(sizeof(ListI) == sizeof(ConsCell*) && offsetof(ListI, cell) == 0);
static_assert(sizeof(List<int*>) == sizeof(ListI));

int things[6];
int *const a = &things[0], *const b = &things[1], *const c = &things[2], *const d = &things[3];

using Ints = List<int*>;
using Items = std::vector<int*>;

Items items(Ints list) {
  Items found;
  for (; !list.end(); ++list) found.push_back(list.head());
  return found;
}

Ints listOf(const Items& items) {
  Ints list;
  for (int* item : items) list.addEnd(item);
  return list;
}

TEST(ConsCell, StartsEmptyAndCopiesBoth) {
  ConsCell one, two;
  EXPECT_EQ(one.item, nullptr);
  EXPECT_EQ(one.next, nullptr);
  two.item = a;
  two.next = &one;
  one = two;
  EXPECT_EQ(one.item, a);
  EXPECT_EQ(one.next, &one);
  EXPECT_EQ(ConsCell(two).next, &one);
}

TEST(ConsPool, FirstAddAllocatesABatchOf100) {
  const EmptyPool guard;
  EXPECT_EQ(conspool_batchsize, 100);
  Ints list;
  list.add(a);
  EXPECT_EQ(poolSize(), 99);
  list.uncons();
  EXPECT_EQ(poolSize(), 100);
}

TEST(ConsPool, CellsAreLinkedInOrderOfTheirArray) {
  const EmptyPool guard;
  conspool_batchsize = 4;
  allocConsCells();
  const ConsCell* const first = consPool;
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(first[i].item, nullptr);
    EXPECT_EQ(first[i].next, i < 3 ? &first[i + 1] : nullptr);
  }
  EXPECT_EQ(poolSize(), 4);
}

// The refill is meant for an empty pool: cells that are still in the pool are not linked in.
TEST(ConsPool, RefillReplacesTheHead) {
  const EmptyPool guard;
  conspool_batchsize = 3;
  allocConsCells();
  ConsCell* const old = consPool;
  allocConsCells();
  EXPECT_EQ(poolSize(), 3);
  EXPECT_NE(consPool, old);
  consPool[2].next = old;  // keeps them reachable
}

TEST(ConsPool, BatchSizeOfOneAndBelow) {
  for (const int size : {1, 0, -5}) {
    const EmptyPool guard;
    conspool_batchsize = size;
    Ints list;
    list.add(a);
    list.add(b);
    EXPECT_EQ(items(list), (Items{b, a}));
    EXPECT_EQ(poolSize(), 0);
    list.uncons();
  }
}

TEST(ConsPool, CellsAreTakenFromTheFrontAndReused) {
  const EmptyPool guard;
  conspool_batchsize = 2;
  Ints list;
  list.add(a);
  ConsCell* const cell = list.cell;
  list.del();
  EXPECT_EQ(consPool, cell);
  list.addEnd(b);
  EXPECT_EQ(list.cell, cell);
  EXPECT_EQ(list.tail(), nullptr);
  list.uncons();
}

TEST(List, AddsInFrontBehindAndAtTheEnd) {
  Ints list;
  EXPECT_EQ(list.cell, nullptr);
  EXPECT_EQ(list.add(a), a);
  EXPECT_EQ(list.add(b), b);
  EXPECT_EQ(items(list), (Items{b, a}));
  EXPECT_EQ(list.addEnd(c), c);
  EXPECT_EQ(items(list), (Items{b, a, c}));
  EXPECT_EQ(list.itemN(c), 2);
  EXPECT_EQ(list.last(), c);
  EXPECT_EQ(list.addAfter(d), d);
  EXPECT_EQ(items(list), (Items{b, d, a, c}));
  list.uncons();
}

TEST(List, AddEndOnTheEmptyListMakesTheFirst) {
  Ints list;
  list.addEnd(a);
  EXPECT_EQ(items(list), Items{a});
  list.uncons();
}

TEST(List, AddAfterOnTheEmptyListAddsNothing) {
  Ints list;
  EXPECT_EQ(list.addAfter(a), a);
  EXPECT_EQ(list.cell, nullptr);
}

TEST(List, EmptyListAnswers) {
  Ints list;
  EXPECT_EQ(list.head(), nullptr);
  EXPECT_EQ(list.tail(), nullptr);
  EXPECT_EQ(list.last(), nullptr);
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(list.end(), 1);
  EXPECT_EQ(list.elt(0), nullptr);
  EXPECT_EQ(list.itemN(a), -1);
  EXPECT_EQ(list.memberp(a), 0);
  list.next();
  ++list;
  list.del();
  list.uncons();
  list.remove(a);
  EXPECT_EQ(list.cell, nullptr);
}

TEST(List, Queries) {
  Ints list = listOf({a, b, c, b});
  EXPECT_EQ(list.head(), a);
  EXPECT_EQ(list.tail(), list.cell->next);
  EXPECT_EQ(list.count(), 4);
  EXPECT_EQ(list.end(), 0);
  EXPECT_EQ(list.elt(0), a);
  EXPECT_EQ(list.elt(3), b);
  EXPECT_EQ(list.elt(4), nullptr);
  EXPECT_EQ(list.elt(40), nullptr);
  EXPECT_EQ(list.elt(-1), nullptr);
  EXPECT_EQ(list.itemN(a), 0);
  EXPECT_EQ(list.itemN(b), 1);
  EXPECT_EQ(list.itemN(d), -1);
  EXPECT_EQ(list.memberp(c), 1);
  EXPECT_EQ(list.memberp(d), 0);
  EXPECT_EQ(list.last(), b);
  list.uncons();
}

TEST(List, IteratesWithoutChangingTheList) {
  Ints list = listOf({a, b});
  Ints it;
  it = list;
  EXPECT_EQ(it.cell, list.cell);
  it.next();
  EXPECT_EQ(it.head(), b);
  EXPECT_EQ(list.head(), a);
  it = list.tail();
  EXPECT_EQ(it.head(), b);
  EXPECT_EQ(&++it, &it);
  EXPECT_EQ(it.end(), 1);
  list.uncons();
}

TEST(List, RemoveTakesTheFirstMatchOut) {
  Ints list = listOf({a, b, c, b});
  list.remove(d);
  EXPECT_EQ(items(list), (Items{a, b, c, b}));
  const int before = poolSize();
  list.remove(b);
  EXPECT_EQ(items(list), (Items{a, c, b}));
  EXPECT_EQ(poolSize(), before + 1);
  list.remove(a);
  EXPECT_EQ(items(list), (Items{c, b}));
  list.remove(b);
  EXPECT_EQ(items(list), Items{c});
  list.remove(c);
  EXPECT_EQ(list.cell, nullptr);
}

TEST(List, DelStartsAtTheFollowingCell) {
  Ints list = listOf({a, b});
  const int before = poolSize();
  list.del();
  EXPECT_EQ(items(list), Items{b});
  EXPECT_EQ(poolSize(), before + 1);
  list.del();
  EXPECT_EQ(list.cell, nullptr);
}

// In list order, so the former last cell becomes the first of the pool.
TEST(List, UnconsGivesAllCellsBackInListOrder) {
  Ints list = listOf({a, b, c});
  ConsCell *const first = list.cell, *const second = first->next, *const third = second->next;
  const int before = poolSize();
  list.uncons();
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(poolSize(), before + 3);
  EXPECT_EQ(consPool, third);
  EXPECT_EQ(third->next, second);
  EXPECT_EQ(second->next, first);
}

TEST(List, HoldsPointersToConst) {
  const int value = 3;
  List<const int*> list;
  EXPECT_EQ(list.add(&value), &value);
  EXPECT_EQ(list.memberp(&value), 1);
  list.uncons();
}

TEST(List, TheUntypedIteratorMovesOnAndStaysAtTheEnd) {
  int first = 1, second = 2;
  List<int*> list;
  list.add(&second);
  list.add(&first);
  ListI it(list);
  EXPECT_EQ(&++it, &it);
  EXPECT_EQ(it.cell, list.tail());
  ++it;
  EXPECT_EQ(it.end(), 1);
  ++it;
  EXPECT_EQ(it.cell, nullptr);
  list.uncons();
}

}  // namespace
