#pragma once

/// @file
/// Singly linked lists of pooled cells.

#include "limber/Api.h"
#include "limber/foundation/ConsCell.h"

/// A list of untyped pointers, and at the same time its iterator: a pointer to a cell, null for the empty
/// list. Copies share the cells. Only del, removeI and uncons release cells; they return them to the pool. If
/// the pool cannot be refilled, the adding members report that, add nothing and still return `item`.
class LIMBER_API ListI {
 public:
  ConsCell* cell;

  LIMBER_INLINE ListI() : cell(nullptr) {}
  LIMBER_INLINE ListI(const ListI& other) : cell(other.cell) {}
  LIMBER_INLINE ListI& operator=(ConsCell* const c) {
    cell = c;
    return *this;
  }
  LIMBER_INLINE ListI& operator=(const ListI& other) {
    cell = other.cell;
    return *this;
  }

  /// The cell after the first one, null for an empty list.
  LIMBER_INLINE ConsCell* tail() const { return cell ? cell->next : nullptr; }
  /// Moves to the next cell, if not at the end.
  LIMBER_INLINE void next() {
    if (cell) cell = cell->next;
  }
  LIMBER_INLINE ListI& operator++() {
    next();
    return *this;
  }
  /// 1 at the end (no current cell), else 0.
  LIMBER_INLINE int end() const { return cell == nullptr; }
  /// Number of cells.
  int count() const;
  /// Removes the first cell and returns it to the pool.
  void del();
  /// Returns every cell to the pool, in list order. The list is then empty.
  void uncons();

 protected:
  /// The first item, null for an empty list.
  LIMBER_INLINE void* head() const { return cell ? cell->item : nullptr; }
  /// Adds `item` at the front; returns it.
  void* addI(void* item);
  /// Adds `item` directly after the first cell; returns it. Adds nothing to an empty list.
  void* addAfterI(void* item);
  /// Appends `item`; returns it.
  void* addEndI(void* item);
  /// The n-th item, counting from 0; null if there is none.
  void* eltI(int n) const;
  /// Position of the first cell that holds `item`, or -1.
  int itemNI(void* item) const;
  /// 1 if some cell holds `item`, else 0.
  int memberpI(void* item) const;
  /// The last item, null for an empty list.
  void* lastI() const;
  /// Removes the first cell that holds `item`, if there is one.
  void removeI(void* item);
};

/// ListI with typed items. T is a pointer type.
template <class T>
class List : public ListI {
 public:
  using ListI::operator=;

  T head() const { return typed(ListI::head()); }
  List& operator++() {
    next();
    return *this;
  }
  T add(T item) { return typed(addI(untyped(item))); }
  T addAfter(T item) { return typed(addAfterI(untyped(item))); }
  T addEnd(T item) { return typed(addEndI(untyped(item))); }
  T elt(int n) const { return typed(eltI(n)); }
  int itemN(T item) const { return itemNI(untyped(item)); }
  int memberp(T item) const { return memberpI(untyped(item)); }
  T last() const { return typed(lastI()); }
  void remove(T item) { removeI(untyped(item)); }

 private:
  static T typed(void* item) { return static_cast<T>(item); }
  static void* untyped(T item) { return const_cast<void*>(static_cast<const void*>(item)); }
};
